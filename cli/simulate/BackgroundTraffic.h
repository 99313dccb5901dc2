/// @file
/// What else a packet logger sees while a remote is used.
#pragma once

#include "cli/simulate/CaptureTextWriter.h"
#include "cli/simulate/Random.h"
#include "cli/simulate/SimulatedLine.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace tessline::cli {

/// Sent packets, packets of other devices, packets of the remote that report nothing, controller
/// events, and now and then a line that is no packet. None of them means anything to a decoder, in
/// whatever state it is and whether or not it looks at addresses. About thirty lines a second.
class BackgroundTraffic {
 public:
  /// `remoteAddress` has 17 characters.
  BackgroundTraffic(std::uint64_t seed, std::string remoteAddress);

  /// When the next line is due.
  SimulatedTime nextTime() const { return nextTime_; }

  /// The line that is due at `nextTime`, which then moves on. Valid until `writer` is used again.
  std::string_view next(CaptureTextWriter& writer);

 private:
  std::string_view packetLine(CaptureTextWriter& writer);
  std::string_view noiseLine(CaptureTextWriter& writer);

  Random random_;
  std::string remoteAddress_;
  SimulatedTime nextTime_{0};
  std::string bytes_;
};

}  // namespace tessline::cli
