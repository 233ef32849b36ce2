#include "vesk/platform/locale_facts"

#include <gtest/gtest.h>

#include <string>

#include "tests/platform/encoding_names.h"
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
      {"ja_JP.eucJP", kScriptJapanese, "euc-jp", "euc-jp", kLanguageJapanese, true},
      {"ja_JP.SJIS", kScriptJapanese, "shift_jis", "shift_jis", kLanguageJapanese, true},
      {"ko_KR.UTF-8", kScriptKorean, "utf-8", "utf-8", kLanguageKorean, true},
      {"ko_KR.eucKR", kScriptKorean, "euc-kr", "euc-kr", kLanguageKorean, true},
      {"zh_TW.Big5", kScriptTraditionalChinese, "big5", "big5", kLanguageTraditionalChinese, true},
      {"zh_CN.GB2312", kScriptSimplifiedChinese, "gb2312", "gb2312", kLanguageSimplifiedChinese, true},
      {"de_DE.ISO-8859-1", kScriptRoman, "iso-8859-1", "iso-8859-1", kLanguageEnglish, false},
      {"de_DE.UTF-8@euro", kScriptRoman, "utf-8", "utf-8", kLanguageGerman, false},
      {"en_US.UTF-8", kScriptRoman, "utf-8", "utf-8", kLanguageEnglish, false},
      {"C", kScriptRoman, "us-ascii", "utf-8", kLanguageEnglish, false},
      {"POSIX", kScriptRoman, "us-ascii", "utf-8", kLanguageEnglish, false},
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
  struct Row {
    const char* encoding;
    short language;
  };
  const Row rows[] = {
      {"shift_jis", kLanguageJapanese}, {"euc-jp", kLanguageJapanese}, {"iso-2022-jp", kLanguageJapanese},
      {"euc-kr", kLanguageKorean},      {"koi8-r", kLanguageRussian},  {"iso-8859-1", kLanguageEnglish},
      {"windows-1252", kLanguageEnglish}, {"utf-8", kLanguageKorean},  {"utf-16", kLanguageKorean},
  };
  for (const Row& row : rows) {
    short language = -1;
    EXPECT_EQ(LanguageOfTextEncoding(IdOf(row.encoding), &language), kConversionOK) << row.encoding;
    EXPECT_EQ(language, row.language) << row.encoding;
  }
}

TEST_F(LocaleFacts, LeadBytesComeFromTheConverter) {
  struct Row {
    int script;
    int byte;
    bool lead;
  };
  const Row rows[] = {
      {kScriptJapanese, 0x41, false}, {kScriptJapanese, 0x81, true},  {kScriptJapanese, 0x9F, true},
      {kScriptJapanese, 0xA0, false}, {kScriptJapanese, 0xB1, false}, {kScriptJapanese, 0xE0, true},
      {kScriptJapanese, 0xFC, true},  {kScriptKorean, 0x41, false},   {kScriptKorean, 0xB0, true},
      {kScriptKorean, 0xFE, true},    {kScriptTraditionalChinese, 0xA4, true},
      {kScriptTraditionalChinese, 0x7A, false}, {kScriptSimplifiedChinese, 0xB0, true},
      {kScriptSimplifiedChinese, 0x30, false},
  };
  for (const Row& row : rows) {
    unsigned char table[256];
    FillLeadByteTable(table, row.script);
    EXPECT_EQ(table[row.byte] != 0, row.lead) << row.script << " " << row.byte;
    for (int ascii = 0; ascii < 0x40; ++ascii) EXPECT_EQ(table[ascii], 0) << row.script << " " << ascii;
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
