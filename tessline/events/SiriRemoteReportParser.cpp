#include "tessline/events/SiriRemoteReportParser.h"

#include "tessline/events/ByteSearch.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace tessline {

namespace {

using Bytes = std::span<const std::uint8_t>;

constexpr std::uint8_t handleValueNotification = 0x1B;  // The ATT opcode of every notification.

// What a notification found anywhere in a payload means. The order is that of precedence.
enum class Marker : std::uint8_t {
  voiceStart,
  voiceEnd,
  voiceButtonDown,
  voiceButtonUp,
  commandRelease,
  selectPress,
};

// The bytes of each marker behind the opcode: attribute handle, low byte first, then the value.
struct MarkerPattern {
  Marker marker;
  std::array<std::uint8_t, 4> bytes;
};
constexpr std::array<MarkerPattern, 6> markerPatterns = {{
    {Marker::voiceStart, {0x23, 0x00, 0x00, 0x10}},
    {Marker::voiceEnd, {0x23, 0x00, 0x10, 0x00}},
    {Marker::voiceButtonDown, {0x3A, 0x00, 0x20, 0x00}},
    {Marker::voiceButtonUp, {0x3A, 0x00, 0x00, 0x00}},
    {Marker::commandRelease, {0x23, 0x00, 0x00, 0x00}},
    {Marker::selectPress, {0x23, 0x00, 0x03, 0x00}},
}};

// Commands that count only when their notification ends the payload.
struct SuffixPattern {
  RemoteCommand command;
  std::array<std::uint8_t, 5> bytes;
};
constexpr std::array<SuffixPattern, 2> suffixPatterns = {{
    {RemoteCommand::volumeUp, {handleValueNotification, 0x23, 0x00, 0x00, 0x02}},
    {RemoteCommand::volumeDown, {handleValueNotification, 0x23, 0x00, 0x00, 0x04}},
}};

// Notifications of the button report, without and with a report ID; the mask follows.
constexpr std::array<std::uint8_t, 4> maskNotification = {handleValueNotification, 0x15, 0x00,
                                                          0xFB};
constexpr std::array<std::uint8_t, 5> maskNotificationWithID = {handleValueNotification, 0x15, 0x00,
                                                                0x01, 0xFB};
constexpr std::uint8_t buttonReport = 0xFB;
constexpr std::uint8_t buttonReportID = 0x01;

// Where a captured ACL packet keeps what the voice path looks at, counted from the byte that holds
// the packet-boundary flag: index 1, or 2 when one more byte stands in front of the packet.
constexpr std::array<std::size_t, 2> boundaryFlagIndices = {1, 2};
constexpr std::uint8_t boundaryFlagMask = 0x30;
constexpr std::uint8_t firstFragment = 0x20;
constexpr std::uint8_t continuationFragment = 0x10;
constexpr std::size_t continuationDataOffset = 3;
constexpr std::size_t attOpcodeOffset = 7;
constexpr std::size_t attHandleOffset = 8;
constexpr std::uint8_t voiceHandle = 0x36;
constexpr std::uint8_t opusTableOfContents = 0xB8;  // CELT-only, wideband, 20 ms, mono, one frame.
constexpr std::size_t notificationTocOffset = 15;
constexpr std::size_t longFormTocOffset = 17;

// The set of markers that a payload contains, from one pass over it.
class Markers {
 public:
  explicit Markers(Bytes payload) {
    constexpr std::size_t behindOpcode = 4;
    if (payload.size() <= behindOpcode) return;
    const std::uint8_t* next = payload.data();
    const std::uint8_t* const end = next + (payload.size() - behindOpcode);
    while (next < end) {
      next = static_cast<const std::uint8_t*>(
          std::memchr(next, handleValueNotification, static_cast<std::size_t>(end - next)));
      if (next == nullptr) return;
      ++next;
      for (const MarkerPattern& pattern : markerPatterns) {
        if (std::memcmp(next, pattern.bytes.data(), behindOpcode) == 0) set_ |= bit(pattern.marker);
      }
    }
  }

  bool contains(Marker marker) const { return (set_ & bit(marker)) != 0; }

 private:
  static constexpr unsigned bit(Marker marker) { return 1U << static_cast<unsigned>(marker); }
  unsigned set_ = 0;
};

template <std::size_t size>
bool endsWith(Bytes payload, const std::array<std::uint8_t, size>& suffix) {
  return payload.size() >= size && std::ranges::equal(payload.last(size), suffix);
}

std::uint16_t highByteFirst(Bytes payload, std::size_t index) {
  return static_cast<std::uint16_t>(payload[index] << 8 | payload[index + 1]);
}

bool isZero(Bytes bytes) {
  return std::ranges::all_of(bytes, [](std::uint8_t byte) { return byte == 0; });
}

TesslineEvent pressed(RemoteCommand command) {
  return RemoteButtonEvent{command, RemoteButtonPhase::pressed};
}
TesslineEvent released(RemoteCommand command) {
  return RemoteButtonEvent{command, RemoteButtonPhase::released};
}

}  // namespace

std::vector<TesslineEvent> SiriRemoteReportParser::ingest(const TesslinePacket& packet) {
  return ingestPayload(packet.payload);
}

std::vector<TesslineEvent> SiriRemoteReportParser::ingestPayload(Bytes payload) {
  std::vector<TesslineEvent> events;
  ingestPayload(payload, events);
  return events;
}

void SiriRemoteReportParser::ingestPayload(Bytes payload, std::vector<TesslineEvent>& events) {
  const Markers markers(payload);
  if (markers.contains(Marker::voiceStart)) {
    isCollectingVoice_ = true;
    discardPendingVoiceFrame();
    events.emplace_back(VoiceSessionStarted{});
    return;
  }
  if (markers.contains(Marker::voiceEnd)) {
    isCollectingVoice_ = false;
    flushPendingVoiceFrame(events);
    events.emplace_back(VoiceSessionEnded{});
    return;
  }
  if (markers.contains(Marker::voiceButtonDown)) {
    if (isCollectingVoice_) return;
    isCollectingVoice_ = true;
    discardPendingVoiceFrame();
    events.emplace_back(VoiceSessionStarted{});
    events.push_back(pressed(RemoteCommand::voice));
    return;
  }
  if (markers.contains(Marker::voiceButtonUp)) {
    if (!isCollectingVoice_) return;
    isCollectingVoice_ = false;
    flushPendingVoiceFrame(events);
    events.emplace_back(VoiceSessionEnded{});
    events.push_back(released(RemoteCommand::voice));
    return;
  }
  if (markers.contains(Marker::commandRelease) && last1B23Command_) {
    events.push_back(released(*last1B23Command_));
    last1B23Command_.reset();
    return;
  }
  for (const SuffixPattern& pattern : suffixPatterns) {
    if (endsWith(payload, pattern.bytes)) return pressLast1B23Command(pattern.command, events);
  }
  if (markers.contains(Marker::selectPress)) {
    return pressLast1B23Command(RemoteCommand::select, events);
  }
  if (voiceFrameByteStart(payload)) {
    if (!isCollectingVoice_) {
      isCollectingVoice_ = true;
      events.emplace_back(VoiceSessionStarted{});
    }
    return ingestVoicePayload(payload, events);
  }
  if (isCollectingVoice_ && voiceContinuationDataStart(payload)) {
    return ingestVoicePayload(payload, events);
  }
  if (const auto mask = buttonMask(payload)) applyButtonMask(*mask, events);
}

// A second press replaces the first, which is never released: only the last one pressed is.
void SiriRemoteReportParser::pressLast1B23Command(RemoteCommand command,
                                                  std::vector<TesslineEvent>& events) {
  last1B23Command_ = command;
  events.push_back(pressed(command));
}

std::optional<std::uint16_t> SiriRemoteReportParser::buttonMask(Bytes payload) {
  const std::size_t count = payload.size();
  if (count == 2) return highByteFirst(payload, 0);
  if (count >= 3 && payload[0] == buttonReport && isZero(payload.subspan(3))) {
    return highByteFirst(payload, 1);
  }
  if (count >= 4 && payload[0] == buttonReportID && payload[1] == buttonReport &&
      isZero(payload.subspan(4))) {
    return highByteFirst(payload, 2);
  }
  const auto maskBehind = [payload](Bytes pattern) -> std::optional<std::uint16_t> {
    const auto index = firstIndex(payload, pattern);
    if (!index || *index + pattern.size() + 1 >= payload.size()) return std::nullopt;
    return highByteFirst(payload, *index + pattern.size());
  };
  if (const auto mask = maskBehind(maskNotification)) return mask;
  return maskBehind(maskNotificationWithID);
}

std::vector<TesslineEvent> SiriRemoteReportParser::applyButtonMask(std::uint16_t mask) {
  std::vector<TesslineEvent> events;
  applyButtonMask(mask, events);
  return events;
}

void SiriRemoteReportParser::applyButtonMask(std::uint16_t mask,
                                             std::vector<TesslineEvent>& events) {
  const std::uint16_t old = std::exchange(lastButtonMask_, mask);
  for (const ButtonMapping& mapping : buttonMappings) {
    const bool down = (mask & mapping.mask) != 0;
    const bool wasDown = (old & mapping.mask) != 0;
    const bool isVoice = mapping.command == RemoteCommand::voice;
    if (down && !wasDown) {
      if (isVoice) {
        isCollectingVoice_ = true;
        discardPendingVoiceFrame();
      }
      events.push_back(pressed(mapping.command));
    } else if (wasDown && !down) {
      if (isVoice) {
        flushPendingVoiceFrame(events);
        isCollectingVoice_ = false;
      }
      events.push_back(released(mapping.command));
    }
  }
}

std::optional<std::size_t> SiriRemoteReportParser::voiceFrameByteStart(Bytes payload) {
  const std::size_t count = payload.size();
  for (const std::size_t flag : boundaryFlagIndices) {
    if (count <= flag) return std::nullopt;
    if ((payload[flag] & boundaryFlagMask) != firstFragment) continue;
    if (count > flag + longFormTocOffset &&
        payload[flag + longFormTocOffset] == opusTableOfContents) {
      return flag + longFormTocOffset - 1;
    }
    if (count > flag + attOpcodeOffset &&
        payload[flag + attOpcodeOffset] == handleValueNotification) {
      // A notification cut off before its handle is none at all: the other position is not tried.
      if (count <= flag + attHandleOffset) return std::nullopt;
      if (payload[flag + attHandleOffset] == voiceHandle && count > flag + notificationTocOffset &&
          payload[flag + notificationTocOffset] == opusTableOfContents) {
        return flag + notificationTocOffset - 1;
      }
    }
  }
  return std::nullopt;
}

std::optional<std::size_t> SiriRemoteReportParser::voiceContinuationDataStart(Bytes payload) {
  for (const std::size_t flag : boundaryFlagIndices) {
    if (payload.size() <= flag) return std::nullopt;
    if ((payload[flag] & boundaryFlagMask) == continuationFragment &&
        payload.size() > flag + continuationDataOffset) {
      return flag + continuationDataOffset;
    }
  }
  return std::nullopt;
}

void SiriRemoteReportParser::ingestVoicePayload(Bytes payload, std::vector<TesslineEvent>& events) {
  if (const auto start = voiceFrameByteStart(payload)) {
    flushPendingVoiceFrame(events);
    const Bytes frame = payload.subspan(*start);
    pendingVoiceFrameBytes_.assign(frame.begin(), frame.end());
    trimPendingVoiceFrameToDeclaredLength();
  } else if (!pendingVoiceFrameBytes_.empty()) {
    if (const auto data = voiceContinuationDataStart(payload)) {
      appendPendingVoiceContinuation(payload.subspan(*data));
    }
  }
}

void SiriRemoteReportParser::appendPendingVoiceContinuation(Bytes bytes) {
  if (pendingVoiceFrameBytes_.empty()) return;
  const std::size_t declared = pendingVoiceFrameBytes_[0];
  const std::size_t count = pendingVoiceFrameBytes_.size();
  if (declared < count) return;
  const Bytes wanted = bytes.first(std::min(bytes.size(), declared - count + 1));
  pendingVoiceFrameBytes_.insert(pendingVoiceFrameBytes_.end(), wanted.begin(), wanted.end());
}

void SiriRemoteReportParser::trimPendingVoiceFrameToDeclaredLength() {
  if (pendingVoiceFrameBytes_.empty()) return;
  const std::size_t frameSize = std::size_t{pendingVoiceFrameBytes_[0]} + 1;
  if (frameSize < pendingVoiceFrameBytes_.size()) pendingVoiceFrameBytes_.resize(frameSize);
}

void SiriRemoteReportParser::flushPendingVoiceFrame(std::vector<TesslineEvent>& events) {
  if (auto frame = RemoteVoiceFrame::fromRawBytes(pendingVoiceFrameBytes_)) {
    events.emplace_back(std::move(*frame));
    pendingVoiceFrameBytes_.clear();
  } else {
    discardPendingVoiceFrame();
  }
}

void SiriRemoteReportParser::discardPendingVoiceFrame() {
  if (!pendingVoiceFrameBytes_.empty()) ++droppedVoiceFrameCount_;
  pendingVoiceFrameBytes_.clear();
}

}  // namespace tessline
