// vesk encode: a URI written in a legacy charset, as raw bytes.
#include <memory>
#include <string>

#include "tools/vesk/command.h"
#include "vesk/uri/uri"

namespace {

struct EncodeOptions {
  vesktool::ItemOptions items;
  std::string charset;
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
  if (!vesktool::KnownEncoding(opt.charset)) throw vesktool::UsageError("unknown charset '" + opt.charset + "'");
  vesktool::ItemRun run("encode", opt.items);
  run.Each([&](const std::string& text) {
    Vesk::URI uri(text);
    if (!uri.IsValidURI()) return run.Bad(text, "not a valid URI");
    // The library writes what it converted up to a character the charset
    // lacks (and more); converting back tells where that is.
    const std::string decoded = uri.ToStringUTF8();
    std::string encoded;
    const long long stop = vesktool::StopInEncoding(decoded, opt.charset, encoded);
    if (stop >= 0)
      return run.Bad(text, "cannot be written in " + opt.charset + " from byte " + std::to_string(stop) + " of '" +
                               decoded + "'");
    if (run.json()) return run.Good({{"input", text}, {"charset", opt.charset}, {"hex", Hex(encoded)}});
    vesktool::WriteText(encoded + '\n');
  });
}

const vesktool::CommandRegistrar reg("encode", [](CLI::App& app) {
  auto opt = std::make_shared<EncodeOptions>();
  CLI::App* sub = app.add_subcommand(
      "encode",
      "Each URI written in a legacy charset: escapes of non-ASCII bytes decoded and the text converted, printed "
      "as raw bytes, one URI per line. A URI with a character the charset cannot hold is bad input, reported with "
      "the byte (of the URI with those escapes decoded) where the conversion stops.");
  vesktool::AddItemOptions(sub, opt->items, vesktool::ItemKind::kUri, "URIs (escaped UTF-8 form)",
                           "input, charset, hex (the bytes in hexadecimal), valid");
  sub->add_option("--charset", opt->charset, "Internet charset name, e.g. shift_jis or iso-8859-1")
      ->type_name("NAME")
      ->required();
  sub->callback([opt] { Run(*opt); });
});

}  // namespace
