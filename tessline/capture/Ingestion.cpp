// The half of the capture service that reads what the tool writes.
#include "tessline/capture/CaptureStatus.h"
#include "tessline/capture/PacketLoggerCaptureService.h"
#include "tessline/capture/PacketLoggerPayload.h"
#include "tessline/model/Integers.h"
#include "tessline/text/Graphemes.h"
#include "tessline/text/Whitespace.h"

#include <algorithm>
#include <cassert>
#include <string>
#include <utility>

namespace tessline {

using platform::MutexLock;

namespace {

constexpr char lineEnd = '\n';
constexpr std::string_view errorWord = "error:";

std::string_view textOf(std::span<const std::uint8_t> data) {
  return {reinterpret_cast<const char*>(data.data()), data.size()};
}

}  // namespace

void PacketLoggerCaptureService::handleOutputData(std::span<const std::uint8_t> data) {
  const std::string_view text = textOf(data);
  if (text.empty() || !isValidUtf8(text)) return;
  queue_->async([weak = weak_from_this(), text = std::string(text)] {
    if (const auto self = weak.lock()) self->appendOutputText(text);
  });
}

void PacketLoggerCaptureService::handleErrorData(std::span<const std::uint8_t> data) {
  const std::string_view text = textOf(data);
  if (text.empty() || !isValidUtf8(text)) return;
  const std::string_view trimmed = trimmedOfWhitespaceAndNewlines(text);
  if (trimmed.empty()) return;
  queue_->async([weak = weak_from_this(), status = captureStatus::said(trimmed)] {
    const auto self = weak.lock();
    if (!self) return;
    self->setStatusOnQueue(status);
    self->publishSnapshotOnQueue();
  });
}

void PacketLoggerCaptureService::appendOutputText(std::string_view text) {
  assert(queue_->isCurrent());
  const std::size_t firstEnd = text.find(lineEnd);
  if (firstEnd == std::string_view::npos) {
    pendingText_ += text;
    return;
  }
  std::string first = std::exchange(pendingText_, {});
  first += text.substr(0, firstEnd);
  ingest(first);
  text.remove_prefix(firstEnd + 1);
  for (std::size_t end = text.find(lineEnd); end != std::string_view::npos;
       end = text.find(lineEnd)) {
    ingest(text.substr(0, end));
    text.remove_prefix(end + 1);
  }
  pendingText_ = text;
}

void PacketLoggerCaptureService::ingest(std::string_view line) {
  payload_.clear();
  if (parser_.readLine(line, payload_) != PacketLogLine::packet) return noteErrorLine(line);
  if (!acceptOnQueue(payload_)) return;
  events_.clear();
  reportParser_.ingestPayload(payload_, events_);
  if (!events_.empty()) {
    followVoice(events_);
    const MutexLock guard(mutex_);
    shown_.emittedEventCount =
        checkedSum(shown_.emittedEventCount, static_cast<std::int64_t>(events_.size()));
  }
  if (onRawPayload) onRawPayload(payload_);
  if (!events_.empty() && onTransportEvents) onTransportEvents(events_);
}

void PacketLoggerCaptureService::noteErrorLine(std::string_view line) {
  if (findCharacters(line, errorWord, LetterCase::ignoredInAscii) == std::string_view::npos) return;
  setStatusOnQueue(captureStatus::said(trimmedOfWhitespaceAndNewlines(line)));
  publishSnapshotOnQueue();
}

// Counts the packet and says whether it looks like a remote's. Continuation fragments are anyone's,
// and count while voice is being collected alone.
bool PacketLoggerCaptureService::acceptOnQueue(std::span<const std::uint8_t> payload) {
  assert(queue_->isCurrent());
  const bool isFrameStart = PacketLoggerPayload::isSiriRemoteVoiceFrameStart(payload);
  const bool isContinuation = PacketLoggerPayload::isSiriRemoteVoiceContinuation(payload);
  const bool isAccepted = isFrameStart || (isCollectingPacketLoggerVoice_ && isContinuation) ||
                          PacketLoggerPayload::containsKnownSiriRemoteControlMarker(payload) ||
                          PacketLoggerPayload::isSiriRemoteButtonReport(payload);
  const bool isVoiceLike =
      isAccepted && (isFrameStart || isContinuation ||
                     PacketLoggerPayload::containsKnownVoiceBoundaryMarker(payload));
  const MutexLock guard(mutex_);
  shown_.parsedPacketCount = checkedSum(shown_.parsedPacketCount, 1);
  if (!isAccepted) return false;
  shown_.acceptedPacketCount = checkedSum(shown_.acceptedPacketCount, 1);
  if (isVoiceLike) {
    shown_.acceptedVoiceLikePacketCount = checkedSum(shown_.acceptedVoiceLikePacketCount, 1);
  }
  shown_.previewedSize = std::min(payload.size(), PacketLoggerPayload::previewSize);
  std::copy_n(payload.begin(), *shown_.previewedSize, shown_.previewed.begin());
  return true;
}

void PacketLoggerCaptureService::followVoice(std::span<const TesslineEvent> events) {
  for (const TesslineEvent& event : events) {
    if (const auto* const button = std::get_if<RemoteButtonEvent>(&event)) {
      if (button->command == RemoteCommand::voice) {
        isCollectingPacketLoggerVoice_ = button->phase == RemoteButtonPhase::pressed;
      }
    } else if (std::holds_alternative<VoiceSessionStarted>(event)) {
      isCollectingPacketLoggerVoice_ = true;
    } else if (std::holds_alternative<VoiceSessionEnded>(event)) {
      isCollectingPacketLoggerVoice_ = false;
    }
  }
}

}  // namespace tessline
