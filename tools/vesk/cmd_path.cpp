// vesk path: the local paths a URI stands for, in three notations.
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "tools/vesk/command.h"
#include "vesk/platform/colon_paths"
#include "vesk/uri/uri"

namespace {

struct PathOptions {
  vesktool::ItemOptions items;
  bool win = false;
  bool slash = false;
  bool mac = false;
  std::string rootVolume;
};

void RunPath(PathOptions options) {
  if (!options.win && !options.slash && !options.mac) options.win = options.slash = options.mac = true;
  if (!options.rootVolume.empty()) Vesk::SetColonPathRootVolume(options.rootVolume);
  vesktool::ItemRun run("path", options.items);
  run.Each([&](const std::string& text) {
    const Vesk::URI uri(text);
    if (!uri.IsValidURI()) return run.Bad(text, "not a valid URI");
    // One column per notation, in the order win, unix, mac.
    std::vector<std::pair<std::string, vesktool::Json>> paths;
    bool any = false;
    const auto add = [&](const char* name, const std::string& path) {
      paths.emplace_back(name, path);
      any = any || !path.empty();
    };
    if (options.win) add("win", uri.ToLocalPathWin());
    if (options.slash) add("unix", uri.ToLocalPathUnix());
    if (options.mac) add("mac", uri.ToLocalPathMac());
    if (!any) return run.Bad(text, "no local path in the notation asked for");
    run.Result({{"input", text}}, paths);
  });
}

const vesktool::CommandRegistrar reg("path", [](CLI::App& app) {
  auto options = std::make_shared<PathOptions>();
  CLI::App* cmd = app.add_subcommand(
      "path",
      "The local path each URI stands for: Windows (backslashes), Unix (slashes) and colon notation, in that "
      "order, separated by tabs; with --win, --unix or --mac only those asked for. An empty column means no "
      "path in that notation; a URI with none in any notation asked for is bad input.");
  vesktool::AddItemOptions(cmd, options->items, vesktool::ItemKind::kUri, "URIs",
                           "input, one key per notation (win, unix, mac), valid");
  cmd->add_flag("--win", options->win, "Windows path (drive letters, backslashes, \\\\server\\share)");
  cmd->add_flag("--unix", options->slash, "Unix path (also what the library's default conversion gives)");
  cmd->add_flag("--mac", options->mac, "Colon path (Volume:dir:file)");
  cmd->add_option(
      "--root-volume", options->rootVolume,
      std::string("Name of the root volume in the colon path of a file://localhost URI (default \"") +
          Vesk::kDefaultColonPathRootVolume + "\")");
  cmd->callback([options] { RunPath(*options); });
});

}  // namespace
