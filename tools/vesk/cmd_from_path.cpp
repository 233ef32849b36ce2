// vesk from-path: local paths of three notations to file URIs.
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "tools/vesk/command.h"
#include "vesk/uri/uri"

namespace {

struct FromPathOptions {
  vesktool::ItemOptions items;
  bool win = false;
  bool slash = false;
  bool mac = false;
};

void RunFromPath(const FromPathOptions& options) {
  vesktool::ItemRun run("from-path", options.items);
  run.Each([&](const std::string& path) {
    // One column per notation, in the order win, unix, mac; the library's own
    // notation when none was asked for.
    std::vector<std::pair<std::string, vesktool::Json>> uris;
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
    run.Result({{"input", path}}, uris);
  });
}

const vesktool::CommandRegistrar reg("from-path", [](CLI::App& app) {
  auto options = std::make_shared<FromPathOptions>();
  CLI::App* cmd = app.add_subcommand(
      "from-path",
      "The file URI of each local path, read as a Windows path (--win), a Unix path (--unix) or a colon path "
      "(--mac); several notations give tab-separated columns in that order. Without any, the library's own "
      "notation is used, which reads colon paths and passes slash paths through.");
  vesktool::AddItemOptions(cmd, options->items, vesktool::ItemKind::kText, "Paths",
                           "input, one key per notation (win, unix, mac, or uri), valid");
  cmd->add_flag("--win", options->win, "Read Windows paths (drive letters, backslashes, \\\\server\\share)");
  cmd->add_flag("--unix", options->slash, "Read Unix paths");
  cmd->add_flag("--mac", options->mac, "Read colon paths (Volume:dir:file)");
  cmd->callback([options] { RunFromPath(*options); });
});

}  // namespace
