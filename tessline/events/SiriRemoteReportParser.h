/// @file
/// The one decoder of Siri Remote traffic: raw payloads in, events out.
#pragma once

#include "tessline/events/TesslineEvent.h"
#include "tessline/model/RemoteCommand.h"
#include "tessline/model/TesslinePacket.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace tessline {

/// Decodes the payloads of one remote, whatever transport carried them: a bare GATT characteristic
/// value, an HID input report, or a whole captured HCI ACL packet. The three are told apart by byte
/// patterns and by fixed layouts; docs/formats.md draws them.
///
/// A value: copies share nothing. Not synchronised; each owner calls it from one thread at a time.
/// Nothing fails: a payload that means nothing yields no events and changes no state, and no input
/// is read beyond its end. State carries over from payload to payload, so that a release is
/// reported once, against the press before it; to reset a parser, assign a fresh one.
class SiriRemoteReportParser {
 public:
  /// Ties one bit of the button mask to its button.
  struct ButtonMapping {
    std::uint16_t mask;     ///< Has that one bit.
    RemoteCommand command;  ///< The button.
  };

  /// The buttons in the order in which one mask reports their changes. The bits 0x0020, 0x0040 and
  /// 0x0080 mean nothing.
  static constexpr std::array<ButtonMapping, remoteCommandCount> buttonMappings = {{
      {0x0100, RemoteCommand::home},
      {0x0200, RemoteCommand::volumeUp},
      {0x0400, RemoteCommand::volumeDown},
      {0x0800, RemoteCommand::select},
      {0x1000, RemoteCommand::power},
      {0x2000, RemoteCommand::voice},
      {0x4000, RemoteCommand::back},
      {0x8000, RemoteCommand::mute},
      {0x0001, RemoteCommand::playPause},
      {0x0002, RemoteCommand::up},
      {0x0004, RemoteCommand::right},
      {0x0008, RemoteCommand::down},
      {0x0010, RemoteCommand::left},
  }};

  /// The events of a packet's payload, as `ingestPayload` gives them.
  std::vector<TesslineEvent> ingest(const TesslinePacket& packet);

  /// The events that one payload means, in order; often none. Allocates nothing when there are none
  /// and no voice frame is being collected.
  std::vector<TesslineEvent> ingestPayload(std::span<const std::uint8_t> payload);

  /// As above, but appends to `events`, so that a caller can reuse its storage.
  void ingestPayload(std::span<const std::uint8_t> payload, std::vector<TesslineEvent>& events);

  /// The button mask that `payload` carries in one of the accepted layouts; none otherwise.
  static std::optional<std::uint16_t> buttonMask(std::span<const std::uint8_t> payload);

  /// Makes `mask` the last mask and returns one event per button that changed, presses and releases
  /// in the order of `buttonMappings`. A press of the voice button opens voice collection; its
  /// release is preceded by the pending frame, if complete, and closes it. Neither emits
  /// `VoiceSessionStarted` or `VoiceSessionEnded`: on this path the button events bracket the
  /// session.
  std::vector<TesslineEvent> applyButtonMask(std::uint16_t mask);

  /// The index of the length byte of a voice frame that begins in `payload`; none if none does.
  static std::optional<std::size_t> voiceFrameByteStart(std::span<const std::uint8_t> payload);

  /// The index where the data of a continuation fragment begins; none if `payload` is not one.
  static std::optional<std::size_t> voiceContinuationDataStart(
      std::span<const std::uint8_t> payload);

  /// Whether a voice session is open, so that continuation fragments are accepted.
  bool isCollectingVoice() const { return isCollectingVoice_; }
  /// The voice frame being collected: its length byte and the Opus bytes so far.
  std::span<const std::uint8_t> pendingVoiceFrameBytes() const { return pendingVoiceFrameBytes_; }
  /// The mask applied last, all 16 bits of it.
  std::uint16_t lastButtonMask() const { return lastButtonMask_; }
  /// The command pressed last through attribute handle 0x0023 and not released yet.
  std::optional<RemoteCommand> last1B23Command() const { return last1B23Command_; }
  /// How many begun voice frames were given up so far: still incomplete when their successor began
  /// or their session ended, or cut off by the start of another session.
  std::uint64_t droppedVoiceFrameCount() const { return droppedVoiceFrameCount_; }

 private:
  void applyButtonMask(std::uint16_t mask, std::vector<TesslineEvent>& events);
  void pressLast1B23Command(RemoteCommand command, std::vector<TesslineEvent>& events);
  void ingestVoicePayload(std::span<const std::uint8_t> payload,
                          std::vector<TesslineEvent>& events);
  void appendPendingVoiceContinuation(std::span<const std::uint8_t> bytes);
  void trimPendingVoiceFrameToDeclaredLength();
  void flushPendingVoiceFrame(std::vector<TesslineEvent>& events);
  void discardPendingVoiceFrame();

  bool isCollectingVoice_ = false;
  std::vector<std::uint8_t> pendingVoiceFrameBytes_;
  std::uint16_t lastButtonMask_ = 0;
  std::optional<RemoteCommand> last1B23Command_;
  std::uint64_t droppedVoiceFrameCount_ = 0;
};

}  // namespace tessline
