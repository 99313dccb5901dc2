#include "tests/support/EventNotation.h"

#include "tests/support/Bytes.h"

#include <algorithm>

namespace tessline::test {

namespace {

bool isConsistent(const RemoteVoiceFrame& frame) {
  return !frame.rawBytes.empty() && frame.rawBytes[0] == frame.declaredByteCount &&
         std::equal(frame.packetBytes.begin(), frame.packetBytes.end(), frame.rawBytes.begin() + 1,
                    frame.rawBytes.end()) &&
         frame.packetBytes.size() == frame.rawBytes[0];
}

}  // namespace

std::string notation(const TesslineEvent& event) {
  if (const auto* button = std::get_if<RemoteButtonEvent>(&event)) {
    const bool pressed = button->phase == RemoteButtonPhase::pressed;
    return (pressed ? "press " : "release ") + std::string(name(button->command));
  }
  if (const auto* frame = std::get_if<RemoteVoiceFrame>(&event)) {
    return isConsistent(*frame) ? "frame " + hexText(frame->rawBytes) : "inconsistent frame";
  }
  return std::holds_alternative<VoiceSessionStarted>(event) ? "started" : "ended";
}

std::string notation(std::span<const TesslineEvent> events) {
  std::string text;
  for (const auto& event : events) {
    if (!text.empty()) text += ", ";
    text += notation(event);
  }
  return text;
}

}  // namespace tessline::test
