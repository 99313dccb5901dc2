/// @file
/// Waiting on the simulated host.
#pragma once

#include "tessline/platform/simulated/SimulatedHost.h"

#include <functional>

namespace tessline::test {

/// Lets virtual time pass until `isDone`; false if nothing is left that could make it so.
inline bool runUntil(platform::simulated::SimulatedHost& host,
                     const std::function<bool()>& isDone) {
  while (!isDone()) {
    if (!host.scheduler().runNext()) return false;
  }
  return true;
}

}  // namespace tessline::test
