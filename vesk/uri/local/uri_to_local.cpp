// File URIs back into local paths of the three notations. Not the mirror of
// the way in: the leading slash of an authority-free path is dropped by the
// backslash and colon forms, and an authority means another machine except
// for "localhost" in the colon form.
#include <string>

#include "vesk/platform/colon_paths"
#include "vesk/uri/uri"

namespace Vesk {

namespace {

std::string Replaced(std::string text, char from, char to) {
  for (char& c : text) {
    if (c == from) c = to;
  }
  return text;
}

std::string WithoutLeadingSlash(const std::string& path) {
  return !path.empty() && path[0] == '/' ? path.substr(1) : path;
}

}  // namespace

// The build's notation: slash paths, although LocalPathToURI reads colon paths.
URI::StringProxy URI::ToLocalPath() const { return ToLocalPathUnix(); }

URI::StringProxy URI::ToLocalPathWin() const {
  if (m_Scheme != "file") {
    if (IsRelative()) return StringProxy(Replaced(GetPath(), '/', '\\'));
    return StringProxy();
  }
  const std::string path = GetPath();
  const std::string authority = GetAuthority();
  std::string out = authority.empty() ? WithoutLeadingSlash(path) : "//" + authority + path;
  out = Replaced(std::move(out), '/', '\\');
  return StringProxy(Replaced(std::move(out), '|', ':'));
}

URI::StringProxy URI::ToLocalPathUnix() const {
  if (m_Scheme != "file") {
    if (IsRelative()) return GetPath();
    return StringProxy();
  }
  // Any authority, "localhost" too, puts the file on another machine.
  if (!GetAuthority().empty()) return StringProxy();
  return GetPath();
}

URI::StringProxy URI::ToLocalPathMac() const {
  if (m_Scheme != "file") {
    if (IsRelative()) return StringProxy(":" + Replaced(GetPath(), '/', ':'));
    return StringProxy();
  }
  const std::string path = GetPath();
  const std::string authority = GetAuthority();
  if (authority == "localhost") return StringProxy(GetColonPathService().ToColonPath(path));
  if (!authority.empty()) return StringProxy();
  // The first path component is taken for the volume name.
  return StringProxy(Replaced(WithoutLeadingSlash(path), '/', ':'));
}

}  // namespace Vesk
