#include "vesk/string/cstring"

#include <cstring>
#include <memory>
#include <string>
#include <tuple>
#include <utility>

#include <gtest/gtest.h>

#include "tests/string/string_test_support.h"

// The texts that editing, cutting, searching and trimming give are checked
// against std::u16string by the model test; these tables hold what the model
// does not see: double-byte mode, sharing, separators given as strings, sets.

namespace {

using cstest::Count;
using cstest::CText;
using cstest::Make;
using cstest::Text;
using cstest::W;

const unsigned short* P(const CString& s) { return s; }

// Turns the double-byte mode on for a scope, with lead bytes 0x81 to 0x9F.
class DoubleByteScope {
 public:
  DoubleByteScope() {
    std::memcpy(saved_, IntlInfo::s_leadByteTable, sizeof saved_);
    for (int b = 0x81; b <= 0x9F; ++b) IntlInfo::s_leadByteTable[b] = 1;
    IntlInfo::s_doubleByte = true;
  }
  ~DoubleByteScope() {
    IntlInfo::s_doubleByte = false;
    std::memcpy(IntlInfo::s_leadByteTable, saved_, sizeof saved_);
  }

 private:
  unsigned char saved_[256];
};

TEST(CStringParts, SeparatorsAndRanges) {
  // A char separator of 0x80 and above never matches U+00E9, but the
  // sign-extended unit is found.
  EXPECT_EQ(Make(u"a\u00e9b").GetPartCount('\xe9'), 1);
  EXPECT_EQ(Text(Make(u"a\uffe9b").GetPart('\xe9', 0)), u"a");
  const std::pair<std::u16string_view, std::u16string_view> last[] = {
      {u"a\uffe9b", u"b"}, {u"abc", u"abc"}, {u"a,b,", u""}, {u",x", u"x"}};
  for (const auto& [text, part] : last)
    EXPECT_EQ(Text(Make(text).GetLastPart(text[1] == 0xffe9 ? '\xe9' : ',')), part);

  const CString sep = Make(u"::");
  const std::tuple<std::u16string_view, int, int, std::u16string_view, std::u16string_view> rows[] = {
      {u"a::b", 2, 1, u"b", u"b"},   {u"a::b", 2, 2, u"", u"b"},     {u"a::b", 2, -1, u"", u"b"},
      {u"", 1, 0, u"", u""},         {u"a:::b", 2, 1, u":b", u":b"}, {u"::::", 3, 1, u"", u""},
      {u"x::", 2, 1, u"", u""},      {u"plain", 1, 0, u"plain", u"plain"},
  };
  for (const auto& [text, count, index, part, last_part] : rows) {
    const CString s = Make(text);
    EXPECT_EQ(s.GetPartCount(sep), count) << vesktest::HexW(text);
    EXPECT_EQ(Text(s.GetPart(sep, index)), part) << vesktest::HexW(text);
    EXPECT_EQ(Text(s.GetLastPart(sep)), last_part) << vesktest::HexW(text);
  }
  // An empty separator matches nowhere.
  EXPECT_EQ(Make(u"abc").GetPartCount(CString()), 1);
  EXPECT_EQ(Text(Make(u"abc").GetLastPart(CString())), u"abc");

  const CString comma = Make(u",");
  const std::tuple<std::u16string_view, int, int, std::u16string_view> ranges[] = {
      {u"a,b,c,d", 1, 3, u"b,c"}, {u"a,b,c", 1, 1, u"b"},   {u"a,b,c", 1, 2, u"b"},
      {u"a,b,c", 1, -1, u"b,c"},  {u"a,b,c", 2, 1, u""},    {u"a,b,c", 0, 3, u"a,b,c"},
      {u"a,b,c", 0, 2, u"a,b"},   {u"a,b,c", 2, 5, u"c,,"}, {u"a,b,c", 3, 3, u""},
      {u",a,", 0, -1, u",a,"},    {u",a,", 1, 3, u"a,"},
  };
  for (const auto& [text, first, to, expected] : ranges) {
    EXPECT_EQ(Text(Make(text).GetPartRange(',', first, to)), expected) << first << " " << to;
    EXPECT_EQ(Text(Make(text).GetPartRange(comma, first, to)), expected) << first << " " << to;
  }
  const CString whole = Make(u"a,b");
  EXPECT_EQ(P(whole.GetPartRange(',', 0, -1)), P(whole));  // shared, not copied
  EXPECT_EQ(Text(Make(u"a::b::c").GetPartRange(Make(u"::"), 1, -1)), u"b::c");
}

TEST(CStringFind, ReverseFindOneOfAndCompareNoCase) {
  const CString abc = Make(u"abcabc"), inner = Make(std::u16string(u"ab\0cd", 5)), nil;
  const std::tuple<const CString*, char16_t, int, int> units[] = {  // string, unit, ReverseFind, Find
      {&abc, u'c', 5, 2}, {&abc, u'z', -1, -1}, {&abc, 0, 6, 6}, {&inner, u'd', -1, -1},
      {&inner, u'c', -1, -1}, {&inner, 0, 2, 2}, {&nil, 0, 0, -1}};
  for (const auto& [s, unit, reverse, forward] : units) {
    EXPECT_EQ(s->ReverseFind(unit), reverse) << static_cast<int>(unit);
    EXPECT_EQ(s->Find(unit), forward) << static_cast<int>(unit);
  }

  const CString s = Make(u"hello, world");
  const cstest::U16 set = W(u",w"), none = W(u"xyz"), empty;
  for (int mode = 0; mode < 2; ++mode) {
    std::unique_ptr<DoubleByteScope> scope(mode == 1 ? new DoubleByteScope : nullptr);
    EXPECT_EQ(s.FindOneOf(set.c_str()), 5);
    EXPECT_EQ(s.FindOneOf(none.c_str()), -1);
    EXPECT_EQ(s.FindOneOf(empty.c_str()), -1);
    EXPECT_EQ(s.FindOneOf(nullptr), -1);
  }
  // '[' (0x5B) is below 'a' once 'A' folds; only ASCII folds.
  const std::tuple<std::u16string_view, std::u16string_view, int> rows[] = {
      {u"Hello", u"hELLO", 0}, {u"abc", u"abd", -1}, {u"abd", u"ABC", 1},       {u"ab", u"abc", -1},
      {u"", u"", 0},           {u"[", u"a", -1},     {u"[", u"A", -1},          {u"\u00c9", u"\u00e9", -1}};
  for (const auto& [a, b, expected] : rows)
    EXPECT_EQ(Make(a).CompareNoCase(W(b).c_str()), expected) << vesktest::HexW(a) << "/ " << vesktest::HexW(b);
}

TEST(CStringFind, TextInBothModes) {
  const cstest::U16 empty_text, ca = W(u"ca"), zz = W(u"zz");
  const CString s = Make(u"abcabc");
  const CString none;
  const CString starts_with_zero = Make(std::u16string(u"\0x", 2));
  const struct {
    const CString* s;
    const unsigned short* text;
    int start;  // -2: the form without start
    int normal, double_byte;
  } rows[] = {
      {&s, ca.c_str(), -2, 2, 2},
      {&s, zz.c_str(), -2, -1, -1},
      {&s, ca.c_str(), 3, -1, -1},
      {&s, empty_text.c_str(), -2, 0, 0},
      {&none, empty_text.c_str(), -2, 0, -1},
      {&s, empty_text.c_str(), 6, 6, -1},
      {&s, empty_text.c_str(), 2, 2, 2},
      {&s, empty_text.c_str(), 7, -1, -1},
      {&s, nullptr, -2, 0, 0},
      {&starts_with_zero, empty_text.c_str(), -2, 0, -1},
      {&s, ca.c_str(), -1, -1, -1},
  };
  for (int mode = 0; mode < 2; ++mode) {
    std::unique_ptr<DoubleByteScope> scope(mode == 1 ? new DoubleByteScope : nullptr);
    for (size_t i = 0; i < std::size(rows); ++i) {
      const auto& row = rows[i];
      const int got = row.start == -2 ? row.s->Find(row.text) : row.s->Find(row.text, row.start);
      EXPECT_EQ(got, mode == 0 ? row.normal : row.double_byte) << "row " << i << " mode " << mode;
      if (row.start == -2) {
        const unsigned short* hit = _mbsstr(*row.s, row.text);
        EXPECT_EQ(hit == nullptr ? -1 : static_cast<int>(hit - P(*row.s)), got) << "row " << i;
      }
    }
  }
}

TEST(CStringCut, WholeCutsShareTheBuffer) {
  const CString s = Make(u"abcde");
  const std::pair<CString, bool> rows[] = {
      {s.Mid(0, 5), true},    {s.Mid(-1), true},       {s.Left(5), true},     {s.Right(9), true},
      {s.RightMost(0), true}, {s.RightMost(-2), true}, {s.Mid(1, 4), false},  {s.Left(4), false},
      {s.Right(4), false},    {s.RightMost(1), false},
  };
  for (size_t i = 0; i < std::size(rows); ++i) {
    EXPECT_EQ(P(rows[i].first) == P(s), rows[i].second) << "row " << i;
    EXPECT_SOUND(rows[i].first);
  }
}

TEST(CStringCut, SpansAndTokens) {
  const CString s = Make(u"aabbc");
  const cstest::U16 ab = W(u"ab"), c = W(u"c"), comma = W(u","), empty;
  EXPECT_EQ(Text(s.SpanIncluding(ab.c_str())), u"aabb");
  EXPECT_EQ(Text(s.SpanIncluding(c.c_str())), u"");
  EXPECT_EQ(Text(s.SpanExcluding(c.c_str())), u"aabb");
  EXPECT_EQ(P(s.SpanExcluding(empty.c_str())), P(s));

  const CString list = Make(u",a,,b");
  const std::pair<std::u16string_view, int> expected[] = {{u"a", 3}, {u"b", 6}, {u"", -1}, {u"", -1}};
  int start = 0;  // -1 again ends at once
  for (const auto& [token, next] : expected) {
    EXPECT_EQ(Text(list.Tokenize(comma.c_str(), start)), token);
    EXPECT_EQ(start, next);
  }
  start = 2;
  EXPECT_EQ(P(list.Tokenize(nullptr, start)), P(list));
  EXPECT_EQ(start, 2);
  start = 1;
  EXPECT_EQ(Text(list.Tokenize(empty.c_str(), start)), u"a,,b");
  EXPECT_EQ(start, 6);
  start = 0;
  EXPECT_EQ(Text(Make(u",,,").Tokenize(comma.c_str(), start)), u"");
  EXPECT_EQ(start, -1);
}

TEST(CStringEdit, WhatIsSharedAfterAnEdit) {
  // Growing across a class, and inserting a string into itself.
  CString big = Make(std::u16string(64, u'x'));
  big.Insert(10, static_cast<unsigned short>(u'y'));
  EXPECT_EQ(cstest::Capacity(big), 128);
  CString self = Make(u"abc");
  self.Insert(1, P(self));
  EXPECT_EQ(Text(self), u"aabcbc");
  // Null or empty text, an empty cut or one past the end: nothing unshared.
  CString shared = Make(u"abcd");
  CString other(shared);
  EXPECT_EQ(shared.Insert(1, static_cast<const unsigned short*>(nullptr)), 4);
  EXPECT_EQ(shared.Delete(4, 1), 4);
  EXPECT_EQ(shared.Delete(1, 0), 4);
  EXPECT_EQ(Count(shared), 2);
  // Replacing a unit by itself unshares nothing; any other pair unshares, even
  // with no match, and so does Remove.
  EXPECT_EQ(shared.Replace(u'a', u'a'), 0);
  EXPECT_EQ(Count(shared), 2);
  EXPECT_EQ(shared.Replace(u'x', u'y'), 0);
  EXPECT_EQ(Count(other), 1);
  CString third(other);
  EXPECT_EQ(third.Remove(u'x'), 0);
  EXPECT_EQ(Count(other), 1);
  third = other;
  // Replacing text that is not there, or nothing, leaves the buffer shared.
  const cstest::U16 x = W(u"x"), empty, bc = W(u"bc");
  EXPECT_EQ(third.Replace(x.c_str(), x.c_str()), 0);
  EXPECT_EQ(third.Replace(nullptr, x.c_str()), 0);
  EXPECT_EQ(third.Replace(empty.c_str(), x.c_str()), 0);
  EXPECT_EQ(Count(other), 2);
  // A null replacement deletes; arguments from the string itself are safe.
  EXPECT_EQ(third.Replace(bc.c_str(), nullptr), 1);
  EXPECT_EQ(Text(third), u"ad");
  CString abab = Make(u"abab");
  EXPECT_EQ(abab.Replace(P(abab) + 2, P(abab)), 2);
  EXPECT_EQ(Text(abab), u"abababab");
}

TEST(CStringEdit, CaseInDoubleByteMode) {
  DoubleByteScope scope;
  // A unit whose low byte is a lead byte keeps itself and the next unit,
  // even in ordinary UTF-16 text (U+3081 has low byte 0x81).
  CString d = Make(u"a\u3081bc\x0085" u"de");
  d.MakeUpper();
  EXPECT_EQ(Text(d), u"A\u3081bC\x0085" u"dE");
}

TEST(CStringTrim, UnitsAndSets) {
  const cstest::U16 xy = W(u"xy"), empty;
  const std::pair<CString, std::u16string> rows[] = {
      {Make(u"xxaxx").TrimLeft(u'x'), u"axx"},       {Make(u"xxaxx").TrimRight(u'x'), u"xxa"},
      {Make(u"xyaxy").TrimLeft(xy.c_str()), u"axy"}, {Make(u"xyaxy").TrimRight(xy.c_str()), u"xya"},
      {Make(u"xyxy").TrimLeft(xy.c_str()), u""},     {Make(u"xya").TrimLeft(empty.c_str()), u"xya"},
      {Make(u"axy").TrimRight(nullptr), u"axy"},     {Make(u"abc").TrimLeft(u'\0'), u"abc"},
      {Make(u" \v\f\r").Trim(), u""},                {Make(u" a \t").Trim(), u"a"},
  };
  for (const auto& [got, expected] : rows) EXPECT_EQ(Text(got), expected);
  // TrimLeft with an empty set returns before unsharing; TrimRight does not.
  CString a = Make(u"abc");
  CString b(a);
  b.TrimLeft(empty.c_str());
  EXPECT_EQ(Count(a), 2);
  b.TrimRight(empty.c_str());
  EXPECT_EQ(Count(a), 1);
}

TEST(CStringFreeFunctions, CaseWidenAndNumbers) {
  cstest::U16 text = W(u"MiXeD \u00c9");
  EXPECT_EQ(CharLower(&text[0]), &text[0]);
  EXPECT_EQ(CText(text.c_str()), u"mixed \u00c9");  // the C locale folds ASCII only
  CharUpper(&text[0]);
  EXPECT_EQ(CText(text.c_str()), u"MIXED \u00c9");

  // Widening in place: the bytes sit at the start of the target buffer.
  unsigned short buffer[8] = {};
  std::memcpy(buffer, "ab\x80\xff", 4);
  inflateAsciiToLPTSTR(reinterpret_cast<const char*>(buffer), buffer, 4);
  const unsigned short widened[] = {u'a', u'b', 0xFF80, 0xFFFF, 0};
  EXPECT_EQ(std::memcmp(buffer, widened, sizeof widened), 0);

  char out[16] = "untouched";
  EXPECT_EQ(_ltoa(-123, out, 10), out);
  EXPECT_STREQ(out, "-123");
  std::strcpy(out, "untouched");
  _ltoa(255, out, 16);
  EXPECT_STREQ(out, "untouched");
  EXPECT_EQ(itoa(5, out, 1), out);
  EXPECT_STREQ(out, "");
  itoa(-42, out, sizeof out);
  EXPECT_STREQ(out, "-42");
  itoa(12345, out, 3);
  EXPECT_STREQ(out, "12");
}

}  // namespace
