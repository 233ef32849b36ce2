// vesk unescape: decoding the percent escapes of URI text.
#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include "tools/vesk/command.h"
#include "vesk/uri/uri"

namespace {

struct UnescapeOptions {
  std::vector<std::string> texts;
  bool query = false;
  bool highBytesOnly = false;
  bool json = false;
};

void RunUnescape(const UnescapeOptions& options) {
  for (const std::string& text : vesktool::ItemsOrStdin(options.texts)) {
    const std::string plain =
        options.query ? Vesk::URI::QueryUnescape(text) : Vesk::URI::Unescape(text, options.highBytesOnly);
    if (options.json) {
      vesktool::PrintJson({{"input", vesktool::JsonText(text)}, {"unescaped", vesktool::JsonText(plain)}});
    } else {
      std::cout << plain << '\n';
    }
  }
}

const vesktool::CommandRegistrar reg("unescape", [](CLI::App& app) {
  auto options = std::make_shared<UnescapeOptions>();
  CLI::App* cmd = app.add_subcommand(
      "unescape",
      "Replaces the %XY escapes of each text by their bytes; what cannot be read as an escape stays as it is. "
      "With --query, a + also becomes a blank (before escapes are read).");
  cmd->add_option("text", options->texts, "Texts; with none, one per line of standard input");
  cmd->add_flag("--query", options->query, "Unescape a query name or value");
  cmd->add_flag("--high-bytes-only", options->highBytesOnly,
                "Decode only escapes of bytes 0x80-0xFF, keeping escaped ASCII escaped")
      ->excludes("--query");
  cmd->add_flag("--json", options->json, "One JSON object per item: input, unescaped");
  cmd->callback([options] { RunUnescape(*options); });
});

}  // namespace
