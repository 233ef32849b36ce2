#include "vesk/platform/colon_paths"

#include <map>
#include <string>
#include <vector>

namespace Vesk {

const char* const kDefaultColonPathRootVolume = "Root";

namespace {

// Host settings: written before the library is used from several threads,
// read without a lock afterwards, as the URI class's resolver is.
std::string& RootVolume() {
  static std::string name = kDefaultColonPathRootVolume;
  return name;
}

// Declared volumes: the names of the mount point's directories, to volume name.
std::map<std::vector<std::string>, std::string>& Volumes() {
  static std::map<std::vector<std::string>, std::string> volumes;
  return volumes;
}

const ColonPathService* gInstalled = nullptr;

// Cuts `path` at "/" into names, dropping empty names and "." and letting ".."
// remove the name before it.
std::vector<std::string> Names(const std::string& path) {
  std::vector<std::string> names;
  size_t start = 0;
  while (start <= path.size()) {
    size_t end = path.find('/', start);
    if (end == std::string::npos) end = path.size();
    std::string name = path.substr(start, end - start);
    if (name == "..") {
      if (!names.empty()) names.pop_back();
    } else if (!name.empty() && name != ".") {
      names.push_back(std::move(name));
    }
    start = end + 1;
  }
  return names;
}

}  // namespace

ColonPathService::~ColonPathService() = default;

std::string LinuxColonPathService::ToColonPath(const std::string& posixPath) const {
  const std::vector<std::string> names = Names(posixPath);

  // The longest declared mount point that leads the path decides the volume.
  std::string volume = RootVolume();
  size_t skip = 0;
  for (const auto& [mount, name] : Volumes()) {
    if (mount.size() <= skip || mount.size() > names.size()) continue;
    bool leads = true;
    for (size_t i = 0; leads && i < mount.size(); ++i) leads = mount[i] == names[i];
    if (leads) {
      volume = name;
      skip = mount.size();
    }
  }

  std::string out = volume;
  for (size_t i = skip; i < names.size(); ++i) {
    out += ':';
    for (char c : names[i]) out += c == ':' ? '/' : c;
  }
  const bool trailingSlash = !posixPath.empty() && posixPath.back() == '/';
  if (names.size() == skip || trailingSlash) out += ':';
  return out;
}

void SetColonPathRootVolume(const std::string& name) { RootVolume() = name; }

std::string GetColonPathRootVolume() { return RootVolume(); }

void SetColonPathVolume(const std::string& mountPoint, const std::string& name) {
  const std::vector<std::string> mount = Names(mountPoint);
  if (mount.empty()) {
    RootVolume() = name.empty() ? std::string(kDefaultColonPathRootVolume) : name;
  } else if (name.empty()) {
    Volumes().erase(mount);
  } else {
    Volumes()[mount] = name;
  }
}

void ResetColonPathVolumes() {
  Volumes().clear();
  RootVolume() = kDefaultColonPathRootVolume;
}

const ColonPathService& GetColonPathService() {
  static const LinuxColonPathService linuxService;
  return gInstalled != nullptr ? *gInstalled : linuxService;
}

const ColonPathService* SetColonPathService(const ColonPathService* service) {
  const ColonPathService* previous = gInstalled;
  gInstalled = service;
  return previous;
}

}  // namespace Vesk
