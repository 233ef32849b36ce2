#ifndef VESK_TOOLS_VESK_COMMAND_H_
#define VESK_TOOLS_VESK_COMMAND_H_

#include <functional>
#include <iosfwd>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

namespace vesktool {

// A subcommand adds itself to the application: its options and its callback.
using CommandSetup = std::function<void(CLI::App& app)>;

// Registers a subcommand at static initialisation; main() sets them all up in
// the order of their names.
struct CommandRegistrar {
  CommandRegistrar(const char* name, CommandSetup setup);
};

// Exit status of the run: set to 1 when any item was bad input.
void MarkFailure();
int ExitStatus();

// Prints a one-line error naming the input to standard error and marks the run
// as failed.
void ReportBadInput(const std::string& command, const std::string& input, const std::string& why);

// The items to work on: the arguments or, with none, each line of standard
// input (without its line ending).
std::vector<std::string> ItemsOrStdin(const std::vector<std::string>& args);

// Splits a line at its first tab; false when the line has none.
bool SplitPair(const std::string& line, std::string& first, std::string& second);

// Writes one JSON object on its own line.
void PrintJson(const nlohmann::json& object);

// JSON strings must be valid UTF-8: bytes that are not are kept as \u00XX
// escapes of their byte value (Latin-1 reading), so nothing is lost.
nlohmann::json JsonText(const std::string& bytes);

}  // namespace vesktool

#endif  // VESK_TOOLS_VESK_COMMAND_H_
