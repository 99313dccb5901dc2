/// @file
/// The script of the simulation: what the remote does, and when.
#pragma once

#include "cli/simulate/CaptureTimeline.h"
#include "cli/simulate/Random.h"
#include "cli/simulate/SimulatedLine.h"
#include "cli/simulate/SimulatedRemote.h"
#include "cli/simulate/VoicePackets.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <limits>
#include <string>
#include <string_view>
#include <vector>

namespace tessline::cli {

/// The address of the simulated remote unless another is asked for.
inline constexpr std::string_view defaultRemoteAddress = "D6:1E:52:A0:37:4B";

/// A session's beginning and end.
struct VoiceSessionKind {
  VoiceOpening opening;
  VoiceClosing closing;
};

/// The ways in which sessions are bracketed.
inline constexpr std::array voiceSessionKinds = {
    VoiceSessionKind{VoiceOpening::mask, VoiceClosing::mask},
    VoiceSessionKind{VoiceOpening::startMarker, VoiceClosing::endMarker},
    VoiceSessionKind{VoiceOpening::buttonDown, VoiceClosing::buttonUp},
    VoiceSessionKind{VoiceOpening::firstFrame, VoiceClosing::endMarker},
    VoiceSessionKind{VoiceOpening::startMarker, VoiceClosing::buttonUp},
    VoiceSessionKind{VoiceOpening::buttonDown, VoiceClosing::endMarker},
    VoiceSessionKind{VoiceOpening::firstFrame, VoiceClosing::buttonUp},
    VoiceSessionKind{VoiceOpening::mask, VoiceClosing::endMarker}};

/// When a scenario ends: as soon as either is reached and the press or session under way is over.
struct ScenarioLimit {
  SimulatedTime duration = SimulatedTime::max();
  std::uint64_t bytes = std::numeric_limits<std::uint64_t>::max();
};

/// What can be chosen of a scenario.
struct ScenarioOptions {
  std::uint64_t seed = 1;
  std::string remoteAddress{defaultRemoteAddress};  ///< 17 characters.
  /// Whether every session carries all voice packets and none is lost. Otherwise sessions may stop
  /// earlier, and now and then a piece of a frame is missing.
  bool sessionsAreWhole = false;
};

/// Plays a remote in use. First every button goes down and up in every layout and sessions of every
/// kind are held, in a fixed order that takes less than 25 seconds unless the sessions are whole;
/// then all of that comes by chance. While the voice button is down the remote sends its voice, so
/// that no session is empty. The same options and packets give the same lines.
class RemoteScenario {
 public:
  /// `voice` is not empty; it and `sink` outlive the scenario.
  RemoteScenario(const ScenarioOptions& options, const VoicePackets& voice,
                 SimulatedLineSink& sink);

  /// Plays until the limit. Called once.
  void play(const ScenarioLimit& limit);

 private:
  using Scene = std::function<void()>;

  std::vector<Scene> walk();
  void addButtons(ButtonLayout layout, std::vector<Scene>& scenes);
  void addSession(const VoiceSessionKind& kind, std::size_t number, ButtonLayout maskLayout,
                  std::vector<Scene>& scenes);
  void playAnyScene();
  void playPress(RemoteCommand command, ButtonLayout layout, SimulatedTime pause,
                 SimulatedTime hold);
  void playChord(ButtonLayout layout);
  void playExchange(ButtonLayout layout);
  void playSession(const VoiceSessionKind& kind, const VoiceFrameLayout& layout,
                   ButtonLayout maskLayout, std::size_t frameCount);
  void playFrames(const VoiceFrameLayout& layout, std::size_t frameCount);

  bool isReached(const ScenarioLimit& limit) const;
  std::size_t sessionLength(std::uint32_t least, std::uint32_t most);
  SimulatedTime anyTime(std::uint32_t leastMilliseconds, std::uint32_t mostMilliseconds);
  RemoteCommand anyCommandButVoice();
  ButtonLayout anyLayoutFor(RemoteCommand command);

  ScenarioOptions options_;
  const VoicePackets& voice_;
  Random random_;
  CaptureTimeline timeline_;
  SimulatedRemote remote_;
};

}  // namespace tessline::cli
