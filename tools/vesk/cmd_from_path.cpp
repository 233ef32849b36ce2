// vesk from-path: local paths of three notations to file URIs.
#include <iostream>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "tools/vesk/command.h"
#include "vesk/uri/uri"

namespace {

struct FromPathOptions {
  std::vector<std::string> paths;
  bool win = false;
  bool slash = false;
  bool mac = false;
  bool json = false;
};

void RunFromPath(const FromPathOptions& options) {
  for (const std::string& path : vesktool::ItemsOrStdin(options.paths)) {
    // Notation name and URI text, in the order win, unix, mac; the library's
    // own notation when none was asked for.
    std::vector<std::pair<const char*, std::string>> uris;
    Vesk::URI uri;
    if (options.win) {
      uri.LocalPathToURIWin(path);
      uris.emplace_back("win", uri.ToString(false));
    }
    if (options.slash) {
      uri.LocalPathToURIUnix(path);
      uris.emplace_back("unix", uri.ToString(false));
    }
    if (options.mac) {
      uri.LocalPathToURIMac(path);
      uris.emplace_back("mac", uri.ToString(false));
    }
    if (uris.empty()) {
      uri.LocalPathToURI(path);
      uris.emplace_back("uri", uri.ToString(false));
    }
    if (options.json) {
      nlohmann::json out = {{"path", vesktool::JsonText(path)}};
      for (const auto& [name, text] : uris) out[name] = vesktool::JsonText(text);
      vesktool::PrintJson(out);
    } else {
      for (size_t i = 0; i < uris.size(); ++i) std::cout << (i ? "\t" : "") << uris[i].second;
      std::cout << '\n';
    }
  }
}

const vesktool::CommandRegistrar reg("from-path", [](CLI::App& app) {
  auto options = std::make_shared<FromPathOptions>();
  CLI::App* cmd = app.add_subcommand(
      "from-path",
      "The file URI of each local path, read as a Windows path (--win), a Unix path (--unix) or a colon path "
      "(--mac); several notations give tab-separated columns in that order. Without any, the library's own "
      "notation is used, which reads colon paths and passes slash paths through.");
  cmd->add_option("path", options->paths, "Paths; with none, one per line of standard input");
  cmd->add_flag("--win", options->win, "Read Windows paths (drive letters, backslashes, \\\\server\\share)");
  cmd->add_flag("--unix", options->slash, "Read Unix paths");
  cmd->add_flag("--mac", options->mac, "Read colon paths (Volume:dir:file)");
  cmd->add_flag("--json", options->json, "One JSON object per item: path and one key per notation (or uri)");
  cmd->callback([options] { RunFromPath(*options); });
});

}  // namespace
