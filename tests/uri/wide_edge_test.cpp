#include "vesk/uri/uri"

#include <cstddef>
#include <string>
#include <type_traits>

#include <gtest/gtest.h>

#include "vesk/encoding/transcoder"
#include "vesk/string/cstring"

namespace {

using Vesk::URI;
using Wide = std::basic_string<unsigned short>;

Wide W(const char16_t* text) {
  Wide out;
  for (; *text != 0; ++text) out.push_back(static_cast<unsigned short>(*text));
  return out;
}

Wide FromCString(const CString& text) {
  const unsigned short* units = text;
  return Wide(units, static_cast<size_t>(text.GetLength()));
}

struct WideCase {
  const char* utf8;
  const char16_t* utf16;
};

// Text in both forms: ASCII, two-byte, three-byte and four-byte UTF-8 (the
// last a surrogate pair in UTF-16), and the empty text.
const WideCase kWideCases[] = {
    {"", u""},
    {"http://a/b?c#d", u"http://a/b?c#d"},
    {"caf\xC3\xA9", u"caf\u00E9"},
    {"\xE6\x97\xA5\xE6\x9C\xAC", u"\u65E5\u672C"},
    {"x\xF0\x9F\x98\x80y", u"x\U0001F600y"},
    {"%C3%A9 raw \xC3\xA9", u"%C3%A9 raw \u00E9"},
};

TEST(StringProxyWide, ConvertsBothWays) {
  for (const auto& row : kWideCases) {
    SCOPED_TRACE(row.utf8);
    const Wide wide = W(row.utf16);
    EXPECT_EQ(URI::StringProxy(wide), row.utf8);
    const CString cs = URI::StringProxy(row.utf8);
    EXPECT_EQ(FromCString(cs), wide);
    EXPECT_EQ(URI::StringProxy(cs), row.utf8);
  }
}

TEST(StringProxyWide, CStringEndsAtFirstZero) {
  const URI::StringProxy text(std::string("ab\0cd", 5));
  const CString cs = text;
  EXPECT_EQ(cs.GetLength(), 2);
  EXPECT_EQ(FromCString(cs), W(u"ab"));

  const URI::StringProxy leading(std::string("\0x", 2));
  const CString empty = leading;
  EXPECT_EQ(empty.GetLength(), 0);
}

TEST(StringProxyWide, WideTextWithZeroKeepsIt) {
  // From a UTF-16 string the whole length counts, zero units included.
  const Wide wide{u'a', 0, u'b'};
  EXPECT_EQ(URI::StringProxy(wide), std::string("a\0b", 3));
}

TEST(StringProxyWide, WideArgumentsReachTheInterface) {
  // Call sites pass wide text where a StringProxy is wanted.
  const URI uri(URI::StringProxy(W(u"http://h/caf\u00E9")));
  EXPECT_TRUE(uri.IsValidURI());
  EXPECT_EQ(uri.m_Path, "/caf\xC3\xA9");
  const CString cs = URI::StringProxy(W(u"HTTP://X/p"));
  EXPECT_EQ(URI(URI::StringProxy(cs)).ToString(false), "http://x/p");
}

TEST(StringRefProxy, FieldsInOrder) {
  using P = URI::StringRefProxy;
  static_assert(std::is_standard_layout<P>::value, "StringRefProxy is plain data");
  static_assert(sizeof(P::m_IsWide) == 4, "the wide flag is a 32-bit word");
  static_assert(offsetof(P, m_IsWide) < offsetof(P, m_Narrow), "m_IsWide comes first");
  static_assert(offsetof(P, m_Narrow) < offsetof(P, m_Wide), "m_Narrow comes before m_Wide");
  static_assert(!std::is_constructible<P, const std::string&>::value,
                "targets are taken by non-const reference");
  static_assert(!std::is_constructible<P, const Wide&>::value, "targets are taken by non-const reference");

  std::string narrow;
  Wide wide;
  const P n(narrow);
  const P w(wide);
  EXPECT_EQ(n.m_IsWide, 0u);
  EXPECT_EQ(n.m_Narrow, &narrow);
  EXPECT_NE(w.m_IsWide, 0u);
  EXPECT_EQ(w.m_Wide, &wide);
}

TEST(StringRefProxy, AssignReplacesTarget) {
  for (const auto& row : kWideCases) {
    SCOPED_TRACE(row.utf8);
    std::string narrow = "previous content";
    Wide wide = W(u"previous content");
    URI::StringRefProxy(narrow).Assign(row.utf8);
    URI::StringRefProxy(wide).Assign(row.utf8);
    EXPECT_EQ(narrow, row.utf8);
    EXPECT_EQ(wide, W(row.utf16));
  }
}

struct PartsCase {
  const char* text;  // parsed, or null for a default-constructed URI
  const char* parts[6];
};

// Scheme, authority, port, path, query, fragment, all in reading form.
const PartsCase kPartsCases[] = {
    {nullptr, {"unknown", "", "", "", "", ""}},
    {"a\\b", {"unknown", "", "", "", "", ""}},
    {"http://user:pw@Host:8080/a%20b?x=1%26y#top", {"http", "host", "8080", "/a b", "x=1&y", "top"}},
    {"http://[::1]:80/p", {"http", "::1", "80", "/p", "", ""}},
    {"mailto:joe@example.org?subject=hi%20there#f", {"mailto", "", "", "", "subject=hi there", "f"}},
    {"a/b?c#d", {"", "", "", "a/b", "c", "d"}},
    {"http://x/caf%C3%A9?q=\xE6\x97\xA5#\xC3\xA9",
     {"http", "x", "", "/caf\xC3\xA9", "q=\xE6\x97\xA5", "\xC3\xA9"}},
    {"file:///C:/dir/x.txt", {"file", "", "", "/C|/dir/x.txt", "", ""}},
    {"ftp://h:%32%31/", {"ftp", "h", "21", "/", "", ""}},
};

TEST(GetParts, NarrowWideAndMixed) {
  for (const auto& row : kPartsCases) {
    SCOPED_TRACE(row.text ? row.text : "(default)");
    const URI uri = row.text ? URI(row.text) : URI();

    std::string n[6];
    for (auto& s : n) s = "stale";
    uri.GetParts(n[0], n[1], n[2], n[3], n[4], n[5]);
    for (int i = 0; i < 6; ++i) EXPECT_EQ(n[i], row.parts[i]) << "part " << i;

    Wide w[6];
    for (auto& s : w) s = W(u"stale");
    uri.GetParts(w[0], w[1], w[2], w[3], w[4], w[5]);
    for (int i = 0; i < 6; ++i) EXPECT_EQ(w[i], Vesk::Transcoder::asUTF16(row.parts[i])) << "part " << i;

    // Alternate the kinds of target in one call.
    std::string m0, m2, m4;
    Wide m1, m3, m5;
    uri.GetParts(m0, m1, m2, m3, m4, m5);
    EXPECT_EQ(m0, n[0]);
    EXPECT_EQ(m1, w[1]);
    EXPECT_EQ(m2, n[2]);
    EXPECT_EQ(m3, w[3]);
    EXPECT_EQ(m4, n[4]);
    EXPECT_EQ(m5, w[5]);
  }
}

}  // namespace
