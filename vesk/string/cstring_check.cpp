// Invariant checks of CString buffers and fixed-block pools.
#include "vesk/string/cstring_check.h"

#include <cstdint>
#include <cstring>
#include <vector>

#include "vesk/string/buffer_ops.h"
#include "vesk/string/pools.h"

namespace Vesk {
namespace {

// Where `block` lies in the pool: 0 when on a block boundary of some slab,
// 1 inside a slab but off a boundary, 2 outside every slab. On a boundary,
// `ordinal` numbers the block across the chain (slab by slab).
int Placement(const CFixedAlloc& pool, const void* block, std::size_t& ordinal) {
  const auto address = reinterpret_cast<std::uintptr_t>(block);
  const std::uintptr_t slab_bytes = static_cast<std::uintptr_t>(pool.blocksPerPlex) * pool.blockBytes;
  std::size_t slab_index = 0;
  for (CPlex* slab = pool.plexChain; slab != nullptr; slab = slab->next, ++slab_index) {
    const auto first = reinterpret_cast<std::uintptr_t>(slab->data());
    if (address >= first && address < first + slab_bytes) {
      if ((address - first) % pool.blockBytes != 0) return 1;
      ordinal = slab_index * pool.blocksPerPlex + (address - first) / pool.blockBytes;
      return 0;
    }
  }
  return 2;
}

}  // namespace

int PlexCount(const CFixedAlloc& pool) {
  int n = 0;
  for (CPlex* slab = pool.plexChain; slab != nullptr; slab = slab->next) ++n;
  return n;
}

std::string CheckPool(const CFixedAlloc& pool) {
  const std::size_t limit = static_cast<std::size_t>(PlexCount(pool)) * pool.blocksPerPlex;
  // One mark per block of the chain: a walk in linear time that meets the
  // faults in list order.
  std::vector<bool> seen(limit, false);
  std::size_t count = 0;
  for (const CFixedAlloc::CNode* node = pool.freeList; node != nullptr;
       std::memcpy(&node, static_cast<const void*>(node), sizeof node)) {
    if (count >= limit) return "free list longer than the slabs hold (a cycle?)";
    std::size_t ordinal = 0;
    const int where = Placement(pool, node, ordinal);
    if (where == 0 && seen[ordinal]) return "block on the free list twice";
    if (where == 1) return "free block off a block boundary";
    if (where == 2) return "free block outside every slab";
    seen[ordinal] = true;
    ++count;
  }
  return {};
}

std::string CheckStringPools() {
  for (int cls = 0; cls < StringPools::kClassCount; ++cls) {
    StringPools::SpinLock& lock = StringPools::PoolLock(cls);
    lock.lock();
    const CFixedAlloc* pool = StringPools::PoolPointer(cls);
    std::string fault = pool == nullptr ? std::string() : CheckPool(*pool);
    lock.unlock();
    if (!fault.empty()) return "pool of " + std::to_string(StringPools::kCapacity[cls]) + " units: " + fault;
  }
  return {};
}

std::string CheckCString(const CString& s) {
  const CStringData* data = s.GetData();
  const unsigned short* text = s;
  if (text == nullptr) return "null text pointer";
  if (StringBuffers::IsNil(data)) {
    if (text != _afxPchNil) return "nil data reached through a different text pointer";
    if (data->refCount != -1 || data->length != 0 || data->capacity != 0 || _afxPchNil[0] != 0)
      return "nil data changed";
    return {};
  }
  const int count = StringBuffers::LoadCount(data);
  if (count == 0 || count < -1) return "bad reference count " + std::to_string(count);
  if (data->length < 0 || data->length > data->capacity)
    return "length " + std::to_string(data->length) + " outside capacity " + std::to_string(data->capacity);
  if (text[data->length] != 0) return "text not terminated at its length";
  const int cls = StringPools::ClassForCapacity(data->capacity);
  if (cls < 0) {
    if (data->capacity <= 512) return "heap buffer of pooled size " + std::to_string(data->capacity);
    return {};
  }
  StringPools::SpinLock& lock = StringPools::PoolLock(cls);
  lock.lock();
  const CFixedAlloc* pool = StringPools::PoolPointer(cls);
  std::size_t ordinal = 0;
  const int where = pool == nullptr ? 2 : Placement(*pool, data, ordinal);
  lock.unlock();
  if (where != 0) return "pooled buffer not on a block of its pool";
  return {};
}

}  // namespace Vesk
