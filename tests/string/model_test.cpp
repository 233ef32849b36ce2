#include "vesk/string/cstring"

#include <cstdint>
#include <random>
#include <vector>

#include <gtest/gtest.h>

#include "tests/string/cstring_model.h"

namespace {

// Random operation sequences on CString and on std::u16string, compared after
// every step. The seed of a failing run is printed, so it can be replayed.
TEST(CStringModel, RandomSequencesAgreeWithU16String) {
  for (uint32_t seed = 1; seed <= 120; ++seed) {
    std::mt19937 random(seed);
    std::vector<uint8_t> bytes(4000);
    for (uint8_t& b : bytes) b = static_cast<uint8_t>(random());
    cstring_model::Bytes in(bytes.data(), bytes.size());
    cstring_model::Run run;
    for (int step = 0; !in.done(); ++step) {
      const std::string why = run.Step(in);
      ASSERT_EQ(why, "") << "seed " << seed << " step " << step;
    }
  }
}

}  // namespace
