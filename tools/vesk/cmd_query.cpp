// vesk query: the query of a URI as names and values; one value; or the URI
// with values set.
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "tools/vesk/command.h"
#include "vesk/uri/uri"

namespace {

struct QueryOptions {
  vesktool::ItemOptions items;
  std::string get;
  std::vector<std::string> sets;
};

void Run(const QueryOptions& opt, bool getting) {
  // Check every NAME=VALUE before touching any URI.
  std::vector<std::pair<std::string, std::string>> sets;
  for (const auto& item : opt.sets) {
    const auto eq = item.find('=');
    if (eq == std::string::npos) throw vesktool::UsageError("--set wants NAME=VALUE: '" + item + "'");
    sets.emplace_back(item.substr(0, eq), item.substr(eq + 1));
  }
  const bool several = opt.items.args.size() != 1;
  vesktool::ItemRun run("query", opt.items);
  run.Each([&](const std::string& text) {
    Vesk::URI uri(text);
    if (!uri.IsValidURI()) return run.Bad(text, "not a valid URI");
    if (!sets.empty()) {
      for (const auto& [name, value] : sets) uri.SetQueryValue(name, value);
      return run.Result({{"input", text}}, {{"result", uri.ToString(false)}});
    }
    if (getting) {
      std::string value;
      if (!uri.GetQueryValue(opt.get, value))
        return run.Bad(text, "no value named '" + opt.get + "' in the query of", {{"input", text}, {"name", opt.get}});
      return run.Result({{"input", text}, {"name", opt.get}}, {{"value", value}});
    }
    std::map<std::string, std::string> map;
    uri.GetQueryByMap(map);
    if (run.json()) {
      vesktool::Json query = vesktool::Json::object();
      for (const auto& [name, value] : map) query[name] = value;
      return run.Good({{"input", text}, {"query", query}});
    }
    std::string lines;
    for (const auto& [name, value] : map) lines += name + '\t' + value + '\n';
    // With several URIs a blank line ends each one's pairs.
    if (several) lines += '\n';
    vesktool::WriteText(lines);
  });
}

const vesktool::CommandRegistrar reg("query", [](CLI::App& app) {
  auto opt = std::make_shared<QueryOptions>();
  CLI::App* sub = app.add_subcommand(
      "query",
      "The query of each URI as plain names and values (name, a tab, value, one pair per line, in name order, a "
      "blank line after each URI unless there is exactly one URI argument); with --get the value of one name; "
      "with --set the URI with the values set (the query is rewritten in canonical form: sorted, '+' as %20)");
  vesktool::AddItemOptions(sub, opt->items, vesktool::ItemKind::kUri, "URIs (escaped form)",
                           "input and query (an object), or name and value, or result; valid");
  CLI::Option* get = sub->add_option("--get", opt->get, "Print the plain value of NAME (bad input when absent)")
                         ->type_name("NAME");
  CLI::Option* set = sub->add_option("--set", opt->sets,
                                     "Set NAME to VALUE (plain text); may be given several times, in order")
                         ->type_name("NAME=VALUE")
                         ->allow_extra_args(false);
  get->excludes(set);
  sub->callback([opt, get] { Run(*opt, get->count() > 0); });
});

}  // namespace
