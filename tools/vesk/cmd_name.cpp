// vesk name: file name, extension and last path component of a URI.
#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include "tools/vesk/command.h"
#include "vesk/uri/uri"

namespace {

struct NameOptions {
  std::vector<std::string> uris;
  std::string type;
  bool json = false;
};

void RunName(const NameOptions& options) {
  for (const std::string& text : vesktool::ItemsOrStdin(options.uris)) {
    const Vesk::URI uri(text);
    if (!uri.IsValidURI()) {
      vesktool::ReportBadInput("name", text, "not a valid URI");
      continue;
    }
    const std::string filename = uri.GetFilename(false);
    const std::string extension = uri.GetExtension(false);
    const std::string last = uri.GetLastPathComponent();
    const bool ofType = !options.type.empty() && uri.IsOfFileType(options.type);
    if (options.json) {
      nlohmann::json out = {{"uri", vesktool::JsonText(text)},
                            {"filename", vesktool::JsonText(filename)},
                            {"stem", vesktool::JsonText(uri.GetFilename(true))},
                            {"extension", vesktool::JsonText(extension)},
                            {"last", vesktool::JsonText(last)},
                            {"directory", uri.IsDirectory()}};
      if (!options.type.empty()) out["oftype"] = ofType;
      vesktool::PrintJson(out);
    } else {
      std::cout << filename << '\t' << extension << '\t' << last;
      if (!options.type.empty()) std::cout << '\t' << (ofType ? "true" : "false");
      std::cout << '\n';
    }
  }
}

const vesktool::CommandRegistrar reg("name", [](CLI::App& app) {
  auto options = std::make_shared<NameOptions>();
  CLI::App* cmd = app.add_subcommand(
      "name",
      "The file name, its extension (with the dot) and the last path component of each URI, separated by "
      "tabs; a directory URI has no file name but a last component. With --type a fourth column says whether "
      "the file is of that type (\"txt\", \".txt\" or \"a.txt\", case ignored).");
  cmd->add_option("uri", options->uris, "URIs; with none, one per line of standard input");
  cmd->add_option("--type", options->type, "File type to test the extension against");
  cmd->add_flag("--json", options->json,
                "One JSON object per item: uri, filename, stem, extension, last, directory");
  cmd->callback([options] { RunName(*options); });
});

}  // namespace
