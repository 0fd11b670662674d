// Threads that do something at the same time.
#ifndef ZT_TESTS_TOGETHER_HH
#define ZT_TESTS_TOGETHER_HH

#include <barrier>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>
#include <vector>

constexpr int threadCount = 4;

// Where each of the threads waits for the others.
using Meeting = std::barrier<>;

// Runs the work in four threads that begin at once: `work(number, meeting)`.
template <typename Work>
void together(const Work &work) {
  Meeting meeting(threadCount);
  std::vector<std::thread> threads;
  for (int number = 0; number < threadCount; ++number) {
    threads.emplace_back([&, number] {
      meeting.arrive_and_wait();
      work(number, meeting);
    });
  }
  for (std::thread &thread : threads) thread.join();
}

// Objects on their way from one thread to another.
class Handover {
 public:
  void push(void *object) {
    const std::lock_guard locked(mutex);
    waiting.push_back(object);
    arrived.notify_one();
  }
  void *pop() {
    std::unique_lock locked(mutex);
    arrived.wait(locked, [this] { return !waiting.empty(); });
    void *object = waiting.front();
    waiting.pop_front();
    return object;
  }

 private:
  std::mutex mutex;
  std::condition_variable arrived;
  std::deque<void *> waiting;
};

#endif
