// vesk parse: every component and flag of each URI, and its two text forms.
#include <iostream>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "tools/vesk/command.h"
#include "vesk/uri/uri"

namespace {

struct ParseOptions {
  std::vector<std::string> uris;
  bool json = false;
  std::string charset;  // non-empty: the input is in this legacy charset
};

// Makes the URI of one item. Options that change how text is read (such as a
// legacy charset) go here.
Vesk::URI MakeURI(const std::string& text, const ParseOptions& options) {
  if (options.charset.empty()) return Vesk::URI(Vesk::URI::StringProxy(text));
  // A text that cannot be read in the charset leaves a blank URI, reported
  // as not valid.
  Vesk::URI uri;
  uri.FromEncodedString(text, options.charset);
  return uri;
}

// The stored (escaped) components, by name, in the order the class keeps them.
std::vector<std::pair<const char*, const std::string*>> Fields(const Vesk::URI& uri) {
  return {{"scheme", &uri.m_Scheme},     {"server", &uri.m_Server},     {"port", &uri.m_Port},
          {"path", &uri.m_Path},         {"query", &uri.m_Query},       {"fragment", &uri.m_Fragment},
          {"username", &uri.m_Username}, {"password", &uri.m_Password}, {"nonhierarchical", &uri.m_NonHierarchical}};
}

void PrintItem(const std::string& text, const Vesk::URI& uri, bool json) {
  const std::string stored = uri.ToString(false);
  const std::string reading = uri.ToString(true);
  if (json) {
    nlohmann::json out = {{"input", vesktool::JsonText(text)}};
    for (const auto& [name, field] : Fields(uri)) out[name] = vesktool::JsonText(*field);
    out["valid"] = uri.IsValidURI();
    out["relative"] = uri.IsRelative();
    out["hierarchical"] = uri.IsHierarchical();
    out["stored"] = vesktool::JsonText(stored);
    out["reading"] = vesktool::JsonText(reading);
    vesktool::PrintJson(out);
    return;
  }
  std::cout << "input: " << text << '\n';
  for (const auto& [name, field] : Fields(uri)) std::cout << name << ": " << *field << '\n';
  std::cout << "valid: " << (uri.IsValidURI() ? "true" : "false") << '\n'
            << "relative: " << (uri.IsRelative() ? "true" : "false") << '\n'
            << "hierarchical: " << (uri.IsHierarchical() ? "true" : "false") << '\n'
            << "stored: " << stored << '\n'
            << "reading: " << reading << "\n\n";
}

void RunParse(const ParseOptions& options) {
  for (const std::string& text : vesktool::ItemsOrStdin(options.uris)) {
    const Vesk::URI uri = MakeURI(text, options);
    if (!uri.IsValidURI()) {
      vesktool::ReportBadInput("parse", text, "not a valid URI");
      continue;
    }
    PrintItem(text, uri, options.json);
  }
}

const vesktool::CommandRegistrar reg("parse", [](CLI::App& app) {
  auto options = std::make_shared<ParseOptions>();
  CLI::App* cmd = app.add_subcommand(
      "parse",
      "Every stored (escaped) component of each URI, the valid, relative and hierarchical flags, and its text "
      "in stored form and in reading form (escapes decoded). Text that is not a valid URI is reported on "
      "standard error.");
  cmd->add_option("uri", options->uris, "URIs; with none, one per line of standard input");
  cmd->add_flag("--json", options->json,
                "One JSON object per item: input, the nine components, valid, relative, hierarchical, stored, "
                "reading");
  cmd->add_option("--charset", options->charset,
                  "Read each URI as text in this legacy charset (e.g. shift_jis, iso-8859-1): escapes of its bytes "
                  "are decoded and everything is stored as escaped UTF-8");
  cmd->callback([options] { RunParse(*options); });
});

}  // namespace
