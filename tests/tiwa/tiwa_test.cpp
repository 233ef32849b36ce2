#include "tiwa/tiwa"

#include <cctype>
#include <climits>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/text.h"

namespace {

using vesktest::U16;
using vesktest::W;

std::u16string Back(const unsigned short* p) {
  std::u16string out;
  while (*p != 0) out += static_cast<char16_t>(*p++);
  return out;
}

// Formats through both entry points and checks that they agree: the estimate
// is what the buffer receives, and the result is the count.
std::u16string Format(const char16_t* format, ...) {
  const U16 f = W(format);
  va_list args;
  va_start(args, format);
  const int estimate = tiwa_estimateformatsize(f.c_str(), args);
  std::vector<unsigned short> buffer(static_cast<size_t>(estimate) + 1, 0xEEEE);
  const int written = tiwa_vswprintf(buffer.data(), buffer.size(), f.c_str(), args);
  va_end(args);
  EXPECT_EQ(written, estimate) << std::string(f.begin(), f.end());
  EXPECT_EQ(buffer[static_cast<size_t>(estimate)], 0);
  return std::u16string(buffer.begin(), buffer.begin() + estimate);
}

int FormatInto(unsigned short* buffer, size_t size, const char16_t* format, ...) {
  const U16 f = W(format);
  va_list args;
  va_start(args, format);
  const int written = tiwa_vswprintf(buffer, size, f.c_str(), args);
  va_end(args);
  return written;
}

std::u16string Widen(const std::string& s) { return std::u16string(s.begin(), s.end()); }

TEST(TiwaTables, ClassBitsAndLowerMapMatchTheCLibraryOverAscii) {
  const std::pair<int, int (*)(int)> classes[] = {{0x0100, std::isspace}, {TIWA_UPPER, std::isupper},
                                                  {TIWA_DIGIT, std::isdigit}, {TIWA_PUNCT, std::ispunct},
                                                  {TIWA_CNTRL, std::iscntrl}, {TIWA_XDIGIT, std::isxdigit}};
  for (int c = 0; c < 128; ++c) {
    for (const auto& [bit, is] : classes) EXPECT_EQ((__wctype_mapC[c] & bit) != 0, is(c) != 0) << bit << " " << c;
    EXPECT_EQ(__wlower_mapC[c], std::tolower(c)) << c;
  }
}

TEST(TiwaSpan, SpanBreakAndComplement) {
  // Text, set, span, complement span, break (-1: null).
  const std::tuple<std::u16string_view, std::u16string_view, size_t, size_t, int> rows[] = {
      {u"", u"abc", 0, 0, -1},      {u"abcx", u"abc", 3, 0, 0},  {u"xyzab", u"abc", 0, 3, 3},
      {u"abc", u"", 0, 3, -1},      {u"  \tx", u" \t", 3, 0, 0}, {u"\u00e9\u00e9a", u"\u00e9", 2, 0, 0},
      {u"zz\U0001F600", u"\xD83D", 0, 2, 2}};
  for (const auto& [text_view, set_view, spn, cspn, pbrk] : rows) {
    const U16 text = W(text_view), set = W(set_view);
    EXPECT_EQ(tiwa_wcsspn(text.c_str(), set.c_str()), spn);
    EXPECT_EQ(tiwa_wcscspn(text.c_str(), set.c_str()), cspn);
    const unsigned short* hit = tiwa_wcspbrk(text.c_str(), set.c_str());
    EXPECT_EQ(hit == nullptr ? -1 : static_cast<int>(hit - text.c_str()), pbrk);
  }
}

TEST(TiwaWcstombs, AsciiInTheCLocaleAndBounds) {
  const U16 text = W(u"abc\u00e9d");
  char out[16];
  std::memset(out, 'X', sizeof out);
  // The C locale has no é: it becomes '?'.
  EXPECT_EQ(tiwa_wcstombs(out, text.c_str(), sizeof out), 5u);
  EXPECT_STREQ(out, "abc?d");
  EXPECT_EQ(tiwa_wcstombs(nullptr, text.c_str(), 0), 5u);
  std::memset(out, 'X', sizeof out);
  EXPECT_EQ(tiwa_wcstombs(out, text.c_str(), 3), 3u);  // full: no terminator
  EXPECT_EQ(std::string(out, 4), "abcX");
  const U16 empty;
  EXPECT_EQ(tiwa_wcstombs(out, empty.c_str(), 4), 0u);
  EXPECT_EQ(out[0], 0);
}

TEST(TiwaWcstombs, Utf8LocaleEncodesPairsAndReplacesLoneHalves) {
  locale_t utf8 = newlocale(LC_CTYPE_MASK, "C.UTF-8", static_cast<locale_t>(0));
  if (utf8 == static_cast<locale_t>(0)) GTEST_SKIP() << "no C.UTF-8 locale";
  locale_t old = uselocale(utf8);
  const U16 text = W(u"\u00e9\U0001F600x");
  const U16 lone = {0xD800, 'a', 0xDC00, 0};
  char out[16];
  const size_t n = tiwa_wcstombs(out, text.c_str(), sizeof out);
  const size_t m = tiwa_wcstombs(nullptr, lone.c_str(), 0);
  const size_t cut = tiwa_wcstombs(out + 8, text.c_str(), 3);  // é fits, the pair does not
  uselocale(old);
  freelocale(utf8);
  EXPECT_EQ(std::string(out, n), "\xC3\xA9\xF0\x9F\x98\x80x");
  EXPECT_EQ(m, 3u);
  EXPECT_EQ(cut, 2u);
}

TEST(TiwaFormat, Conversions) {
  const U16 wide = W(u"w\u00e9de");
  const unsigned short* null_wide = nullptr;
  const char* null_narrow = nullptr;
  const std::pair<std::u16string, std::u16string> rows[] = {
      {Format(u"plain"), u"plain"},
      {Format(u"100%%"), u"100%"},
      {Format(u"[%s]", wide.c_str()), u"[w\u00e9de]"},
      {Format(u"[%hs]", "narrow"), u"[narrow]"},
      {Format(u"[%S]", "narrow"), u"[narrow]"},
      {Format(u"[%.2s|%-6s|%6s]", wide.c_str(), wide.c_str(), wide.c_str()),
       u"[w\u00e9|w\u00e9de  |  w\u00e9de]"},
      {Format(u"[%s|%hs]", null_wide, null_narrow), u"[(null)|(null)]"},
      {Format(u"[%c%c]", 0x263A, 'x'), u"[\u263Ax]"},
      {Format(u"[%C%hc]", 'a', 'b'), u"[ab]"},
      {Format(u"[%3c|%-3c]", 'a', 'b'), u"[  a|b  ]"},
      {Format(u"%#x %#X %#o %08.3d", 255u, 255u, 8u, 7), u"0xff 0XFF 010      007"},
      {Format(u"%#010x", 255u), u"0x000000ff"},
      {Format(u"%*d|%-*d|%.*d", 4, 1, 4, 2, 3, 3), u"   1|2   |003"},
      {Format(u"%*d", -3, 1), u"1  "},
      {Format(u"%hhd %hd %ld %lld %I64d %zu", 300, 70000, -1L, -2LL, -3LL, size_t{9}), u"44 4464 -1 -2 -3 9"},
      {Format(u"%010f", 1.0 / 0.0), u"       inf"},
      {Format(u"%Lf", 1.5L), u"1.500000"},
      {Format(u"%.0d|%.0x", 0, 0u), u"|"},
      {Format(u"%y%d", 5), u"%y5"},
      {Format(u"end%"), u"end%"},
      {Format(u"end%-5"), u"end%-5"},
  };
  for (const auto& [got, expected] : rows) EXPECT_EQ(got, expected);
}

TEST(TiwaFormat, NumbersAgreeWithTheCLibrary) {
  const long long values[] = {0, 1, -1, 9, 10, 99, -100, INT_MAX, INT_MIN, LLONG_MAX, LLONG_MIN};
  const char* formats[] = {"%lld",    "%20lld", "%-20lld|", "%020lld", "%+lld",
                           "% .5lld", "%llx",   "%#llo",    "%.0lld"};
  for (const char* f : formats) {
    for (long long v : values) {
      char expected[64];
      std::snprintf(expected, sizeof expected, f, v);
      const std::u16string wide_format = Widen(f);
      EXPECT_EQ(Format(wide_format.c_str(), v), Widen(expected)) << f << " " << v;
    }
  }
  const double doubles[] = {0.0, -0.0, 0.5, 1.0 / 3, 1e300, -2.5e-300, 123456.789};
  const char* double_formats[] = {"%f", "%.3e", "%g", "%12.4g", "%-12.2f|", "%+a", "%015.3f", "%#.0f"};
  for (const char* f : double_formats) {
    for (double v : doubles) {
      char expected[512];
      std::snprintf(expected, sizeof expected, f, v);
      const std::u16string wide_format = Widen(f);
      EXPECT_EQ(Format(wide_format.c_str(), v), Widen(expected)) << f << " " << v;
    }
  }
}

TEST(TiwaFormat, CountStoresUnitsSoFar) {
  int n = -1;
  short h = -1;
  EXPECT_EQ(Format(u"ab%ncd%hn", &n, &h), u"abcd");
  EXPECT_EQ(n, 2);
  EXPECT_EQ(h, 4);
}

TEST(TiwaFormat, TruncationAndSmallBuffers) {
  unsigned short buffer[8];
  std::fill(std::begin(buffer), std::end(buffer), 0xEEEE);
  EXPECT_EQ(FormatInto(buffer, 4, u"%d", 123456), -1);
  EXPECT_EQ(Back(buffer), u"123");
  EXPECT_EQ(buffer[4], 0xEEEE);
  EXPECT_EQ(FormatInto(buffer, 4, u"abc"), 3);
  EXPECT_EQ(FormatInto(buffer, 1, u"abc"), -1);
  EXPECT_EQ(buffer[0], 0);
  buffer[0] = 0xEEEE;
  EXPECT_EQ(FormatInto(buffer, 0, u"abc"), -1);
  EXPECT_EQ(buffer[0], 0xEEEE);
}

TEST(TiwaFormat, HugeWidthsAreCountedWithoutBeingBuilt) {
  const U16 f = W(u"%2000000000d");
  auto estimate = [&](const unsigned short* format, ...) {
    va_list args;
    va_start(args, format);
    const int n = tiwa_estimateformatsize(format, args);
    va_end(args);
    return n;
  };
  EXPECT_EQ(estimate(f.c_str(), 1), 2000000000);
  const U16 g = W(u"%2000000000d%2000000000d");
  EXPECT_EQ(estimate(g.c_str(), 1, 2), INT_MAX);
  unsigned short buffer[4];
  EXPECT_EQ(FormatInto(buffer, 4, u"%2000000000d", 1), -1);
  EXPECT_EQ(Back(buffer), u"   ");
}

}  // namespace
