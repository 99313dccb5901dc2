#include "tessline/platform/macos/MacPermissions.h"

#include <ApplicationServices/ApplicationServices.h>
#include <CoreBluetooth/CoreBluetooth.h>
#include <IOKit/hidsystem/IOHIDLib.h>

namespace tessline::platform {

namespace {

// An answer that a later system may give, and that is none of those below, allows nothing.

PermissionState inputMonitoring() {
  switch (IOHIDCheckAccess(kIOHIDRequestTypeListenEvent)) {
    case kIOHIDAccessTypeGranted:
      return PermissionState::granted;
    case kIOHIDAccessTypeUnknown:
      return PermissionState::undetermined;
    case kIOHIDAccessTypeDenied:
      break;
  }
  return PermissionState::denied;
}

// Whether the user has been asked, the system does not tell.
PermissionState accessibility() {
  return AXIsProcessTrusted() ? PermissionState::granted : PermissionState::denied;
}

PermissionState bluetooth() {
  switch (CBManager.authorization) {
    case CBManagerAuthorizationAllowedAlways:
      return PermissionState::granted;
    case CBManagerAuthorizationNotDetermined:
      return PermissionState::undetermined;
    case CBManagerAuthorizationRestricted:
    case CBManagerAuthorizationDenied:
      break;
  }
  return PermissionState::denied;
}

class MacPermissions : public Permissions {
 public:
  PermissionState state(Permission permission) override {
    switch (permission) {
      case Permission::inputMonitoring:
        return inputMonitoring();
      case Permission::accessibility:
        return accessibility();
      case Permission::bluetooth:
        return bluetooth();
    }
    return PermissionState::notNeeded;
  }
};

}  // namespace

std::shared_ptr<Permissions> makeMacPermissions() {
  return std::make_shared<MacPermissions>();
}

}  // namespace tessline::platform
