/// @file
/// Whether a button went down or up.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace tessline {

/// The two halves of a press. Hashable through `std::hash`, as every enumeration is.
enum class RemoteButtonPhase : std::uint8_t { pressed, released };

/// The text of a phase: "pressed" or "released".
constexpr std::string_view rawValue(RemoteButtonPhase phase) {
  switch (phase) {
    case RemoteButtonPhase::pressed:
      return "pressed";
    case RemoteButtonPhase::released:
      return "released";
  }
  return {};
}

/// The phase whose text is exactly `rawValue`, case included; none for any other text.
constexpr std::optional<RemoteButtonPhase> remoteButtonPhase(std::string_view rawValue) {
  if (rawValue == "pressed") return RemoteButtonPhase::pressed;
  if (rawValue == "released") return RemoteButtonPhase::released;
  return std::nullopt;
}

}  // namespace tessline
