#include "vesk/threads/mutex"

#include <gtest/gtest.h>

#include <atomic>
#include <stdexcept>
#include <thread>

namespace {

using Vesk::Mutex;
using Vesk::ScopedLock;

// Whether another thread can take the mutex right now (and gives it back).
bool OtherThreadCanLock(Mutex& mutex) {
  bool taken = false;
  std::thread other([&] {
    taken = mutex.TryLock();
    if (taken) mutex.Unlock();
  });
  other.join();
  return taken;
}

TEST(Mutex, IsRecursive) {
  Mutex mutex;
  mutex.Lock();
  mutex.Lock();  // does not block
  EXPECT_TRUE(pthread_equal(mutex.Owner(), pthread_self()));
  EXPECT_TRUE(mutex.TryLock());
  mutex.Unlock();
  mutex.Unlock();
  // After the first of two unlocks the owner reads 0, yet the lock is held.
  EXPECT_EQ(mutex.Owner(), pthread_t());
  EXPECT_FALSE(OtherThreadCanLock(mutex));
  mutex.Unlock();
  EXPECT_TRUE(OtherThreadCanLock(mutex));
}

TEST(ScopedLock, ReleasesWhenAnExceptionLeavesTheScope) {
  Mutex mutex;
  try {
    ScopedLock hold(mutex);
    EXPECT_FALSE(OtherThreadCanLock(mutex));
    throw std::runtime_error("leave");
  } catch (const std::runtime_error&) {
  }
  EXPECT_TRUE(OtherThreadCanLock(mutex));
  {
    ScopedLock outer(mutex);
    ScopedLock inner(mutex);
  }
  EXPECT_TRUE(OtherThreadCanLock(mutex));
}

TEST(ScopedLock, ExcludesOtherThreads) {
  Mutex mutex;
  long counter = 0;
  std::atomic<bool> go{false};
  auto work = [&] {
    while (!go) std::this_thread::yield();
    for (int i = 0; i < 20000; ++i) {
      ScopedLock hold(mutex);
      ++counter;
    }
  };
  std::thread a(work), b(work);
  go = true;
  a.join();
  b.join();
  EXPECT_EQ(counter, 40000);
}

}  // namespace
