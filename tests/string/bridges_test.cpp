#include "vesk/string/cstring"

#include <cstdint>
#include <algorithm>
#include <cstring>
#include <string>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>

#include "tests/string/string_test_support.h"
#include "vesk/platform/cfstring"
#include "vesk/platform/handles"
#include "vesk/platform/locale_facts"
#include "vesk/platform/resources"

namespace {

using namespace cstest;
namespace P = Vesk::Platform;

// 8-bit text is UTF-8 here: the C locale's application encoding.
class Bridges : public ::testing::Test {
 protected:
  static void SetUpTestSuite() { ASSERT_TRUE(P::SetHostLocale("C")); }
  void TearDown() override { P::CloseAllResourceFiles(); }
};

std::u16string PlatformText(CFStringRef s) {
  const unsigned short* p = P::StringCharacters(s);
  return std::u16string(p, p + P::StringLength(s));
}

CFStringRef Platform(std::u16string_view text) {
  const U16 w = W(text);
  return P::CreateStringFromUTF16(w.data(), static_cast<long>(w.size()));
}

TEST_F(Bridges, GetCFStringRefCachesOneObjectPerBuffer) {
  CString s = Make(std::u16string_view(u"a\0b", 3));  // inner zero units are kept
  CFStringRef first = s.GetCFStringRef(0);
  EXPECT_EQ(PlatformText(first), std::u16string(u"a\0b", 3));
  // Copies share the buffer and so the cached object.
  CString copy = s;
  CFStringRef second = copy.GetCFStringRef(0);
  EXPECT_EQ(second, first);
  EXPECT_EQ(P::ObjectRetainCount(first), 3);  // the buffer's and the two callers'
  s.ReleaseCFStringRef(first);
  copy.ReleaseCFStringRef(second);
  s.ReleaseCFStringRef(nullptr);
  // A write drops the cache: a later call makes a new object with the new text.
  s += W(u"d").c_str();
  CFStringRef after = s.GetCFStringRef(0);
  EXPECT_EQ(PlatformText(after), std::u16string(u"a\0bd", 4));
  s.ReleaseCFStringRef(after);
  EXPECT_SOUND(s);
  // Empty strings share the nil data's object; a write through one drops it.
  CString a, b;
  CFStringRef ra = a.GetCFStringRef(0), rb = b.GetCFStringRef(0);
  EXPECT_TRUE(ra == rb && P::StringLength(ra) == 0);
  a.ReleaseCFStringRef(ra);
  b.ReleaseCFStringRef(rb);
  a = W(u"").c_str();
  CFStringRef rc = a.GetCFStringRef(0);
  EXPECT_EQ(P::StringLength(rc), 0);
  a.ReleaseCFStringRef(rc);
  EXPECT_SOUND(a);
}

TEST_F(Bridges, SetFromCFStringRef) {
  // Source (owned by the row), text, whether the cache holds the given object afterwards.
  const std::tuple<CFTypeRef, std::u16string, bool> rows[] = {
      {Platform(u"hello"), u"hello", true},
      {Platform(std::u16string_view(u"ab\0\0", 4)), u"ab", true},  // trailing zero units dropped
      {Platform(std::u16string_view(u"a\0b", 3)), std::u16string(u"a\0b", 3), true},
      {Platform(std::u16string_view(u"\0\0\0", 3)), u"", false},
      {nullptr, u"", false},
      {P::CreateNumber(4), u"", false},
      {Platform(std::u16string(700, u'x')), std::u16string(700, u'x'), true}};
  for (const auto& [source, expected, keeps_source] : rows) {
    CString s = Make(u"previous text");
    const CString sharer = s;
    EXPECT_TRUE(s.SetFromCFStringRef(static_cast<CFStringRef>(source), 0)) << expected.size();
    EXPECT_EQ(Text(s), expected);
    EXPECT_EQ(Text(sharer), u"previous text");
    EXPECT_SOUND(s);
    CFStringRef back = s.GetCFStringRef(0);
    if (keeps_source) {
      EXPECT_EQ(back, source) << expected.size();
    }
    s.ReleaseCFStringRef(back);
    P::ReleaseObject(source);
  }
  // Its own cached object: the same object stays, kept alive by the buffer.
  CString s = Make(u"self");
  CFStringRef r = s.GetCFStringRef(0);
  EXPECT_TRUE(s.SetFromCFStringRef(r, 0));
  s.ReleaseCFStringRef(r);
  CFStringRef again = s.GetCFStringRef(0);
  EXPECT_EQ(again, r);
  EXPECT_EQ(Text(s), u"self");
  s.ReleaseCFStringRef(again);
}

TEST_F(Bridges, NarrowConstructionAndAssignment) {
  EXPECT_TRUE(OnNil(CString("")));
  EXPECT_TRUE(OnNil(CString(static_cast<const char*>(nullptr))));
  EXPECT_EQ(Text(CString("caf\xC3\xA9")), u"caf\u00E9");
  // The length only sizes the first buffer: the whole text comes in.
  EXPECT_EQ(Text(CString("whole text", 3)), u"whole text");
  EXPECT_TRUE(OnNil(CString("abc", 0)));
  // Null text with a length: a buffer of that length, contents unspecified.
  CString sized(static_cast<const char*>(nullptr), 5);
  EXPECT_EQ(sized.GetLength(), 5);
  EXPECT_EQ(static_cast<const unsigned short*>(sized)[5], 0);
  // Text that does not convert: the buffer as allocated.
  CString broken("ab\xFF");
  EXPECT_EQ(broken.GetLength(), 3);
  EXPECT_SOUND(broken);

  CString s = Make(u"keep");
  s = "ab\xFF";  // does not convert: unchanged
  EXPECT_EQ(Text(s), u"keep");
  s = "new";
  EXPECT_EQ(Text(s), u"new");
  s = static_cast<const char*>(nullptr);
  EXPECT_TRUE(s.IsEmpty());
  // A converted string's cached platform string is the converted one.
  CString t("cached");
  CFStringRef r = t.GetCFStringRef(0);
  EXPECT_EQ(PlatformText(r), u"cached");
  t.ReleaseCFStringRef(r);
}

TEST_F(Bridges, FreeCrossingFunctions) {
  CFStringRef s = Platform(u"abcdef");
  unsigned short wide[8];
  std::memset(wide, 0xFF, sizeof wide);
  CFStringGetLPWSTR(s, wide, 3, 0);
  EXPECT_EQ(CText(wide), u"abc");
  CFStringGetLPWSTR(s, wide, 100, 0);
  EXPECT_EQ(CText(wide), u"abcdef");
  CFStringGetLPWSTR(nullptr, wide, 3, 0);
  EXPECT_EQ(wide[0], 0);

  char narrow[8];
  EXPECT_TRUE(CFStringGetLPSTR(s, narrow, sizeof narrow, static_cast<unsigned long>(-1)));
  EXPECT_STREQ(narrow, "abcdef");
  EXPECT_FALSE(CFStringGetLPSTR(s, narrow, 6, static_cast<unsigned long>(-1)));
  EXPECT_FALSE(CFStringGetLPSTR(nullptr, narrow, 8, static_cast<unsigned long>(-1)));
  EXPECT_EQ(narrow[0], 0);
  P::ReleaseObject(s);

  EXPECT_EQ(CFStringCreateWithLPCSTR(nullptr, 0, static_cast<unsigned long>(-1)), nullptr);
  EXPECT_EQ(CFStringCreateWithLPCWSTR(nullptr, 3, 0), nullptr);
  CFStringRef a = CFStringCreateWithLPCSTR("x\xC3\xA9y", 1, static_cast<unsigned long>(-1));
  EXPECT_EQ(PlatformText(a), u"x\u00E9y");
  CFStringRef ascii = CFStringCreateWithLPCSTRNoCopy("plain", 0, P::kEncodingASCII);
  EXPECT_EQ(PlatformText(ascii), u"plain");
  EXPECT_EQ(CFStringCreateWithLPCSTR("\xC3", 0, static_cast<unsigned long>(-1)), nullptr);
  const U16 text = W(std::u16string_view(u"ab\0cd", 5));
  CFStringRef scanned = CFStringCreateWithLPCWSTR(text.c_str(), -1, 0);
  EXPECT_EQ(PlatformText(scanned), u"ab");
  CFStringRef counted = CFStringCreateWithLPCWSTR(text.c_str(), 5, 0);
  EXPECT_EQ(P::StringLength(counted), 5);
  CFStringRef borrowed = CFStringCreateWithLPCWSTRNoCopy(text.c_str(), 4, 0);
  EXPECT_EQ(P::StringCharacters(borrowed), text.c_str());
  for (CFStringRef r : {a, ascii, scanned, counted, borrowed}) P::ReleaseObject(r);
}

TEST_F(Bridges, ToMacAndFromMac) {
  // Text, target size, the length-prefixed result without the prefix. Of a
  // size of 10 the host has 9 bytes; longer text is cut to 9 units first.
  const std::tuple<std::u16string, long, std::string> rows[] = {
      {u"abc", 10, "abc"},
      {u"abcdefgh", 10, "abcdefgh"},
      {u"abcdefghi", 10, ""},
      {u"abcdefghijklmnopqrst", 10, ""},
      {u"caf\u00E9", 10, "caf\xC3\xA9"},
      {std::u16string(254, u'x'), 256, std::string(254, 'x')},
      {std::u16string(255, u'x'), 256, ""},  // the host sees 255 bytes
      {u"", 256, ""}};
  for (const auto& [text, size, expected] : rows) {
    std::vector<unsigned char> target(static_cast<size_t>(size), 0xAA);
    Make(text).ToMac(target.data(), size);
    EXPECT_EQ(std::string(reinterpret_cast<char*>(target.data() + 1), target[0]), expected)
        << text.size() << " units, size " << size;
    CString back;
    back.FromMac(target.data());
    EXPECT_EQ(Text(back), expected.empty() ? u"" : text);
  }
  CString s = Make(u"x");
  s.FromMac(nullptr);
  EXPECT_TRUE(s.IsEmpty());
  const unsigned char bad[] = {2, 0xC3, 0x28};
  s = Make(u"x");
  s.FromMac(bad);
  EXPECT_TRUE(s.IsEmpty());
}

TEST_F(Bridges, HFSUniStr255) {
  // Below 255 units a zero unit follows the text.
  for (const size_t length : {300, 255, 254, 0}) {
    HFSUniStr255 record;
    std::memset(&record, 0x7F, sizeof record);
    const std::u16string text(length, u'a');
    Make(text).GetHFSUniStr255(&record);
    const size_t kept = std::min<size_t>(length, 255);
    EXPECT_EQ(record.length, kept);
    EXPECT_EQ(std::u16string(record.unicode, record.unicode + kept + (kept < 255)),
              text.substr(0, 255) + (kept < 255 ? std::u16string(1, 0) : u""));
    CString back;
    back.SetFromHFSUniStr255(&record);
    EXPECT_EQ(Text(back), text.substr(0, 255));
  }
  // A zero unit stops the copy; the length field stays.
  HFSUniStr255 record;
  std::memset(&record, 0x7F, sizeof record);
  Make(std::u16string_view(u"ab\0cd", 5)).GetHFSUniStr255(&record);
  EXPECT_EQ(record.length, 5);
  EXPECT_EQ(std::u16string(record.unicode, record.unicode + 6), std::u16string(u"ab\0\0\0\0", 6));
  CString back;
  back.SetFromHFSUniStr255(&record);
  EXPECT_EQ(Text(back), std::u16string(u"ab\0\0\0", 5));
  back.GetHFSUniStr255(nullptr);
  back.SetFromHFSUniStr255(nullptr);
  EXPECT_EQ(back.GetLength(), 5);
}

TEST_F(Bridges, Handles) {
  // Unicode handles: exact both ways; an odd last byte is dropped.
  char** made = nullptr;
  EXPECT_FALSE(Make(std::u16string_view(u"x\0y", 3)).UnloadUnicodeString(&made));  // made anew
  EXPECT_EQ(P::MovableBlockSize(made), 6u);
  EXPECT_TRUE(Make(u"longer text").UnloadUnicodeString(&made));
  EXPECT_EQ(P::MovableBlockSize(made), 22u);
  P::ResizeMovableBlock(made, 5);
  CString back;
  EXPECT_TRUE(back.LoadUnicodeString(made));
  EXPECT_EQ(Text(back), u"lo");
  P::DisposeMovableBlock(made);
  // Narrow handles: no terminator written; the reader stops at a zero byte
  // or at the block's end.
  char** narrow = nullptr;
  EXPECT_FALSE(Make(u"abc").UnloadString(&narrow));
  EXPECT_EQ(std::string(*narrow, P::MovableBlockSize(narrow)), "abc");
  EXPECT_TRUE(Make(u"").UnloadString(&narrow));
  EXPECT_EQ(P::MovableBlockSize(narrow), 0u);
  EXPECT_TRUE(Make(u"hello").UnloadString(&narrow));
  EXPECT_TRUE(back.LoadString(narrow));
  EXPECT_EQ(Text(back), u"hello");
  P::ResizeMovableBlock(narrow, 8);
  std::memcpy(*narrow, "hi\0there", 8);
  EXPECT_TRUE(back.LoadString(narrow));
  EXPECT_EQ(Text(back), u"hi");
  P::DisposeMovableBlock(narrow);
  char** empty = nullptr;
  EXPECT_FALSE(CString().UnloadString(&empty));
  EXPECT_EQ(P::MovableBlockSize(empty), 0u);
  P::DisposeMovableBlock(empty);
  EXPECT_FALSE(back.LoadString(static_cast<char**>(nullptr)));
  EXPECT_FALSE(back.LoadUnicodeString(nullptr));
  EXPECT_EQ(Text(back), u"hi");
}

TEST_F(Bridges, NamedResources) {
  const unsigned long type = P::ResourceType("TEXT");
  const unsigned char name[] = {5, 'g', 'r', 'e', 'e', 't'};
  CString s = Make(u"keep");
  // No current file: nothing to load, nothing kept.
  EXPECT_FALSE(s.LoadString(type, name, false));
  EXPECT_FALSE(Make(u"lost").UnloadString(type, name, true));

  const P::ResourceFileRef file = P::CreateResourceFile(nullptr);
  ASSERT_NE(file, 0);
  EXPECT_FALSE(Make(u"hello").UnloadString(type, name, true));  // added
  const auto entries = P::ListResources(file);
  ASSERT_EQ(entries.size(), 1u);
  EXPECT_EQ(entries[0].id, 128);
  EXPECT_EQ(entries[0].name, "greet");
  EXPECT_TRUE(s.LoadString(type, name, true));
  EXPECT_EQ(Text(s), u"hello");
  EXPECT_TRUE(Make(u"bye").UnloadString(type, CString("greet"), true));  // changed in place
  EXPECT_EQ(P::ListResources(file).size(), 1u);
  EXPECT_TRUE(s.LoadString(type, CString("greet"), true));
  EXPECT_EQ(Text(s), u"bye");

  // Narrow form, read back through a terminator added to the block.
  EXPECT_FALSE(Make(u"narrow").UnloadString(type, CString("n"), false));
  EXPECT_TRUE(s.LoadString(type, CString("n"), false));
  EXPECT_EQ(Text(s), u"narrow");
  EXPECT_EQ(P::ListResources(file)[1].id, 129);
}

// The number readers themselves are tested with the platform strings; here,
// that the values go through the cached platform string.
TEST_F(Bridges, NumericValues) {
  const CString s = Make(u" -3.5");
  EXPECT_EQ(s.GetIntValue(), -3);
  EXPECT_DOUBLE_EQ(s.GetDoubleValue(), -3.5);
  EXPECT_NE(s.GetData()->cachedCFString, nullptr);
  EXPECT_EQ(CString().GetIntValue(), 0);
}

// The lead-byte tables themselves are tested with the locale facts; here,
// that Initialize takes the script, the mode and the table from them.
TEST(IntlInfoFacts, LeadBytesFollowTheLocaleFacts) {
  ASSERT_TRUE(P::SetHostLocale("ja_JP.SJIS"));
  IntlInfo::Initialize();
  EXPECT_EQ(IntlInfo::s_systemScript, P::kScriptJapanese);
  EXPECT_TRUE(IntlInfo::s_doubleByte);
  EXPECT_TRUE(IntlInfo::IsLeadByte(0x81));
  EXPECT_FALSE(IntlInfo::IsLeadByte(0xA1));
  // Back to normal mode for the other tests: no byte is a lead byte.
  ASSERT_TRUE(P::SetHostLocale("C"));
  IntlInfo::Initialize();
  EXPECT_FALSE(IntlInfo::s_doubleByte);
  for (int b = 0; b < 256; ++b) ASSERT_FALSE(IntlInfo::IsLeadByte(static_cast<unsigned char>(b))) << b;
}

}  // namespace
