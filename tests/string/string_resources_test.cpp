#include "vesk/string/string_resources.h"

#include <libintl.h>
#include <unistd.h>

#include <clocale>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <string>
#include <utility>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>

#include "tests/string/string_test_support.h"
#include "tests/support/resources.h"
#include "vesk/platform/handles"
#include "vesk/platform/locale_facts"
#include "vesk/platform/resources"
#include "vesk/string/cstring"
#include "vesk/string/string_sources"

#ifndef VESK_TEST_LOCALE_DIR
#error "VESK_TEST_LOCALE_DIR names the compiled test catalogs"
#endif

namespace {

using namespace cstest;
namespace P = Vesk::Platform;
using Vesk::StringResources::gLoadStringCache;
using Vesk::StringResources::SlotIndex;

using vesktest::List;
using vesktest::Pascal;
using vesktest::Resource;
using vesktest::Table;

// Replaces the text of a "STR " resource in the open file.
void SetSingleString(short id, const std::string& text) {
  char** h = P::FindStringResource(id);
  ASSERT_NE(h, nullptr);
  const std::string data = Pascal(text);
  ASSERT_TRUE(P::ResizeMovableBlock(h, data.size()));
  std::memcpy(*h, data.data(), data.size());
}

std::u16string Ascii(const std::string& text) { return std::u16string(text.begin(), text.end()); }

struct Load {
  bool found;
  std::u16string text;
};

Load LoadInto(unsigned int id, std::u16string_view before = u"") {
  CString s = Make(before);
  const bool found = s.LoadString(id);
  EXPECT_SOUND(s);
  return {found, Text(s)};
}

class StringResources : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    // The application's side: a locale whose messages are translated, the
    // catalogs bound, and the main text domain chosen.
    saved_messages_ = std::setlocale(LC_MESSAGES, nullptr);
    saved_ctype_ = std::setlocale(LC_CTYPE, nullptr);
    ASSERT_NE(std::setlocale(LC_MESSAGES, "C.UTF-8"), nullptr);
    ASSERT_NE(std::setlocale(LC_CTYPE, "C.UTF-8"), nullptr);
    setenv("LANGUAGE", "en", 1);
    for (const char* domain : {"vesktest", "vesknamed1", "vesknamed2"})
      bindtextdomain(domain, VESK_TEST_LOCALE_DIR);
    saved_domain_ = textdomain(nullptr);
    textdomain("vesktest");
    ASSERT_TRUE(P::SetHostLocale("C"));  // 8-bit resource text is UTF-8

    std::vector<std::string> list200;
    for (int i = 1; i <= 500; ++i) list200.push_back("list 200 item " + std::to_string(i));
    list200[1] = "";
    list200[2] = "table two hundred";
    list200[3] = "dup A";
    list200[4] = "dup B";
    std::vector<P::ResourceEntry> entries = {
        // Deliberately unsorted; 105 twice.
        Resource("STRm", 0, Table({{200, 2}, {101, 500}, {100, 0}, {105, 3}, {102, 499}, {103, 1}, {104, 1000}, {105, 4}})),
        Resource("STR#", 200, List(list200)), Resource("STR#", 201, List({"list 201 item 1"})),
        Resource("STR ", 302, "\xC8short")};  // claims 200 bytes, holds 5
    const std::pair<short, const char*> singles[] = {
        {0, "zero"},         {1, "one"},         {8, "eight"},   {9, "nine"},
        {10, "ten"},         {11, "eleven"},     {64, "sixty-four"}, {65, "sixty-five"},
        {300, "single three hundred"},           {301, "%d items"},  {-1, "single minus one"}};
    for (const auto& [id, text] : singles) entries.push_back(Resource("STR ", id, Pascal(text)));
    file_ = new vesktest::TempFile("strings");
    file_->Write(vesktest::Serialized(entries));
    P::ResourceFileRef ref = 0;
    ASSERT_EQ(P::OpenResourceFile(file_->path.c_str(), &ref), P::ResourceFileStatus::kOK);
    CString::AddStringTableForSearch("vesknamed1");
    CString::AddStringTableForSearch("vesknamed2");
  }

  static void TearDownTestSuite() {
    P::CloseAllResourceFiles();
    gStrResTable = nullptr;
    gStrResTableInited = 0;
    delete file_;
    textdomain(saved_domain_.c_str());
    std::setlocale(LC_MESSAGES, saved_messages_.c_str());
    std::setlocale(LC_CTYPE, saved_ctype_.c_str());
    unsetenv("LANGUAGE");
  }

  // Each test starts with a fresh cache and a reloaded table.
  void SetUp() override { gStrResTableInited = 0; }

  static vesktest::TempFile* file_;
  static std::string saved_domain_, saved_messages_, saved_ctype_;
};

vesktest::TempFile* StringResources::file_ = nullptr;
std::string StringResources::saved_domain_, StringResources::saved_messages_, StringResources::saved_ctype_;

TEST(StringResourceSlots, SlotRule) {
  const std::pair<unsigned, unsigned> rows[] = {{0, 0},  {1, 1},   {8, 8},   {9, 9},  {10, 11},
                                                {11, 11}, {12, 13}, {63, 63}, {64, 1}, {65, 1},
                                                {66, 3},  {0xFFFFFFFFu, 63},  {0x10000u, 1}};
  for (const auto& row : rows) EXPECT_EQ(SlotIndex(row.first), row.second) << row.first;
}

TEST_F(StringResources, StoresInTheirOrder) {
  using S = Vesk::StringSource;
  const std::tuple<unsigned int, std::u16string, S, const char*> rows[] = {
      {100, u"list 200 item 1", S::kListTable, "place 0: list 200, item 1"},
      {102, u"list 200 item 500", S::kListTable, "place 499: list 200, item 500"},
      {101, u"list 201 item 1", S::kListTable, "place 500: list 201, item 1"},
      {200, u"table two hundred", S::kListTable, "the table wins over the bundle"},
      {300, u"single three hundred", S::kSingleString, "a single string"},
      {302, u"short", S::kSingleString, "a length prefix past the block is cut to it"},
      {400, u"bundle four hundred", S::kMainTable, "the main table before the named ones"},
      {401, u"bundle caf\u00E9", S::kMainTable, "the bundle's text is converted"},
      {500, u"first table 500", S::kNamedTable, "named tables in the order added"},
      {501, u"first table 501", S::kNamedTable, "first named table"},
      {502, u"second table 502", S::kNamedTable, "second named table"},
      {1234, u"1234", S::kOwnDigits, "found nowhere: its own digits, and true"},
      {0x10064, u"list 200 item 1", S::kListTable, "the table by the low 16 bits"},
      {0x1FFFF, u"single minus one", S::kSingleString, "single strings by the low 16 bits, signed"},
      {70000, u"bundle seventy thousand", S::kMainTable, "the bundle by the full number"},
      {4000000000u, u"-29496729", S::kOwnDigits, "printed with %d, cut to 9 characters"},
      {300, u"single three hundred", S::kCache, "a repeated number"},
  };
  for (const auto& [id, text, source, why] : rows) {
    const Load got = LoadInto(id, u"before");
    EXPECT_TRUE(got.found) << id << ": " << why;
    EXPECT_EQ(got.text, text) << id << ": " << why;
    EXPECT_STREQ(Vesk::StringSourceName(Vesk::LastStringSource()), Vesk::StringSourceName(source))
        << id << ": " << why;
  }
  gStrResTableInited = 0;  // a fresh cache
  LoadInto(502);
  EXPECT_EQ(Vesk::LastStringTable(), "vesknamed2");
}

TEST_F(StringResources, EmptyListItemStopsTheSearch) {
  // 103 maps to an empty item, 104 to a list that does not exist: false, the
  // target unchanged, and no later store asked.
  for (unsigned int id : {103u, 104u}) {
    const Load first = LoadInto(id, u"before");
    EXPECT_FALSE(first.found) << id;
    EXPECT_EQ(first.text, u"before") << id;
    // The cached failure hands out what stood in the first target.
    const Load again = LoadInto(id, u"other");
    EXPECT_FALSE(again.found) << id;
    EXPECT_EQ(again.text, u"before") << id;
  }
}

TEST_F(StringResources, DuplicateRecordsFindEither) {
  const Load got = LoadInto(105);
  EXPECT_TRUE(got.found);
  EXPECT_TRUE(got.text == u"dup A" || got.text == u"dup B");
}

TEST_F(StringResources, NumbersSharingASlot) {
  // Each pair or triple shares one slot: a load of one evicts the other.
  const std::vector<std::vector<std::pair<short, std::string>>> groups = {
      {{10, "ten"}, {11, "eleven"}},
      {{1, "one"}, {64, "sixty-four"}, {65, "sixty-five"}},
  };
  for (const auto& group : groups) {
    const short first = group[0].first;
    const auto first_id = static_cast<unsigned>(first);
    EXPECT_EQ(LoadInto(first_id).text, Ascii(group[0].second));
    // Changed behind the cache: a hit still gives the old text.
    SetSingleString(first, "changed");
    EXPECT_EQ(LoadInto(first_id).text, Ascii(group[0].second));
    for (size_t i = 1; i < group.size(); ++i) {
      const auto other_id = static_cast<unsigned>(group[i].first);
      EXPECT_EQ(SlotIndex(other_id), SlotIndex(first_id));
      EXPECT_EQ(LoadInto(other_id).text, Ascii(group[i].second));
      // The neighbour took the slot: the first number misses and sees the change.
      EXPECT_EQ(LoadInto(first_id).text, u"changed") << first << " after " << other_id;
      SetSingleString(first, "changed again");
      EXPECT_EQ(LoadInto(first_id).text, u"changed") << "a hit again";
      SetSingleString(first, "changed");
    }
    SetSingleString(first, group[0].second);
  }
  // 8 and 9 have slots of their own.
  EXPECT_EQ(LoadInto(8).text, u"eight");
  EXPECT_EQ(LoadInto(9).text, u"nine");
  EXPECT_EQ(gLoadStringCache[8].id, 8u);
  EXPECT_EQ(gLoadStringCache[9].id, 9u);
}

TEST_F(StringResources, NumberZeroNeverHits) {
  EXPECT_EQ(LoadInto(0).text, u"zero");
  EXPECT_EQ(gLoadStringCache[0].id, 0u);
  SetSingleString(0, "changed zero");
  EXPECT_EQ(LoadInto(0).text, u"changed zero");
  SetSingleString(0, "zero");
}

TEST_F(StringResources, ClearingTheFlagReloads) {
  EXPECT_EQ(LoadInto(300).text, u"single three hundred");
  EXPECT_EQ(NumStrRes(), 8u);
  SetSingleString(300, "reloaded");
  EXPECT_EQ(LoadInto(300).text, u"single three hundred");  // cached
  gStrResTableInited = 0;
  EXPECT_EQ(LoadInto(300).text, u"reloaded");
  SetSingleString(300, "single three hundred");
}

TEST_F(StringResources, TableRecordsAndHelpers) {
  gStrResTable = nullptr;
  EXPECT_EQ(NumStrRes(), 0u);  // not loaded before the first load
  LoadInto(100);
  ASSERT_NE(gStrResTable, nullptr);
  EXPECT_EQ(NumStrRes(), 8u);
  // Sorted by number, in host order.
  const auto* records = reinterpret_cast<const uint16_t*>(*gStrResTable);
  for (unsigned i = 1; i < NumStrRes(); ++i) EXPECT_LE(records[2 * (i - 1)], records[2 * i]) << i;
  const uint16_t a[2] = {5, 900}, b[2] = {0xFFFF, 1}, c[2] = {5, 1};
  EXPECT_LT(StrResCmp(a, b), 0);
  EXPECT_GT(StrResCmp(b, a), 0);
  EXPECT_EQ(StrResCmp(a, c), 0);  // the place is not compared
  EXPECT_EQ(CheckStrResTableForDups(*gStrResTable, static_cast<int>(NumStrRes())), 0);
}

TEST_F(StringResources, FormatWithAStringNumber) {
  CString s;
  s.Format(301u, 5);
  EXPECT_EQ(Text(s), u"5 items");
  s.Format(1234u);  // no store: the digits are the format
  EXPECT_EQ(Text(s), u"1234");
}

TEST_F(StringResources, NumbersInPlaceOfPointers) {
  EXPECT_EQ(Text(CString(reinterpret_cast<const unsigned short*>(std::uintptr_t{1234}))), u"1234");
  EXPECT_EQ(Text(CString(reinterpret_cast<const unsigned short*>(std::uintptr_t{300}))),
            u"single three hundred");
  EXPECT_EQ(Text(CString(reinterpret_cast<const char*>(std::uintptr_t{300}))), u"single three hundred");
  EXPECT_EQ(Text(CString(reinterpret_cast<const char*>(std::uintptr_t{0xFFFF}))), u"single minus one");
}

}  // namespace
