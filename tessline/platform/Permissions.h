/// @file
/// Porting contract: what the user has allowed this process.
#pragma once

#include <cstdint>

namespace tessline::platform {

/// What a host may ask its user for before it lets a process do it.
enum class Permission : std::uint8_t {
  inputMonitoring,  ///< To receive what input devices send, whichever application has the focus.
  accessibility,    ///< To see and move other applications' windows, and to post events.
  bluetooth,        ///< To talk to Bluetooth devices.
};

/// How it stands with a permission.
enum class PermissionState : std::uint8_t {
  granted,
  denied,        ///< By the user or by whoever administers the host.
  undetermined,  ///< The user has not been asked yet.
  notNeeded,     ///< The host asks nobody, or does not offer the facility.
};

/// The permissions of this process. Any thread.
class Permissions {
 public:
  virtual ~Permissions() = default;

  /// How it stands now. Never asks the user.
  virtual PermissionState state(Permission permission) = 0;
};

}  // namespace tessline::platform
