#include "vesk/platform/text_conversion"

#include <gtest/gtest.h>
#include <unicode/ucnv.h>

#include <cstring>
#include <string>
#include <utility>

#include "tests/support/encodings.h"
#include "vesk/platform/text_conversion_seam.h"

namespace {

using namespace Vesk::Platform;
using vesktest::IdOf;
using vesktest::InternetName;

const TextEncoding kUTF16 = UnicodeTextEncoding(256, 0, kUTF16Format);

TEST(TextEncodingInternetName, LowerCasedStandardNames) {
  const std::pair<const char*, const char*> rows[] = {
      {"Shift_JIS", "shift_jis"}, {"latin1", "iso-8859-1"}, {"Windows-1252", "windows-1252"}, {"cp1252", ""},
      {"utf8", "utf-8"},          {"US-ASCII", "us-ascii"}, {"UTF-16BE", "utf-16be"}};
  for (const auto& [asked, name] : rows) EXPECT_EQ(InternetName(IdOf(asked)), name) << asked;
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

namespace {

// Drives our converter and a bare ICU converter (through `icu_step`) over
// `input` with output buffers of `room` units, then flushes both: every call
// must write alike, and both outputs must equal `expected`.
template <typename In, typename Out, typename IcuStep>
void CompareFills(TextConverter* ours, UConverter* icu, const std::basic_string<In>& input,
                  const std::basic_string<Out>& expected, size_t room, IcuStep icu_step) {
  const char* bytes = reinterpret_cast<const char*>(input.data());
  const size_t total = input.size() * sizeof(In);
  size_t offset = 0;
  const In* icu_source = input.data();
  const In* const icu_end = input.data() + input.size();
  std::basic_string<Out> ours_out, icu_out;
  auto step = [&](bool flush, int call) {
    Out a[16], b[16];
    size_t read = 0, written = 0;
    if (flush) {
      FlushText(ours, a, room * sizeof(Out), &written);
    } else {
      ConvertText(ours, bytes + offset, total - offset, &read, a, room * sizeof(Out), &written);
    }
    offset += read;
    ours_out.append(a, written / sizeof(Out));
    Out* target = b;
    const In* none = nullptr;
    UErrorCode status = U_ZERO_ERROR;
    icu_step(icu, &target, b + room, flush ? &none : &icu_source, flush ? none : icu_end, flush, &status);
    icu_out.append(b, static_cast<size_t>(target - b));
    ASSERT_EQ(written / sizeof(Out), static_cast<size_t>(target - b))
        << "room " << room << (flush ? " flush " : " call ") << call;
  };
  for (int call = 0; call < 200 && (offset < total || icu_source < icu_end); ++call) step(false, call);
  for (int call = 0; call < 4; ++call) step(true, call);  // what both still hold
  EXPECT_EQ(ours_out, expected) << room;
  EXPECT_EQ(icu_out, expected) << room;
}

// Our converter and a bare ICU converter, driven with the same buffer sizes,
// must fill every buffer alike: the faster UTF-8 path included.
TEST(ConvertText, FillsBuffersAsTheICUConverterDoes) {
  const std::u16string text =
      u"ascii \u00e9\u00e8 \u65e5\u672c\u8a9e \U0001F600\U0001F601 end \u0800\u07ff\U00010000";
  UErrorCode status = U_ZERO_ERROR;
  UConverter* icu = ucnv_open("UTF-8", &status);
  std::string utf8(text.size() * 3, '\0');
  utf8.resize(static_cast<size_t>(ucnv_fromUChars(icu, utf8.data(), static_cast<int32_t>(utf8.size()),
                                                  text.data(), static_cast<int32_t>(text.size()), &status)));
  const TextEncoding utf8_id = UnicodeTextEncoding(256, 0, kUTF8Format);
  auto from_unicode = [](UConverter* c, char** t, const char* end, const char16_t** s, const char16_t* s_end,
                         bool flush,
                         UErrorCode* st) { ucnv_fromUnicode(c, t, end, s, s_end, nullptr, flush, st); };
  auto to_unicode = [](UConverter* c, char16_t** t, const char16_t* end, const char** s, const char* s_end,
                       bool flush,
                       UErrorCode* st) { ucnv_toUnicode(c, t, end, s, s_end, nullptr, flush, st); };
  for (size_t room = 1; room <= 9; ++room) {
    for (int direction = 0; direction < 2; ++direction) {
      TextConverter* ours = nullptr;
      ASSERT_EQ(
          direction == 0 ? OpenConverter(&ours, kUTF16, utf8_id) : OpenConverter(&ours, utf8_id, kUTF16),
          kConversionOK);
      ucnv_reset(icu);
      if (direction == 0) {
        CompareFills(ours, icu, text, utf8, room, from_unicode);
      } else {
        CompareFills(ours, icu, utf8, text, room, to_unicode);
      }
      CloseConverter(ours);
    }
  }
  ucnv_close(icu);
}

}  // namespace

namespace {

// One call of ConvertText, all it reports.
struct Call {
  ConversionStatus status;
  size_t read, written;
  std::string out;
  bool operator==(const Call& o) const {
    return status == o.status && read == o.read && written == o.written && out == o.out;
  }
};

Call Convert(TextConverter* converter, const void* input, size_t bytes, size_t room) {
  char out[64];
  Call call{0, 0, 0, {}};
  call.status = ConvertText(converter, input, bytes, &call.read, out, room, &call.written);
  call.out.assign(out, call.written);
  return call;
}

std::string Show(const Call& c) {
  return std::to_string(c.status) + " read " + std::to_string(c.read) + " wrote " + std::to_string(c.written);
}

// Every set that ICU offers under an internet name and that has single-byte
// characters: with the table and with ICU alone, every byte, every pair of
// bytes with a high lead and every UTF-16 unit, amid letters, gives the same
// units or bytes, status and counts, and a
// text of all 256 bytes (and of the units they stand for) converted through a
// small buffer stops at the same place with the same chunks.
TEST(ConvertText, SingleByteTablesAgreeWithICUsPath) {
  int sets = 0;
  for (int i = 0; i < ucnv_countAvailable(); ++i) {
    const char* icu = ucnv_getAvailableName(i);
    UErrorCode status = U_ZERO_ERROR;
    const char* name = ucnv_getStandardName(icu, "MIME", &status);
    status = U_ZERO_ERROR;
    if (name == nullptr) name = ucnv_getStandardName(icu, "IANA", &status);
    UConverter* probe = ucnv_open(icu, &status);
    const UConverterType type = U_SUCCESS(status) ? ucnv_getType(probe) : UCNV_UNSUPPORTED_CONVERTER;
    ucnv_close(probe);
    if (name == nullptr ||
        (type != UCNV_SBCS && type != UCNV_LATIN_1 && type != UCNV_US_ASCII && type != UCNV_MBCS)) {
      continue;
    }
    ++sets;
    const TextEncoding id = IdOf(name);
    TextConverter *to[2], *from[2];  // [0]: ICU alone, [1]: with the table
    for (int table = 0; table < 2; ++table) {
      Vesk::Platform::HostCalls().single_byte_tables = table == 1;
      ASSERT_EQ(OpenConverter(&to[table], id, kUTF16), kConversionOK) << name;
      ASSERT_EQ(OpenConverter(&from[table], kUTF16, id), kConversionOK) << name;
    }
    Vesk::Platform::HostCalls().single_byte_tables = true;
    auto same = [&](TextConverter* const* pair, const void* input, size_t bytes, size_t room) {
      const Call icu_path = Convert(pair[0], input, bytes, room),
                 table_path = Convert(pair[1], input, bytes, room);
      return icu_path == table_path ? std::string() : Show(icu_path) + " / " + Show(table_path);
    };
    std::string all_bytes;
    for (unsigned byte = 0; byte < 256; ++byte) {
      const char text[] = {'x', static_cast<char>(byte), 'y'};
      for (TextConverter* c : to) ResetConverter(c);
      ASSERT_EQ(same(to, text, 3, 32), "") << name << " byte " << byte;
      all_bytes += static_cast<char>(byte);
    }
    // Every pair behind a byte from 0x80 up: the lead and trail bytes of the
    // double-byte sets.
    for (unsigned pair = 0x8000; pair < 0x10000; ++pair) {
      const char text[] = {'x', static_cast<char>(pair >> 8), static_cast<char>(pair), 'y'};
      for (TextConverter* c : to) ResetConverter(c);
      ASSERT_EQ(same(to, text, 4, 32), "") << name << " pair " << pair;
    }
    for (unsigned unit = 0; unit < 0x10000; ++unit) {
      const char16_t text[] = {u'x', static_cast<char16_t>(unit), u'y'};
      for (TextConverter* c : from) ResetConverter(c);
      ASSERT_EQ(same(from, text, 6, 32), "") << name << " unit " << unit;
    }
    // Whole texts through a buffer of 7 units or bytes, call after call.
    for (TextConverter* c : to) ResetConverter(c);
    std::u16string units;
    for (size_t offset = 0; offset < all_bytes.size();) {
      const Call call = Convert(to[0], all_bytes.data() + offset, all_bytes.size() - offset, 14);
      ASSERT_EQ(call, Convert(to[1], all_bytes.data() + offset, all_bytes.size() - offset, 14))
          << name << offset;
      units.append(reinterpret_cast<const char16_t*>(call.out.data()), call.written / 2);
      offset += call.read;
      if (call.status != kConversionOK && call.status != kOutputBufferFull) break;
    }
    // UTF-16 texts through a buffer of 7 bytes, call after call.
    auto agree_from = [&](const std::u16string& units) {
      for (TextConverter* c : from) ResetConverter(c);
      for (size_t offset = 0; offset < units.size() * 2;) {
        const char* text = reinterpret_cast<const char*>(units.data()) + offset;
        const Call call = Convert(from[0], text, units.size() * 2 - offset, 7);
        ASSERT_EQ(call, Convert(from[1], text, units.size() * 2 - offset, 7)) << name << offset;
        offset += call.read;
        if (call.status != kConversionOK && call.status != kOutputBufferFull) break;
      }
    };
    agree_from(units);
    // Characters of two bytes split by the end of the buffer: ideographs,
    // one ASCII letter after every fifth so that both halves come to lie last.
    std::u16string ideographs;
    for (char16_t unit = 0x4E00; unit < 0x9FA0; unit += 7) {
      ideographs += unit;
      if (unit % 5 == 0) ideographs += u'a';
    }
    agree_from(ideographs);
    for (int table = 0; table < 2; ++table) {
      CloseConverter(to[table]);
      CloseConverter(from[table]);
    }
  }
  EXPECT_GT(sets, 50);
}

}  // namespace
