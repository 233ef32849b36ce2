#include "vesk/uri/uri"

#include <string>

#include <gtest/gtest.h>

namespace {

using Vesk::URI;

constexpr const char* kBlank = "<blank>";

URI Make(const char* text) { return text == kBlank ? URI() : URI(text); }

struct AbsoluteRow {
  const char* object;
  const char* base;
  bool result;
  const char* expected;  // ToString(false) of the object afterwards
};

void check(const AbsoluteRow& row) {
  const std::string where = std::string("object '") + row.object + "' base '" + row.base + "'";
  URI object = Make(row.object);
  const URI before = object;
  EXPECT_EQ(object.MakeAbsoluteURI(Make(row.base)), row.result) << where;
  EXPECT_EQ(object.ToString(false), row.expected) << where;
  if (!row.result) {
    // A refusal leaves every field and flag alone.
    EXPECT_EQ(object.m_Path, before.m_Path) << where;
    EXPECT_EQ(object.m_IsValid, before.m_IsValid) << where;
    EXPECT_EQ(object.m_IsRelative, before.m_IsRelative) << where;
    EXPECT_EQ(object.m_IsHierarchical, before.m_IsHierarchical) << where;
  }
}

TEST(MakeAbsoluteURI, AgainstAFileWithQueryAndFragment) {
  const char* base = "http://host/a/b/c.html?q=1#f";
  const AbsoluteRow rows[] = {
      {"d.html", base, true, "http://host/a/b/d.html"},
      {"../d.html?x=1#y", base, true, "http://host/a/d.html?x=1#y"},
      {"", base, true, "http://host/a/b/c.html?q=1#f"},
      {"#g", base, true, "http://host/a/b/c.html?q=1#g"},
      {"?x=1", base, true, "http://host/a/b/?x=1"},
      {"/x/y", base, true, "http://host/x/y"},
      {"//other/p", base, true, "http://other/p"},
      {"sub/", base, true, "http://host/a/b/sub/"},
      {"..", base, true, "http://host/a/"},
      {"http://other/p", base, false, "http://other/p"},
      {"mailto:x", base, false, "mailto:x"},
      {kBlank, base, false, "unknown:"},
      // The stored text is the reference: escapes stay escapes.
      {"a%3Fb", base, true, "http://host/a/b/a%3Fb"},
      {"a%2Fb", base, true, "http://host/a/b/a/b"},
  };
  for (const AbsoluteRow& row : rows) check(row);
}

TEST(MakeAbsoluteURI, RefusedOrOddBases) {
  const AbsoluteRow rows[] = {
      {"d.html", "a/b/c.html", false, "d.html"},
      {"d.html", "", false, "d.html"},
      {"d.html", "http://host", true, "http://hostd.html"},
      {"d.html", "http://u:p@host:81/a", true, "http://u:p@host:81/d.html"},
      // A blank base is not relative: the object stays relative, yet true.
      {"d.html", kBlank, true, "d.html"},
      {"../x", kBlank, true, "x"},
      {"d.html", "mailto:someone", true, "mailto:d.html"},
  };
  for (const AbsoluteRow& row : rows) check(row);

  URI noSlash("d.html");
  ASSERT_TRUE(noSlash.MakeAbsoluteURI(URI("http://host")));
  EXPECT_EQ(noSlash.m_Path, "d.html");

  URI fromBlank("d.html");
  ASSERT_TRUE(fromBlank.MakeAbsoluteURI(URI()));
  EXPECT_TRUE(fromBlank.IsRelative());
  EXPECT_TRUE(fromBlank.IsValidURI());
  EXPECT_TRUE(fromBlank.m_Scheme.empty());
}

struct RelativeRow {
  const char* object;
  const char* base;
  bool caseSensitive;
  bool result;
  const char* expected;  // ToString(false) of the object afterwards
};

void check(const RelativeRow& row) {
  const std::string where = std::string("object '") + row.object + "' base '" + row.base + "' caseSensitive " +
                            (row.caseSensitive ? "true" : "false");
  URI object = Make(row.object);
  const bool wasRelative = object.IsRelative();
  const URI base = Make(row.base);
  EXPECT_EQ(object.MakeRelativeURI(base, row.caseSensitive), row.result) << where;
  EXPECT_EQ(object.ToString(false), row.expected) << where;
  if (row.result) {
    EXPECT_TRUE(object.IsRelative()) << where;
    EXPECT_TRUE(object.IsHierarchical()) << where;
    EXPECT_TRUE(object.m_Server.empty() && object.m_Port.empty() && object.m_Scheme.empty()) << where;
    if (!wasRelative) {
      EXPECT_TRUE(object.IsValidURI()) << where;
      EXPECT_FALSE(object.m_Path.empty()) << where;
      EXPECT_NE(object.m_Path[0], '/') << where;
    }
  }
}

TEST(MakeRelativeURI, FromTheDirectoryOfTheBase) {
  const char* base = "http://host/a/b/d.html";
  const RelativeRow rows[] = {
      {"http://host/a/b/c.html", base, true, true, "c.html"},
      {"http://host/a/c.html", base, true, true, "../c.html"},
      {"http://host/a/b/c/d.html", "http://host/a/b/e.html", true, true, "c/d.html"},
      {"http://host/x/y.html", base, true, true, "../../x/y.html"},
      {"http://host/a/b/", base, true, true, "./"},
      {"http://host/a/b", base, true, true, "./"},
      {"http://host/a/", base, true, true, "../"},
      {"http://host/", base, true, true, "../.."},
      {"http://host", base, true, true, "../.."},
      {"http://host/a/B/c.html", base, true, true, "../B/c.html"},
      {"http://host/a/B/c.html", base, false, true, "c.html"},
      {"http://host/a/b/c.html?q=1#f", "http://host/a/b/d.html?z=2#y", true, true, "c.html?q=1#f"},
      {"http://host:8080/a/c.html", "http://host/a/d.html", true, true, "c.html"},
      {"https://host/a/c.html", "http://host/a/d.html", true, false, "https://host/a/c.html"},
      {"http://other/a/c.html", "http://host/a/d.html", true, false, "http://other/a/c.html"},
      {"c.html", "http://host/a/d.html", true, true, "c.html"},
      {"c.html", "d.html", true, true, "c.html"},
      {"http://host/a/c.html", "d.html", true, false, "http://host/a/c.html"},
      {"http://host/a/./b/../c", "http://host/a/d", true, true, "./b/../c"},
      {"http://host/a//b", "http://host/a/d", true, true, "b"},
      // Scheme case is ignored; the base's dots are removed first.
      {"HTTP://host/a/c", "http://host/x/../a/d", true, true, "c"},
      {"http://u:p@host/a/c", "http://host/a/d", true, true, "c"},
      // The path is escaped anew without a scheme, so a drive bar is escaped.
      {"file:///C:/a/b.txt", "file:///D:/x.txt", true, true, "../C%7C/a/b.txt"},
      {"http://host/a%20b/c%3Fd", "http://host/a%20b/", true, true, "c%3Fd"},
      // An opaque body is lost.
      {"mailto:x?s#f", "mailto:y", true, true, "./?s#f"},
      {kBlank, "http://host/a", true, false, "unknown:"},
  };
  for (const RelativeRow& row : rows) check(row);

  // User information stays in the fields although it no longer prints.
  URI user("http://u:p@host/a/c");
  ASSERT_TRUE(user.MakeRelativeURI(URI("http://host/a/d"), true));
  EXPECT_EQ(user.m_Username, "u");
  EXPECT_EQ(user.m_Password, "p");
}

TEST(MakeRelativeURI, BackAndForthAgainstTheSameBase) {
  const char* base = "http://host/a/b/c.html?q=1#f";
  const char* objects[] = {
      "http://host/a/b/c.html", "http://host/a/b/d.html?x#y", "http://host/a/", "http://host/",
      "http://host/x/y/z/",     "http://host/a/b/c/d/e",     "http://host/a/b%20c/d%3Fe", "http://host/a/b/?r",
  };
  for (const char* text : objects) {
    URI object(text);
    ASSERT_TRUE(object.MakeRelativeURI(URI(base), true)) << text;
    const std::string relative = object.ToString(false);
    ASSERT_TRUE(object.MakeAbsoluteURI(URI(base))) << text << " via " << relative;
    EXPECT_EQ(object.ToString(false), text) << text << " via " << relative;
  }
}

// Serialises a path of "~" as the user's home directory.
class HomeShortcut : public URI {
 public:
  using URI::URI;
  StringProxy ToString(bool unescape) const override {
    return m_Path == "~" ? StringProxy("/home/") : URI::ToString(unescape);
  }
};

// Takes "https" and "http" for one scheme.
class SecureAlias : public URI {
 public:
  using URI::URI;
  bool IsOfType(StringProxy type) const override {
    return URI::IsOfType(type) || (type == "http" && m_Scheme == "https");
  }
};

// Claims to be absolute whatever it holds.
class NeverRelative : public URI {
 public:
  using URI::URI;
  bool IsAbsolute() const override { return true; }
};

TEST(PathAlgebra, DerivedClassesTakePart) {
  const URI base("http://host/a/b.html");

  HomeShortcut home("~");
  URI& homeAsBase = home;
  ASSERT_TRUE(homeAsBase.MakeAbsoluteURI(base));
  EXPECT_EQ(home.m_Path, "/home/");

  SecureAlias secure("https://host/a/c.html");
  URI& secureAsBase = secure;
  ASSERT_TRUE(secureAsBase.MakeRelativeURI(base, true));
  EXPECT_EQ(secure.m_Path, "c.html");
  URI plainSecure("https://host/a/c.html");
  EXPECT_FALSE(plainSecure.MakeRelativeURI(base, true));

  NeverRelative never("c.html");
  URI& neverAsBase = never;
  EXPECT_FALSE(neverAsBase.MakeAbsoluteURI(base));
  EXPECT_EQ(never.m_Path, "c.html");
}

}  // namespace
