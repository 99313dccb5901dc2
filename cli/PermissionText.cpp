#include "cli/PermissionText.h"

#include <fmt/format.h>

namespace tessline::cli {

using platform::Permission;
using platform::PermissionState;

std::string_view nameOf(Permission permission) {
  switch (permission) {
    case Permission::inputMonitoring:
      return "Input Monitoring";
    case Permission::accessibility:
      return "Accessibility";
    case Permission::bluetooth:
      return "Bluetooth";
  }
  return {};
}

std::string remedyFor(Permission permission) {
  // The system asks, and remembers, whose window it is.
  return fmt::format(
      "allow this program, or the terminal that runs it, in System Settings > Privacy & Security > "
      "{}",
      nameOf(permission));
}

std::string hintFor(Permission permission, PermissionState state) {
  switch (state) {
    case PermissionState::denied:
      return fmt::format("{} is denied: {}", nameOf(permission), remedyFor(permission));
    case PermissionState::undetermined:
      return fmt::format(
          "{} is not decided yet: answer the system's question, or {}; then try again",
          nameOf(permission), remedyFor(permission));
    case PermissionState::granted:
    case PermissionState::notNeeded:
      return {};
  }
  return {};
}

}  // namespace tessline::cli
