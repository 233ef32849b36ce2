#include "vesk/string/cstring"

#include <atomic>
#include <chrono>
#include <climits>
#include <cstring>
#include <new>
#include <set>
#include <string>
#include <thread>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>

#include "tests/string/string_test_support.h"
#include "vesk/string/pools.h"

// Texts after editing are checked against std::u16string by the model test;
// these tables hold the buffers: size classes, sharing, locks, the nil data.

namespace {

using cstest::Capacity;
using cstest::Count;
using cstest::Make;
using cstest::OnNil;
using cstest::Text;
using cstest::W;

const unsigned short* P(const CString& s) { return s; }

std::u16string Units(int n) {
  std::u16string s;
  for (int i = 0; i < n; ++i) s += static_cast<char16_t>(u'a' + i % 26);
  return s;
}

TEST(CStringBuffer, CapacityBySizeClass) {
  const std::pair<int, int> rows[] = {{1, 64},    {64, 64},   {65, 128}, {128, 128}, {129, 256},
                                      {256, 256}, {257, 512}, {512, 512}, {513, 513}, {4000, 4000}};
  for (const auto& [length, capacity] : rows) {
    const CString s = Make(Units(length));
    EXPECT_EQ(Capacity(s), capacity) << length;
    EXPECT_SOUND(s);
  }
  EXPECT_EQ(Capacity(CString(u'q', 600)), 600);
}

TEST(CStringBuffer, EmptyStringsStayOnTheNilData) {
  const cstest::U16 empty;
  const unsigned short* null_text = nullptr;
  const CString rows[] = {
      CString(),        CString(null_text), CString(empty.c_str()), CString(W(u"abc").c_str(), 0),
      CString(u'x', 0), CString(u'x', -3),  Make(u"") + Make(u""),  CString() + null_text};
  for (const CString& s : rows) {
    EXPECT_EQ(P(s), _afxPchNil);
    EXPECT_SOUND(s);
  }
  EXPECT_TRUE(CString(null_text, 5).IsEmpty());
  EXPECT_TRUE(CString(W(u"abc").c_str(), -2).IsEmpty());
  EXPECT_TRUE(OnNil(CString(rows[0])));
  EXPECT_EQ(&AfxGetEmptyString(), reinterpret_cast<const CString*>(&_afxPchNil));
  EXPECT_TRUE(AfxIsValidString(W(u"").c_str(), 99));
  EXPECT_FALSE(AfxIsValidString(nullptr, 0));
  // Writes that leave a string empty leave the nil data alone.
  CString s;
  s = null_text;
  s += null_text;
  s.Empty();
  s.ReleaseBuffer(-1);
  s.GetBufferSetLength(0);
  EXPECT_EQ(s.LockBuffer(), _afxPchNil);
  s.UnlockBuffer();
  s.FreeExtra();
  s.CopyBeforeWrite();
  s.AllocBeforeWrite(0);
  EXPECT_TRUE(OnNil(s));
  EXPECT_EQ(_afxInitData.header.refCount, -1);
  // Read as plain text a string ends at its first zero unit.
  EXPECT_EQ(CString(W(std::u16string_view(u"a\0b", 3)).c_str()).GetLength(), 1);
  EXPECT_EQ(Text(CString(W(u"abcdef").c_str(), 4)), u"abcd");
}

TEST(CStringBuffer, CopiesShareUntilOneWrites) {
  CString a = Make(u"shared text");
  {
    CString b(a), c;
    c = a;
    EXPECT_TRUE(P(a) == P(b) && P(a) == P(c));
    EXPECT_EQ(Count(a), 3);
    c.SetAt(0, u'S');
    EXPECT_EQ(Count(a), 2);
    EXPECT_EQ(Text(a), u"shared text");
    EXPECT_SOUND(c);
  }
  EXPECT_EQ(Count(a), 1);
  a = a;  // self-assignment keeps the buffer
  EXPECT_EQ(Count(a), 1);
  CString copy(a);
  a.Empty();  // releases an unlocked buffer
  EXPECT_TRUE(OnNil(a));
  EXPECT_EQ(Count(copy), 1);
}

TEST(CStringBuffer, GrowingInPlaceOrNot) {
  // Past the last class a string is reallocated at its exact size; within a
  // class an exclusive buffer grows in place.
  CString s = Make(Units(513));
  const unsigned short* before = s;
  s += static_cast<unsigned short>(u'!');
  EXPECT_NE(P(s), before);
  EXPECT_EQ(Capacity(s), 514);
  CString t = Make(u"ab");
  before = t;
  t += Make(u"cd");
  EXPECT_EQ(P(t), before);
  // Appending to itself grows in place while the sum fits the class.
  for (const auto& [length, in_place] : {std::pair{3, true}, {32, true}, {33, false}, {600, false}}) {
    CString self = Make(Units(length));
    before = self;
    self += self;
    EXPECT_EQ(Text(self), Units(length) + Units(length)) << length;
    EXPECT_EQ(P(self) == before, in_place) << length;
    EXPECT_SOUND(self);
  }
  // Assigning text that fits keeps an exclusive buffer; so does the nil source.
  before = t;
  t = W(u"xy").c_str();
  EXPECT_EQ(P(t), before);
  t = CString();
  EXPECT_EQ(P(t), before);
  EXPECT_SOUND(t);
}

TEST(CStringBuffer, AssignFromOwnText) {
  for (int n : {5, 70, 700}) {
    CString s = Make(Units(n));
    s = P(s) + 2;
    EXPECT_EQ(Text(s), Units(n).substr(2));
    CString shared = Make(Units(n));
    CString other(shared);
    shared = P(shared) + 1;
    EXPECT_EQ(Text(shared), Units(n).substr(1));
    EXPECT_EQ(Text(other), Units(n));
    EXPECT_SOUND(shared);
  }
}

TEST(CStringBuffer, ConcatenationForms) {
  const CString ab = Make(u"ab");
  const cstest::U16 cd = W(u"cd");
  const unsigned short* null_text = nullptr;
  const std::pair<CString, std::u16string> rows[] = {{ab + cd.c_str(), u"abcd"},
                                                     {cd.c_str() + ab, u"cdab"},
                                                     {ab + static_cast<unsigned short>(u'x'), u"abx"},
                                                     {static_cast<unsigned short>(u'x') + ab, u"xab"},
                                                     {ab + null_text, u"ab"},
                                                     {null_text + ab, u"ab"}};
  for (const auto& [result, expected] : rows) {
    EXPECT_EQ(Text(result), expected);
    EXPECT_SOUND(result);
  }
}

TEST(CStringLock, LockedBuffersAreNeverShared) {
  CString locked = Make(u"locked");
  unsigned short* p = locked.LockBuffer();
  EXPECT_EQ(p, P(locked));
  EXPECT_EQ(Count(locked), -1);
  CString copy(locked), assigned;
  assigned = locked;
  for (const CString* s : {&copy, &assigned}) {
    EXPECT_NE(P(*s), p);
    EXPECT_EQ(Text(*s), u"locked");
    EXPECT_EQ(Count(*s), 1);
  }
  // Assigning to it keeps its buffer and its lock while the text fits.
  locked = copy;
  locked = Make(u"other");
  EXPECT_EQ(P(locked), p);
  EXPECT_EQ(Text(locked), u"other");
  // Empty keeps the capacity and the lock.
  locked.Empty();
  EXPECT_TRUE(Capacity(locked) == 64 && Count(locked) == -1 && P(locked) == p);
  locked.UnlockBuffer();
  EXPECT_EQ(Count(locked), 1);
  EXPECT_SOUND(locked);
  // Destroying a locked string frees its block: the head of its pool's free list.
  void* block;
  {
    CString s = Make(u"to be freed");
    s.LockBuffer();
    block = s.GetData();
  }
  EXPECT_EQ(static_cast<void*>(Make(u"next").GetData()), block);
}

TEST(CStringBuffer, GetBuffer) {
  CString a = Make(u"abc");
  CString b(a);
  unsigned short* p = b.GetBuffer(100);  // unshares, grows by class, keeps the text
  EXPECT_TRUE(Capacity(b) == 128 && b.GetLength() == 3);
  p[0] = u'A';
  p[3] = u'd';
  p[4] = 0;
  b.ReleaseBuffer(-1);
  EXPECT_EQ(Text(a), u"abc");
  EXPECT_EQ(Text(b), u"Abcd");
  EXPECT_EQ(Count(a), 1);
  b.GetBuffer(1000);
  EXPECT_EQ(Capacity(b), 1000);
  b.ReleaseBuffer(2);
  EXPECT_EQ(Text(b), u"Ab");
  b.ReleaseBuffer(5000);  // cut to the capacity
  EXPECT_EQ(b.GetLength(), 1000);
  EXPECT_SOUND(b);
  a.GetBufferSetLength(0);
  EXPECT_TRUE(Capacity(a) == 64 && a.GetLength() == 0);
}

TEST(CStringBuffer, FreeExtra) {
  CString s = Make(u"ten units!");
  CString other = Make(u"hold");  // so that the freed block is not reused at once
  const unsigned short* p = s;
  s.FreeExtra();  // a copy into the same class
  EXPECT_NE(P(s), p);
  EXPECT_EQ(Capacity(s), 64);
  EXPECT_EQ(Text(s), u"ten units!");
  CString big = Make(Units(600));
  big.GetBuffer(700);
  big.FreeExtra();
  EXPECT_EQ(Capacity(big), 600);
  p = big;
  big.FreeExtra();  // length equals capacity: nothing
  EXPECT_EQ(P(big), p);
  CString empty = Make(u"x");
  empty.GetBufferSetLength(0);
  empty.FreeExtra();
  EXPECT_TRUE(OnNil(empty));
  EXPECT_SOUND(big);
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
  EXPECT_THROW(s.AllocCopy(none, INT_MAX, 0, 1), std::bad_alloc);
  EXPECT_TRUE(OnNil(none));
  CString one = Make(u"x");
  EXPECT_THROW(one.ConcatInPlace(INT_MAX, W(u"x").c_str()), std::bad_alloc);
  EXPECT_EQ(Text(one), u"x");
}

TEST(CStringPools, LastReleaseHandsTheBlockOutNextInEveryClass) {
  for (int n : {1, 64, 65, 128, 129, 256, 257, 512}) {
    void* block;
    {
      CString s = Make(Units(n));
      CString t(s);
      block = s.GetData();
    }
    EXPECT_EQ(static_cast<void*>(Make(Units(n)).GetData()), block) << n;
  }
}

TEST(CStringPools, ATakenPoolLockIsWaitedFor) {
  auto& lock = Vesk::StringPools::PoolLock(0);
  lock.lock();
  std::atomic<bool> taken{false};
  std::thread other([&] {
    lock.lock();  // spins, then yields, until the holder lets go
    taken = true;
    lock.unlock();
  });
  std::this_thread::sleep_for(std::chrono::milliseconds(20));
  EXPECT_FALSE(taken.load());
  lock.unlock();
  other.join();
  EXPECT_TRUE(taken.load());
}

TEST(CStringPools, ThreadCachesGoBackToTheirPools) {
  // A thread's freed blocks stay in its cache, up to a limit, and all of them
  // go back to the pool when the thread ends; a full cache gives a batch back.
  std::vector<void*> blocks;
  int cached = -1;
  std::thread worker([&] {
    std::vector<CString> strings;
    for (int i = 0; i < 10; ++i) strings.push_back(Make(Units(200)));
    for (const CString& s : strings) blocks.push_back(s.GetData());
    strings.clear();
    cached = Vesk::StringPools::CachedBlocks(2);
    for (int i = 0; i < 3 * Vesk::StringPools::kCacheMax; ++i) strings.push_back(Make(Units(100)));
    strings.clear();
    EXPECT_LE(Vesk::StringPools::CachedBlocks(1), Vesk::StringPools::kCacheMax);
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

}  // namespace
