// vesk path: the local paths a URI stands for, in three notations.
#include <iostream>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "tools/vesk/command.h"
#include "vesk/platform/colon_paths"
#include "vesk/uri/uri"

namespace {

struct PathOptions {
  std::vector<std::string> uris;
  bool win = false;
  bool slash = false;
  bool mac = false;
  std::string rootVolume;
  bool json = false;
};

void RunPath(PathOptions options) {
  if (!options.win && !options.slash && !options.mac) options.win = options.slash = options.mac = true;
  if (!options.rootVolume.empty()) Vesk::SetColonPathRootVolume(options.rootVolume);
  for (const std::string& text : vesktool::ItemsOrStdin(options.uris)) {
    const Vesk::URI uri(text);
    if (!uri.IsValidURI()) {
      vesktool::ReportBadInput("path", text, "not a valid URI");
      continue;
    }
    // Notation name and path, in the order win, unix, mac.
    std::vector<std::pair<const char*, std::string>> paths;
    if (options.win) paths.emplace_back("win", uri.ToLocalPathWin());
    if (options.slash) paths.emplace_back("unix", uri.ToLocalPathUnix());
    if (options.mac) paths.emplace_back("mac", uri.ToLocalPathMac());
    bool any = false;
    for (const auto& entry : paths) any = any || !entry.second.empty();
    if (!any) {
      vesktool::ReportBadInput("path", text, "no local path in the notation asked for");
      continue;
    }
    if (options.json) {
      nlohmann::json out = {{"uri", vesktool::JsonText(text)}};
      for (const auto& [name, path] : paths) out[name] = vesktool::JsonText(path);
      vesktool::PrintJson(out);
    } else {
      for (size_t i = 0; i < paths.size(); ++i) std::cout << (i ? "\t" : "") << paths[i].second;
      std::cout << '\n';
    }
  }
}

const vesktool::CommandRegistrar reg("path", [](CLI::App& app) {
  auto options = std::make_shared<PathOptions>();
  CLI::App* cmd = app.add_subcommand(
      "path",
      "The local path each URI stands for: Windows (backslashes), Unix (slashes) and colon notation, in that "
      "order, separated by tabs; with --win, --unix or --mac only those asked for. An empty column means no "
      "path in that notation; a URI with none in any notation asked for is an error.");
  cmd->add_option("uri", options->uris, "URIs; with none, one per line of standard input");
  cmd->add_flag("--win", options->win, "Windows path (drive letters, backslashes, \\\\server\\share)");
  cmd->add_flag("--unix", options->slash, "Unix path (also what the library's default conversion gives)");
  cmd->add_flag("--mac", options->mac, "Colon path (Volume:dir:file)");
  cmd->add_option(
      "--root-volume", options->rootVolume,
      std::string("Name of the root volume in the colon path of a file://localhost URI (default \"") +
          Vesk::kDefaultColonPathRootVolume + "\")");
  cmd->add_flag("--json", options->json, "One JSON object per item: uri and one key per notation");
  cmd->callback([options] { RunPath(*options); });
});

}  // namespace
