#include "tessline/platform/simulated/SimulatedHIDDevice.h"

#include <algorithm>
#include <utility>

namespace tessline::platform::simulated {

SimulatedHIDDevice::SimulatedHIDDevice(std::int64_t number, Properties properties,
                                       std::shared_ptr<CallLog> calls)
    : number_(number), properties_(std::move(properties)), calls_(std::move(calls)) {}

HIDProperty SimulatedHIDDevice::property(std::string_view key) const {
  calls_->add("IOHIDDeviceGetProperty", {{"device", number_}, {"key", std::string(key)}});
  return scriptedProperty(key);
}

HIDProperty SimulatedHIDDevice::scriptedProperty(std::string_view key) const {
  const auto found = properties_.find(key);
  return found == properties_.end() ? HIDProperty() : found->second;
}

void SimulatedHIDDevice::registerInputReportCallback(std::span<std::uint8_t> buffer,
                                                     InputReportCallback callback) {
  calls_->add("IOHIDDeviceRegisterInputReportCallback",
              {{"device", number_}, {"capacity", static_cast<std::int64_t>(buffer.size())}});
  buffer_ = buffer;
  callback_ = std::make_shared<const InputReportCallback>(std::move(callback));
}

void SimulatedHIDDevice::unregisterInputReportCallback() {
  calls_->add("IOHIDDeviceRegisterInputReportCallback", {{"device", number_}, {"capacity", 0}});
  buffer_ = {};
  callback_ = nullptr;
}

void SimulatedHIDDevice::deliver(std::uint32_t reportID, std::span<const std::uint8_t> report) {
  if (!callback_) return;
  const std::size_t size = std::min(buffer_.size(), report.size());
  std::copy_n(report.begin(), size, buffer_.begin());
  // Held: the callee may unregister, which must not pull the function away from under it.
  const auto callback = callback_;
  (*callback)(reportID, buffer_.first(size));
}

}  // namespace tessline::platform::simulated
