#ifndef VESK_TOOLS_VESK_COMMAND_H_
#define VESK_TOOLS_VESK_COMMAND_H_

// What every subcommand of the tool shares: registration, the item loop that
// reads arguments, a file or standard input line by line, and the output layer
// that writes text columns or one JSON object per item.

#include <functional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

namespace vesktool {

using Json = nlohmann::ordered_json;

// A subcommand adds itself to the application: its options and its callback.
using CommandSetup = std::function<void(CLI::App& app)>;

// Registers a subcommand at static initialisation; main() sets them all up in
// the order of their names.
struct CommandRegistrar {
  CommandRegistrar(const char* name, CommandSetup setup);
};

// Exit statuses of the tool.
constexpr int kAllDone = 0;
constexpr int kSomeBad = 1;
constexpr int kUsage = 2;

// A mistake in the command line found by a command itself (an unknown charset,
// a bad template): main() prints "vesk CMD: " and the text, and exits with 2.
struct UsageError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

// Marks the run as having met a bad item (exit status 1), and the status so far.
void MarkFailure();
int ExitStatus();

// Writes text to standard output. Output is buffered and written out whenever
// the tool is about to wait for more input, and at exit.
void WriteText(std::string_view text);

// Writes one JSON object on its own line. Strings are UTF-8 text; when any
// string of the object (keys included) holds bytes that are not UTF-8, every
// string of it is written byte for byte instead, each byte as the character of
// the same value (U+0000 to U+00FF), and the object gets "bytes": true.
void WriteJson(Json& object);

// The options every command that works on items shares.
struct ItemOptions {
  std::vector<std::string> args;
  std::string file;  // read items from this file, "-" for standard input
  bool json = false;
  bool verify = false;
};

// Whether a command's items are URIs: only those commands take --verify and
// call their file option --url-file (the others --file).
enum class ItemKind { kUri, kText };

// Adds the positional items, the file option, --json and (for URIs) --verify
// to `cmd`, and the exit statuses to its help.
void AddItemOptions(CLI::App* cmd, ItemOptions& options, ItemKind kind, const std::string& items_help,
                    const std::string& json_help);

// Adds the exit statuses to the help of a command that has no item options.
void AddExitStatusHelp(CLI::App* cmd);

// One run of a command over its items.
class ItemRun {
 public:
  ItemRun(std::string command, const ItemOptions& options) : command_(std::move(command)), options_(options) {}

  bool json() const { return options_.json; }
  const std::string& command() const { return command_; }

  // Calls `each` with every item: the arguments or, with none, each line of
  // the file or standard input (without its line ending) as it arrives. Stops
  // early after a bad item under --verify.
  void Each(const std::function<void(const std::string&)>& each);

  // Calls `each` with pairs of operands. With two or more arguments: the first
  // with each of the others. With only the first: the first with each line.
  // With none: each line is the first operand, a tab and the second; a line
  // without a tab is a bad item.
  void Pairs(const std::function<void(const std::string&, const std::string&)>& each);

  // A bad item: "vesk CMD: WHY: 'INPUT'" on standard error and exit status 1;
  // under --json also `object` with "valid": false and "error": WHY on
  // standard output. Under --verify the run stops after it.
  void Bad(const std::string& input, const std::string& why, Json object = Json::object());

  // A good item's JSON object, "valid": true added.
  void Good(Json object);

  // A good item's result as named columns: under --json `object` with one key
  // per column and "valid": true; otherwise the columns on one line, separated
  // by tabs (strings as they are, other values as in JSON).
  void Result(Json object, const std::vector<std::pair<std::string, Json>>& columns);

 private:
  void Lines(const std::function<void(const std::string&)>& each);

  std::string command_;
  const ItemOptions& options_;
  bool stopped_ = false;
};

// Reports a bad argument that is not an item (a resource file, a charset):
// "vesk CMD: WHY: 'INPUT'" on standard error and exit status 1.
void ReportBad(const std::string& command, const std::string& input, const std::string& why);

// Opens an existing resource file and makes it current; a path that is not a
// regular file or not a resource file is reported as bad and gives 0.
int OpenResources(const std::string& command, const std::string& path);

// Splits a line at its first tab; false when the line has none.
bool SplitPair(const std::string& line, std::string& first, std::string& second);

// The number of leading elements two strings share.
template <typename Text>
size_t CommonPrefix(const Text& a, const Text& b) {
  size_t i = 0;
  while (i < a.size() && i < b.size() && a[i] == b[i]) ++i;
  return i;
}

// Whether an encoding name is one the transcoder can convert.
bool KnownEncoding(const std::string& name);

// Checks that `text` in `encoding` converts to UTF-8 up to its end, by
// converting it back; returns the byte offset of `text` where the conversion
// stops, or -1 when it converts whole.
long long StopInDecoding(const std::string& text, const std::string& encoding);

// Checks that UTF-8 `text` converts to `encoding` whole, by converting the
// result back; returns the byte offset of `text` where the conversion stops, or
// -1. `converted` gets the conversion.
long long StopInEncoding(const std::string& text, const std::string& encoding, std::string& converted);

}  // namespace vesktool

#endif  // VESK_TOOLS_VESK_COMMAND_H_
