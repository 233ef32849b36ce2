#include "vesk/uri/uri"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <string>

#include "vesk/uri/invariants.h"

namespace {

using Vesk::URI;

// The expected fields of a parsed URI; fields not named are empty.
struct Fields {
  const char* text;
  bool valid;
  bool relative;
  bool hierarchical;
  const char* scheme;
  const char* username;
  const char* password;
  const char* server;
  const char* port;
  const char* path;
  const char* body;
  const char* query;
  const char* fragment;
};

// Parses `row.text` from an exactly sized heap copy, through every entry
// point that parses, and compares every field and flag.
void check(const Fields& row) {
  SCOPED_TRACE(std::string("text: \"") + row.text + "\"");
  const size_t size = std::strlen(row.text);
  std::unique_ptr<char[]> exact(new char[size + 1]);
  std::memcpy(exact.get(), row.text, size + 1);

  URI fromChars(exact.get());
  URI fromProxy{URI::StringProxy(std::string(exact.get(), size))};
  URI assigned("http://old/q?x#y");
  assigned = exact.get();
  URI parsed("mailto:z");
  const bool result = parsed.ParseURI(std::string(exact.get(), size));
  EXPECT_EQ(result, row.valid);

  for (const URI* uri : {&fromChars, &fromProxy, &assigned, &parsed}) {
    EXPECT_EQ(uri->m_IsValid, row.valid);
    EXPECT_EQ(uri->m_IsRelative, row.relative);
    EXPECT_EQ(uri->m_IsHierarchical, row.hierarchical);
    EXPECT_EQ(uri->m_Scheme, row.scheme);
    EXPECT_EQ(uri->m_Username, row.username);
    EXPECT_EQ(uri->m_Password, row.password);
    EXPECT_EQ(uri->m_Server, row.server);
    EXPECT_EQ(uri->m_Port, row.port);
    EXPECT_EQ(uri->m_Path, row.path);
    EXPECT_EQ(uri->m_NonHierarchical, row.body);
    EXPECT_EQ(uri->m_Query, row.query);
    EXPECT_EQ(uri->m_Fragment, row.fragment);
    EXPECT_EQ(Vesk::uri_internal::URIShapeError(*uri), "");
  }
}

// Flags: valid, relative, hierarchical.
#define ABS true, false, true
#define REL true, true, true
#define OPAQUE true, false, false
#define BLANK false, false, false, "unknown", "", "", "", "", "", "", "", ""

TEST(ParseURI, CutsComponents) {
  const Fields rows[] = {
      // text, flags, scheme, user, password, server, port, path, body, query, fragment
      {"http://user:pw@Host:8080/a/b?x=1#top", ABS, "http", "user", "pw", "host", "8080", "/a/b", "", "x=1", "top"},
      {"HTTP://A/", ABS, "http", "", "", "a", "", "/", "", "", ""},
      {"http://a?b", ABS, "http", "", "", "a", "", "", "", "b", ""},
      {"http://u:p:q@h/", ABS, "http", "u", "p:q", "h", "", "/", "", "", ""},
      {"http://a@b@c/", ABS, "http", "a", "", "b@c", "", "/", "", "", ""},
      {"http://[::1]:8080/p", ABS, "http", "", "", "[::1]", "8080", "/p", "", "", ""},
      {"http://[::1]/p", ABS, "http", "", "", "[::1]", "", "/p", "", "", ""},
      {"http://::1/p", ABS, "http", "", "", "[::1]", "", "/p", "", "", ""},
      {"http://[abc]:21/", ABS, "http", "", "", "[abc]", "21", "/", "", "", ""},
      {"http://[FE80::1]x:9/", ABS, "http", "", "", "[fe80::1]x:9", "", "/", "", "", ""},
      {"file:///1:/x", ABS, "file", "", "", "", "", "/1:/x", "", "", ""},
      {"ftp:///C:/x", ABS, "ftp", "", "", "", "", "/C:/x", "", "", ""},
      {"file:////srv/share/x", ABS, "file", "", "", "srv", "", "/share/x", "", "", ""},
      {"file://///srv/x", ABS, "file", "", "", "srv", "", "/x", "", "", ""},
      {"http://", ABS, "http", "", "", "", "", "", "", "", ""},
      {"file:///C:/dir/x.txt", ABS, "file", "", "", "", "", "/C|/dir/x.txt", "", "", ""},
      {"file:///C:", ABS, "file", "", "", "", "", "/C|", "", "", ""},
      {"FILE:///c:/x", ABS, "file", "", "", "", "", "/c|/x", "", "", ""},
      {"file:///C:x", ABS, "file", "", "", "", "", "/C|x", "", "", ""},
      {"http://a:/p", ABS, "http", "", "", "a", "", "/p", "", "", ""},
      {"http://user@/p", ABS, "http", "user", "", "", "", "/p", "", "", ""},
      {"http://:pw@h/", ABS, "http", "", "pw", "h", "", "/", "", "", ""},
      {"http://h/A%2FB?Q#F", ABS, "http", "", "", "h", "", "/A%2FB", "", "Q", "F"},
      {"http://H%41/", ABS, "http", "", "", "h%41", "", "/", "", "", ""},
      {"mailto:a@b?subject=x", OPAQUE, "mailto", "", "", "", "", "", "a@b", "subject=x", ""},
      {"http:/p", OPAQUE, "http", "", "", "", "", "", "/p", "", ""},
      {"http:", OPAQUE, "http", "", "", "", "", "", "", "", ""},
      {"unknown:body", OPAQUE, "unknown", "", "", "", "", "", "body", "", ""},
      {"unknown:", OPAQUE, "unknown", "", "", "", "", "", "", "", ""},
      {"a/b?c#d", REL, "", "", "", "", "", "a/b", "", "c", "d"},
      {"//host/p", REL, "", "", "", "", "", "//host/p", "", "", ""},
      {"/x:y", REL, "", "", "", "", "", "/x:y", "", "", ""},
      {"a#b#c", REL, "", "", "", "", "", "a#b", "", "", "c"},
      {"a?b?c", REL, "", "", "", "", "", "a?b", "", "c", ""},
      {"a?b#c?d", REL, "", "", "", "", "", "a", "", "b", "c?d"},
      {"a?b:c", REL, "", "", "", "", "", "a", "", "b:c", ""},
      {"a#", REL, "", "", "", "", "", "a", "", "", ""},
      {"?#", REL, "", "", "", "", "", "", "", "", ""},
      {"", REL, "", "", "", "", "", "", "", "", ""},
      {"C:\\dir", BLANK},
      {"c:/dir", BLANK},
      {"svn+ssh://h/p", BLANK},
      {"h2://h/p", BLANK},
      {"http://a/b\\c", BLANK},
      {"a\\b", BLANK},
      {"mailto:a\\b", BLANK},
      {"unknown://a/", BLANK},
      {":x", BLANK},
      {"http://a/b?c\\d#e\\f", ABS, "http", "", "", "a", "", "/b", "", "c\\d", "e\\f"},
  };
  for (const Fields& row : rows) check(row);
}

TEST(ParseURI, LowerCasesSchemeAndServerOfAnyLength) {
  const std::string upper = "ABCDEFGHIJKLMNOPQRSTUVWXYZ@[`{\xC3\x89Z09";
  for (size_t n = 1; n <= upper.size(); ++n) {
    const std::string part = upper.substr(0, n);
    std::string lower = part;
    for (char& c : lower) {
      if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    }
    const std::string scheme = part.substr(0, std::min<size_t>(n, 26));
    const URI uri{URI::StringProxy("X" + scheme + "://" + part + "/P")};
    ASSERT_TRUE(uri.IsValidURI()) << n;
    EXPECT_EQ(uri.m_Scheme, "x" + lower.substr(0, scheme.size())) << n;
    const size_t at = part.find('@');
    EXPECT_EQ(uri.m_Server, at == std::string::npos ? lower : lower.substr(at + 1)) << n;
    EXPECT_EQ(uri.m_Path, "/P") << n;
  }
}

TEST(ParseURI, NullAndEmbeddedBytes) {
  URI fromNull(static_cast<const char*>(nullptr));
  EXPECT_TRUE(fromNull.IsValidURI());
  EXPECT_TRUE(fromNull.IsRelative());
  URI assigned("http://a/");
  assigned = static_cast<const char*>(nullptr);
  EXPECT_TRUE(assigned.IsRelative());
  EXPECT_EQ(assigned.ToString(false), "");

  // A NUL byte is an ordinary byte to the parser.
  URI withNul(URI::StringProxy(std::string("http://a/b\0c", 12)));
  EXPECT_EQ(withNul.m_Path, std::string("/b\0c", 4));
}

TEST(ParseURI, ParsesItsOwnField) {
  URI uri("http://h/q?http://other/x#f");
  ASSERT_EQ(uri.m_Query, "http://other/x");
  EXPECT_TRUE(uri.ParseURI(uri.m_Query));
  EXPECT_EQ(uri.m_Server, "other");
  EXPECT_EQ(uri.m_Path, "/x");
  EXPECT_EQ(uri.m_Fragment, "");
}

TEST(ParseURI, FailedParseLeavesBlankAfterFullState) {
  URI uri("http://u:p@h:1/p?q#f");
  uri = "a\\b";
  EXPECT_EQ(Vesk::uri_internal::URIShapeError(uri), "");
  EXPECT_FALSE(uri.IsValidURI());
  EXPECT_EQ(uri.ToString(false), "unknown:");
  uri.ConstructURI("xy:y");
  EXPECT_TRUE(uri.IsValidURI());
  EXPECT_EQ(uri.m_NonHierarchical, "y");
}

TEST(ValidateURI, JudgesFieldsAsTheyStand) {
  URI uri("http://h/p");
  uri.m_Path = "a\\b";
  EXPECT_FALSE(uri.ValidateURI());
  EXPECT_TRUE(uri.IsValidURI());  // nothing changed
  uri.m_Path = "/p";
  uri.m_Scheme = "unknown";
  EXPECT_FALSE(uri.ValidateURI());
  uri.m_IsRelative = true;
  EXPECT_TRUE(uri.ValidateURI());
}

TEST(VerifyAlpha, LettersOnly) {
  struct Row {
    const char* text;
    bool expected;
  } rows[] = {{"", true}, {"abcXYZ", true}, {"a1", false}, {"a-b", false}, {"\xC3\xA9", false}, {"a b", false}};
  for (const Row& row : rows) EXPECT_EQ(URI::VerifyAlpha(row.text), row.expected) << row.text;
}

TEST(IsIPv6, CountsColonsOnly) {
  struct Row {
    const char* text;
    bool expected;
  } rows[] = {{"", false}, {"a:b", false}, {"a:b:c", true}, {"::", true}, {"[::1]", true}, {"[abc]:21", false}};
  for (const Row& row : rows) EXPECT_EQ(URI::IsIPv6(row.text), row.expected) << row.text;
}

TEST(ToString, StoredAndReadingForms) {
  struct Row {
    const char* text;
    const char* stored;
    const char* reading;
  } rows[] = {
      {"http://user:pw@Host:8080/a%20b?x=1#top", "http://user:pw@host:8080/a%20b?x=1#top",
       "http://user:pw@host:8080/a b?x=1#top"},
      {"HTTP://A:80/", "http://a:80/", "http://a:80/"},
      {"http://[::1]:8080/", "http://[::1]:8080/", "http://::1:8080/"},
      {"file://", "file://", "file://"},
      {"mailto:a%40b?s=1", "mailto:a%40b?s=1", "mailto:a@b?s=1"},
      {"a/b?c#d", "a/b?c#d", "a/b?c#d"},
      {"http://", "http:", "http:"},
      {"http:///p", "http:/p", "http:/p"},
      {"http://user@/p", "http:/p", "http:/p"},
      {"http://:80/p", "http:/p", "http:/p"},
      {"http://u:@h/", "http://u@h/", "http://u@h/"},
      {"http://:pw@h/", "http://h/", "http://h/"},
      {"file:///C:/x", "file:///C|/x", "file:///C|/x"},
      {"http://a/%3F?%3F#%23", "http://a/%3F?%3F#%23", "http://a/???##"},
      {"http://h%41:%38/", "http://h%41:%38/", "http://hA:%38/"},
      {"", "", ""},
      {"a\\b", "unknown:", "unknown:"},
  };
  for (const Row& row : rows) {
    const URI uri(row.text);
    EXPECT_EQ(uri.ToString(false), row.stored) << row.text;
    EXPECT_EQ(uri.ToString(true), row.reading) << row.text;
  }
}

TEST(ToString, RelativeWritesPathQueryFragmentOnly) {
  URI uri("a");
  uri.m_Server = "h";
  uri.m_Scheme = "x";
  uri.m_Query = "q";
  EXPECT_EQ(uri.ToString(false), "a?q");
}

TEST(ToStringUTF8, DecodesHighBytesOnly) {
  const URI uri("http://h/%C3%A9%20%c3%a9?%41");
  EXPECT_EQ(uri.ToStringUTF8(), "http://h/\xC3\xA9%20\xC3\xA9?%41");
}

TEST(ToStringUTF8Escaped, EscapesHighBytesOnly) {
  const URI uri("http://h/caf\xC3\xA9%20x?\xFF");
  EXPECT_EQ(uri.ToStringUTF8Escaped(), "http://h/caf%C3%A9%20x?%FF");
  EXPECT_EQ(URI(uri.ToStringUTF8Escaped()).ToStringUTF8(), uri.ToString(false));
}

TEST(GetAuthority, BracketsAndEscapes) {
  struct Row {
    const char* text;
    const char* authority;
  } rows[] = {
      {"http://[::1]:8080/", "::1"}, {"http://[ab]/", "[ab]"},     {"http://h%41/", "hA"},
      {"http://[a::b%41]/", "a::b%41"}, {"http://a/", "a"},          {"a/b", ""},
  };
  for (const Row& row : rows) EXPECT_EQ(URI(row.text).GetAuthority(), row.authority) << row.text;
  URI odd;
  odd.m_Server = "[:]";
  EXPECT_EQ(odd.GetAuthority(), "[:]");  // one colon: not an address
}

TEST(GetDefaultPort, ByExactScheme) {
  struct Row {
    const char* text;
    const char* port;
  } rows[] = {{"http://a/", "80"}, {"ftp://a/", "21"}, {"sftp://a/", "22"},
              {"file:///x", ""},   {"https://a/", ""}, {"gopher://a/", ""}};
  for (const Row& row : rows) EXPECT_EQ(URI(row.text).GetDefaultPort(), row.port) << row.text;
  URI upper("http://a/");
  upper.m_Scheme = "HTTP";
  EXPECT_EQ(upper.GetDefaultPort(), "");
}

TEST(ParseURI, LongInputsAreLinear) {
  // Several MiB of delimiters: the parse must finish promptly and not recurse.
  const std::string slashes = "http:" + std::string(4 << 20, '/') + "h/p";
  URI a{URI::StringProxy(slashes)};
  EXPECT_EQ(a.m_Server, "h");
  const std::string colons = "http://" + std::string(4 << 20, ':');
  URI b{URI::StringProxy(colons)};
  EXPECT_EQ(b.m_Server.size(), (4u << 20) + 2);
  const std::string marks(4 << 20, '?');
  URI c{URI::StringProxy(marks)};
  EXPECT_EQ(c.m_Path.size(), (4u << 20) - 1);
}

}  // namespace
