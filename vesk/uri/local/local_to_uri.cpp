// Local paths of the three notations into file URIs. The rules are textual:
// nothing here looks at a file system, the current directory or the host name.
#include <string>
#include <utility>

#include "vesk/uri/uri"

namespace Vesk {

namespace {

void ReplaceAll(std::string& text, char from, char to) {
  for (char& c : text) {
    if (c == from) c = to;
  }
}

}  // namespace

// The build's notation: the colon form, which also passes slash paths through.
void URI::LocalPathToURI(StringProxy path) { LocalPathToURIMac(std::move(path)); }

void URI::LocalPathToURIWin(StringProxy path) {
  std::string p = std::move(path);
  std::string host;
  ReplaceAll(p, '\\', '/');
  if (p.size() >= 2 && p[0] == '/' && p[1] == '/') {
    // A server path: the host runs to the next slash, the path from there.
    host = p.substr(2);
    const size_t slash = host.find('/');
    if (slash != std::string::npos) {
      p = host.substr(slash);
      host.resize(slash);
    } else {
      p.clear();
    }
  }
  if (!p.empty() && p[0] != '/') p.insert(p.begin(), '/');
  // Every colon, not only a drive's, becomes the bar of a drive mark.
  ReplaceAll(p, ':', '|');
  SetParts(StringProxy("file"), StringProxy(std::move(host)), StringProxy(), StringProxy(std::move(p)),
           StringProxy(), StringProxy());
}

void URI::LocalPathToURIUnix(StringProxy path) {
  std::string p = std::move(path);
  if (p.empty() || p[0] != '/') p.insert(p.begin(), '/');
  SetParts(StringProxy("file"), StringProxy(), StringProxy(), StringProxy(std::move(p)), StringProxy(),
           StringProxy());
}

void URI::LocalPathToURIMac(StringProxy path) {
  std::string p = std::move(path);
  ReplaceAll(p, ':', '/');
  if (p.empty() || p[0] != '/') p.insert(p.begin(), '/');
  SetParts(StringProxy("file"), StringProxy(), StringProxy(), StringProxy(std::move(p)), StringProxy(),
           StringProxy());
}

}  // namespace Vesk
