// vesk convert: text from one encoding to another, standard input to standard
// output.
#include <unistd.h>

#include <cstdio>
#include <memory>
#include <string>

#include "tools/vesk/command.h"
#include "vesk/encoding/transcoder"

namespace {

using Vesk::Transcoder;
using Wide = std::basic_string<unsigned short>;

struct ConvertOptions {
  std::string from;
  std::string to;
};

std::string ReadAll() {
  std::string input;
  char block[1 << 16];
  ssize_t got;
  while ((got = read(0, block, sizeof block)) > 0) input.append(block, static_cast<size_t>(got));
  return input;
}

void RunConvert(const ConvertOptions& options) {
  for (const std::string* name : {&options.from, &options.to})
    if (!vesktool::KnownEncoding(*name)) throw vesktool::UsageError("unknown encoding '" + *name + "'");
  // The conversion is one text: a stateful encoding cannot be cut into lines.
  const std::string input = ReadAll();
  // The library gives partial text (and more) when it stops; converting back
  // tells whether and where, and the tool then writes nothing.
  const Wide wide = Transcoder::EncodingToUTF16(input, options.from);
  const std::string again = Transcoder::UTF16ToEncoding(wide, options.from);
  if (again != input) {
    return vesktool::ReportBad("convert", "standard input",
                               "not valid " + options.from + " text from byte " +
                                   std::to_string(vesktool::CommonPrefix(input, again)));
  }
  const std::string output = Transcoder::UTF16ToEncoding(wide, options.to);
  const Wide back = Transcoder::EncodingToUTF16(output, options.to);
  if (back != wide) {
    const size_t unit = vesktool::CommonPrefix(wide, back);
    char character[16];
    std::snprintf(character, sizeof character, "U+%04X", unit < wide.size() ? wide[unit] : 0);
    const size_t byte = Transcoder::UTF16ToEncoding(wide.substr(0, unit), options.from).size();
    return vesktool::ReportBad("convert", "standard input",
                               options.to + " cannot hold the character " + character + " at byte " +
                                   std::to_string(byte));
  }
  vesktool::WriteText(output);
}

const vesktool::CommandRegistrar reg("convert", [](CLI::App& app) {
  auto options = std::make_shared<ConvertOptions>();
  CLI::App* cmd = app.add_subcommand(
      "convert",
      "Converts standard input from one encoding to another and writes it to standard output. Encodings are "
      "internet names (\"utf-8\", \"shift_jis\", \"iso-8859-1\"); \"utf-16\" means UTF-16 in machine byte "
      "order without a byte-order mark. The input is converted as one text, read to its end first. Input that "
      "is not valid (or does not come back byte for byte from the conversion), or a character the target cannot "
      "hold, is reported with its byte offset, and nothing is written.");
  cmd->add_option("--from", options->from, "Encoding of the input")->type_name("NAME")->required();
  cmd->add_option("--to", options->to, "Encoding of the output")->type_name("NAME")->required();
  vesktool::AddExitStatusHelp(cmd);
  cmd->callback([options] { RunConvert(*options); });
});

}  // namespace
