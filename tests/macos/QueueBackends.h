/// @file
/// Queues and the main run loop of the stand-in's system.
#pragma once

#include "tests/platform/SerialQueueContract.h"

#include <cstddef>
#include <functional>
#include <memory>

namespace tessline::test {

/// What the clock of queues goes by.
enum class QueueClock {
  host,
  test,  ///< Stands still but where a test lets time pass.
};

/// Expects that whoever used it has let go of all queues, timers and run loops.
class DispatchBackend : public QueueBackend {
 public:
  explicit DispatchBackend(QueueClock clock);
  DispatchBackend(const DispatchBackend&) = delete;
  DispatchBackend& operator=(const DispatchBackend&) = delete;
  ~DispatchBackend() override;

  std::shared_ptr<platform::Platform> platform() override { return platform_; }
  bool waitUntil(const std::function<bool()>& isDone) override;
  /// Queues and timers that were made since then and live.
  std::size_t liveObjects() const;

 private:
  const QueueClock clock_;
  const std::size_t objectsBefore_;
  const long runLoopObjectsBefore_;
  std::shared_ptr<platform::Platform> platform_;
};

}  // namespace tessline::test
