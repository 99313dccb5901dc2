/// @file
/// A remote's part in the simulation.
#pragma once

#include "cli/simulate/CaptureTimeline.h"
#include "cli/simulate/PayloadLayouts.h"
#include "cli/simulate/Random.h"
#include "cli/simulate/SimulatedLine.h"
#include "cli/simulate/VoiceFragments.h"
#include "tessline/model/RemoteCommand.h"

#include <cstdint>
#include <span>
#include <vector>

namespace tessline::cli {

/// What tells that the remote sends its voice from now on.
enum class VoiceOpening : std::uint8_t {
  startMarker,  ///< The start notification.
  buttonDown,   ///< The voice button's own notification.
  firstFrame,   ///< Nothing but the first frame.
  mask,         ///< The voice button in a mask report.
};

/// What tells that it no longer does.
enum class VoiceClosing : std::uint8_t {
  endMarker,  ///< The end notification.
  buttonUp,   ///< The voice button's own notification.
  mask,       ///< The voice button in a mask report.
};

/// Whether a frame arrives whole.
enum class FrameFate : std::uint8_t {
  whole,
  fragmentLost,  ///< A continuation is lost; frames of one packet arrive whole nevertheless.
};

/// Sends what a remote sends, at the timeline's present moment, and tells with each packet which
/// events it is to cause. Knows which buttons are held and which voice frame has not been delivered
/// yet, and nothing of why and when.
class SimulatedRemote {
 public:
  /// `timeline` outlives the remote.
  SimulatedRemote(std::uint64_t seed, CaptureTimeline& timeline);

  /// Reports a press or release in `layout`, which must carry the command.
  void press(RemoteCommand command, ButtonLayout layout);
  void release(RemoteCommand command, ButtonLayout layout);
  /// Reports in one mask that one button went up and another went down.
  void exchange(RemoteCommand released, RemoteCommand pressed, ButtonLayout layout);

  /// Reports the beginning of a voice session, or a further time that it has begun. `maskLayout`
  /// matters to mask reports alone, here and below.
  void openVoice(VoiceOpening opening, ButtonLayout maskLayout);
  /// Sends one frame, which takes a few milliseconds when it is more than one packet. `opusPacket`
  /// stays valid until the session is closed.
  void sendFrame(std::span<const std::uint8_t> opusPacket, const VoiceFrameLayout& layout,
                 FrameFate fate);
  /// Reports the end of a voice session, or a further time that it has ended.
  void closeVoice(VoiceClosing closing, ButtonLayout maskLayout);

 private:
  void sendMask(unsigned mask, ButtonLayout layout);
  void send(const ShortNotification& notification);
  void intendButton(RemoteCommand command, RemoteButtonPhase phase);
  void beginCollecting();
  void endCollecting();
  void intendUndeliveredFrame();
  PacketFraming anyFraming();

  Random random_;
  CaptureTimeline& timeline_;
  VoiceFragments fragments_;
  std::vector<IntendedEvent> intended_;
  std::uint16_t mask_ = 0;
  std::uint16_t sequence_ = 0;
  std::span<const std::uint8_t> undeliveredFrame_;  ///< Empty when there is none.
  bool voiceIsOpen_ = false;
};

}  // namespace tessline::cli
