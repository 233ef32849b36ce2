#include "vesk/platform/cfstring"

#include <climits>
#include <cmath>
#include <cstring>
#include <string>
#include <thread>
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

TEST(PlatformObjects, TypeTagsTellStringsFromNumbersAndArrays) {
  Held s(CreateStringFromUTF16(nullptr, 0));
  Held n(CreateNumber(1.5));
  Held a(CreateMutableArray());
  EXPECT_EQ(ObjectTypeID(s.object), StringTypeID());
  EXPECT_EQ(ObjectTypeID(n.object), NumberTypeID());
  EXPECT_EQ(ObjectTypeID(a.object), ArrayTypeID());
  EXPECT_NE(StringTypeID(), NumberTypeID());
  EXPECT_NE(StringTypeID(), ArrayTypeID());
  EXPECT_EQ(ObjectTypeID(nullptr), 0u);
  // String operations on a number answer as for no string.
  EXPECT_EQ(StringLength(reinterpret_cast<CFStringRef>(n.object)), 0);
  EXPECT_EQ(StringCharacters(reinterpret_cast<CFStringRef>(n.object)), nullptr);
  EXPECT_EQ(NumberValue(static_cast<CFNumberRef>(n.object)), 1.5);
}

TEST(PlatformObjects, RetainAndReleaseCount) {
  CFStringRef s = CreateStringFromUTF16(W(u"abc").c_str(), -1);
  EXPECT_EQ(ObjectRetainCount(s), 1);
  EXPECT_EQ(RetainObject(s), s);
  EXPECT_EQ(ObjectRetainCount(s), 2);
  ReleaseObject(s);
  EXPECT_EQ(ObjectRetainCount(s), 1);
  ReleaseObject(s);  // freed: ASan reports a leak or a double free otherwise
  EXPECT_EQ(RetainObject(nullptr), nullptr);
  ReleaseObject(nullptr);
}

TEST(PlatformStrings, FromUTF16) {
  const U16 inner = {'a', 0, 'b', 0, 0};
  struct Row {
    const char* what;
    const unsigned short* text;
    long length;
    U16 expected;
  };
  const Row rows[] = {
      {"scanned", inner.c_str(), -1, W(u"a")},  {"counted with zero units", inner.c_str(), 5, inner},
      {"empty count", inner.c_str(), 0, U16()}, {"null and zero", nullptr, 0, U16()},
      {"null and scan", nullptr, -1, U16()},
  };
  for (const Row& row : rows) {
    Held copied(CreateStringFromUTF16(row.text, row.length));
    Held borrowed(CreateStringBorrowingUTF16(row.text, row.length));
    EXPECT_EQ(TextOf(copied.str()), row.expected) << row.what;
    EXPECT_EQ(TextOf(borrowed.str()), row.expected) << row.what;
    if (row.text != nullptr && row.length != 0) {
      EXPECT_NE(StringCharacters(copied.str()), row.text) << row.what;
      EXPECT_EQ(StringCharacters(borrowed.str()), row.text) << row.what;
    }
  }
  EXPECT_EQ(CreateStringFromUTF16(nullptr, 3), nullptr);
  EXPECT_EQ(CreateStringBorrowingUTF16(nullptr, 3), nullptr);
}

TEST(PlatformStrings, FromBytesInAnEncoding) {
  struct Row {
    const char* what;
    std::string bytes;
    unsigned long encoding;
    bool ok;
    U16 expected;
  };
  const Row rows[] = {
      {"ascii", "plain", kEncodingASCII, true, W(u"plain")},
      {"ascii refuses 8-bit bytes", "caf\xE9", kEncodingASCII, false, U16()},
      {"utf-8", "caf\xC3\xA9", Utf8Id(), true, W(u"caf\u00E9")},
      {"utf-8 refuses a broken sequence", "caf\xC3", Utf8Id(), false, U16()},
      {"latin-1", "caf\xE9", IdOf("iso-8859-1"), true, W(u"caf\u00E9")},
      {"shift_jis", "\x82\xA0", IdOf("shift_jis"), true, W(u"\u3042")},
      {"unknown encoding", "x", kUnknownTextEncoding, false, U16()},
      {"utf-16 is not an 8-bit encoding", "xy", UnicodeTextEncoding(kUnicodeDefaultBase, 0, kUTF16Format),
       false, U16()},
  };
  for (const Row& row : rows) {
    Held s(CreateStringFromBytes(row.bytes.c_str(), row.encoding));
    EXPECT_EQ(s.object != nullptr, row.ok) << row.what;
    if (row.ok) {
      EXPECT_EQ(TextOf(s.str()), row.expected) << row.what;
    }
    // The explicit byte count carries zero bytes along.
    std::string with_zero = row.bytes + std::string(1, '\0');
    Held counted(
        CreateStringFromByteRange(with_zero.data(), static_cast<long>(with_zero.size()), row.encoding));
    if (row.ok) {
      U16 expected = row.expected;
      expected.push_back(0);
      EXPECT_EQ(TextOf(counted.str()), expected) << row.what;
    }
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
  struct Row {
    const char* what;
    long size;
    unsigned long encoding;
    bool ok;
    std::string expected;
  };
  const Row rows[] = {
      {"utf-8 fits", 6, Utf8Id(), true, "caf\xC3\xA9"},
      {"utf-8 no room for the terminator", 5, Utf8Id(), false, ""},
      {"latin-1", 5, IdOf("iso-8859-1"), true, "caf\xE9"},
      {"ascii cannot hold it", 16, kEncodingASCII, false, ""},
  };
  for (const Row& row : rows) {
    char out[16];
    std::memset(out, 'Z', sizeof out);
    EXPECT_EQ(CopyStringBytes(s.str(), out, row.size, row.encoding), row.ok) << row.what;
    EXPECT_EQ(std::string(out), row.expected) << row.what;
  }
  char out[4] = {'Z', 'Z', 'Z', 'Z'};
  EXPECT_FALSE(CopyStringBytes(nullptr, out, 4, Utf8Id()));
  EXPECT_EQ(out[0], 0);
}

TEST(PlatformStrings, Substring) {
  Held s(CreateStringFromUTF16(W(u"abcdef").c_str(), -1));
  struct Row {
    long start, length;
    bool ok;
    U16 expected;
  };
  const Row rows[] = {
      {0, 6, true, W(u"abcdef")}, {2, 3, true, W(u"cde")}, {6, 0, true, U16()},
      {5, 2, false, U16()},       {-1, 2, false, U16()},   {0, -1, false, U16()},
  };
  for (const Row& row : rows) {
    Held sub(CreateSubstring(s.str(), row.start, row.length));
    EXPECT_EQ(sub.object != nullptr, row.ok) << row.start << "," << row.length;
    if (row.ok) {
      EXPECT_EQ(TextOf(sub.str()), row.expected);
    }
  }
  unsigned short out[3] = {0, 0, 0};
  CopyStringCharacters(s.str(), 1, 2, out);
  EXPECT_EQ(out[0], 'b');
  EXPECT_EQ(out[1], 'c');
  EXPECT_EQ(out[2], 0);
}

// The number readers: leading white space and one sign, then as many digits
// as read; an int saturates, a double past its range is infinite.
TEST(PlatformStrings, NumberValues) {
  const std::pair<const char16_t*, int> ints[] = {
      {u"42", 42},
      {u"  -17xyz", -17},
      {u"+8", 8},
      {u"", 0},
      {u"abc", 0},
      {u"2147483647", INT_MAX},
      {u"2147483648", INT_MAX},
      {u"-2147483648", INT_MIN},
      {u"-99999999999", INT_MIN},
      {u"\t\n 7", 7},
      {u"3.9", 3},
      {u"- 5", 0},
      {u"\uFF15", 0},  // full-width digits are not read
  };
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
