// vesk strings: numbered strings as an application loads them, with the store
// each came from.
#include <libintl.h>

#include <cerrno>
#include <clocale>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "tools/vesk/command.h"
#include "vesk/encoding/transcoder"
#include "vesk/platform/resources"
#include "vesk/string/cstring"
#include "vesk/string/string_sources"

namespace {

namespace host = Vesk::Platform;

struct StringsOptions {
  vesktool::ItemOptions items;
  std::vector<std::string> resources;
  std::string domain;
  std::string locale_dir;
  std::vector<std::string> tables;
};

// A decimal number from 0 to 4294967295, nothing else.
bool ParseId(const std::string& text, unsigned int& id) {
  if (text.empty() || text.size() > 10 || text.find_first_not_of("0123456789") != std::string::npos)
    return false;
  const unsigned long long value = std::strtoull(text.c_str(), nullptr, 10);
  if (value > 0xFFFFFFFFull) return false;
  id = static_cast<unsigned int>(value);
  return true;
}

std::string Utf8(const CString& s) {
  const unsigned short* text = s;
  return Vesk::Transcoder::asUTF8(std::basic_string<unsigned short>(text, text + s.GetLength()));
}

void RunStrings(const StringsOptions& options) {
  // The tool is the application here: messages follow the user's locale.
  std::setlocale(LC_ALL, "");
  for (const std::string& path : options.resources)
    if (vesktool::OpenResources("strings", path) == 0) return;
  if (!options.domain.empty()) textdomain(options.domain.c_str());
  if (!options.locale_dir.empty()) {
    bindtextdomain(textdomain(nullptr), options.locale_dir.c_str());
    for (const std::string& table : options.tables) bindtextdomain(table.c_str(), options.locale_dir.c_str());
  }
  for (const std::string& table : options.tables) CString::AddStringTableForSearch(table.c_str());

  vesktool::ItemRun run("strings", options.items);
  run.Each([&](const std::string& item) {
    unsigned int id = 0;
    if (!ParseId(item, id)) return run.Bad(item, "not a string number (0 to 4294967295)");
    CString text;
    const bool found = text.LoadString(id);
    const Vesk::StringSource source = Vesk::LastStringSource();
    std::string from = Vesk::StringSourceName(source);
    if (source == Vesk::StringSource::kNamedTable) from += ":" + Vesk::LastStringTable();
    if (run.json()) return run.Good({{"id", id}, {"found", found}, {"store", from}, {"text", Utf8(text)}});
    run.Result({}, {{"id", id}, {"store", from}, {"text", (found ? "" : "(not found) ") + Utf8(text)}});
  });
  host::CloseAllResourceFiles();
}

const vesktool::CommandRegistrar reg("strings", [](CLI::App& app) {
  auto options = std::make_shared<StringsOptions>();
  CLI::App* cmd = app.add_subcommand(
      "strings",
      "For each string number: the number, the store its text came from (list: the STRm table and a STR# "
      "list; single: a STR resource; main: the main message catalog; named:NAME: a catalog added with "
      "--table; digits: no store, the number itself; cache: a repeated number) and the text, separated by "
      "tabs. Stores are asked in that order, as an application's numbered strings are.");
  vesktool::AddItemOptions(cmd, options->items, vesktool::ItemKind::kText, "String numbers",
                           "id, found, store, text, valid");
  cmd->add_option("--resources", options->resources,
                  "A resource file to search (repeatable; the last one is searched first)")
      ->allow_extra_args(false);
  cmd->add_option("--domain", options->domain, "The main message catalog's text domain (default: messages)");
  cmd->add_option("--locale-dir", options->locale_dir,
                  "Folder of compiled catalogs (LANG/LC_MESSAGES/DOMAIN.mo) for the domain and the tables");
  cmd->add_option("--table", options->tables,
                  "A named catalog searched after the main one (repeatable, in order)")
      ->allow_extra_args(false);
  cmd->callback([options] { RunStrings(*options); });
});

}  // namespace
