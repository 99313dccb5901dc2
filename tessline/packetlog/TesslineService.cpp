#include "tessline/packetlog/TesslineService.h"

#include "tessline/packetlog/RecordedRemoteCaptureDecoder.h"

namespace tessline {

std::vector<TesslineEvent> TesslineService::decodeRecordedPacketLog(
    std::string_view text, std::optional<std::string_view> acceptedRemoteAddress) const {
  return RecordedRemoteCaptureDecoder(acceptedRemoteAddress).decode(text);
}

TesslineSnapshot TesslineService::makeSnapshot() const {
  return {
      .summary =
          "The current proof path is: paired Siri Remote -> captured transport data -> parsed "
          "reports -> reconstructed Opus voice frames -> decoded PCM.",
      .findings =
          {
              {"voice-boundaries", "Voice session boundaries are already observable",
               "The existing proof tool detects microphone start and stop markers before decoding "
               "payload frames."},
              {"opus", "Voice payloads decode as 16 kHz Opus",
               "The open-source sample uses an Opus decoder; Morvane now streams mono PCM into its "
               "own virtual microphone bridge."},
              {"packetlogger", "PacketLogger is the best current development adapter",
               "It gives us a stable bring-up path while direct BLE ownership remains under "
               "investigation."},
          },
      .workstreams =
          {
              {"fixtures", "Recorded fixtures",
               "Build and label a reusable capture corpus for buttons, touch, and voice sessions.",
               0},
              {"ble", "Direct BLE transport",
               "Investigate whether we can replace or reduce PacketLogger dependence on current "
               "macOS builds.",
               1},
              {"pairing", "Reconnect and recovery",
               "Design for idle disconnects, stale device handles, and session restart behavior.",
               0},
          },
  };
}

}  // namespace tessline
