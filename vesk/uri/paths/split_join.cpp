// Paths as lists of segments: splitting, joining, and the whole-segment test.
#include <algorithm>
#include <cstring>
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
  const char* const text = path.data();
  // Room for every piece at once (at most one more than the slashes inside),
  // so that a deep path costs one allocation instead of a doubling series; a
  // list that must grow at least doubles, so that repeated appends stay linear.
  if (end > begin) {
    const size_t needed = segments.size() + 1 + static_cast<size_t>(std::count(text + begin, text + end, '/'));
    if (needed > segments.capacity()) segments.reserve(std::max(needed, 2 * segments.capacity()));
  }
  size_t piece = begin;
  while (piece < end) {
    const void* hit = std::memchr(text + piece, '/', end - piece);
    const size_t slash = hit != nullptr ? static_cast<size_t>(static_cast<const char*>(hit) - text) : end;
    // Runs of slashes give empty pieces, which are dropped.
    if (slash > piece) segments.emplace_back(text + piece, slash - piece);
    piece = slash + 1;
  }
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
