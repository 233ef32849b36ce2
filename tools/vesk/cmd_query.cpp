// vesk query: the query of a URI as names and values; one value; or the URI
// with values set.
#include <iostream>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "tools/vesk/command.h"
#include "vesk/uri/uri"

namespace {

struct QueryOptions {
  std::vector<std::string> uris;
  std::string get;
  std::vector<std::string> sets;
  bool json = false;
};

void Run(const QueryOptions& opt, bool getting) {
  // Check every NAME=VALUE before touching any URI.
  std::vector<std::pair<std::string, std::string>> sets;
  for (const auto& item : opt.sets) {
    const auto eq = item.find('=');
    if (eq == std::string::npos) {
      vesktool::ReportBadInput("query", item, "--set wants NAME=VALUE");
      return;
    }
    sets.emplace_back(item.substr(0, eq), item.substr(eq + 1));
  }

  const std::vector<std::string> items = vesktool::ItemsOrStdin(opt.uris);
  for (const auto& text : items) {
    Vesk::URI uri(text);
    if (!uri.IsValidURI()) {
      vesktool::ReportBadInput("query", text, "not a valid URI");
      continue;
    }
    if (!sets.empty()) {
      for (const auto& [name, value] : sets) uri.SetQueryValue(name, value);
      const std::string result = uri.ToString(false);
      if (opt.json) {
        vesktool::PrintJson({{"uri", vesktool::JsonText(text)}, {"result", vesktool::JsonText(result)}});
      } else {
        std::cout << result << '\n';
      }
    } else if (getting) {
      std::string value;
      const bool present = uri.GetQueryValue(opt.get, value);
      if (opt.json) {
        nlohmann::json out = {
            {"uri", vesktool::JsonText(text)}, {"name", vesktool::JsonText(opt.get)}, {"present", present}};
        out["value"] = present ? vesktool::JsonText(value) : nlohmann::json(nullptr);
        vesktool::PrintJson(out);
      } else if (present) {
        std::cout << value << '\n';
      }
      if (!present)
        vesktool::ReportBadInput("query", text, "no value named '" + opt.get + "' in the query of");
    } else {
      std::map<std::string, std::string> map;
      uri.GetQueryByMap(map);
      if (opt.json) {
        nlohmann::json query = nlohmann::json::object();
        // JSON keys must be UTF-8 like the values.
        for (const auto& [name, value] : map)
          query[vesktool::JsonText(name).get<std::string>()] = vesktool::JsonText(value);
        vesktool::PrintJson({{"uri", vesktool::JsonText(text)}, {"query", query}});
      } else {
        for (const auto& [name, value] : map) std::cout << name << '\t' << value << '\n';
        // With several URIs a blank line ends each one's pairs.
        if (items.size() > 1) std::cout << '\n';
      }
    }
  }
}

const vesktool::CommandRegistrar reg("query", [](CLI::App& app) {
  auto opt = std::make_shared<QueryOptions>();
  CLI::App* sub = app.add_subcommand(
      "query",
      "The query of each URI as plain names and values (name, a tab, value, one pair per line, in name "
      "order, "
      "a blank line after each URI when there are several); "
      "with --get the value of one name; with --set the URI with the values set (the query is rewritten in "
      "canonical form: sorted, '+' as %20)");
  sub->add_option("uri", opt->uris, "URIs (escaped form); none: one per line on standard input");
  CLI::Option* get =
      sub->add_option("--get", opt->get, "Print the plain value of NAME (an error when absent)")
          ->type_name("NAME");
  CLI::Option* set = sub->add_option("--set", opt->sets,
                                     "Set NAME to VALUE (plain text); may be given several times, in order")
                         ->type_name("NAME=VALUE")
                         ->allow_extra_args(false);
  get->excludes(set);
  sub->add_flag("--json", opt->json, "One JSON object per URI");
  sub->callback([opt, get]() { Run(*opt, get->count() > 0); });
});

}  // namespace
