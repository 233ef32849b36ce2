// vesk guess: typed text of unknown kind to the URI it most likely means.
#include <memory>
#include <string>

#include "tools/vesk/command.h"
#include "vesk/uri/uri"

namespace {

struct GuessOptions {
  vesktool::ItemOptions items;
  std::string defaultScheme = "http";
};

void RunGuess(const GuessOptions& options) {
  vesktool::ItemRun run("guess", options.items);
  run.Each([&](const std::string& text) {
    Vesk::URI uri;
    const bool found = uri.UnknownToURI(text, options.defaultScheme);
    run.Result({{"input", text}, {"relative", uri.IsRelative()}}, {{"found", found}, {"uri", uri.ToString(false)}});
  });
}

const vesktool::CommandRegistrar reg("guess", [](CLI::App& app) {
  auto options = std::make_shared<GuessOptions>();
  CLI::App* cmd = app.add_subcommand(
      "guess",
      "Turn typed text (a URI, a host name, a Windows, UNC, Unix or colon path) into the URI it most likely "
      "means. Prints, per item, true or false (whether a meaning was found), a tab, and the object's text "
      "as stored (\"unknown:\" for an untouched object). false is an answer, not bad input.");
  vesktool::AddItemOptions(cmd, options->items, vesktool::ItemKind::kText, "Texts to guess from",
                           "input, relative, found, uri, valid (always true)");
  cmd->add_option("--default-scheme", options->defaultScheme, "Scheme put in front of a bare host name")
      ->capture_default_str();
  cmd->callback([options] { RunGuess(*options); });
});

}  // namespace
