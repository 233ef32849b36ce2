// Moving a URI by a reference: the one place where references are resolved
// against a base and where "." and ".." get their meaning.
#include <string>
#include <vector>

#include "vesk/uri/paths/dot_segments.h"
#include "vesk/uri/uri"

namespace Vesk {

bool URI::ChDir(StringProxy reference, bool escape) {
  std::string ref;
  if (escape) {
    ref = Escape(reference);
  } else {
    ref.swap(reference);
  }
  if (ref.empty()) return true;

  // A network-path reference keeps only the scheme: the whole object is
  // parsed anew, which fails (leaving a blank URI) when there is no scheme.
  if (ref.size() >= 2 && ref[0] == '/' && ref[1] == '/') {
    ParseURI(std::string(GetScheme()) + ":" + ref);
    return true;
  }

  // A bare query is a move to the current directory that carries a query, so
  // the file name goes as it does for any other merge.
  if (ref[0] == '?') ref.insert(0, "./");

  URI target;
  target.ParseURI(ref);
  // Absolute and non-hierarchical references, and references that do not
  // parse (a blank target), replace the object outright.
  if (!target.IsRelative() || !target.IsHierarchical()) {
    CopyURI(target);
    return true;
  }

  std::vector<std::string> ownSegments;
  bool ownLeading = false;
  bool ownTrailing = false;
  SplitPath(GetPath(), ownSegments, ownLeading, ownTrailing);
  const StringProxy targetPath = target.GetPath();
  std::vector<std::string> targetSegments;
  bool targetLeading = false;
  bool targetTrailing = false;
  SplitPath(targetPath, targetSegments, targetLeading, targetTrailing);

  // A rooted path is taken as it stands, dots and doubled slashes included.
  if (targetLeading) {
    SetPath(targetPath);
    SetQuery(target.GetQuery(true), true);
    SetFragment(target.GetFragment());
    return true;
  }

  // Only a fragment (or a bare "#", which clears it): path and query stay.
  if (targetSegments.empty() && target.m_Query.empty()) {
    SetFragment(target.GetFragment());
    return true;
  }

  // Merge. Without a trailing slash the last segment is a file name and goes.
  if (!ownTrailing && !ownSegments.empty()) ownSegments.pop_back();
  SetQuery(target.GetQuery(true), true);
  SetFragment(target.GetFragment());

  // Dot removal over the merged list, the object's own segments included.
  // Past the start of a relative path a ".." stays; past the root of an
  // absolute one it is dropped.
  bool dot = false;
  std::vector<std::string> merged =
      uri_internal::RemoveDotSegments(ownSegments, targetSegments, [this] { return IsRelative(); }, dot);

  SetPath(JoinPath(merged, ownLeading, dot || targetTrailing));
  return true;
}

}  // namespace Vesk
