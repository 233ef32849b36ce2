// Expressing an absolute URI as a path from the directory of a base.
#include <string>
#include <vector>

#include "vesk/uri/paths/dot_segments.h"
#include "vesk/uri/uri"

namespace Vesk {

bool URI::MakeRelativeURI(const URI& base, bool caseSensitive) {
  const StringProxy path = GetPath();
  const StringProxy query = GetQuery(true);
  const StringProxy fragment = GetFragment();

  if (IsRelative()) return true;
  if (base.IsRelative()) return false;
  if (!IsOfType(base.GetScheme())) return false;
  if (static_cast<const std::string&>(base.GetAuthority()) != GetAuthority()) return false;

  // The base's directory, as a move by "." leaves a copy of it: without its
  // file name, and with its dots removed. The segments are taken straight
  // from the plain path; escaping them anew and reading them back, as the
  // move does, gives the same list.
  std::vector<std::string> from;
  bool baseLeading = false;
  bool baseTrailing = false;
  SplitPath(base.GetPath(), from, baseLeading, baseTrailing);
  if (!baseTrailing && !from.empty()) from.pop_back();
  std::vector<std::string> here{"."};
  bool dot = false;
  const bool baseRelative = base.m_IsRelative;
  from = uri_internal::RemoveDotSegments(from, here, [baseRelative] { return baseRelative; }, dot);

  std::vector<std::string> own;
  bool ownLeading = false;
  bool ownTrailing = false;
  SplitPath(path, own, ownLeading, ownTrailing);

  size_t common = 0;
  while (common < own.size() && common < from.size() &&
         Compare(own[common], from[common], caseSensitive) == 0) {
    ++common;
  }

  // Climb out of what is left of the base's directory, then descend.
  std::vector<std::string> result(from.size() - common, "..");
  result.insert(result.end(), own.begin() + static_cast<std::ptrdiff_t>(common), own.end());
  std::string text = JoinPath(result, false, ownTrailing);
  if (text.empty()) text = "./";

  SetParts("", "", "", text, query, fragment);
  return true;
}

}  // namespace Vesk
