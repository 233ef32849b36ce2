#include "vesk/uri/uri"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <type_traits>

#include <gtest/gtest.h>

#include "tests/support/text.h"
#include "tests/support/uri.h"
#include "vesk/encoding/transcoder"
#include "vesk/uri/load_order.h"

namespace {

using namespace vesktest;

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
  const std::string lower = "abcdefghijklmnopqrstuvwxyz", upper = "ABCDEFGHIJKLMNOPQRSTUVWXYZ";
  const std::string an = lower + upper + "0123456789", delims = "<>#%\"", unwise = "{}|\\^[]`";
  const std::string excluded = control + " " + delims + ":?@" + unwise;
  const std::pair<const std::string&, std::string> rows[] = {
      {URI::URIlowalpha, lower},
      {URI::URIupalpha, upper},
      {URI::URIalpha, lower + upper},
      {URI::URIdigit, "0123456789"},
      {URI::URIalphanum, an},
      {URI::URIreserved, ";/?:@&=+$,[]"},
      {URI::URImark, "-_.!~*'()"},
      {URI::URIunreserved, an + "-_.!~*'()"},
      {URI::URIuric, ";/?:@&=+$,[]" + an + "-_.!~*'()"},
      {URI::URIhex, "0123456789ABCDEFabcdef"},
      {URI::URIescaped, "%xx"},
      {URI::URIspace, " "},
      {URI::URIdelims_real, delims},
      {URI::URIdelims, delims + ":?@"},
      {URI::URInonhierdelims, delims + ":?"},
      {URI::URIunwise, unwise},
      {URI::URIcontrol, control},
      {URI::URIexcluded, excluded},
      {URI::URIqueryreserved, "/?:@&=+$"},
      {URI::URIqueryexcluded, excluded + "/?:@&=+$"},
      {URI::URInonhierexcluded, control + " " + delims + ":?" + unwise},
  };
  for (const auto& row : rows) EXPECT_EQ(row.first, row.second);
}

// Parses from an exactly sized heap copy through every entry point that
// parses; all must agree, and give one of the parser's shapes.
Cells Parse(const Cells& in) {
  if (in[0] == kBlank) {
    const URI blank;
    return {Flags(blank),          blank.m_Scheme,      "", "", "", "", "", "", "", "",
            blank.ToString(false), blank.ToString(true)};
  }
  const std::string& text = in[0];
  std::unique_ptr<char[]> exact(new char[text.size() + 1]);
  std::memcpy(exact.get(), text.c_str(), text.size() + 1);
  URI fromChars(exact.get());
  URI fromProxy{URI::StringProxy(text)};
  URI assigned("http://old/q?x#y");
  assigned = exact.get();
  URI parsed("mailto:z");
  EXPECT_EQ(parsed.ParseURI(text), fromChars.IsValidURI());
  const auto fields = [](const URI& u) {
    return Cells{State(u),   u.m_Scheme,   u.m_Username,      u.m_Password,
                 u.m_Server, u.m_Port,     u.m_Path,          u.m_NonHierarchical,
                 u.m_Query,  u.m_Fragment, u.ToString(false), u.ToString(true)};
  };
  const Cells first = fields(fromChars);
  for (const URI* uri : {&fromProxy, &assigned, &parsed}) EXPECT_EQ(fields(*uri), first);
  Cells out = first;
  out[0] = Flags(fromChars);
  return out;
}

const std::map<std::string, std::function<std::string(URI, const std::string&)>> kQuestions = {
    {"alpha", [](const URI&, const std::string& s) { return Bit(URI::VerifyAlpha(s)); }},
    {"ipv6", [](const URI&, const std::string& s) { return Bit(URI::IsIPv6(s)); }},
    {"authority", [](const URI& u, const std::string&) { return u.GetAuthority(); }},
    {"defaultport", [](const URI& u, const std::string&) { return u.GetDefaultPort(); }},
    {"directory", [](const URI& u, const std::string&) { return Bit(u.IsDirectory()); }},
    {"oftype", [](const URI& u, const std::string& s) { return Bit(u.IsOfType(s)); }},
    {"equal",
     [](URI a, const std::string& s) {
       URI b = MakeURI(s);
       EXPECT_EQ(b == a, a == b);
       EXPECT_NE(a != b, a == b);
       return Bit(a == b);
     }},
    {"equaltext",
     [](URI u, const std::string& s) {
       // A text ends at its first NUL; a proxy holds every byte.
       const bool equal = u == s.c_str();
       EXPECT_NE(u != s.c_str(), equal);
       EXPECT_EQ(u == URI::StringProxy(s.c_str()), equal);
       EXPECT_NE(u != URI::StringProxy(s.c_str()), equal);
       return Bit(equal);
     }},
};

int Sign(int v) { return (v > 0) - (v < 0); }

const std::map<std::string, Op> kOps = {
    {"parse", {1, Parse}},
    {"is", {2, [](const Cells& in) { return Cells{kQuestions.at(in[0])(MakeURI(in[1]), in[1])}; }}},
    {"pair",
     {3,
      [](const Cells& in) {
        if (in[0] == "compare" || in[0] == "comparecase") {
          return Cells{std::to_string(Sign(URI::Compare(in[1], in[2], in[0] == "comparecase")))};
        }
        if (in[0] == "authority") return Cells{Bit(URI::CompareAuthority(in[1], in[2]))};
        return Cells{kQuestions.at(in[0])(MakeURI(in[1]), in[2])};
      }}},
    {"hier",
     {2,
      [](const Cells& in) {
        URI uri(in[0]);
        uri.SetHierState(in[1] == "1");
        return Cells{Flags(uri), uri.ToString(false)};
      }}},
    {"force",
     {1,
      [](const Cells& in) {
        URI uri(in[0]);
        uri.ForceEscape();
        const URI once = uri;
        uri.ForceEscape();
        EXPECT_EQ(Flags(uri), Flags(once));
        return Cells{Shaped(once), Shaped(uri)};
      }}},
    {"set",
     {4,
      [](const Cells& in) {
        static const std::map<std::string, void (URI::*)(URI::StringProxy)> setters = {
            {"SetPath", &URI::SetPath},           {"SetScheme", &URI::SetScheme},
            {"SetAuthority", &URI::SetAuthority}, {"SetServerPort", &URI::SetServerPort},
            {"SetUsername", &URI::SetUsername},   {"SetPassword", &URI::SetPassword},
            {"SetFragment", &URI::SetFragment},   {"SetNonHierarchical", &URI::SetNonHierarchical}};
        static const std::map<std::string, std::string URI::*> fields = {
            {"scheme", &URI::m_Scheme}, {"server", &URI::m_Server},     {"port", &URI::m_Port},
            {"path", &URI::m_Path},     {"query", &URI::m_Query},       {"fragment", &URI::m_Fragment},
            {"user", &URI::m_Username}, {"password", &URI::m_Password}, {"body", &URI::m_NonHierarchical}};
        URI uri = MakeURI(in[0]);
        if (in[1] == "SetQuery" || in[1] == "SetQueryRaw") {
          uri.SetQuery(in[2], in[1] == "SetQuery");
        } else {
          (uri.*setters.at(in[1]))(in[2]);
        }
        return Cells{uri.*fields.at(in[3]), uri.ToString(false), Flags(uri)};
      }}},
    {"setparts",
     {7,
      [](const Cells& in) {
        URI uri = MakeURI(in[0]);
        uri.SetParts(in[1], in[2], in[3], in[4], in[5], in[6]);
        return Cells{uri.ToString(false), Flags(uri), uri.m_Path, uri.m_Username};
      }}},
    {"parts",
     {1,
      [](const Cells& in) {
        const URI uri = MakeURI(in[0]);
        Cells n(6, "stale");
        uri.GetParts(n[0], n[1], n[2], n[3], n[4], n[5]);
        std::vector<U16> w(6, W(u"stale"));
        uri.GetParts(w[0], w[1], w[2], w[3], w[4], w[5]);
        for (int i = 0; i < 6; ++i) EXPECT_EQ(w[i], Vesk::Transcoder::asUTF16(n[i])) << "part " << i;
        // Alternate the kinds of target in one call.
        std::string m0, m2, m4;
        U16 m1, m3, m5;
        uri.GetParts(m0, m1, m2, m3, m4, m5);
        EXPECT_EQ(m0 + m2 + m4, n[0] + n[2] + n[4]);
        EXPECT_EQ(m1 + m3 + m5, w[1] + w[3] + w[5]);
        return n;
      }}},
    {"utf8",
     {1,
      [](const Cells& in) {
        const URI uri(in[0]);
        const std::string escaped = uri.ToStringUTF8Escaped();
        // Escaping the high bytes and decoding them again are inverse.
        EXPECT_EQ(URI(escaped).ToStringUTF8(), uri.ToStringUTF8());
        return Cells{uri.ToStringUTF8(), escaped};
      }}},
};

TEST(URIObject, Table) { RunTable("uri_core.tsv", kOps); }

TEST(ParseURI, LowerCasesSchemeAndServerOfAnyLength) {
  const std::string upper = "ABCDEFGHIJKLMNOPQRSTUVWXYZ@[`{\xC3\x89Z09";
  for (size_t n = 1; n <= upper.size(); ++n) {
    const std::string part = upper.substr(0, n);
    std::string lower = part;
    URI::MakeLower(lower);
    const std::string scheme = part.substr(0, std::min<size_t>(n, 26));
    const URI uri{URI::StringProxy("X" + scheme + "://" + part + "/P")};
    ASSERT_TRUE(uri.IsValidURI()) << n;
    EXPECT_EQ(uri.m_Scheme, "x" + lower.substr(0, scheme.size())) << n;
    const size_t at = part.find('@');
    EXPECT_EQ(uri.m_Server, at == std::string::npos ? lower : lower.substr(at + 1)) << n;
    EXPECT_EQ(uri.m_Path, "/P") << n;
  }
  std::string text = "AZaz@[`{\xC3\x89\xC0 09";
  URI::MakeLower(text);
  EXPECT_EQ(text, "azaz@[`{\xC3\x89\xC0 09");
}

TEST(ParseURI, NullEmbeddedBytesAndItsOwnField) {
  URI assigned("http://a/");
  assigned = static_cast<const char*>(nullptr);
  EXPECT_EQ(State(assigned), "111 ");
  EXPECT_EQ(State(URI(static_cast<const char*>(nullptr))), "111 ");
  // A NUL byte is an ordinary byte to the parser.
  URI withNul(URI::StringProxy(std::string("http://a/b\0c", 12)));
  EXPECT_EQ(withNul.m_Path, std::string("/b\0c", 4));
  EXPECT_TRUE(withNul == URI::StringProxy(std::string("http://a/b\0c", 12)));
  URI uri("http://h/q?http://other/x#f");
  EXPECT_TRUE(uri.ParseURI(uri.m_Query));
  EXPECT_EQ(uri.m_Server + uri.m_Path + uri.m_Fragment, "other/x");
  // A failed parse after a full state leaves a blank URI.
  uri = "http://u:p@h:1/p?q#f";
  uri = "a\\b";
  EXPECT_EQ(State(uri), "000 unknown:");
  uri.ConstructURI("xy:y");
  EXPECT_EQ(State(uri), "100 xy:y");
}

TEST(ParseURI, LongInputsAreLinear) {
  // Several MiB of delimiters: the parse must finish promptly and not recurse.
  const URI a{URI::StringProxy("http:" + std::string(4 << 20, '/') + "h/p")};
  EXPECT_EQ(a.m_Server, "h");
  const URI b{URI::StringProxy("http://" + std::string(4 << 20, ':'))};
  EXPECT_EQ(b.m_Server.size(), (4u << 20) + 2);
  const URI c{URI::StringProxy(std::string(4 << 20, '?'))};
  EXPECT_EQ(c.m_Path.size(), (4u << 20) - 1);
}

TEST(URI, StatesTheSettersAndValidatorLeave) {
  URI uri("http://h/p");
  uri.m_Path = "a\\b";
  EXPECT_FALSE(uri.ValidateURI());  // judges the fields as they stand
  EXPECT_TRUE(uri.IsValidURI());    // and changes nothing
  uri.m_Path = "/p";
  uri.m_Scheme = "unknown";
  EXPECT_FALSE(uri.ValidateURI());
  uri.m_IsRelative = true;
  EXPECT_TRUE(uri.ValidateURI());
  // The "unknown" test of SetHierState is exact: upper case counts as a scheme.
  URI blank;
  blank.m_Query = "q";
  blank.SetHierState(false);
  EXPECT_EQ(Flags(blank) + blank.m_Query, "000q");
  blank.m_Scheme = "UNKNOWN";
  blank.SetHierState(false);
  EXPECT_TRUE(blank.IsValidURI());
  blank.m_Scheme = "unknown";
  blank.m_Path = "p";
  blank.SetHierState(true);
  EXPECT_EQ(Flags(blank), "111");
  // A relative URI writes only path, query and fragment.
  URI relative("a");
  relative.m_Server = "h";
  relative.m_Scheme = "x";
  relative.m_Query = "q";
  EXPECT_EQ(relative.ToString(false), "a?q");
  URI escaped("http://a/");
  escaped.SetScheme("a b");  // neither side is unescaped
  EXPECT_TRUE(escaped.IsOfType("A%20B"));
  EXPECT_FALSE(escaped.IsOfType("a b"));
  URI odd;
  odd.m_Server = "[:]";
  EXPECT_EQ(odd.GetAuthority(), "[:]");  // one colon: not an address
  escaped.m_Scheme = "HTTP";
  EXPECT_EQ(escaped.GetDefaultPort(), "");
  EXPECT_EQ(URI::Compare("ab", "abc", false), -1);
  EXPECT_EQ(URI::Compare("abc", "ab", true), 1);
}

TEST(URI, DefaultIsBlankAndCopiesShareNothing) {
  const URI blank;
  EXPECT_TRUE(blank.IsAbsolute() && !blank.IsDirectory() && blank.IsOfType("unknown"));
  EXPECT_EQ(blank.GetScheme(), "unknown");
  URI source("http://u:p@h:1/p?q#f");
  source.SetFragment("g");
  source.m_IsValid = false;  // stale on purpose
  URI copy(source);
  URI assigned;
  assigned = source;
  for (const URI* uri : {&copy, &assigned})
    EXPECT_EQ(Flags(*uri) + uri->ToString(false), "001http://u:p@h:1/p?q#g");
  source.SetPath("/other");
  copy.CopyURI(copy);
  EXPECT_EQ(copy.m_Path, "/p");
}

TEST(Getters, UnescapeTheirFieldAndGiveBackWhatWasSet) {
  const URI uri("http://us%20er:p%41ss@h/a%20b%2F?q%20r+s#f%23g");
  EXPECT_EQ(uri.GetUsername() + "|" + uri.GetPassword() + "|" + uri.GetPath() + "|" + uri.GetQuery(true) +
                "|" + uri.GetQuery(false) + "|" + uri.GetFragment(),
            "us er|pAss|/a b/|q r+s|q%20r+s|f#g");
  EXPECT_EQ(URI("http://h:%38%30/").GetServerPort(), "80");
  EXPECT_EQ(URI("mailto:a%40b").GetNonHierarchical(), "a@b");
  for (const char* text : {"", "a b", "100%", "%41", "x:y?z#w@v", "\xC3\xA9", "/C|/x", "a\\b", "\x01\x7F"}) {
    URI u("http://h/");
    u.SetPath(text);
    u.SetFragment(text);
    u.SetUsername(text);
    u.SetQuery(text, true);
    EXPECT_EQ(u.GetPath() + u.GetFragment() + u.GetUsername() + u.GetQuery(true),
              std::string(text) + text + text + text);
  }
}

// A URI type whose text is always the same: the operators must see it.
struct Constant : URI {
  using URI::URI;
  StringProxy ToString(bool) const override { return StringProxy("same"); }
};

struct SwapHost : Vesk::URIResolver {
  URI Resolve(const URI& uri) override {
    ++calls;
    URI result(uri);
    if (result.m_Server == "alias") result.SetAuthority("real");
    return result;
  }
  int calls = 0;
};

TEST(URIEquality, OverridesAndResolver) {
  Constant a("http://a/");
  Constant b("http://b/");
  EXPECT_TRUE(a == b && a == "same" && !(a != URI::StringProxy("same")));
  EXPECT_FALSE(URI("http://a/") == a);
  SwapHost first, second;
  EXPECT_EQ(URI::SetResolver(&first), nullptr);
  EXPECT_EQ(URI::SetResolver(&second), &first);
  EXPECT_EQ(URI::Resolve(URI("http://alias/")).m_Server, "real");
  EXPECT_TRUE(URI::CompareAuthority("http://alias/", "http://real/"));
  EXPECT_EQ(second.calls, 3);
  EXPECT_FALSE(URI("http://alias/") == URI("http://real/"));  // == never consults it
  EXPECT_EQ(URI::SetResolver(nullptr), &second);
  EXPECT_FALSE(URI::CompareAuthority("http://alias/", "http://real/"));
  URI original("http://alias/p");
  URI copy = URI::Resolve(original);
  copy.SetPath("/changed");
  EXPECT_EQ(original.m_Path + copy.m_Server, "/palias");
}

// Text in both forms: ASCII, two-, three- and four-byte UTF-8 (the last a
// surrogate pair in UTF-16), and the empty text.
TEST(StringProxyWide, ConvertsBothWays) {
  const std::pair<const char*, const char16_t*> rows[] = {
      {"", u""},
      {"http://a/b?c#d", u"http://a/b?c#d"},
      {"caf\xC3\xA9", u"caf\u00E9"},
      {"\xE6\x97\xA5\xE6\x9C\xAC", u"\u65E5\u672C"},
      {"x\xF0\x9F\x98\x80y", u"x\U0001F600y"},
      {"%C3%A9 raw \xC3\xA9", u"%C3%A9 raw \u00E9"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.first);
    const U16 wide = W(row.second);
    EXPECT_EQ(URI::StringProxy(wide), row.first);
    const CString cs = URI::StringProxy(row.first);
    EXPECT_EQ(Units(cs), wide);
    EXPECT_EQ(URI::StringProxy(cs), row.first);
    std::string narrow = "previous content";
    U16 target = W(u"previous content");
    URI::StringRefProxy(narrow).Assign(row.first);
    URI::StringRefProxy(target).Assign(row.first);
    EXPECT_EQ(narrow, row.first);
    EXPECT_EQ(target, wide);
  }
  // A CString ends at the first zero; from UTF-16 the whole length counts.
  EXPECT_EQ(Units(URI::StringProxy(std::string("ab\0cd", 5))), W(u"ab"));
  EXPECT_EQ(Units(URI::StringProxy(std::string("\0x", 2))), W(u""));
  EXPECT_EQ(URI::StringProxy(U16{u'a', 0, u'b'}), std::string("a\0b", 3));
  // Call sites pass wide text where a StringProxy is wanted.
  const URI uri(URI::StringProxy(W(u"http://h/caf\u00E9")));
  EXPECT_EQ(State(uri), "101 http://h/caf\xC3\xA9");
  const CString cs = URI::StringProxy(W(u"HTTP://X/p"));
  EXPECT_EQ(URI(URI::StringProxy(cs)).ToString(false), "http://x/p");
}

TEST(StringRefProxy, FieldsInOrder) {
  using P = URI::StringRefProxy;
  static_assert(std::is_standard_layout<P>::value, "StringRefProxy is plain data");
  static_assert(sizeof(P::m_IsWide) == 4, "the wide flag is a 32-bit word");
  static_assert(offsetof(P, m_IsWide) < offsetof(P, m_Narrow), "m_IsWide comes first");
  static_assert(offsetof(P, m_Narrow) < offsetof(P, m_Wide), "m_Narrow comes before m_Wide");
  static_assert(!std::is_constructible<P, const std::string&>::value,
                "targets are taken by non-const reference");
  static_assert(!std::is_constructible<P, const U16&>::value, "targets are taken by non-const reference");
  std::string narrow;
  U16 wide;
  const P n(narrow);
  const P w(wide);
  EXPECT_EQ(n.m_IsWide, 0u);
  EXPECT_EQ(n.m_Narrow, &narrow);
  EXPECT_NE(w.m_IsWide, 0u);
  EXPECT_EQ(w.m_Wide, &wide);
}

}  // namespace
