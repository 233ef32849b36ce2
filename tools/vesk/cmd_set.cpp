// vesk set: URIs with components replaced through the library's setters.
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "tools/vesk/command.h"
#include "tools/vesk/components.h"
#include "vesk/uri/uri"

namespace {

using vesktool::Component;

struct SetOptions {
  vesktool::ItemOptions items;  // the URIs, once the assignments are taken out
  std::vector<std::string> operands;
};

// NAME=VALUE with NAME one of the field components; false for anything else.
bool ParseAssignment(const std::string& text, std::pair<Component, std::string>& assignment) {
  const size_t eq = text.find('=');
  if (eq == std::string::npos || !vesktool::ComponentByName(std::string_view(text).substr(0, eq), assignment.first) ||
      assignment.first == Component::kUri)
    return false;
  assignment.second = text.substr(eq + 1);
  return true;
}

void RunSet(SetOptions& options) {
  std::vector<std::pair<Component, std::string>> assignments;
  options.items.args.clear();
  for (const std::string& operand : options.operands) {
    std::pair<Component, std::string> assignment;
    if (ParseAssignment(operand, assignment)) {
      assignments.push_back(std::move(assignment));
    } else {
      options.items.args.push_back(operand);
    }
  }
  if (assignments.empty())
    throw vesktool::UsageError("nothing to set: give COMPONENT=VALUE (scheme, user, password, host, port, path, "
                               "query, fragment, body)");
  vesktool::ItemRun run("set", options.items);
  run.Each([&](const std::string& text) {
    Vesk::URI uri{Vesk::URI::StringProxy(text)};
    if (!uri.IsValidURI()) return run.Bad(text, "not a valid URI");
    for (const auto& [component, value] : assignments) vesktool::SetComponent(uri, component, value);
    const std::string result = uri.ToString(false);
    if (!uri.IsValidURI())
      return run.Bad(text, "the result is not a valid URI: '" + result + "'", {{"input", text}, {"result", result}});
    run.Result({{"input", text}}, {{"result", result}});
  });
}

const vesktool::CommandRegistrar reg("set", [](CLI::App& app) {
  auto options = std::make_shared<SetOptions>();
  CLI::App* cmd = app.add_subcommand(
      "set",
      "Each URI with components replaced, in the order given, and printed in stored form. Values are plain "
      "text and escaped as the library's setters escape them: scheme (lower-cased; the flags stay), user, "
      "password, host (an address with two colons gets brackets), port, path, query (escaped; & = + stay), "
      "fragment, body (the opaque part; makes the URI non-hierarchical). A result that is not a valid URI is "
      "bad input. A URI that looks like NAME=VALUE must come on standard input.");
  vesktool::AddItemOptions(cmd, options->items, vesktool::ItemKind::kUri, "URIs", "input, result, valid");
  // The positional items double as the assignments; they are told apart by
  // their form.
  cmd->get_option("items")->description("URIs and COMPONENT=VALUE assignments; with no URI, one per line of "
                                        "standard input or the file");
  cmd->get_option("items")->type_name("URI|NAME=VALUE");
  cmd->callback([options] {
    options->operands = options->items.args;
    RunSet(*options);
  });
});

}  // namespace
