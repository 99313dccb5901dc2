#include "cli/simulate/RemoteScenario.h"

#include <algorithm>
#include <optional>

namespace tessline::cli {

namespace {

using namespace std::chrono_literals;

constexpr SimulatedTime frameDuration = 20ms;

/// The layouts that carry any set of buttons.
constexpr auto maskLayouts = std::span(buttonLayouts).first(5);

/// A button that is held while the remote sends its voice.
struct HeldButton {
  RemoteCommand command;
  ButtonLayout layout;
  std::size_t releaseFrame;
};

}  // namespace

RemoteScenario::RemoteScenario(const ScenarioOptions& options, const VoicePackets& voice,
                               SimulatedLineSink& sink)
    : options_(options),
      voice_(voice),
      random_(options.seed),
      timeline_(random_.next(), options.remoteAddress, sink),
      remote_(random_.next(), timeline_) {}

void RemoteScenario::play(const ScenarioLimit& limit) {
  for (const Scene& scene : walk()) {
    if (isReached(limit)) return;
    scene();
  }
  while (!isReached(limit)) playAnyScene();
}

bool RemoteScenario::isReached(const ScenarioLimit& limit) const {
  return timeline_.now() >= limit.duration || timeline_.byteCount() >= limit.bytes;
}

std::vector<RemoteScenario::Scene> RemoteScenario::walk() {
  std::vector<Scene> scenes;
  for (std::size_t group = 0; group < buttonLayouts.size(); ++group) {
    addButtons(buttonLayouts[group], scenes);
    for (std::size_t number = group; number < voiceSessionKinds.size();
         number += buttonLayouts.size()) {
      addSession(voiceSessionKinds[number], number, maskLayouts[number % maskLayouts.size()],
                 scenes);
    }
  }
  return scenes;
}

void RemoteScenario::addButtons(ButtonLayout layout, std::vector<Scene>& scenes) {
  for (std::size_t button = 0; button < remoteCommandCount; ++button) {
    const RemoteCommand command = *remoteCommandWithOrdinal(button);
    if (!carries(layout, command)) continue;
    if (command == RemoteCommand::voice) {
      addSession({VoiceOpening::mask, VoiceClosing::mask}, scenes.size(), layout, scenes);
    } else {
      scenes.push_back([this, command, layout] { playPress(command, layout, 70ms, 50ms); });
    }
  }
}

void RemoteScenario::addSession(const VoiceSessionKind& kind, std::size_t number,
                                ButtonLayout maskLayout, std::vector<Scene>& scenes) {
  const VoiceFrameLayout layout = {voiceFramings[number % 2], voiceForms[number / 2 % 2],
                                   voicePacketCapacities[number % 3]};
  scenes.push_back([this, kind, layout, maskLayout] {
    playSession(kind, layout, maskLayout, sessionLength(25, 40));
  });
}

void RemoteScenario::playAnyScene() {
  const std::uint32_t chance = random_.below(10);
  if (chance < 2) {
    const VoiceFrameLayout frames = {random_.pick(voiceFramings), random_.pick(voiceForms),
                                     random_.pick(voicePacketCapacities)};
    constexpr std::uint32_t oneSecond = 50;
    playSession(random_.pick(voiceSessionKinds), frames, random_.pick(maskLayouts),
                sessionLength(oneSecond, static_cast<std::uint32_t>(voice_.size())));
  } else if (chance == 2) {
    playChord(random_.pick(maskLayouts));
  } else if (chance == 3) {
    playExchange(random_.pick(maskLayouts));
  } else {
    const RemoteCommand command = anyCommandButVoice();
    playPress(command, anyLayoutFor(command), anyTime(120, 600), anyTime(60, 250));
  }
}

void RemoteScenario::playPress(RemoteCommand command, ButtonLayout layout, SimulatedTime pause,
                               SimulatedTime hold) {
  timeline_.advanceBy(pause);
  remote_.press(command, layout);
  timeline_.advanceBy(hold);
  remote_.release(command, layout);
}

void RemoteScenario::playChord(ButtonLayout layout) {
  const RemoteCommand first = anyCommandButVoice();
  RemoteCommand second = anyCommandButVoice();
  while (second == first) second = anyCommandButVoice();
  timeline_.advanceBy(anyTime(120, 600));
  remote_.press(first, layout);
  timeline_.advanceBy(anyTime(15, 80));
  remote_.press(second, layout);
  timeline_.advanceBy(anyTime(60, 250));
  remote_.release(first, layout);
  timeline_.advanceBy(anyTime(15, 80));
  remote_.release(second, layout);
}

void RemoteScenario::playExchange(ButtonLayout layout) {
  const RemoteCommand first = anyCommandButVoice();
  RemoteCommand second = anyCommandButVoice();
  while (second == first) second = anyCommandButVoice();
  timeline_.advanceBy(anyTime(120, 600));
  remote_.press(first, layout);
  timeline_.advanceBy(anyTime(60, 250));
  remote_.exchange(first, second, layout);
  timeline_.advanceBy(anyTime(60, 250));
  remote_.release(second, layout);
}

void RemoteScenario::playSession(const VoiceSessionKind& kind, const VoiceFrameLayout& layout,
                                 ButtonLayout maskLayout, std::size_t frameCount) {
  timeline_.advanceBy(anyTime(100, 250));
  remote_.openVoice(kind.opening, maskLayout);
  timeline_.advanceBy(anyTime(20, 60));
  playFrames(layout, frameCount);
  remote_.closeVoice(kind.closing, maskLayout);

  // The voice button is let go in the way in which it was pressed, even if the session is over.
  if (kind.opening == VoiceOpening::buttonDown && kind.closing != VoiceClosing::buttonUp) {
    timeline_.advanceBy(anyTime(5, 30));
    remote_.closeVoice(VoiceClosing::buttonUp, maskLayout);
  }
  if (kind.opening == VoiceOpening::mask && kind.closing != VoiceClosing::mask) {
    timeline_.advanceBy(anyTime(5, 30));
    remote_.closeVoice(VoiceClosing::mask, maskLayout);
  }
}

void RemoteScenario::playFrames(const VoiceFrameLayout& layout, std::size_t frameCount) {
  constexpr std::uint32_t framesPerPress = 40;
  constexpr std::uint32_t framesPerLoss = 500;
  const SimulatedTime beginning = timeline_.now();
  std::optional<HeldButton> held;
  for (std::size_t frame = 0; frame < frameCount; ++frame) {
    timeline_.advanceTo(beginning + frame * frameDuration);
    if (held && held->releaseFrame == frame) {
      remote_.release(held->command, held->layout);
      held.reset();
    } else if (!held && random_.oneIn(framesPerPress)) {
      const RemoteCommand command = anyCommandButVoice();
      ButtonLayout buttonLayout = anyLayoutFor(command);
      while (!isDistinctWhileVoiceIsOpen(buttonLayout)) buttonLayout = anyLayoutFor(command);
      held = HeldButton{command, buttonLayout, frame + random_.between(3, 12)};
      remote_.press(command, buttonLayout);
    }
    const bool isLost = !options_.sessionsAreWhole && random_.oneIn(framesPerLoss);
    remote_.sendFrame(voice_[frame], layout, isLost ? FrameFate::fragmentLost : FrameFate::whole);
  }
  timeline_.advanceTo(beginning + frameCount * frameDuration);
  if (held) remote_.release(held->command, held->layout);
}

std::size_t RemoteScenario::sessionLength(std::uint32_t least, std::uint32_t most) {
  if (options_.sessionsAreWhole) return voice_.size();
  return std::min<std::size_t>(random_.between(least, std::max(least, most)), voice_.size());
}

SimulatedTime RemoteScenario::anyTime(std::uint32_t leastMilliseconds,
                                      std::uint32_t mostMilliseconds) {
  return std::chrono::milliseconds(random_.between(leastMilliseconds, mostMilliseconds));
}

RemoteCommand RemoteScenario::anyCommandButVoice() {
  for (;;) {
    const RemoteCommand command = *remoteCommandWithOrdinal(random_.below(remoteCommandCount));
    if (command != RemoteCommand::voice) return command;
  }
}

ButtonLayout RemoteScenario::anyLayoutFor(RemoteCommand command) {
  for (;;) {
    const ButtonLayout layout = random_.pick(buttonLayouts);
    if (carries(layout, command)) return layout;
  }
}

}  // namespace tessline::cli
