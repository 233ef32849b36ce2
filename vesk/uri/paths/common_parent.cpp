// The deepest directory that holds two URIs.
#include <algorithm>
#include <string>
#include <vector>

#include "vesk/uri/uri"

namespace Vesk {

namespace {

bool ReachedOther(URIRelation relation) { return relation == URIRelationSame || relation == URIRelationParent; }

// `climber` moved by ".." `climbs` times. After a move by "." its path is a
// directory: its segments with a trailing slash (the root, or nothing, when
// there are none). Each move by ".." drops the last segment and clears query
// and fragment, which that first move has cleared already, so the state after
// any number of moves is one SetPath away.
URI Climbed(const URI& climber, const std::vector<std::string>& segments, bool leadingSlash, size_t keep) {
  URI moved(climber);
  if (keep < segments.size()) {
    const std::vector<std::string> kept(segments.begin(), segments.begin() + static_cast<std::ptrdiff_t>(keep));
    moved.SetPath(URI::JoinPath(kept, leadingSlash, true));
  }
  return moved;
}

}  // namespace

URI URI::GetCommonParent(const URI& other, bool caseSensitive) const {
  URI climber = Resolve(*this);
  URI fixed = Resolve(other);
  if (climber.IsRelative() || fixed.IsRelative()) return URI();

  // From here on both stand for directories: file names, queries and
  // fragments are gone.
  climber.ChDir(".", false);
  fixed.ChDir(".", false);

  // With a resolver, or for a first copy that the "." has made relative (a
  // blank, an "unknown:" or a scheme-less one), the climb is walked one ".."
  // at a time: the resolver sees both at each step, and a relative copy may
  // reach the second only through it. Only the first climbs, until it has
  // reached or passed the second, or a move leaves its text as it was. A move
  // that lengthens a relative copy climbs above the start of its path, and
  // would go on doing so ("../", "../../", ...): the copy stops before it.
  if (m_Resolver != nullptr || climber.IsRelative()) {
    while (!ReachedOther(climber.GetRelation(fixed, caseSensitive))) {
      const URI before = climber;
      const std::string text = before.ToString(false);
      climber.ChDir("..", false);
      const std::string moved = climber.ToString(false);
      if (moved == text) break;
      if (before.IsRelative() && moved.size() > text.size()) return before;
    }
    return climber;
  }

  // Without a resolver the climb is worked out instead of walked, so that deep
  // paths cost linear time. The first copy reaches the second at the deepest
  // number of segments m for which GetRelation answers same or parent. That
  // answer comes either from the paths' texts, which can only agree when m is
  // the second's number of segments (or zero, for "/" against ""), or from a
  // proper prefix, the longest of which is bounded by the common prefix of
  // the two lists. Those candidates are tried from the deepest up; failing
  // all, the copy ends at its root.
  std::vector<std::string> segments;
  bool leadingSlash = false;
  bool trailingSlash = false;
  SplitPath(climber.GetPath(), segments, leadingSlash, trailingSlash);
  std::vector<std::string> target;
  SplitPath(fixed.GetPath(), target);
  size_t common = 0;
  while (common < segments.size() && common < target.size() &&
         Compare(segments[common], target[common], caseSensitive) == 0) {
    ++common;
  }
  std::vector<size_t> candidates = {std::min(segments.size(), target.size()), 0};
  if (!target.empty()) candidates.push_back(std::min(common, target.size() - 1));
  std::sort(candidates.rbegin(), candidates.rend());
  for (const size_t keep : candidates) {
    URI moved = Climbed(climber, segments, leadingSlash, keep);
    if (ReachedOther(moved.GetRelation(fixed, caseSensitive))) return moved;
  }
  return Climbed(climber, segments, leadingSlash, 0);
}

URI URI::GetCommonParentByString(StringProxy a, StringProxy b, bool caseSensitive) {
  URI first(a);
  URI second(b);
  first = Resolve(first);
  second = Resolve(second);
  // The resolved second URI is not used further: the text is parsed anew and
  // GetCommonParent resolves it itself.
  const URI third(b);
  return first.GetCommonParent(third, caseSensitive);
}

}  // namespace Vesk
