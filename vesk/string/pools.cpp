// The four pools behind CString buffers, created on first use and guarded by
// a lock each, with a small cache of blocks per thread in front, so that
// strings may be made and freed on any thread and mostly without a lock.
#include "vesk/string/pools.h"

#include <cstring>
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
    if (!locked_.load(std::memory_order_relaxed) && !locked_.exchange(true, std::memory_order_acquire))
      return;
    // The holder may have been preempted: with fewer cores than threads,
    // spinning only burns its time slice.
    if (spins >= 64) std::this_thread::yield();
#if defined(__x86_64__) || defined(__i386__)
    else
      __builtin_ia32_pause();
#endif
  }
}

CFixedAlloc*& PoolPointer(int cls) {
  switch (cls) {
    case 0:
      return _afxAlloc64;
    case 1:
      return _afxAlloc128;
    case 2:
      return _afxAlloc256;
    default:
      return _afxAlloc512;
  }
}

SpinLock& PoolLock(int cls) { return gLocks[cls]; }

namespace {

CFixedAlloc::CNode* NextOf(const void* block) {
  CFixedAlloc::CNode* next;
  std::memcpy(&next, block, sizeof next);
  return next;
}

void SetNext(void* block, CFixedAlloc::CNode* next) { std::memcpy(block, &next, sizeof next); }

enum CacheState : unsigned char { kUnused, kActive, kRetired };

// A thread's blocks. Plain data with constant initialisation, so that using
// it costs no guard; initial-exec, so that reaching it is one fs-relative load.
struct ThreadCache {
  CFixedAlloc::CNode* head[kClassCount];
  int count[kClassCount];
  CacheState state;
};

__attribute__((tls_model("initial-exec"))) thread_local ThreadCache t_cache;

// Gives every cached block back to its pool when the thread ends; afterwards
// the thread (exit handlers on it included) uses the pools directly.
struct CacheReturner {
  void Arm() {}
  ~CacheReturner() {
    ThreadCache& cache = t_cache;
    for (int cls = 0; cls < kClassCount; ++cls) {
      if (cache.head[cls] == nullptr) continue;
      SpinLock& lock = gLocks[cls];
      lock.lock();
      CFixedAlloc* pool = PoolPointer(cls);
      for (CFixedAlloc::CNode* block = cache.head[cls]; block != nullptr;) {
        CFixedAlloc::CNode* next = NextOf(block);
        pool->Free(block);
        block = next;
      }
      lock.unlock();
      cache.head[cls] = nullptr;
      cache.count[cls] = 0;
    }
    cache.state = kRetired;
  }
};

thread_local CacheReturner t_returner;

// Makes sure the cache goes back at thread exit before it first holds blocks.
void Activate(ThreadCache& cache) {
  if (cache.state == kUnused) {
    t_returner.Arm();  // the first use registers its destructor
    cache.state = kActive;
  }
}

__attribute__((noinline)) void* AllocSlow(int cls) {
  ThreadCache& cache = t_cache;
  Activate(cache);
  SpinLock& lock = gLocks[cls];
  CFixedAlloc*& pool = PoolPointer(cls);
  lock.lock();
  try {
    // Created under the pool's lock, so exactly once whatever the threads.
    if (pool == nullptr) pool = new CFixedAlloc(BlockBytes(kCapacity[cls]), kBlocksPerPlex);
    void* block = pool->Alloc();
    if (cache.state == kActive) {
      // Take a batch of what is free, without growing the pool for it.
      for (int i = 1; i < kCacheBatch && pool->freeList != nullptr; ++i) {
        void* spare = pool->Alloc();
        SetNext(spare, cache.head[cls]);
        cache.head[cls] = static_cast<CFixedAlloc::CNode*>(spare);
        ++cache.count[cls];
      }
    }
    lock.unlock();
    return block;
  } catch (...) {
    lock.unlock();
    throw;
  }
}

__attribute__((noinline)) void FreeSlow(int cls, void* block) {
  ThreadCache& cache = t_cache;
  Activate(cache);
  if (cache.state == kActive && cache.count[cls] < kCacheMax) {
    SetNext(block, cache.head[cls]);
    cache.head[cls] = static_cast<CFixedAlloc::CNode*>(block);
    ++cache.count[cls];
    return;
  }
  SpinLock& lock = gLocks[cls];
  lock.lock();
  CFixedAlloc* pool = PoolPointer(cls);
  pool->Free(block);
  if (cache.state == kActive) {
    // Full: a batch goes back to the pool.
    for (int i = 0; i < kCacheBatch && cache.head[cls] != nullptr; ++i) {
      CFixedAlloc::CNode* spare = cache.head[cls];
      cache.head[cls] = NextOf(spare);
      --cache.count[cls];
      pool->Free(spare);
    }
  }
  lock.unlock();
}

}  // namespace

void* Alloc(int cls) {
  ThreadCache& cache = t_cache;
  CFixedAlloc::CNode* block = cache.head[cls];
  if (block == nullptr) return AllocSlow(cls);
  cache.head[cls] = NextOf(block);
  --cache.count[cls];
  return block;
}

void Free(int cls, void* block) {
  ThreadCache& cache = t_cache;
  if (cache.state != kActive || cache.count[cls] >= kCacheMax) return FreeSlow(cls, block);
  SetNext(block, cache.head[cls]);
  cache.head[cls] = static_cast<CFixedAlloc::CNode*>(block);
  ++cache.count[cls];
}

int CachedBlocks(int cls) { return t_cache.count[cls]; }

}  // namespace StringPools
}  // namespace Vesk
