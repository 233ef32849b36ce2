#include "vesk/uri/uri"
#include "vesk/uri/invariants.h"

#include <string>

#include <gtest/gtest.h>

namespace {

using Vesk::URI;

// Records which path conversion the guess chose, then converts as usual.
class RecordingURI : public URI {
 public:
  using URI::URI;
  void LocalPathToURIWin(StringProxy path) override {
    form += "win";
    URI::LocalPathToURIWin(path);
  }
  void LocalPathToURIUnix(StringProxy path) override {
    form += "unix";
    URI::LocalPathToURIUnix(path);
  }
  void LocalPathToURIMac(StringProxy path) override {
    form += "mac";
    URI::LocalPathToURIMac(path);
  }
  std::string form;
};

enum class After {
  Text,           // result true; ToString(false) equals `text`
  Unchanged,      // result false; the object is as it was
  SchemeOnly,     // result false; scheme `text` and no other component
  EmptyRelative,  // result false; empty relative URI that is not valid
};

struct Row {
  const char* input;
  const char* form;  // path conversion taken, "" for none
  After after;
  const char* text;
  const char* defaultScheme = "http";
};

using Vesk::uri_internal::SameState;

// Runs the guess on a fresh object and on one that already held a URI; both
// must end alike, except where the object is to stay unchanged.
void check(const Row& row) {
  SCOPED_TRACE(std::string("UnknownToURI(\"") + row.input + "\", \"" + row.defaultScheme + "\")");
  // No user information: a path conversion would keep it (the conversions'
  // own tests show that).
  const char* const previous = "ftp://oldhost:21/old/path?oq#of";
  const URI before(previous);
  RecordingURI fresh;
  RecordingURI used(previous);
  ASSERT_TRUE(used.IsValidURI());
  const bool expected = row.after == After::Text;
  EXPECT_EQ(fresh.UnknownToURI(row.input, row.defaultScheme), expected);
  EXPECT_EQ(used.UnknownToURI(row.input, row.defaultScheme), expected);
  EXPECT_EQ(fresh.form, row.form);
  EXPECT_EQ(used.form, row.form);
  switch (row.after) {
    case After::Text:
      EXPECT_EQ(std::string(fresh.ToString(false)), row.text);
      EXPECT_EQ(std::string(used.ToString(false)), row.text);
      break;
    case After::Unchanged:
      EXPECT_TRUE(SameState(fresh, URI()));
      EXPECT_TRUE(SameState(used, before));
      break;
    case After::SchemeOnly:
      for (const URI* uri : {static_cast<URI*>(&fresh), static_cast<URI*>(&used)}) {
        EXPECT_EQ(uri->m_Scheme, row.text);
        EXPECT_EQ(uri->m_Server, "");
        EXPECT_EQ(uri->m_Port, "");
        EXPECT_EQ(uri->m_Path, "");
        EXPECT_EQ(uri->m_Query, "");
        EXPECT_EQ(uri->m_Fragment, "");
      }
      break;
    case After::EmptyRelative:
      for (const URI* uri : {static_cast<URI*>(&fresh), static_cast<URI*>(&used)}) {
        EXPECT_EQ(uri->m_Scheme, "");
        EXPECT_EQ(uri->m_Server, "");
        EXPECT_EQ(uri->m_Path, "");
        EXPECT_EQ(uri->m_Query, "");
        EXPECT_EQ(uri->m_Fragment, "");
        EXPECT_TRUE(uri->IsRelative());
        EXPECT_FALSE(uri->IsValidURI());
      }
      break;
  }
}

TEST(UnknownToURI, DecisionTable) {
  const Row rows[] = {
      {"", "", After::Unchanged, ""},
      {"C:\\a\\b c.txt", "win", After::Text, "file:///C|/a/b%20c.txt"},
      {"D:/x", "win", After::Text, "file:///D|/x"},
      {"\\\\srv\\share\\a.txt", "win", After::Text, "file://srv/share/a.txt"},
      {"//srv/share/a.txt", "win", After::Text, "file://srv/share/a.txt"},
      {"/usr/lib/x", "unix", After::Text, "file:///usr/lib/x"},
      {"\\usr\\lib", "unix", After::Text, "file:///usr/lib"},
      {"Disk:Users:a.txt", "mac", After::Text, "file:///Disk/Users/a.txt"},
      {"myhost:8080/a", "mac", After::Text, "file:///myhost/8080/a"},
      {"page.html?t=1:2", "mac", After::Text, "file:///page.html%3Ft=1/2"},
      {"MAILTO:joe@host", "mac", After::Text, "file:///MAILTO/joe%40host"},
      {"mailto:joe@host", "", After::Text, "mailto:joe@host"},
      {"about:blank", "", After::Text, "about:blank"},
      {"javascript:alert(1)", "", After::Text, "javascript:alert(1)"},
      {"http://myhost/a b", "", After::Text, "http://myhost/a%20b"},
      {"http://myhost/a%20b", "", After::Text, "http://myhost/a%20b"},
      {"HTTP://MyHost", "", After::Text, "http://myhost"},
      {"file:///etc/x", "", After::Text, "file:///etc/x"},
      {"ftp://", "", After::SchemeOnly, "ftp"},
      {"./a/b.html", "", After::Text, "./a/b.html"},
      {"../a", "", After::Text, "../a"},
      {"..", "", After::Text, ".."},
      {"index.html", "", After::Text, "http://index.html"},
      {"myhost/a b?q=1#f", "", After::Text, "http://myhost/a%20b?q=1#f"},
      {"?a=1", "", After::EmptyRelative, ""},
      {"dir\\a.txt", "", After::Unchanged, ""},
      {"s3://bucket/x", "", After::Unchanged, ""},
  };
  for (const Row& row : rows) check(row);
}

TEST(UnknownToURI, Edges) {
  const Row rows[] = {
      // Any byte before the colon makes a drive; a drive-relative path is not one.
      {"x:\\y", "win", After::Text, "file:///x|/y"},
      {"c:foo", "mac", After::Text, "file:///c/foo"},
      {"\\\\?\\C:\\x", "win", After::Text, "file://%3F/C|/x"},
      {"\\\\.\\COM1", "win", After::Text, "file://./COM1"},
      {"/a:b", "unix", After::Text, "file:///a%3Ab"},
      {"\\a:b", "unix", After::Text, "file:///a%3Ab"},
      {":", "mac", After::Text, "file:///"},
      {"a:", "mac", After::Text, "file:///a/"},
      {"http:", "mac", After::Text, "file:///http/"},
      {"news:comp.lang", "mac", After::Text, "file:///news/comp.lang"},
      {"Mailto:joe@host", "mac", After::Text, "file:///Mailto/joe%40host"},
      {"c", "", After::Text, "http://c"},
      {"x", "", After::Text, "http://x"},
      {".", "", After::Text, "."},
      {"./", "", After::Text, "./"},
      {".hidden", "", After::Text, "http://.hidden"},
      {"...", "", After::Text, "http://..."},
      {"res:a", "", After::Text, "res:a"},
      {"res://a", "", After::Text, "res://a"},
      {"file://localhost/x y", "", After::Text, "file://localhost/x%20y"},
      {"mailto:joe@host?a b", "", After::Text, "mailto:joe@host?a%20b"},
      {"#frag", "", After::EmptyRelative, ""},
      {"index.html", "", After::EmptyRelative, "", ""},
      {"myhost/a", "", After::Text, "ftp://myhost/a", "ftp"},
      {"http://", "", After::SchemeOnly, "http"},
      {"a\\b:c", "mac", After::Text, "file:///a%5Cb/c"},
      {"h://x", "win", After::Text, "file:///h|//x"},
  };
  for (const Row& row : rows) check(row);
}

// Each of the ten words keeps its text a URI; any other word with a colon and
// no "//" behind it is taken for a colon path.
TEST(UnknownToURI, OpaqueSchemeWords) {
  const char* const words[] = {"mailto",     "about",        "res",  "link",    "draft",
                               "veskbrowse", "veskinternal", "vesk", "connect", "javascript"};
  for (const char* word : words) {
    const std::string text = std::string(word) + ":body";
    check({text.c_str(), "", After::Text, text.c_str()});
    const std::string longer = std::string(word) + "x:body";
    const std::string path = "file:///" + std::string(word) + "x/body";
    check({longer.c_str(), "mac", After::Text, path.c_str()});
  }
}

TEST(UnknownToURI, AcceptedTextIsCanonicallyEscaped) {
  const char* const inputs[] = {"http://h/a b%20c%", "./a b", "host/%41%zz?x y#f g", "mailto:a b@c"};
  for (const char* input : inputs) {
    URI uri;
    ASSERT_TRUE(uri.UnknownToURI(input, "http")) << input;
    URI again(uri);
    again.ForceEscape();
    EXPECT_EQ(std::string(again.ToString(false)), std::string(uri.ToString(false))) << input;
  }
}

}  // namespace
