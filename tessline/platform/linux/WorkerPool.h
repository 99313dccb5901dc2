/// @file
/// The threads that run the serial queues of this host.
#pragma once

#include <memory>
#include <thread>
#include <vector>

#include <asio/executor_work_guard.hpp>
#include <asio/io_context.hpp>

namespace tessline::platform {

/// A few threads that all queues share. There is one pool; it is made with the first queue and
/// lives until the process ends. Its threads then finish the work at hand and start none.
class WorkerPool {
 public:
  /// The pool; made on the first call. Any thread.
  static WorkerPool& shared();

  WorkerPool(const WorkerPool&) = delete;
  WorkerPool& operator=(const WorkerPool&) = delete;

  /// What its threads run.
  asio::io_context& context() { return context_; }

 private:
  WorkerPool();
  // The pool itself is never destroyed, as queues may be let go of later than anything.
  ~WorkerPool() = default;
  void stop();

  asio::io_context context_;
  asio::executor_work_guard<asio::io_context::executor_type> keepsRunning_;
  std::vector<std::thread> threads_;
};

}  // namespace tessline::platform
