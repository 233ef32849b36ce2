// vesk parse: every component and flag of each URI, its two text forms, or
// the components picked by a template.
#include <memory>
#include <string>
#include <vector>

#include "tools/vesk/command.h"
#include "tools/vesk/components.h"
#include "vesk/uri/uri"

namespace {

using vesktool::Component;

// A piece of a --get template: literal text, then a component or nothing.
struct Piece {
  std::string literal;
  bool hasComponent = false;
  Component component = Component::kUri;
  bool plain = false;
};

struct ParseOptions {
  vesktool::ItemOptions items;
  std::string charset;  // non-empty: the input is in this legacy charset
  std::string get;
  bool haveGet = false;
};

std::vector<Piece> CompileTemplate(const std::string& text) {
  std::vector<Piece> pieces(1);
  for (size_t i = 0; i < text.size(); ++i) {
    if (text[i] != '{') {
      pieces.back().literal += text[i];
      continue;
    }
    if (i + 1 < text.size() && text[i + 1] == '{') {
      pieces.back().literal += '{';
      ++i;
      continue;
    }
    const size_t close = text.find('}', i);
    if (close == std::string::npos) throw vesktool::UsageError("--get: '{' without '}' in '" + text + "'");
    std::string name = text.substr(i + 1, close - i - 1);
    Piece& piece = pieces.back();
    piece.plain = !name.empty() && name[0] == ':';
    if (piece.plain) name.erase(0, 1);
    if (!vesktool::ComponentByName(name, piece.component))
      throw vesktool::UsageError("--get: no component named '" + name + "' in '" + text + "'");
    piece.hasComponent = true;
    pieces.emplace_back();
    i = close;
  }
  return pieces;
}

std::string Expand(const std::vector<Piece>& pieces, const Vesk::URI& uri) {
  std::string out, scratch;
  for (const Piece& piece : pieces) {
    out += piece.literal;
    if (!piece.hasComponent) continue;
    out += piece.plain ? vesktool::PlainComponent(uri, piece.component)
                       : vesktool::StoredComponent(uri, piece.component, scratch);
  }
  return out;
}

std::string Flag(bool value) { return value ? "true" : "false"; }

void PrintItem(const std::string& text, const Vesk::URI& uri, vesktool::ItemRun& run) {
  const std::string stored = uri.ToString(false);
  const std::string reading = uri.ToString(true);
  std::string scratch;
  if (run.json()) {
    vesktool::Json out = {{"input", text}};
    for (int i = 0; i < vesktool::kFieldCount; ++i)
      out[std::string(vesktool::kComponentNames[i])] =
          vesktool::StoredComponent(uri, static_cast<Component>(i), scratch);
    out["relative"] = uri.IsRelative();
    out["hierarchical"] = uri.IsHierarchical();
    out["stored"] = stored;
    out["reading"] = reading;
    return run.Good(std::move(out));
  }
  std::string block = "input: " + text + '\n';
  for (int i = 0; i < vesktool::kFieldCount; ++i) {
    block.append(vesktool::kComponentNames[i]).append(": ");
    block += vesktool::StoredComponent(uri, static_cast<Component>(i), scratch);
    block += '\n';
  }
  block += "relative: " + Flag(uri.IsRelative()) + "\nhierarchical: " + Flag(uri.IsHierarchical()) +
           "\nstored: " + stored + "\nreading: " + reading + "\n\n";
  vesktool::WriteText(block);
}

void RunParse(const ParseOptions& options) {
  if (!options.charset.empty() && !vesktool::KnownEncoding(options.charset))
    throw vesktool::UsageError("unknown charset '" + options.charset + "'");
  const std::vector<Piece> pieces = options.haveGet ? CompileTemplate(options.get) : std::vector<Piece>();
  vesktool::ItemRun run("parse", options.items);
  run.Each([&](const std::string& text) {
    Vesk::URI uri;
    if (options.charset.empty()) {
      uri = Vesk::URI(Vesk::URI::StringProxy(text));
    } else {
      const long long stop = vesktool::StopInDecoding(text, options.charset);
      if (stop >= 0)
        return run.Bad(text, "not " + options.charset + " text from byte " + std::to_string(stop));
      if (!uri.FromEncodedString(text, options.charset))
        return run.Bad(text, "a component cannot be converted from " + options.charset);
    }
    if (!uri.IsValidURI()) return run.Bad(text, "not a valid URI");
    if (!options.haveGet) return PrintItem(text, uri, run);
    std::string result = Expand(pieces, uri);
    if (run.json()) return run.Good({{"input", text}, {"get", result}});
    result += '\n';
    vesktool::WriteText(result);
  });
}

const vesktool::CommandRegistrar reg("parse", [](CLI::App& app) {
  auto options = std::make_shared<ParseOptions>();
  CLI::App* cmd = app.add_subcommand(
      "parse",
      "Every stored (escaped) component of each URI (scheme, user, password, host, port, path, query, "
      "fragment, body), the relative and hierarchical flags, and its text in stored form and in reading form "
      "(escapes decoded); or, with --get, what a template picks. Text that is not a valid URI is bad input.");
  vesktool::AddItemOptions(cmd, options->items, vesktool::ItemKind::kUri, "URIs",
                           "input, the nine components, relative, hierarchical, stored, reading, valid");
  cmd->add_option("--get", options->get,
                  "Print TEMPLATE for each URI instead, with {scheme}, {user}, {password}, {host}, {port}, "
                  "{path}, {query}, {fragment}, {body} and {uri} replaced by the component in stored form and "
                  "{:scheme} and so on by its plain form (the getter's; {:uri} is the reading form); {{ is a "
                  "brace. With --json the result is \"get\"")
      ->type_name("TEMPLATE")
      ->each([options](const std::string&) { options->haveGet = true; });
  cmd->add_option("--charset", options->charset,
                  "Read each URI as text in this legacy charset (e.g. shift_jis, iso-8859-1): escapes of its bytes "
                  "are decoded and everything is stored as escaped UTF-8; text that is not valid in the charset "
                  "is bad input")
      ->type_name("NAME");
  cmd->callback([options] { RunParse(*options); });
});

}  // namespace
