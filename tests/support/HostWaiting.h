/// @file
/// Waiting on the host that the tests run on.
#pragma once

#include "tessline/platform/Platform.h"

#include <chrono>
#include <functional>
#include <future>

namespace tessline::test {

/// Lets real time pass until `isDone`; false if that does not happen within `patience`. Each look
/// follows a piece of work of a queue of its own.
inline bool waitOnHost(const std::function<bool()>& isDone, std::chrono::seconds patience) {
  const auto queue = platform::hostPlatform()->makeSerialQueue("waiting");
  const auto end = queue->now() + patience;
  while (!isDone()) {
    if (queue->now() > end) return false;
    std::promise<void> passed;
    queue->asyncAfter(std::chrono::microseconds(200), [&] { passed.set_value(); });
    passed.get_future().wait();
  }
  return true;
}

}  // namespace tessline::test
