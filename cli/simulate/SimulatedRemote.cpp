#include "cli/simulate/SimulatedRemote.h"

#include "tessline/events/SiriRemoteReportParser.h"

#include <algorithm>
#include <cstddef>

namespace tessline::cli {

namespace {

unsigned maskBit(RemoteCommand command) {
  const auto& mappings = SiriRemoteReportParser::buttonMappings;
  const auto found = std::find_if(mappings.begin(), mappings.end(), [command](const auto& mapping) {
    return mapping.command == command;
  });
  return found->mask;
}

// Layouts that are no packet of the connection.
RecordKind recordKind(ButtonLayout layout) {
  switch (layout) {
    case ButtonLayout::value:
    case ButtonLayout::report:
    case ButtonLayout::reportWithId:
      return RecordKind::report;
    case ButtonLayout::notification:
    case ButtonLayout::notificationWithId:
    case ButtonLayout::commandHandle:
      return RecordKind::acl;
  }
  return RecordKind::acl;
}

}  // namespace

SimulatedRemote::SimulatedRemote(std::uint64_t seed, CaptureTimeline& timeline)
    : random_(seed), timeline_(timeline) {}

void SimulatedRemote::press(RemoteCommand command, ButtonLayout layout) {
  if (layout != ButtonLayout::commandHandle) {
    sendMask(mask_ | maskBit(command), layout);
    return;
  }
  intendButton(command, RemoteButtonPhase::pressed);
  send(commandPressNotification(command));
}

void SimulatedRemote::release(RemoteCommand command, ButtonLayout layout) {
  if (layout != ButtonLayout::commandHandle) {
    sendMask(mask_ & ~maskBit(command), layout);
    return;
  }
  intendButton(command, RemoteButtonPhase::released);
  send(commandReleaseNotification);
}

void SimulatedRemote::exchange(RemoteCommand released, RemoteCommand pressed, ButtonLayout layout) {
  sendMask((mask_ & ~maskBit(released)) | maskBit(pressed), layout);
}

void SimulatedRemote::openVoice(VoiceOpening opening, ButtonLayout maskLayout) {
  sequence_ = 0;
  switch (opening) {
    case VoiceOpening::startMarker:
      beginCollecting();
      intended_.push_back(VoiceSessionStarted{});
      send(voiceStartNotification);
      break;
    case VoiceOpening::buttonDown:
      if (!voiceIsOpen_) {
        beginCollecting();
        intended_.push_back(VoiceSessionStarted{});
        intendButton(RemoteCommand::voice, RemoteButtonPhase::pressed);
      }
      send(voiceButtonDownNotification);
      break;
    case VoiceOpening::firstFrame:
      break;
    case VoiceOpening::mask:
      press(RemoteCommand::voice, maskLayout);
      break;
  }
}

void SimulatedRemote::sendFrame(std::span<const std::uint8_t> opusPacket,
                                const VoiceFrameLayout& layout, FrameFate fate) {
  constexpr SimulatedTime betweenFragments(1250);
  fragments_.split(opusPacket, layout, sequence_++);
  if (!voiceIsOpen_) intended_.push_back(VoiceSessionStarted{});
  voiceIsOpen_ = true;
  intendUndeliveredFrame();
  timeline_.receive(RecordKind::acl, fragments_[0], intended_);
  intended_.clear();

  const auto continuations = static_cast<std::uint32_t>(fragments_.size() - 1);
  const bool isLossy = fate == FrameFate::fragmentLost && continuations > 0;
  const std::size_t lost = isLossy ? random_.between(1, continuations) : 0;
  for (std::size_t index = 1; index < fragments_.size(); ++index) {
    timeline_.advanceBy(betweenFragments);
    if (index != lost) timeline_.receive(RecordKind::acl, fragments_[index], {});
  }
  if (!isLossy) undeliveredFrame_ = opusPacket;
}

void SimulatedRemote::closeVoice(VoiceClosing closing, ButtonLayout maskLayout) {
  switch (closing) {
    case VoiceClosing::endMarker:
      endCollecting();
      intended_.push_back(VoiceSessionEnded{});
      send(voiceEndNotification);
      break;
    case VoiceClosing::buttonUp:
      if (voiceIsOpen_) {
        endCollecting();
        intended_.push_back(VoiceSessionEnded{});
        intendButton(RemoteCommand::voice, RemoteButtonPhase::released);
      }
      send(voiceButtonUpNotification);
      break;
    case VoiceClosing::mask:
      release(RemoteCommand::voice, maskLayout);
      break;
  }
}

void SimulatedRemote::sendMask(unsigned mask, ButtonLayout layout) {
  for (const auto& [bit, command] : SiriRemoteReportParser::buttonMappings) {
    const bool isDown = (mask & bit) != 0;
    const bool wasDown = (mask_ & bit) != 0;
    if (isDown == wasDown) continue;
    if (command == RemoteCommand::voice) {
      if (isDown) {
        beginCollecting();
      } else {
        endCollecting();
      }
    }
    intendButton(command, isDown ? RemoteButtonPhase::pressed : RemoteButtonPhase::released);
  }
  mask_ = static_cast<std::uint16_t>(mask);
  timeline_.receive(recordKind(layout), maskPayload(layout, mask_, anyFraming(), random_.below(4)),
                    intended_);
  intended_.clear();
}

void SimulatedRemote::send(const ShortNotification& notification) {
  timeline_.receive(RecordKind::acl, notificationPayload(anyFraming(), notification), intended_);
  intended_.clear();
}

void SimulatedRemote::intendButton(RemoteCommand command, RemoteButtonPhase phase) {
  intended_.push_back(RemoteButtonEvent{command, phase});
}

void SimulatedRemote::beginCollecting() {
  voiceIsOpen_ = true;
  undeliveredFrame_ = {};
}

void SimulatedRemote::endCollecting() {
  voiceIsOpen_ = false;
  intendUndeliveredFrame();
}

void SimulatedRemote::intendUndeliveredFrame() {
  if (undeliveredFrame_.empty()) return;
  intended_.push_back(IntendedVoiceFrame{undeliveredFrame_});
  undeliveredFrame_ = {};
}

PacketFraming SimulatedRemote::anyFraming() {
  return random_.oneIn(4) ? PacketFraming::leadingByte : PacketFraming::handle;
}

}  // namespace tessline::cli
