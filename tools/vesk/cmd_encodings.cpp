// vesk encodings: what encoding names map to.
#include <cstdio>
#include <memory>
#include <string>

#include "tools/vesk/command.h"
#include "vesk/encoding/transcoder"
#include "vesk/platform/text_conversion"

namespace {

namespace host = Vesk::Platform;

void RunEncodings(const vesktool::ItemOptions& options) {
  vesktool::ItemRun run("encodings", options);
  run.Each([&](const std::string& name) {
    const host::TextEncoding id = Vesk::CharSetIDOfEncoding(name);
    if (id == host::kUnknownTextEncoding) return run.Bad(name, "unknown encoding");
    unsigned char pascal[256];
    host::TextEncodingInternetName(id, pascal);
    const std::string internet(reinterpret_cast<const char*>(pascal + 1), pascal[0]);
    const bool converter = host::CanConvertTextEncoding(id);
    char hex[32];
    std::snprintf(hex, sizeof hex, "0x%lx", id);
    if (run.json())
      return run.Good({{"input", name}, {"id", id}, {"internet_name", internet}, {"converter", converter}});
    run.Result({}, {{"input", name}, {"id", hex}, {"internet_name", internet}, {"converter", converter ? "yes" : "no"}});
  });
}

const vesktool::CommandRegistrar reg("encodings", [](CLI::App& app) {
  auto options = std::make_shared<vesktool::ItemOptions>();
  CLI::App* cmd = app.add_subcommand(
      "encodings",
      "For each encoding name: the name, its character-set id (hexadecimal), its internet name and whether a "
      "converter can be made (yes or no), separated by tabs. Names are looked up as every conversion of the "
      "library looks them up: without regard to case, \"utf-16\" and \"unicode\" being UTF-16 in machine byte "
      "order, names longer than 255 bytes cut to 255. An unknown name is bad input.");
  vesktool::AddItemOptions(cmd, *options, vesktool::ItemKind::kText, "Encoding names",
                           "input, id, internet_name, converter, valid");
  cmd->callback([options] { RunEncodings(*options); });
});

}  // namespace
