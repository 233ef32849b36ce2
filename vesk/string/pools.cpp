// The four pools behind CString buffers, created on first use and guarded by
// a lock each, so that strings may be made and freed on any thread.
#include "vesk/string/pools.h"

#include <new>
#include <thread>

CFixedAlloc* _afxAlloc64 = nullptr;
CFixedAlloc* _afxAlloc128 = nullptr;
CFixedAlloc* _afxAlloc256 = nullptr;
CFixedAlloc* _afxAlloc512 = nullptr;

namespace Vesk {
namespace StringPools {
namespace {

// Constant-initialised, so they work before and after every static constructor.
SpinLock gLocks[kClassCount];

}  // namespace

void SpinLock::LockSlow() {
  for (int spins = 0;; ++spins) {
    if (!locked_.load(std::memory_order_relaxed) && !locked_.exchange(true, std::memory_order_acquire)) return;
    // The holder may have been preempted: with fewer cores than threads,
    // spinning only burns its time slice.
    if (spins >= 64) std::this_thread::yield();
#if defined(__x86_64__) || defined(__i386__)
    else __builtin_ia32_pause();
#endif
  }
}

CFixedAlloc*& PoolPointer(int cls) {
  switch (cls) {
    case 0: return _afxAlloc64;
    case 1: return _afxAlloc128;
    case 2: return _afxAlloc256;
    default: return _afxAlloc512;
  }
}

SpinLock& PoolLock(int cls) { return gLocks[cls]; }

void* Alloc(int cls) {
  SpinLock& lock = gLocks[cls];
  CFixedAlloc*& pool = PoolPointer(cls);
  lock.lock();
  try {
    // Created under the pool's lock, so exactly once whatever the threads.
    if (pool == nullptr) pool = new CFixedAlloc(BlockBytes(kCapacity[cls]), kBlocksPerPlex);
    void* block = pool->Alloc();
    lock.unlock();
    return block;
  } catch (...) {
    lock.unlock();
    throw;
  }
}

void Free(int cls, void* block) {
  SpinLock& lock = gLocks[cls];
  lock.lock();
  PoolPointer(cls)->Free(block);
  lock.unlock();
}

}  // namespace StringPools
}  // namespace Vesk
