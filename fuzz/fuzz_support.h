#ifndef VESK_FUZZ_FUZZ_SUPPORT_H_
#define VESK_FUZZ_FUZZ_SUPPORT_H_

// What every fuzz target uses to state a property.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

namespace veskfuzz {

// Stops the run with a message when a property does not hold, so that
// libFuzzer and the replay main both report the input.
inline void Require(bool condition, const char* what) {
  if (!condition) {
    std::fprintf(stderr, "property violated: %s\n", what);
    std::abort();
  }
}

// The input cut at line feeds into exactly `count` texts: the last takes the
// rest, line feeds included, and missing ones are empty.
inline std::vector<std::string> Lines(const uint8_t* data, size_t size, size_t count) {
  std::vector<std::string> lines(count);
  const char* p = reinterpret_cast<const char*>(data);
  const char* end = p + size;
  for (size_t i = 0; i < count && p != end; ++i) {
    const char* cut = i + 1 == count ? end : std::find(p, end, '\n');
    lines[i].assign(p, cut);
    p = cut == end ? end : cut + 1;
  }
  return lines;
}

}  // namespace veskfuzz

#endif  // VESK_FUZZ_FUZZ_SUPPORT_H_
