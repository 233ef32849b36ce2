#include "bench/kernels_inputs.h"

namespace veskbench {
namespace {

void Add(Input& input, std::string item) {
  input.bytes += item.size();
  input.items.push_back(std::move(item));
}

std::vector<std::string> Lines(const std::string& text) {
  std::vector<std::string> lines;
  size_t start = 0;
  while (start < text.size()) {
    size_t end = text.find('\n', start);
    if (end == std::string::npos) end = text.size();
    size_t stop = end;
    if (stop > start && text[stop - 1] == '\r') --stop;
    lines.push_back(text.substr(start, stop - start));
    start = end + 1;
  }
  return lines;
}

bool StartsWithNoCase(const std::string& text, const char* prefix) {
  size_t i = 0;
  for (; prefix[i] != '\0'; ++i) {
    if (i >= text.size()) return false;
    char c = text[i];
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c + 32);
    if (c != prefix[i]) return false;
  }
  return true;
}

}  // namespace

const std::vector<Input>& UrlLists() {
  static const std::vector<Input> lists = [] {
    std::vector<Input> all;
    for (const std::string& file : UrlCorpora()) {
      std::string text;
      if (!ReadDataFile("urls/" + file, text)) continue;
      Input input;
      input.name = file.substr(0, file.rfind('.'));
      for (std::string& line : Lines(text)) {
        if (!line.empty()) Add(input, std::move(line));
      }
      all.push_back(std::move(input));
    }
    return all;
  }();
  return lists;
}

const Input& UrlPaths() {
  static const Input paths = [] {
    Input input;
    input.name = "url_paths";
    for (const Input& list : UrlLists()) {
      for (const std::string& url : list.items) {
        size_t host = 0;
        if (StartsWithNoCase(url, "http://"))
          host = 7;
        else if (StartsWithNoCase(url, "https://"))
          host = 8;
        else
          continue;
        const size_t rest = url.find_first_of("/?#", host);
        if (rest == std::string::npos) continue;
        std::string item = url.substr(rest);
        if (item != "/") Add(input, std::move(item));
      }
    }
    return input;
  }();
  return paths;
}

bool TextFile(const std::string& name, std::string& contents) {
  return ReadDataFile("text/" + name, contents);
}

const Input& TextLines() {
  static const Input lines = [] {
    Input input;
    input.name = "text_lines";
    for (const char* file :
         {"arabic", "chinese", "english", "french", "german", "hindi", "japanese", "russian"}) {
      std::string text;
      if (!TextFile(std::string(file) + ".utf8.txt", text)) continue;
      for (std::string& line : Lines(text)) {
        if (line.size() > 120) {
          size_t cut = 120;
          while (cut > 0 && (static_cast<unsigned char>(line[cut]) & 0xC0) == 0x80) --cut;
          line.resize(cut);
        }
        if (line.size() >= 8) Add(input, std::move(line));
      }
    }
    return input;
  }();
  return lines;
}

const Input& EscapedTextLines() {
  static const Input escaped = [] {
    Input input;
    input.name = "escaped_lines";
    static const char kDigits[] = "0123456789ABCDEF";
    for (const std::string& line : TextLines().items) {
      std::string item;
      for (const char ch : line) {
        const unsigned char c = static_cast<unsigned char>(ch);
        const bool unreserved = (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') ||
                                c == '-' || c == '.' || c == '_' || c == '~';
        if (unreserved) {
          item.push_back(ch);
        } else {
          item += {'%', kDigits[c >> 4], kDigits[c & 15]};
        }
      }
      Add(input, std::move(item));
    }
    return input;
  }();
  return escaped;
}

}  // namespace veskbench
