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

#include "vesk/string/cstring"
#include "vesk/string/cstring_check.h"
#include "vesk/uri/invariants.h"
#include "vesk/uri/uri"

namespace veskfuzz {

// Stops the run with a message when a property does not hold, so that
// libFuzzer and the replay main both report the input.
inline void Require(bool condition, const char* what) {
  if (!condition) {
    std::fprintf(stderr, "property violated: %s\n", what);
    std::abort();
  }
}

// Stops the run when `uri` is not one of the shapes the parser makes. For
// results of the parser and of operations; setters may leave other shapes.
inline void RequireShape(const Vesk::URI& uri, const char* what) {
  const std::string error = Vesk::uri_internal::URIShapeError(uri);
  if (!error.empty()) {
    std::fprintf(stderr, "%s: %s\n", what, error.c_str());
    std::abort();
  }
}

// Stops the run when the string's buffer is not sound.
inline void RequireSound(const CString& s, const char* what) {
  const std::string error = Vesk::CheckCString(s);
  if (!error.empty()) {
    std::fprintf(stderr, "%s: %s\n", what, error.c_str());
    std::abort();
  }
}

// Stops the run when a string pool's free list is not sound. It takes the
// pools' locks, so a target runs it once, at the end of each input.
inline void RequirePools() {
  const std::string error = Vesk::CheckStringPools();
  if (!error.empty()) {
    std::fprintf(stderr, "string pools: %s\n", error.c_str());
    std::abort();
  }
}

// Runs RequirePools when the input's last string has gone: one at the top
// of a target checks the pools at every way out of the input.
struct PoolsCheckedAtExit {
  PoolsCheckedAtExit() = default;
  PoolsCheckedAtExit(const PoolsCheckedAtExit&) = delete;
  PoolsCheckedAtExit& operator=(const PoolsCheckedAtExit&) = delete;
  ~PoolsCheckedAtExit() { RequirePools(); }
};

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
