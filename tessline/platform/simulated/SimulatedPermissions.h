/// @file
/// The permissions of a simulated host.
#pragma once

#include "tessline/platform/Permissions.h"
#include "tessline/platform/simulated/SimulatedDesktop.h"

#include <memory>
#include <utility>

namespace tessline::platform::simulated {

/// Permissions by script. Accessibility is what the desktop trusts the process with: granted or
/// denied.
class SimulatedPermissions : public Permissions {
 public:
  /// Asks that desktop whether the process is trusted.
  explicit SimulatedPermissions(std::shared_ptr<SimulatedDesktop> desktop)
      : desktop_(std::move(desktop)) {}

  PermissionState state(Permission permission) override {
    switch (permission) {
      case Permission::inputMonitoring:
        return inputMonitoring;
      case Permission::bluetooth:
        return bluetooth;
      case Permission::accessibility:
        break;
    }
    return desktop_->accessibility().isProcessTrusted() ? PermissionState::granted
                                                        : PermissionState::denied;
  }

  PermissionState inputMonitoring = PermissionState::granted;  ///< From now on.
  PermissionState bluetooth = PermissionState::granted;        ///< From now on.

 private:
  std::shared_ptr<SimulatedDesktop> desktop_;
};

}  // namespace tessline::platform::simulated
