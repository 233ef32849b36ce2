// Paths as lists of segments: splitting, joining, and the whole-segment test.
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
  // An empty list gets room for a usual path at once; a list that already
  // holds segments grows as vectors do, so that appending stays linear.
  if (segments.empty()) segments.reserve(8);
  const char* const text = path.data();
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
