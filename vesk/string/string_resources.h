#ifndef VESK_STRING_STRING_RESOURCES_H_
#define VESK_STRING_STRING_RESOURCES_H_

// The numbered-string cache and table loader, for the string sources and for
// white-box tests. Internal.

#include <cstdint>

#include "vesk/string/cstring"

// Loads the "STRm" table into gStrResTable and sorts it; sets
// gStrResTableInited whether or not there is one.
void InitStrResTable();

namespace Vesk {
namespace StringResources {

constexpr int kLoadStringSlots = 64;

// One cache slot: the number asked for (0: empty), the load's result, and
// the text that stood in the target after the load.
struct LoadStringSlot {
  uint32_t id = 0;
  int32_t found = 0;
  CString text;
};

// The 64 slots, or null before the first load.
extern LoadStringSlot* gLoadStringCache;

// The slot of a number: numbers above 8 are made odd first, then the low six
// bits are taken.
unsigned int SlotIndex(unsigned int id);

// Frees the cache (slots from the last to the first); the next load makes a
// new one.
void DestroyLoadStringCache();

}  // namespace StringResources
}  // namespace Vesk

#endif  // VESK_STRING_STRING_RESOURCES_H_
