#include "vesk/uri/uri"

#include <map>
#include <string>

#include <gtest/gtest.h>

#include "tests/support/uri.h"
#include "vesk/platform/colon_paths"

namespace {

using namespace vesktest;
using Vesk::uri_internal::SameState;

// Records which path conversion was chosen, then converts as usual.
class RecordingURI : public URI {
 public:
  using URI::URI;
  void LocalPathToURIWin(StringProxy path) override { form += "win", URI::LocalPathToURIWin(path); }
  void LocalPathToURIUnix(StringProxy path) override { form += "unix", URI::LocalPathToURIUnix(path); }
  void LocalPathToURIMac(StringProxy path) override { form += "mac", URI::LocalPathToURIMac(path); }
  std::string form;
};

const std::map<std::string, void (URI::*)(URI::StringProxy)> kToURI = {{"win", &URI::LocalPathToURIWin},
                                                                       {"unix", &URI::LocalPathToURIUnix},
                                                                       {"mac", &URI::LocalPathToURIMac},
                                                                       {"default", &URI::LocalPathToURI}};

// Converts on a fresh URI and on one that held every component; each gives an
// absolute, hierarchical file URI with no port, query or fragment, and user
// name and password are not the conversion's business: they stay.
Cells ToURI(const Cells& in) {
  URI fresh;
  URI used("http://user:pw@host:81/old/path?q=1#frag");
  for (URI* uri : {&fresh, &used}) {
    (uri->*kToURI.at(in[0]))(in[1]);
    EXPECT_EQ(uri->m_Scheme + uri->m_Port + uri->m_Query + uri->m_Fragment + uri->m_NonHierarchical, "file");
    EXPECT_EQ(Flags(*uri), Bit(!uri->m_Server.empty() || !uri->m_Path.empty()) + "01");
  }
  EXPECT_EQ(used.m_Username + ":" + used.m_Password + "@" + used.m_Server + used.m_Path,
            "user:pw@" + fresh.m_Server + fresh.m_Path);
  return {fresh.m_Server, fresh.m_Path, fresh.ToString(false)};
}

// The guess on a fresh object and on one that already held a URI: both end
// alike, except that the second stays unchanged where the first stays blank.
// Accepted text is canonically escaped.
Cells Guess(const Cells& in) {
  const char* const previous = "ftp://oldhost:21/old/path?oq#of";
  const URI before(previous);
  RecordingURI fresh;
  RecordingURI used(previous);
  const bool ok = fresh.UnknownToURI(in[0], in[1]);
  EXPECT_EQ(used.UnknownToURI(in[0], in[1]), ok);
  EXPECT_EQ(used.form, fresh.form);
  if (SameState(fresh, URI())) {
    EXPECT_TRUE(SameState(used, before));
  } else {
    EXPECT_TRUE(SameState(used, fresh));
  }
  URI again(fresh);
  again.ForceEscape();
  EXPECT_TRUE(!ok || again.ToString(false) == fresh.ToString(false)) << "not canonical";
  return {Bit(ok), fresh.form, Flags(fresh), fresh.m_IsValid ? Shaped(fresh) : fresh.ToString(false)};
}

const std::map<std::string, Op> kOps = {
    {"names",
     {1,
      [](const Cells& in) {
        const URI uri(in[0]);
        EXPECT_EQ(uri.m_Path, in[0]);
        return Cells{uri.GetFilename(false), uri.GetFilename(true), uri.GetExtension(false),
                     uri.GetExtension(true), uri.GetLastPathComponent()};
      }}},
    {"filetype", {2, [](const Cells& in) { return Cells{Bit(URI(in[0]).IsOfFileType(in[1]))}; }}},
    {"removelast",
     {1,
      [](const Cells& in) {
        URI uri(in[0]);
        const std::string removed = uri.RemoveLastPathComponent();
        return Cells{removed, uri.ToString(false)};
      }}},
    {"l2u", {2, ToURI}},
    {"tolocal",
     {1,
      [](const Cells& in) {
        const URI uri = MakeURI(in[0]);
        EXPECT_EQ(std::string(uri.ToLocalPath()), std::string(uri.ToLocalPathUnix()));
        return Cells{uri.ToLocalPathWin(), uri.ToLocalPathUnix(), uri.ToLocalPathMac()};
      }}},
    {"wintrip",
     {1,
      [](const Cells& in) {
        URI uri;
        uri.LocalPathToURIWin(in[0]);
        return Cells{uri.ToLocalPathWin(), uri.ToLocalPathUnix()};
      }}},
    {"unknown", {2, Guess}},
};

TEST(LocalPaths, Table) {
  Vesk::ResetColonPathVolumes();
  RunTable("uri_local.tsv", kOps);
}

// Each of the ten words keeps its text a URI; any other word with a colon and
// no "//" behind it is taken for a colon path.
TEST(UnknownToURI, OpaqueSchemeWords) {
  for (const char* word : {"mailto", "about", "res", "link", "draft", "veskbrowse", "veskinternal", "vesk",
                           "connect", "javascript"}) {
    const std::string w = word;
    EXPECT_EQ(Guess({w + ":body", "http"}), (Cells{"1", "", "100", w + ":body"}));
    EXPECT_EQ(Guess({w + "x:body", "http"}), (Cells{"1", "mac", "101", "file:///" + w + "x/body"}));
  }
}

TEST(ToLocalPath, OddStatesAndRoundTrips) {
  // A scheme set without a setter that re-derives the flags leaves a relative
  // URI, whose path is taken as relative.
  URI uri("a/b");
  uri.SetScheme("http");
  EXPECT_EQ(uri.ToLocalPathWin() + uri.ToLocalPath() + uri.ToLocalPathMac(), "a\\ba/b:a:b");
  URI mac;
  mac.LocalPathToURIMac(":rel:a.txt");
  EXPECT_EQ(std::string(mac.ToLocalPathMac()), "rel:a.txt");
  URI slashes;
  slashes.LocalPathToURIUnix("/usr/a b:c");
  EXPECT_EQ(std::string(slashes.ToLocalPath()), "/usr/a b:c");
  URI relative("a.txt");
  EXPECT_EQ(std::string(relative.RemoveLastPathComponent()), "a.txt");
  EXPECT_EQ(Flags(relative) + relative.m_Path, "011");
  const URI full("http://x/dir/a.html?q=a.b#c.d");
  EXPECT_EQ(full.GetFilename(false) + full.GetExtension(true), "a.htmlhtml");
  EXPECT_EQ(std::string(URI("mailto:joe@host.com").GetFilename(false)), "");
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

// Subclasses take part: each entry point below reaches the override.
struct Scripted : RecordingURI {
  using RecordingURI::RecordingURI;
  bool IsDirectory() const override { return directory; }
  bool ChDir(StringProxy reference, bool escape) override {
    moves += std::string(reference) + (escape ? "+" : "-") + ";";
    return true;
  }
  void LocalPathToURIMac(StringProxy path) override {
    form = path, LocalPathToURIUnix(StringProxy("/redirected"));
  }
  StringProxy ToLocalPathUnix() const override { return StringProxy("redirected"); }
  bool directory = false;
  std::string moves;
};

TEST(LocalPaths, DispatchThroughTheVirtualTable) {
  Scripted file("http://x/a/b");
  URI& base = file;
  EXPECT_EQ(std::string(base.RemoveLastPathComponent()), "b");
  EXPECT_EQ(file.moves, ".-;");
  EXPECT_EQ(std::string(base.ToLocalPath()), "redirected");
  base.LocalPathToURI(URI::StringProxy("a:b"));
  EXPECT_EQ(file.form + " " + file.m_Path, "a:bunix /redirected");
  // Taken for a directory, the path loses its last byte as if it were the
  // trailing slash.
  Scripted dir("http://x/a/bc");
  dir.directory = true;
  EXPECT_EQ(std::string(dir.GetFilename(false)), "");
  EXPECT_EQ(std::string(dir.GetLastPathComponent()), "b");
  EXPECT_EQ(std::string(static_cast<URI&>(dir).RemoveLastPathComponent()), "b");
  EXPECT_EQ(dir.moves, "..-;");
}

}  // namespace
