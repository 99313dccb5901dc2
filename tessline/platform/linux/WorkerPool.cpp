#include "tessline/platform/linux/WorkerPool.h"

#include <algorithm>

#include <pthread.h>

namespace tessline::platform {

namespace {
constexpr unsigned fewestThreads = 2;
constexpr unsigned mostThreads = 4;
}  // namespace

WorkerPool& WorkerPool::shared() {
  static WorkerPool* const pool = new WorkerPool();
  // Destroyed before `pool` would be, and with the process's other static objects.
  struct StopAtExit {
    ~StopAtExit() { pool->stop(); }
  };
  static const StopAtExit stopAtExit;
  return *pool;
}

WorkerPool::WorkerPool() : keepsRunning_(asio::make_work_guard(context_)) {
  const unsigned count =
      std::clamp(std::thread::hardware_concurrency(), fewestThreads, mostThreads);
  for (unsigned index = 0; index < count; ++index) {
    threads_.emplace_back([this] {
#ifdef __linux__
      pthread_setname_np(pthread_self(), "tessline-queue");
#endif
      context_.run();
    });
  }
}

void WorkerPool::stop() {
  context_.stop();
  for (std::thread& thread : threads_) {
    // The process may be ending from within a queue's work.
    if (thread.get_id() == std::this_thread::get_id()) {
      thread.detach();
    } else {
      thread.join();
    }
  }
}

}  // namespace tessline::platform
