#include "vesk/string/cstring"

#include <cstdint>
#include <cstring>
#include <vector>

#include <gtest/gtest.h>

#include "vesk/string/cstring_check.h"

namespace {

std::uintptr_t Address(const void* p) { return reinterpret_cast<std::uintptr_t>(p); }

TEST(CFixedAlloc, SlabsHandOutWholeBlocksAndChainAtTheHead) {
  for (unsigned bytes : {8u, 12u, 148u, 1044u}) {
    CFixedAlloc pool(bytes, 16);
    std::vector<void*> blocks;
    for (int i = 0; i < 16; ++i) blocks.push_back(pool.Alloc());
    for (int i = 1; i < 16; ++i)
      EXPECT_EQ(Address(blocks[i]) - Address(blocks[i - 1]), bytes) << bytes << " " << i;
    EXPECT_EQ(pool.freeList, nullptr);
    for (void* b : blocks) std::memset(b, 0xAB, bytes);  // ASan catches a short slab
    CPlex* first = pool.plexChain;
    void* next = pool.Alloc();
    EXPECT_EQ(Vesk::PlexCount(pool), 2);
    EXPECT_EQ(pool.plexChain->next, first);
    EXPECT_EQ(next, pool.plexChain->data());
    for (void* b : blocks) pool.Free(b);
    EXPECT_EQ(Vesk::CheckPool(pool), "");
  }
}

TEST(CFixedAlloc, FreeIsLastInFirstOutAndFreeAllStartsOver) {
  CFixedAlloc pool(32, 2);
  void* a = pool.Alloc();
  void* b = pool.Alloc();
  pool.Free(a);
  pool.Free(b);
  pool.Free(nullptr);
  EXPECT_EQ(pool.Alloc(), b);
  EXPECT_EQ(pool.Alloc(), a);
  for (int i = 0; i < 3; ++i) pool.Alloc();
  EXPECT_EQ(Vesk::PlexCount(pool), 3);
  pool.FreeAll();
  EXPECT_EQ(pool.plexChain, nullptr);
  EXPECT_EQ(pool.freeList, nullptr);
  pool.FreeAll();  // twice is harmless
  pool.Alloc();
  EXPECT_EQ(Vesk::PlexCount(pool), 1);
  EXPECT_EQ(Vesk::CheckPool(pool), "");
}

TEST(CFixedAlloc, CheckPoolCatchesBrokenFreeLists) {
  CFixedAlloc pool(16, 4);
  void* a = pool.Alloc();
  pool.Alloc();
  pool.Free(a);
  pool.Free(a);  // a double free makes a cycle
  EXPECT_NE(Vesk::CheckPool(pool), "");
  pool.FreeAll();
  pool.Alloc();
  unsigned char outside[16];
  pool.Free(outside);
  EXPECT_EQ(Vesk::CheckPool(pool), "free block outside every slab");
  pool.FreeAll();
  pool.Free(static_cast<unsigned char*>(pool.Alloc()) + 8);
  EXPECT_EQ(Vesk::CheckPool(pool), "free block off a block boundary");
}

}  // namespace
