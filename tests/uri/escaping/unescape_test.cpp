#include "vesk/uri/uri"

#include <gtest/gtest.h>

#include <cstdio>
#include <string>

namespace {

using Vesk::URI;

// ParseHex against the C library's reading, for a three-byte escape.
void CompareWithScanf(const std::string& escape) {
  char ours = '?';
  const int consumed = URI::ParseHex(escape, ours);

  // The reference: close the gaps left by spaces without shortening, then
  // read bytes 1 and 2 with sscanf.
  std::string work = escape;
  size_t w = 0;
  for (char c : escape) {
    if (c != ' ') work[w++] = c;
  }
  if (work.size() != 3 || work[0] != '%') {
    ASSERT_EQ(consumed, 1);
    ASSERT_EQ(ours, work.empty() ? '\0' : work[0]);
    return;
  }
  unsigned int value = 0;
  const std::string rest = work.substr(1, 2);
  const int scanned = std::sscanf(rest.c_str(), "%x", &value);
  if (scanned == 0) {
    ASSERT_EQ(consumed, 1) << "escape bytes " << +static_cast<unsigned char>(escape[1]) << " "
                           << +static_cast<unsigned char>(escape[2]);
    ASSERT_EQ(ours, '%');
  } else {
    ASSERT_EQ(consumed, 3) << "escape bytes " << +static_cast<unsigned char>(escape[1]) << " "
                           << +static_cast<unsigned char>(escape[2]);
    if (scanned == 1) {
      ASSERT_EQ(static_cast<unsigned char>(ours), value & 0xFF)
          << "escape bytes " << +static_cast<unsigned char>(escape[1]) << " "
          << +static_cast<unsigned char>(escape[2]);
    }
  }
}

TEST(ParseHex, MatchesScanfOnEveryBytePair) {
  for (int a = 0; a < 256; ++a) {
    for (int b = 0; b < 256; ++b) {
      std::string escape = "%";
      escape.push_back(static_cast<char>(a));
      escape.push_back(static_cast<char>(b));
      CompareWithScanf(escape);
      // Unescape reads the same escape the same way.
      char byte = 0;
      const int n = URI::ParseHex(escape, byte);
      const std::string expected = std::string(1, byte) + (n == 1 ? escape.substr(1) : "");
      ASSERT_EQ(URI::Unescape(escape, false), expected) << a << " " << b;
    }
  }
}

TEST(ParseHex, EdgeForms) {
  struct Row {
    std::string escape;
    int consumed;
    int byte;  // -1: any byte may be stored (end of input)
  } rows[] = {
      {"%41", 3, 0x41},  {"%c3", 3, 0xC3},   {"%C3", 3, 0xC3}, {"%4g", 3, 0x04}, {"%+A", 3, 0x0A},
      {"%-1", 3, 0xFF},  {"%0x", 3, 0x00},   {"%\t4", 3, 0x04}, {"%\n\n", 3, -1}, {"%  ", 3, -1},
      {std::string("%\0a", 3), 3, -1},       {"%g4", 1, '%'},  {"%%4", 1, '%'}, {"%zz", 1, '%'},
      {"%+", 1, '%'},    {"%+ ", 1, '%'},    {"%- ", 1, '%'},  {"%x1", 1, '%'}, {"% 4", 3, 0x44},
      {" %4", 3, 0x44},  {"%4 ", 3, 0x04},   {"%0X", 3, 0x00}, {"%-0", 3, 0x00}, {"%-F", 3, 0xF1},
      {"", 1, 0},        {"%", 1, '%'},      {"%4", 1, '%'},   {"%414", 1, '%'}, {"A41", 1, 'A'},
      {"  ", 1, ' '},    {" x", 1, 'x'},
  };
  for (const Row& row : rows) {
    char out = '?';
    EXPECT_EQ(URI::ParseHex(row.escape, out), row.consumed) << row.escape;
    if (row.byte >= 0) {
      EXPECT_EQ(static_cast<unsigned char>(out), row.byte) << row.escape;
    }
    if (row.escape.size() == 3) CompareWithScanf(row.escape);
  }
}

TEST(Unescape, Examples) {
  struct Row {
    std::string text;
    bool highBytesOnly;
    std::string expected;
  } rows[] = {
      {"", false, ""},
      {"a%20b", false, "a b"},
      {"a%20b", true, "a%20b"},
      {"%C3%A9", true, "\xC3\xA9"},
      {"%c3%a9", true, "\xC3\xA9"},
      {"%C3%20", true, "\xC3%20"},
      {"100%", false, "100%"},
      {"100%2", false, "100%2"},
      {"100%zz", false, "100%zz"},
      {"%%41", false, "%A"},
      {"%2541", false, "%41"},
      {"%00x", false, std::string("\0x", 2)},
      {"% 41", false, "D1"},
      {"%4 x", false, "\x04x"},
      {"%-1%+A", false, "\xFF\n"},
      {"%-1", true, "\xFF"},
      {"%4g", true, "%4g"},
      {"+", false, "+"},
      {"%%%", false, "%%%"},
      {"a%41%42c", false, "aABc"},
  };
  for (const Row& row : rows) EXPECT_EQ(URI::Unescape(row.text, row.highBytesOnly), row.expected) << row.text;
}

TEST(QueryUnescape, PlusBeforeEscapes) {
  struct Row {
    const char* text;
    const char* expected;
  } rows[] = {
      {"a+b%2Bc", "a b+c"}, {"+", " "}, {"%2", "%2"}, {"", ""},
      // The plus turns into a blank first, and "% A" then reads as "%AA".
      {"%+A", "\xAA"},
  };
  for (const Row& row : rows) EXPECT_EQ(URI::QueryUnescape(row.text), row.expected) << row.text;
}

TEST(Unescape, MillionEscapesInARow) {
  std::string text;
  for (int i = 0; i < 1000000; ++i) text += "%41";
  const std::string plain = URI::Unescape(text, false);
  ASSERT_EQ(plain.size(), 1000000u);
  EXPECT_EQ(plain.find_first_not_of('A'), std::string::npos);
  EXPECT_EQ(URI::Unescape(text, true), text);
}

}  // namespace
