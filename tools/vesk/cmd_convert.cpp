// vesk convert: text from one encoding to another, standard input to standard
// output.
#include <strings.h>

#include <cstdio>
#include <iostream>
#include <iterator>
#include <memory>
#include <string>

#include "tools/vesk/command.h"
#include "vesk/encoding/transcoder"
#include "vesk/platform/text_conversion"

namespace {

namespace host = Vesk::Platform;

struct ConvertOptions {
  std::string from;
  std::string to;
};

// The host id of a name as the transcoder reads it, or the unknown id.
host::TextEncoding IdOfName(const std::string& name) {
  const char* text = name.c_str();
  if (strcasecmp(text, "utf-8") == 0) return host::UnicodeTextEncoding(256, 0, host::kUTF8Format);
  if (strcasecmp(text, "utf-16") == 0 || strcasecmp(text, "unicode") == 0)
    return host::UnicodeTextEncoding(256, 0, host::kUTF16Format);
  if (strcasecmp(text, "utf-7") == 0) return host::UnicodeTextEncoding(256, 0, host::kUTF7Format);
  if (name.size() > 255) return host::kUnknownTextEncoding;
  unsigned char pascal[256];
  pascal[0] = static_cast<unsigned char>(name.size());
  name.copy(reinterpret_cast<char*>(pascal + 1), name.size());
  host::TextEncoding id = host::kUnknownTextEncoding;
  host::TextEncodingFromInternetName(&id, pascal);
  return id;
}

// Runs the host converter over the whole input to find where, if anywhere, a
// conversion would stop; -1 when it converts whole.
long long StopOffset(const void* data, size_t bytes, host::TextEncoding from, host::TextEncoding to) {
  host::TextConverter* converter = nullptr;
  if (host::OpenConverter(&converter, from, to) != host::kConversionOK) return 0;
  alignas(2) char out[4096];
  size_t offset = 0;
  long long stop = -1;
  while (offset < bytes) {
    size_t read = 0, written = 0;
    const host::ConversionStatus status =
        host::ConvertText(converter, static_cast<const char*>(data) + offset, bytes - offset, &read, out,
                          sizeof out, &written);
    offset += read;
    if (status != host::kConversionOK && status != host::kOutputBufferFull &&
        status != host::kUsedFallbacks) {
      stop = static_cast<long long>(offset - (read > 0 ? 1 : 0));
      break;
    }
  }
  host::CloseConverter(converter);
  return stop;
}

void RunConvert(const ConvertOptions& options) {
  const host::TextEncoding from = IdOfName(options.from);
  const host::TextEncoding to = IdOfName(options.to);
  if (!host::CanConvertTextEncoding(from)) {
    vesktool::ReportBadInput("convert", options.from, "unknown encoding");
    return;
  }
  if (!host::CanConvertTextEncoding(to)) {
    vesktool::ReportBadInput("convert", options.to, "unknown encoding");
    return;
  }
  std::ios::sync_with_stdio(false);
  const std::string input((std::istreambuf_iterator<char>(std::cin)), std::istreambuf_iterator<char>());
  const std::basic_string<unsigned short> wide = Vesk::Transcoder::EncodingToUTF16(input, options.from);
  const host::TextEncoding utf16 = host::UnicodeTextEncoding(256, 0, host::kUTF16Format);
  // The library gives partial text when it stops; the tool says where and
  // writes nothing rather than a cut text.
  const long long bad_input = StopOffset(input.data(), input.size(), from, utf16);
  if (bad_input >= 0) {
    vesktool::ReportBadInput("convert", options.from,
                             "input is not valid in this encoding near byte " + std::to_string(bad_input));
    return;
  }
  const long long bad_output = StopOffset(wide.data(), wide.size() * 2, utf16, to);
  if (bad_output >= 0) {
    char where[64];
    const size_t unit = static_cast<size_t>(bad_output) / 2;
    std::snprintf(where, sizeof where, "U+%04X", unit < wide.size() ? wide[unit] : 0);
    vesktool::ReportBadInput("convert", options.to, std::string("cannot hold the character ") + where);
    return;
  }
  const std::string output = Vesk::Transcoder::UTF16ToEncoding(wide, options.to);
  std::cout.write(output.data(), static_cast<std::streamsize>(output.size()));
  std::cout.flush();
}

const vesktool::CommandRegistrar reg("convert", [](CLI::App& app) {
  auto options = std::make_shared<ConvertOptions>();
  CLI::App* cmd = app.add_subcommand(
      "convert",
      "Converts standard input from one encoding to another and writes it to standard output. Encodings are "
      "internet names (\"utf-8\", \"shift_jis\", \"iso-8859-1\"); \"utf-16\" means UTF-16 in machine byte "
      "order without a byte-order mark. Input that is not valid, or characters the target cannot hold, give "
      "an error and no output.");
  cmd->add_option("--from", options->from, "Encoding of the input")->required();
  cmd->add_option("--to", options->to, "Encoding of the output")->required();
  cmd->callback([options] { RunConvert(*options); });
});

}  // namespace
