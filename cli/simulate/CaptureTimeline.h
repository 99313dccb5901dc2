/// @file
/// The course of a simulated capture.
#pragma once

#include "cli/simulate/BackgroundTraffic.h"
#include "cli/simulate/CaptureTextWriter.h"
#include "cli/simulate/Random.h"
#include "cli/simulate/SimulatedLine.h"

#include <cstdint>
#include <span>
#include <string>

namespace tessline::cli {

/// Where simulated time passes: the remote's packets go out at the present moment, and the
/// background traffic that is due goes out before them.
class CaptureTimeline {
 public:
  /// `remoteAddress` has 17 characters. `sink` outlives the timeline.
  CaptureTimeline(std::uint64_t seed, const std::string& remoteAddress, SimulatedLineSink& sink);

  SimulatedTime now() const { return now_; }

  /// Lets time pass until `time`; does nothing when that is over already.
  void advanceTo(SimulatedTime time);
  void advanceBy(SimulatedTime duration) { advanceTo(now_ + duration); }

  /// The remote's packet `payload` arrives now and is to cause the events `intended`. Most lines
  /// name the remote; a few have the placeholder address.
  void receive(RecordKind kind, std::span<const std::uint8_t> payload,
               std::span<const IntendedEvent> intended);

  /// How many bytes of text were written so far.
  std::uint64_t byteCount() const { return byteCount_; }

 private:
  void write(SimulatedTime time, std::string_view text, std::span<const IntendedEvent> intended);

  Random random_;
  BackgroundTraffic background_;
  std::string remoteAddress_;
  SimulatedLineSink& sink_;
  CaptureTextWriter writer_;
  SimulatedTime now_{0};
  std::uint64_t byteCount_ = 0;
};

}  // namespace tessline::cli
