#include "HIDObjects.h"
#include "Permissions.h"

#include <algorithm>
#include <array>
#include <utility>

namespace standin {

const CFValue* HIDInterface::property(const std::string& key) const {
  for (const auto* all : {&properties, &ofParents}) {
    const auto found = all->find(key);
    if (found != all->end()) return &found->second;
  }
  return nullptr;
}

namespace hid {

namespace {

// Which sort of device it is, by its usage page and usage.
using Kind = std::pair<std::int64_t, std::int64_t>;

// What people type and point with, which only those may open that may listen to it.
constexpr std::array<Kind, 3> privateKinds = {{
    {0x01, 0x06},  // Generic desktop: keyboard.
    {0x01, 0x02},  // Generic desktop: mouse.
    {0x0D, 0x05},  // Digitizer: touch pad.
}};

std::int64_t numberOf(const HIDInterface& hardware, const std::string& key) {
  const CFValue* const value = hardware.property(key);
  const auto* const number = value == nullptr ? nullptr : std::get_if<std::int64_t>(value);
  return number == nullptr ? 0 : *number;
}

bool isPrivate(const HIDInterface& hardware) {
  const Kind kind(numberOf(hardware, "PrimaryUsagePage"), numberOf(hardware, "PrimaryUsage"));
  return std::ranges::find(privateKinds, kind) != privateKinds.end();
}

Device& device(IOHIDDeviceRef reference, std::string_view function) {
  expectMainThread(function);
  return objectOf<Device>(reference, function);
}

}  // namespace

Device::~Device() {
  for (const auto& [key, value] : cache_) CFRelease(value);
}

CFTypeRef Device::property(const std::string& key) {
  const auto known = cache_.find(key);
  if (known != cache_.end()) return known->second;
  const CFValue* const value = isGone ? nullptr : hardware->property(key);
  return value == nullptr ? nullptr : cache_.emplace(key, makeCFObject(*value)).first->second;
}

void Device::refreshProperties() {
  const auto old = std::exchange(cache_, {});
  for (const auto& [key, value] : old) {
    property(key);
    CFRelease(value);
  }
}

IOReturn Device::open() {
  IOReturn result = hardware->openResult.value_or(system().openResult);
  if (isPrivate(*hardware) && !permissions::mayListen()) result = kIOReturnNotPermitted;
  isOpen_ = result == kIOReturnSuccess;
  return result;
}

void Device::deliver(IOReturn result, std::uint32_t reportID,
                     const std::vector<std::uint8_t>& report) {
  if (buffer == nullptr) return;
  const auto size = std::min(bufferSize, static_cast<CFIndex>(report.size()));
  std::copy_n(report.begin(), size, buffer);
  const auto called = callbacks;
  for (const auto& [context, callback] : called) {
    if (!callbacks.contains(context)) continue;
    callback(context, result, const_cast<void*>(reference()), kIOHIDReportTypeInput, reportID,
             buffer, size);
  }
}

}  // namespace hid

}  // namespace standin

using namespace standin;

extern "C" {

CFTypeID IOHIDDeviceGetTypeID() {
  return static_cast<CFTypeID>(CFType::hidDevice);
}

CFTypeRef IOHIDDeviceGetProperty(IOHIDDeviceRef reference, CFStringRef key) {
  const auto function = "IOHIDDeviceGetProperty";
  return hid::device(reference, function).property(utf8(key, function));
}

void IOHIDDeviceRegisterInputReportCallback(IOHIDDeviceRef reference, std::uint8_t* report,
                                            CFIndex reportLength, IOHIDReportCallback callback,
                                            void* context) {
  const auto function = "IOHIDDeviceRegisterInputReportCallback";
  hid::Device& called = hid::device(reference, function);
  if (report == nullptr || reportLength < 0) fail(function, "was given no buffer");
  hid::note(std::string(function) + " " + std::to_string(called.hardware->number) +
            (callback != nullptr ? " " + std::to_string(reportLength) : ""));
  if (callback == nullptr) {
    // The buffer stays that of the last registration.
    called.callbacks.erase(context);
    return;
  }
  called.buffer = report;
  called.bufferSize = reportLength;
  called.callbacks[context] = callback;
}
}
