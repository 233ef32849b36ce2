#include "vesk/uri/uri"

#include <map>
#include <string>
#include <utility>

#include <gtest/gtest.h>

namespace {

using Vesk::URI;
using Vesk::URIRelation;
using Vesk::URIRelationChild;
using Vesk::URIRelationNone;
using Vesk::URIRelationParent;
using Vesk::URIRelationSame;

constexpr const char* kBlank = "<blank>";

using Names = std::map<std::string, std::string>;

URI Make(const char* text) { return text == kBlank ? URI() : URI(text); }

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
  Names hosts_;
  Names uris_;
  URI (*then_)(URI);
};

// Installs a resolver for one scope and puts the previous one back.
class ResolverScope {
 public:
  explicit ResolverScope(Vesk::URIResolver* resolver) : previous_(URI::SetResolver(resolver)) {}
  ~ResolverScope() { URI::SetResolver(previous_); }
  ResolverScope(const ResolverScope&) = delete;
  ResolverScope& operator=(const ResolverScope&) = delete;

 private:
  Vesk::URIResolver* previous_;
};

struct RelationRow {
  const char* object;
  const char* other;
  bool caseSensitive;
  URIRelation expected;
};

void check(const RelationRow& row) {
  const std::string where = std::string("object '") + row.object + "' other '" + row.other + "' caseSensitive " +
                            (row.caseSensitive ? "true" : "false");
  const URI object = Make(row.object);
  const URI other = Make(row.other);
  EXPECT_EQ(object.GetRelation(other, row.caseSensitive), row.expected) << where;
  // The mirror image: a child seen from the other side is a parent.
  const URIRelation mirror = row.expected == URIRelationChild    ? URIRelationParent
                             : row.expected == URIRelationParent ? URIRelationChild
                                                                 : row.expected;
  EXPECT_EQ(other.GetRelation(object, row.caseSensitive), mirror) << where << " (mirrored)";
}

TEST(GetRelation, SameParentChildOrNone) {
  const RelationRow rows[] = {
      {"http://host/a/b", "http://host/a/b", true, URIRelationSame},
      {"http://host/a/b", "http://host/a/b/c", true, URIRelationParent},
      {"http://host/a/b/c", "http://host/a/b", true, URIRelationChild},
      {"http://host/a/b/", "http://host/a/b", true, URIRelationNone},
      {"http://host/a/x", "http://host/a/y", true, URIRelationNone},
      {"http://host/", "http://host", true, URIRelationSame},
      {"http://host", "http://host/", true, URIRelationSame},
      {"http://host/", "http://host/a", true, URIRelationParent},
      {"http://host", "http://host/a", true, URIRelationParent},
      {"http://host/a", "http://host/", true, URIRelationChild},
      {"http://host:80/a", "http://host/a", true, URIRelationSame},
      {"http://host:8080/a", "http://host/a", true, URIRelationNone},
      {"ftp://host:21/a", "ftp://host/a/b", true, URIRelationParent},
      {"http://HOST/a", "http://host/a", true, URIRelationSame},
      {"http://host/A", "http://host/a", true, URIRelationNone},
      {"http://host/A", "http://host/a", false, URIRelationSame},
      {"http://host/a?x=1", "http://host/a?x=2#f", true, URIRelationSame},
      {"mailto:someone", "mailto:someone", true, URIRelationSame},
      {"mailto:someone", "mailto:another", true, URIRelationNone},
      {"mailto:someone", "http://host/", true, URIRelationNone},
      {"a/b", "a/b", true, URIRelationNone},
      // More of the same rules.
      {"http://host/A/b/c", "http://host/a/B", false, URIRelationChild},
      {"http://host/a//b", "http://host/a/b", true, URIRelationNone},
      {"http://host/a/../b", "http://host/a", true, URIRelationChild},
      {"http://host/a%20b/c", "http://host/a b", true, URIRelationChild},
      {"https://host/a", "http://host/a", true, URIRelationNone},
      {"https://host:443/a", "https://host/a", true, URIRelationNone},
      {"sftp://host:22/", "sftp://host", true, URIRelationSame},
      {"http://other/a", "http://host/a/b", true, URIRelationNone},
      {"http://u:p@host/a", "http://host/a", true, URIRelationSame},
      {"http://host/a", "a", true, URIRelationNone},
      {"news:x", "http://host/", true, URIRelationNone},
      {kBlank, kBlank, true, URIRelationSame},
      {kBlank, "unknown:", true, URIRelationSame},
  };
  for (const RelationRow& row : rows) check(row);
}

TEST(GetRelationByString, AlwaysAsksWithCase) {
  EXPECT_EQ(URI::GetRelationByString("http://host/A", "http://host/a"), URIRelationNone);
  EXPECT_EQ(URI::GetRelationByString("http://host/a", "http://host/a/b"), URIRelationParent);
  EXPECT_EQ(URI::GetRelationByString("http://host/a/b", "http://host/a"), URIRelationChild);
  EXPECT_EQ(URI::GetRelationByString("C:\\x", "c:/y"), URIRelationSame);  // two blank URIs
  EXPECT_EQ(URI::GetRelationByString("a", "a"), URIRelationNone);
}

struct ParentRow {
  const char* object;
  const char* other;
  bool caseSensitive;
  const char* expected;  // ToString(false)
};

void check(const ParentRow& row) {
  const std::string where = std::string("object '") + row.object + "' other '" + row.other + "' caseSensitive " +
                            (row.caseSensitive ? "true" : "false");
  const URI object = Make(row.object);
  const URI other = Make(row.other);
  const std::string objectBefore = object.ToString(false);
  const URI parent = object.GetCommonParent(other, row.caseSensitive);
  EXPECT_EQ(parent.ToString(false), row.expected) << where;
  EXPECT_EQ(object.ToString(false), objectBefore) << where << ": operand changed";
  {
    // With a resolver that changes nothing the climb is walked one ".." at a
    // time; without one it is worked out. Both end in the same place.
    CountingResolver identity{Names()};
    ResolverScope scope(&identity);
    EXPECT_EQ(object.GetCommonParent(other, row.caseSensitive).ToString(false), row.expected)
        << where << " (resolver set)";
  }
  if (row.object != kBlank && row.other != kBlank) {
    EXPECT_EQ(URI::GetCommonParentByString(row.object, row.other, row.caseSensitive).ToString(false), row.expected)
        << where << " (by string)";
  }
}

TEST(GetCommonParent, DeepestDirectoryHoldingBoth) {
  const ParentRow rows[] = {
      {"http://host/a/b/c.html", "http://host/a/d/e.html", true, "http://host/a/"},
      {"http://host/a/b.html", "http://host/a/c.html", true, "http://host/a/"},
      {"http://host/a/b/", "http://host/a/", true, "http://host/a/"},
      {"http://host/a/", "http://host/a/b/", true, "http://host/a/"},
      {"http://host/a/b/c?q#f", "http://host/a/b/d?r#g", true, "http://host/a/b/"},
      {"http://host/a/b/c/", "http://host/z/", true, "http://host/"},
      {"http://host/A/b", "http://host/a/c", true, "http://host/"},
      {"http://host/A/b", "http://host/a/c", false, "http://host/A/"},
      {"http://host/a/b", "http://other/a/b", true, "http://host/"},
      {"http://host/x/y", "ftp://host/x/y", true, "http://host/"},
      {"http://host", "http://host/a/", true, "http://host"},
      {"a/b", "http://host/", true, "unknown:"},
      {"http://host/", "a/b", true, "unknown:"},
      {"mailto:someone", "mailto:someone", true, "mailto:"},
      // More of the same rules.
      {"http://host:8080/a/b/c", "http://host:8080/a/b/d", true, "http://host:8080/a/b/"},
      {"http://host/a/../b/c", "http://host/b/d", true, "http://host/b/"},
      {"http://host/a/b/c", "http://host/a/b/c", true, "http://host/a/b/"},
      {"http://host/a", "mailto:x", true, "http://host/"},
      // A blank operand stays where the "." has put it: relative, invalid, and
      // without a root to climb to.
      {kBlank, "http://host/a", true, ""},
      {"unknown:x", "http://host/a", true, ""},
      {"http://host/a/b", kBlank, true, "http://host/"},
      // Where the climb stops: at a proper prefix, at equal texts (also case
      // blind), at "/" against an empty path, or at the root.
      {"http://host/a/b/c/d/e", "http://host/a/b/x", true, "http://host/a/b/"},
      {"http://host/A/B/c/d", "http://host/a/b/", false, "http://host/A/B/"},
      {"http://host/a/b/c/d", "http://host/A/B/", true, "http://host/"},
      {"http://host/a/b/c", "http://host", true, "http://host/"},
      {"http://hostc", "http://host/a", true, "http://hostc"},
      {"file:///C:/a/b/c", "file:///C:/x", true, "file:///C|/"},
      {"file:///C:/a/b/c", "file:///D:/a", true, "file:///"},
      {"http://host:81/a/b", "http://host/a/b", true, "http://host:81/"},
  };
  for (const ParentRow& row : rows) check(row);

  const URI mail = URI("mailto:someone").GetCommonParent(URI("mailto:someone"), true);
  EXPECT_TRUE(mail.IsHierarchical());
  EXPECT_FALSE(mail.IsValidURI());
  EXPECT_TRUE(mail.m_Path.empty());
  EXPECT_TRUE(mail.m_NonHierarchical.empty());
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
      // Made absolute on http://host, /a/ is below the other; one climb.
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

TEST(GetCommonParent, DeepPaths) {
  std::string deep = "http://host";
  for (int i = 0; i < 10000; ++i) deep += "/d";
  EXPECT_EQ(URI(deep).GetCommonParent(URI("http://host/x"), true).ToString(false), "http://host/");
  EXPECT_EQ(URI(deep).GetCommonParent(URI("http://other/x"), true).ToString(false), "http://host/");
  EXPECT_EQ(URI(deep + "/e/f").GetCommonParent(URI(deep + "/g"), true).ToString(false), deep + "/");
  EXPECT_EQ(URI(deep + "/").GetCommonParent(URI(deep + "/"), true).ToString(false), deep + "/");
}

TEST(Resolver, ConsultedByRelationAndCommonParentOnly) {
  CountingResolver resolver(Names{{"alias", "host"}});
  ResolverScope scope(&resolver);

  // GetRelation: each operand once, the object first.
  EXPECT_EQ(URI("http://alias/a").GetRelation(URI("http://host/a/b"), true), URIRelationParent);
  EXPECT_EQ(resolver.calls, 2);

  // Relative operands are resolved before the test that refuses them.
  resolver.calls = 0;
  EXPECT_EQ(URI("a").GetRelation(URI("a"), true), URIRelationNone);
  EXPECT_EQ(resolver.calls, 2);

  // By text: once there, once more inside GetRelation.
  resolver.calls = 0;
  EXPECT_EQ(URI::GetRelationByString("http://host/a/b", "http://alias/a"), URIRelationChild);
  EXPECT_EQ(resolver.calls, 4);

  // GetCommonParent: both operands, then both again at each GetRelation.
  // Here: /a/b/ against /a/d/ (none), climb, /a/ against /a/d/ (parent).
  resolver.calls = 0;
  EXPECT_EQ(URI("http://alias/a/b/c.html").GetCommonParent(URI("http://host/a/d/e.html"), true).ToString(false),
            "http://host/a/");
  EXPECT_EQ(resolver.calls, 2 + 2 * 2);

  resolver.calls = 0;
  EXPECT_EQ(URI("a/b").GetCommonParent(URI("http://alias/"), true).ToString(false), "unknown:");
  EXPECT_EQ(resolver.calls, 2);

  // By text: both once, then GetCommonParent on the object and a fresh parse
  // of the second text. One GetRelation answers at once (same).
  resolver.calls = 0;
  EXPECT_EQ(URI::GetCommonParentByString("http://alias/a/", "http://host/a/x", true).ToString(false),
            "http://host/a/");
  EXPECT_EQ(resolver.calls, 2 + 2 + 2 * 1);

  // Making absolute or relative, and moving, never consult it.
  resolver.calls = 0;
  URI moved("http://alias/a/b");
  moved.ChDir("../c", false);
  URI absolute("c");
  absolute.MakeAbsoluteURI(URI("http://alias/a/b"));
  URI relative("http://alias/a/c");
  EXPECT_FALSE(relative.MakeRelativeURI(URI("http://host/a/b"), true));
  EXPECT_EQ(resolver.calls, 0);
}

TEST(Resolver, ItsAnswerIsWhatIsCompared) {
  // The resolver may give a relative URI, which relates to nothing.
  CountingResolver resolver(Names{}, Names{{"alias", "http://host/a"}, {"lost", "x/y"}});
  ResolverScope scope(&resolver);
  EXPECT_EQ(URI("http://alias/zzz").GetRelation(URI("http://host/a"), true), URIRelationSame);
  EXPECT_EQ(URI("http://lost/a").GetRelation(URI("http://lost/a"), true), URIRelationNone);
  EXPECT_EQ(URI("http://lost/a").GetCommonParent(URI("http://host/a"), true).ToString(false), "unknown:");
  EXPECT_EQ(URI("http://alias/q/r").GetCommonParent(URI("http://host/a/b"), true).ToString(false), "http://host/");
}

}  // namespace
