#include "vesk/uri/uri"

#include <string>

#include <gtest/gtest.h>

namespace {

using Vesk::URI;

// Stands for a default-constructed (blank) URI in the object column.
constexpr const char* kBlank = "<blank>";

URI Make(const char* text) { return text == kBlank ? URI() : URI(text); }

std::string Flags(const URI& uri) {
  return std::string(uri.m_IsValid ? "valid" : "invalid") + (uri.m_IsRelative ? " relative" : " absolute") +
         (uri.m_IsHierarchical ? " hierarchical" : " opaque");
}

struct MoveRow {
  const char* object;
  const char* reference;
  bool escape;
  const char* expected;  // ToString(false) afterwards
  // MakeRelativeURI back against the object, then MakeAbsoluteURI, gives the
  // result again.
  bool roundTrip;
};

// Runs one row through ChDir; where the reference is the stored text of a
// relative URI, also through MakeAbsoluteURI, which must agree; and, where
// the row promises it, back through MakeRelativeURI and forward again.
void check(const MoveRow& row) {
  const std::string where = std::string("object '") + row.object + "' reference '" + row.reference +
                            "' escape " + (row.escape ? "true" : "false");
  const URI base = Make(row.object);
  URI moved = base;
  EXPECT_TRUE(moved.ChDir(row.reference, row.escape)) << where;
  EXPECT_EQ(moved.ToString(false), row.expected) << where;

  URI reference(row.reference);
  if (!row.escape && reference.IsRelative() && reference.ToString(false) == row.reference && !base.IsRelative()) {
    EXPECT_TRUE(reference.MakeAbsoluteURI(base)) << where;
    EXPECT_EQ(reference.ToString(false), row.expected) << where << " (MakeAbsoluteURI)";
    EXPECT_EQ(Flags(reference), Flags(moved)) << where << " (MakeAbsoluteURI)";
  }

  if (row.roundTrip) {
    URI relative = moved;
    ASSERT_TRUE(relative.MakeRelativeURI(base, true)) << where;
    ASSERT_TRUE(relative.IsRelative()) << where;
    const std::string relativeText = relative.ToString(false);
    EXPECT_TRUE(relative.MakeAbsoluteURI(base)) << where << " back from '" << relativeText << "'";
    EXPECT_EQ(relative.ToString(false), row.expected) << where << " back from '" << relativeText << "'";
  }
}

TEST(ChDir, FromAFileWithQueryAndFragment) {
  const char* file = "http://host/a/b/c.html?q=1#f";
  const MoveRow rows[] = {
      {file, "", false, "http://host/a/b/c.html?q=1#f", true},
      {file, "d.html", false, "http://host/a/b/d.html", true},
      {file, "./d.html", false, "http://host/a/b/d.html", true},
      {file, "../d.html", false, "http://host/a/d.html", true},
      {file, "../../d.html", false, "http://host/d.html", true},
      {file, "../../../d.html", false, "http://host/d.html", true},
      {file, ".", false, "http://host/a/b/", true},
      {file, "./", false, "http://host/a/b/", true},
      {file, "..", false, "http://host/a/", true},
      {file, "../", false, "http://host/a/", true},
      {file, "d/", false, "http://host/a/b/d/", true},
      {file, "d/.", false, "http://host/a/b/d/", true},
      {file, "d/..", false, "http://host/a/b/", true},
      {file, "a//b", false, "http://host/a/b/a/b", true},
      {file, "d.html?r=2", false, "http://host/a/b/d.html?r=2", true},
      {file, "/x/y", false, "http://host/x/y", true},
      {file, "/x/../y", false, "http://host/x/../y", false},
      {file, "/x//y", false, "http://host/x//y", false},
      {file, "//other/p", false, "http://other/p", false},
      {file, "ftp://other/p", false, "ftp://other/p", false},
      {file, "mailto:someone", false, "mailto:someone", false},
      {file, "#g", false, "http://host/a/b/c.html?q=1#g", true},
      {file, "#", false, "http://host/a/b/c.html?q=1", true},
      {file, "?r=2", false, "http://host/a/b/?r=2", true},
      {file, "?r=2#g", false, "http://host/a/b/?r=2#g", true},
      {file, "a b", false, "http://host/a/b/a%20b", true},
      {file, "a?b", false, "http://host/a/b/a?b", true},
      {file, "a?b", true, "http://host/a/b/a%3Fb", true},
      {file, "a\\b", false, "unknown:", false},
      {file, "a\\b", true, "http://host/a/b/a%5Cb", true},
      {file, "x:y", false, "unknown:", false},
      {file, "ab:y", false, "ab:y", false},
      // Escaping keeps "/" and so the network-path road, but takes "?" and
      // "#" and "%" literally.
      {file, "//other/p", true, "http://other/p", false},
      {file, "?r=2", true, "http://host/a/b/%3Fr=2", true},
      {file, "#g", true, "http://host/a/b/%23g", true},
      {file, "50%", true, "http://host/a/b/50%25", true},
      {file, "..", true, "http://host/a/", true},
      // A bare "?" is a move to the directory: the file name, query and
      // fragment go.
      {file, "?", false, "http://host/a/b/", true},
      {file, "x?#", false, "http://host/a/b/x", true},
      // Escaped dots count as dots, escaped slashes as separators.
      {file, "%2E%2E/x", false, "http://host/a/x", true},
      {file, "x%2Fy", false, "http://host/a/b/x/y", true},
      {file, "/", false, "http://host/", true},
      {file, "///x", false, "http:/x", false},
  };
  for (const MoveRow& row : rows) check(row);
}

TEST(ChDir, FromOtherObjects) {
  const MoveRow rows[] = {
      {"http://host/a/b/", "c", false, "http://host/a/b/c", true},
      {"http://host/a/b", "c", false, "http://host/a/c", true},
      {"http://host:8080/a/b", "c", false, "http://host:8080/a/c", true},
      {"http://u:p@host/a/b", "c", false, "http://u:p@host/a/c", false},
      {"http://host/", "..", false, "http://host/", true},
      {"http://host", "..", false, "http://host", false},
      {"http://host", "c", false, "http://hostc", false},
      {"http://host/a/../b/c", "d", false, "http://host/b/d", false},
      {"http://host/a%2Fb/c", "d", false, "http://host/a/b/d", false},
      {"http://host/x:y/c", "d", false, "http://host/x%3Ay/d", false},
      {"http://host/a/b/%2E%2E/c", "d", false, "http://host/a/d", false},
      {"a/b/c", "..", false, "a/", false},
      {"a/b/c", "../..", false, "", false},
      {"a/b/c", "../../..", false, "../", false},
      {"a/b/c", "../../../..", false, "../../", false},
      {"a/b/", "../../../x", false, "../x", false},
      {"", "..", false, "../", false},
      {"/a/b", "../..", false, "/../", false},
      {"/a/b", "//host/x", false, "unknown:", false},
      {"mailto:someone", "x", false, "mailto:x", false},
      {"mailto:someone", "//host/x", false, "mailto://host/x", false},
      {kBlank, "a/b", false, "a/b", false},
      {kBlank, "../x", false, "x", false},
      {kBlank, "//host/x", false, "unknown:", false},
      {kBlank, "/x", false, "/x", false},
      {"file:///C:/a/b", "..", false, "file:///C|/", false},
      {"file:///C:/a", "..", false, "file:///", false},
      {"file:///C:/a/b", "c d", false, "file:///C|/a/c%20d", false},
      {"ftp://host/a/b;type=d", "c", false, "ftp://host/a/c", false},
  };
  for (const MoveRow& row : rows) check(row);
}

struct RoadRow {
  const char* object;
  const char* reference;
  const char* expected;
  bool valid;
  bool relative;
  bool hierarchical;
};

TEST(ChDir, FlagsAfterEachRoad) {
  const RoadRow rows[] = {
      // Empty reference and fragment only: the flags stay as they were.
      {"http://host/a", "", "http://host/a", true, false, true},
      {"mailto:x", "", "mailto:x", true, false, false},
      {"mailto:x", "#f", "mailto:x#f", true, false, false},
      {kBlank, "#f", "unknown:#f", false, false, false},
      {kBlank, "", "unknown:", false, false, false},
      // Network path and replacement: as parsed, blank when that fails.
      {"http://host/a", "//other", "http://other", true, false, true},
      {"a/b", "//other", "unknown:", false, false, false},
      {"http://host/a", "https://x/", "https://x/", true, false, true},
      {"http://host/a", "news:x", "news:x", true, false, false},
      {"http://host/a", "a\\b", "unknown:", false, false, false},
      {"http://host/a", "unknown://x/", "unknown:", false, false, false},
      // Rooted path and merge: valid with a server or a path, relative
      // without a scheme, always hierarchical.
      {"http://host/a", "/b", "http://host/b", true, false, true},
      {"http://host/a", "b", "http://host/b", true, false, true},
      {"http://host", "..", "http://host", true, false, true},
      {"http://", ".", "http:", false, false, true},
      {"http://", "/x", "http:/x", true, false, true},
      {"a/b/c", "../..", "", false, true, true},
      {"mailto:x", "y", "mailto:y", true, false, true},
      {"mailto:x", ".", "mailto:", false, false, true},
      {"unknown:x", "y", "y", true, true, true},
      {kBlank, "x", "x", true, true, true},
      {kBlank, ".", "", false, true, true},
  };
  for (const RoadRow& row : rows) {
    const std::string where = std::string("object '") + row.object + "' reference '" + row.reference + "'";
    URI uri = Make(row.object);
    EXPECT_TRUE(uri.ChDir(row.reference, false)) << where;
    EXPECT_EQ(uri.ToString(false), row.expected) << where;
    EXPECT_EQ(uri.IsValidURI(), row.valid) << where;
    EXPECT_EQ(uri.IsRelative(), row.relative) << where;
    EXPECT_EQ(uri.IsHierarchical(), row.hierarchical) << where;
    if (uri.IsHierarchical()) {
      EXPECT_TRUE(uri.m_NonHierarchical.empty()) << where;
    }
  }
}

TEST(ChDir, StoredFieldsAfterAMove) {
  URI noSlash("http://host");
  noSlash.ChDir("c", false);
  EXPECT_EQ(noSlash.m_Path, "c");
  EXPECT_EQ(noSlash.m_Server, "host");

  URI climbed("http://host");
  climbed.ChDir("..", false);
  EXPECT_EQ(climbed.m_Path, "");

  // The query and fragment take the same trip through plain text as the path.
  URI query("http://host/a");
  query.ChDir("b?x%20y=%26#f%3F", false);
  EXPECT_EQ(query.m_Query, "x%20y=&");
  EXPECT_EQ(query.m_Fragment, "f%3F");

  URI rooted("http://u:p@host:81/a?q#f");
  rooted.ChDir("/b?r", false);
  EXPECT_EQ(rooted.m_Username, "u");
  EXPECT_EQ(rooted.m_Password, "p");
  EXPECT_EQ(rooted.m_Port, "81");
  EXPECT_EQ(rooted.m_Query, "r");
  EXPECT_EQ(rooted.m_Fragment, "");
}

TEST(ChDir, FragmentOnlyTouchesNothingElse) {
  URI invalid("a/b/c");
  invalid.ChDir("../..", false);
  ASSERT_FALSE(invalid.IsValidURI());
  invalid.ChDir("#x", false);
  EXPECT_EQ(invalid.m_Fragment, "x");
  EXPECT_EQ(invalid.m_Path, "");
  EXPECT_FALSE(invalid.IsValidURI());
  EXPECT_TRUE(invalid.IsRelative());

  URI odd("http://host/a b");  // parsed, so the raw blank stands in the path
  odd.ChDir("#g h", false);
  EXPECT_EQ(odd.m_Path, "/a b");
  EXPECT_EQ(odd.m_Fragment, "g%20h");
}

TEST(ChDir, LongRunsOfDotSegments) {
  std::string up;
  for (int i = 0; i < 10000; ++i) up += "../";

  URI absolute("http://host/a/b/c");
  absolute.ChDir(up + "x", false);
  EXPECT_EQ(absolute.ToString(false), "http://host/x");

  URI relative("a/b/c");
  relative.ChDir(up, false);
  EXPECT_EQ(relative.m_Path.size(), 3u * 9998u);
  EXPECT_EQ(relative.m_Path.substr(0, 6), "../../");

  // Down ten thousand levels and up again.
  std::string down;
  for (int i = 0; i < 10000; ++i) down += "d/";
  URI deep("http://host/a/");
  deep.ChDir(down, false);
  EXPECT_EQ(deep.m_Path.size(), 3u + 2u * 10000u);
  deep.ChDir(up + "x", false);
  EXPECT_EQ(deep.ToString(false), "http://host/a/x");

  std::string dots;
  for (int i = 0; i < 10000; ++i) dots += "./";
  URI here("http://host/a/b");
  here.ChDir(dots, true);
  EXPECT_EQ(here.ToString(false), "http://host/a/");
}

// Treats every URI as relative, so that ".." is never dropped at the start.
class AlwaysRelative : public URI {
 public:
  using URI::URI;
  bool IsRelative() const override { return true; }
};

TEST(ChDir, DerivedIsRelativeDecidesDotDotAtTheStart) {
  URI plain("http://host/a");
  plain.ChDir("../x", false);
  EXPECT_EQ(plain.ToString(false), "http://host/x");

  AlwaysRelative derived("http://host/a");
  URI& asBase = derived;
  asBase.ChDir("../x", false);
  EXPECT_EQ(derived.m_Path, "/../x");
  EXPECT_EQ(derived.m_Server, "host");
}

}  // namespace
