/// @file
/// HID interfaces by way of IOKit.
#pragma once

#include "tessline/platform/HIDManager.h"

#include <memory>

namespace tessline::platform {

/// A HID manager of IOKit's, neither scheduled nor open; null if none can be made. It is scheduled
/// on the main run loop, the only one that there is, in its common modes. Main thread.
///
/// Each manager has devices of its own: the identity of a device is that of its manager's object.
std::shared_ptr<HIDManager> makeIOKitHIDManager();

}  // namespace tessline::platform
