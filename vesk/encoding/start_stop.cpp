#include "vesk/encoding/start_stop.h"

namespace Vesk {
namespace StartStop {
namespace {

// Zero-initialised before any constructor runs.
constexpr int kMaxSteps = 64;
const char* gSteps[kMaxSteps];
int gStepCount;
void (*gObserver)(const char*);

}  // namespace

void Record(const char* step) {
  if (gStepCount < kMaxSteps) gSteps[gStepCount++] = step;
  if (gObserver != nullptr) gObserver(step);
}

std::vector<std::string> Steps() { return std::vector<std::string>(gSteps, gSteps + gStepCount); }

void SetObserver(void (*observer)(const char* step)) { gObserver = observer; }

}  // namespace StartStop
}  // namespace Vesk
