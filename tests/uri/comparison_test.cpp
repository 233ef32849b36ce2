#include "vesk/uri/uri"

#include <gtest/gtest.h>

#include <string>

namespace {

using Vesk::URI;

TEST(URIEquality, ComparesStoredText) {
  struct Row {
    const char* a;
    const char* b;
    bool equal;
  } rows[] = {
      {"http://a/", "HTTP://A/", true},         {"http://a/b", "http://a/b/", false},
      {"http://a/", "http://a:80/", false},     {"http://a/%7e", "http://a/%7E", false},
      {"http://a/~", "http://a/%7E", false},    {"C:\\dir", nullptr, true},
      {"a/b", "a/b", true},                     {"http:///p", "http:/p", true},
      {"a\\b", "svn+ssh://x/", true},           {"file:///C:/x", "file:///C|/x", true},
  };
  for (const Row& row : rows) {
    URI a(row.a);
    URI b = row.b ? URI(row.b) : URI();
    EXPECT_EQ(a == b, row.equal) << row.a;
    EXPECT_EQ(a != b, !row.equal) << row.a;
    EXPECT_EQ(b == a, row.equal) << row.a;
  }
}

TEST(URIEquality, ComparesWithUnparsedText) {
  struct Row {
    const char* uri;  // nullptr: a default-constructed URI
    const char* text;
    bool equal;
  } rows[] = {
      {"http://a/", "http://a/", true},        {"HTTP://A/", "HTTP://A/", false},
      {nullptr, "unknown:", true},             {"file:///C:/x", "file:///C|/x", true},
      {"file:///C:/x", "file:///C:/x", false}, {"", "", true},
      {"a", "a\0b", true},  // the text ends at its NUL
  };
  for (const Row& row : rows) {
    URI uri = row.uri ? URI(row.uri) : URI();
    EXPECT_EQ(uri == row.text, row.equal) << row.text;
    EXPECT_EQ(uri != row.text, !row.equal) << row.text;
    EXPECT_EQ(uri == URI::StringProxy(row.text), row.equal) << row.text;
    EXPECT_EQ(uri != URI::StringProxy(row.text), !row.equal) << row.text;
  }
  // Stored text with an embedded NUL against a proxy holding the same bytes.
  URI withNul(URI::StringProxy(std::string("a\0b", 3)));
  EXPECT_TRUE(withNul == URI::StringProxy(std::string("a\0b", 3)));
  EXPECT_FALSE(withNul == "a");
}

// A URI type whose text is always the same: the operators must see it.
class Constant : public URI {
 public:
  using URI::URI;
  StringProxy ToString(bool) const override { return StringProxy("same"); }
};

TEST(URIEquality, UsesOverriddenToString) {
  Constant a("http://a/");
  Constant b("http://b/");
  EXPECT_TRUE(a == b);
  EXPECT_TRUE(a == "same");
  EXPECT_FALSE(a != URI::StringProxy("same"));
  URI plain("http://a/");
  EXPECT_FALSE(plain == a);
}

TEST(CompareAuthority, HostOnly) {
  struct Row {
    const char* a;
    const char* b;
    bool same;
  } rows[] = {
      {"http://A:80/x", "ftp://a:21/y", true},  {"http://u@a/", "http://a/", true},
      {"http://[::1]/", "ftp://[::1]:21/", true}, {"http://a/", "http://b/", false},
      {"a/b", "c/d", true},                     {"C:\\dir", "", true},
      {"http://%41/", "http://a/", false},      {"http://%61/", "http://a/", true},
      {"http://::1/", "http://[::1]/", true},   {"mailto:a@b", "http:", true},
  };
  for (const Row& row : rows) EXPECT_EQ(URI::CompareAuthority(row.a, row.b), row.same) << row.a << " / " << row.b;
}

class Alias : public Vesk::URIResolver {
 public:
  URI Resolve(const URI& uri) override {
    ++calls;
    URI result(uri);
    if (result.m_Server == "alias") result.SetAuthority("real");
    return result;
  }
  int calls = 0;
};

TEST(CompareAuthority, ConsultsResolverOnBoth) {
  Alias alias;
  URI::SetResolver(&alias);
  EXPECT_TRUE(URI::CompareAuthority("http://alias/", "http://real/"));
  EXPECT_EQ(alias.calls, 2);
  URI a("http://alias/");
  URI b("http://real/");
  EXPECT_FALSE(a == b);  // == never consults the resolver
  URI::SetResolver(nullptr);
  EXPECT_FALSE(URI::CompareAuthority("http://alias/", "http://real/"));
}

}  // namespace
