#include "vesk/platform/cfstring"

#include <climits>
#include <cmath>
#include <cstring>
#include <string>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/encodings.h"
#include "tests/support/text.h"
#include "vesk/platform/handles"
#include "vesk/platform/text_conversion"

namespace {

using namespace Vesk::Platform;

using vesktest::IdOf;
using vesktest::U16;
using vesktest::W;

U16 TextOf(CFStringRef s) { return U16(StringCharacters(s), static_cast<size_t>(StringLength(s))); }

unsigned long Utf8Id() { return UnicodeTextEncoding(kUnicodeDefaultBase, 0, kUTF8Format); }

// Owns one reference for the length of a test.
struct Held {
  explicit Held(CFTypeRef o) : object(o) {}
  ~Held() { ReleaseObject(object); }
  CFTypeRef object;
  CFStringRef str() const { return static_cast<CFStringRef>(object); }
};

TEST(PlatformObjects, TypeTagsAndCounts) {
  Held s(CreateStringFromUTF16(nullptr, 0)), n(CreateNumber(1.5)), a(CreateMutableArray());
  EXPECT_EQ(ObjectTypeID(s.object), StringTypeID());
  EXPECT_EQ(ObjectTypeID(n.object), NumberTypeID());
  EXPECT_EQ(ObjectTypeID(a.object), ArrayTypeID());
  EXPECT_TRUE(StringTypeID() != NumberTypeID() && StringTypeID() != ArrayTypeID());
  EXPECT_EQ(ObjectTypeID(nullptr), 0u);
  // String operations on a number answer as for no string.
  EXPECT_EQ(StringLength(reinterpret_cast<CFStringRef>(n.object)), 0);
  EXPECT_EQ(StringCharacters(reinterpret_cast<CFStringRef>(n.object)), nullptr);
  EXPECT_EQ(NumberValue(static_cast<CFNumberRef>(n.object)), 1.5);
  EXPECT_EQ(RetainObject(s.object), s.object);
  EXPECT_EQ(ObjectRetainCount(s.object), 2);
  ReleaseObject(s.object);  // the last release frees: ASan reports a leak or a double free otherwise
  EXPECT_EQ(ObjectRetainCount(s.object), 1);
  EXPECT_EQ(RetainObject(nullptr), nullptr);
  ReleaseObject(nullptr);
}

TEST(PlatformStrings, FromUTF16) {
  const U16 inner = {'a', 0, 'b', 0, 0};
  const std::tuple<const unsigned short*, long, U16> rows[] = {
      {inner.c_str(), -1, W(u"a")}, {inner.c_str(), 5, inner}, {inner.c_str(), 0, U16()},
      {nullptr, 0, U16()},          {nullptr, -1, U16()}};
  for (const auto& [text, length, expected] : rows) {
    Held copied(CreateStringFromUTF16(text, length)), borrowed(CreateStringBorrowingUTF16(text, length));
    EXPECT_EQ(TextOf(copied.str()), expected) << length;
    EXPECT_EQ(TextOf(borrowed.str()), expected) << length;
    if (text != nullptr && length != 0) {
      EXPECT_NE(StringCharacters(copied.str()), text) << length;
      EXPECT_EQ(StringCharacters(borrowed.str()), text) << length;
    }
  }
  EXPECT_EQ(CreateStringFromUTF16(nullptr, 3), nullptr);
  EXPECT_EQ(CreateStringBorrowingUTF16(nullptr, 3), nullptr);
}

TEST(PlatformStrings, FromBytesInAnEncoding) {
  // A null expectation: refused (8-bit bytes as ASCII, a broken sequence, an
  // unknown encoding, UTF-16, which is no 8-bit encoding).
  const std::tuple<std::string, unsigned long, const char16_t*> rows[] = {
      {"plain", kEncodingASCII, u"plain"},           {"caf\xE9", kEncodingASCII, nullptr},
      {"caf\xC3\xA9", Utf8Id(), u"caf\u00E9"},        {"caf\xC3", Utf8Id(), nullptr},
      {"caf\xE9", IdOf("iso-8859-1"), u"caf\u00E9"},  {"\x82\xA0", IdOf("shift_jis"), u"\u3042"},
      {"x", kUnknownTextEncoding, nullptr},
      {"xy", UnicodeTextEncoding(kUnicodeDefaultBase, 0, kUTF16Format), nullptr}};
  for (const auto& [bytes, encoding, expected] : rows) {
    Held s(CreateStringFromBytes(bytes.c_str(), encoding));
    // The explicit byte count carries zero bytes along.
    Held counted(CreateStringFromByteRange(bytes.c_str(), static_cast<long>(bytes.size() + 1), encoding));
    ASSERT_EQ(s.object != nullptr, expected != nullptr) << bytes;
    if (expected == nullptr) continue;
    EXPECT_EQ(TextOf(s.str()), W(expected)) << bytes;
    EXPECT_EQ(TextOf(counted.str()), W(expected) + U16(1, 0)) << bytes;
  }
  EXPECT_EQ(CreateStringFromBytes(nullptr, Utf8Id()), nullptr);
  EXPECT_EQ(CreateStringFromByteRange("x", -1, Utf8Id()), nullptr);
}

TEST(PlatformStrings, LengthPrefixedRoundTrip) {
  const unsigned char pascal[] = {3, 'a', 'b', 'c', 'z'};
  Held s(CreateStringFromLengthPrefixed(pascal, kEncodingASCII));
  EXPECT_EQ(TextOf(s.str()), W(u"abc"));

  unsigned char out[8] = {99, 99, 99, 99, 99, 99, 99, 99};
  ASSERT_TRUE(CopyStringLengthPrefixed(s.str(), out, sizeof out, kEncodingASCII));
  EXPECT_EQ(std::string(reinterpret_cast<char*>(out), 4), std::string("\x03"
                                                                      "abc"));
  // Too small a target: length 0 and false.
  EXPECT_FALSE(CopyStringLengthPrefixed(s.str(), out, 3, kEncodingASCII));
  EXPECT_EQ(out[0], 0);
  // More than 255 bytes cannot be length-prefixed.
  const U16 long_text(256, 'x');
  Held big(CreateStringFromUTF16(long_text.c_str(), 256));
  std::vector<unsigned char> wide(300);
  EXPECT_FALSE(CopyStringLengthPrefixed(big.str(), wide.data(), 300, kEncodingASCII));
  Held fits(CreateStringFromUTF16(long_text.c_str(), 255));
  EXPECT_TRUE(CopyStringLengthPrefixed(fits.str(), wide.data(), 256, kEncodingASCII));
  EXPECT_EQ(wide[0], 255);
  const unsigned char empty[] = {0};
  Held e(CreateStringFromLengthPrefixed(empty, kEncodingASCII));
  EXPECT_EQ(StringLength(e.str()), 0);
}

TEST(PlatformStrings, CopyBytes) {
  Held s(CreateStringFromUTF16(W(u"caf\u00E9").c_str(), -1));
  // No room for the terminator, or ASCII cannot hold it: false and "".
  const std::tuple<long, unsigned long, bool, std::string> rows[] = {
      {6, Utf8Id(), true, "caf\xC3\xA9"},
      {5, Utf8Id(), false, ""},
      {5, IdOf("iso-8859-1"), true, "caf\xE9"},
      {16, kEncodingASCII, false, ""}};
  for (const auto& [size, encoding, ok, expected] : rows) {
    char out[16];
    std::memset(out, 'Z', sizeof out);
    EXPECT_EQ(CopyStringBytes(s.str(), out, size, encoding), ok) << size;
    EXPECT_EQ(std::string(out), expected) << size;
  }
  char out[4] = {'Z', 'Z', 'Z', 'Z'};
  EXPECT_FALSE(CopyStringBytes(nullptr, out, 4, Utf8Id()));
  EXPECT_EQ(out[0], 0);
}

TEST(PlatformStrings, Substring) {
  Held s(CreateStringFromUTF16(W(u"abcdef").c_str(), -1));
  const std::tuple<long, long, const char16_t*> rows[] = {  // null: refused
      {0, 6, u"abcdef"}, {2, 3, u"cde"}, {6, 0, u""}, {5, 2, nullptr}, {-1, 2, nullptr}, {0, -1, nullptr}};
  for (const auto& [start, length, expected] : rows) {
    Held sub(CreateSubstring(s.str(), start, length));
    ASSERT_EQ(sub.object != nullptr, expected != nullptr) << start << "," << length;
    if (expected != nullptr) {
      EXPECT_EQ(TextOf(sub.str()), W(expected));
    }
  }
  unsigned short out[3] = {0, 0, 0};
  CopyStringCharacters(s.str(), 1, 2, out);
  EXPECT_EQ(U16(out, 3), (U16{'b', 'c', 0}));
}

// The number readers: leading white space and one sign, then as many digits
// as read; an int saturates, a double past its range is infinite.
TEST(PlatformStrings, NumberValues) {
  const std::pair<const char16_t*, int> ints[] = {  // full-width digits are not read
      {u"42", 42},          {u"  -17xyz", -17},         {u"+8", 8},          {u"", 0},
      {u"abc", 0},          {u"2147483647", INT_MAX},   {u"2147483648", INT_MAX},
      {u"-2147483648", INT_MIN},                        {u"-99999999999", INT_MIN},
      {u"\t\n 7", 7},       {u"3.9", 3},                {u"- 5", 0},         {u"\uFF15", 0}};
  for (const auto& [text, expected] : ints) {
    Held s(CreateStringFromUTF16(W(text).c_str(), -1));
    EXPECT_EQ(StringIntValue(s.str()), expected) << vesktest::HexW(std::u16string_view(text));
  }
  EXPECT_EQ(StringIntValue(nullptr), 0);
  const std::pair<const char16_t*, double> doubles[] = {
      {u"3.25", 3.25}, {u"  -0.5e2x", -50.0}, {u".5", 0.5},  {u"1e", 1.0},     {u"", 0.0},
      {u"abc", 0.0},   {u"inf", 0.0},         {u"nan", 0.0}, {u"0x10", 0.0},   {u"+2", 2.0},
      {u".", 0.0},     {u"-.", 0.0},          {u"7.", 7.0},  {u"1e-400", 0.0},
  };
  for (const auto& [text, expected] : doubles) {
    Held s(CreateStringFromUTF16(W(text).c_str(), -1));
    EXPECT_DOUBLE_EQ(StringDoubleValue(s.str()), expected) << vesktest::HexW(std::u16string_view(text));
  }
  Held huge(CreateStringFromUTF16(W(u"1e999").c_str(), -1));
  EXPECT_TRUE(std::isinf(StringDoubleValue(huge.str())));
}

TEST(PlatformArrays, HoldTheirValuesRetained) {
  CFMutableArrayRef a = CreateMutableArray();
  CFStringRef s = CreateStringFromUTF16(W(u"x").c_str(), -1);
  AppendToArray(a, s);
  AppendToArray(a, s);
  EXPECT_EQ(ArrayCount(a), 2);
  EXPECT_EQ(ObjectRetainCount(s), 3);
  EXPECT_EQ(ArrayValueAt(a, 1), s);
  EXPECT_EQ(ArrayValueAt(a, 2), nullptr);
  EXPECT_EQ(ArrayValueAt(a, -1), nullptr);
  ReleaseObject(a);
  EXPECT_EQ(ObjectRetainCount(s), 1);
  EXPECT_TRUE(StringsEqual(s, s));
  ReleaseObject(s);
}

TEST(MovableBlocks, NewResizeLockDispose) {
  char** h = NewMovableBlock(4);
  ASSERT_NE(h, nullptr);
  EXPECT_EQ(MovableBlockSize(h), 4u);
  for (int i = 0; i < 4; ++i) EXPECT_EQ((*h)[i], 0);
  std::memcpy(*h, "abcd", 4);
  ASSERT_TRUE(ResizeMovableBlock(h, 1000));
  EXPECT_EQ(std::string(*h, 4), "abcd");
  EXPECT_EQ((*h)[999], 0);
  ASSERT_TRUE(ResizeMovableBlock(h, 2));
  EXPECT_EQ(MovableBlockSize(h), 2u);
  // Locked: may change size in place, not move.
  LockMovableBlock(h);
  LockMovableBlock(h);
  EXPECT_TRUE(IsMovableBlockLocked(h));
  const char* where = *h;
  EXPECT_TRUE(ResizeMovableBlock(h, 900));
  EXPECT_EQ(*h, where);
  EXPECT_EQ((*h)[899], 0);  // regrown bytes are cleared again
  EXPECT_FALSE(ResizeMovableBlock(h, 5000));
  EXPECT_EQ(MovableBlockSize(h), 900u);
  UnlockMovableBlock(h);  // one unlock ends the lock
  EXPECT_FALSE(IsMovableBlockLocked(h));
  EXPECT_TRUE(ResizeMovableBlock(h, 5000));
  ASSERT_TRUE(ResizeMovableBlock(h, 0));
  EXPECT_EQ(MovableBlockSize(h), 0u);
  DisposeMovableBlock(h);

  EXPECT_EQ(MovableBlockSize(nullptr), 0u);
  EXPECT_FALSE(ResizeMovableBlock(nullptr, 3));
  DisposeMovableBlock(nullptr);
  char** empty = NewMovableBlock(0);
  EXPECT_NE(*empty, nullptr);
  DisposeMovableBlock(empty);
}

}  // namespace
