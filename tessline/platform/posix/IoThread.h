/// @file
/// The thread that reads from children.
#pragma once

#include <thread>

#include <asio/executor_work_guard.hpp>
#include <asio/io_context.hpp>

namespace tessline::platform {

/// One thread for the pipes and ends of all children, made with the first of them. It lives until
/// the process ends, and is never destroyed, as children may be let go of later than anything.
class IoThread {
 public:
  /// The thread. Any thread.
  static IoThread& shared();

  IoThread(const IoThread&) = delete;
  IoThread& operator=(const IoThread&) = delete;

  /// What it runs.
  asio::io_context& context() { return context_; }

 private:
  IoThread();
  ~IoThread() = default;
  void stop();

  asio::io_context context_{1};
  asio::executor_work_guard<asio::io_context::executor_type> keepsRunning_;
  std::thread thread_;
};

}  // namespace tessline::platform
