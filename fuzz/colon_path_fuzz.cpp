// Colon paths from any text with volumes declared from the input. Lines: the
// POSIX path, the root volume's name, then pairs of mount point and volume
// name. The Linux service is held to a model of its stated rule (names cut at
// "/", "." and empty names dropped, ".." taking one back, the longest mount
// point that leads the names chooses the volume, ":" in a name written "/"),
// and leading "." or doubled slashes change nothing.
#include <algorithm>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "fuzz/fuzz_support.h"
#include "vesk/platform/colon_paths"

namespace {

using veskfuzz::Require;

std::vector<std::string> Names(const std::string& path) {
  std::vector<std::string> names;
  size_t from = 0;
  while (from <= path.size()) {
    const size_t cut = std::min(path.find('/', from), path.size());
    const std::string name = path.substr(from, cut - from);
    if (name == "..") {
      if (!names.empty()) names.pop_back();
    } else if (!name.empty() && name != ".") {
      names.push_back(name);
    }
    from = cut + 1;
  }
  return names;
}

std::string Model(const std::string& path, const std::string& root,
                  const std::map<std::vector<std::string>, std::string>& volumes) {
  const std::vector<std::string> names = Names(path);
  std::string volume = root;
  size_t skip = 0;
  for (const auto& [mount, name] : volumes) {
    if (mount.size() > names.size() || mount.size() <= skip) continue;
    if (std::equal(mount.begin(), mount.end(), names.begin())) {
      volume = name;
      skip = mount.size();
    }
  }
  std::string result = volume;
  for (size_t i = skip; i < names.size(); ++i) {
    result += ':';
    for (char c : names[i]) result += c == ':' ? '/' : c;
  }
  if (names.size() == skip || path.back() == '/') result += ':';
  return result;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const veskfuzz::PoolsCheckedAtExit pools;
  std::vector<std::string> in = veskfuzz::Lines(data, size, 8);
  Vesk::ResetColonPathVolumes();
  std::string root = Vesk::kDefaultColonPathRootVolume;
  if (!in[1].empty()) {
    Vesk::SetColonPathRootVolume(in[1]);
    root = in[1];
  }
  Require(Vesk::GetColonPathRootVolume() == root, "root volume name");
  std::map<std::vector<std::string>, std::string> volumes;
  for (size_t i = 2; i + 1 < in.size(); i += 2) {
    Vesk::SetColonPathVolume(in[i], in[i + 1]);
    const std::vector<std::string> mount = Names(in[i]);
    if (mount.empty()) {
      root = in[i + 1].empty() ? Vesk::kDefaultColonPathRootVolume : in[i + 1];
    } else if (in[i + 1].empty()) {
      volumes.erase(mount);
    } else {
      volumes[mount] = in[i + 1];
    }
  }
  const std::string path = "/" + in[0];
  const std::string colon = Vesk::GetColonPathService().ToColonPath(path);
  Require(colon == Model(path, root, volumes), "ToColonPath differs from its rule");
  Require(Vesk::GetColonPathService().ToColonPath("/./" + in[0]) == colon, "a leading \".\" changed the path");
  Require(Vesk::GetColonPathService().ToColonPath("//" + in[0]) == colon, "a doubled slash changed the path");
  Vesk::ResetColonPathVolumes();
  Require(Vesk::GetColonPathRootVolume() == Vesk::kDefaultColonPathRootVolume, "reset kept the root name");
  return 0;
}
