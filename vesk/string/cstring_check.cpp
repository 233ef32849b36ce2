// Invariant checks of CString buffers and fixed-block pools.
#include "vesk/string/cstring_check.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <vector>

#include "vesk/string/buffer_ops.h"
#include "vesk/string/pools.h"

namespace Vesk {
namespace {

// Where `block` lies in the pool: 0 when on a block boundary of some slab,
// 1 inside a slab but off a boundary, 2 outside every slab.
int Placement(const CFixedAlloc& pool, const void* block) {
  const auto address = reinterpret_cast<std::uintptr_t>(block);
  const std::uintptr_t slab_bytes = static_cast<std::uintptr_t>(pool.blocksPerPlex) * pool.blockBytes;
  for (CPlex* slab = pool.plexChain; slab != nullptr; slab = slab->next) {
    const auto first = reinterpret_cast<std::uintptr_t>(slab->data());
    if (address >= first && address < first + slab_bytes)
      return (address - first) % pool.blockBytes == 0 ? 0 : 1;
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
  // The list in order, one past the limit at most; a fault is the first in
  // list order, as a walk that remembers every node would meet it.
  std::vector<const void*> nodes;
  std::size_t fault_at = SIZE_MAX;
  const char* fault = nullptr;
  for (const CFixedAlloc::CNode* node = pool.freeList; node != nullptr;
       std::memcpy(&node, static_cast<const void*>(node), sizeof node)) {
    if (nodes.size() == limit) {
      fault_at = limit;
      fault = "free list longer than the slabs hold (a cycle?)";
      break;
    }
    nodes.push_back(node);
  }
  // The first repeat: the earliest second sighting of any block.
  std::vector<std::size_t> order(nodes.size());
  for (std::size_t i = 0; i < order.size(); ++i) order[i] = i;
  std::sort(order.begin(), order.end(),
            [&](std::size_t a, std::size_t b) { return nodes[a] != nodes[b] ? nodes[a] < nodes[b] : a < b; });
  for (std::size_t k = 1; k < order.size(); ++k) {
    if (nodes[order[k]] == nodes[order[k - 1]] && order[k] < fault_at &&
        (k < 2 || nodes[order[k - 2]] != nodes[order[k]])) {
      fault_at = order[k];
      fault = "block on the free list twice";
    }
  }
  for (std::size_t i = 0; i < nodes.size() && i < fault_at; ++i) {
    const int where = Placement(pool, nodes[i]);
    if (where == 1) return "free block off a block boundary";
    if (where == 2) return "free block outside every slab";
  }
  return fault == nullptr ? std::string() : fault;
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
  const int where = pool == nullptr ? 2 : Placement(*pool, data);
  lock.unlock();
  if (where != 0) return "pooled buffer not on a block of its pool";
  return {};
}

}  // namespace Vesk
