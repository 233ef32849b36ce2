#include "vesk/uri/uri"

#include <map>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "vesk/encoding/transcoder"

namespace {

using Vesk::URI;
using Map = std::map<std::string, std::string>;

enum class Op { GetMap, GetValue, SetValue, SetMap };

struct QueryCase {
  const char* stored;  // m_Query, set as it stands
  Op op;
  const char* name;   // GetValue, SetValue
  const char* value;  // SetValue
  bool present;       // GetValue
  Map map;            // GetMap: expected; GetValue: value under `name`; SetMap: argument
  const char* query;  // SetValue, SetMap: m_Query afterwards
};

// One row per case of the documented query behaviour, in its order, then
// further cases.
// clang-format off
const QueryCase kQueryTable[] = {
    {"a=1&b=2", Op::GetMap, "", "", false, {{"a", "1"}, {"b", "2"}}, ""},
    {"a=1&a=2", Op::GetMap, "", "", false, {{"a", "2"}}, ""},
    {"a", Op::GetValue, "a", "", true, {{"a", ""}}, ""},
    {"a=b=c", Op::GetValue, "a", "", true, {{"a", "b=c"}}, ""},
    {"x+y=1%2B2", Op::GetMap, "", "", false, {{"x y", "1+2"}}, ""},
    {"a%26b=c", Op::GetMap, "", "", false, {{"a&b", "c"}}, ""},
    {"a=1&&b=2", Op::GetMap, "", "", false, {{"a", "1"}, {"b", "2"}, {"", ""}}, ""},
    {"a=1&", Op::GetMap, "", "", false, {{"a", "1"}}, ""},
    {"&", Op::GetMap, "", "", false, {{"", ""}}, ""},
    {"a=1;b=2", Op::GetMap, "", "", false, {{"a", "1;b=2"}}, ""},
    {"", Op::GetMap, "", "", false, {}, ""},
    {"z=1&a=2", Op::SetValue, "m", "x y", false, {}, "a=2&m=x%20y&z=1"},
    {"a", Op::SetValue, "b", "1", false, {}, "a=&b=1"},
    {"a=1", Op::GetValue, "A", "", false, {}, ""},
    {"", Op::SetValue, "k", "a&b=c", false, {}, "k=a%26b%3Dc"},
    {"a=1&b=2", Op::SetMap, "", "", false, {}, ""},
    // Further cases.
    {"a%3Db=c%3D", Op::GetMap, "", "", false, {{"a=b", "c="}}, ""},
    {"=v", Op::GetMap, "", "", false, {{"", "v"}}, ""},
    {"a=%zz&b=%4&c=%", Op::GetMap, "", "", false, {{"a", "%zz"}, {"b", "%4"}, {"c", "%"}}, ""},
    {"n=caf%C3%A9&%E6%97%A5=\xC3\xA9", Op::GetMap, "", "", false, {{"n", "caf\xC3\xA9"}, {"\xE6\x97\xA5", "\xC3\xA9"}}, ""},
    {"a+b", Op::GetValue, "a b", "", true, {{"a b", ""}}, ""},
    {"a+b", Op::GetValue, "a+b", "", false, {}, ""},
    {"x=1&x", Op::GetValue, "x", "", true, {{"x", ""}}, ""},
    {"a=1+2&b=%2B", Op::SetValue, "c", "+", false, {}, "a=1%202&b=%2B&c=%2B"},
    {"b=1&a", Op::SetValue, "b", "", false, {}, "a=&b="},
    {"k=old", Op::SetValue, "k", "new/?:@&=+$;,", false, {}, "k=new%2F%3F%3A%40%26%3D%2B%24;,"},
    {"", Op::SetValue, "\xC3\xA9", "\xE6\x97\xA5 x", false, {}, "\xC3\xA9=\xE6\x97\xA5%20x"},
    {"", Op::SetMap, "", "", false, {{"", ""}}, "="},
    {"", Op::SetMap, "", "", false, {{"b", "2"}, {"B", "1"}, {"\xC3\xA9", ""}, {"a", "x y"}}, "B=1&a=x%20y&b=2&\xC3\xA9="},
};
// clang-format on

void check(const QueryCase& row) {
  SCOPED_TRACE(std::string("stored query '") + row.stored + "', name '" + row.name + "'");
  URI uri("http://h/p#frag");
  uri.SetQuery(row.stored, false);
  switch (row.op) {
    case Op::GetMap: {
      Map map{{"stale", "entry"}};
      uri.GetQueryByMap(map);
      EXPECT_EQ(map, row.map);
      break;
    }
    case Op::GetValue: {
      std::string value = "untouched";
      EXPECT_EQ(uri.GetQueryValue(row.name, value), row.present);
      EXPECT_EQ(value, row.present ? row.map.at(row.name) : "untouched");
      break;
    }
    case Op::SetValue:
      uri.SetQueryValue(row.name, row.value);
      EXPECT_EQ(uri.m_Query, row.query);
      break;
    case Op::SetMap:
      uri.SetQueryByMap(row.map);
      EXPECT_EQ(uri.m_Query, row.query);
      break;
  }
  // The query operations touch nothing but the query.
  EXPECT_EQ(uri.m_Path, "/p");
  EXPECT_EQ(uri.m_Fragment, "frag");
  EXPECT_TRUE(uri.IsValidURI());
}

TEST(QueryMap, Table) {
  for (const auto& row : kQueryTable) check(row);
}

TEST(QueryMap, WideValueTarget) {
  URI uri("http://h/?n=caf%C3%A9%20%F0%9F%98%80&e=");
  std::basic_string<unsigned short> wide{u'x'};
  ASSERT_TRUE(uri.GetQueryValue("n", wide));
  const std::basic_string<unsigned short> expected{u'c', u'a', u'f', 0x00E9, u' ', 0xD83D, 0xDE00};
  EXPECT_EQ(wide, expected);
  ASSERT_TRUE(uri.GetQueryValue("e", wide));
  EXPECT_TRUE(wide.empty());
  wide = {u'k'};
  EXPECT_FALSE(uri.GetQueryValue("absent", wide));
  EXPECT_EQ(wide, std::basic_string<unsigned short>{u'k'});
}

TEST(QueryMap, EveryByteSurvivesTheMap) {
  // Each byte as a name and as a value: written by SetQueryByMap, read back
  // the same by GetQueryByMap.
  Map map;
  for (int c = 0; c < 256; ++c) {
    const std::string byte(1, static_cast<char>(c));
    map[byte] = byte + "v" + byte;
  }
  map["two words"] = "a+b=c&d%e";
  URI uri("http://h/");
  uri.SetQueryByMap(map);
  Map back;
  uri.GetQueryByMap(back);
  EXPECT_EQ(back, map);
  // Writing the read map again gives the same text: the form is canonical.
  const std::string first = uri.m_Query;
  uri.SetQueryByMap(back);
  EXPECT_EQ(uri.m_Query, first);
}

TEST(QueryMap, WritesWhatQueryEscapeWrites) {
  // Every byte, alone and amid letters, as a name and as a value.
  for (int c = 0; c < 256; ++c) {
    for (const std::string& text :
         {std::string(1, static_cast<char>(c)), "ab" + std::string(1, static_cast<char>(c)) + "z"}) {
      URI uri("http://h/");
      uri.SetQueryByMap({{text, text}});
      const std::string once = URI::QueryEscape(text);
      EXPECT_EQ(uri.m_Query, once + "=" + once) << "byte " << c;
    }
  }
}

TEST(QueryMap, WorksOnEveryShape) {
  struct Row {
    const char* text;
    const char* after;  // ToString(false) after SetQueryValue("k", "v")
  };
  const Row rows[] = {
      {"mailto:joe@host?subject=x", "mailto:joe@host?k=v&subject=x"},
      {"a/b", "a/b?k=v"},
      {"http://h", "http://h?k=v"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.text);
    URI uri(row.text);
    uri.SetQueryValue("k", "v");
    EXPECT_EQ(uri.ToString(false), row.after);
    std::string value;
    EXPECT_TRUE(uri.GetQueryValue("k", value));
    EXPECT_EQ(value, "v");
  }
  // A blank URI takes the query, though it stays blank.
  URI blank;
  blank.SetQueryValue("k", "v");
  EXPECT_EQ(blank.m_Query, "k=v");
  EXPECT_FALSE(blank.IsValidURI());
}

TEST(QueryMap, EmptyMapClearsQuery) {
  URI uri("http://h/?a=1#f");
  uri.SetQueryByMap(Map());
  EXPECT_EQ(uri.ToString(false), "http://h/#f");
}

}  // namespace
