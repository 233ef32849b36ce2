// The URI's readers of names and kinds from any text: file name, extension,
// last path component (and its removal), IsUnderDirectory, IsOfFileType,
// CompareAuthority, VerifyAlpha and GetDefaultPort. The input is a URI text,
// a line feed, a second text (file type, directory, other URI); the object is
// both the parse of the first text and a URI whose path is set to it, so that
// paths the parser refuses are read too. Each reader is held to a model of its
// definition over the plain path.
#include <cstdint>
#include <string>
#include <vector>

#include "fuzz/fuzz_support.h"
#include "vesk/uri/invariants.h"
#include "vesk/uri/uri"

namespace {

using veskfuzz::Require;
using Vesk::URI;

std::string After(const std::string& text, char c) {
  const size_t at = text.rfind(c);
  return at == std::string::npos ? text : text.substr(at + 1);
}

void CheckNames(const URI& uri, const std::string& other) {
  const std::string path = uri.GetPath();
  const bool directory = !uri.m_Path.empty() && uri.m_Path.back() == '/';
  Require(uri.IsDirectory() == directory, "IsDirectory");

  const std::string name = directory ? std::string() : After(path, '/');
  Require(uri.GetFilename(false) == name, "GetFilename(false)");
  const size_t dot = name.rfind('.');
  Require(uri.GetFilename(true) == (dot == std::string::npos ? name : name.substr(0, dot)), "GetFilename(true)");
  const std::string extension = dot == std::string::npos || dot == 0 ? std::string() : name.substr(dot);
  Require(uri.GetExtension(false) == extension, "GetExtension(false)");
  Require(uri.GetExtension(true) == (extension.empty() ? extension : extension.substr(1)), "GetExtension(true)");
  Require(uri.IsOfFileType(other) ==
              (extension.size() > 1 && URI::Compare(extension.substr(1), After(other, '.'), false) == 0),
          "IsOfFileType");

  std::string component = name;
  if (directory) component = path.empty() || path == "/" ? std::string() : After(path.substr(0, path.size() - 1), '/');
  Require(uri.GetLastPathComponent() == component, "GetLastPathComponent");
  URI removed(uri), moved(uri);
  Require(removed.RemoveLastPathComponent() == component, "RemoveLastPathComponent result");
  moved.ChDir(directory ? ".." : ".", false);
  Require(Vesk::uri_internal::SameState(removed, moved), "RemoveLastPathComponent move");

  if (!other.empty() && other.find('/') == std::string::npos) {
    std::vector<std::string> segments;
    URI::SplitPath(path, segments);
    bool found = false;
    for (const std::string& segment : segments) found = found || segment == other;
    Require(uri.IsUnderDirectory(other) == found, "IsUnderDirectory");
  } else {
    uri.IsUnderDirectory(other);
  }

  const std::string port = uri.GetDefaultPort();
  for (char c : port) Require(c >= '0' && c <= '9', "GetDefaultPort gave a non-digit");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const veskfuzz::PoolsCheckedAtExit pools;
  const std::vector<std::string> in = veskfuzz::Lines(data, size, 2);
  const URI parsed(in[0]);
  Require(Vesk::uri_internal::URIShapeError(parsed).empty(), "the parser made an odd shape");
  CheckNames(parsed, in[1]);
  URI file("file:///");
  file.SetPath(in[0]);
  CheckNames(file, in[1]);
  URI relative;
  relative.SetPath(in[0]);
  CheckNames(relative, in[1]);

  bool alpha = true;
  for (unsigned char c : in[0]) alpha = alpha && ((c | 0x20) >= 'a' && (c | 0x20) <= 'z');
  Require(URI::VerifyAlpha(in[0]) == alpha, "VerifyAlpha");
  const bool same = URI(in[0]).GetAuthority() == URI(in[1]).GetAuthority();
  Require(URI::CompareAuthority(in[0], in[1]) == same, "CompareAuthority");
  Require(URI::CompareAuthority(in[1], in[0]) == same, "CompareAuthority is not symmetric");
  return 0;
}
