/// @file
/// A HID interface made up by a test or a recording.
#pragma once

#include "tessline/platform/HIDDevice.h"
#include "tessline/platform/simulated/CallLog.h"

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <span>
#include <string>
#include <string_view>

namespace tessline::platform::simulated {

/// Has exactly the properties it is given, whatever their types. Its number tells it apart in the
/// recorded calls.
class SimulatedHIDDevice : public HIDDevice {
 public:
  /// Properties by name; what is not there is missing.
  using Properties = std::map<std::string, HIDProperty, std::less<>>;

  /// Made by `SimulatedHIDBus::connect`.
  SimulatedHIDDevice(std::int64_t number, Properties properties, std::shared_ptr<CallLog> calls);

  HIDProperty property(std::string_view key) const override;
  void registerInputReportCallback(std::span<std::uint8_t> buffer,
                                   InputReportCallback callback) override;
  void unregisterInputReportCallback() override;

  /// Counts from 1, in the order of appearance.
  std::int64_t number() const { return number_; }
  /// The property of that name, without a recorded call.
  HIDProperty scriptedProperty(std::string_view key) const;
  /// Changes the properties, as a device does that is configured anew.
  void setProperties(Properties properties) { properties_ = std::move(properties); }
  /// The size of the buffer that reports are delivered through; 0 without a registration.
  std::size_t bufferSize() const { return buffer_.size(); }

  /// Copies as much of `report` into the registered buffer as fits and calls back; nothing without
  /// a registration.
  void deliver(std::uint32_t reportID, std::span<const std::uint8_t> report);

 private:
  const std::int64_t number_;
  Properties properties_;
  std::shared_ptr<CallLog> calls_;
  std::span<std::uint8_t> buffer_;
  std::shared_ptr<const InputReportCallback> callback_;
};

}  // namespace tessline::platform::simulated
