#include "vesk/platform/text_conversion"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

namespace {

using namespace Vesk::Platform;

TextEncoding IdOf(const std::string& name) {
  unsigned char pascal[256];
  pascal[0] = static_cast<unsigned char>(name.size());
  name.copy(reinterpret_cast<char*>(pascal + 1), name.size());
  TextEncoding id = 0;
  TextEncodingFromInternetName(&id, pascal);
  return id;
}

std::string InternetName(TextEncoding id) {
  unsigned char name[256];
  TextEncodingInternetName(id, name);
  return std::string(reinterpret_cast<const char*>(name + 1), name[0]);
}

const TextEncoding kUTF16 = UnicodeTextEncoding(256, 0, kUTF16Format);

TEST(TextEncodingInternetName, LowerCasedStandardNames) {
  struct Row {
    const char* asked;
    const char* name;
  };
  const Row rows[] = {
      {"Shift_JIS", "shift_jis"},   {"ISO-8859-1", "iso-8859-1"}, {"latin1", "iso-8859-1"},
      {"Windows-1252", "windows-1252"}, {"cp1252", ""}, {"EUC-KR", "euc-kr"},         {"utf8", "utf-8"},
      {"US-ASCII", "us-ascii"},     {"ISO-2022-JP", "iso-2022-jp"}, {"KOI8-R", "koi8-r"},
      {"UTF-16BE", "utf-16be"},
  };
  for (const Row& row : rows) EXPECT_EQ(InternetName(IdOf(row.asked)), row.name) << row.asked;
  EXPECT_EQ(InternetName(kUTF16), "utf-16");
  EXPECT_EQ(InternetName(UnicodeTextEncoding(256, 0, kUTF7Format)), "utf-7");
  EXPECT_EQ(InternetName(kUnknownTextEncoding), "");
  EXPECT_EQ(IdOf("no-such-charset"), kUnknownTextEncoding);
  EXPECT_EQ(IdOf(""), kUnknownTextEncoding);
}

TEST(OpenConverter, NeedsUTF16OnOneSide) {
  TextConverter* converter = reinterpret_cast<TextConverter*>(1);
  EXPECT_EQ(OpenConverter(&converter, IdOf("shift_jis"), IdOf("euc-jp")), kNoSuchConverter);
  EXPECT_EQ(converter, nullptr);
  EXPECT_EQ(OpenConverter(&converter, kUTF16, kUnknownTextEncoding), kUnknownEncoding);
  EXPECT_EQ(OpenConverter(&converter, kUTF16, UnicodeTextEncoding(256, 1, 0)), kUnknownEncoding);
  ASSERT_EQ(OpenConverter(&converter, kUTF16, kUTF16), kConversionOK);
  CloseConverter(converter);
  CloseConverter(nullptr);
  EXPECT_TRUE(CanConvertTextEncoding(IdOf("shift_jis")));
  EXPECT_FALSE(CanConvertTextEncoding(kUnknownTextEncoding));
}

TEST(ConvertText, StatusesAndCounters) {
  TextConverter* converter = nullptr;
  ASSERT_EQ(OpenConverter(&converter, kUTF16, IdOf("iso-8859-1")), kConversionOK);
  const std::u16string text = u"abcdef\u20acxy";
  char out[4];
  size_t read = 99, written = 99;
  // Output full: four bytes written, four units read.
  EXPECT_EQ(ConvertText(converter, text.data(), 12, &read, out, sizeof out, &written), kOutputBufferFull);
  EXPECT_EQ(written, 4u);
  EXPECT_EQ(std::string(out, 4), "abcd");
  EXPECT_EQ(read, 8u);
  // "ef", then the euro sign cannot be written.
  EXPECT_EQ(ConvertText(converter, text.data() + 4, 8, &read, out, sizeof out, &written), kUnmappableText);
  EXPECT_EQ(std::string(out, written), "ef");
  ResetConverter(converter);
  // An odd trailing byte is consumed and ignored.
  EXPECT_EQ(ConvertText(converter, text.data(), 3, &read, out, sizeof out, &written), kConversionOK);
  EXPECT_EQ(read, 3u);
  EXPECT_EQ(std::string(out, written), "a");
  EXPECT_EQ(FlushText(converter, out, sizeof out, &written), kConversionOK);
  EXPECT_EQ(written, 0u);
  CloseConverter(converter);

  ASSERT_EQ(OpenConverter(&converter, IdOf("utf-8"), kUTF16), kConversionOK);
  unsigned short wide[4];
  EXPECT_EQ(ConvertText(converter, "ab\xFF", 3, &read, wide, sizeof wide, &written), kIllFormedInput);
  EXPECT_EQ(written, 4u);
  ResetConverter(converter);
  EXPECT_EQ(ConvertText(converter, "\xE6\x97", 2, &read, wide, sizeof wide, &written), kConversionOK);
  EXPECT_EQ(written, 0u);
  EXPECT_EQ(read, 2u);
  // The rest of the character arrives with the next call.
  EXPECT_EQ(ConvertText(converter, "\xA5", 1, &read, wide, sizeof wide, &written), kConversionOK);
  EXPECT_EQ(written, 2u);
  EXPECT_EQ(wide[0], 0x65E5);
  CloseConverter(converter);
}

TEST(ConvertText, FallbackMappingsAreReported) {
  TextConverter* converter = nullptr;
  ASSERT_EQ(OpenConverter(&converter, kUTF16, IdOf("windows-1252")), kConversionOK);
  const std::u16string text = u"a\uff01";
  char out[8];
  size_t read = 0, written = 0;
  EXPECT_EQ(ConvertText(converter, text.data(), 4, &read, out, sizeof out, &written), kUsedFallbacks);
  EXPECT_EQ(std::string(out, written), "a!");
  EXPECT_EQ(ConvertText(converter, text.data(), 2, &read, out, sizeof out, &written), kConversionOK);
  CloseConverter(converter);
}

TEST(FlushText, WritesThePendingShift) {
  TextConverter* converter = nullptr;
  ASSERT_EQ(OpenConverter(&converter, kUTF16, IdOf("iso-2022-jp")), kConversionOK);
  const std::u16string text = u"\u65e5";
  char out[16];
  size_t read = 0, written = 0;
  EXPECT_EQ(ConvertText(converter, text.data(), 2, &read, out, sizeof out, &written), kConversionOK);
  EXPECT_EQ(std::string(out, written), "\x1B$BF|");
  EXPECT_EQ(FlushText(converter, out, sizeof out, &written), kConversionOK);
  EXPECT_EQ(std::string(out, written), "\x1B(B");
  CloseConverter(converter);
}

}  // namespace
