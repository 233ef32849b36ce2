// Escape and Unescape read sixteen bytes at a time, with overlapping and
// byte-wise ends. These put members and escapes (well formed or not) at
// every place of texts up to 50 bytes, alone and in pairs, and compare with
// a byte-at-a-time reading.
#include "vesk/uri/uri"

#include <gtest/gtest.h>

#include <string>

namespace {

using Vesk::URI;

// Filler of `size` bytes with nothing to escape or unescape, high bytes among them.
std::string Filler(size_t size) {
  static const std::string kBytes =
      "ab/c-9.Z_~\xC3\xA9"
      "d!$&'()*+,;=";
  std::string text;
  for (size_t i = 0; i < size; ++i) text.push_back(kBytes[i % kBytes.size()]);
  return text;
}

// Unescape one byte at a time, as the rules read.
std::string UnescapeBytewise(const std::string& text, bool highBytesOnly) {
  std::string out;
  for (size_t i = 0; i < text.size();) {
    char c = text[i];
    int n = 1;
    if (c == '%' && text.size() - i >= 3) n = URI::ParseHex(text.substr(i, 3), c);
    if (highBytesOnly && static_cast<signed char>(c) >= 0) {
      out.append(text, i, static_cast<size_t>(n));
    } else {
      out.push_back(c);
    }
    i += static_cast<size_t>(n);
  }
  return out;
}

// Every text of up to 50 bytes with `first` at one place and `second` at the
// same or a later one.
template <typename Check>
void EveryPlacing(const std::string& first, const std::string& second, Check check) {
  for (size_t size = 0; size <= 50; ++size) {
    for (size_t a = 0; a + first.size() <= size; ++a) {
      for (size_t b = a + first.size(); b + second.size() <= size + 1; b += 3) {
        std::string text = Filler(size);
        text.replace(a, first.size(), first);
        if (b + second.size() <= size) text.replace(b, second.size(), second);
        check(text);
      }
    }
  }
}

TEST(BlockEdges, EscapeAgreesWithTheSlowPath) {
  for (const char* member : {" ", "%", "\x7F", "\x01", "}"}) {
    EveryPlacing(member, "#", [](const std::string& text) {
      ASSERT_EQ(URI::Escape(text), URI::EscapeChars(text, URI::URIexcluded)) << text;
      ASSERT_EQ(URI::QueryEscape(text), URI::EscapeChars(text, URI::URIqueryexcluded)) << text;
    });
  }
}

TEST(BlockEdges, UnescapeAgreesWithTheBytewiseReading) {
  for (const char* escape : {"%41", "%C3", "%zz", "% 4", "%"}) {
    EveryPlacing(escape, "%e9", [](const std::string& text) {
      ASSERT_EQ(URI::Unescape(text, false), UnescapeBytewise(text, false)) << text;
      ASSERT_EQ(URI::Unescape(text, true), UnescapeBytewise(text, true)) << text;
    });
  }
}

// Runs of escapes read several at a time: every run of five tokens, readable
// escapes (high and ASCII) among unreadable ones and plain bytes, after each
// prefix length that moves the writing position against the reading one.
TEST(BlockEdges, UnescapeRunsAgreeWithTheBytewiseReading) {
  static const char* const kTokens[] = {"%41", "%C3", "%e9", "%zz", "%g4", "%%", "a", "%0x"};
  for (const size_t prefix : {0, 1, 3, 6, 9, 17}) {
    for (unsigned code = 0; code < 8 * 8 * 8 * 8 * 8; ++code) {
      std::string text = Filler(prefix);
      for (unsigned c = code, k = 0; k < 5; ++k, c /= 8) text += kTokens[c % 8];
      text += Filler((code + prefix) % 17);
      ASSERT_EQ(URI::Unescape(text, false), UnescapeBytewise(text, false)) << text;
      ASSERT_EQ(URI::Unescape(text, true), UnescapeBytewise(text, true)) << text;
    }
  }
  // Every byte in place of each digit of a run.
  for (size_t place = 1; place < 15; ++place) {
    for (int byte = 0; byte < 256; ++byte) {
      std::string text = "%C3%A9%41%e9%2Fx";
      if (place % 3 != 0) text[place] = static_cast<char>(byte);
      ASSERT_EQ(URI::Unescape(text, false), UnescapeBytewise(text, false)) << text;
      ASSERT_EQ(URI::Unescape(text, true), UnescapeBytewise(text, true)) << text;
    }
  }
}

}  // namespace
