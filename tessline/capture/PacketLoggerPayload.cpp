#include "tessline/capture/PacketLoggerPayload.h"

#include "tessline/events/ByteSearch.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace tessline {

namespace {

using Bytes = std::span<const std::uint8_t>;
using ControlMarker = std::array<std::uint8_t, 5>;

// A notification's opcode, its handle (low byte first) and the first two bytes of the value.
constexpr std::array<ControlMarker, 7> controlMarkers = {{{0x1B, 0x23, 0x00, 0x00, 0x02},
                                                          {0x1B, 0x23, 0x00, 0x00, 0x04},
                                                          {0x1B, 0x23, 0x00, 0x03, 0x00},
                                                          {0x1B, 0x23, 0x00, 0x00, 0x10},
                                                          {0x1B, 0x23, 0x00, 0x10, 0x00},
                                                          {0x1B, 0x3A, 0x00, 0x20, 0x00},
                                                          {0x1B, 0x3A, 0x00, 0x00, 0x00}}};
// The first three are of buttons alone.
constexpr std::size_t firstVoiceMarker = 3;

constexpr std::uint8_t notification = 0x1B;
constexpr std::uint8_t voiceValueHandle = 0x36;
constexpr std::uint8_t firstVoiceByte = 0xB8;
constexpr std::uint8_t buttonReportMark = 0xFB;
constexpr std::uint8_t boundaryMask = 0x30;
constexpr std::uint8_t firstFragmentFlag = 0x20;
constexpr std::uint8_t continuationFlag = 0x10;

bool containsAny(Bytes payload, std::span<const ControlMarker> markers) {
  return std::ranges::any_of(markers, [&](const ControlMarker& marker) {
    return firstIndex(payload, marker).has_value();
  });
}

bool isAt(Bytes payload, std::size_t index, std::uint8_t value) {
  return index < payload.size() && payload[index] == value;
}

bool isFrameStartAt(Bytes payload, std::size_t base) {
  if (1 + base >= payload.size() || (payload[1 + base] & boundaryMask) != firstFragmentFlag) {
    return false;
  }
  return isAt(payload, 18 + base, firstVoiceByte) ||
         (isAt(payload, 8 + base, notification) && isAt(payload, 9 + base, voiceValueHandle) &&
          isAt(payload, 16 + base, firstVoiceByte));
}

bool isVoiceButton(const TesslineEvent& event, RemoteButtonPhase phase) {
  const auto* const button = std::get_if<RemoteButtonEvent>(&event);
  return button != nullptr && button->command == RemoteCommand::voice && button->phase == phase;
}

}  // namespace

bool PacketLoggerPayload::containsKnownSiriRemoteControlMarker(Bytes payload) {
  return containsAny(payload, controlMarkers);
}

bool PacketLoggerPayload::containsKnownVoiceBoundaryMarker(Bytes payload) {
  return containsAny(payload, std::span(controlMarkers).subspan(firstVoiceMarker));
}

bool PacketLoggerPayload::isSiriRemoteVoiceFrameStart(Bytes payload) {
  return isFrameStartAt(payload, 0) || isFrameStartAt(payload, 1);
}

bool PacketLoggerPayload::isSiriRemoteVoiceContinuation(Bytes payload) {
  return (payload.size() >= 5 && (payload[1] & boundaryMask) == continuationFlag) ||
         (payload.size() >= 6 && (payload[2] & boundaryMask) == continuationFlag);
}

bool PacketLoggerPayload::isSiriRemoteButtonReport(Bytes payload) {
  const auto found = std::ranges::find(payload, buttonReportMark);
  if (found == payload.end()) return false;
  const auto index = static_cast<std::size_t>(found - payload.begin());
  if (index < 3) return false;
  if (payload[index - 3] == notification) return true;
  return index >= 4 && payload[index - 4] == notification && payload[index - 1] == 0x01;
}

std::string PacketLoggerPayload::payloadPreview(Bytes payload) {
  constexpr std::string_view digits = "0123456789ABCDEF";
  std::string text;
  for (const std::uint8_t byte : payload.first(std::min(payload.size(), previewSize))) {
    if (!text.empty()) text += ' ';
    text += digits[byte >> 4];
    text += digits[byte & 0xF];
  }
  return text;
}

bool PacketLoggerPayload::shouldPrintDebugPayload(bool wasCollectingVoice,
                                                  std::span<const TesslineEvent> events) {
  const bool starts = std::ranges::any_of(events, [](const TesslineEvent& event) {
    return isVoiceButton(event, RemoteButtonPhase::pressed) ||
           std::holds_alternative<VoiceSessionStarted>(event);
  });
  const bool ends = std::ranges::any_of(events, [](const TesslineEvent& event) {
    return isVoiceButton(event, RemoteButtonPhase::released) ||
           std::holds_alternative<VoiceSessionEnded>(event);
  });
  return (wasCollectingVoice || starts) && !ends;
}

}  // namespace tessline
