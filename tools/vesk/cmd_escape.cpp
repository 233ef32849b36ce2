// vesk escape: percent-escaping of plain text for a URI component.
#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include "tools/vesk/command.h"
#include "vesk/uri/uri"

namespace {

struct EscapeOptions {
  std::vector<std::string> texts;
  bool query = false;
  std::string chars;
  bool haveChars = false;
  bool json = false;
};

void RunEscape(const EscapeOptions& options) {
  for (const std::string& text : vesktool::ItemsOrStdin(options.texts)) {
    std::string escaped;
    if (options.haveChars) {
      escaped = Vesk::URI::EscapeChars(text, options.chars);
    } else if (options.query) {
      escaped = Vesk::URI::QueryEscape(text);
    } else {
      escaped = Vesk::URI::Escape(text);
    }
    if (options.json) {
      vesktool::PrintJson({{"input", vesktool::JsonText(text)}, {"escaped", vesktool::JsonText(escaped)}});
    } else {
      std::cout << escaped << '\n';
    }
  }
}

const vesktool::CommandRegistrar reg("escape", [](CLI::App& app) {
  auto options = std::make_shared<EscapeOptions>();
  CLI::App* cmd = app.add_subcommand(
      "escape",
      "Escapes each plain text as a path, fragment or similar component: control bytes, blank, \" # % : < > ? @ "
      "[ \\ ] ^ ` { | } become %XY; bytes 0x80-0xFF stay raw. With --query, for one name or value of a query "
      "(also $ & + / =).");
  cmd->add_option("text", options->texts, "Texts; with none, one per line of standard input");
  cmd->add_flag("--query", options->query, "Escape for a query name or value");
  cmd->add_option("--chars", options->chars,
                  "Escape exactly the bytes of this set (and every control byte, NUL included)")
      ->each([options](const std::string&) { options->haveChars = true; });
  cmd->add_flag("--json", options->json, "One JSON object per item: input, escaped");
  cmd->callback([options] { RunEscape(*options); });
});

}  // namespace
