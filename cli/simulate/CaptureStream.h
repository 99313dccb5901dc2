/// @file
/// Where the simulated lines go.
#pragma once

#include "cli/Output.h"
#include "cli/simulate/SimulatedLine.h"

#include <chrono>
#include <functional>
#include <optional>

namespace tessline::cli {

/// Writes the lines to an output: all at once, or each when its time has come.
class CaptureStream final : public SimulatedLineSink {
 public:
  /// Returns when that much time of the simulation has passed.
  using WaitUntil = std::function<void(SimulatedTime)>;
  using Clock = std::chrono::steady_clock;

  /// `output` outlives the stream and is not finished by it. Without `waitUntil` nothing waits.
  /// With it, it is called before the first line of each moment, and the lines of the moments
  /// before have then reached the operating system.
  explicit CaptureStream(Output& output, WaitUntil waitUntil = {});

  /// Waits as `sleepUntil` does by the clock `now`; the simulation begins with the first call.
  static WaitUntil realTime(
      std::function<Clock::time_point()> now = Clock::now,
      std::function<void(Clock::time_point)> sleepUntil = sleepUntilClockReads);

  void write(const SimulatedLine& line) override;

 private:
  static void sleepUntilClockReads(Clock::time_point time);

  Output& output_;
  WaitUntil waitUntil_;
  std::optional<SimulatedTime> moment_;
};

}  // namespace tessline::cli
