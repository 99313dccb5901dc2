#include "tests/support/ReferenceReportParser.h"

#include "tests/support/Bytes.h"

#include <array>

namespace tessline::test {

namespace {

using Payload = ReferenceReportParser::Payload;
using Events = ReferenceReportParser::Events;

struct MaskRow {
  unsigned mask;
  unsigned ordinal;
};

constexpr std::array<MaskRow, 13> maskRows = {{{0x0100, 6},
                                               {0x0200, 8},
                                               {0x0400, 9},
                                               {0x0800, 4},
                                               {0x1000, 12},
                                               {0x2000, 10},
                                               {0x4000, 5},
                                               {0x8000, 11},
                                               {0x0001, 7},
                                               {0x0002, 0},
                                               {0x0004, 3},
                                               {0x0008, 1},
                                               {0x0010, 2}}};

constexpr unsigned voiceOrdinal = 10;

bool standsAt(const Payload& payload, std::size_t index, const Payload& pattern) {
  if (index + pattern.size() > payload.size()) return false;
  for (std::size_t offset = 0; offset < pattern.size(); ++offset) {
    if (payload[index + offset] != pattern[offset]) return false;
  }
  return true;
}

std::optional<std::size_t> indexOf(const char* pattern, const Payload& payload) {
  for (std::size_t index = 0; index < payload.size(); ++index) {
    if (standsAt(payload, index, bytes(pattern))) return index;
  }
  return std::nullopt;
}

bool contains(const Payload& payload, const char* pattern) {
  return indexOf(pattern, payload).has_value();
}

bool endsWith(const Payload& payload, const char* fiveBytes) {
  return payload.size() >= 5 && standsAt(payload, payload.size() - 5, bytes(fiveBytes));
}

bool isZeroFrom(const Payload& payload, std::size_t index) {
  for (; index < payload.size(); ++index) {
    if (payload[index] != 0) return false;
  }
  return true;
}

std::uint16_t maskAt(const Payload& payload, std::size_t index) {
  return static_cast<std::uint16_t>(payload.at(index) * 256 + payload.at(index + 1));
}

TesslineEvent button(unsigned ordinal, RemoteButtonPhase phase) {
  return RemoteButtonEvent{static_cast<RemoteCommand>(ordinal), phase};
}

Events operator+(Events left, const Events& right) {
  left.insert(left.end(), right.begin(), right.end());
  return left;
}

Payload from(const Payload& payload, std::size_t start) {
  return {payload.begin() + static_cast<std::ptrdiff_t>(start), payload.end()};
}

}  // namespace

Events ReferenceReportParser::ingest(const Payload& payload) {
  if (contains(payload, "1b 23 00 00 10")) return startSession({VoiceSessionStarted{}});
  if (contains(payload, "1b 23 00 10 00")) return endSession();
  if (contains(payload, "1b 3a 00 20 00")) {
    if (isCollectingVoice) return {};
    return startSession({VoiceSessionStarted{}, button(10, RemoteButtonPhase::pressed)});
  }
  if (contains(payload, "1b 3a 00 00 00")) {
    if (!isCollectingVoice) return {};
    return endSession() + Events{button(10, RemoteButtonPhase::released)};
  }
  if (contains(payload, "1b 23 00 00 00") && heldCommand) {
    const RemoteCommand command = *heldCommand;
    heldCommand.reset();
    return {RemoteButtonEvent{command, RemoteButtonPhase::released}};
  }
  if (endsWith(payload, "1b 23 00 00 02")) return pressHeldCommand(8);
  if (endsWith(payload, "1b 23 00 00 04")) return pressHeldCommand(9);
  if (contains(payload, "1b 23 00 03 00")) return pressHeldCommand(4);
  if (frameStart(payload)) {
    const Events started = isCollectingVoice ? Events{} : Events{VoiceSessionStarted{}};
    isCollectingVoice = true;
    return started + ingestVoice(payload);
  }
  if (isCollectingVoice && continuationStart(payload)) return ingestVoice(payload);
  const auto mask = buttonMask(payload);
  return mask ? applyMask(*mask) : Events{};
}

Events ReferenceReportParser::startSession(Events events) {
  isCollectingVoice = true;
  if (!pendingVoiceFrame.empty()) ++droppedFrames;
  pendingVoiceFrame.clear();
  return events;
}

Events ReferenceReportParser::endSession() {
  isCollectingVoice = false;
  return flush() + Events{VoiceSessionEnded{}};
}

Events ReferenceReportParser::pressHeldCommand(unsigned ordinal) {
  heldCommand = static_cast<RemoteCommand>(ordinal);
  return {button(ordinal, RemoteButtonPhase::pressed)};
}

Events ReferenceReportParser::ingestVoice(const Payload& payload) {
  if (const auto start = frameStart(payload)) {
    const Events events = flush();
    pendingVoiceFrame = from(payload, *start);
    const std::size_t wholeLength = pendingVoiceFrame[0] + 1u;
    if (wholeLength < pendingVoiceFrame.size()) pendingVoiceFrame.resize(wholeLength);
    return events;
  }
  const auto start = continuationStart(payload);
  if (pendingVoiceFrame.empty() || !start) return {};
  for (const std::uint8_t byte : from(payload, *start)) {
    if (pendingVoiceFrame.size() < pendingVoiceFrame[0] + 1u) pendingVoiceFrame.push_back(byte);
  }
  return {};
}

Events ReferenceReportParser::flush() {
  const Payload frame = pendingVoiceFrame;
  pendingVoiceFrame.clear();
  if (frame.empty()) return {};
  if (frame.size() < frame[0] + 1u) {
    ++droppedFrames;
    return {};
  }
  return {RemoteVoiceFrame{frame[0], from(frame, 1), frame}};
}

Events ReferenceReportParser::applyMask(std::uint16_t mask) {
  Events events;
  for (const auto& row : maskRows) {
    const bool isDown = (mask & row.mask) != 0;
    const bool wasDown = (lastButtonMask & row.mask) != 0;
    if (isDown && !wasDown) {
      if (row.ordinal == voiceOrdinal) startSession({});
      events.push_back(button(row.ordinal, RemoteButtonPhase::pressed));
    }
    if (wasDown && !isDown) {
      if (row.ordinal == voiceOrdinal) {
        events = events + flush();
        isCollectingVoice = false;
      }
      events.push_back(button(row.ordinal, RemoteButtonPhase::released));
    }
  }
  lastButtonMask = mask;
  return events;
}

std::optional<std::uint16_t> ReferenceReportParser::buttonMask(const Payload& payload) {
  const std::size_t n = payload.size();
  if (n == 2) return maskAt(payload, 0);
  if (n >= 3 && payload[0] == 0xFB && isZeroFrom(payload, 3)) return maskAt(payload, 1);
  if (n >= 4 && payload[0] == 0x01 && payload[1] == 0xFB && isZeroFrom(payload, 4)) {
    return maskAt(payload, 2);
  }
  const auto plain = indexOf("1b 15 00 fb", payload);
  if (plain && *plain + 5 < n) return maskAt(payload, *plain + 4);
  const auto withReportId = indexOf("1b 15 00 01 fb", payload);
  if (withReportId && *withReportId + 6 < n) return maskAt(payload, *withReportId + 5);
  return std::nullopt;
}

std::optional<std::size_t> ReferenceReportParser::frameStart(const Payload& payload) {
  const std::size_t n = payload.size();
  for (const std::size_t h : {1u, 2u}) {
    if (n <= h) return std::nullopt;
    if ((payload[h] & 0x30) != 0x20) continue;
    if (n > h + 17 && payload[h + 17] == 0xB8) return h + 16;
    if (n > h + 7 && payload[h + 7] == 0x1B) {
      if (n <= h + 8) return std::nullopt;
      if (payload[h + 8] == 0x36 && n > h + 15 && payload[h + 15] == 0xB8) return h + 14;
    }
  }
  return std::nullopt;
}

std::optional<std::size_t> ReferenceReportParser::continuationStart(const Payload& payload) {
  for (const std::size_t h : {1u, 2u}) {
    if (payload.size() <= h) return std::nullopt;
    if ((payload[h] & 0x30) == 0x10 && payload.size() > h + 3) return h + 3;
  }
  return std::nullopt;
}

}  // namespace tessline::test
