#include "tessline/platform/macos/IOKitHIDManager.h"

#include "tessline/platform/macos/CFConversion.h"
#include "tessline/platform/macos/CFReference.h"

#include <array>
#include <cstddef>
#include <map>
#include <string_view>
#include <utility>

#include <CoreFoundation/CoreFoundation.h>
#include <IOKit/IOReturn.h>
#include <IOKit/hid/IOHIDKeys.h>
#include <IOKit/hid/IOHIDManager.h>

namespace tessline::platform {

namespace {

HIDProperty propertyOf(CFTypeRef value) {
  if (value == nullptr) return std::monostate();
  const CFTypeID type = CFGetTypeID(value);
  if (type == CFStringGetTypeID()) return textOf(static_cast<CFStringRef>(value));
  if (type == CFBooleanGetTypeID()) return CFBooleanGetValue(static_cast<CFBooleanRef>(value)) != 0;
  if (type != CFNumberGetTypeID()) return OtherHIDProperty();
  return std::visit([](auto number) -> HIDProperty { return number; },
                    numberOf(static_cast<CFNumberRef>(value)));
}

class IOKitHIDDevice : public HIDDevice {
 public:
  explicit IOKitHIDDevice(IOHIDDeviceRef device)
      : device_(CFReference<IOHIDDeviceRef>::retained(device)) {}
  IOKitHIDDevice(const IOKitHIDDevice&) = delete;
  IOKitHIDDevice& operator=(const IOKitHIDDevice&) = delete;
  ~IOKitHIDDevice() override { unregister(); }

  HIDProperty property(std::string_view key) const override {
    const auto name = makeCFString(key);
    if (!name) return std::monostate();
    return propertyOf(IOHIDDeviceGetProperty(device_.get(), name.get()));
  }

  void registerInputReportCallback(std::span<std::uint8_t> buffer,
                                   InputReportCallback callback) override {
    callback_ = std::make_shared<const InputReportCallback>(std::move(callback));
    if (buffer.empty()) buffer = std::span(sink).first(0);
    registerBuffer(buffer, &received);
  }

  void unregisterInputReportCallback() override { unregister(); }

 private:
  // What the system writes to where nobody wants it.
  static inline std::array<std::uint8_t, 1> sink = {};

  // What came is passed on, whatever the result says of it.
  static void received(void* context, IOReturn, void*, IOHIDReportType, std::uint32_t reportID,
                       std::uint8_t* report, CFIndex size) {
    // Held: the callee may unregister, or let go of the device.
    const auto callback = static_cast<IOKitHIDDevice*>(context)->callback_;
    if (callback && *callback) (*callback)(reportID, {report, static_cast<std::size_t>(size)});
  }

  void registerBuffer(std::span<std::uint8_t> buffer, IOHIDReportCallback callback) {
    IOHIDDeviceRegisterInputReportCallback(device_.get(), buffer.data(),
                                           static_cast<CFIndex>(buffer.size()), callback, this);
  }

  void unregister() {
    if (!callback_) return;
    callback_.reset();
    // Unregistering leaves the device its buffer; only another registration takes it away.
    registerBuffer(sink, &received);
    registerBuffer(sink, nullptr);
  }

  const CFReference<IOHIDDeviceRef> device_;
  std::shared_ptr<const InputReportCallback> callback_;
};

class IOKitHIDManager : public HIDManager, public std::enable_shared_from_this<IOKitHIDManager> {
 public:
  explicit IOKitHIDManager(CFReference<IOHIDManagerRef> manager) : manager_(std::move(manager)) {}
  IOKitHIDManager(const IOKitHIDManager&) = delete;
  IOKitHIDManager& operator=(const IOKitHIDManager&) = delete;

  ~IOKitHIDManager() override {
    if (isScheduled_) unschedule();
    if (isOpen_) closeManager();
    // The system may hold the manager for longer, and be about to call.
    IOHIDManagerRegisterDeviceMatchingCallback(manager_.get(), nullptr, nullptr);
    IOHIDManagerRegisterDeviceRemovalCallback(manager_.get(), nullptr, nullptr);
  }

  void setDeviceMatchingMultiple(std::span<const HIDMatching> matching) override {
    std::vector<CFReference<CFDictionaryRef>> dictionaries;
    std::vector<const void*> values;
    for (const HIDMatching& each : matching) {
      dictionaries.push_back(dictionaryOf(each));
      values.push_back(dictionaries.back().get());
    }
    const auto multiple = CFReference<CFArrayRef>::created(
        CFArrayCreate(kCFAllocatorDefault, values.data(), static_cast<CFIndex>(values.size()),
                      &kCFTypeArrayCallBacks));
    IOHIDManagerSetDeviceMatchingMultiple(manager_.get(), multiple.get());
  }

  void registerDeviceMatchingCallback(HIDDeviceCallback callback) override {
    onMatched_ = std::move(callback);
    IOHIDManagerRegisterDeviceMatchingCallback(manager_.get(), &matched, this);
  }

  void registerDeviceRemovalCallback(HIDDeviceCallback callback) override {
    onRemoved_ = std::move(callback);
    IOHIDManagerRegisterDeviceRemovalCallback(manager_.get(), &removed, this);
  }

  void scheduleWithRunLoop(MainRunLoop&) override {
    IOHIDManagerScheduleWithRunLoop(manager_.get(), CFRunLoopGetMain(), kCFRunLoopCommonModes);
    isScheduled_ = true;
  }

  void unscheduleFromRunLoop(MainRunLoop&) override { unschedule(); }

  HIDResult open() override {
    const IOReturn result = IOHIDManagerOpen(manager_.get(), kIOHIDOptionsTypeNone);
    isOpen_ = result == kIOReturnSuccess;
    return result;
  }

  HIDResult close() override { return closeManager(); }

  std::optional<std::vector<std::shared_ptr<HIDDevice>>> copyDevices() override {
    const auto set = CFReference<CFSetRef>::created(IOHIDManagerCopyDevices(manager_.get()));
    if (!set) return std::nullopt;
    std::vector<const void*> values(static_cast<std::size_t>(CFSetGetCount(set.get())));
    CFSetGetValues(set.get(), values.data());
    std::vector<std::shared_ptr<HIDDevice>> devices;
    devices.reserve(values.size());
    for (const void* value : values) {
      devices.push_back(deviceOf(static_cast<IOHIDDeviceRef>(const_cast<void*>(value))));
    }
    return devices;
  }

 private:
  static CFReference<CFDictionaryRef> dictionaryOf(const HIDMatching& matching) {
    const auto vendor = makeCFNumber(matching.vendorID);
    const auto product = makeCFNumber(matching.productID);
    std::array<const void*, 2> keys = {CFSTR(kIOHIDVendorIDKey), CFSTR(kIOHIDProductIDKey)};
    std::array<const void*, 2> values = {vendor.get(), product.get()};
    return CFReference<CFDictionaryRef>::created(CFDictionaryCreate(
        kCFAllocatorDefault, keys.data(), values.data(), static_cast<CFIndex>(keys.size()),
        &kCFTypeDictionaryKeyCallBacks, &kCFTypeDictionaryValueCallBacks));
  }

  static void matched(void* context, IOReturn, void*, IOHIDDeviceRef device) {
    auto& self = *static_cast<IOKitHIDManager*>(context);
    self.tell(&IOKitHIDManager::onMatched_, self.deviceOf(device));
  }

  static void removed(void* context, IOReturn, void*, IOHIDDeviceRef device) {
    auto& self = *static_cast<IOKitHIDManager*>(context);
    const std::weak_ptr weak = self.weak_from_this();
    self.tell(&IOKitHIDManager::onRemoved_, self.deviceOf(device));
    if (const auto alive = weak.lock()) alive->devices_.erase(device);
  }

  void tell(HIDDeviceCallback IOKitHIDManager::*member, const std::shared_ptr<HIDDevice>& device) {
    // The system may be telling of several, and has been asked to stop meanwhile.
    if (!isScheduled_) return;
    // A copy: it may replace itself, or end the manager.
    const HIDDeviceCallback callback = this->*member;
    if (callback) callback(device);
  }

  std::shared_ptr<HIDDevice> deviceOf(IOHIDDeviceRef device) {
    auto& known = devices_[device];
    if (!known) known = std::make_shared<IOKitHIDDevice>(device);
    return known;
  }

  void unschedule() {
    isScheduled_ = false;
    IOHIDManagerUnscheduleFromRunLoop(manager_.get(), CFRunLoopGetMain(), kCFRunLoopCommonModes);
  }

  IOReturn closeManager() {
    isOpen_ = false;
    return IOHIDManagerClose(manager_.get(), kIOHIDOptionsTypeNone);
  }

  const CFReference<IOHIDManagerRef> manager_;
  HIDDeviceCallback onMatched_;
  HIDDeviceCallback onRemoved_;
  bool isScheduled_ = false;
  bool isOpen_ = false;
  // By the system's objects, which they hold: no other device can come to have the same address.
  std::map<IOHIDDeviceRef, std::shared_ptr<HIDDevice>> devices_;
};

}  // namespace

std::shared_ptr<HIDManager> makeIOKitHIDManager() {
  auto manager = CFReference<IOHIDManagerRef>::created(
      IOHIDManagerCreate(kCFAllocatorDefault, kIOHIDOptionsTypeNone));
  if (!manager) return nullptr;
  return std::make_shared<IOKitHIDManager>(std::move(manager));
}

}  // namespace tessline::platform
