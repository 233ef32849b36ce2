// vesk relation: how one URI lies against another.
#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include "tools/vesk/command.h"
#include "tools/vesk/path_pairs.h"
#include "vesk/uri/uri"

namespace {

struct RelationOptions {
  std::vector<std::string> operands;
  bool json = false;
};

const char* Name(Vesk::URIRelation relation) {
  switch (relation) {
    case Vesk::URIRelationChild: return "child";
    case Vesk::URIRelationSame: return "same";
    case Vesk::URIRelationParent: return "parent";
    case Vesk::URIRelationNone: break;
  }
  return "none";
}

void Run(const RelationOptions& opt) {
  for (const auto& [a, b] : vesktool::OperandPairs("relation", opt.operands)) {
    if (!Vesk::URI(a).IsValidURI()) {
      vesktool::ReportBadInput("relation", a, "not a valid URI");
      continue;
    }
    if (!Vesk::URI(b).IsValidURI()) {
      vesktool::ReportBadInput("relation", b, "not a valid URI");
      continue;
    }
    const Vesk::URIRelation relation = Vesk::URI::GetRelationByString(a, b);
    if (opt.json) {
      vesktool::PrintJson({{"a", vesktool::JsonText(a)},
                           {"b", vesktool::JsonText(b)},
                           {"relation", Name(relation)},
                           {"value", static_cast<int>(relation)}});
    } else {
      std::cout << Name(relation) << '\n';
    }
  }
}

const vesktool::CommandRegistrar reg("relation", [](CLI::App& app) {
  auto opt = std::make_shared<RelationOptions>();
  CLI::App* sub = app.add_subcommand(
      "relation",
      "How A lies against B: 'child' (A below B), 'same', 'parent' (A above B) or 'none' (also for relative URIs). "
      "Path segments are compared with case. With only A, the Bs are the lines of standard input; with neither, "
      "each line is A, a tab and B.");
  sub->add_option("operands", opt->operands, "A and then one or more Bs (escaped URI text)")->type_name("URI");
  sub->add_flag("--json", opt->json, "One JSON object per pair");
  sub->callback([opt]() { Run(*opt); });
});

}  // namespace
