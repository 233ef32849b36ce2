#include "vesk/string/cstring"

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <cstring>
#include <functional>
#include <mutex>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/threads.h"
#include "vesk/string/cstring_check.h"
#include "vesk/string/pools.h"

namespace {

constexpr int kThreads = 8;

// The text a worker makes: a tag unit naming it, then `length - 1` letters.
std::basic_string<unsigned short> Pattern(int tag, int length) {
  std::basic_string<unsigned short> s(1, static_cast<unsigned short>(0x4000 + tag));
  for (int i = 1; i < length; ++i) s += static_cast<unsigned short>(u'a' + (tag + i) % 26);
  return s;
}

bool Holds(const CString& s, const std::basic_string<unsigned short>& text) {
  return s.GetLength() == static_cast<int>(text.size()) &&
         std::equal(text.begin(), text.end(), static_cast<const unsigned short*>(s));
}

void RunThreads(const std::function<void(int)>& work) { vesktest::RunTogether(kThreads, work); }

// Holds each thread until all have arrived.
class StartLine {
 public:
  void Arrive() {
    ready_.fetch_add(1);
    while (ready_.load() < kThreads) std::this_thread::yield();
  }

 private:
  std::atomic<int> ready_{0};
};

TEST(CStringThreads, CopiesOfOneStringComeBackToOneCount) {
  for (int length : {10, 300, 2000}) {
    const std::basic_string<unsigned short> text = Pattern(1, length);
    const CString shared(text.data(), length);
    const unsigned short* const buffer = shared;
    std::atomic<int> bad{0};
    RunThreads([&](int t) {
      for (int i = 0; i < 4000; ++i) {
        CString copy(shared);
        CString second;
        second = copy;
        if (static_cast<const unsigned short*>(second) != buffer) bad.fetch_add(1);
        if (i % 16 == t) {
          // A write through one copy leaves the shared buffer alone.
          second.SetAt(0, u'!');
          if (!Holds(copy, text) || second[0] != u'!') bad.fetch_add(1);
        }
      }
    });
    EXPECT_EQ(bad.load(), 0) << length;
    EXPECT_EQ(shared.GetData()->refCount, 1) << length;
    EXPECT_TRUE(Holds(shared, text));
  }
}

TEST(CStringThreads, EverySizeClassMadeCopiedAppendedAndFreedAcrossThreads) {
  static const int kLengths[] = {1, 40, 64, 65, 100, 128, 129, 200, 256, 257, 400, 512, 513, 900};
  struct Parcel {
    CString text;
    int tag, length;
  };
  std::mutex exchange_lock;
  std::vector<Parcel> exchange;  // strings handed to other threads to check and destroy
  std::atomic<int> bad{0};
  RunThreads([&](int t) {
    std::mt19937 random(static_cast<uint32_t>(t + 1));
    for (int i = 0; i < 1500; ++i) {
      const int length = kLengths[random() % (sizeof kLengths / sizeof kLengths[0])];
      const auto text = Pattern(t, length);
      CString s(text.data(), length);
      CString copy(s);
      const CString tail = s.Right(length / 2);
      copy += tail;  // unshares into the class of the sum
      s += static_cast<unsigned short>(u'.');
      if (!Holds(copy, text + text.substr(text.size() - static_cast<size_t>(length / 2))) ||
          !Holds(s, text + static_cast<unsigned short>(u'.')) || !Vesk::CheckCString(copy).empty() ||
          !Vesk::CheckCString(s).empty())
        bad.fetch_add(1);
      Parcel mine{copy, t, length};
      std::vector<Parcel> theirs;
      {
        std::lock_guard<std::mutex> hold(exchange_lock);
        if (random() % 2 == 0) exchange.push_back(mine);
        if (!exchange.empty() && random() % 2 == 0) {
          theirs.push_back(exchange.back());
          exchange.pop_back();
        }
      }
      for (const Parcel& p : theirs) {
        const auto expected = Pattern(p.tag, p.length);
        if (!Holds(p.text, expected + expected.substr(expected.size() - static_cast<size_t>(p.length / 2))))
          bad.fetch_add(1);
      }
      // `theirs` dies here: blocks made on other threads go back from this one.
    }
  });
  exchange.clear();
  EXPECT_EQ(bad.load(), 0);
  EXPECT_EQ(Vesk::CheckStringPools(), "");
}

TEST(CStringThreads, FirstUseOfAPoolFromManyThreadsCreatesOne) {
  // Swap the largest class's pool out for the run, so that its creation
  // races, and put it back afterwards. No string of that class lives on any
  // other thread meanwhile, and the workers end, so that their caches go back.
  const int cls = 3;
  auto& lock = Vesk::StringPools::PoolLock(cls);
  lock.lock();
  CFixedAlloc* saved = Vesk::StringPools::PoolPointer(cls);
  Vesk::StringPools::PoolPointer(cls) = nullptr;
  lock.unlock();

  std::atomic<int> bad{0};
  StartLine made;
  RunThreads([&](int t) {
    const auto text = Pattern(t, 300);
    std::vector<CString> strings;
    for (int i = 0; i < 100; ++i) strings.emplace_back(text.data(), 300);
    made.Arrive();
    // Every block lies in the one pool now installed: a second pool made by a
    // losing thread would hold blocks outside it.
    for (const CString& s : strings)
      if (!Holds(s, text) || !Vesk::CheckCString(s).empty()) bad.fetch_add(1);
  });
  EXPECT_EQ(bad.load(), 0);

  lock.lock();
  CFixedAlloc* created = Vesk::StringPools::PoolPointer(cls);
  EXPECT_EQ(Vesk::CheckPool(*created), "");
  // All blocks are back: the free list holds every block of every slab.
  int free_blocks = 0;
  for (const CFixedAlloc::CNode* node = created->freeList; node != nullptr; ++free_blocks)
    std::memcpy(&node, static_cast<const void*>(node), sizeof node);
  EXPECT_EQ(free_blocks, Vesk::PlexCount(*created) * 64);
  EXPECT_LE(Vesk::PlexCount(*created), (kThreads * (100 + Vesk::StringPools::kCacheBatch) + 63) / 64);
  Vesk::StringPools::PoolPointer(cls) = saved;
  lock.unlock();
  delete created;
}

}  // namespace
