// The item loop and the output layer that every command shares.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <charconv>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "tools/vesk/command.h"
#include "vesk/encoding/transcoder"
#include "vesk/platform/resources"
#include "vesk/platform/text_conversion"

namespace vesktool {
namespace {

int gStatus = kAllDone;

// Standard output goes through stdio with a large buffer; it is written out
// before every read that may wait, so that a pipeline sees each result as soon
// as the tool would otherwise sit idle, while a batch pays one write per
// buffer and not one per line.
void FlushOutput() { std::fflush(stdout); }

// Lines of a file descriptor, read in large blocks. Memory is bounded by the
// block and the longest line.
class LineReader {
 public:
  explicit LineReader(int fd) : fd_(fd), block_(1 << 16) {}

  bool Next(std::string& line) {
    line.clear();
    for (;;) {
      const char* start = block_.data() + begin_;
      const void* newline = std::memchr(start, '\n', end_ - begin_);
      if (newline != nullptr) {
        const size_t length = static_cast<const char*>(newline) - start;
        line.append(start, length);
        begin_ += length + 1;
        break;
      }
      line.append(start, end_ - begin_);
      begin_ = end_ = 0;
      if (eof_) {
        if (line.empty()) return false;
        break;
      }
      FlushOutput();
      const ssize_t got = read(fd_, block_.data(), block_.size());
      if (got < 0 && errno == EINTR) continue;
      if (got < 0) throw std::runtime_error(std::string("cannot read the input: ") + std::strerror(errno));
      if (got == 0) eof_ = true;
      end_ = static_cast<size_t>(got > 0 ? got : 0);
    }
    if (!line.empty() && line.back() == '\r') line.pop_back();
    return true;
  }

 private:
  int fd_;
  std::vector<char> block_;
  size_t begin_ = 0, end_ = 0;
  bool eof_ = false;
};

// The descriptor to read items from: the file named, or standard input.
class InputFile {
 public:
  explicit InputFile(const std::string& path) {
    if (path.empty() || path == "-") return;
    fd_ = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd_ < 0) throw UsageError("cannot open '" + path + "': " + std::strerror(errno));
  }
  ~InputFile() {
    if (fd_ != 0) close(fd_);
  }
  int fd() const { return fd_; }

 private:
  int fd_ = 0;
};

size_t Utf8SequenceLength(const std::string& bytes, size_t i) {
  const unsigned char c = static_cast<unsigned char>(bytes[i]);
  const size_t len = c < 0x80 ? 1 : (c >> 5) == 6 ? 2 : (c >> 4) == 14 ? 3 : (c >> 3) == 30 ? 4 : 0;
  if (len == 0 || i + len > bytes.size()) return 0;
  for (size_t k = 1; k < len; ++k)
    if ((static_cast<unsigned char>(bytes[i + k]) & 0xC0) != 0x80) return 0;
  if (len > 1) {
    const unsigned char c1 = static_cast<unsigned char>(bytes[i + 1]);
    if (c == 0xC0 || c == 0xC1 || (c == 0xE0 && c1 < 0xA0) || (c == 0xED && c1 >= 0xA0) ||
        (c == 0xF0 && c1 < 0x90) || c > 0xF4 || (c == 0xF4 && c1 >= 0x90))
      return 0;
  }
  return len;
}

bool IsUtf8(const std::string& bytes) {
  for (size_t i = 0; i < bytes.size();) {
    if (static_cast<unsigned char>(bytes[i]) < 0x80) {
      ++i;
      continue;
    }
    const size_t len = Utf8SequenceLength(bytes, i);
    if (len == 0) return false;
    i += len;
  }
  return true;
}

bool AllUtf8(const Json& value) {
  if (value.is_string()) return IsUtf8(value.get_ref<const std::string&>());
  if (value.is_object()) {
    for (const auto& [key, item] : value.items())
      if (!IsUtf8(key) || !AllUtf8(item)) return false;
  }
  return true;
}

// Appends a JSON string: UTF-8 text as it is, or with `bytes` each byte as the
// character of the same value; quotes, backslashes and control bytes escaped.
void AppendJsonString(const std::string& text, bool bytes, std::string& out) {
  static const char hex[] = "0123456789abcdef";
  out += '"';
  size_t run = 0;  // start of the bytes not yet appended
  for (size_t i = 0; i < text.size(); ++i) {
    const unsigned char c = static_cast<unsigned char>(text[i]);
    if (c >= 0x20 && c != '"' && c != '\\' && (c < 0x80 || !bytes)) continue;
    out.append(text, run, i - run);
    run = i + 1;
    if (c >= 0x80) {
      out += static_cast<char>(0xC0 | (c >> 6));
      out += static_cast<char>(0x80 | (c & 0x3F));
    } else if (c == '"' || c == '\\') {
      out += '\\';
      out += static_cast<char>(c);
    } else if (c == '\n') {
      out += "\\n";
    } else if (c == '\t') {
      out += "\\t";
    } else if (c == '\r') {
      out += "\\r";
    } else {
      out += "\\u00";
      out += hex[c >> 4];
      out += hex[c & 15];
    }
  }
  out.append(text, run, std::string::npos);
  out += '"';
}

void AppendJson(const Json& value, bool bytes, std::string& out) {
  char number[24];
  switch (value.type()) {
    case Json::value_t::string: return AppendJsonString(value.get_ref<const std::string&>(), bytes, out);
    case Json::value_t::boolean: out += value.get<bool>() ? "true" : "false"; return;
    case Json::value_t::number_integer:
      out.append(number, std::to_chars(number, number + sizeof number, value.get<int64_t>()).ptr);
      return;
    case Json::value_t::number_unsigned:
      out.append(number, std::to_chars(number, number + sizeof number, value.get<uint64_t>()).ptr);
      return;
    case Json::value_t::object: {
      char separator = '{';
      for (const auto& [key, item] : value.items()) {
        out += separator;
        separator = ',';
        AppendJsonString(key, bytes, out);
        out += ':';
        AppendJson(item, bytes, out);
      }
      out += separator == '{' ? "{}" : "}";
      return;
    }
    default: out += value.dump(); return;
  }
}

std::string Quoted(const std::string& input) { return "'" + input + "'"; }

}  // namespace

void MarkFailure() { gStatus = kSomeBad; }
int ExitStatus() { return gStatus; }

void WriteText(std::string_view text) { std::fwrite(text.data(), 1, text.size(), stdout); }

void WriteJson(Json& object) {
  const bool bytes = !AllUtf8(object);
  if (bytes) object["bytes"] = true;
  std::string line;
  AppendJson(object, bytes, line);
  line += '\n';
  WriteText(line);
}

void AddItemOptions(CLI::App* cmd, ItemOptions& options, ItemKind kind, const std::string& items_help,
                    const std::string& json_help) {
  const bool uris = kind == ItemKind::kUri;
  cmd->add_option("items", options.args, items_help + "; with none, one per line of standard input or the file")
      ->type_name(uris ? "URI" : "TEXT");
  cmd->add_option(uris ? "--url-file" : "--file", options.file,
                  "Read the items from this file, one per line, as the lines arrive (- for standard input)")
      ->type_name("FILE");
  cmd->add_flag("--json", options.json,
                "One JSON object per line for every item: " + json_help +
                    "; a bad item gives \"valid\": false and \"error\"");
  if (uris) cmd->add_flag("--verify", options.verify, "Stop at the first bad item, with exit status 1");
  AddExitStatusHelp(cmd);
}

void ItemRun::Each(const std::function<void(const std::string&)>& each) {
  if (!options_.args.empty()) {
    for (const std::string& item : options_.args) {
      each(item);
      if (stopped_) return;
    }
    return;
  }
  Lines(each);
}

void ItemRun::Lines(const std::function<void(const std::string&)>& each) {
  const InputFile input(options_.file);
  LineReader reader(input.fd());
  std::string line;
  while (!stopped_ && reader.Next(line)) each(line);
}

void ItemRun::Pairs(const std::function<void(const std::string&, const std::string&)>& each) {
  const std::vector<std::string>& args = options_.args;
  if (args.size() >= 2) {
    for (size_t i = 1; i < args.size() && !stopped_; ++i) each(args[0], args[i]);
    return;
  }
  Lines([&](const std::string& line) {
    if (args.size() == 1) return each(args[0], line);
    std::string first, second;
    if (!SplitPair(line, first, second)) return Bad(line, "expected two operands separated by a tab");
    each(first, second);
  });
}

void ItemRun::Bad(const std::string& input, const std::string& why, Json object) {
  if (options_.json) {
    if (object.empty()) object["input"] = input;
    object["valid"] = false;
    object["error"] = why;
    WriteJson(object);
  }
  FlushOutput();
  ReportBad(command_, input, why);
  if (options_.verify) stopped_ = true;
}

void ItemRun::Good(Json object) {
  object["valid"] = true;
  WriteJson(object);
}

void ItemRun::Result(Json object, const std::vector<std::pair<std::string, Json>>& columns) {
  if (options_.json) {
    for (const auto& [name, value] : columns) object[name] = value;
    return Good(std::move(object));
  }
  std::string line;
  for (size_t i = 0; i < columns.size(); ++i) {
    const Json& value = columns[i].second;
    if (i > 0) line += '\t';
    line += value.is_string() ? value.get_ref<const std::string&>() : value.dump();
  }
  line += '\n';
  WriteText(line);
}

void ReportBad(const std::string& command, const std::string& input, const std::string& why) {
  // One write per message, so that messages of several processes on one
  // terminal do not mix.
  const std::string message = "vesk " + command + ": " + why + ": " + Quoted(input) + '\n';
  std::fwrite(message.data(), 1, message.size(), stderr);
  MarkFailure();
}

int OpenResources(const std::string& command, const std::string& path) {
  struct stat info;
  if (stat(path.c_str(), &info) != 0) return ReportBad(command, path, std::strerror(errno)), 0;
  if (!S_ISREG(info.st_mode)) return ReportBad(command, path, "not a regular file"), 0;
  Vesk::Platform::ResourceFileRef ref = 0;
  const Vesk::Platform::ResourceFileStatus status = Vesk::Platform::OpenResourceFile(path.c_str(), &ref);
  if (status != Vesk::Platform::ResourceFileStatus::kOK)
    ReportBad(command, path, Vesk::Platform::DescribeResourceFileStatus(status));
  return ref;
}

bool SplitPair(const std::string& line, std::string& first, std::string& second) {
  const auto tab = line.find('\t');
  if (tab == std::string::npos) return false;
  first = line.substr(0, tab);
  second = line.substr(tab + 1);
  return true;
}

bool KnownEncoding(const std::string& name) {
  return Vesk::Platform::CanConvertTextEncoding(Vesk::CharSetIDOfEncoding(name));
}

long long StopInDecoding(const std::string& text, const std::string& encoding) {
  const std::string back =
      Vesk::Transcoder::UTF8ToEncoding(Vesk::Transcoder::EncodingToUTF8(text, encoding), encoding);
  return back == text ? -1 : static_cast<long long>(CommonPrefix(text, back));
}

long long StopInEncoding(const std::string& text, const std::string& encoding, std::string& converted) {
  converted = Vesk::Transcoder::UTF8ToEncoding(text, encoding);
  const std::string back = Vesk::Transcoder::EncodingToUTF8(converted, encoding);
  if (back == text) return -1;
  size_t stop = CommonPrefix(text, back);
  // The first byte of the character that could not be converted.
  while (stop > 0 && stop < text.size() && (static_cast<unsigned char>(text[stop]) & 0xC0) == 0x80) --stop;
  return static_cast<long long>(stop);
}

}  // namespace vesktool
