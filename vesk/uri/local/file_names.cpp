// The last part of a URI's path: file name, extension, file type and last
// component. Names are read from the plain (unescaped) path; whether the URI
// is a directory is judged on the stored path.
#include <string>

#include "vesk/uri/uri"

namespace Vesk {

namespace {

// What stands behind the last "/" of `path`, or all of it.
std::string AfterLastSlash(const std::string& path) {
  const size_t slash = path.rfind('/');
  return slash == std::string::npos ? path : path.substr(slash + 1);
}

}  // namespace

URI::StringProxy URI::GetFilename(bool stripExtension) const {
  if (IsDirectory()) return StringProxy();
  std::string name = AfterLastSlash(GetPath());
  if (stripExtension) {
    // A leading dot counts too: ".profile" has no name left.
    const size_t dot = name.rfind('.');
    if (dot != std::string::npos) name.resize(dot);
  }
  return StringProxy(std::move(name));
}

URI::StringProxy URI::GetExtension(bool stripDot) const {
  const std::string name = GetFilename(false);
  const size_t dot = name.rfind('.');
  // No dot, or only a leading one: no extension.
  if (dot == std::string::npos || dot == 0) return StringProxy();
  return StringProxy(name.substr(stripDot ? dot + 1 : dot));
}

bool URI::IsOfFileType(StringProxy type) const {
  const size_t dot = type.rfind('.');
  const std::string wanted = dot == std::string::npos ? std::string(type) : type.substr(dot + 1);
  const std::string extension = GetExtension(true);
  if (extension.empty()) return false;
  return Compare(extension, wanted, false) == 0;
}

URI::StringProxy URI::GetLastPathComponent() const {
  if (!IsDirectory()) return GetFilename(false);
  std::string path = GetPath();
  if (path.empty() || path == "/") return StringProxy();
  path.pop_back();  // the trailing slash
  return StringProxy(AfterLastSlash(path));
}

URI::StringProxy URI::RemoveLastPathComponent() {
  StringProxy removed = GetLastPathComponent();
  ChDir(StringProxy(IsDirectory() ? ".." : "."), false);
  return removed;
}

}  // namespace Vesk
