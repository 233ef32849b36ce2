// vesk relative: a URI expressed as a path from the directory of a base.
#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include "tools/vesk/command.h"
#include "tools/vesk/path_pairs.h"
#include "vesk/uri/uri"

namespace {

struct RelativeOptions {
  std::vector<std::string> operands;
  bool ignoreCase = false;
  bool json = false;
};

void Run(const RelativeOptions& opt) {
  for (const auto& [uriText, baseText] : vesktool::OperandPairs("relative", opt.operands)) {
    Vesk::URI uri(uriText);
    const Vesk::URI base(baseText);
    if (!uri.IsValidURI()) {
      vesktool::ReportBadInput("relative", uriText, "not a valid URI");
      continue;
    }
    if (!base.IsValidURI()) {
      vesktool::ReportBadInput("relative", baseText, "base is not a valid URI");
      continue;
    }
    if (!uri.MakeRelativeURI(base, !opt.ignoreCase)) {
      vesktool::ReportBadInput("relative", uriText,
                               "cannot be made relative to '" + baseText +
                                   "' (the base is relative, or scheme or host differ)");
      continue;
    }
    const std::string text = uri.ToString(false);
    if (opt.json) {
      vesktool::PrintJson({{"uri", vesktool::JsonText(uriText)},
                           {"base", vesktool::JsonText(baseText)},
                           {"result", vesktool::JsonText(text)}});
    } else {
      std::cout << text << '\n';
    }
  }
}

const vesktool::CommandRegistrar reg("relative", [](CLI::App& app) {
  auto opt = std::make_shared<RelativeOptions>();
  CLI::App* sub = app.add_subcommand(
      "relative",
      "URI as a relative reference from the directory of BASE, printed in escaped form (a relative URI is printed "
      "as it is). With only URI, the bases are the lines of standard input; with neither, each line is URI, a tab "
      "and BASE.");
  sub->add_option("operands", opt->operands, "URI and then one or more BASEs (escaped URI text)")->type_name("URI");
  sub->add_flag("--ignore-case", opt->ignoreCase, "Compare path segments without regard to ASCII case");
  sub->add_flag("--json", opt->json, "One JSON object per pair");
  sub->callback([opt]() { Run(*opt); });
});

}  // namespace
