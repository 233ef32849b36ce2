#include "vesk/uri/uri"

#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace {

using Vesk::URI;
using Segments = std::vector<std::string>;

struct SplitRow {
  const char* path;
  Segments segments;
  bool leading;
  bool trailing;
};

TEST(SplitPath, SegmentsAndSlashFlags) {
  const SplitRow rows[] = {
      {"", {}, false, false},
      {"/", {}, true, false},
      {"//", {}, true, true},
      {"///", {}, true, true},
      {"a", {"a"}, false, false},
      {"/a", {"a"}, true, false},
      {"a/", {"a"}, false, true},
      {"/a/", {"a"}, true, true},
      {"a//b", {"a", "b"}, false, false},
      {"//a", {"a"}, true, false},
      {"a//", {"a"}, false, true},
      {"./a/../b", {".", "a", "..", "b"}, false, false},
      {"/.", {"."}, true, false},
      {"/a/./b/", {"a", ".", "b"}, true, true},
      // Bytes are bytes: escapes and UTF-8 are not looked at.
      {"/a%2Fb/\xC3\xA9/", {"a%2Fb", "\xC3\xA9"}, true, true},
  };
  for (const SplitRow& row : rows) {
    Segments segments;
    bool leading = !row.leading;
    bool trailing = !row.trailing;
    URI::SplitPath(row.path, segments, leading, trailing);
    EXPECT_EQ(segments, row.segments) << "path '" << row.path << "'";
    EXPECT_EQ(leading, row.leading) << "path '" << row.path << "'";
    EXPECT_EQ(trailing, row.trailing) << "path '" << row.path << "'";

    Segments shortForm;
    URI::SplitPath(row.path, shortForm);
    EXPECT_EQ(shortForm, row.segments) << "path '" << row.path << "'";
  }
}

TEST(SplitPath, AppendsToWhatTheListHeld) {
  Segments segments{"x"};
  bool leading = false;
  bool trailing = false;
  URI::SplitPath("/a/b/", segments, leading, trailing);
  EXPECT_EQ(segments, (Segments{"x", "a", "b"}));
  URI::SplitPath("c", segments, leading, trailing);
  EXPECT_EQ(segments, (Segments{"x", "a", "b", "c"}));
  EXPECT_FALSE(leading);
  EXPECT_FALSE(trailing);
}

TEST(SplitPath, LongPathsOfManyShortSegments) {
  // Many segments and long runs of slashes, as a hostile path would have.
  std::string path;
  for (int i = 0; i < 10000; ++i) path += "../";
  path += std::string(100000, '/') + "x";
  Segments segments;
  bool leading = true;
  bool trailing = true;
  URI::SplitPath(path, segments, leading, trailing);
  ASSERT_EQ(segments.size(), 10001u);
  EXPECT_EQ(segments.front(), "..");
  EXPECT_EQ(segments.back(), "x");
  EXPECT_FALSE(leading);
  EXPECT_FALSE(trailing);
}

struct JoinRow {
  Segments segments;
  bool leading;
  bool trailing;
  const char* text;
};

TEST(JoinPath, SeparatorsAndSlashFlags) {
  const JoinRow rows[] = {
      {{}, false, false, ""},
      {{}, true, false, "/"},
      {{}, false, true, ""},
      {{}, true, true, "/"},
      {{"a"}, false, true, "a/"},
      {{"a"}, true, true, "/a/"},
      {{"a", "b"}, true, true, "/a/b/"},
      {{"", "b"}, false, false, "b"},
      {{"a", ""}, false, false, "a/"},
      {{"a", ""}, false, true, "a//"},
      {{"", "b"}, true, false, "/b"},
      {{""}, true, true, "/"},
      {{".", ".."}, false, false, "./.."},
  };
  for (const JoinRow& row : rows) {
    EXPECT_EQ(URI::JoinPath(row.segments, row.leading, row.trailing), row.text)
        << "segments " << ::testing::PrintToString(row.segments) << " leading " << row.leading << " trailing "
        << row.trailing;
  }
}

TEST(JoinPath, GivesBackEverySplitPathWithoutDoubledSlashes) {
  const char* paths[] = {"", "/", "a", "/a", "a/", "/a/", "/a/b/c", "a/b/c/", "./a/../b", "/./", "/%2F/"};
  for (const char* path : paths) {
    Segments segments;
    bool leading = false;
    bool trailing = false;
    URI::SplitPath(path, segments, leading, trailing);
    EXPECT_EQ(URI::JoinPath(segments, leading, trailing), path) << "path '" << path << "'";
  }
  // Doubled slashes collapse; one slash at each end survives as the flag.
  const char* doubled[][2] = {{"//", "/"}, {"///a//b///", "/a/b/"}, {"a//b", "a/b"}};
  for (const auto& row : doubled) {
    Segments segments;
    bool leading = false;
    bool trailing = false;
    URI::SplitPath(row[0], segments, leading, trailing);
    EXPECT_EQ(URI::JoinPath(segments, leading, trailing), row[1]) << "path '" << row[0] << "'";
  }
}

struct UnderRow {
  const char* uri;
  const char* directory;
  bool expected;
};

TEST(IsUnderDirectory, WholeSegmentAnywhereInThePlainPath) {
  const UnderRow rows[] = {
      {"http://host/a/b/c.html", "a", true},
      {"http://host/a/b/c.html", "b", true},
      {"http://host/a/b/c.html", "c.html", true},
      {"http://host/a/b/c.html", "A", false},
      {"http://host/a/b/c.html", "a/b", false},
      {"http://host/a/b/c.html", "/a", false},
      {"http://host/a/b/c.html", "", false},
      {"http://host/a/b/c.html", "c", false},
      {"http://host", "a", false},
      {"http://host", "", false},
      {"http://host/a%20b/", "a b", true},
      {"http://host/a%20b/", "a%20b", false},
      // An escaped slash is a separator once the path is unescaped.
      {"http://host/x%2Fy/", "y", true},
      {"a/b", "a", true},
      {"mailto:a/b", "a", false},
  };
  for (const UnderRow& row : rows) {
    EXPECT_EQ(URI(row.uri).IsUnderDirectory(row.directory), row.expected)
        << "uri '" << row.uri << "' directory '" << row.directory << "'";
  }
}

}  // namespace
