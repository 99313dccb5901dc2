/// @file
/// Tells a person at a terminal how far long work has come.
#pragma once

#include <chrono>
#include <cstdint>

namespace tessline::cli {

/// One line on standard error that is redrawn in place and wiped at the end. Draws nothing unless
/// standard error is a terminal.
class ProgressBar {
 public:
  /// For work on `total` bytes, which is not 0.
  explicit ProgressBar(std::uint64_t total);
  ~ProgressBar();
  ProgressBar(const ProgressBar&) = delete;
  ProgressBar& operator=(const ProgressBar&) = delete;

  /// Shows that `done` bytes are behind us. Cheap: it draws ten times a second at most.
  void update(std::uint64_t done);

 private:
  using Clock = std::chrono::steady_clock;

  const std::uint64_t total_;
  const bool isShown_;
  const Clock::time_point start_;
  Clock::time_point nextDraw_;
};

}  // namespace tessline::cli
