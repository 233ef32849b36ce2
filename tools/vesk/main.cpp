// The vesk command-line tool: every operation of the library at a person's
// fingertips. Subcommands live in their own files and register themselves.
#include <cstdio>
#include <cstring>
#include <exception>
#include <iostream>
#include <map>
#include <string>

#include "tools/vesk/command.h"
#include "vesk/version"

namespace vesktool {
namespace {

std::map<std::string, CommandSetup>& Registry() {
  static std::map<std::string, CommandSetup> registry;
  return registry;
}

const char kExitStatuses[] =
    "Exit status: 0 when every item was done, 1 when some item was bad input (each is reported on standard "
    "error), 2 for a usage error.";

}  // namespace

CommandRegistrar::CommandRegistrar(const char* name, CommandSetup setup) {
  Registry().emplace(name, std::move(setup));
}

void AddExitStatusHelp(CLI::App* cmd) { cmd->footer(kExitStatuses); }

}  // namespace vesktool

int main(int argc, char** argv) {
  static char output_buffer[1 << 16];
  std::setvbuf(stdout, output_buffer, _IOFBF, sizeof output_buffer);
  CLI::App app{
      "vesk: URIs, local paths, escaping, legacy charsets, wide strings and time from the command line.\n"
      "Most commands take their items as arguments or, with none, one per line of standard input (or of "
      "--url-file/--file), and write each result as soon as it is done: text columns, or with --json one "
      "JSON object per line for every item, bad ones included (\"valid\": false and an \"error\"). JSON "
      "strings are UTF-8; an object with \"bytes\": true holds bytes that are not UTF-8, and then every "
      "string in it stands for bytes, one per character U+0000 to U+00FF.",
      "vesk"};
  app.footer(vesktool::kExitStatuses);
  app.set_version_flag("--version", std::string("vesk ") + vesk_version());
  app.require_subcommand(1);
  std::string command;
  for (auto& [name, setup] : vesktool::Registry()) setup(app);
  for (CLI::App* sub : app.get_subcommands([](CLI::App*) { return true; })) {
    const std::string name = sub->get_name();
    sub->preparse_callback([&command, name](std::size_t) { command = name; });
  }
  // An unknown command is named as such, not taken for a missing one.
  if (argc > 1 && argv[1][0] != '-' && vesktool::Registry().count(argv[1]) == 0) {
    std::cerr << "vesk: unknown command '" << argv[1] << "'; 'vesk --help' lists the commands\n";
    return vesktool::kUsage;
  }
  const auto prefix = [&command] { return command.empty() ? std::string("vesk: ") : "vesk " + command + ": "; };
  int status = vesktool::kAllDone;
  try {
    app.parse(argc, argv);
  } catch (const CLI::Success& e) {
    return app.exit(e);
  } catch (const CLI::ParseError& e) {
    std::cerr << prefix() << e.what() << "; see 'vesk " << (command.empty() ? "" : command + " ")
              << "--help'\n";
    status = vesktool::kUsage;
  } catch (const vesktool::UsageError& e) {
    std::cerr << prefix() << e.what() << '\n';
    status = vesktool::kUsage;
  } catch (const std::exception& e) {
    std::cerr << prefix() << e.what() << '\n';
    status = vesktool::kSomeBad;
  }
  std::fflush(stdout);
  return status != vesktool::kAllDone ? status : vesktool::ExitStatus();
}
