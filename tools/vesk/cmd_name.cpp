// vesk name: file name, extension and last path component of a URI.
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "tools/vesk/command.h"
#include "vesk/uri/uri"

namespace {

struct NameOptions {
  vesktool::ItemOptions items;
  std::string type;
};

void RunName(const NameOptions& options) {
  vesktool::ItemRun run("name", options.items);
  run.Each([&](const std::string& text) {
    const Vesk::URI uri(text);
    if (!uri.IsValidURI()) return run.Bad(text, "not a valid URI");
    std::vector<std::pair<std::string, vesktool::Json>> columns = {{"filename", uri.GetFilename(false)},
                                                                   {"extension", uri.GetExtension(false)},
                                                                   {"last", uri.GetLastPathComponent()}};
    if (!options.type.empty()) columns.emplace_back("oftype", uri.IsOfFileType(options.type));
    run.Result({{"input", text}, {"stem", uri.GetFilename(true)}, {"directory", uri.IsDirectory()}}, columns);
  });
}

const vesktool::CommandRegistrar reg("name", [](CLI::App& app) {
  auto options = std::make_shared<NameOptions>();
  CLI::App* cmd = app.add_subcommand(
      "name",
      "The file name, its extension (with the dot) and the last path component of each URI, separated by "
      "tabs; a directory URI has no file name but a last component. With --type a fourth column says whether "
      "the file is of that type (\"txt\", \".txt\" or \"a.txt\", case ignored).");
  vesktool::AddItemOptions(cmd, options->items, vesktool::ItemKind::kUri, "URIs",
                           "input, stem, directory, filename, extension, last, oftype (with --type), valid");
  cmd->add_option("--type", options->type, "File type to test the extension against");
  cmd->callback([options] { RunName(*options); });
});

}  // namespace
