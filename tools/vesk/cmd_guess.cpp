// vesk guess: typed text of unknown kind to the URI it most likely means.
#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include "tools/vesk/command.h"
#include "vesk/uri/uri"

namespace {

struct GuessOptions {
  std::vector<std::string> texts;
  std::string defaultScheme = "http";
  bool json = false;
};

void RunGuess(const GuessOptions& options) {
  for (const std::string& text : vesktool::ItemsOrStdin(options.texts)) {
    Vesk::URI uri;
    const bool found = uri.UnknownToURI(text, options.defaultScheme);
    const std::string result = uri.ToString(false);
    if (options.json) {
      vesktool::PrintJson({{"input", vesktool::JsonText(text)},
                           {"result", found},
                           {"uri", vesktool::JsonText(result)},
                           {"valid", uri.IsValidURI()},
                           {"relative", uri.IsRelative()}});
    } else {
      std::cout << (found ? "true" : "false") << '\t' << result << '\n';
    }
  }
}

vesktool::CommandRegistrar reg("guess", [](CLI::App& app) {
  auto options = std::make_shared<GuessOptions>();
  CLI::App* cmd = app.add_subcommand(
      "guess",
      "Turn typed text (a URI, a host name, a Windows, UNC, Unix or colon path) into the URI it most likely "
      "means. Prints, per item, true or false (whether a meaning was found), a tab, and the object's text "
      "as stored (\"unknown:\" for an untouched object). false is an answer, not an error: the exit "
      "status stays 0.");
  cmd->add_option("text", options->texts, "Texts to guess from; with none, one per line of standard input");
  cmd->add_option("--default-scheme", options->defaultScheme, "Scheme put in front of a bare host name")
      ->capture_default_str();
  cmd->add_flag("--json", options->json, "One JSON object per item: input, result, uri, valid, relative");
  cmd->callback([options] { RunGuess(*options); });
});

}  // namespace
