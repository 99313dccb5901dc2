/// @file
/// Keeps the calls that services make.
#pragma once

#include "tessline/platform/simulated/PlatformCall.h"
#include "tessline/platform/simulated/VirtualScheduler.h"

#include <functional>
#include <memory>
#include <string_view>
#include <utility>
#include <vector>

namespace tessline::platform::simulated {

/// Stamps each call with the virtual time and keeps it. Not synchronised.
class CallLog {
 public:
  /// Stamps with the time of `scheduler`.
  explicit CallLog(std::shared_ptr<VirtualScheduler> scheduler)
      : scheduler_(std::move(scheduler)) {}

  /// Told of each call as it comes.
  std::function<void(const PlatformCall&)> onCall;

  /// Keeps a call of that name, made now.
  void add(std::string_view operation,
           std::vector<std::pair<std::string, CallArgument>> arguments = {}) {
    calls_.push_back({scheduler_->now(), std::string(operation), std::move(arguments)});
    if (onCall) onCall(calls_.back());
  }

  /// All calls so far.
  const std::vector<PlatformCall>& calls() const { return calls_; }
  /// Forgets them.
  void clear() { calls_.clear(); }

 private:
  std::shared_ptr<VirtualScheduler> scheduler_;
  std::vector<PlatformCall> calls_;
};

}  // namespace tessline::platform::simulated
