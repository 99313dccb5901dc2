#include "cli/EventJson.h"

#include <iterator>
#include <string_view>

#include <fmt/format.h>

namespace tessline::cli {

void appendHex(std::span<const std::uint8_t> bytes, std::string& text) {
  constexpr std::string_view digits = "0123456789abcdef";
  for (const std::uint8_t byte : bytes) {
    text += digits[byte >> 4];
    text += digits[byte & 0xF];
  }
}

void appendEventMembers(const TesslineEvent& event, std::string& text) {
  visitEvent(
      event,
      [&](const RemoteButtonEvent& button) {
        fmt::format_to(std::back_inserter(text),
                       R"("event":"button","command":"{}","ordinal":{},"phase":"{}")",
                       name(button.command), ordinal(button.command), rawValue(button.phase));
      },
      [&](const RemoteVoiceFrame& frame) {
        fmt::format_to(std::back_inserter(text),
                       R"("event":"voiceFrame","declaredByteCount":{},"packetBytes":")",
                       frame.declaredByteCount);
        appendHex(frame.packetBytes, text);
        text += R"(","rawBytes":")";
        appendHex(frame.rawBytes, text);
        text += '"';
      },
      [&](const VoiceSessionStarted&) { text += R"("event":"voiceSessionStarted")"; },
      [&](const VoiceSessionEnded&) { text += R"("event":"voiceSessionEnded")"; });
}

}  // namespace tessline::cli
