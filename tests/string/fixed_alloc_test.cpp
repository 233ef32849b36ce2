#include "vesk/string/cstring"

#include <cstdint>
#include <cstring>
#include <vector>

#include <gtest/gtest.h>

#include "vesk/string/cstring_check.h"

namespace {

std::uintptr_t Address(const void* p) { return reinterpret_cast<std::uintptr_t>(p); }

TEST(CFixedAlloc, NewSlabHandsOutRisingAddresses) {
  for (unsigned bytes : {8u, 12u, 148u, 1044u}) {
    CFixedAlloc pool(bytes, 16);
    std::vector<void*> blocks;
    for (int i = 0; i < 16; ++i) blocks.push_back(pool.Alloc());
    for (int i = 1; i < 16; ++i)
      EXPECT_EQ(Address(blocks[i]) - Address(blocks[i - 1]), bytes) << bytes << " " << i;
    EXPECT_EQ(Vesk::PlexCount(pool), 1);
    EXPECT_EQ(pool.freeList, nullptr);
    // The whole payload is usable (ASan would catch a short slab).
    for (void* b : blocks) std::memset(b, 0xAB, bytes);
    for (void* b : blocks) pool.Free(b);
    EXPECT_EQ(Vesk::CheckPool(pool), "");
  }
}

TEST(CFixedAlloc, ExhaustedSlabAddsOneAtHead) {
  CFixedAlloc pool(16, 64);
  for (int i = 0; i < 64; ++i) pool.Alloc();
  CPlex* first = pool.plexChain;
  EXPECT_EQ(Vesk::PlexCount(pool), 1);
  void* b65 = pool.Alloc();
  EXPECT_EQ(Vesk::PlexCount(pool), 2);
  EXPECT_NE(pool.plexChain, first);
  EXPECT_EQ(pool.plexChain->next, first);
  EXPECT_EQ(b65, pool.plexChain->data());
  EXPECT_EQ(Vesk::CheckPool(pool), "");
}

TEST(CFixedAlloc, FreeIsLastInFirstOut) {
  CFixedAlloc pool(32, 4);
  void* a = pool.Alloc();
  void* b = pool.Alloc();
  pool.Free(a);
  pool.Free(b);
  EXPECT_EQ(pool.Alloc(), b);
  EXPECT_EQ(pool.Alloc(), a);
  CFixedAlloc::CNode* before = pool.freeList;
  pool.Free(nullptr);
  EXPECT_EQ(pool.freeList, before);
  EXPECT_EQ(Vesk::CheckPool(pool), "");
}

TEST(CFixedAlloc, FreeAllEmptiesBothListsAndStartsOver) {
  CFixedAlloc pool(24, 2);
  for (int i = 0; i < 5; ++i) pool.Alloc();
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
  void* b = pool.Alloc();
  pool.Free(a);
  pool.Free(a);  // a double free makes a cycle
  EXPECT_NE(Vesk::CheckPool(pool), "");
  pool.FreeAll();
  a = pool.Alloc();
  unsigned char outside[16];
  pool.Free(outside);
  EXPECT_EQ(Vesk::CheckPool(pool), "free block outside every slab");
  pool.FreeAll();
  a = pool.Alloc();
  pool.Free(static_cast<unsigned char*>(a) + 8);
  EXPECT_EQ(Vesk::CheckPool(pool), "free block off a block boundary");
  (void)b;
}

TEST(CPlex, CreateLinksAtFrontAndFreeDataChainFreesAll) {
  CPlex* head = nullptr;
  CPlex* one = CPlex::Create(head, 3, 10);
  CPlex* two = CPlex::Create(head, 5, 7);
  EXPECT_EQ(head, two);
  EXPECT_EQ(two->next, one);
  EXPECT_EQ(one->next, nullptr);
  EXPECT_EQ(Address(one->data()) - Address(one), sizeof(CPlex));
  std::memset(one->data(), 1, 30);
  std::memset(two->data(), 2, 35);
  head->FreeDataChain();  // LeakSanitizer checks that both went
}

}  // namespace
