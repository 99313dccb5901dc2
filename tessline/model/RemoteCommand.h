/// @file
/// The buttons of a Siri Remote.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

namespace tessline {

/// One button of the remote. The ordinals (0 to 12) are fixed: recordings and the application
/// refer to buttons by them.
enum class RemoteCommand : std::uint8_t {
  up,
  down,
  left,
  right,
  select,  ///< The clickpad pressed in its centre.
  back,
  home,
  playPause,
  volumeUp,
  volumeDown,
  voice,  ///< The microphone button; holding it brackets a voice session.
  mute,
  power,
};

/// The names of all commands, at the index of their ordinal.
inline constexpr std::array<std::string_view, 13> remoteCommandNames = {
    "up",        "down",     "left",       "right", "select", "back", "home",
    "playPause", "volumeUp", "volumeDown", "voice", "mute",   "power"};

/// How many commands there are.
inline constexpr std::size_t remoteCommandCount = remoteCommandNames.size();

/// The place of a command in the enumeration, 0 to 12.
constexpr std::uint8_t ordinal(RemoteCommand command) {
  return static_cast<std::uint8_t>(command);
}

/// The name of a command as it is written in this header, for example "playPause".
constexpr std::string_view name(RemoteCommand command) {
  return remoteCommandNames[ordinal(command)];
}

/// The command of that ordinal; none outside 0 to 12.
constexpr std::optional<RemoteCommand> remoteCommandWithOrdinal(std::size_t ordinal) {
  if (ordinal >= remoteCommandCount) return std::nullopt;
  return static_cast<RemoteCommand>(ordinal);
}

}  // namespace tessline
