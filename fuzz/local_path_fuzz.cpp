// Local paths both ways: the input is taken as a Windows, a Unix and a colon
// path, each made a file URI and turned back; and as URI text, turned into
// the three notations.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "vesk/platform/colon_paths"
#include "vesk/uri/uri"
#include "fuzz/fuzz_support.h"

namespace {

using veskfuzz::Require;

using Vesk::URI;

std::string Replaced(std::string text, char from, char to) {
  for (char& c : text)
    if (c == from) c = to;
  return text;
}

void RequireFileURI(const URI& uri) {
  Require(uri.m_Scheme == "file" && uri.m_IsHierarchical && !uri.m_IsRelative,
          "conversion did not give a file URI");
  Require(
      uri.m_Port.empty() && uri.m_Query.empty() && uri.m_Fragment.empty() && uri.m_NonHierarchical.empty(),
      "conversion left port, query, fragment or body");
  Require(uri.m_IsValid == (!uri.m_Server.empty() || !uri.m_Path.empty()),
          "validity does not follow the fields");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const veskfuzz::PoolsCheckedAtExit pools;
  const std::string text(reinterpret_cast<const char*>(data), size);

  // Unix: the path comes back as given, with a leading slash.
  URI slashURI;
  slashURI.LocalPathToURIUnix(text);
  RequireFileURI(slashURI);
  Require(slashURI.m_Server.empty(), "a Unix path gave an authority");
  const std::string slashed = !text.empty() && text[0] == '/' ? text : "/" + text;
  Require(slashURI.ToLocalPathUnix() == slashed, "Unix path did not come back");
  Require(slashURI.ToLocalPath() == slashed, "ToLocalPath is not the Unix form");

  // Colon paths: back as colon paths, a leading separator dropped.
  URI mac;
  mac.LocalPathToURIMac(text);
  RequireFileURI(mac);
  Require(mac.m_Server.empty(), "a colon path gave an authority");
  std::string expected = Replaced(text, ':', '/');
  if (!expected.empty() && expected[0] == '/') expected.erase(0, 1);
  Require(mac.ToLocalPathMac() == Replaced(expected, '/', ':'), "colon path did not come back");
  URI viaDefault;
  viaDefault.LocalPathToURI(text);
  Require(viaDefault.ToString(false) == mac.ToString(false), "LocalPathToURI is not the colon form");

  // Windows: the backslash form holds no slash and no bar, and reading it
  // again gives the same URI, except where the way back cannot keep the text:
  // a bar or an escape in the host, a bracketed host (its reading form drops
  // the brackets), a path without host that was the root alone or began with
  // "//" (its first slash is dropped, and what is left reads differently).
  URI win;
  win.LocalPathToURIWin(text);
  RequireFileURI(win);
  const std::string back = win.ToLocalPathWin();
  Require(back.find('/') == std::string::npos && back.find('|') == std::string::npos,
          "Windows path holds a slash or a bar");
  const bool bareRoot = win.m_Server.empty() && (win.m_Path == "/" || win.m_Path.compare(0, 2, "//") == 0);
  const bool bracketed = win.m_Server.find('[') != std::string::npos;
  if (text.find('|') == std::string::npos && text.find('%') == std::string::npos && !bareRoot && !bracketed) {
    URI again;
    again.LocalPathToURIWin(back);
    Require(again.ToString(false) == win.ToString(false), "Windows path does not read back to the same URI");
  }

  // The colon-path host service, alone and behind "file://localhost": the
  // volume comes first, and a slash can only come from a colon in a name.
  const std::string colonPath = Vesk::GetColonPathService().ToColonPath(text);
  const std::string volume = Vesk::GetColonPathRootVolume() + ":";
  Require(colonPath.compare(0, volume.size(), volume) == 0, "colon path does not begin with the volume");
  Require(colonPath.find('/') == std::string::npos || text.find(':') != std::string::npos,
          "colon path holds a slash that was no colon");
  URI local(slashURI);
  local.SetAuthority("localhost");
  Require(local.ToLocalPathMac() == Vesk::GetColonPathService().ToColonPath(slashed),
          "localhost colon path is not the host service's");
  Require(local.ToLocalPathUnix().empty(), "a Unix path for localhost");

  // The input as URI text: only file URIs and relative references have
  // local paths, and reading them changes nothing.
  const URI uri(text);
  const std::string before = uri.ToString(false);
  const std::string w = uri.ToLocalPathWin(), u = uri.ToLocalPathUnix(), m = uri.ToLocalPathMac();
  Require(uri.ToString(false) == before, "reading a local path changed the URI");
  if (uri.m_Scheme != "file" && !uri.IsRelative()) {
    Require(w.empty() && u.empty() && m.empty(), "a URI of another scheme gave a local path");
  }
  if (uri.IsRelative() && uri.m_Scheme != "file")
    Require(!m.empty() && m[0] == ':', "relative colon path lacks its colon");
  if (uri.m_Scheme == "file" && !uri.m_Server.empty()) Require(u.empty(), "a Unix path for another machine");
  return 0;
}
