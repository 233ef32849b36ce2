#include "vesk/uri/uri"

#include <functional>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/uri.h"

namespace {

using namespace vesktest;
using Vesk::URIRelation;
using Names = std::map<std::string, std::string>;

// Maps hosts to other hosts, or a host to a whole URI, then applies `then`
// if given, and counts its calls.
class CountingResolver : public Vesk::URIResolver {
 public:
  explicit CountingResolver(Names hosts, Names uris = Names(), URI (*then)(URI) = nullptr)
      : hosts_(std::move(hosts)), uris_(std::move(uris)), then_(then) {}
  URI Resolve(const URI& uri) override {
    ++calls;
    const std::string host = uri.GetAuthority();
    const auto whole = uris_.find(host);
    if (whole != uris_.end()) return URI(whole->second);
    URI result(uri);
    const auto renamed = hosts_.find(host);
    if (renamed != hosts_.end()) result.SetAuthority(renamed->second);
    return then_ != nullptr ? then_(result) : result;
  }
  int calls = 0;

 private:
  Names hosts_, uris_;
  URI (*then_)(URI);
};

// Installs a resolver for one scope and puts the previous one back.
struct ResolverScope {
  explicit ResolverScope(Vesk::URIResolver* resolver) : previous(URI::SetResolver(resolver)) {}
  ~ResolverScope() { URI::SetResolver(previous); }
  Vesk::URIResolver* previous;
};

const char* const kRelations[] = {"none", "child", "same", "parent"};
std::string RelationName(URIRelation r) { return kRelations[r]; }

// ChDir and GetCommonParent put results in the parser's shapes, except that
// an emptied relative path leaves an invalid URI with its flags. Making
// absolute or relative ends in setters, so their results are not checked.
std::string Moved(const URI& uri) { return uri.m_IsValid ? Shaped(uri) : std::string(uri.ToString(false)); }

// ChDir, and where the reference is the stored text of a relative URI also
// MakeAbsoluteURI, which must agree; where the row promises it, back through
// MakeRelativeURI and forward again.
Cells ChDirRow(const Cells& in, bool withFlags) {
  const URI base = MakeURI(in[0]);
  const bool escape = !withFlags && in[2] == "1";
  URI moved = base;
  EXPECT_TRUE(moved.ChDir(in[1], escape));
  const std::string text = Moved(moved);
  EXPECT_TRUE(!moved.IsHierarchical() || moved.m_NonHierarchical.empty());
  URI reference(in[1]);
  if (!escape && reference.IsRelative() && reference.ToString(false) == in[1] && !base.IsRelative()) {
    EXPECT_TRUE(reference.MakeAbsoluteURI(base));
    EXPECT_EQ(reference.ToString(false) + Flags(reference), text + Flags(moved)) << "MakeAbsoluteURI";
  }
  if (!withFlags && in[3] == "1") {
    URI relative = moved;
    EXPECT_TRUE(relative.MakeRelativeURI(base, true));
    EXPECT_TRUE(relative.IsRelative());
    const std::string way = relative.ToString(false);
    EXPECT_TRUE(relative.MakeAbsoluteURI(base));
    EXPECT_EQ(std::string(relative.ToString(false)), text) << "back from " << way;
  }
  return {Flags(moved), text};
}

Cells Split(const std::string& text) {
  Cells out(1);
  bool leading = false;
  bool trailing = false;
  std::vector<std::string> segments;
  URI::SplitPath(text, segments, leading, trailing);
  std::vector<std::string> shortForm{"x"};
  URI::SplitPath(text, shortForm);
  EXPECT_EQ(Cells(shortForm.begin() + 1, shortForm.end()), segments);
  for (const auto& s : segments) out[0] += s + "|";
  return {out[0], Bit(leading), Bit(trailing), URI::JoinPath(segments, leading, trailing)};
}

const std::map<std::string, Op> kOps = {
    {"chdir", {4, [](const Cells& in) { return Cells{ChDirRow(in, false)[1]}; }}},
    {"road", {2, [](const Cells& in) { return ChDirRow(in, true); }}},
    {"abs",
     {2,
      [](const Cells& in) {
        URI object = MakeURI(in[0]);
        const URI before = object;
        const bool ok = object.MakeAbsoluteURI(MakeURI(in[1]));
        EXPECT_TRUE(ok || Vesk::uri_internal::SameState(object, before)) << "a refusal changed the object";
        return Cells{Bit(ok), object.ToString(false)};
      }}},
    {"rel",
     {3,
      [](const Cells& in) {
        URI object = MakeURI(in[0]);
        const bool wasRelative = object.IsRelative();
        const bool ok = object.MakeRelativeURI(MakeURI(in[1]), in[2] == "1");
        if (ok) {
          EXPECT_EQ(Flags(object).substr(1), "11");  // relative and hierarchical
          EXPECT_EQ(object.m_Server + object.m_Port + object.m_Scheme, "");
          EXPECT_TRUE(wasRelative || (object.m_IsValid && !object.m_Path.empty() && object.m_Path[0] != '/'));
        }
        return Cells{Bit(ok), object.ToString(false)};
      }}},
    {"relation",
     {3,
      [](const Cells& in) {
        const URI object = MakeURI(in[0]);
        const URI other = MakeURI(in[1]);
        const URIRelation r = object.GetRelation(other, in[2] == "1");
        // The mirror image: a child seen from the other side is a parent.
        const URIRelation mirror = r == Vesk::URIRelationChild    ? Vesk::URIRelationParent
                                   : r == Vesk::URIRelationParent ? Vesk::URIRelationChild
                                                                  : r;
        EXPECT_EQ(other.GetRelation(object, in[2] == "1"), mirror) << "mirrored";
        return Cells{RelationName(r)};
      }}},
    {"relstr",
     {2, [](const Cells& in) { return Cells{RelationName(URI::GetRelationByString(in[0], in[1]))}; }}},
    {"parent",
     {3,
      [](const Cells& in) {
        const URI object = MakeURI(in[0]);
        const URI other = MakeURI(in[1]);
        const bool cs = in[2] == "1";
        const std::string before = object.ToString(false);
        const std::string parent = Moved(object.GetCommonParent(other, cs));
        EXPECT_EQ(object.ToString(false), before) << "operand changed";
        {
          // With a resolver that changes nothing the climb is walked one ".."
          // at a time; without one it is worked out. Both end in one place.
          CountingResolver identity{Names()};
          ResolverScope scope(&identity);
          EXPECT_EQ(std::string(object.GetCommonParent(other, cs).ToString(false)), parent) << "resolver set";
        }
        if (in[0] != kBlank && in[1] != kBlank) {
          EXPECT_EQ(std::string(URI::GetCommonParentByString(in[0], in[1], cs).ToString(false)), parent);
        }
        return Cells{parent};
      }}},
    {"split", {1, [](const Cells& in) { return Split(in[0]); }}},
    {"join",
     {3,
      [](const Cells& in) {
        std::vector<std::string> segments;
        for (size_t at = 0, bar; (bar = in[0].find('|', at)) != std::string::npos; at = bar + 1) {
          segments.push_back(in[0].substr(at, bar - at));
        }
        return Cells{URI::JoinPath(segments, in[1] == "1", in[2] == "1")};
      }}},
    {"under", {2, [](const Cells& in) { return Cells{Bit(URI(in[0]).IsUnderDirectory(in[1]))}; }}},
};

TEST(PathOperations, Table) { RunTable("uri_paths.tsv", kOps); }

TEST(ChDir, StoredFieldsAfterAMove) {
  URI noSlash("http://host");
  noSlash.ChDir("c", false);
  EXPECT_EQ(noSlash.m_Path + " " + noSlash.m_Server, "c host");
  // The query and fragment take the same trip through plain text as the path.
  URI query("http://host/a");
  query.ChDir("b?x%20y=%26#f%3F", false);
  EXPECT_EQ(query.m_Query + " " + query.m_Fragment, "x%20y=& f%3F");
  URI rooted("http://u:p@host:81/a?q#f");
  rooted.ChDir("/b?r", false);
  EXPECT_EQ(rooted.m_Username + rooted.m_Password + rooted.m_Port + rooted.m_Query + rooted.m_Fragment,
            "up81r");
  // A fragment-only move touches nothing else, even where the path is odd.
  URI invalid("a/b/c");
  invalid.ChDir("../..", false);
  invalid.ChDir("#x", false);
  EXPECT_EQ(Flags(invalid) + invalid.m_Path + invalid.m_Fragment, "011x");
  URI odd("http://host/a b");
  odd.ChDir("#g h", false);
  EXPECT_EQ(odd.m_Path + odd.m_Fragment, "/a bg%20h");
  // User information stays in the fields although it no longer prints.
  URI user("http://u:p@host/a/c");
  ASSERT_TRUE(user.MakeRelativeURI(URI("http://host/a/d"), true));
  EXPECT_EQ(user.m_Username + user.m_Password, "up");
}

TEST(ChDir, LongRunsOfDotSegments) {
  std::string up, down, dots;
  for (int i = 0; i < 10000; ++i) up += "../", down += "d/", dots += "./";
  URI absolute("http://host/a/b/c");
  absolute.ChDir(up + "x", false);
  EXPECT_EQ(absolute.ToString(false), "http://host/x");
  URI relative("a/b/c");
  relative.ChDir(up, false);
  EXPECT_EQ(relative.m_Path.size(), 3u * 9998u);
  EXPECT_EQ(relative.m_Path.substr(0, 6), "../../");
  URI deep("http://host/a/");
  deep.ChDir(down, false);
  EXPECT_EQ(deep.m_Path.size(), 3u + 2u * 10000u);
  deep.ChDir(up + "x", false);
  EXPECT_EQ(deep.ToString(false), "http://host/a/x");
  URI here("http://host/a/b");
  here.ChDir(dots, true);
  EXPECT_EQ(here.ToString(false), "http://host/a/");
  std::string deepText = "http://host";
  for (int i = 0; i < 10000; ++i) deepText += "/d";
  EXPECT_EQ(URI(deepText).GetCommonParent(URI("http://other/x"), true).ToString(false), "http://host/");
  EXPECT_EQ(URI(deepText + "/e/f").GetCommonParent(URI(deepText + "/g"), true).ToString(false),
            deepText + "/");
  std::vector<std::string> segments;
  URI::SplitPath(up + std::string(100000, '/') + "x", segments);
  EXPECT_EQ(segments.size(), 10001u);
}

TEST(MakeRelativeURI, BackAndForthAgainstTheSameBase) {
  const URI base("http://host/a/b/c.html?q=1#f");
  for (const char* text : {"http://host/a/b/d.html?x#y", "http://host/x/y/z/", "http://host/a/b/c/d/e",
                           "http://host/a/b%20c/d%3Fe", "http://host/a/b/?r"}) {
    URI object(text);
    ASSERT_TRUE(object.MakeRelativeURI(base, true)) << text;
    ASSERT_TRUE(object.MakeAbsoluteURI(base)) << text;
    EXPECT_EQ(object.ToString(false), text);
  }
}

// Each overrides one virtual that the path operations must call.
struct AlwaysRelative : URI {
  using URI::URI;
  bool IsRelative() const override { return true; }
};
struct HomeShortcut : URI {
  using URI::URI;
  StringProxy ToString(bool unescape) const override {
    return m_Path == "~" ? StringProxy("/home/") : URI::ToString(unescape);
  }
};
struct SecureAlias : URI {
  using URI::URI;
  bool IsOfType(StringProxy type) const override {
    return URI::IsOfType(type) || (type == "http" && m_Scheme == "https");
  }
};
struct NeverRelative : URI {
  using URI::URI;
  bool IsAbsolute() const override { return true; }
};

TEST(PathAlgebra, DerivedClassesTakePart) {
  const URI base("http://host/a/b.html");
  AlwaysRelative derived("http://host/a");  // so ".." is never dropped at the start
  static_cast<URI&>(derived).ChDir("../x", false);
  EXPECT_EQ(derived.m_Path + derived.m_Server, "/../xhost");
  HomeShortcut home("~");
  ASSERT_TRUE(static_cast<URI&>(home).MakeAbsoluteURI(base));
  EXPECT_EQ(home.m_Path, "/home/");
  SecureAlias secure("https://host/a/c.html");
  ASSERT_TRUE(static_cast<URI&>(secure).MakeRelativeURI(base, true));
  EXPECT_EQ(secure.m_Path, "c.html");
  NeverRelative never("c.html");
  EXPECT_FALSE(static_cast<URI&>(never).MakeAbsoluteURI(base));
  EXPECT_EQ(never.m_Path, "c.html");
}

// A first copy that the "." leaves relative climbs too, and the resolver sees
// both copies each time: two calls for the operands, two per GetRelation.
TEST(GetCommonParent, FirstCopyLeftRelativeClimbs) {
  URI object("http://host/a/b");
  object.SetScheme("");
  const struct {
    URI (*then)(URI);
    const char* expected;
    int calls;
  } rows[] = {
      {[](URI u) { return u.IsRelative() ? URI("http://host" + std::string(u.m_Path)) : u; }, "/", 2 + 2 * 2},
      {[](URI) { return URI(); }, "", 2 + 2 * 1},  // two blank URIs are the same place
      {nullptr, "/", 0},                           // with no resolver, up to the root
  };
  for (const auto& row : rows) {
    CountingResolver resolver(Names(), Names(), row.then);
    ResolverScope scope(row.then != nullptr ? &resolver : nullptr);
    EXPECT_EQ(object.GetCommonParent(URI("http://host/"), true).ToString(false), row.expected) << row.calls;
    EXPECT_EQ(resolver.calls, row.calls);
  }
}

TEST(Resolver, ConsultedByRelationAndCommonParentOnly) {
  CountingResolver resolver(Names{{"alias", "host"}});
  ResolverScope scope(&resolver);
  struct {
    std::function<std::string()> call;
    const char* result;
    int calls;
  } rows[] = {
      // Each operand once, relative ones before the test that refuses them.
      {[] { return RelationName(URI("http://alias/a").GetRelation(URI("http://host/a/b"), true)); }, "parent",
       2},
      {[] { return RelationName(URI("a").GetRelation(URI("a"), true)); }, "none", 2},
      // By text: once there, once more inside GetRelation.
      {[] { return RelationName(URI::GetRelationByString("http://host/a/b", "http://alias/a")); }, "child",
       4},
      // Both operands, then both again at each GetRelation: /a/b/ against
      // /a/d/ (none), climb, /a/ against /a/d/ (parent).
      {[] {
         return URI("http://alias/a/b/c.html")
             .GetCommonParent(URI("http://host/a/d/e.html"), true)
             .ToString(false);
       },
       "http://host/a/", 2 + 2 * 2},
      {[] { return URI("a/b").GetCommonParent(URI("http://alias/"), true).ToString(false); }, "unknown:", 2},
      // Both once, then GetCommonParent on the object and a fresh parse of
      // the second text; one GetRelation answers at once (same).
      {[] {
         return URI::GetCommonParentByString("http://alias/a/", "http://host/a/x", true).ToString(false);
       },
       "http://host/a/", 2 + 2 + 2 * 1},
      // Making absolute or relative, and moving, never consult it.
      {[] {
         URI moved("http://alias/a/b"), absolute("c"), relative("http://alias/a/c");
         moved.ChDir("../c", false);
         absolute.MakeAbsoluteURI(URI("http://alias/a/b"));
         return Bit(relative.MakeRelativeURI(URI("http://host/a/b"), true));
       },
       "0", 0},
  };
  for (const auto& row : rows) {
    resolver.calls = 0;
    EXPECT_EQ(row.call(), row.result);
    EXPECT_EQ(resolver.calls, row.calls) << row.result;
  }
  // Its answer is what is compared, and a relative answer relates to nothing.
  CountingResolver whole(Names{}, Names{{"alias", "http://host/a"}, {"lost", "x/y"}});
  ResolverScope inner(&whole);
  EXPECT_EQ(URI("http://alias/zzz").GetRelation(URI("http://host/a"), true), Vesk::URIRelationSame);
  EXPECT_EQ(URI("http://lost/a").GetRelation(URI("http://lost/a"), true), Vesk::URIRelationNone);
  EXPECT_EQ(URI("http://lost/a").GetCommonParent(URI("http://host/a"), true).ToString(false), "unknown:");
  EXPECT_EQ(URI("http://alias/q/r").GetCommonParent(URI("http://host/a/b"), true).ToString(false),
            "http://host/");
}

}  // namespace
