#ifndef VESK_TESTS_SUPPORT_THREADS_H_
#define VESK_TESTS_SUPPORT_THREADS_H_

// Starting threads together, to make races likely.

#include <atomic>
#include <thread>
#include <vector>

namespace vesktest {

// Runs `work(i)` for i below `count`, each on its own thread, released
// together once all have started; returns when all have ended.
template <typename Work>
void RunTogether(int count, Work work) {
  std::atomic<int> ready{0};
  std::atomic<bool> go{false};
  std::vector<std::thread> threads;
  for (int i = 0; i < count; ++i) {
    threads.emplace_back([&, i] {
      ready.fetch_add(1);
      while (!go.load(std::memory_order_acquire)) std::this_thread::yield();
      work(i);
    });
  }
  while (ready.load() < count) std::this_thread::yield();
  go.store(true, std::memory_order_release);
  for (auto& t : threads) t.join();
}

}  // namespace vesktest

#endif  // VESK_TESTS_SUPPORT_THREADS_H_
