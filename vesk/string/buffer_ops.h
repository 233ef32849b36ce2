#ifndef VESK_STRING_BUFFER_OPS_H_
#define VESK_STRING_BUFFER_OPS_H_

// Small helpers shared by the CString sources: atomic counts, the nil data
// test, copies and length arithmetic. Internal.

#include <climits>
#include <cstring>
#include <new>

#include "vesk/string/cstring"

namespace Vesk {
namespace StringBuffers {

inline bool IsNil(const CStringData* data) { return data == _afxDataNil; }

// An atomic add that returns the new value.
inline int AtomicAdd32(int delta, int* target) { return __atomic_add_fetch(target, delta, __ATOMIC_ACQ_REL); }

// The count as seen now. Acquire, so that a count of 1 seen after another
// owner's release also sees everything that owner did to the buffer.
inline int LoadCount(const CStringData* data) { return __atomic_load_n(&data->refCount, __ATOMIC_ACQUIRE); }
inline void StoreCount(CStringData* data, int value) {
  __atomic_store_n(&data->refCount, value, __ATOMIC_RELAXED);
}

// Sets the length and the terminator. The nil data is left as it is: its
// length and terminator are zero already, and leaving them unwritten keeps
// threads that empty strings at once from racing on it.
inline void SetLength(CStringData* data, int length) {
  if (IsNil(data)) return;
  data->length = length;
  data->data()[length] = 0;
}

// Copies `count` units; the ranges may overlap.
inline void MoveUnits(unsigned short* target, const unsigned short* source, int count) {
  if (count > 0) std::memmove(target, source, static_cast<size_t>(count) * sizeof(unsigned short));
}

// Length of zero-terminated text. Text beyond the int range cannot become a
// string, which is reported as an allocation failure.
inline int ScanLength(const unsigned short* text) {
  const unsigned short* p = text;
  while (*p != 0) ++p;
  if (p - text > INT_MAX) throw std::bad_alloc();
  return static_cast<int>(p - text);
}

// a + b for lengths, or std::bad_alloc when the sum leaves the int range.
inline int CheckedSum(int a, int b) {
  int sum;
  if (__builtin_add_overflow(a, b, &sum)) throw std::bad_alloc();
  return sum;
}

// Drops and releases a buffer's cached platform string (the out-of-line part).
void DropCacheSlow(CStringData* data);

// Drops and releases a buffer's cached platform string, if it has one.
inline void DropCache(CStringData* data) {
  if (__atomic_load_n(&data->cachedCFString, __ATOMIC_ACQUIRE) != nullptr) DropCacheSlow(data);
}

}  // namespace StringBuffers
}  // namespace Vesk

#endif  // VESK_STRING_BUFFER_OPS_H_
