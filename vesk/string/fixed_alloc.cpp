// Fixed-block pools: slabs of equal blocks threaded on a free list.
#include "vesk/string/cstring"

#include <cstddef>
#include <cstring>

namespace {

// A free block's link sits in its first bytes. Blocks need not be aligned for
// a pointer (the block size is the caller's), so the link is copied bytewise.
CFixedAlloc::CNode* NextOf(const CFixedAlloc::CNode* node) {
  CFixedAlloc::CNode* next;
  std::memcpy(&next, static_cast<const void*>(node), sizeof next);
  return next;
}

void SetNext(CFixedAlloc::CNode* node, CFixedAlloc::CNode* next) {
  std::memcpy(static_cast<void*>(node), &next, sizeof next);
}

}  // namespace

CPlex* CPlex::Create(CPlex*& head, unsigned int count, unsigned int size) {
  const std::size_t bytes = sizeof(CPlex) + static_cast<std::size_t>(count) * size;
  CPlex* slab = reinterpret_cast<CPlex*>(new unsigned char[bytes]);
  slab->next = head;
  head = slab;
  return slab;
}

// Walks the chain from this slab. (A chain held in a null head pointer is
// empty: callers test the head rather than call through null.)
void CPlex::FreeDataChain() {
  CPlex* slab = this;
  while (slab != nullptr) {
    CPlex* next = slab->next;
    delete[] reinterpret_cast<unsigned char*>(slab);
    slab = next;
  }
}

CFixedAlloc::CFixedAlloc(unsigned int block_bytes, unsigned int blocks_per_plex)
    : blockBytes(block_bytes), blocksPerPlex(blocks_per_plex), plexChain(nullptr), freeList(nullptr) {}

CFixedAlloc::~CFixedAlloc() { FreeAll(); }

void CFixedAlloc::FreeAll() {
  if (plexChain != nullptr) plexChain->FreeDataChain();
  plexChain = nullptr;
  freeList = nullptr;
}

void* CFixedAlloc::Alloc() {
  if (freeList == nullptr) {
    CPlex* slab = CPlex::Create(plexChain, blocksPerPlex, blockBytes);
    // Push from the last block to the first, so that the first block ends up
    // at the head and a new slab is handed out at rising addresses.
    unsigned char* first = static_cast<unsigned char*>(slab->data());
    for (unsigned int i = blocksPerPlex; i-- > 0;) {
      CNode* node = reinterpret_cast<CNode*>(first + static_cast<std::size_t>(i) * blockBytes);
      SetNext(node, freeList);
      freeList = node;
    }
  }
  CNode* node = freeList;
  if (node == nullptr) return nullptr;  // a pool of zero blocks per slab
  freeList = NextOf(node);
  return node;
}

void CFixedAlloc::Free(void* block) {
  if (block == nullptr) return;
  CNode* node = static_cast<CNode*>(block);
  SetNext(node, freeList);
  freeList = node;
}
