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
  // Locale, script, system and application encodings, language of the system encoding, double-byte.
  const std::tuple<const char*, int, const char*, const char*, short, bool> rows[] = {
      {"ja_JP.UTF-8", kScriptJapanese, "utf-8", "utf-8", kLanguageJapanese, true},
      {"ja_JP.SJIS", kScriptJapanese, "shift_jis", "shift_jis", kLanguageJapanese, true},
      {"ko_KR.UTF-8", kScriptKorean, "utf-8", "utf-8", kLanguageKorean, true},
      {"zh_TW.Big5", kScriptTraditionalChinese, "big5", "big5", kLanguageTraditionalChinese, true},
      {"zh_CN.GB2312", kScriptSimplifiedChinese, "gb2312", "gb2312", kLanguageSimplifiedChinese, true},
      {"de_DE.ISO-8859-1", kScriptRoman, "iso-8859-1", "iso-8859-1", kLanguageEnglish, false},
      {"de_DE.UTF-8@euro", kScriptRoman, "utf-8", "utf-8", kLanguageGerman, false},
      {"C", kScriptRoman, "us-ascii", "utf-8", kLanguageEnglish, false},
  };
  for (const auto& [locale, script, system_name, application, system_language, double_byte] : rows) {
    ASSERT_TRUE(SetHostLocale(locale)) << locale;
    EXPECT_EQ(HostLocaleName(), locale);
    EXPECT_EQ(SystemScript(), script) << locale;
    TextEncoding system = 0;
    ASSERT_EQ(SystemTextEncoding(&system), kConversionOK) << locale;
    EXPECT_EQ(InternetName(system), system_name) << locale;
    EXPECT_EQ(InternetName(ApplicationTextEncoding()), application) << locale;
    short language = -1;
    LanguageOfTextEncoding(system, &language);
    EXPECT_EQ(language, system_language) << locale;
    EXPECT_EQ(SystemScriptIsDoubleByte(), double_byte) << locale;
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
  const int kJa = kScriptJapanese, kKo = kScriptKorean, kTw = kScriptTraditionalChinese,
            kCn = kScriptSimplifiedChinese;
  const std::tuple<int, int, bool> rows[] = {
      {kJa, 0x41, false}, {kJa, 0x81, true}, {kJa, 0x9F, true},  {kJa, 0xA0, false}, {kJa, 0xB1, false},
      {kJa, 0xE0, true},  {kJa, 0xFC, true}, {kKo, 0x41, false}, {kKo, 0xB0, true},  {kKo, 0xFE, true},
      {kTw, 0xA4, true},  {kTw, 0x7A, false}, {kCn, 0xB0, true}, {kCn, 0x30, false}};
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
