// The commands on two URIs: vesk resolve, relative, relation and common.
#include <memory>
#include <string>

#include "tools/vesk/command.h"
#include "vesk/uri/uri"

namespace {

struct PairOptions {
  vesktool::ItemOptions items;
  bool ignoreCase = false;
  bool chdir = false;
  bool escape = false;
};

const char kPairsHelp[] =
    " With only the first operand, the second ones are the lines of standard input (or the file); with "
    "neither, each line is the first operand, a tab and the second.";

// Adds the item options of a pair command, `operands` naming its two operands.
void AddPairOptions(CLI::App* cmd, PairOptions& options, const std::string& operands, const std::string& json) {
  vesktool::AddItemOptions(cmd, options.items, vesktool::ItemKind::kUri, operands + " (escaped URI text)", json);
}

// Both operands parse; otherwise the pair is reported as bad input and false returned.
bool BothValid(vesktool::ItemRun& run, const std::string& a, const std::string& b, const vesktool::Json& object) {
  for (const std::string* text : {&a, &b}) {
    if (!Vesk::URI(*text).IsValidURI()) {
      run.Bad(*text, "not a valid URI", object);
      return false;
    }
  }
  return true;
}

void RunResolve(const PairOptions& opt) {
  vesktool::ItemRun run("resolve", opt.items);
  run.Pairs([&](const std::string& baseText, const std::string& reference) {
    const vesktool::Json object = {{"base", baseText}, {"reference", reference}};
    const Vesk::URI base(baseText);
    if (!base.IsValidURI()) return run.Bad(baseText, "base is not a valid URI", object);
    Vesk::URI result = base;
    bool changed = true;
    if (opt.chdir) {
      result.ChDir(reference, opt.escape);
    } else {
      if (base.IsRelative()) return run.Bad(baseText, "base is relative", object);
      result = Vesk::URI(reference);
      if (!result.IsValidURI()) return run.Bad(reference, "not a valid URI reference", object);
      // An absolute reference is its own result.
      changed = result.MakeAbsoluteURI(base);
    }
    if (!result.IsValidURI())
      return run.Bad(reference, "gives no valid URI against the base '" + baseText + "'", object);
    vesktool::Json out = object;
    out["changed"] = changed;
    out["relative"] = result.IsRelative();
    run.Result(out, {{"result", result.ToString(false)}});
  });
}

void RunRelative(const PairOptions& opt) {
  vesktool::ItemRun run("relative", opt.items);
  run.Pairs([&](const std::string& uriText, const std::string& baseText) {
    const vesktool::Json object = {{"uri", uriText}, {"base", baseText}};
    if (!BothValid(run, uriText, baseText, object)) return;
    Vesk::URI uri(uriText);
    if (!uri.MakeRelativeURI(Vesk::URI(baseText), !opt.ignoreCase))
      return run.Bad(uriText, "cannot be made relative to '" + baseText + "' (the base is relative, or scheme or host differ)",
                     object);
    run.Result(object, {{"result", uri.ToString(false)}});
  });
}

const char* RelationName(Vesk::URIRelation relation) {
  switch (relation) {
    case Vesk::URIRelationChild: return "child";
    case Vesk::URIRelationSame: return "same";
    case Vesk::URIRelationParent: return "parent";
    case Vesk::URIRelationNone: break;
  }
  return "none";
}

void RunRelation(const PairOptions& opt) {
  vesktool::ItemRun run("relation", opt.items);
  run.Pairs([&](const std::string& a, const std::string& b) {
    vesktool::Json object = {{"a", a}, {"b", b}};
    if (!BothValid(run, a, b, object)) return;
    const Vesk::URIRelation relation = Vesk::URI::GetRelationByString(a, b);
    object["value"] = static_cast<int>(relation);
    run.Result(object, {{"relation", RelationName(relation)}});
  });
}

void RunCommon(const PairOptions& opt) {
  vesktool::ItemRun run("common", opt.items);
  run.Pairs([&](const std::string& a, const std::string& b) {
    const vesktool::Json object = {{"a", a}, {"b", b}};
    if (!BothValid(run, a, b, object)) return;
    for (const std::string* text : {&a, &b})
      if (Vesk::URI(*text).IsRelative()) return run.Bad(*text, "a relative URI has no parent directory", object);
    run.Result(object, {{"result", Vesk::URI::GetCommonParentByString(a, b, !opt.ignoreCase).ToString(false)}});
  });
}

const vesktool::CommandRegistrar resolve("resolve", [](CLI::App& app) {
  auto opt = std::make_shared<PairOptions>();
  CLI::App* sub = app.add_subcommand(
      "resolve", std::string("Each REF completed against BASE, printed in escaped form; a REF that is already "
                             "absolute is printed as it is.") + kPairsHelp);
  AddPairOptions(sub, *opt, "BASE and then REFs", "base, reference, changed, relative, result, valid");
  CLI::Option* chdir = sub->add_flag("--chdir", opt->chdir,
                                     "Move BASE by each REF as a shell moves through directories (a REF that does "
                                     "not parse leaves no valid URI)");
  sub->add_flag("--escape", opt->escape,
                "With --chdir: REF is literal path text, escaped first ('?', '#', '%' lose their meaning)")
      ->needs(chdir);
  sub->callback([opt] { RunResolve(*opt); });
});

const vesktool::CommandRegistrar relative("relative", [](CLI::App& app) {
  auto opt = std::make_shared<PairOptions>();
  CLI::App* sub = app.add_subcommand(
      "relative", std::string("URI as a relative reference from the directory of BASE, printed in escaped form "
                              "(a relative URI is printed as it is).") + kPairsHelp);
  AddPairOptions(sub, *opt, "URI and then BASEs", "uri, base, result, valid");
  sub->add_flag("--ignore-case", opt->ignoreCase, "Compare path segments without regard to ASCII case");
  sub->callback([opt] { RunRelative(*opt); });
});

const vesktool::CommandRegistrar relation("relation", [](CLI::App& app) {
  auto opt = std::make_shared<PairOptions>();
  CLI::App* sub = app.add_subcommand(
      "relation", std::string("How A lies against B: 'child' (A below B), 'same', 'parent' (A above B) or 'none' "
                              "(also for relative URIs). Path segments are compared with case.") + kPairsHelp);
  AddPairOptions(sub, *opt, "A and then Bs", "a, b, value, relation, valid");
  sub->callback([opt] { RunRelation(*opt); });
});

const vesktool::CommandRegistrar common("common", [](CLI::App& app) {
  auto opt = std::make_shared<PairOptions>();
  CLI::App* sub = app.add_subcommand(
      "common", std::string("The deepest directory that holds both A and B, printed in escaped form; on "
                            "different servers or schemes the root of A.") + kPairsHelp);
  AddPairOptions(sub, *opt, "A and then Bs", "a, b, result, valid");
  sub->add_flag("--ignore-case", opt->ignoreCase, "Compare path segments without regard to ASCII case");
  sub->callback([opt] { RunCommon(*opt); });
});

}  // namespace
