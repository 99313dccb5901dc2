/// @file
/// Porting contract: the host's view of its HID interfaces.
#pragma once

#include "tessline/platform/HIDDevice.h"
#include "tessline/platform/MainRunLoop.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <vector>

namespace tessline::platform {

/// Which interfaces a manager is to report: those of which both numbers agree.
struct HIDMatching {
  std::int64_t vendorID = 0;   ///< The property "VendorID".
  std::int64_t productID = 0;  ///< The property "ProductID".

  bool operator==(const HIDMatching&) const = default;
};

/// The host's result code; 0 is success. Codes are shown to people by their 32 bits.
using HIDResult = std::int32_t;

/// Called with an interface that matched or is being removed.
using HIDDeviceCallback = std::function<void(const std::shared_ptr<HIDDevice>& device)>;

/// Watches HID interfaces. The operations are those of IOKit's HID manager, and a backend performs
/// each when it is called, in the order of the calls.
///
/// Main thread alone. Nothing is called back unless the manager is scheduled, and everything from
/// inside the run loop. A manager may be destroyed in any state; if it is open or scheduled it then
/// closes and unschedules itself, and calls nothing back any more.
class HIDManager {
 public:
  virtual ~HIDManager() = default;

  /// Reports interfaces that agree with any of `matching`, and no others.
  virtual void setDeviceMatchingMultiple(std::span<const HIDMatching> matching) = 0;

  /// Calls `callback` for each matching interface: those that exist already once the manager is
  /// scheduled, later ones as they appear. Replaces an earlier callback.
  virtual void registerDeviceMatchingCallback(HIDDeviceCallback callback) = 0;

  /// Calls `callback` for each matching interface that goes. Replaces an earlier callback.
  virtual void registerDeviceRemovalCallback(HIDDeviceCallback callback) = 0;

  /// Lets callbacks come, from inside `loop` (on macOS in its common modes). `loop` must outlive
  /// the schedule. Not called twice without unscheduling.
  virtual void scheduleWithRunLoop(MainRunLoop& loop) = 0;
  /// Ends that; nothing is called back afterwards.
  virtual void unscheduleFromRunLoop(MainRunLoop& loop) = 0;

  /// Opens the matching interfaces, so that their reports come. After a failure the manager is only
  /// unscheduled and destroyed.
  virtual HIDResult open() = 0;
  /// Ends what `open` began.
  virtual HIDResult close() = 0;

  /// The interfaces that match now, in no particular order; none if the host cannot tell.
  virtual std::optional<std::vector<std::shared_ptr<HIDDevice>>> copyDevices() = 0;
};

}  // namespace tessline::platform
