/// @file
/// A second decoding of remote payloads, slow and plain, to compare the library with.
#pragma once

#include "tessline/events/TesslineEvent.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace tessline::test {

/// Applies the rules of the report parser one after the other, each written out on its own, with no
/// regard to speed. Uses the library's event types and nothing else of it. State is open to view.
class ReferenceReportParser {
 public:
  using Payload = std::vector<std::uint8_t>;
  using Events = std::vector<TesslineEvent>;

  bool isCollectingVoice = false;
  Payload pendingVoiceFrame;
  std::uint16_t lastButtonMask = 0;
  std::optional<RemoteCommand> heldCommand;
  std::uint64_t droppedFrames = 0;

  Events ingest(const Payload& payload);

  static std::optional<std::uint16_t> buttonMask(const Payload& payload);
  static std::optional<std::size_t> frameStart(const Payload& payload);
  static std::optional<std::size_t> continuationStart(const Payload& payload);

 private:
  Events startSession(Events events);
  Events endSession();
  Events pressHeldCommand(unsigned ordinal);
  Events ingestVoice(const Payload& payload);
  Events flush();
  Events applyMask(std::uint16_t mask);
};

}  // namespace tessline::test
