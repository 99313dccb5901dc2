/// @file
/// What every backend's queues and main run loop are tested through.
#pragma once

#include "tessline/platform/Platform.h"
#include "tests/platform/BackendName.h"

#include <atomic>
#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace tessline::test {

using platform::QueueTime;
using std::chrono::milliseconds;

/// A backend under test.
class QueueBackend {
 public:
  virtual ~QueueBackend() = default;

  virtual std::shared_ptr<platform::Platform> platform() = 0;
  /// Lets time pass, and work run, until `isDone`; false if that does not happen.
  virtual bool waitUntil(const std::function<bool()>& isDone) = 0;
};

/// One backend by name.
struct QueueBackendChoice {
  std::string name;
  std::function<std::unique_ptr<QueueBackend>()> make;
};

/// The backends that this program's tests run on.
std::vector<QueueBackendChoice> queueBackends();

using QueueEntries = std::vector<int>;

/// Collects from any thread.
class QueueJournal {
 public:
  void add(int entry) {
    const std::lock_guard lock(mutex_);
    entries_.push_back(entry);
  }
  QueueEntries entries() const {
    const std::lock_guard lock(mutex_);
    return entries_;
  }
  std::size_t size() const { return entries().size(); }

 private:
  mutable std::mutex mutex_;
  QueueEntries entries_;
};

/// A queue on a backend's host.
class SerialQueueContract : public testing::TestWithParam<QueueBackendChoice> {
 protected:
  std::shared_ptr<platform::SerialQueue> makeQueue() {
    return backend->platform()->makeSerialQueue("com.example.queue");
  }
  /// Waits until all that is handed over to the queue by now has run.
  void settle() {
    auto done = std::make_shared<std::atomic<bool>>(false);
    queue->async([done] { *done = true; });
    ASSERT_TRUE(backend->waitUntil([done] { return done->load(); }));
  }
  /// Lets at least `duration` pass on the queue.
  void pass(QueueTime duration) {
    auto done = std::make_shared<std::atomic<bool>>(false);
    queue->asyncAfter(duration, [done] { *done = true; });
    ASSERT_TRUE(backend->waitUntil([done] { return done->load(); }));
  }
  void waitForEntries(std::size_t count) {
    ASSERT_TRUE(backend->waitUntil([this, count] { return journal->size() >= count; }));
  }
  platform::Work note(int entry) {
    return [journal = journal, entry] { journal->add(entry); };
  }

  std::unique_ptr<QueueBackend> backend = GetParam().make();
  std::shared_ptr<QueueJournal> journal = std::make_shared<QueueJournal>();
  std::shared_ptr<platform::SerialQueue> queue = makeQueue();
};

/// ... and its main run loop.
class MainRunLoopContract : public SerialQueueContract {
 protected:
  std::shared_ptr<platform::MainRunLoop> loop = backend->platform()->mainRunLoop();
};

}  // namespace tessline::test
