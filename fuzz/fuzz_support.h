#ifndef VESK_FUZZ_FUZZ_SUPPORT_H_
#define VESK_FUZZ_FUZZ_SUPPORT_H_

// What every fuzz target uses to state a property.
#include <cstdio>
#include <cstdlib>

namespace veskfuzz {

// Stops the run with a message when a property does not hold, so that
// libFuzzer and the replay main both report the input.
inline void Require(bool condition, const char* what) {
  if (!condition) {
    std::fprintf(stderr, "property violated: %s\n", what);
    std::abort();
  }
}

}  // namespace veskfuzz

#endif  // VESK_FUZZ_FUZZ_SUPPORT_H_
