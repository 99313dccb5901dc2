/// @file
/// What the stand-ins note of the calls to them.
#pragma once

#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include <CoreGraphics/CGGeometry.h>

namespace standin {

/// Any thread.
class CallLog {
 public:
  void note(std::string call) {
    const std::lock_guard lock(mutex_);
    calls_.push_back(std::move(call));
  }
  std::vector<std::string> calls() const {
    const std::lock_guard lock(mutex_);
    return calls_;
  }
  void clear() {
    const std::lock_guard lock(mutex_);
    calls_.clear();
  }

 private:
  mutable std::mutex mutex_;
  std::vector<std::string> calls_;
};

/// Without zeros at the end.
std::string shown(double number);
/// As "12.5 -3".
std::string shown(CGPoint point);

}  // namespace standin
