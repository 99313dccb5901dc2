/// @file
/// What the simulation makes: lines of capture text, and what a decoder has to read from them.
#pragma once

#include "tessline/events/TesslineEvent.h"

#include <chrono>
#include <cstdint>
#include <span>
#include <string_view>
#include <variant>

namespace tessline::cli {

/// Time since the simulated capture began.
using SimulatedTime = std::chrono::microseconds;

/// A voice frame that a decoder is to deliver, without a copy of its bytes.
struct IntendedVoiceFrame {
  std::span<const std::uint8_t> packet;  ///< Valid as long as the simulation's voice packets.
};

/// An event that a line is to cause; the alternatives are those of `TesslineEvent`.
using IntendedEvent =
    std::variant<RemoteButtonEvent, IntendedVoiceFrame, VoiceSessionStarted, VoiceSessionEnded>;

/// One line of the capture. What it points to is valid during the call that hands it over.
struct SimulatedLine {
  SimulatedTime time;
  std::string_view text;                    ///< With its line end.
  std::span<const IntendedEvent> intended;  ///< Often empty.
};

/// Takes the lines in order; their times never decrease.
class SimulatedLineSink {
 public:
  SimulatedLineSink() = default;
  SimulatedLineSink(const SimulatedLineSink&) = delete;
  SimulatedLineSink& operator=(const SimulatedLineSink&) = delete;
  virtual ~SimulatedLineSink() = default;

  virtual void write(const SimulatedLine& line) = 0;
};

}  // namespace tessline::cli
