#include "vesk/uri/uri"

#include <gtest/gtest.h>

#include <cstdio>
#include <string>

namespace {

using Vesk::URI;

std::string Byte(int c) { return std::string(1, static_cast<char>(c)); }

std::string Hex(int c) {
  char buffer[8];
  std::snprintf(buffer, sizeof buffer, "%%%02X", c);
  return buffer;
}

// The members of each map, as the escaping entry points reveal them.
struct MapUser {
  const char* name;
  std::string (*escape)(const std::string&);
  std::string members;  // printable members besides the control bytes
  bool controls;        // whether 0x01-0x1F and 0x7F are members
};

std::string ViaEscape(const std::string& s) { return URI::Escape(s); }
std::string ViaQueryEscape(const std::string& s) { return URI::QueryEscape(s); }
std::string ViaUsername(const std::string& s) {
  URI uri("http://h/");
  uri.SetUsername(s);
  return uri.m_Username;
}
std::string ViaPassword(const std::string& s) {
  URI uri("http://h/");
  uri.SetPassword(s);
  return uri.m_Password;
}
std::string ViaBody(const std::string& s) {
  URI uri("mailto:x");
  uri.SetNonHierarchical(s);
  return uri.m_NonHierarchical;
}
std::string ViaHighBytes(const std::string& s) {
  URI uri("a");
  uri.m_Path = s;
  return uri.ToStringUTF8Escaped();
}

TEST(CharacterMaps, EveryByteThroughEveryMap) {
  const std::string excluded = " `\"#%:<>?@[\\]^{|}";
  const MapUser users[] = {
      {"Escape", ViaEscape, excluded, true},
      {"QueryEscape", ViaQueryEscape, excluded + "$&+/=", true},
      {"SetUsername", ViaUsername, excluded + "/;", true},
      {"SetPassword", ViaPassword, excluded + "/;", true},
      {"SetNonHierarchical", ViaBody, " `\"#%:<>?[\\]^{|}", true},
      {"ToStringUTF8Escaped", ViaHighBytes, "", false},
  };
  for (const MapUser& user : users) {
    for (int c = 0; c < 256; ++c) {
      bool member = user.members.find(static_cast<char>(c)) != std::string::npos && c != 0;
      if (user.controls && ((c >= 1 && c < 0x20) || c == 0x7F)) member = true;
      if (user.escape == ViaHighBytes) member = c >= 0x80;
      const std::string expected = member ? Hex(c) : Byte(c);
      EXPECT_EQ(user.escape("a" + Byte(c) + "b"), "a" + expected + "b") << user.name << " byte " << c;
    }
  }
}

TEST(Escape, Examples) {
  struct Row {
    std::string (*escape)(const std::string&);
    std::string text;
    std::string expected;
  } rows[] = {
      {ViaEscape, "", ""},
      {ViaEscape, "a b%c", "a%20b%25c"},
      {ViaEscape, "a:b/c", "a%3Ab/c"},
      {ViaEscape, "[1]", "%5B1%5D"},
      {ViaEscape, "\xC3\xA9", "\xC3\xA9"},
      {ViaEscape, std::string("a\0b", 3), std::string("a\0b", 3)},
      {ViaEscape, "%", "%25"},
      {ViaEscape, "%25", "%2525"},
      {ViaQueryEscape, "a=b&c d", "a%3Db%26c%20d"},
      {ViaQueryEscape, "x;y,z", "x;y,z"},
      {ViaQueryEscape, "\xC3\xA9", "\xC3\xA9"},
      {ViaUsername, "me/you;x@y", "me%2Fyou%3Bx%40y"},
      {ViaBody, "joe@host?a b", "joe@host%3Fa%20b"},
      {ViaHighBytes, "\xC3\xA9 %", "%C3%A9 %"},
  };
  for (const Row& row : rows) EXPECT_EQ(row.escape(row.text), row.expected) << row.text;
}

TEST(Escape, LongInputGrowsThreeForOne) {
  const std::string spaces(1 << 20, ' ');
  const std::string escaped = URI::Escape(spaces);
  ASSERT_EQ(escaped.size(), 3u << 20);
  EXPECT_EQ(escaped.find_first_not_of("%20"), std::string::npos);
  const std::string plain(1 << 20, 'a');
  EXPECT_EQ(URI::Escape(plain), plain);
  const std::string mixed = plain + " " + plain;
  EXPECT_EQ(URI::Escape(mixed), plain + "%20" + plain);
}

TEST(EscapeChars, SlowPathRules) {
  struct Row {
    std::string text;
    std::string set;
    std::string expected;
  } rows[] = {
      {"a\tb", "", "a%09b"},
      {std::string("\0", 1), "", "%00"},
      {"\x7F", "", "%7F"},
      {"abc", "b", "a%62c"},
      {"", "abc", ""},
      {"a b%", URI::URIexcluded, "a%20b%25"},
      {"\xC3\xA9", "\xC3", "%C3\xA9"},
      {"x=y&z", URI::URIqueryexcluded, "x%3Dy%26z"},
  };
  for (const Row& row : rows) EXPECT_EQ(URI::EscapeChars(row.text, row.set), row.expected) << row.text;
  // With the exported sets it agrees with the fast path everywhere but at NUL.
  for (int c = 1; c < 256; ++c) {
    EXPECT_EQ(URI::EscapeChars(Byte(c), URI::URIexcluded), URI::Escape(Byte(c))) << c;
    EXPECT_EQ(URI::EscapeChars(Byte(c), URI::URIqueryexcluded), URI::QueryEscape(Byte(c))) << c;
  }
  EXPECT_EQ(URI::Escape(Byte(0)), Byte(0));
}

TEST(Escape, UnescapeUndoesEveryBytePair) {
  for (int a = 0; a < 256; ++a) {
    for (int b = 0; b < 256; ++b) {
      const std::string text = Byte(a) + Byte(b);
      ASSERT_EQ(URI::Unescape(URI::Escape(text), false), text) << a << " " << b;
      ASSERT_EQ(URI::QueryUnescape(URI::QueryEscape(text)), text) << a << " " << b;
    }
  }
}

}  // namespace
