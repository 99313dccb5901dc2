/// @file
/// How far a long press has come.
#pragma once

#include <cstdint>
#include <string_view>

namespace tessline {

/// What an application draws while a press on a title bar grows into a drag lock.
enum class DragLockChargePhase : std::uint8_t {
  began,      ///< The button went down on a title bar.
  completed,  ///< The drag lock is on.
  cancelled,  ///< The button went up before.
};

/// The phase's place in the enumeration, 0 to 2.
constexpr std::uint8_t ordinal(DragLockChargePhase phase) {
  return static_cast<std::uint8_t>(phase);
}

/// The name of a phase as it is written in this header, for example "began".
constexpr std::string_view name(DragLockChargePhase phase) {
  switch (phase) {
    case DragLockChargePhase::began:
      return "began";
    case DragLockChargePhase::completed:
      return "completed";
    case DragLockChargePhase::cancelled:
      return "cancelled";
  }
  return {};
}

}  // namespace tessline
