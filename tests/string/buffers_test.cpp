#include "vesk/string/cstring"

#include <climits>
#include <cstring>
#include <new>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "tests/string/string_test_support.h"
#include "vesk/string/pools.h"

namespace {

using cstest::Capacity;
using cstest::Count;
using cstest::Make;
using cstest::OnNil;
using cstest::Text;
using cstest::W;

std::u16string Units(int n, char16_t first = u'a') {
  std::u16string s;
  for (int i = 0; i < n; ++i) s += static_cast<char16_t>(first + i % 26);
  return s;
}

TEST(CStringPools, BlockSizesFollowTheHeaderSize) {
  // The header is a pointer and three 32-bit words: 24 bytes on this build,
  // aligned to 8, so blocks are header + 2 * (capacity + 1) rounded up to 8
  // (to 4 where the header needs no more), and a slab asks the heap for 64
  // blocks plus one link.
  ASSERT_EQ(sizeof(CStringData), 24u);
  ASSERT_EQ(alignof(CStringData), 8u);
  const struct {
    int capacity;
    unsigned block_bytes;
    unsigned slab_bytes;
  } rows[] = {{64, 160, 10248}, {128, 288, 18440}, {256, 544, 34824}, {512, 1056, 67592}};
  for (const auto& row : rows) {
    EXPECT_EQ(Vesk::StringPools::BlockBytes(row.capacity), row.block_bytes);
    EXPECT_EQ(sizeof(CPlex) + 64 * Vesk::StringPools::BlockBytes(row.capacity), row.slab_bytes);
  }
  CString s(Make(u"x"));
  ASSERT_NE(_afxAlloc64, nullptr);
  EXPECT_EQ(_afxAlloc64->blockBytes, 160u);
  EXPECT_EQ(_afxAlloc64->blocksPerPlex, 64u);
}

TEST(CStringBuffer, CapacityBySizeClass) {
  const struct {
    int length, capacity;
  } rows[] = {{1, 64},    {63, 64},   {64, 64},   {65, 128},  {127, 128}, {128, 128}, {129, 256},
              {255, 256}, {256, 256}, {257, 512}, {511, 512}, {512, 512}, {513, 513}, {4000, 4000}};
  for (const auto& row : rows) {
    const CString s = Make(Units(row.length));
    EXPECT_EQ(s.GetLength(), row.length);
    EXPECT_EQ(Capacity(s), row.capacity) << row.length;
    EXPECT_EQ(Text(s), Units(row.length));
    EXPECT_SOUND(s);
  }
}

TEST(CStringBuffer, EmptyStringsStayOnTheNilData) {
  const cstest::U16 empty;
  const CString rows[] = {CString(),
                          CString(static_cast<const unsigned short*>(nullptr)),
                          CString(empty.c_str()),
                          CString(W(u"abc").c_str(), 0),
                          CString(u'x', 0),
                          CString(u'x', -3),
                          Make(u"") + Make(u""),
                          CString() + static_cast<const unsigned short*>(nullptr)};
  for (const CString& s : rows) {
    EXPECT_EQ(static_cast<const unsigned short*>(s), _afxPchNil);
    EXPECT_TRUE(s.IsEmpty());
    EXPECT_SOUND(s);
  }
  const CString copy(rows[0]);
  CString assigned;
  assigned = rows[1];
  EXPECT_TRUE(OnNil(copy));
  EXPECT_TRUE(OnNil(assigned));
  EXPECT_EQ(_afxInitData.header.refCount, -1);
  EXPECT_EQ(&AfxGetEmptyString(), reinterpret_cast<const CString*>(&_afxPchNil));
  EXPECT_TRUE(OnNil(AfxGetEmptyString()));
  EXPECT_TRUE(AfxIsValidString(W(u"").c_str(), 99));
  EXPECT_FALSE(AfxIsValidString(nullptr, 0));
}

TEST(CStringBuffer, WritesThroughEmptyStringsLeaveTheNilDataAlone) {
  CString s;
  s = static_cast<const unsigned short*>(nullptr);
  s += static_cast<const unsigned short*>(nullptr);
  s.Empty();
  s.ReleaseBuffer(-1);
  s.GetBufferSetLength(0);
  s.LockBuffer();
  s.UnlockBuffer();
  s.FreeExtra();
  s.CopyBeforeWrite();
  s.AllocBeforeWrite(0);
  EXPECT_TRUE(OnNil(s));
  EXPECT_SOUND(s);
}

TEST(CStringBuffer, CopiesShareUntilOneWrites) {
  CString a = Make(u"shared text");
  {
    CString b(a);
    CString c;
    c = a;
    EXPECT_EQ(static_cast<const unsigned short*>(a), static_cast<const unsigned short*>(b));
    EXPECT_EQ(static_cast<const unsigned short*>(a), static_cast<const unsigned short*>(c));
    EXPECT_EQ(Count(a), 3);
    c.SetAt(0, u'S');
    EXPECT_EQ(Count(a), 2);
    EXPECT_EQ(Count(c), 1);
    EXPECT_EQ(Text(a), u"shared text");
    EXPECT_EQ(Text(c), u"Shared text");
    EXPECT_SOUND(c);
  }
  EXPECT_EQ(Count(a), 1);
  a = a;  // self-assignment keeps the buffer
  EXPECT_EQ(Count(a), 1);
  EXPECT_SOUND(a);
}

TEST(CStringBuffer, ZeroUnitsInsideAreKept) {
  const std::u16string text(u"a\0b\0", 4);
  CString s = Make(text);
  EXPECT_EQ(s.GetLength(), 4);
  CString copy(s);
  copy.CopyBeforeWrite();
  EXPECT_EQ(Text(copy), text);
  EXPECT_EQ(Text(s + s), text + text);
  s += copy;
  EXPECT_EQ(Text(s), text + text);
  // Read as plain text they end at the first zero unit.
  EXPECT_EQ(CString(static_cast<const unsigned short*>(s)).GetLength(), 1);
}

TEST(CStringBuffer, AppendingPastTheLastClassReallocatesExactly) {
  CString s = Make(Units(513));
  const unsigned short* before = s;
  s += static_cast<unsigned short>(u'!');
  EXPECT_NE(static_cast<const unsigned short*>(s), before);
  EXPECT_EQ(Capacity(s), 514);
  EXPECT_EQ(Text(s), Units(513) + u"!");
  // Within a pool class an exclusive buffer grows in place.
  CString t = Make(u"ab");
  const unsigned short* p = t;
  t += Make(u"cd");
  EXPECT_EQ(static_cast<const unsigned short*>(t), p);
  EXPECT_EQ(Text(t), u"abcd");
  EXPECT_SOUND(s);
  EXPECT_SOUND(t);
}

TEST(CStringBuffer, AppendToSelf) {
  const struct {
    int length;
    bool in_place;
  } rows[] = {{3, true}, {32, true}, {33, false}, {256, false}, {400, false}, {600, false}};
  for (const auto& row : rows) {
    CString s = Make(Units(row.length));
    const unsigned short* p = s;
    s += s;
    EXPECT_EQ(Text(s), Units(row.length) + Units(row.length)) << row.length;
    EXPECT_EQ(static_cast<const unsigned short*>(s) == p, row.in_place) << row.length;
    // A tail of itself, as a plain pointer.
    CString t = Make(Units(row.length));
    t += static_cast<const unsigned short*>(t) + 1;
    EXPECT_EQ(Text(t), Units(row.length) + Units(row.length).substr(1)) << row.length;
    EXPECT_SOUND(s);
    EXPECT_SOUND(t);
  }
}

TEST(CStringBuffer, AssignFromOwnText) {
  for (int n : {5, 70, 700}) {
    CString s = Make(Units(n));
    s = static_cast<const unsigned short*>(s) + 2;
    EXPECT_EQ(Text(s), Units(n).substr(2));
    CString shared = Make(Units(n));
    CString other(shared);
    shared = static_cast<const unsigned short*>(shared) + 1;
    EXPECT_EQ(Text(shared), Units(n).substr(1));
    EXPECT_EQ(Text(other), Units(n));
    EXPECT_SOUND(shared);
  }
}

TEST(CStringBuffer, ConcatenationForms) {
  const CString ab = Make(u"ab");
  const cstest::U16 cd = W(u"cd");
  const unsigned short* null_text = nullptr;
  const struct {
    CString result;
    std::u16string expected;
  } rows[] = {
      {ab + ab, u"abab"},
      {ab + cd.c_str(), u"abcd"},
      {cd.c_str() + ab, u"cdab"},
      {ab + static_cast<unsigned short>(u'x'), u"abx"},
      {static_cast<unsigned short>(u'x') + ab, u"xab"},
      {ab + null_text, u"ab"},
      {null_text + ab, u"ab"},
      {CString() + null_text, u""},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(Text(row.result), row.expected);
    EXPECT_SOUND(row.result);
  }
  CString s;
  s += ab;
  s += cd.c_str();
  s += static_cast<unsigned short>(u'!');
  s += null_text;
  EXPECT_EQ(Text(s), u"abcd!");
}

TEST(CStringBuffer, AssignmentForms) {
  CString s = Make(u"start");
  const unsigned short* p = s;
  s = W(u"xy").c_str();  // fits: the exclusive buffer is kept
  EXPECT_EQ(static_cast<const unsigned short*>(s), p);
  EXPECT_EQ(Text(s), u"xy");
  s = static_cast<unsigned short>(u'z');
  EXPECT_EQ(Text(s), u"z");
  s = static_cast<const unsigned short*>(nullptr);
  EXPECT_EQ(s.GetLength(), 0);
  s = CString();  // the nil source is copied, not shared: the buffer stays
  EXPECT_EQ(static_cast<const unsigned short*>(s), p);
  EXPECT_SOUND(s);
}

TEST(CStringBuffer, RepeatAndLengthConstructors) {
  EXPECT_EQ(Text(CString(u'q', 3)), u"qqq");
  EXPECT_EQ(Text(CString(u'q')), u"q");
  EXPECT_EQ(Capacity(CString(u'q', 600)), 600);
  EXPECT_EQ(Text(CString(W(u"abcdef").c_str(), 4)), u"abcd");
  EXPECT_TRUE(CString(static_cast<const unsigned short*>(nullptr), 5).IsEmpty());
  EXPECT_TRUE(CString(W(u"abc").c_str(), -2).IsEmpty());
}

TEST(CStringLock, LockedBuffersAreNeverShared) {
  CString locked = Make(u"locked");
  unsigned short* p = locked.LockBuffer();
  EXPECT_EQ(p, static_cast<const unsigned short*>(locked));
  EXPECT_EQ(Count(locked), -1);
  CString copy(locked);
  CString assigned;
  assigned = locked;
  EXPECT_NE(static_cast<const unsigned short*>(copy), p);
  EXPECT_NE(static_cast<const unsigned short*>(assigned), p);
  EXPECT_EQ(Text(copy), u"locked");
  EXPECT_EQ(Text(assigned), u"locked");
  EXPECT_EQ(Count(copy), 1);
  EXPECT_EQ(Count(assigned), 1);
  // Assigning to it keeps its buffer and its lock while the text fits.
  locked = copy;
  EXPECT_EQ(static_cast<const unsigned short*>(locked), p);
  EXPECT_EQ(Count(locked), -1);
  locked = Make(u"other");
  EXPECT_EQ(static_cast<const unsigned short*>(locked), p);
  EXPECT_EQ(Text(locked), u"other");
  EXPECT_EQ(Count(locked), -1);
  // Empty keeps the capacity and the lock.
  locked.Empty();
  EXPECT_EQ(locked.GetLength(), 0);
  EXPECT_EQ(Capacity(locked), 64);
  EXPECT_EQ(Count(locked), -1);
  EXPECT_EQ(static_cast<const unsigned short*>(locked), p);
  locked.UnlockBuffer();
  EXPECT_EQ(Count(locked), 1);
  EXPECT_SOUND(locked);
}

TEST(CStringLock, DestroyingALockedStringFreesItsBlock) {
  void* block;
  {
    CString s = Make(u"to be freed");
    s.LockBuffer();
    block = s.GetData();
  }
  // The block is the head of its pool's free list, ready to be handed out.
  CString next = Make(u"next");
  EXPECT_EQ(static_cast<void*>(next.GetData()), block);
}

TEST(CStringLock, LockingTheNilDataLeavesItAlone) {
  CString s;
  EXPECT_EQ(s.LockBuffer(), _afxPchNil);
  EXPECT_EQ(_afxInitData.header.refCount, -1);
  s.UnlockBuffer();
  EXPECT_EQ(_afxInitData.header.refCount, -1);
}

TEST(CStringBuffer, GetBufferOnSharedStringLeavesTheOtherAlone) {
  CString a = Make(u"original");
  CString b(a);
  unsigned short* p = b.GetBuffer(10);
  p[0] = u'O';
  b.ReleaseBuffer();
  EXPECT_EQ(Text(a), u"original");
  EXPECT_EQ(Text(b), u"Original");
  EXPECT_EQ(Count(a), 1);
  EXPECT_SOUND(b);
}

TEST(CStringBuffer, GetBufferGrowsAndKeepsText) {
  CString s = Make(u"abc");
  unsigned short* p = s.GetBuffer(100);
  EXPECT_EQ(Capacity(s), 128);
  EXPECT_EQ(s.GetLength(), 3);
  p[3] = u'd';
  p[4] = 0;
  s.ReleaseBuffer(-1);
  EXPECT_EQ(Text(s), u"abcd");
  s.GetBuffer(1000);
  EXPECT_EQ(Capacity(s), 1000);
  s.ReleaseBuffer(2);
  EXPECT_EQ(Text(s), u"ab");
  s.ReleaseBuffer(5000);  // cut to the capacity
  EXPECT_EQ(s.GetLength(), 1000);
  EXPECT_SOUND(s);
}

TEST(CStringBuffer, GetBufferSetLength) {
  CString s = Make(u"abcdef");
  s.GetBufferSetLength(0);
  EXPECT_EQ(Capacity(s), 64);
  EXPECT_EQ(s.GetLength(), 0);
  unsigned short* p = s.GetBufferSetLength(3);
  p[0] = u'x';
  p[1] = u'y';
  p[2] = u'z';
  s.ReleaseBuffer(3);
  EXPECT_EQ(Text(s), u"xyz");
  EXPECT_SOUND(s);
}

TEST(CStringBuffer, FreeExtra) {
  CString s = Make(u"ten units!");
  CString other = Make(u"hold");  // so that the freed block is not reused at once
  const unsigned short* p = s;
  s.FreeExtra();  // a copy into the same class
  EXPECT_NE(static_cast<const unsigned short*>(s), p);
  EXPECT_EQ(Capacity(s), 64);
  EXPECT_EQ(Text(s), u"ten units!");
  CString big = Make(Units(600));
  big.GetBuffer(700);
  EXPECT_EQ(Capacity(big), 700);
  big.FreeExtra();
  EXPECT_EQ(Capacity(big), 600);
  p = big;
  big.FreeExtra();  // length equals capacity: nothing
  EXPECT_EQ(static_cast<const unsigned short*>(big), p);
  CString empty = Make(u"x");
  empty.GetBufferSetLength(0);
  empty.FreeExtra();
  EXPECT_TRUE(OnNil(empty));
  EXPECT_SOUND(s);
  EXPECT_SOUND(big);
}

TEST(CStringBuffer, EmptyReleasesAnUnlockedBuffer) {
  CString s = Make(u"abc");
  CString copy(s);
  s.Empty();
  EXPECT_TRUE(OnNil(s));
  EXPECT_EQ(Count(copy), 1);
}

TEST(CStringBuffer, AllocCopyAndConcatCopy) {
  const CString s = Make(u"abcdef");
  CString dest;
  s.AllocCopy(dest, 3, 2, 4);
  EXPECT_EQ(dest.GetLength(), 7);
  EXPECT_EQ(Text(dest).substr(0, 3), u"cde");
  CString none;
  s.AllocCopy(none, 0, 0, 0);
  EXPECT_TRUE(OnNil(none));
  CString joined;
  joined.ConcatCopy(2, W(u"xy").c_str(), 1, W(u"z").c_str());
  EXPECT_EQ(Text(joined), u"xyz");
  // Lengths whose sum leaves the int range are refused before any copy.
  CString never;
  EXPECT_THROW(s.AllocCopy(never, INT_MAX, 0, 1), std::bad_alloc);
  EXPECT_TRUE(OnNil(never));
  CString one = Make(u"x");
  EXPECT_THROW(one.ConcatInPlace(INT_MAX, W(u"x").c_str()), std::bad_alloc);
  EXPECT_EQ(Text(one), u"x");
}

TEST(CStringBuffer, SetAtUnsharesAndIgnoresOutsideIndexes) {
  CString a = Make(u"abc");
  CString b(a);
  b.SetAt(1, u'X');
  b.SetAt(3, u'Y');
  b.SetAt(-1, u'Y');
  EXPECT_EQ(Text(a), u"abc");
  EXPECT_EQ(Text(b), u"aXc");
  EXPECT_SOUND(b);
}

TEST(CStringPools, LastReleaseHandsTheBlockOutNextInEveryClass) {
  for (int n : {1, 64, 65, 128, 129, 256, 257, 512}) {
    void* block;
    {
      CString s = Make(Units(n));
      CString t(s);
      block = s.GetData();
    }
    const CString next = Make(Units(n));
    EXPECT_EQ(static_cast<void*>(next.GetData()), block) << n;
  }
}

TEST(CStringPools, ThreadCachesGoBackToTheirPools) {
  // A thread's freed blocks stay in its cache, up to a limit, and all of them
  // go back to the pool when the thread ends.
  std::vector<void*> blocks;
  int cached = -1;
  std::thread worker([&] {
    std::vector<CString> strings;
    for (int i = 0; i < 10; ++i) strings.push_back(Make(Units(200)));
    for (const CString& s : strings) blocks.push_back(s.GetData());
    strings.clear();
    cached = Vesk::StringPools::CachedBlocks(2);
  });
  worker.join();
  EXPECT_GE(cached, 10);
  EXPECT_LE(cached, Vesk::StringPools::kCacheMax);
  auto& lock = Vesk::StringPools::PoolLock(2);
  lock.lock();
  const CFixedAlloc* pool = Vesk::StringPools::PoolPointer(2);
  std::set<const void*> free_blocks;
  for (const CFixedAlloc::CNode* node = pool->freeList; node != nullptr;) {
    free_blocks.insert(node);
    std::memcpy(&node, static_cast<const void*>(node), sizeof node);
  }
  EXPECT_EQ(Vesk::CheckPool(*pool), "");
  lock.unlock();
  for (void* b : blocks) EXPECT_EQ(free_blocks.count(b), 1u);
  EXPECT_EQ(Vesk::CheckStringPools(), "");
}

TEST(CStringPools, FullCacheGivesABatchBack) {
  std::vector<CString> strings;
  for (int i = 0; i < 3 * Vesk::StringPools::kCacheMax; ++i) strings.push_back(Make(Units(100)));
  strings.clear();
  EXPECT_LE(Vesk::StringPools::CachedBlocks(1), Vesk::StringPools::kCacheMax);
}

}  // namespace
