// Paths as lists of segments: splitting, joining, and the whole-segment test.
#include <algorithm>
#include <string>
#include <vector>

#include "vesk/uri/uri"

namespace Vesk {

void URI::SplitPath(const std::string& path, std::vector<std::string>& segments, bool& leadingSlash,
                    bool& trailingSlash) {
  // Works on a window [begin, end) of the text instead of cutting a copy down,
  // so that long paths split in linear time.
  size_t begin = 0;
  size_t end = path.size();
  leadingSlash = end > 0 && path[0] == '/';
  if (leadingSlash) ++begin;
  trailingSlash = end > begin && path[end - 1] == '/';
  if (trailingSlash) --end;
  // An empty list gets room for the usual number of pieces at once; a run of
  // slashes does not make it reserve more than a small bound. A list that
  // already holds segments grows as vectors do, so appending stays linear.
  if (segments.empty()) {
    const size_t slashes = static_cast<size_t>(std::count(path.begin() + begin, path.begin() + end, '/'));
    segments.reserve(std::min<size_t>(slashes + 1, 256));
  }
  size_t piece = begin;
  for (size_t i = begin; i < end; ++i) {
    if (path[i] != '/') continue;
    // Runs of slashes give empty pieces, which are dropped.
    if (i > piece) segments.emplace_back(path, piece, i - piece);
    piece = i + 1;
  }
  if (end > piece) segments.emplace_back(path, piece, end - piece);
}

void URI::SplitPath(const std::string& path, std::vector<std::string>& segments) {
  bool leadingSlash = false;
  bool trailingSlash = false;
  SplitPath(path, segments, leadingSlash, trailingSlash);
}

std::string URI::JoinPath(const std::vector<std::string>& segments, bool leadingSlash, bool trailingSlash) {
  size_t size = 2;
  for (const std::string& segment : segments) size += segment.size() + 1;
  std::string text;
  text.reserve(size);
  if (leadingSlash) text += '/';
  // The separator test looks at what was joined so far, not counting the
  // leading slash: an empty first segment adds nothing and no separator.
  const size_t start = text.size();
  for (const std::string& segment : segments) {
    if (text.size() > start) text += '/';
    text += segment;
  }
  if (trailingSlash && text.size() > start) text += '/';
  return text;
}

bool URI::IsUnderDirectory(StringProxy directory) const {
  std::vector<std::string> segments;
  SplitPath(GetPath(), segments);
  for (const std::string& segment : segments) {
    if (segment == directory) return true;
  }
  return false;
}

}  // namespace Vesk
