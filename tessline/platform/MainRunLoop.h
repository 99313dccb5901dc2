/// @file
/// Porting contract: the loop of the process's main thread.
#pragma once

#include "tessline/platform/SerialQueue.h"

namespace tessline::platform {

/// Delivers what belongs to the main thread. On macOS it is the application's own main run loop;
/// elsewhere the application calls `run`. Other facilities are scheduled on it: they then call back
/// from inside `run`, never from anywhere else.
class MainRunLoop {
 public:
  virtual ~MainRunLoop() = default;

  /// Runs `work` on the main thread, behind everything handed over before. Any thread.
  virtual void async(Work work) = 0;

  /// Delivers work until `stop` is called. On the main thread.
  virtual void run() = 0;

  /// Lets `run` return after the piece of work at hand; if it is not running, its next call returns
  /// at once. Any thread.
  virtual void stop() = 0;

  /// Whether the caller is inside work that the loop delivers.
  virtual bool isCurrent() const = 0;
};

}  // namespace tessline::platform
