/// @file
/// Porting contract: work that runs one after the other.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <string_view>

namespace tessline::platform {

/// A piece of work. Must not throw: an exception that leaves it ends the process.
using Work = std::function<void()>;

/// How urgent a queue's work is to the host, where it makes a difference.
enum class QualityOfService : std::uint8_t {
  unspecified,  ///< As urgent as whoever hands it over.
  standard,     ///< Neither urgent nor in the background.
};

/// Time as queues measure it: from an arbitrary start, never set, in steps of a nanosecond.
using QueueTime = std::chrono::nanoseconds;

/// Fires once, on its queue. Destroying it, or cancelling it, is final.
class QueueTimer {
 public:
  virtual ~QueueTimer() = default;

  /// Called on the timer's queue: its work will not start any more. Called elsewhere: the same, but
  /// work that has started already may still be running when this returns. Any number of times.
  virtual void cancel() = 0;
};

/// Runs work in the order in which it was handed over, one piece at a time, on a thread that the
/// backend chooses and that may change from piece to piece. All operations may be called from any
/// thread, from the queue's own work too, and none waits for work.
///
/// Letting go of a queue neither waits nor cancels: what was handed over by `async` and
/// `asyncAfter` still runs while the backend lives. Work that must not outlive its owner captures
/// it weakly.
class SerialQueue {
 public:
  virtual ~SerialQueue() = default;

  /// The name it was made with, for people who look at threads and recordings.
  virtual std::string_view label() const = 0;

  /// Runs `work` behind everything handed over before.
  virtual void async(Work work) = 0;

  /// Hands `work` over when `delay` has passed, not before; at once for a delay that is not
  /// positive. Pieces of equal time run in the order of the calls. Cannot be cancelled.
  virtual void asyncAfter(QueueTime delay, Work work) = 0;

  /// As `asyncAfter`, but `work` runs only while the result lives and is not cancelled.
  [[nodiscard]] virtual std::unique_ptr<QueueTimer> startTimer(QueueTime delay, Work work) = 0;

  /// Whether the caller is a piece of this queue's work.
  virtual bool isCurrent() const = 0;

  /// The time now.
  virtual QueueTime now() const = 0;
};

}  // namespace tessline::platform
