#include "vesk/string/cstring"

#include <cstring>
#include <string>

#include <gtest/gtest.h>

#include "tests/string/string_test_support.h"

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

TEST(CStringParts, CharSeparator) {
  const struct {
    std::u16string_view text;
    char separator;
    int count;
    int index;
    std::u16string_view part;
    std::u16string_view last;
  } rows[] = {
      {u"a,b,", ',', 3, 2, u"", u""},
      {u"a,b,", ',', 3, 1, u"b", u""},
      {u"", ',', 1, 0, u"", u""},
      {u"", ',', 1, 1, u"", u""},
      {u"abc", ',', 1, 0, u"abc", u"abc"},
      {u"abc", ',', 1, -1, u"", u"abc"},
      {u",x", ',', 2, 0, u"", u"x"},
      {u"a.b.c", '.', 3, 2, u"c", u"c"},
      {u"a\u00e9b", '\xe9', 1, 0, u"a\u00e9b", u"a\u00e9b"},  // 0x80 and above never match
      {u"a\uffe9b", '\xe9', 1, 0, u"a", u"b"},                // but the sign-extended unit is found
  };
  for (const auto& row : rows) {
    const CString s = Make(row.text);
    EXPECT_EQ(s.GetPartCount(row.separator), row.count) << std::u16string(row.text).size();
    EXPECT_EQ(Text(s.GetPart(row.separator, row.index)), row.part);
    EXPECT_EQ(Text(s.GetLastPart(row.separator)), row.last);
  }
}

TEST(CStringParts, StringSeparator) {
  const CString sep = Make(u"::");
  const struct {
    std::u16string_view text;
    int count;
    int index;
    std::u16string_view part;
    std::u16string_view last;
  } rows[] = {
      {u"a::b", 2, 0, u"a", u"b"},    {u"a::b", 2, 1, u"b", u"b"}, {u"a::b", 2, 2, u"", u"b"},
      {u"a::b", 2, -1, u"", u"b"},    {u"", 1, 0, u"", u""},       {u"a:::b", 2, 1, u":b", u":b"},
      {u"::::", 3, 1, u"", u""},      {u"x::", 2, 1, u"", u""},    {u"plain", 1, 0, u"plain", u"plain"},
      {u"a::b::c", 3, 2, u"c", u"c"},
  };
  for (const auto& row : rows) {
    const CString s = Make(row.text);
    EXPECT_EQ(s.GetPartCount(sep), row.count) << std::string(row.text.begin(), row.text.end());
    EXPECT_EQ(Text(s.GetPart(sep, row.index)), row.part) << std::string(row.text.begin(), row.text.end());
    EXPECT_EQ(Text(s.GetLastPart(sep)), row.last) << std::string(row.text.begin(), row.text.end());
  }
  // An empty separator matches nowhere.
  EXPECT_EQ(Make(u"abc").GetPartCount(CString()), 1);
  EXPECT_EQ(Text(Make(u"abc").GetLastPart(CString())), u"abc");
}

TEST(CStringParts, Ranges) {
  const CString comma = Make(u",");
  const struct {
    std::u16string_view text;
    int first, last;
    std::u16string_view expected;
  } rows[] = {
      {u"a,b,c,d", 1, 3, u"b,c"}, {u"a,b,c", 1, 1, u"b"},   {u"a,b,c", 1, 2, u"b"},
      {u"a,b,c", 1, -1, u"b,c"},  {u"a,b,c", 2, 1, u""},    {u"a,b,c", 0, -1, u"a,b,c"},
      {u"a,b,c", 0, 3, u"a,b,c"}, {u"a,b,c", 0, 2, u"a,b"}, {u"a,b,c", 2, 5, u"c,,"},
      {u"a,b,c", 3, 3, u""},      {u",a,", 0, -1, u",a,"},  {u",a,", 1, 3, u"a,"},
  };
  for (const auto& row : rows) {
    const CString s = Make(row.text);
    EXPECT_EQ(Text(s.GetPartRange(',', row.first, row.last)), row.expected) << row.first << " " << row.last;
    EXPECT_EQ(Text(s.GetPartRange(comma, row.first, row.last)), row.expected) << row.first << " " << row.last;
  }
  const CString whole = Make(u"a,b");
  EXPECT_EQ(P(whole.GetPartRange(',', 0, -1)), P(whole));  // shared, not copied
  EXPECT_EQ(Text(Make(u"a::b::c").GetPartRange(Make(u"::"), 1, -1)), u"b::c");
}

TEST(CStringFind, Units) {
  const CString abc = Make(u"abcabc");
  const CString inner = Make(std::u16string(u"ab\0cd", 5));
  const CString empty;
  const struct {
    int got, expected;
  } rows[] = {
      {abc.Find(u'b'), 1},      {abc.Find(u'z'), -1},          {abc.Find(u'b', 2), 4},
      {abc.Find(u'b', 6), -1},  {abc.Find(u'a', -1), -1},      {abc.Find(u'\0'), 6},
      {empty.Find(u'\0'), -1},  {inner.Find(u'c'), -1},        {inner.Find(u'\0'), 2},
      {inner.Find(u'd', 3), 4}, {abc.ReverseFind(u'c'), 5},    {abc.ReverseFind(u'z'), -1},
      {abc.ReverseFind(0), 6},  {inner.ReverseFind(u'd'), -1}, {empty.ReverseFind(0), 0},
  };
  for (size_t i = 0; i < sizeof rows / sizeof rows[0]; ++i)
    EXPECT_EQ(rows[i].got, rows[i].expected) << "row " << i;
}

TEST(CStringFind, TextInBothModes) {
  const cstest::U16 empty_text, ca = W(u"ca"), zz = W(u"zz");
  const CString s = Make(u"abcabc");
  const CString none;
  const CString starts_with_zero = Make(std::u16string(u"\0x", 2));
  struct Row {
    const CString* s;
    const unsigned short* text;
    int start;  // -2: the form without start
    int normal, double_byte;
  };
  const Row rows[] = {
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
    for (size_t i = 0; i < sizeof rows / sizeof rows[0]; ++i) {
      const Row& row = rows[i];
      const int got = row.start == -2 ? row.s->Find(row.text) : row.s->Find(row.text, row.start);
      EXPECT_EQ(got, mode == 0 ? row.normal : row.double_byte) << "row " << i << " mode " << mode;
      if (row.start == -2) {
        const unsigned short* hit = _mbsstr(*row.s, row.text);
        EXPECT_EQ(hit == nullptr ? -1 : static_cast<int>(hit - P(*row.s)), got) << "row " << i;
      }
    }
  }
}

TEST(CStringFind, FindOneOfAndCompareNoCase) {
  const CString s = Make(u"hello, world");
  const cstest::U16 set = W(u",w"), none = W(u"xyz"), empty;
  for (int mode = 0; mode < 2; ++mode) {
    std::unique_ptr<DoubleByteScope> scope(mode == 1 ? new DoubleByteScope : nullptr);
    EXPECT_EQ(s.FindOneOf(set.c_str()), 5);
    EXPECT_EQ(s.FindOneOf(none.c_str()), -1);
    EXPECT_EQ(s.FindOneOf(empty.c_str()), -1);
    EXPECT_EQ(s.FindOneOf(nullptr), -1);
  }
  const struct {
    std::u16string_view a, b;
    int expected;
  } rows[] = {
      {u"Hello", u"hELLO", 0},    {u"abc", u"abd", -1}, {u"abd", u"ABC", 1},
      {u"ab", u"abc", -1},        {u"", u"", 0},        {u"[", u"a", -1},
      {u"[", u"A", -1},            // '[' (0x5B) is below 'a' once 'A' folds
      {u"\u00c9", u"\u00e9", -1},  // only ASCII folds
  };
  for (const auto& row : rows) {
    const cstest::U16 b = W(row.b);
    EXPECT_EQ(Make(row.a).CompareNoCase(b.c_str()), row.expected)
        << std::string(row.a.begin(), row.a.end()) << " " << std::string(row.b.begin(), row.b.end());
  }
}

TEST(CStringCut, MidLeftRightRightMost) {
  const CString s = Make(u"abcde");
  const struct {
    CString got;
    std::u16string_view expected;
    bool shared;
  } rows[] = {
      {s.Mid(1, 2), u"bc", false},       {s.Mid(-3, 2), u"ab", false}, {s.Mid(3, 99), u"de", false},
      {s.Mid(9, 2), u"", false},         {s.Mid(2, -1), u"", false},   {s.Mid(0, 5), u"abcde", true},
      {s.Mid(2), u"cde", false},         {s.Mid(-1), u"abcde", true},  {s.Mid(5), u"", false},
      {s.Left(2), u"ab", false},         {s.Left(-1), u"", false},     {s.Left(5), u"abcde", true},
      {s.Right(2), u"de", false},        {s.Right(9), u"abcde", true}, {s.Right(-4), u"", false},
      {s.RightMost(2), u"cde", false},   {s.RightMost(9), u"", false}, {s.RightMost(0), u"abcde", true},
      {s.RightMost(-2), u"abcde", true},
  };
  for (size_t i = 0; i < sizeof rows / sizeof rows[0]; ++i) {
    EXPECT_EQ(Text(rows[i].got), rows[i].expected) << "row " << i;
    EXPECT_EQ(P(rows[i].got) == P(s), rows[i].shared) << "row " << i;
    EXPECT_SOUND(rows[i].got);
  }
  const CString inner = Make(std::u16string(u"a\0b\0c", 5));
  EXPECT_EQ(Text(inner.Mid(1, 3)), std::u16string(u"\0b\0", 3));  // cuts count units, not text
}

TEST(CStringCut, SpansAndTokens) {
  const CString s = Make(u"aabbc");
  const cstest::U16 ab = W(u"ab"), c = W(u"c"), comma = W(u","), empty;
  EXPECT_EQ(Text(s.SpanIncluding(ab.c_str())), u"aabb");
  EXPECT_EQ(Text(s.SpanIncluding(c.c_str())), u"");
  EXPECT_EQ(Text(s.SpanExcluding(c.c_str())), u"aabb");
  EXPECT_EQ(P(s.SpanExcluding(empty.c_str())), P(s));

  const CString list = Make(u",a,,b");
  const struct {
    std::u16string_view token;
    int start;
  } expected[] = {{u"a", 3}, {u"b", 6}, {u"", -1}};
  int start = 0;
  for (const auto& step : expected) {
    EXPECT_EQ(Text(list.Tokenize(comma.c_str(), start)), step.token);
    EXPECT_EQ(start, step.start);
  }
  EXPECT_EQ(Text(list.Tokenize(comma.c_str(), start)), u"");  // -1 again ends at once
  EXPECT_EQ(start, -1);
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

TEST(CStringEdit, InsertAndDelete) {
  const struct {
    std::u16string_view text;
    int index;
    std::u16string_view insert;
    std::u16string_view expected;
  } rows[] = {
      {u"abc", 1, u"XY", u"aXYbc"},
      {u"abc", -5, u"X", u"Xabc"},
      {u"abc", 9, u"X", u"abcX"},
      {u"", 0, u"X", u"X"},
  };
  for (const auto& row : rows) {
    CString s = Make(row.text);
    const cstest::U16 insert = W(row.insert);
    EXPECT_EQ(s.Insert(row.index, insert.c_str()), static_cast<int>(row.expected.size()));
    EXPECT_EQ(Text(s), row.expected);
    CString t = Make(row.text);
    if (row.insert.size() == 1) {
      EXPECT_EQ(t.Insert(row.index, static_cast<unsigned short>(row.insert[0])),
                static_cast<int>(row.expected.size()));
      EXPECT_EQ(Text(t), row.expected);
    }
    EXPECT_SOUND(s);
  }
  // Growing across a class, and inserting a string into itself.
  CString big = Make(std::u16string(64, u'x'));
  big.Insert(10, static_cast<unsigned short>(u'y'));
  EXPECT_EQ(cstest::Capacity(big), 128);
  EXPECT_EQ(Text(big), std::u16string(10, u'x') + u"y" + std::u16string(54, u'x'));
  CString self = Make(u"abc");
  self.Insert(1, P(self));
  EXPECT_EQ(Text(self), u"aabcbc");
  // Null or empty text changes nothing and unshares nothing.
  CString shared = Make(u"abc");
  CString other(shared);
  EXPECT_EQ(shared.Insert(1, static_cast<const unsigned short*>(nullptr)), 3);
  EXPECT_EQ(Count(shared), 2);

  CString d = Make(u"abcd");
  EXPECT_EQ(d.Delete(1, 2), 4);
  EXPECT_EQ(Text(d), u"ad");
  CString e = Make(u"abcd");
  CString e_copy(e);
  EXPECT_EQ(e.Delete(4, 1), 4);
  EXPECT_EQ(e.Delete(1, 0), 4);
  EXPECT_EQ(Count(e), 2);  // no copy made
  EXPECT_EQ(e.Delete(-3, 1), 4);
  EXPECT_EQ(Text(e), u"bcd");
  EXPECT_EQ(e.Delete(1, 99), 3);  // cut at the end
  EXPECT_EQ(Text(e), u"b");
  EXPECT_EQ(Text(e_copy), u"abcd");
}

TEST(CStringEdit, RemoveAndReplaceUnits) {
  CString s = Make(std::u16string(u"a-b-\0-", 6));
  CString copy(s);
  EXPECT_EQ(s.Remove(u'-'), 3);
  EXPECT_EQ(Text(s), std::u16string(u"ab\0", 3));
  EXPECT_EQ(Text(copy), std::u16string(u"a-b-\0-", 6));
  EXPECT_EQ(copy.Replace(u'-', u'+'), 3);
  EXPECT_EQ(Text(copy), std::u16string(u"a+b+\0+", 6));
  // Unsharing happens even when nothing matches, but not for equal units.
  CString a = Make(u"abc");
  CString b(a);
  EXPECT_EQ(b.Replace(u'a', u'a'), 0);
  EXPECT_EQ(Count(a), 2);
  EXPECT_EQ(b.Replace(u'x', u'y'), 0);
  EXPECT_EQ(Count(a), 1);
  CString c(a);
  EXPECT_EQ(c.Remove(u'x'), 0);
  EXPECT_EQ(Count(a), 1);
}

TEST(CStringEdit, ReplaceText) {
  const struct {
    std::u16string text;
    std::u16string_view from, to;
    int count;
    std::u16string expected;
  } rows[] = {
      {u"aaa", u"aa", u"b", 1, u"ba"},
      {u"aba", u"a", u"aa", 2, u"aabaa"},
      {u"abc", u"x", u"y", 0, u"abc"},
      {u"abcabc", u"bc", u"", 2, u"aa"},
      {u"abcabc", u"abc", u"abc", 2, u"abcabc"},
      {std::u16string(u"a\0a", 3), u"a", u"bb", 2, std::u16string(u"bb\0bb", 5)},
      {std::u16string(u"ab\0ba", 5), u"ab", u"X", 1,
       std::u16string(u"X\0ba", 4)},                                            // no match across the zero
      {std::u16string(60, u'a'), u"a", u"bbb", 60, std::u16string(180, u'b')},  // grows past the class
      {std::u16string(40, u'a'), u"a", u"b", 40, std::u16string(40, u'b')},
      {u"xax", u"a", u"abc", 1, u"xabcx"},  // grows in place
  };
  for (const auto& row : rows) {
    CString s = Make(row.text);
    const cstest::U16 from = W(row.from), to = W(row.to);
    EXPECT_EQ(s.Replace(from.c_str(), to.c_str(), 0), row.count);
    EXPECT_EQ(Text(s), row.expected);
    EXPECT_SOUND(s);
  }
  // Nothing found: the buffer stays shared and untouched.
  CString a = Make(u"abc");
  CString b(a);
  const cstest::U16 x = W(u"x"), empty;
  EXPECT_EQ(b.Replace(x.c_str(), x.c_str()), 0);
  EXPECT_EQ(b.Replace(nullptr, x.c_str()), 0);
  EXPECT_EQ(b.Replace(empty.c_str(), x.c_str()), 0);
  EXPECT_EQ(Count(a), 2);
  // A null replacement deletes; arguments from the string itself are safe.
  const cstest::U16 bc = W(u"bc");
  EXPECT_EQ(b.Replace(bc.c_str(), nullptr), 1);
  EXPECT_EQ(Text(b), u"a");
  CString self = Make(u"abab");
  EXPECT_EQ(self.Replace(P(self) + 2, P(self)), 2);
  EXPECT_EQ(Text(self), u"abababab");
}

TEST(CStringEdit, ReverseAndCase) {
  CString r = Make(std::u16string(u"ab\0cd", 5));
  r.MakeReverse();
  EXPECT_EQ(Text(r), std::u16string(u"ba\0cd", 5));
  CString l = Make(std::u16string(u"AbC\0D\u00c9\u0130", 7));
  l.MakeLower();  // all units; the C locale folds ASCII only
  EXPECT_EQ(Text(l), std::u16string(u"abc\0d\u00c9\u0130", 7));
  l.MakeUpper();
  EXPECT_EQ(Text(l), std::u16string(u"ABC\0D\u00c9\u0130", 7));
  {
    DoubleByteScope scope;
    // A unit whose low byte is a lead byte keeps itself and the next unit,
    // even in ordinary UTF-16 text (U+3081 has low byte 0x81).
    CString d = Make(
        u"a\u3081bc\x0085"
        u"de");
    d.MakeUpper();
    EXPECT_EQ(Text(d),
              u"A\u3081bC\x0085"
              u"dE");
  }
  CString n = Make(u"a\u3081b");
  n.MakeUpper();
  EXPECT_EQ(Text(n), u"A\u3081B");
}

TEST(CStringTrim, WhiteSpaceDefinitions) {
  const struct {
    std::u16string text;
    std::u16string left, right, both;
  } rows[] = {
      {u"  a b \t\n", u"a b \t\n", u"  a b", u"a b"},
      {u"\u00a0a\u00a0", u"\u00a0a\u00a0", u"\u00a0a\u00a0", u"\u00a0a\u00a0"},  // C locale: U+00A0 stays
      {u"\x1c x", u"\x1c x", u"\x1c x", u"\x1c x"},                              // not white space to either
      {u" \v\f\r", u"", u"", u""},
      {u"", u"", u"", u""},
      {std::u16string(u" a \0 b ", 7), std::u16string(u"a \0 b ", 6), u" a",
       u"a"},  // the run before the zero takes the rest
      {std::u16string(u"ab\0  ", 5), std::u16string(u"ab\0  ", 5), std::u16string(u"ab\0  ", 5),
       std::u16string(u"ab\0  ", 5)},
  };
  for (const auto& row : rows) {
    CString l = Make(row.text), r = Make(row.text), b = Make(row.text);
    EXPECT_EQ(Text(l.TrimLeft()), row.left);
    EXPECT_EQ(Text(r.TrimRight()), row.right);
    EXPECT_EQ(Text(b.Trim()), row.both);
    EXPECT_SOUND(l);
    EXPECT_SOUND(r);
  }
}

TEST(CStringTrim, UnitsAndSets) {
  const cstest::U16 xy = W(u"xy"), empty;
  const struct {
    CString got;
    std::u16string expected;
  } rows[] = {
      {Make(u"xxaxx").TrimLeft(u'x'), u"axx"},       {Make(u"xxaxx").TrimRight(u'x'), u"xxa"},
      {Make(u"xyaxy").TrimLeft(xy.c_str()), u"axy"}, {Make(u"xyaxy").TrimRight(xy.c_str()), u"xya"},
      {Make(u"xyxy").TrimLeft(xy.c_str()), u""},     {Make(u"xya").TrimLeft(empty.c_str()), u"xya"},
      {Make(u"axy").TrimRight(nullptr), u"axy"},     {Make(u"abc").TrimLeft(u'\0'), u"abc"},
  };
  for (const auto& row : rows) EXPECT_EQ(Text(row.got), row.expected);
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
  EXPECT_EQ(buffer[0], u'a');
  EXPECT_EQ(buffer[1], u'b');
  EXPECT_EQ(buffer[2], 0xFF80);
  EXPECT_EQ(buffer[3], 0xFFFF);
  EXPECT_EQ(buffer[4], 0);

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
