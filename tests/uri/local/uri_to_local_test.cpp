#include "vesk/uri/uri"

#include <string>

#include <gtest/gtest.h>

#include "vesk/platform/colon_paths"

namespace {

using Vesk::URI;

struct Row {
  const char* uri;
  const char* win;
  const char* slash;  // also ToLocalPath
  const char* mac;
};

void check(const URI& uri, const Row& row) {
  SCOPED_TRACE(row.uri);
  EXPECT_EQ(std::string(uri.ToLocalPathWin()), row.win);
  EXPECT_EQ(std::string(uri.ToLocalPathUnix()), row.slash);
  EXPECT_EQ(std::string(uri.ToLocalPath()), row.slash);
  EXPECT_EQ(std::string(uri.ToLocalPathMac()), row.mac);
}

TEST(ToLocalPath, ThreeNotations) {
  Vesk::ResetColonPathVolumes();
  const Row rows[] = {
      {"file:///C|/a/b.txt", "C:\\a\\b.txt", "/C|/a/b.txt", "C|:a:b.txt"},
      {"file://server/share/a.txt", "\\\\server\\share\\a.txt", "", ""},
      {"file://localhost/usr/a", "\\\\localhost\\usr\\a", "", "Root:usr:a"},
      {"file://localhost/", "\\\\localhost\\", "", "Root:"},
      {"file:///usr/a%20b", "usr\\a b", "/usr/a b", "usr:a b"},
      {"dir/a.txt", "dir\\a.txt", "dir/a.txt", ":dir:a.txt"},
      {"http://x/y", "", "", ""},
      {"mailto:joe@host", "", "", ""},
      {"", "", "", ":"},
      {"FILE:///x/y/", "x\\y\\", "/x/y/", "x:y:"},
      {"file:///a%7Cb/c%3Ad", "a:b\\c:d", "/a|b/c:d", "a|b:c:d"},
      {"file:///a%2Fb", "a\\b", "/a/b", "a:b"},
      {"file://", "", "", ""},
  };
  for (const Row& row : rows) check(URI(row.uri), row);
}

// A blank URI is neither a file URI nor relative: it has no local path.
TEST(ToLocalPath, BlankURIHasNone) { check(URI(), {"(blank)", "", "", ""}); }

// A scheme set without a setter that re-derives the flags leaves a relative
// URI, whose path is taken as relative.
TEST(ToLocalPath, SchemeComparedAsStored) {
  URI uri("a/b");
  uri.SetScheme("http");
  check(uri, {"a/b with scheme http", "a\\b", "a/b", ":a:b"});
}

TEST(ToLocalPath, RoundTripsOfTheWayIn) {
  struct Trip {
    const char* in;
    const char* win;
    const char* slash;
  } trips[] = {
      {"C:\\dir\\a b.txt", "C:\\dir\\a b.txt", "/C|/dir/a b.txt"},
      {"\\\\server\\share\\x", "\\\\server\\share\\x", ""},
      // The first slash of an authority-free path is always dropped.
      {"\\dir\\a.txt", "dir\\a.txt", "/dir/a.txt"},
      {"dir\\a.txt", "dir\\a.txt", "/dir/a.txt"},
  };
  for (const auto& trip : trips) {
    URI uri;
    uri.LocalPathToURIWin(trip.in);
    EXPECT_EQ(std::string(uri.ToLocalPathWin()), trip.win) << trip.in;
    EXPECT_EQ(std::string(uri.ToLocalPathUnix()), trip.slash) << trip.in;
  }
  URI mac;
  mac.LocalPathToURIMac(":rel:a.txt");
  EXPECT_EQ(std::string(mac.ToLocalPathMac()), "rel:a.txt");
  URI slashes;
  slashes.LocalPathToURIUnix("/usr/a b:c");
  EXPECT_EQ(std::string(slashes.ToLocalPath()), "/usr/a b:c");
}

class FixedColonPaths : public Vesk::ColonPathService {
 public:
  std::string ToColonPath(const std::string& posixPath) const override {
    last = posixPath;
    return "Fixed" + posixPath;
  }
  mutable std::string last;
};

// "localhost" is the only authority the colon form accepts, and the host
// service alone decides its text, given the plain path.
TEST(ToLocalPath, LocalhostGoesToTheHostService) {
  FixedColonPaths service;
  EXPECT_EQ(Vesk::SetColonPathService(&service), nullptr);
  EXPECT_EQ(std::string(URI("file://localhost/a%20b").ToLocalPathMac()), "Fixed/a b");
  EXPECT_EQ(service.last, "/a b");
  EXPECT_EQ(std::string(URI("file://LOCALHOST/x").ToLocalPathMac()), "Fixed/x");
  EXPECT_EQ(std::string(URI("file://otherhost/x").ToLocalPathMac()), "");
  EXPECT_EQ(Vesk::SetColonPathService(nullptr), &service);
  EXPECT_EQ(std::string(URI("file://localhost/x").ToLocalPathMac()), "Root:x");
}

class SlashRedirect : public URI {
 public:
  using URI::URI;
  StringProxy ToLocalPathUnix() const override { return StringProxy("redirected"); }
};

TEST(ToLocalPath, DispatchesThroughTheVirtualTable) {
  SlashRedirect uri("file:///x");
  const URI& base = uri;
  EXPECT_EQ(std::string(base.ToLocalPath()), "redirected");
}

}  // namespace
