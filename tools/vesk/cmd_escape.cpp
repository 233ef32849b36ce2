// vesk escape and vesk unescape: percent-escaping of plain text for a URI
// component, and decoding it.
#include <memory>
#include <string>

#include "tools/vesk/command.h"
#include "vesk/uri/uri"

namespace {

struct EscapeOptions {
  vesktool::ItemOptions items;
  bool query = false;
  std::string chars;
  bool haveChars = false;
  bool highBytesOnly = false;
};

// Runs one of the two commands: `key` names the result in JSON.
void Run(const char* command, const EscapeOptions& options, const char* key,
         std::string (*convert)(const EscapeOptions&, const std::string&)) {
  vesktool::ItemRun run(command, options.items);
  run.Each([&](const std::string& text) {
    run.Result({{"input", text}}, {{key, convert(options, text)}});
  });
}

std::string Escaped(const EscapeOptions& options, const std::string& text) {
  if (options.haveChars) return Vesk::URI::EscapeChars(text, options.chars);
  return options.query ? Vesk::URI::QueryEscape(text) : Vesk::URI::Escape(text);
}

std::string Unescaped(const EscapeOptions& options, const std::string& text) {
  return options.query ? Vesk::URI::QueryUnescape(text) : Vesk::URI::Unescape(text, options.highBytesOnly);
}

const vesktool::CommandRegistrar escape("escape", [](CLI::App& app) {
  auto options = std::make_shared<EscapeOptions>();
  CLI::App* cmd = app.add_subcommand(
      "escape",
      "Escapes each plain text as a path, fragment or similar component: control bytes, blank, \" # % : < > ? @ "
      "[ \\ ] ^ ` { | } become %XY; bytes 0x80-0xFF stay raw. With --query, for one name or value of a query "
      "(also $ & + / =).");
  vesktool::AddItemOptions(cmd, options->items, vesktool::ItemKind::kText, "Texts", "input, escaped, valid");
  cmd->add_flag("--query", options->query, "Escape for a query name or value");
  cmd->add_option("--chars", options->chars,
                  "Escape exactly the bytes of this set (and every control byte, NUL included)")
      ->each([options](const std::string&) { options->haveChars = true; });
  cmd->callback([options] { Run("escape", *options, "escaped", Escaped); });
});

const vesktool::CommandRegistrar unescape("unescape", [](CLI::App& app) {
  auto options = std::make_shared<EscapeOptions>();
  CLI::App* cmd = app.add_subcommand(
      "unescape",
      "Replaces the %XY escapes of each text by their bytes; what cannot be read as an escape stays as it is. "
      "With --query, a + also becomes a blank (before escapes are read).");
  vesktool::AddItemOptions(cmd, options->items, vesktool::ItemKind::kText, "Texts", "input, unescaped, valid");
  cmd->add_flag("--query", options->query, "Unescape a query name or value");
  cmd->add_flag("--high-bytes-only", options->highBytesOnly,
                "Decode only escapes of bytes 0x80-0xFF, keeping escaped ASCII escaped")
      ->excludes("--query");
  cmd->callback([options] { Run("unescape", *options, "unescaped", Unescaped); });
});

}  // namespace
