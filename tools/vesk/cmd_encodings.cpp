// vesk encodings: what encoding names map to.
#include <strings.h>

#include <cstdio>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include "tools/vesk/command.h"
#include "vesk/encoding/transcoder"
#include "vesk/platform/text_conversion"

namespace {

namespace host = Vesk::Platform;

struct EncodingsOptions {
  std::vector<std::string> names;
  bool json = false;
};

host::TextEncoding IdOfName(const std::string& name) {
  const char* text = name.c_str();
  if (strcasecmp(text, "utf-8") == 0) return host::UnicodeTextEncoding(256, 0, host::kUTF8Format);
  if (strcasecmp(text, "utf-16") == 0 || strcasecmp(text, "unicode") == 0)
    return host::UnicodeTextEncoding(256, 0, host::kUTF16Format);
  if (strcasecmp(text, "utf-7") == 0) return host::UnicodeTextEncoding(256, 0, host::kUTF7Format);
  unsigned char pascal[256];
  const size_t length = name.size() < 255 ? name.size() : 255;
  pascal[0] = static_cast<unsigned char>(length);
  name.copy(reinterpret_cast<char*>(pascal + 1), length);
  host::TextEncoding id = host::kUnknownTextEncoding;
  host::TextEncodingFromInternetName(&id, pascal);
  return id;
}

void RunEncodings(const EncodingsOptions& options) {
  for (const std::string& name : vesktool::ItemsOrStdin(options.names)) {
    const host::TextEncoding id = IdOfName(name);
    if (id == host::kUnknownTextEncoding) {
      vesktool::ReportBadInput("encodings", name, "unknown encoding");
      continue;
    }
    unsigned char pascal[256];
    host::TextEncodingInternetName(id, pascal);
    const std::string internet(reinterpret_cast<const char*>(pascal + 1), pascal[0]);
    const bool converter = host::CanConvertTextEncoding(id);
    char hex[32];
    std::snprintf(hex, sizeof hex, "0x%lx", id);
    if (options.json) {
      vesktool::PrintJson({{"name", vesktool::JsonText(name)},
                           {"id", id},
                           {"internet_name", internet},
                           {"converter", converter}});
    } else {
      std::cout << name << '\t' << hex << '\t' << internet << '\t' << (converter ? "yes" : "no") << '\n';
    }
  }
}

const vesktool::CommandRegistrar reg("encodings", [](CLI::App& app) {
  auto options = std::make_shared<EncodingsOptions>();
  CLI::App* cmd = app.add_subcommand(
      "encodings",
      "For each encoding name: the name, its character-set id (hexadecimal), its internet name and whether a "
      "converter can be made (yes or no), separated by tabs. Names are matched without regard to case; "
      "\"utf-16\" and \"unicode\" are UTF-16 in machine byte order. An unknown name is an error.");
  cmd->add_option("name", options->names, "Encoding names; with none, one per line of standard input");
  cmd->add_flag("--json", options->json, "One JSON object per item: name, id, internet_name, converter");
  cmd->callback([options] { RunEncodings(*options); });
});

}  // namespace
