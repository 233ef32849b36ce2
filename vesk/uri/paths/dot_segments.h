#ifndef VESK_URI_PATHS_DOT_SEGMENTS_H_
#define VESK_URI_PATHS_DOT_SEGMENTS_H_

// Dot removal over a list of plain path segments, shared by ChDir and by the
// operations that need a base's directory. Internal: not installed.

#include <string>
#include <utility>
#include <vector>

namespace Vesk {
namespace uri_internal {

inline bool IsDotSegment(const std::string& segment) { return segment.size() == 1 && segment[0] == '.'; }

inline bool IsDotDotSegment(const std::string& segment) {
  return segment.size() == 2 && segment[0] == '.' && segment[1] == '.';
}

// Runs the segments of `own` and then those of `added` through dot removal and
// returns what is kept. "." goes; ".." takes the kept segment before it, unless
// that is a ".." too (then both stay); at the start a ".." stays when
// `isRelative()` says so and goes otherwise. `dot` tells whether the last step
// dealt with a "." or a "..". The kept segments form a stack, so that the
// work is linear in the number of segments.
template <typename IsRelative>
std::vector<std::string> RemoveDotSegments(std::vector<std::string>& own, std::vector<std::string>& added,
                                           IsRelative isRelative, bool& dot) {
  std::vector<std::string> kept;
  kept.reserve(own.size() + added.size());
  dot = false;
  auto step = [&](std::string& segment) {
    if (IsDotSegment(segment)) {
      dot = true;
    } else if (IsDotDotSegment(segment)) {
      dot = true;
      if (!kept.empty()) {
        if (IsDotDotSegment(kept.back())) {
          kept.push_back(std::move(segment));
        } else {
          kept.pop_back();
        }
      } else if (isRelative()) {
        kept.push_back(std::move(segment));
      }
    } else {
      dot = false;
      kept.push_back(std::move(segment));
    }
  };
  for (std::string& segment : own) step(segment);
  for (std::string& segment : added) step(segment);
  return kept;
}

}  // namespace uri_internal
}  // namespace Vesk

#endif  // VESK_URI_PATHS_DOT_SEGMENTS_H_
