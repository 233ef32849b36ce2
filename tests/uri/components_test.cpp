#include "vesk/uri/uri"

#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "vesk/uri/invariants.h"

namespace {

using Vesk::URI;

struct SetterRow {
  const char* start;  // parsed; nullptr for a default-constructed URI
  std::function<void(URI&)> call;
  const char* field;  // the field the call stores, by name
  const char* stored;
  const char* text;   // ToString(false) afterwards
  bool valid;
  bool relative;
  bool hierarchical;
};

const std::string& Field(const URI& uri, const std::string& name) {
  if (name == "scheme") return uri.m_Scheme;
  if (name == "server") return uri.m_Server;
  if (name == "port") return uri.m_Port;
  if (name == "path") return uri.m_Path;
  if (name == "query") return uri.m_Query;
  if (name == "fragment") return uri.m_Fragment;
  if (name == "user") return uri.m_Username;
  if (name == "password") return uri.m_Password;
  return uri.m_NonHierarchical;
}

void check(const SetterRow& row) {
  SCOPED_TRACE(std::string("start: ") + (row.start ? row.start : "URI()") + ", field " + row.field);
  URI uri = row.start ? URI(row.start) : URI();
  row.call(uri);
  EXPECT_EQ(Field(uri, row.field), row.stored);
  EXPECT_EQ(uri.ToString(false), row.text);
  EXPECT_EQ(uri.IsValidURI(), row.valid);
  EXPECT_EQ(uri.IsRelative(), row.relative);
  EXPECT_EQ(uri.IsHierarchical(), row.hierarchical);
}

TEST(Setters, StoreEscapedAndRederiveFlags) {
  const SetterRow rows[] = {
      {nullptr, [](URI& u) { u.SetPath("a b"); }, "path", "a%20b", "a%20b", true, true, true},
      {nullptr, [](URI& u) { u.SetPath("a b"); }, "scheme", "", "a%20b", true, true, true},
      {nullptr, [](URI& u) { u.SetScheme("HTTP"); }, "scheme", "http", "http:", false, false, false},
      {nullptr, [](URI& u) { u.SetAuthority("h"); }, "scheme", "unknown", "", true, true, true},
      {"http://h/", [](URI& u) { u.SetPath("/a?b"); }, "path", "/a%3Fb", "http://h/a%3Fb", true, false, true},
      {"http://h/", [](URI& u) { u.SetAuthority("Host:80"); }, "server", "host%3A80", "http://host%3A80/", true,
       false, true},
      {"http://h/", [](URI& u) { u.SetAuthority("::1"); }, "server", "[::1]", "http://[::1]/", true, false, true},
      {"http://h/", [](URI& u) { u.SetAuthority("[FE80::1]"); }, "server", "[fe80::1]", "http://[fe80::1]/", true,
       false, true},
      {"http://h/", [](URI& u) { u.SetAuthority("::"); }, "server", "::", "http://::/", true, false, true},
      {"http://h/", [](URI& u) { u.SetAuthority("A B/C;D"); }, "server", "a%20b%2Fc%3Bd", "http://a%20b%2Fc%3Bd/",
       true, false, true},
      {"http://h/", [](URI& u) { u.SetServerPort("8080"); }, "port", "8080", "http://h:8080/", true, false, true},
      {"http://h/", [](URI& u) { u.SetServerPort("8 0"); }, "port", "8%200", "http://h:8%200/", true, false, true},
      {"http://h/", [](URI& u) { u.SetUsername("a/b"); }, "user", "a%2Fb", "http://a%2Fb@h/", true, false, true},
      {"http://h/", [](URI& u) { u.SetPassword("p:w;"); }, "password", "p%3Aw%3B", "http://h/", true, false, true},
      {"http://h/p?q#f", [](URI& u) { u.SetNonHierarchical("a@b:c"); }, "body", "a@b%3Ac", "http:a@b%3Ac?q#f", true,
       false, false},
      {"a/b", [](URI& u) { u.SetScheme("http"); }, "scheme", "http", "a/b", true, true, true},
      {"file:///C:/x", [](URI& u) { u.SetPath("/D|/y z"); }, "path", "/D|/y%20z", "file:///D|/y%20z", true, false,
       true},
      {"FILE:///C:/x", [](URI& u) { u.SetPath("ab|c|d"); }, "path", "ab|c%7Cd", "file://ab|c%7Cd", true, false,
       true},
      {"file:///C:/x", [](URI& u) { u.SetPath("/C|"); }, "path", "/C%7C", "file:///C%7C", true, false, true},
      {"file:///C:/x", [](URI& u) { u.SetPath("/C:/x"); }, "path", "/C%3A/x", "file:///C%3A/x", true, false, true},
      {"http://h/x", [](URI& u) { u.SetPath("/C|/x"); }, "path", "/C%7C/x", "http://h/C%7C/x", true, false, true},
      {"http://h/p", [](URI& u) { u.SetPath(""); }, "path", "", "http://h", true, false, true},
      {"http:", [](URI& u) { u.SetPath(""); }, "path", "", "http:", false, false, true},
      {"http://h/p", [](URI& u) { u.SetAuthority(""); }, "server", "", "http:/p", true, false, true},
      {"http://h", [](URI& u) { u.SetAuthority(""); }, "server", "", "http:", false, false, true},
      {nullptr, [](URI& u) { u.SetServerPort("1"); }, "scheme", "unknown", "", false, true, true},
      {"http://h/", [](URI& u) { u.SetScheme(""); }, "scheme", "", "//h/", true, false, true},
      {"http://h/", [](URI& u) { u.SetScheme("A B"); }, "scheme", "a%20b", "a%20b://h/", true, false, true},
      {"http://h/", [](URI& u) { u.SetScheme("x?"); }, "scheme", "x%3f", "x%3f://h/", true, false, true},
      {"a/b", [](URI& u) { u.SetNonHierarchical("x"); }, "body", "x", ":x", false, false, false},
      {nullptr, [](URI& u) { u.SetNonHierarchical("x"); }, "body", "x", "unknown:x", false, false, false},
      {"http://h/", [](URI& u) { u.SetFragment("a%20b"); }, "fragment", "a%2520b", "http://h/#a%2520b", true, false,
       true},
      {"http://h/", [](URI& u) { u.SetQuery("a=1&b=2", true); }, "query", "a=1&b=2", "http://h/?a=1&b=2", true,
       false, true},
      {"http://h/", [](URI& u) { u.SetQuery("a b", true); }, "query", "a%20b", "http://h/?a%20b", true, false, true},
      {"http://h/", [](URI& u) { u.SetQuery("x%20y", true); }, "query", "x%2520y", "http://h/?x%2520y", true, false,
       true},
      {"http://h/", [](URI& u) { u.SetQuery("x%20y", false); }, "query", "x%20y", "http://h/?x%20y", true, false,
       true},
      {"http://h/", [](URI& u) { u.SetQuery("a+b", true); }, "query", "a+b", "http://h/?a+b", true, false, true},
      {"mailto:x", [](URI& u) { u.SetPath("/p"); }, "path", "/p", "mailto:/p", true, false, true},
      {nullptr,
       [](URI& u) { u.SetParts("FILE", "Srv", "", "/C|/a b", "x y", "f"); },
       "path", "/C|/a%20b", "file://srv/C|/a%20b?x%20y#f", true, false, true},
      {"http://u:p@h/",
       [](URI& u) { u.SetParts("ftp", "", "21", "", "", ""); },
       "user", "u", "ftp:", false, false, true},
  };
  for (const SetterRow& row : rows) check(row);
}

TEST(Getters, UnescapeTheirField) {
  const URI uri("http://us%20er:p%41ss@h/a%20b%2F?q%20r+s#f%23g");
  EXPECT_EQ(uri.GetScheme(), "http");
  EXPECT_EQ(uri.GetUsername(), "us er");
  EXPECT_EQ(uri.GetPassword(), "pAss");
  EXPECT_EQ(uri.GetPath(), "/a b/");
  EXPECT_EQ(uri.GetQuery(true), "q r+s");
  EXPECT_EQ(uri.GetQuery(false), "q%20r+s");
  EXPECT_EQ(uri.GetFragment(), "f#g");
  EXPECT_EQ(URI("http://h:%38%30/").GetServerPort(), "80");
  EXPECT_EQ(URI("mailto:a%40b").GetNonHierarchical(), "a@b");
  EXPECT_EQ(URI().GetScheme(), "unknown");
}

TEST(Setters, GetterGivesBackPlainText) {
  const char* texts[] = {"", "a b", "100%", "%41", "x:y?z#w@v", "\xC3\xA9", "/C|/x", "a\\b", "\x01\x7F"};
  for (const char* text : texts) {
    URI uri("http://h/");
    uri.SetPath(text);
    EXPECT_EQ(uri.GetPath(), text);
    uri.SetFragment(text);
    EXPECT_EQ(uri.GetFragment(), text);
    uri.SetUsername(text);
    EXPECT_EQ(uri.GetUsername(), text);
    uri.SetQuery(text, true);
    EXPECT_EQ(uri.GetQuery(true), text);
  }
}

TEST(ForceEscape, CanonicalAndIdempotent) {
  struct Row {
    const char* text;
    const char* once;
  } rows[] = {
      {"http://x/a b%20c%", "http://x/a%20b%20c%25"},
      {"http://user name@x/", "http://user name@x/"},
      {"mailto:joe@host?a b", "mailto:joe@host?a%20b"},
      {"http://[::1]:80/a%7e", "http://[::1]:80/a~"},
      {"file:///C:/a b", "file:///C|/a%20b"},
      {"http://h/%zz%4", "http://h/%25zz%254"},
      {"a b/c?d e#f g", "a%20b/c?d%20e#f%20g"},
      {"http://Ho%20st:8%200/", "http://ho%20st:8%200/"},
      {"a\\b", "unknown:"},
  };
  for (const Row& row : rows) {
    URI uri(row.text);
    uri.ForceEscape();
    EXPECT_EQ(uri.ToString(false), row.once) << row.text;
    const URI once(uri);
    uri.ForceEscape();
    EXPECT_EQ(uri.ToString(false), once.ToString(false)) << row.text;
    EXPECT_EQ(uri.IsValidURI(), once.IsValidURI()) << row.text;
  }
}

// A server with two or more colons is stored as given, so passing it
// through GetAuthority and SetAuthority is not always the identity: escapes
// outside whole brackets are decoded on every pass, and doubled brackets lose
// one pair per pass.
TEST(ForceEscape, AddressServersAreStoredAsGiven) {
  struct Row {
    const char* text;
    const char* once;
    const char* twice;
  } rows[] = {
      {"http://[[[::1]]]/", "http://[[::1]]/", "http://[::1]/"},
      {"http://[::]/", "http://::/", "http://::/"},
      {"http://[a::%2541/", "http://[a::%41/", "http://[a::a/"},
      {"http://[a::%2541]/", "http://[a::%2541]/", "http://[a::%2541]/"},
  };
  for (const Row& row : rows) {
    URI uri(row.text);
    uri.ForceEscape();
    EXPECT_EQ(uri.ToString(false), row.once) << row.text;
    uri.ForceEscape();
    EXPECT_EQ(uri.ToString(false), row.twice) << row.text;
  }
}

}  // namespace
