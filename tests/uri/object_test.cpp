#include "vesk/uri/uri"

#include <gtest/gtest.h>

#include <string>

#include "vesk/uri/load_order.h"

namespace {

using Vesk::URI;

// What a static initialiser of default priority sees: by then the strings and
// the maps must be complete.
struct EarlyUse {
  int steps = Vesk::uri_internal::LoadStepCount();
  int first = Vesk::uri_internal::LoadStep(0);
  int second = Vesk::uri_internal::LoadStep(1);
  bool mapsMatch = Vesk::uri_internal::CharacterMapsMatchStrings();
  std::string alpha = URI::URIalpha;
  std::string escaped = URI::Escape("a b:c/\x7F");
  std::string parsedScheme = URI("HTTP://h/").m_Scheme;
};
const EarlyUse earlyUse;

TEST(LoadOrder, StringsThenMapsBeforeClientCode) {
  EXPECT_EQ(earlyUse.steps, 2);
  EXPECT_EQ(earlyUse.first, Vesk::uri_internal::kLoadStepStrings);
  EXPECT_EQ(earlyUse.second, Vesk::uri_internal::kLoadStepMaps);
  EXPECT_TRUE(earlyUse.mapsMatch);
  EXPECT_EQ(earlyUse.alpha, "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ");
  EXPECT_EQ(earlyUse.escaped, "a%20b%3Ac/%7F");
  EXPECT_EQ(earlyUse.parsedScheme, "http");
}

TEST(CharacterClasses, ExactValues) {
  std::string control;
  for (int c = 1; c < 0x20; ++c) control.push_back(static_cast<char>(c));
  control.push_back('\x7F');
  const std::string delimsReal = "<>#%\"";
  const std::string unwise = "{}|\\^[]`";
  struct Row {
    const std::string& actual;
    std::string expected;
  } rows[] = {
      {URI::URIlowalpha, "abcdefghijklmnopqrstuvwxyz"},
      {URI::URIupalpha, "ABCDEFGHIJKLMNOPQRSTUVWXYZ"},
      {URI::URIalpha, "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ"},
      {URI::URIdigit, "0123456789"},
      {URI::URIalphanum, "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789"},
      {URI::URIreserved, ";/?:@&=+$,[]"},
      {URI::URImark, "-_.!~*'()"},
      {URI::URIunreserved, "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789-_.!~*'()"},
      {URI::URIuric, ";/?:@&=+$,[]abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789-_.!~*'()"},
      {URI::URIhex, "0123456789ABCDEFabcdef"},
      {URI::URIescaped, "%xx"},
      {URI::URIspace, " "},
      {URI::URIdelims_real, delimsReal},
      {URI::URIdelims, delimsReal + ":?@"},
      {URI::URInonhierdelims, delimsReal + ":?"},
      {URI::URIunwise, unwise},
      {URI::URIcontrol, control},
      {URI::URIexcluded, control + " " + delimsReal + ":?@" + unwise},
      {URI::URIqueryreserved, "/?:@&=+$"},
      {URI::URIqueryexcluded, control + " " + delimsReal + ":?@" + unwise + "/?:@&=+$"},
      {URI::URInonhierexcluded, control + " " + delimsReal + ":?" + unwise},
  };
  for (const Row& row : rows) EXPECT_EQ(row.actual, row.expected);
  EXPECT_EQ(URI::URIcontrol.size(), 32u);
}

TEST(URI, DefaultIsBlank) {
  const URI uri;
  EXPECT_FALSE(uri.IsValidURI());
  EXPECT_TRUE(uri.IsAbsolute());
  EXPECT_FALSE(uri.IsRelative());
  EXPECT_FALSE(uri.IsHierarchical());
  EXPECT_FALSE(uri.IsDirectory());
  EXPECT_EQ(uri.GetScheme(), "unknown");
  EXPECT_EQ(uri.ToString(false), "unknown:");
  EXPECT_TRUE(uri.IsOfType("unknown"));
}

TEST(URI, CopiesShareNothingAndKeepStaleFlags) {
  URI source("http://u:p@h:1/p?q#f");
  source.SetFragment("g");
  source.m_IsValid = false;  // stale on purpose
  URI copy(source);
  URI assigned;
  assigned = source;
  for (const URI* uri : {&copy, &assigned}) {
    EXPECT_EQ(uri->ToString(false), "http://u:p@h:1/p?q#g");
    EXPECT_FALSE(uri->IsValidURI());
    EXPECT_TRUE(uri->IsHierarchical());
  }
  source.SetPath("/other");
  EXPECT_EQ(copy.m_Path, "/p");
  copy.CopyURI(copy);
  EXPECT_EQ(copy.m_Path, "/p");
}

TEST(IsOfType, SchemeCaseIgnored) {
  struct Row {
    const char* text;
    const char* type;
    bool expected;
  } rows[] = {{"http://a/", "HTTP", true}, {"http://a/", "http", true},   {"http://a/", "https", false},
              {"a/b", "", true},           {"a/b", "http", false},        {"mailto:x", "MailTo", true},
              {"http://a/", "htt", false}};
  for (const Row& row : rows) EXPECT_EQ(URI(row.text).IsOfType(row.type), row.expected) << row.text;
  URI escaped("http://a/");
  escaped.SetScheme("a b");  // neither side is unescaped
  EXPECT_TRUE(escaped.IsOfType("A%20B"));
  EXPECT_FALSE(escaped.IsOfType("a b"));
}

TEST(IsDirectory, LastByteOfPath) {
  struct Row {
    const char* text;
    bool expected;
  } rows[] = {{"http://a/b/", true}, {"http://a/b", false}, {"http://a", false},
              {"http://a/b/?q", true}, {"a/", true}, {"mailto:a/", false}};
  for (const Row& row : rows) EXPECT_EQ(URI(row.text).IsDirectory(), row.expected) << row.text;
}

TEST(SetHierState, RederivesFlags) {
  struct Row {
    const char* text;
    bool hierarchical;
    bool valid;
    bool relative;
    const char* stored;
  } rows[] = {
      {"http://h/p?q#f", true, true, false, "http://h/p?q#f"},
      {"http://", true, false, false, "http:"},  // neither server nor path
      {"a/b", true, true, true, "a/b"},
      {"http://u:p@h:1/p?q#f", false, true, false, "http:?q#f"},
      {"mailto:x?q", true, false, false, "mailto:?q"},
  };
  for (const Row& row : rows) {
    URI uri(row.text);
    uri.SetHierState(row.hierarchical);
    EXPECT_EQ(uri.IsValidURI(), row.valid) << row.text;
    EXPECT_EQ(uri.IsRelative(), row.relative) << row.text;
    EXPECT_EQ(uri.IsHierarchical(), row.hierarchical) << row.text;
    EXPECT_EQ(uri.ToString(false), row.stored) << row.text;
  }
  // The "unknown" test is exact: an upper-case spelling counts as a scheme.
  URI blank;
  blank.m_Query = "q";
  blank.SetHierState(false);
  EXPECT_FALSE(blank.IsValidURI());
  EXPECT_EQ(blank.m_Query, "q");
  blank.m_Scheme = "UNKNOWN";
  blank.SetHierState(false);
  EXPECT_TRUE(blank.IsValidURI());
  blank.m_Scheme = "unknown";
  blank.m_Path = "p";
  blank.SetHierState(true);
  EXPECT_TRUE(blank.IsRelative());
  EXPECT_TRUE(blank.IsValidURI());
}

TEST(Compare, SignAndLengthRule) {
  struct Row {
    const char* a;
    const char* b;
    bool caseSensitive;
    int sign;
  } rows[] = {
      {"abc", "ABC", false, 0}, {"abc", "ABC", true, 1}, {"ab", "abc", true, -1}, {"abc", "ab", false, 1},
      {"", "", true, 0},        {"", "a", false, -1},    {"a", "", true, 1},      {"\xC3\xA9", "\xC3\x89", false, 1},
      {"a", "\x80", true, -1},  {"[", "a", false, -1},   {"[", "A", true, 1},     {"Z", "a", false, 1},
  };
  for (const Row& row : rows) {
    const int result = URI::Compare(row.a, row.b, row.caseSensitive);
    EXPECT_EQ((result > 0) - (result < 0), row.sign) << row.a << " / " << row.b;
  }
  EXPECT_EQ(URI::Compare("ab", "abc", false), -1);
  EXPECT_EQ(URI::Compare("abc", "ab", true), 1);
}

TEST(MakeLower, AsciiLettersOnly) {
  std::string text = "AZaz@[`{\xC3\x89\xC0 09";
  URI::MakeLower(text);
  EXPECT_EQ(text, "azaz@[`{\xC3\x89\xC0 09");
}

class SwapHost : public Vesk::URIResolver {
 public:
  URI Resolve(const URI& uri) override {
    ++calls;
    URI result(uri);
    if (result.m_Server == "alias") result.m_Server = "real";
    return result;
  }
  int calls = 0;
};

TEST(Resolver, SetAndResolve) {
  SwapHost first;
  SwapHost second;
  EXPECT_EQ(URI::SetResolver(&first), nullptr);
  EXPECT_EQ(URI::SetResolver(&second), &first);
  EXPECT_EQ(URI::Resolve(URI("http://alias/")).m_Server, "real");
  EXPECT_EQ(second.calls, 1);
  EXPECT_EQ(URI::SetResolver(nullptr), &second);

  URI original("http://alias/p");
  URI copy = URI::Resolve(original);
  EXPECT_EQ(copy.m_Server, "alias");
  copy.SetPath("/changed");
  EXPECT_EQ(original.m_Path, "/p");
}

}  // namespace
