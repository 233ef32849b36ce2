// The vesk command-line tool: every operation of the library at a person's
// fingertips. Subcommands live in their own files and register themselves.
#include <algorithm>
#include <iostream>
#include <map>
#include <memory>
#include <string>

#include "tools/vesk/command.h"

namespace vesktool {
namespace {

std::map<std::string, CommandSetup>& Registry() {
  static std::map<std::string, CommandSetup> registry;
  return registry;
}

int gStatus = 0;

}  // namespace

CommandRegistrar::CommandRegistrar(const char* name, CommandSetup setup) {
  Registry().emplace(name, std::move(setup));
}

void MarkFailure() { gStatus = 1; }
int ExitStatus() { return gStatus; }

void ReportBadInput(const std::string& command, const std::string& input, const std::string& why) {
  std::cerr << "vesk " << command << ": " << why << ": '" << input << "'\n";
  MarkFailure();
}

std::vector<std::string> ItemsOrStdin(const std::vector<std::string>& args) {
  if (!args.empty()) return args;
  std::vector<std::string> items;
  std::string line;
  while (std::getline(std::cin, line)) {
    if (!line.empty() && line.back() == '\r') line.pop_back();
    items.push_back(line);
  }
  return items;
}

bool SplitPair(const std::string& line, std::string& first, std::string& second) {
  const auto tab = line.find('\t');
  if (tab == std::string::npos) return false;
  first = line.substr(0, tab);
  second = line.substr(tab + 1);
  return true;
}

void PrintJson(const nlohmann::json& object) { std::cout << object.dump() << '\n'; }

nlohmann::json JsonText(const std::string& bytes) {
  // Keep valid UTF-8 as it is; map each byte of an invalid sequence to the
  // code point of the same value.
  std::string out;
  out.reserve(bytes.size());
  size_t i = 0;
  while (i < bytes.size()) {
    const unsigned char c = static_cast<unsigned char>(bytes[i]);
    size_t len = c < 0x80 ? 1 : (c >> 5) == 6 ? 2 : (c >> 4) == 14 ? 3 : (c >> 3) == 30 ? 4 : 0;
    bool ok = len != 0 && i + len <= bytes.size();
    for (size_t k = 1; ok && k < len; ++k) ok = (static_cast<unsigned char>(bytes[i + k]) & 0xC0) == 0x80;
    if (ok && len > 1) {
      const unsigned char c1 = static_cast<unsigned char>(bytes[i + 1]);
      if ((c == 0xC0 || c == 0xC1) || (c == 0xE0 && c1 < 0xA0) || (c == 0xED && c1 >= 0xA0) ||
          (c == 0xF0 && c1 < 0x90) || c > 0xF4 || (c == 0xF4 && c1 >= 0x90))
        ok = false;
    }
    if (ok) {
      out.append(bytes, i, len);
      i += len;
    } else {
      out += static_cast<char>(0xC0 | (c >> 6));
      out += static_cast<char>(0x80 | (c & 0x3F));
      ++i;
    }
  }
  return nlohmann::json(out);
}

}  // namespace vesktool

int main(int argc, char** argv) {
  CLI::App app{"vesk: URIs, wide strings, encodings and time from the command line"};
  app.require_subcommand(1);
  for (auto& [name, setup] : vesktool::Registry()) setup(app);
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& e) {
    return app.exit(e);
  }
  return vesktool::ExitStatus();
}
