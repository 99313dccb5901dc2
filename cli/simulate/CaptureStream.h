/// @file
/// Where the simulated lines go.
#pragma once

#include "cli/Output.h"
#include "cli/simulate/SimulatedLine.h"
#include "tessline/platform/SerialQueue.h"

#include <functional>
#include <optional>

namespace tessline::cli {

/// Writes the lines to an output: all at once, or each when its time has come.
class CaptureStream final : public SimulatedLineSink {
 public:
  /// Returns when that much time of the simulation has passed.
  using WaitUntil = std::function<void(SimulatedTime)>;

  /// `output` outlives the stream and is not finished by it. Without `waitUntil` nothing waits.
  /// With it, it is called before the first line of each moment, and the lines of the moments
  /// before have then reached the operating system.
  explicit CaptureStream(Output& output, WaitUntil waitUntil = {});

  /// Waits as `waitFor` does for the rest of the time that has not passed by the clock `now`; the
  /// simulation begins with the first call.
  static WaitUntil realTime(std::function<platform::QueueTime()> now,
                            std::function<void(platform::QueueTime)> waitFor);
  /// By the host's clock.
  static WaitUntil realTime();

  void write(const SimulatedLine& line) override;

 private:
  Output& output_;
  WaitUntil waitUntil_;
  std::optional<SimulatedTime> moment_;
};

}  // namespace tessline::cli
