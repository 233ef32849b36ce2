// vesk common: the deepest directory that holds two URIs.
#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include "tools/vesk/command.h"
#include "tools/vesk/path_pairs.h"
#include "vesk/uri/uri"

namespace {

struct CommonOptions {
  std::vector<std::string> operands;
  bool ignoreCase = false;
  bool json = false;
};

void Run(const CommonOptions& opt) {
  for (const auto& [a, b] : vesktool::OperandPairs("common", opt.operands)) {
    bool usable = true;
    for (const std::string* text : {&a, &b}) {
      const Vesk::URI uri(*text);
      if (!uri.IsValidURI()) {
        vesktool::ReportBadInput("common", *text, "not a valid URI");
        usable = false;
        break;
      }
      if (uri.IsRelative()) {
        vesktool::ReportBadInput("common", *text, "a relative URI has no parent directory");
        usable = false;
        break;
      }
    }
    if (!usable) continue;
    const std::string text = Vesk::URI::GetCommonParentByString(a, b, !opt.ignoreCase).ToString(false);
    if (opt.json) {
      vesktool::PrintJson(
          {{"a", vesktool::JsonText(a)}, {"b", vesktool::JsonText(b)}, {"result", vesktool::JsonText(text)}});
    } else {
      std::cout << text << '\n';
    }
  }
}

const vesktool::CommandRegistrar reg("common", [](CLI::App& app) {
  auto opt = std::make_shared<CommonOptions>();
  CLI::App* sub = app.add_subcommand(
      "common",
      "The deepest directory that holds both A and B, printed in escaped form; on different servers or schemes the "
      "root of A. With only A, the Bs are the lines of standard input; with neither, each line is A, a tab and B.");
  sub->add_option("operands", opt->operands, "A and then one or more Bs (escaped URI text)")->type_name("URI");
  sub->add_flag("--ignore-case", opt->ignoreCase, "Compare path segments without regard to ASCII case");
  sub->add_flag("--json", opt->json, "One JSON object per pair");
  sub->callback([opt]() { Run(*opt); });
});

}  // namespace
