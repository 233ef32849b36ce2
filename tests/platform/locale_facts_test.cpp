#include "vesk/platform/locale_facts"

#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <utility>

#include "tests/support/encodings.h"
#include "vesk/platform/text_conversion"

namespace {

using namespace Vesk::Platform;
using vesktest::IdOf;
using vesktest::InternetName;

class LocaleFacts : public ::testing::Test {
 protected:
  void TearDown() override { SetHostLocale(""); }
};

TEST_F(LocaleFacts, FromTheHostLocaleCall) {
  struct Row {
    const char* locale;
    int script;
    const char* system;
    const char* application;
    short system_language;
    bool double_byte;
  };
  const Row rows[] = {
      {"ja_JP.UTF-8", kScriptJapanese, "utf-8", "utf-8", kLanguageJapanese, true},
      {"ja_JP.SJIS", kScriptJapanese, "shift_jis", "shift_jis", kLanguageJapanese, true},
      {"ko_KR.UTF-8", kScriptKorean, "utf-8", "utf-8", kLanguageKorean, true},
      {"zh_TW.Big5", kScriptTraditionalChinese, "big5", "big5", kLanguageTraditionalChinese, true},
      {"zh_CN.GB2312", kScriptSimplifiedChinese, "gb2312", "gb2312", kLanguageSimplifiedChinese, true},
      {"de_DE.ISO-8859-1", kScriptRoman, "iso-8859-1", "iso-8859-1", kLanguageEnglish, false},
      {"de_DE.UTF-8@euro", kScriptRoman, "utf-8", "utf-8", kLanguageGerman, false},
      {"C", kScriptRoman, "us-ascii", "utf-8", kLanguageEnglish, false},
  };
  for (const Row& row : rows) {
    ASSERT_TRUE(SetHostLocale(row.locale)) << row.locale;
    EXPECT_EQ(HostLocaleName(), row.locale);
    EXPECT_EQ(SystemScript(), row.script) << row.locale;
    TextEncoding system = 0;
    ASSERT_EQ(SystemTextEncoding(&system), kConversionOK) << row.locale;
    EXPECT_EQ(InternetName(system), row.system) << row.locale;
    EXPECT_EQ(InternetName(ApplicationTextEncoding()), row.application) << row.locale;
    short language = -1;
    LanguageOfTextEncoding(system, &language);
    EXPECT_EQ(language, row.system_language) << row.locale;
    EXPECT_EQ(SystemScriptIsDoubleByte(), row.double_byte) << row.locale;
  }
}

TEST_F(LocaleFacts, LanguageOfLegacySetsIgnoresTheLocale) {
  ASSERT_TRUE(SetHostLocale("ko_KR.UTF-8"));
  const std::pair<const char*, short> rows[] = {
      {"shift_jis", kLanguageJapanese},   {"euc-jp", kLanguageJapanese}, {"iso-2022-jp", kLanguageJapanese},
      {"euc-kr", kLanguageKorean},        {"koi8-r", kLanguageRussian},  {"iso-8859-1", kLanguageEnglish},
      {"windows-1252", kLanguageEnglish}, {"utf-8", kLanguageKorean},    {"utf-16", kLanguageKorean},
  };
  for (const auto& [encoding, expected] : rows) {
    short language = -1;
    EXPECT_EQ(LanguageOfTextEncoding(IdOf(encoding), &language), kConversionOK) << encoding;
    EXPECT_EQ(language, expected) << encoding;
  }
}

TEST_F(LocaleFacts, LeadBytesComeFromTheConverter) {
  const std::tuple<int, int, bool> rows[] = {{kScriptJapanese, 0x41, false},
                                             {kScriptJapanese, 0x81, true},
                                             {kScriptJapanese, 0x9F, true},
                                             {kScriptJapanese, 0xA0, false},
                                             {kScriptJapanese, 0xB1, false},
                                             {kScriptJapanese, 0xE0, true},
                                             {kScriptJapanese, 0xFC, true},
                                             {kScriptKorean, 0x41, false},
                                             {kScriptKorean, 0xB0, true},
                                             {kScriptKorean, 0xFE, true},
                                             {kScriptTraditionalChinese, 0xA4, true},
                                             {kScriptTraditionalChinese, 0x7A, false},
                                             {kScriptSimplifiedChinese, 0xB0, true},
                                             {kScriptSimplifiedChinese, 0x30, false}};
  for (const auto& [script, byte, lead] : rows) {
    unsigned char table[256];
    FillLeadByteTable(table, script);
    EXPECT_EQ(table[byte] != 0, lead) << script << " " << byte;
    for (int ascii = 0; ascii < 0x40; ++ascii) EXPECT_EQ(table[ascii], 0) << script << " " << ascii;
  }
  unsigned char roman[256];
  FillLeadByteTable(roman, kScriptRoman);
  for (unsigned char entry : roman) EXPECT_EQ(entry, 0);
}

TEST_F(LocaleFacts, LocalesWithoutCodesetOrUnknownCodeset) {
  // Without a codeset the installed locale's, or the usual one, is taken.
  ASSERT_TRUE(SetHostLocale("ja_JP"));
  TextEncoding system = 0;
  ASSERT_EQ(SystemTextEncoding(&system), kConversionOK);
  EXPECT_EQ(InternetName(system), "euc-jp");
  // An unknown codeset is refused and changes nothing.
  EXPECT_FALSE(SetHostLocale("xx_YY.NO-SUCH-SET"));
  EXPECT_EQ(HostLocaleName(), "ja_JP");
  EXPECT_EQ(SystemScript(), kScriptJapanese);
}

}  // namespace
