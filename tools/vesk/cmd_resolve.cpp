// vesk resolve: references completed against a base (MakeAbsoluteURI), or the
// base moved by each reference as a shell moves through directories (ChDir).
#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include "tools/vesk/command.h"
#include "tools/vesk/path_pairs.h"
#include "vesk/uri/uri"

namespace {

struct ResolveOptions {
  std::vector<std::string> operands;
  bool chdir = false;
  bool escape = false;
  bool json = false;
};

void Run(const ResolveOptions& opt) {
  for (const auto& [baseText, reference] : vesktool::OperandPairs("resolve", opt.operands)) {
    const Vesk::URI base(baseText);
    if (!base.IsValidURI()) {
      vesktool::ReportBadInput("resolve", baseText, "base is not a valid URI");
      continue;
    }
    Vesk::URI result;
    bool changed = true;
    if (opt.chdir) {
      result = base;
      result.ChDir(reference, opt.escape);
    } else {
      if (base.IsRelative()) {
        vesktool::ReportBadInput("resolve", baseText, "base is relative");
        continue;
      }
      result = Vesk::URI(reference);
      if (!result.IsValidURI()) {
        vesktool::ReportBadInput("resolve", reference, "not a valid URI reference");
        continue;
      }
      // An absolute reference is its own result.
      changed = result.MakeAbsoluteURI(base);
    }
    if (!result.IsValidURI()) {
      vesktool::ReportBadInput("resolve", reference, "gives no valid URI against the base '" + baseText + "'");
      continue;
    }
    const std::string text = result.ToString(false);
    if (opt.json) {
      vesktool::PrintJson({{"base", vesktool::JsonText(baseText)},
                           {"reference", vesktool::JsonText(reference)},
                           {"result", vesktool::JsonText(text)},
                           {"changed", changed},
                           {"relative", result.IsRelative()}});
    } else {
      std::cout << text << '\n';
    }
  }
}

const vesktool::CommandRegistrar reg("resolve", [](CLI::App& app) {
  auto opt = std::make_shared<ResolveOptions>();
  CLI::App* sub = app.add_subcommand(
      "resolve",
      "Each REF completed against BASE, printed in escaped form; a REF that is already absolute is printed as it "
      "is. With only BASE, the references are the lines of standard input; with neither, each line is BASE, a tab "
      "and REF.");
  sub->add_option("operands", opt->operands, "BASE and then one or more REFs (escaped URI text)")
      ->type_name("URI");
  CLI::Option* chdir = sub->add_flag(
      "--chdir", opt->chdir, "Move BASE by each REF as a shell moves through directories (a REF that does not parse leaves no valid URI)");
  sub->add_flag("--escape", opt->escape, "With --chdir: REF is literal path text, escaped first ('?', '#', '%' lose "
                                         "their meaning)")
      ->needs(chdir);
  sub->add_flag("--json", opt->json, "One JSON object per reference");
  sub->callback([opt]() { Run(*opt); });
});

}  // namespace
