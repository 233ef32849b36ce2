#include "vesk/string/cstring"

#include <atomic>
#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/threads.h"
#include "vesk/platform/cfstring"

// The cached platform string of a buffer is filled by a const call on any of
// the buffer's owners, and the nil data's by any empty string. Threads racing
// to fill one slot must all get the one object that stays there, with no
// string lost (ASan's leak check) or released twice.
namespace {

namespace P = Vesk::Platform;

constexpr int kThreads = 8;

CString Wide(const std::u16string& text) {
  return CString(reinterpret_cast<const unsigned short*>(text.data()), static_cast<int>(text.size()));
}

template <typename Work>
void RunTogether(Work work) { vesktest::RunTogether(kThreads, work); }

TEST(CFStringCacheStress, CopiesOfOneStringFillOneSlot) {
  for (int round = 0; round < 200; ++round) {
    // A fresh buffer each round, so that every round races on an empty slot;
    // sizes cross the pool classes and the heap.
    const CString shared = Wide(std::u16string(static_cast<size_t>(1 + round * 5), u'a' + round % 26));
    std::vector<CString> copies(kThreads, shared);
    std::vector<CFStringRef> got(kThreads, nullptr);
    RunTogether([&](int i) { got[i] = copies[i].GetCFStringRef(0); });
    for (int i = 0; i < kThreads; ++i) ASSERT_EQ(got[i], got[0]) << "round " << round;
    EXPECT_EQ(P::StringLength(got[0]), shared.GetLength());
    // The buffer's retain and one per caller.
    EXPECT_EQ(P::ObjectRetainCount(got[0]), 1 + kThreads);
    for (CFStringRef r : got) shared.ReleaseCFStringRef(r);
    EXPECT_EQ(P::ObjectRetainCount(got[0]), 1);
  }
}

TEST(CFStringCacheStress, EmptyStringsFillAndDropTheNilSlot) {
  // Half the threads read the nil data's platform string; the other half
  // write through empty strings, which drops it.
  std::atomic<long> reads{0};
  RunTogether([&](int i) {
    for (int n = 0; n < 3000; ++n) {
      CString empty;
      if (i % 2 == 0) {
        CFStringRef r = empty.GetCFStringRef(0);
        if (r == nullptr || P::StringLength(r) != 0 || P::ObjectRetainCount(r) < 1) std::abort();
        empty.ReleaseCFStringRef(r);
        reads.fetch_add(1, std::memory_order_relaxed);
      } else {
        empty.Empty();
        empty = static_cast<const unsigned short*>(nullptr);  // a write that stays on the nil data
        CString copy = empty;
        if (!copy.IsEmpty()) std::abort();
      }
    }
  });
  EXPECT_EQ(reads.load(), 4 * 3000);
  EXPECT_EQ(_afxInitData.header.refCount, -1);
  EXPECT_EQ(_afxInitData.header.length, 0);
}

TEST(CFStringCacheStress, CopiesMadeAndDroppedWhileReading) {
  // Copies come and go while others read the cache; the last owner frees the
  // buffer and its platform string once.
  for (int round = 0; round < 50; ++round) {
    std::vector<CString> copies(kThreads, Wide(u"shared text " + std::u16string(round, u'x')));
    RunTogether([&](int i) {
      CString& mine = copies[i];
      for (int n = 0; n < 200; ++n) {
        CString another = mine;
        CFStringRef r = another.GetCFStringRef(0);
        if (P::StringLength(r) != mine.GetLength()) std::abort();
        another.ReleaseCFStringRef(r);
        if (n % 50 == 0) {
          CString own = mine;
          own += static_cast<unsigned short>('!');  // a private buffer with its own cache
          CFStringRef o = own.GetCFStringRef(0);
          if (P::StringLength(o) != mine.GetLength() + 1) std::abort();
          own.ReleaseCFStringRef(o);
        }
      }
    });
  }
}

}  // namespace
