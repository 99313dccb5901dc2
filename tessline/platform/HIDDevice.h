/// @file
/// Porting contract: one HID interface.
#pragma once

#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <variant>

namespace tessline::platform {

/// A property that is neither text, number nor truth value, such as data or a list.
struct OtherHIDProperty {
  bool operator==(const OtherHIDProperty&) const = default;
};

/// The value of a property as the host holds it; `std::monostate` for one that the device lacks.
/// Unsigned numbers that do not fit `std::int64_t` are given by their 64 bits.
using HIDProperty =
    std::variant<std::monostate, std::string, std::int64_t, double, bool, OtherHIDProperty>;

/// Called for each input report, with its report ID (0 for a device without IDs) and its bytes,
/// which stand in the registered buffer and are valid during the call only. Reports longer than the
/// buffer are cut.
using InputReportCallback =
    std::function<void(std::uint32_t reportID, std::span<const std::uint8_t> report)>;

/// An interface that the host's HID system reports. The object's address is its identity: the host
/// gives the same object for the same interface while anyone holds it.
///
/// Main thread alone, on which also its callbacks run.
class HIDDevice {
 public:
  virtual ~HIDDevice() = default;

  /// The property of that name. Stays readable while the removal of the device is reported.
  virtual HIDProperty property(std::string_view key) const = 0;

  /// Delivers input reports through `buffer` to `callback` from now on, instead of to any earlier
  /// registration. The buffer must stay until the registration is replaced or unregistered.
  virtual void registerInputReportCallback(std::span<std::uint8_t> buffer,
                                           InputReportCallback callback) = 0;

  /// Ends the delivery. Afterwards the device touches the buffer no more, whatever still arrives.
  virtual void unregisterInputReportCallback() = 0;
};

}  // namespace tessline::platform
