#include "vesk/encoding/transcoder"

#include <gtest/gtest.h>

#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <string>
#include <thread>
#include <tuple>
#include <utility>
#include <vector>

#include <unicode/ustring.h>
#include <unicode/utf16.h>

#include "tests/support/text.h"
#include "vesk/encoding/start_stop.h"
#include "vesk/encoding/transcoder_internal.h"
#include "vesk/platform/locale_facts"
#include "vesk/platform/text_conversion"
#include "vesk/platform/text_conversion_seam.h"

namespace {

using Vesk::Transcoder;
using Wide = vesktest::U16;
using Vesk::TranscoderView::Contents;
using Vesk::TranscoderView::Entry;
using Vesk::TranscoderView::Pool;

using vesktest::Hex;
using vesktest::HexW;
using vesktest::W;

unsigned long Id(const std::string& name) { return Vesk::EncodingToCharSetID(name); }

// UTF-8 of one code point, from ICU as the reference.
std::string Utf8Of(UChar32 cp) {
  UChar units[2];
  int32_t n = 0, length = 0;
  U16_APPEND_UNSAFE(units, n, cp);
  char out[8];
  UErrorCode status = U_ZERO_ERROR;
  u_strToUTF8(out, sizeof out, &length, units, n, &status);
  return std::string(out, static_cast<size_t>(length));
}

// Empties the pools before a test that looks at them, and restores the host
// locale and the host calls afterwards.
class Pools : public ::testing::Test {
 protected:
  void SetUp() override { Vesk::TranscoderView::DisposeIdleConverters(); }
  void TearDown() override {
    Vesk::Platform::HostCalls() = Vesk::Platform::DefaultHostCalls();
    Vesk::Platform::SetHostLocale("");
    Vesk::TranscoderView::DisposeIdleConverters();
  }
};

TEST(EncodingToCharSetID, NamesOfOneEncodingGiveOneId) {
  const std::pair<const char*, const char*> rows[] = {
      {"Utf-8", "utf-8"},       {"UNICODE", "utf-16"}, {"UTF-7", "utf-7"},         {"SHIFT_JIS", "shift_jis"},
      {"latin1", "iso-8859-1"}, {"utf8", "utf-8"},     {"csShiftJIS", "shift_jis"}};
  for (const auto& [name, same_as] : rows) EXPECT_EQ(Id(name), Id(same_as)) << name;
  EXPECT_NE(Id("utf-8"), Id("utf-16"));
  EXPECT_NE(Id("shift_jis"), Id("iso-8859-1"));
  const char* const formats[] = {"utf-16", "utf-7", "utf-8"};
  for (unsigned f = 0; f < 3; ++f) EXPECT_EQ(Id(formats[f]), Vesk::Platform::UnicodeTextEncoding(256, 0, f));
  // Unknown names give an id without a converter, and every name is valid.
  for (const std::string& name : {std::string(), std::string("no-such-charset"), std::string("x\0y", 3),
                                  std::string("\xFF\xFE"), std::string(255, 'a'), std::string(256, 'b')}) {
    EXPECT_FALSE(Vesk::Platform::CanConvertTextEncoding(Id(name))) << name.size();
    EXPECT_TRUE(Transcoder::IsValidEncoding(name)) << name.size();
  }
  EXPECT_TRUE(Transcoder::IsValidEncoding("utf-8"));
}

// The host sees at most 255 bytes of the name.
std::vector<std::string>* gAskedNames;
const char* RecordingCanonicalName(const char* alias, const char* standard, UErrorCode* status) {
  gAskedNames->push_back(alias);
  return Vesk::Platform::DefaultHostCalls().canonical_name(alias, standard, status);
}

TEST_F(Pools, LongNamesAreCutTo255Bytes) {
  std::vector<std::string> asked;
  gAskedNames = &asked;
  Vesk::Platform::HostCalls().canonical_name = &RecordingCanonicalName;
  const std::string name = "cut-me-" + std::string(293, 'q');
  Id(name);
  ASSERT_FALSE(asked.empty());
  for (const std::string& seen : asked) EXPECT_EQ(seen, name.substr(0, 255));
  EXPECT_EQ(Transcoder::UTF8ToEncoding("abc", name), "");
}

TEST(UTF16ToEncoding, KnownCharacterSets) {
  const std::tuple<const char*, std::u16string, std::string> cases[] = {
      {"iso-8859-1", u"caf\u00e9", "caf\xE9"},
      {"windows-1252", u"\u20ac5", "\x80\x35"},
      {"shift_jis", u"\u65e5\u672c\u8a9e", "\x93\xFA\x96\x7B\x8C\xEA"},
      {"euc-jp", u"\u65e5\u672c", "\xC6\xFC\xCB\xDC"},
      {"euc-kr", u"\ud55c", "\xC7\xD1"},
      {"iso-2022-jp", u"a\u65e5b", "a\x1B$BF|\x1B(Bb"},
      {"utf-8", u"\u00e9\U0001F600", "\xC3\xA9\xF0\x9F\x98\x80"},
      {"utf-16be", u"A\u00e9", std::string("\0A\0\xE9", 4)},
      {"utf-7", u"a\u00e9", "a+AOk-"},
      {"koi8-r", u"\u043c\u0438\u0440", "\xCD\xC9\xD2"},
  };
  for (const auto& [encoding, text, bytes] : cases) {
    EXPECT_EQ(Hex(Transcoder::UTF16ToEncoding(W(text), encoding)), Hex(bytes)) << encoding;
    EXPECT_EQ(HexW(Transcoder::EncodingToUTF16(bytes, encoding)), HexW(W(text))) << encoding;
    // The two-stage forms agree with the one-stage ones.
    const std::string utf8 = Transcoder::asUTF8(W(text));
    EXPECT_EQ(Hex(Transcoder::UTF8ToEncoding(utf8, encoding)), Hex(bytes)) << encoding;
    EXPECT_EQ(Hex(Transcoder::EncodingToUTF8(bytes, encoding)), Hex(utf8)) << encoding;
  }
  // Names of one operation agree; even UTF-8 to UTF-8 goes through the service.
  for (const std::string& text :
       {std::string(), std::string("gr\xC3\xBC\xC3\x9F"), std::string("\xF0\x9F\x98\x80")}) {
    const Wide wide = Transcoder::asUTF16(text);
    EXPECT_EQ(wide, Transcoder::UTF8ToUTF16(text));
    EXPECT_EQ(wide, Transcoder::EncodingToUTF16(text, "utf-8"));
    EXPECT_EQ(Transcoder::UTF16ToUTF8(wide), text);
    EXPECT_EQ(Transcoder::UTF8ToEncoding(text, "utf-8"), text);
    EXPECT_EQ(Transcoder::EncodingToUTF8(text, "UTF-8"), text);
  }
}

TEST(asUTF8, EveryCodeUnitAndSomePairs) {
  for (unsigned unit = 0; unit < 0x10000; ++unit) {
    if (unit >= 0xD800 && unit < 0xE000) continue;
    const Wide wide(1, static_cast<unsigned short>(unit));
    const std::string utf8 = Transcoder::asUTF8(wide);
    ASSERT_EQ(Hex(utf8), Hex(Utf8Of(unit))) << "U+" << std::hex << unit;
    ASSERT_EQ(Transcoder::asUTF16(utf8), wide) << "U+" << std::hex << unit;
  }
  for (unsigned cp = 0x10000; cp <= 0x10FFFF; cp += 0x1111) {
    const Wide wide = {static_cast<unsigned short>(0xD800 + ((cp - 0x10000) >> 10)),
                       static_cast<unsigned short>(0xDC00 + ((cp - 0x10000) & 0x3FF))};
    ASSERT_EQ(Hex(Transcoder::asUTF8(wide)), Hex(Utf8Of(cp))) << std::hex << cp;
    ASSERT_EQ(Transcoder::asUTF16(Utf8Of(cp)), wide) << std::hex << cp;
  }
}

// Outputs around the 512- and 1024-byte buffers, and characters straddling
// their edges, come out whole.
TEST(asUTF8, TextsFillingTheBufferManyTimesComeOutWhole) {
  const std::u16string pieces[] = {u"a", u"\u00e9", u"\u65e5", u"\U0001F600"};
  for (const std::u16string& piece : pieces) {
    for (size_t count :
         {1u, 169u, 170u, 171u, 255u, 256u, 257u, 511u, 512u, 513u, 1023u, 1024u, 1025u, 5000u}) {
      std::u16string text;
      for (size_t i = 0; i < count; ++i) text += piece;
      const std::string utf8 = Transcoder::asUTF8(W(text));
      std::string expected;
      for (size_t i = 0; i < count; ++i) expected += Transcoder::asUTF8(W(piece));
      ASSERT_EQ(utf8, expected) << count;
      ASSERT_EQ(Transcoder::asUTF16(utf8), W(text)) << count;
      // An offset of one byte moves every edge.
      ASSERT_EQ(Transcoder::asUTF8(Transcoder::asUTF16("x" + utf8)), "x" + utf8) << count;
    }
  }
}

TEST(UTF8ToEncoding, LargeJapaneseTextRoundTrips) {
  std::string utf8;
  for (int i = 0; i < 3000; ++i) utf8 += "\xE6\x97\xA5\xE6\x9C\xAC\xE8\xAA\x9E abc ";
  for (const char* encoding : {"shift_jis", "euc-jp", "iso-2022-jp", "utf-16", "utf-7"}) {
    const std::string legacy = Transcoder::UTF8ToEncoding(utf8, encoding);
    ASSERT_FALSE(legacy.empty()) << encoding;
    EXPECT_EQ(Transcoder::EncodingToUTF8(legacy, encoding), utf8) << encoding;
  }
}

// A stop repeats the last chunk: the defined result, not a fault.
TEST(Transcoder, AStopRepeatsTheLastChunk) {
  const std::tuple<const char*, std::u16string, std::string> out[] = {
      {"iso-8859-1", u"abc\u20acdef", "abcabc"},
      {"iso-8859-1", u"\u20acdef", ""},
      {"iso-8859-1", std::u16string(600, u'a') + u"\u20ac", std::string(688, 'a')},
      {"shift_jis", u"\u65e5\u0100", "\x93\xFA\x93\xFA"},
      // Stops in the middle of a double-byte run: no return to ASCII is
      // written, and the last chunk, shift included, comes twice.
      {"iso-2022-jp", u"\u65e5\U0001F600", "\x1B$BF|\x1B$BF|"},
  };
  for (const auto& [encoding, text, expected] : out)
    EXPECT_EQ(Hex(Transcoder::UTF16ToEncoding(W(text), encoding)), Hex(expected)) << encoding;
  const std::tuple<const char*, std::string, std::u16string> in[] = {
      {"utf-8", "ab\xFF\x63\x64", u"abab"},
      {"utf-8", "\xC0\xAF", u""},                // overlong
      {"utf-8", "x\xED\xA0\x80y", u"xx"},        // encoded surrogate
      {"utf-8", "ok\xE6\x97", u"ok"},            // truncated at the end: dropped by the flush
      {"shift_jis", "a\x81", u"a"},              // lone lead byte at the end
      {"utf-16", std::string("A\0B", 3), u"A"},  // odd byte count
      {"utf-8", std::string(1500, 'z') + "\xFF", std::u16string(1976, u'z')},
  };
  for (const auto& [encoding, bytes, expected] : in)
    EXPECT_EQ(HexW(Transcoder::EncodingToUTF16(bytes, encoding)), HexW(W(expected)))
        << encoding << " " << Hex(bytes.substr(0, 16));
}

// A lone low surrogate can never begin a character: it stops the text wherever
// it stands. A high surrogate at the very end may be a character cut short: it
// is held back and dropped by the flush.
TEST(UTF16ToEncoding, LoneSurrogatesStopTheTextExceptAHighOneAtTheEnd) {
  const std::string a600(600, 'a');
  const std::tuple<std::u16string, std::string, std::string> rows[] = {  // text, UTF-8, Latin-1
      {u"ab\xDC21\x63\x64", "abab", "abab"},
      {u"ab\xDC21", "abab", "abab"},
      {u"ab\xD834", "ab", "ab"},
      {u"ab\xD834\x63\x64", "abab", "abab"},
      {u"\xDC21", "", ""},
      {u"ab\xD834\xDC21", "ab\xF0\x9D\x80\xA1", "abab"},
      {u"ab\xDC21\xD834", "abab", "abab"},
      {std::u16string(600, u'a') + u"\xDC21", a600 + std::string(88, 'a'), a600 + std::string(88, 'a')},
  };
  for (const auto& [text, utf8, latin1] : rows) {
    EXPECT_EQ(Hex(Transcoder::asUTF8(W(text))), Hex(utf8)) << HexW(W(text.substr(0, 8)));
    EXPECT_EQ(Hex(Transcoder::UTF16ToEncoding(W(text), "iso-8859-1")), Hex(latin1)) << HexW(W(text.substr(0, 8)));
  }
  // Every surrogate alone and behind a letter.
  for (unsigned short unit = 0xD800; unit < 0xE000; ++unit) {
    const bool high = unit < 0xDC00;
    ASSERT_EQ(Transcoder::asUTF8(Wide(1, unit)), "") << std::hex << unit;
    ASSERT_EQ(Transcoder::asUTF8(Wide{'x', unit}), high ? "x" : "xx") << std::hex << unit;
  }
}

TEST(UTF16ToEncoding, FallbackMappingsCountAsSuccess) {
  // Fullwidth "!" has only a fallback mapping in windows-1252.
  EXPECT_EQ(Transcoder::UTF16ToEncoding(W(u"a\uff01b"), "windows-1252"), "a!b");
  std::u16string many;
  for (int i = 0; i < 700; ++i) many += u"\uff01";
  EXPECT_EQ(Transcoder::UTF16ToEncoding(W(many), "windows-1252"), std::string(700, '!'));
}

// A stateful set goes back to its pool reset, so the next text starts clean.
TEST(UTF16ToEncoding, StatefulSetsStartEachTextAfresh) {
  EXPECT_EQ(Transcoder::UTF16ToEncoding(W(u"abc"), "iso-2022-jp"), "abc");
  // A text that ends inside a double-byte run does not shift the next one.
  EXPECT_EQ(Transcoder::EncodingToUTF16("\x1B$BF|", "iso-2022-jp"), W(u"\u65e5"));
  EXPECT_EQ(Transcoder::EncodingToUTF16("F|", "iso-2022-jp"), W(u"F|"));
}

TEST(filesytemToUTF16, FollowsTheDefaultChannelEncoding) {
  ASSERT_TRUE(Vesk::Platform::SetHostLocale("ja_JP.UTF-8"));  // channel: shift_jis
  EXPECT_EQ(Transcoder::asFilesystemString(W(u"\u65e5\u672c")), "\x93\xFA\x96\x7B");
  EXPECT_EQ(Transcoder::filesytemToUTF16("\x93\xFA\x96\x7B"), W(u"\u65e5\u672c"));

  ASSERT_TRUE(Vesk::Platform::SetHostLocale("de_DE.ISO-8859-1"));
  EXPECT_EQ(Transcoder::asFilesystemString(W(u"gr\u00fc\u00df")), "gr\xFC\xDF");
  EXPECT_EQ(Transcoder::filesytemToUTF16("gr\xFC\xDF"), W(u"gr\u00fc\u00df"));
  Vesk::Platform::SetHostLocale("");
}

TEST(PlatformEncoding, NamesTheSystemEncodingButNeverUnicode) {
  const std::tuple<const char*, const char*, const char*> rows[] = {  // locale, platform, channel
      {"ja_JP.UTF-8", "utf-8", "shift_jis"},  {"ja_JP.eucJP", "euc-jp", "shift_jis"},
      {"ko_KR.UTF-8", "utf-8", "iso-8859-1"}, {"en_US.UTF-16", "utf-16", "iso-8859-1"},
      {"C", "us-ascii", "iso-8859-1"},        {"de_DE.ISO-8859-1", "iso-8859-1", "iso-8859-1"}};
  for (const auto& [locale, platform, channel] : rows) {
    ASSERT_TRUE(Vesk::Platform::SetHostLocale(locale)) << locale;
    EXPECT_EQ(Transcoder::PlatformEncoding(), platform) << locale;
    EXPECT_EQ(Transcoder::DefaultChannelEncoding(), channel) << locale;
  }
  Vesk::Platform::SetHostLocale("");
}

// The encoding ids of a pool's idle converters, oldest first.
std::vector<unsigned long> Keys(Pool pool) {
  std::vector<unsigned long> keys;
  for (const Entry& e : Contents(pool)) keys.push_back(e.key);
  return keys;
}
using Keyed = std::vector<unsigned long>;

TEST_F(Pools, EachConversionTakesAndReturnsItsConverters) {
  // Even empty text takes a converter; only the pool of the direction used.
  EXPECT_EQ(Transcoder::asUTF8(Wide()), "");
  EXPECT_EQ(Keys(Pool::kFromUTF16), Keyed{Id("utf-8")});
  EXPECT_EQ(Keys(Pool::kToUTF16), Keyed{});
  Vesk::TranscoderView::DisposeIdleConverters();
  // One entry, reused, and returned by a failed run too.
  EXPECT_EQ(Transcoder::UTF16ToEncoding(W(u"abc"), "iso-8859-1"), "abc");
  const std::vector<Entry> first = Contents(Pool::kFromUTF16);
  EXPECT_EQ(Transcoder::UTF16ToEncoding(W(u"def"), "ISO-8859-1"), "def");
  EXPECT_EQ(Transcoder::UTF16ToEncoding(W(u"x\u20ac"), "iso-8859-1"), "xx");
  EXPECT_EQ(Contents(Pool::kFromUTF16), first);
  EXPECT_EQ(Keys(Pool::kFromUTF16), Keyed{Id("iso-8859-1")});
  EXPECT_EQ(Keys(Pool::kToUTF16), Keyed{});
  EXPECT_EQ(Keys(Pool::kFromUTF32), Keyed{});
  Vesk::TranscoderView::DisposeIdleConverters();
  // Two-stage forms use both pools.
  EXPECT_EQ(Transcoder::UTF8ToEncoding("abc", "shift_jis"), "abc");
  EXPECT_EQ(Keys(Pool::kToUTF16), Keyed{Id("utf-8")});
  EXPECT_EQ(Keys(Pool::kFromUTF16), Keyed{Id("shift_jis")});
  // An unknown encoding leaves the pools as they are.
  Transcoder::UTF8ToEncoding("a", "utf-8");
  const auto from = Contents(Pool::kFromUTF16), to = Contents(Pool::kToUTF16);
  EXPECT_EQ(Transcoder::UTF16ToEncoding(W(u"abc"), "no-such-charset"), "");
  EXPECT_EQ(Transcoder::EncodingToUTF16("abc", "no-such-charset"), Wide());
  EXPECT_EQ(Transcoder::UTF8ToEncoding("abc", "no-such-charset"), "");
  EXPECT_EQ(Transcoder::EncodingToUTF8("abc", "no-such-charset"), "");
  EXPECT_EQ(Contents(Pool::kFromUTF16), from);
  EXPECT_EQ(Contents(Pool::kToUTF16), to);
}

UConverter* FailingOpen(const char*, UErrorCode* status) {
  *status = U_MEMORY_ALLOCATION_ERROR;
  return nullptr;
}

TEST_F(Pools, AFailingOpenGivesEmptyTextAndLeavesThePoolsUnchanged) {
  Vesk::Platform::HostCalls().open = &FailingOpen;
  EXPECT_EQ(Transcoder::asUTF8(W(u"abc")), "");
  EXPECT_EQ(Transcoder::asUTF16("abc"), Wide());
  EXPECT_EQ(Transcoder::UTF8ToEncoding("abc", "shift_jis"), "");
  EXPECT_TRUE(Contents(Pool::kFromUTF16).empty() && Contents(Pool::kToUTF16).empty());
  Vesk::Platform::HostCalls() = Vesk::Platform::DefaultHostCalls();
  EXPECT_EQ(Transcoder::asUTF8(W(u"abc")), "abc");
}

// Holds every converter open until two have been opened, so that two
// conversions of one key overlap.
struct Rendezvous {
  std::mutex lock;
  std::condition_variable arrived;
  int opened = 0;
};
Rendezvous* gRendezvous;

UConverter* OpenAndWaitForTheOther(const char* name, UErrorCode* status) {
  UConverter* converter = Vesk::Platform::DefaultHostCalls().open(name, status);
  std::unique_lock<std::mutex> hold(gRendezvous->lock);
  ++gRendezvous->opened;
  gRendezvous->arrived.notify_all();
  gRendezvous->arrived.wait(hold, [] { return gRendezvous->opened >= 2; });
  return converter;
}

TEST_F(Pools, OverlappingConversionsLeaveTwoIdleEntriesUsedInTurn) {
  Rendezvous rendezvous;
  gRendezvous = &rendezvous;
  Vesk::Platform::HostCalls().open = &OpenAndWaitForTheOther;
  std::string out1, out2;
  std::thread t1([&] { out1 = Transcoder::UTF16ToEncoding(W(u"one"), "iso-8859-1"); });
  std::thread t2([&] { out2 = Transcoder::UTF16ToEncoding(W(u"two"), "iso-8859-1"); });
  t1.join();
  t2.join();
  Vesk::Platform::HostCalls() = Vesk::Platform::DefaultHostCalls();
  EXPECT_TRUE(out1 == "one" && out2 == "two");
  EXPECT_EQ(Keys(Pool::kFromUTF16), (Keyed{Id("iso-8859-1"), Id("iso-8859-1")}));
  const std::vector<Entry> idle = Contents(Pool::kFromUTF16);
  ASSERT_EQ(idle.size(), 2u);
  EXPECT_NE(idle[0].converter, idle[1].converter);
  // First in, first out: the earliest goes out and comes back behind the other.
  Transcoder::UTF16ToEncoding(W(u"three"), "iso-8859-1");
  EXPECT_EQ(Contents(Pool::kFromUTF16), (std::vector<Entry>{idle[1], idle[0]}));
}

TEST(StartStop, TheConverterGroupIsBuiltFirst) {
  std::vector<std::string> steps = Vesk::StartStop::Steps();
  steps.resize(4);
  EXPECT_EQ(steps, (std::vector<std::string>{"built converterMapLock", "built fromUTF16Converters",
                                             "built toUTF16Converters", "built fromUTF32Converters"}));
}

void PrintStep(const char* step) { std::fprintf(stderr, "[%s]\n", step); }
void PrintingClose(UConverter* converter) {
  std::fprintf(stderr, "[close]\n");
  Vesk::Platform::DefaultHostCalls().close(converter);
}

TEST(StartStop, ExitHandlersDisposeOfIdleConvertersThenTheLockGoes) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(
      {
        Vesk::TranscoderView::DisposeIdleConverters();
        Transcoder::UTF8ToEncoding("abc", "shift_jis");
        Transcoder::UTF16ToEncoding(W(u"abc"), "iso-8859-1");
        Vesk::Platform::HostCalls().close = &PrintingClose;
        Vesk::StartStop::SetObserver(&PrintStep);
        std::exit(0);
      },
      ::testing::ExitedWithCode(0),
      "\\[emptied fromUTF32Converters\\]\n\\[close\\]\n\\[emptied toUTF16Converters\\]\n"
      "\\[close\\]\n\\[close\\]\n\\[emptied fromUTF16Converters\\]\n\\[destroyed converterMapLock\\]");
}

}  // namespace
