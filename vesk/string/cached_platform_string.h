#ifndef VESK_STRING_CACHED_PLATFORM_STRING_H_
#define VESK_STRING_CACHED_PLATFORM_STRING_H_

// The cached platform string in a buffer header, filled and dropped with
// atomic operations so that, when threads race, no platform string is lost or
// released twice. Internal.
//
// A buffer that is shared (count above 1) is only ever filled: its owners
// drop the cache only after making a buffer exclusive. The nil data is shared
// by every empty string and both filled and dropped through any of them, so
// reading and retaining its cached string must not interleave with a drop: a
// small lock guards the nil data's slot alone.

#include "vesk/platform/cfstring"
#include "vesk/string/cstring"

namespace Vesk {
namespace StringBridges {

// The cached string of `data` with one retain for the caller, made from the
// buffer's text when the slot is empty.
CFStringRef RetainCachedString(CStringData* data);

// Stores `string` (with a retain of its own) when the slot is empty; otherwise
// leaves the slot as it is. Returns whether it was stored.
bool OfferCachedString(CStringData* data, CFStringRef string);

// Empties the slot and releases what it held.
void DropCachedString(CStringData* data);

}  // namespace StringBridges
}  // namespace Vesk

#endif  // VESK_STRING_CACHED_PLATFORM_STRING_H_
