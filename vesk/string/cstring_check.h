#ifndef VESK_STRING_CSTRING_CHECK_H_
#define VESK_STRING_CSTRING_CHECK_H_

// Invariant checks for tests and fuzz targets. Internal.

#include <string>

#include "vesk/string/cstring"

namespace Vesk {

// Empty when the string's buffer is consistent: the nil data untouched, the
// length within the capacity, the text terminated at its length, a known
// size class or an exact heap size, a count that is positive or -1, and a
// pooled block that lies on a block boundary of its pool. Otherwise says what
// is wrong. Not for use while GetBuffer is outstanding.
std::string CheckCString(const CString& s);

// Empty when the pool's free list is sound: every free block lies on a block
// boundary inside one of its slabs, none appears twice, and the list is no
// longer than the slabs hold. Otherwise says what is wrong. The caller keeps
// other threads away from the pool.
std::string CheckPool(const CFixedAlloc& pool);

// CheckPool of each of the four CString pools that exists, each under its
// lock; empty when all are sound, otherwise names the size class and the fault.
// Blocks held in threads' caches are in use as far as the pool is concerned.
std::string CheckStringPools();

// The number of slabs in the pool's chain.
int PlexCount(const CFixedAlloc& pool);

}  // namespace Vesk

#endif  // VESK_STRING_CSTRING_CHECK_H_
