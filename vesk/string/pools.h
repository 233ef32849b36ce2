#ifndef VESK_STRING_POOLS_H_
#define VESK_STRING_POOLS_H_

// The library's four pools for CString buffers, each guarded by a lock of its
// own. Internal: the buffer code and white-box tests use it.

#include <atomic>

#include "vesk/string/cstring"

namespace Vesk {
namespace StringPools {

constexpr int kClassCount = 4;
// Capacity in code units of each size class.
constexpr int kCapacity[kClassCount] = {64, 128, 256, 512};
constexpr unsigned int kBlocksPerPlex = 64;

// Blocks are rounded up to a multiple of four bytes, or of the header's own
// alignment where that is larger (8 with 64-bit pointers), so that every
// block of a slab holds a properly aligned header.
constexpr unsigned int kBlockRounding = alignof(CStringData) > 4 ? alignof(CStringData) : 4;

// Bytes of one block of a class: header, text and terminator, rounded up.
constexpr unsigned int BlockBytes(int capacity) {
  return static_cast<unsigned int>(
      (sizeof(CStringData) + (capacity + 1) * sizeof(unsigned short) + kBlockRounding - 1) / kBlockRounding *
      kBlockRounding);
}

// The size class serving `length` units (signed comparison: a negative length
// lands in the first), or -1 for a heap buffer.
inline int ClassForLength(int length) {
  if (length <= 64) return 0;
  if (length <= 128) return 1;
  if (length <= 256) return 2;
  if (length <= 512) return 3;
  return -1;
}

// The class whose blocks have exactly this capacity, or -1 for a heap buffer.
inline int ClassForCapacity(int capacity) {
  switch (capacity) {
    case 64:
      return 0;
    case 128:
      return 1;
    case 256:
      return 2;
    case 512:
      return 3;
    default:
      return -1;
  }
}

// A test-and-set lock: an uncontended take is one atomic exchange and a
// release is one store, cheaper than a mutex on the short paths it guards.
class SpinLock {
 public:
  void lock() {
    if (!locked_.exchange(true, std::memory_order_acquire)) return;
    LockSlow();
  }
  void unlock() { locked_.store(false, std::memory_order_release); }

 private:
  void LockSlow();
  std::atomic<bool> locked_{false};
};

// Each thread keeps a few free blocks of each class of its own, so that the
// common allocation and release take no lock. A thread's cache takes blocks
// from its pool in batches and gives a batch back when it fills; at thread
// exit all of it goes back. A block freed on another thread than the one that
// allocated it simply joins that thread's cache: all blocks of a class are
// interchangeable.
constexpr int kCacheMax = 32;    // blocks a thread keeps per class
constexpr int kCacheBatch = 16;  // blocks moved per visit to the pool

// One block of class `cls`, creating the pool on its first use. Throws
// std::bad_alloc when a slab cannot be allocated.
void* Alloc(int cls);
// Gives a block of class `cls` back, to this thread's cache or its pool.
void Free(int cls, void* block);
// Blocks of class `cls` held in the calling thread's cache.
int CachedBlocks(int cls);
// The global pointer of class `cls` (_afxAlloc64 ...).
CFixedAlloc*& PoolPointer(int cls);
// The lock guarding class `cls`.
SpinLock& PoolLock(int cls);

}  // namespace StringPools
}  // namespace Vesk

#endif  // VESK_STRING_POOLS_H_
