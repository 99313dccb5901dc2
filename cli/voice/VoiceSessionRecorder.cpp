#include "cli/voice/VoiceSessionRecorder.h"

#include "cli/Errors.h"

#include <string_view>
#include <system_error>
#include <utility>

#include <fmt/format.h>

namespace tessline::cli {

VoiceSessionRecorder::VoiceSessionRecorder(VoiceFileOptions options) : files_(std::move(options)) {
  std::error_code error;
  std::filesystem::create_directories(files_->directory, error);
  if (error) throwSystemError("create directory", files_->directory.native(), error.value());
}

void VoiceSessionRecorder::handle(const TesslineEvent& event) {
  visitEvent(
      event, [this](const RemoteButtonEvent& button) { handleButton(button); },
      [this](const RemoteVoiceFrame& frame) { handleFrame(frame); },
      [this](const VoiceSessionStarted&) { handleSessionStarted(); },
      [this](const VoiceSessionEnded&) { close(true); });
}

void VoiceSessionRecorder::finish() {
  close(false);
}

void VoiceSessionRecorder::handleSessionStarted() {
  if (session_ && session_->opener == Opener::voiceButton && !session_->hasFrames()) return;
  close(false);
  open(Opener::other);
}

void VoiceSessionRecorder::handleButton(const RemoteButtonEvent& event) {
  if (event.command != RemoteCommand::voice) return;
  switch (event.phase) {
    case RemoteButtonPhase::pressed:
      if (!session_) open(Opener::voiceButton);
      return;
    case RemoteButtonPhase::released:
      close(true);
      return;
  }
}

void VoiceSessionRecorder::handleFrame(const RemoteVoiceFrame& frame) {
  if (!session_) open(Opener::other);
  VoiceSessionRecord& record = session_->record;
  if (frame.packetBytes.empty()) {
    ++record.emptyFrameCount;
    return;
  }
  ++record.frameCount;
  if (!store(*session_, frame.packetBytes)) ++record.refusedPacketCount;
}

void VoiceSessionRecorder::open(Opener opener) {
  Session session{opener, {}, {}, {}, {}};
  session.record.number = static_cast<int>(totals_.sessionCount) + 1;
  if (files_) openFiles(session);
  session_.emplace(std::move(session));
}

void VoiceSessionRecorder::openFiles(Session& session) const {
  const auto path = [&](std::string_view extension) {
    return files_->directory / fmt::format("voice-{:03}.{}", session.record.number, extension);
  };
  session.record.opusFile = path("opus");
  session.opus.emplace(session.record.opusFile, static_cast<std::uint32_t>(session.record.number));
  if (!files_->wav) return;
  session.record.wavFile = path("wav");
  session.wav.emplace(session.record.wavFile);
  session.decoder.emplace();
}

/// Returns whether the packet can be decoded.
bool VoiceSessionRecorder::store(Session& session, std::span<const std::uint8_t> packet) {
  if (session.opus) session.opus->write(packet);
  if (!session.wav) return VoiceDecoder::accepts(packet);
  const bool isDecoded = session.decoder->decode(packet);
  session.wav->write(session.decoder->samples());
  return isDecoded;
}

void VoiceSessionRecorder::close(bool hasEnd) {
  if (!session_) return;
  Session session = std::move(*session_);
  session_.reset();
  if (session.opus) session.opus->finish();
  if (session.wav) session.wav->finish();
  session.record.hasEnd = hasEnd;
  totals_.add(session.record);
  if (onSessionClosed) onSessionClosed(session.record);
}

}  // namespace tessline::cli
