#include "vesk/uri/uri"

#include <string>

#include <gtest/gtest.h>

namespace {

using Vesk::URI;

struct NameRow {
  const char* path;  // stored (escaped) path of a relative URI
  const char* filename;
  const char* stem;  // GetFilename(true)
  const char* extension;
  const char* bareExtension;  // GetExtension(true)
  const char* last;
};

void check(const NameRow& row) {
  const URI uri(row.path);
  SCOPED_TRACE(std::string("path \"") + row.path + "\"");
  ASSERT_EQ(uri.m_Path, row.path);
  EXPECT_EQ(std::string(uri.GetFilename(false)), row.filename);
  EXPECT_EQ(std::string(uri.GetFilename(true)), row.stem);
  EXPECT_EQ(std::string(uri.GetExtension(false)), row.extension);
  EXPECT_EQ(std::string(uri.GetExtension(true)), row.bareExtension);
  EXPECT_EQ(std::string(uri.GetLastPathComponent()), row.last);
}

TEST(FileNames, NameExtensionAndLastComponent) {
  const NameRow rows[] = {
      {"/a/b.tar.gz", "b.tar.gz", "b.tar", ".gz", "gz", "b.tar.gz"},
      {"/a/b", "b", "b", "", "", "b"},
      {"/a/.profile", ".profile", "", "", "", ".profile"},
      {"/a/b.", "b.", "b", ".", "", "b."},
      {"/a/b/", "", "", "", "", "b"},
      {"/", "", "", "", "", ""},
      {"", "", "", "", "", ""},
      {"b.txt", "b.txt", "b", ".txt", "txt", "b.txt"},
      {"a/", "", "", "", "", "a"},
      {"/a%20b.txt", "a b.txt", "a b", ".txt", "txt", "a b.txt"},
      // An escaped slash counts as a slash once unescaped.
      {"/a%2Fb.txt", "b.txt", "b", ".txt", "txt", "b.txt"},
      // Whether it is a directory is judged on the stored path.
      {"/a/b%2F", "", "", "", "", ""},
      {"/a/b%2F/", "", "", "", "", ""},
      {"/a.d/b", "b", "b", "", "", "b"},
      {"/x/caf\xC3\xA9.TXT", "caf\xC3\xA9.TXT", "caf\xC3\xA9", ".TXT", "TXT", "caf\xC3\xA9.TXT"},
  };
  for (const NameRow& row : rows) check(row);
}

TEST(FileNames, FullURIs) {
  const URI uri("http://x/dir/a.html?q=a.b#c.d");
  EXPECT_EQ(std::string(uri.GetFilename(false)), "a.html");
  EXPECT_EQ(std::string(uri.GetExtension(true)), "html");
  EXPECT_EQ(std::string(URI("http://x").GetLastPathComponent()), "");
  EXPECT_EQ(std::string(URI("mailto:joe@host.com").GetFilename(false)), "");
}

TEST(IsOfFileType, ComparesLastExtensionIgnoringCase) {
  struct Row {
    const char* path;
    const char* type;
    bool result;
  } rows[] = {
      {"/a/b.TXT", "txt", true},       {"/a/b.txt", ".TXT", true},    {"/a/b.txt", "x.txt", true},
      {"/a/b.tar.gz", "tar.gz", true}, {"/a/b.tar.gz", "tar", false}, {"/a/b", "", false},
      {"/a/b.txt", "", false},         {"/a/b/", "txt", false},       {"/a/b.", "", false},
      {"/a/.txt", "txt", false},       {"/a/b.txt", "txt.", false},   {"/a/b.txtx", "txt", false},
  };
  for (const auto& row : rows) {
    const URI uri(row.path);
    const URI& base = uri;
    EXPECT_EQ(base.IsOfFileType(row.type), row.result) << row.path << " type \"" << row.type << "\"";
  }
}

TEST(RemoveLastPathComponent, ClimbsOneLevel) {
  struct Row {
    const char* uri;
    const char* removed;
    const char* after;
  } rows[] = {
      {"http://x/a/b.txt?q#f", "b.txt", "http://x/a/"},
      {"http://x/a/b/", "b", "http://x/a/"},
      {"http://x/", "", "http://x/"},
      {"file:///C|/dir/a%20b.txt", "a b.txt", "file:///C|/dir/"},
  };
  for (const auto& row : rows) {
    URI uri(row.uri);
    EXPECT_EQ(std::string(uri.RemoveLastPathComponent()), row.removed) << row.uri;
    EXPECT_EQ(std::string(uri.ToString(false)), row.after) << row.uri;
  }
  URI relative("a.txt");
  EXPECT_EQ(std::string(relative.RemoveLastPathComponent()), "a.txt");
  EXPECT_EQ(relative.m_Path, "");
  EXPECT_FALSE(relative.IsValidURI());
}

// Subclasses take part: the directory test and the move go through the
// virtual table.
class ScriptedURI : public URI {
 public:
  using URI::URI;
  bool IsDirectory() const override { return directory; }
  bool ChDir(StringProxy reference, bool escape) override {
    moves += std::string(reference) + (escape ? "+" : "-") + ";";
    return true;
  }
  bool directory = false;
  std::string moves;
};

TEST(RemoveLastPathComponent, DispatchesThroughTheVirtualTable) {
  ScriptedURI file("http://x/a/b");
  EXPECT_EQ(std::string(file.RemoveLastPathComponent()), "b");
  EXPECT_EQ(file.moves, ".-;");

  // Taken for a directory, the path loses its last byte as if it were the
  // trailing slash.
  ScriptedURI dir("http://x/a/bc");
  dir.directory = true;
  EXPECT_EQ(std::string(dir.GetFilename(false)), "");
  EXPECT_EQ(std::string(dir.GetLastPathComponent()), "b");
  EXPECT_EQ(std::string(dir.RemoveLastPathComponent()), "b");
  EXPECT_EQ(dir.moves, "..-;");
}

}  // namespace
