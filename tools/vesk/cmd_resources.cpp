// vesk resources: lists a resource file, or writes string resources into one.
#include <sys/stat.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "tools/vesk/command.h"
#include "vesk/platform/handles"
#include "vesk/platform/resources"

namespace {

namespace host = Vesk::Platform;

struct ResourcesOptions {
  vesktool::ItemOptions output;  // only --json
  std::string file;
  std::vector<std::string> add;  // TYPE ID TEXT...
};

void Bad(const std::string& input, const std::string& why) { vesktool::ReportBad("resources", input, why); }

std::string TypeText(unsigned long type) {
  std::string out;
  for (int shift = 24; shift >= 0; shift -= 8) out += static_cast<char>((type >> shift) & 0xFF);
  return out;
}

// A type of one to four bytes, padded with spaces ("STR" is "STR ").
bool ParseType(const std::string& text, unsigned long& type) {
  if (text.empty() || text.size() > 4) return false;
  const std::string padded = text + std::string(4 - text.size(), ' ');
  type = 0;
  for (char c : padded) type = (type << 8) | static_cast<unsigned char>(c);
  return true;
}

bool ParseNumber(const std::string& text, long low, long high, long& value) {
  if (text.empty()) return false;
  char* end = nullptr;
  value = std::strtol(text.c_str(), &end, 10);
  return *end == '\0' && value >= low && value <= high;
}

std::string Pascal(const std::string& text) { return std::string(1, static_cast<char>(text.size())) + text; }

// The bytes of a string resource of `type` made from `texts`, or an error.
bool BuildData(unsigned long type, const std::vector<std::string>& texts, std::string& data,
               std::string& error) {
  const std::string name = TypeText(type);
  if (name == "STR#") {
    if (texts.size() > 0xFFFF) return error = "too many strings for one list", false;
    data = std::string{static_cast<char>(texts.size() >> 8), static_cast<char>(texts.size() & 0xFF)};
    for (const std::string& t : texts) {
      if (t.size() > 255) return error = "a string is longer than 255 bytes", false;
      data += Pascal(t);
    }
    return true;
  }
  if (name == "STR ") {
    if (texts.size() != 1) return error = "a STR resource holds exactly one TEXT", false;
    if (texts[0].size() > 255) return error = "the string is longer than 255 bytes", false;
    data = Pascal(texts[0]);
    return true;
  }
  if (name == "STRm") {
    // NUMBER=PLACE pairs, stored in host order as the store hands them out.
    data.clear();
    for (const std::string& t : texts) {
      const size_t eq = t.find('=');
      long number = 0, place = 0;
      if (eq == std::string::npos || !ParseNumber(t.substr(0, eq), 0, 65535, number) ||
          !ParseNumber(t.substr(eq + 1), 0, 65535, place))
        return error = "STRm items are NUMBER=PLACE, each from 0 to 65535: '" + t + "'", false;
      const uint16_t fields[2] = {static_cast<uint16_t>(number), static_cast<uint16_t>(place)};
      data.append(reinterpret_cast<const char*>(fields), sizeof fields);
    }
    return true;
  }
  error = "only STR#, STR and STRm resources can be written";
  return false;
}

void AddStrings(const ResourcesOptions& options) {
  if (options.add.size() < 2) {
    Bad(options.file, "--add-strings needs TYPE ID and the texts");
    return;
  }
  unsigned long type = 0;
  long id = 0;
  if (!ParseType(options.add[0], type)) {
    Bad(options.add[0], "a type has one to four characters");
    return;
  }
  if (!ParseNumber(options.add[1], -32768, 32767, id)) {
    Bad(options.add[1], "an id is a number from -32768 to 32767");
    return;
  }
  std::string data, error;
  if (!BuildData(type, std::vector<std::string>(options.add.begin() + 2, options.add.end()), data, error)) {
    Bad(options.file, error);
    return;
  }
  struct stat info;
  host::ResourceFileRef ref = 0;
  if (stat(options.file.c_str(), &info) == 0) {
    if ((ref = vesktool::OpenResources("resources", options.file)) == 0) return;
  } else {
    ref = host::CreateResourceFile(options.file.c_str());
  }
  // Replace a resource of that type and id, or add one.
  char** handle = nullptr;
  for (const host::ResourceEntry& e : host::ListResources(ref)) {
    if (e.type == type && e.id == id) handle = host::FindResource(type, static_cast<short>(id));
  }
  if (handle != nullptr) {
    host::ResizeMovableBlock(handle, data.size());
    if (!data.empty()) std::memcpy(*handle, data.data(), data.size());
    host::MarkResourceChanged(handle);
  } else {
    handle = host::NewMovableBlock(data.size());
    if (!data.empty()) std::memcpy(*handle, data.data(), data.size());
    host::AddResourceToCurrentFile(handle, type, static_cast<short>(id), nullptr);
  }
  const host::ResourceFileStatus status = host::WriteResourceFile(ref);
  if (status != host::ResourceFileStatus::kOK)
    Bad(options.file, host::DescribeResourceFileStatus(status));
  host::CloseAllResourceFiles();
}

void List(const ResourcesOptions& options) {
  const host::ResourceFileRef ref = vesktool::OpenResources("resources", options.file);
  if (ref == 0) return;
  vesktool::ItemRun run("resources", options.output);
  for (const host::ResourceEntry& e : host::ListResources(ref)) {
    const vesktool::Json name = e.has_name ? vesktool::Json(e.name) : (run.json() ? vesktool::Json(nullptr) : vesktool::Json("-"));
    run.Result({}, {{"type", TypeText(e.type)}, {"id", e.id}, {"name", name}, {"size", e.data.size()}});
  }
  host::CloseAllResourceFiles();
}

const vesktool::CommandRegistrar reg("resources", [](CLI::App& app) {
  auto options = std::make_shared<ResourcesOptions>();
  CLI::App* cmd = app.add_subcommand(
      "resources",
      "Lists a resource file: type, id, name (- for none) and size in bytes of each resource, separated by "
      "tabs. With --add-strings, writes a string resource into the file instead (creating the file if need "
      "be, replacing a resource of the same type and id): STR# TEXT... makes a list, STR TEXT one string, "
      "STRm NUMBER=PLACE... the table that maps string numbers to places in the lists.");
  cmd->add_option("file", options->file, "The resource file")->required();
  cmd->add_option("--add-strings", options->add, "TYPE ID TEXT...")->expected(2, 1 << 20);
  cmd->add_flag("--json", options->output.json, "One JSON object per resource: type, id, name, size, valid");
  vesktool::AddExitStatusHelp(cmd);
  cmd->callback([options] {
    if (options->add.empty()) {
      List(*options);
    } else {
      AddStrings(*options);
    }
  });
});

}  // namespace
