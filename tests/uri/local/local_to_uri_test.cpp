#include "vesk/uri/uri"

#include <string>

#include <gtest/gtest.h>

namespace {

using Vesk::URI;

enum class Form { Win, Unix, Mac, Default };

const char* Name(Form form) {
  switch (form) {
    case Form::Win:
      return "LocalPathToURIWin";
    case Form::Unix:
      return "LocalPathToURIUnix";
    case Form::Mac:
      return "LocalPathToURIMac";
    case Form::Default:
      return "LocalPathToURI";
  }
  return "";
}

void Convert(URI& uri, Form form, const std::string& path) {
  switch (form) {
    case Form::Win:
      uri.LocalPathToURIWin(path);
      break;
    case Form::Unix:
      uri.LocalPathToURIUnix(path);
      break;
    case Form::Mac:
      uri.LocalPathToURIMac(path);
      break;
    case Form::Default:
      uri.LocalPathToURI(path);
      break;
  }
}

struct Row {
  Form form;
  const char* path;
  const char* server;  // stored
  const char* stored;  // stored path
};

// Converts on a fresh URI and on one that held every component, and checks
// the stored fields and the flags. Every conversion gives an absolute,
// hierarchical file URI with no port, query or fragment.
void check(const Row& row) {
  SCOPED_TRACE(std::string(Name(row.form)) + "(\"" + row.path + "\")");
  URI fresh;
  URI used("http://user:pw@host:81/old/path?q=1#frag");
  for (URI* uri : {&fresh, &used}) {
    Convert(*uri, row.form, row.path);
    EXPECT_EQ(uri->m_Scheme, "file");
    EXPECT_EQ(uri->m_Server, row.server);
    EXPECT_EQ(uri->m_Path, row.stored);
    EXPECT_EQ(uri->m_Port, "");
    EXPECT_EQ(uri->m_Query, "");
    EXPECT_EQ(uri->m_Fragment, "");
    EXPECT_EQ(uri->m_NonHierarchical, "");
    EXPECT_TRUE(uri->IsHierarchical());
    EXPECT_FALSE(uri->IsRelative());
    EXPECT_EQ(uri->IsValidURI(), !uri->m_Server.empty() || !uri->m_Path.empty());
  }
  // User name and password are not the conversion's business: they stay.
  EXPECT_EQ(used.m_Username, "user");
  EXPECT_EQ(used.m_Password, "pw");
}

TEST(LocalPathToURI, WindowsPaths) {
  const Row rows[] = {
      {Form::Win, "C:\\dir\\a.txt", "", "/C|/dir/a.txt"},
      {Form::Win, "C:/dir/a b.txt", "", "/C|/dir/a%20b.txt"},
      {Form::Win, "\\\\Server\\share\\a.txt", "server", "/share/a.txt"},
      {Form::Win, "\\\\server", "server", ""},
      {Form::Win, "\\\\server\\", "server", "/"},
      {Form::Win, "\\\\", "", ""},
      {Form::Win, "dir\\a.txt", "", "/dir/a.txt"},
      {Form::Win, "", "", ""},
      // Exactly three bytes once the slash is in front: the bar is escaped.
      {Form::Win, "C:", "", "/C%7C"},
      {Form::Win, "C:\\a:b", "", "/C|/a%7Cb"},
      {Form::Win, "c:foo", "", "/c|foo"},
      {Form::Win, "\\\\?\\C:\\x", "%3F", "/C|/x"},
      {Form::Win, "\\\\.\\COM1", ".", "/COM1"},
      {Form::Win, "//srv/share/a b", "srv", "/share/a%20b"},
      {Form::Win, "\\dir\\a.txt", "", "/dir/a.txt"},
  };
  for (const Row& row : rows) check(row);
}

TEST(LocalPathToURI, UnixPaths) {
  const Row rows[] = {
      {Form::Unix, "/usr/lib/x", "", "/usr/lib/x"},
      {Form::Unix, "dir/a", "", "/dir/a"},
      {Form::Unix, "", "", "/"},
      {Form::Unix, "/a:b", "", "/a%3Ab"},
      {Form::Unix, "/a b/c#d?e", "", "/a%20b/c%23d%3Fe"},
      {Form::Unix, "//server/x", "", "//server/x"},
      {Form::Unix, "/C|/x", "", "/C|/x"},
      {Form::Unix, "/caf\xC3\xA9", "", "/caf\xC3\xA9"},
  };
  for (const Row& row : rows) check(row);
}

TEST(LocalPathToURI, ColonPaths) {
  const Row rows[] = {
      {Form::Mac, "Disk:Users:me:a.txt", "", "/Disk/Users/me/a.txt"},
      {Form::Mac, ":rel:a.txt", "", "/rel/a.txt"},
      {Form::Mac, "/usr/lib/x", "", "/usr/lib/x"},
      {Form::Mac, "/a:b", "", "/a/b"},
      {Form::Mac, "", "", "/"},
      {Form::Mac, "Disk:", "", "/Disk/"},
      {Form::Mac, "a b:c%d", "", "/a%20b/c%25d"},
  };
  for (const Row& row : rows) check(row);
}

// The build's own notation reads colon paths, so slash paths work too.
TEST(LocalPathToURI, DefaultReadsColonPaths) {
  const Row rows[] = {
      {Form::Default, "Disk:Users:a.txt", "", "/Disk/Users/a.txt"},
      {Form::Default, "/usr/lib/x", "", "/usr/lib/x"},
      {Form::Default, "/a:b", "", "/a/b"},
      {Form::Default, "", "", "/"},
  };
  for (const Row& row : rows) check(row);
}

TEST(LocalPathToURI, Text) {
  struct TextRow {
    Form form;
    const char* path;
    const char* text;
  } rows[] = {
      {Form::Win, "C:\\dir\\a.txt", "file:///C|/dir/a.txt"},
      {Form::Win, "\\\\Server\\share\\a.txt", "file://server/share/a.txt"},
      {Form::Unix, "/usr/a b", "file:///usr/a%20b"},
      {Form::Mac, "Disk:a.txt", "file:///Disk/a.txt"},
  };
  for (const auto& row : rows) {
    URI uri;
    Convert(uri, row.form, row.path);
    EXPECT_EQ(std::string(uri.ToString(false)), row.text) << Name(row.form) << " " << row.path;
  }
}

// A subclass that redirects the colon form takes LocalPathToURI with it.
class RecordingURI : public URI {
 public:
  void LocalPathToURIMac(StringProxy path) override {
    seen = path;
    LocalPathToURIUnix(StringProxy("/redirected"));
  }
  std::string seen;
};

TEST(LocalPathToURI, DispatchesThroughTheVirtualTable) {
  RecordingURI uri;
  URI& base = uri;
  base.LocalPathToURI(URI::StringProxy("a:b"));
  EXPECT_EQ(uri.seen, "a:b");
  EXPECT_EQ(uri.m_Path, "/redirected");
}

}  // namespace
