#include "vesk/string/cstring"

#include <string>

#include <gtest/gtest.h>

#include "tests/string/string_test_support.h"

namespace {

using cstest::Count;
using cstest::Make;
using cstest::Text;
using cstest::W;

TEST(CStringFormat, FillsFromArguments) {
  const cstest::U16 format = W(u"%s=%d (%hs) %5.2f|%c");
  const cstest::U16 name = W(u"n\u00e4me");
  CString s;
  s.Format(format.c_str(), name.c_str(), 42, "narrow", 3.14159, 0x263A);
  EXPECT_EQ(Text(s), u"n\u00e4me=42 (narrow)  3.14|\u263A");
  EXPECT_SOUND(s);
}

TEST(CStringFormat, LongOutputAndSharedTargets) {
  const cstest::U16 format = W(u"%0600d");
  CString s = Make(u"old");
  CString other(s);
  s.Format(format.c_str(), 7);
  EXPECT_EQ(s.GetLength(), 600);
  EXPECT_EQ(Text(s), std::u16string(599, u'0') + u"7");
  EXPECT_EQ(Text(other), u"old");
  EXPECT_EQ(Count(other), 1);
  EXPECT_SOUND(s);
}

TEST(CStringFormat, FormatFromOwnText) {
  CString s = Make(u"<%d>");
  s.Format(static_cast<const unsigned short*>(s), 5);
  EXPECT_EQ(Text(s), u"<5>");
}

TEST(CStringFormat, ZeroUnitEndsTheText) {
  const cstest::U16 format = W(u"a%cb");
  CString s;
  s.Format(format.c_str(), 0);
  EXPECT_EQ(Text(s), u"a");
}

TEST(CStringFormat, NumberedFormatWithoutResources) {
  // A number that no store knows stands for its own digits.
  CString s;
  s.Format(1234u, 99);
  EXPECT_EQ(Text(s), u"1234");
}

TEST(CStringFormat, FormatMessageDoesNothing) {
  CString s = Make(u"kept");
  const unsigned short* before = s;
  const cstest::U16 format = W(u"%1 and %2");
  s.FormatMessage(format.c_str(), 1, 2);
  s.FormatMessage(17u, 1, 2);
  EXPECT_EQ(Text(s), u"kept");
  EXPECT_EQ(static_cast<const unsigned short*>(s), before);
}

}  // namespace
