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
  CString s;
  s.Format(W(u"%s=%d (%hs) %5.2f|%c").c_str(), W(u"n\u00e4me").c_str(), 42, "narrow", 3.14159, 0x263A);
  EXPECT_EQ(Text(s), u"n\u00e4me=42 (narrow)  3.14|\u263A");
  s.Format(W(u"a%cb").c_str(), 0);  // a zero unit ends the text
  EXPECT_EQ(Text(s), u"a");
  s.Format(1234u, 99);  // a number that no store knows stands for its own digits
  EXPECT_EQ(Text(s), u"1234");
  s = Make(u"<%d>");
  s.Format(static_cast<const unsigned short*>(s), 5);  // from its own text
  EXPECT_EQ(Text(s), u"<5>");
  EXPECT_SOUND(s);
}

TEST(CStringFormat, LongOutputAndSharedTargets) {
  CString s = Make(u"old");
  CString other(s);
  s.Format(W(u"%0600d").c_str(), 7);
  EXPECT_EQ(Text(s), std::u16string(599, u'0') + u"7");
  EXPECT_EQ(Text(other), u"old");
  EXPECT_EQ(Count(other), 1);
  EXPECT_SOUND(s);
}

TEST(CStringFormat, FormatMessageDoesNothing) {
  CString s = Make(u"kept");
  const unsigned short* before = s;
  s.FormatMessage(W(u"%1 and %2").c_str(), 1, 2);
  s.FormatMessage(17u, 1, 2);
  EXPECT_EQ(Text(s), u"kept");
  EXPECT_EQ(static_cast<const unsigned short*>(s), before);
}

}  // namespace
