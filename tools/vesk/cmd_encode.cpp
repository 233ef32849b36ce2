// vesk encode: a URI written in a legacy charset, as raw bytes.
#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include "tools/vesk/command.h"
#include "vesk/uri/uri"

namespace {

struct EncodeOptions {
  std::vector<std::string> uris;
  std::string charset;
  bool json = false;
};

std::string Hex(const std::string& bytes) {
  static const char digits[] = "0123456789abcdef";
  std::string out;
  for (const unsigned char c : bytes) {
    out += digits[c >> 4];
    out += digits[c & 15];
  }
  return out;
}

void Run(const EncodeOptions& opt) {
  for (const auto& text : vesktool::ItemsOrStdin(opt.uris)) {
    Vesk::URI uri(text);
    if (!uri.IsValidURI()) {
      vesktool::ReportBadInput("encode", text, "not a valid URI");
      continue;
    }
    const std::string encoded = uri.ToEncodedString(opt.charset);
    if (encoded.empty() && !uri.ToString(false).empty()) {
      vesktool::ReportBadInput("encode", text, "cannot be written in charset '" + opt.charset + "'");
      continue;
    }
    if (opt.json) {
      vesktool::PrintJson({{"uri", vesktool::JsonText(text)},
                           {"charset", vesktool::JsonText(opt.charset)},
                           {"hex", Hex(encoded)}});
    } else {
      std::cout.write(encoded.data(), static_cast<std::streamsize>(encoded.size()));
      std::cout << '\n';
    }
  }
}

const vesktool::CommandRegistrar reg("encode", [](CLI::App& app) {
  auto opt = std::make_shared<EncodeOptions>();
  CLI::App* sub = app.add_subcommand(
      "encode",
      "Each URI written in a legacy charset: escapes of non-ASCII bytes decoded and the text converted, "
      "printed as raw bytes, one URI per line");
  sub->add_option("uri", opt->uris, "URIs (escaped UTF-8 form); none: one per line on standard input");
  sub->add_option("--charset", opt->charset, "Internet charset name, e.g. shift_jis or iso-8859-1")
      ->required();
  sub->add_flag("--json", opt->json, "One JSON object per URI, the bytes in hexadecimal");
  sub->callback([opt]() { Run(*opt); });
});

}  // namespace
