/// @file
/// What every backend's queues and main run loop are tested through.
#pragma once

#include "tessline/platform/Platform.h"

#include <chrono>
#include <functional>
#include <memory>
#include <string>

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

}  // namespace tessline::test
