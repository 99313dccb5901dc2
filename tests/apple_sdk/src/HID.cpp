#include "CFObjects.h"

#include <algorithm>
#include <deque>
#include <variant>

#include <IOKit/hid/IOHIDManager.h>
#include <standin/hid.h>

namespace standin {

class HIDInterface {
 public:
  HIDInterface(int number, HIDProperties properties, HIDProperties ofParents)
      : number(number), properties(std::move(properties)), ofParents(std::move(ofParents)) {}

  const int number;
  HIDProperties properties;
  const HIDProperties ofParents;
};

namespace {

using Hardware = std::shared_ptr<HIDInterface>;

class Device : public CFObject {
 public:
  static constexpr CFType classType = CFType::hidDevice;

  explicit Device(Hardware hardware) : CFObject(classType), hardware(std::move(hardware)) {}
  ~Device() override {
    for (const auto& [key, value] : cache_) CFRelease(value);
  }

  IOHIDDeviceRef ref() const { return static_cast<IOHIDDeviceRef>(const_cast<void*>(reference())); }

  // What was read once stays as it was, and readable.
  CFTypeRef property(const std::string& key) {
    const auto known = cache_.find(key);
    if (known != cache_.end()) return known->second;
    if (isGone) return nullptr;
    for (const auto* properties : {&std::as_const(hardware->properties), &hardware->ofParents}) {
      const auto found = properties->find(key);
      if (found == properties->end()) continue;
      return cache_.emplace(key, makeCFObject(found->second)).first->second;
    }
    return nullptr;
  }
  // Reads again what was read.
  void refreshProperties() {
    const auto old = std::exchange(cache_, {});
    for (const auto& [key, value] : old) {
      property(key);
      CFRelease(value);
    }
  }

  // The buffer is written to even when nobody is called: it is only ever replaced.
  void deliver(IOReturn result, std::uint32_t reportID, const std::vector<std::uint8_t>& report) {
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

  const Hardware hardware;
  bool isOpen = false;
  // Of the manager that found it.
  IOReturn openResult = kIOReturnSuccess;
  bool isGone = false;
  std::uint8_t* buffer = nullptr;
  CFIndex bufferSize = 0;
  std::map<void*, IOHIDReportCallback> callbacks;

 private:
  std::map<std::string, CFTypeRef> cache_;
};

// By way of the functions that check whether it lives: others may have released it too often.
void keep(const Device* device) {
  CFRetain(static_cast<const CFObject*>(device));
}
void letGo(const Device* device) {
  CFRelease(static_cast<const CFObject*>(device));
}

// What a manager has yet to tell.
struct PresentDevices {};
struct Arrival {
  Hardware hardware;
};
struct Removal {
  Hardware hardware;
};
struct Report {
  Hardware hardware;
  IOReturn result;
  std::uint32_t reportID;
  std::vector<std::uint8_t> bytes;
};
using Event = std::variant<PresentDevices, Arrival, Removal, Report>;

struct Registration {
  IOHIDDeviceCallback callback = nullptr;
  void* context = nullptr;
};

class Manager;

struct System {
  std::vector<Hardware> hardware;
  std::vector<Manager*> managers;
  std::vector<std::string> calls;
  int nextNumber = 1;
  bool canCreate = true;
  bool canCopy = true;
  IOReturn openResult = kIOReturnSuccess;
};

System& hidSystem() {
  static auto& all = *new System;
  return all;
}

class Manager : public CFObject {
 public:
  static constexpr CFType classType = CFType::hidManager;

  Manager() : CFObject(classType) {
    CFRunLoopSourceContext context = {};
    context.info = this;
    context.perform = [](void* info) { static_cast<Manager*>(info)->deliverNext(); };
    source_ = CFRunLoopSourceCreate(kCFAllocatorDefault, 0, &context);
    hidSystem().managers.push_back(this);
  }

  ~Manager() override {
    hidSystem().calls.emplace_back("IOHIDManagerRelease");
    if (isScheduled()) fail("CFRelease", "ended a HID manager that is still scheduled");
    if (hasOpened_) fail("CFRelease", "ended a HID manager that is still open");
    std::erase(hidSystem().managers, this);
    CFRunLoopSourceInvalidate(source_);
    CFRelease(source_);
    forgetDevices();
    if (matching_ != nullptr) CFRelease(matching_);
  }

  bool isScheduled() const { return loop_ != nullptr; }

  void match(CFArrayRef matching) {
    if (matching != nullptr) CFRetain(matching);
    if (matching_ != nullptr) CFRelease(matching_);
    matching_ = matching;
    matchesAll_ = matching == nullptr;
    forgetDevices();
    findDevices();
    if (isScheduled()) add(PresentDevices());
  }

  void schedule(CFRunLoopRef loop, CFStringRef mode) {
    if (isScheduled()) fail("IOHIDManagerScheduleWithRunLoop", "was called twice");
    CFRunLoopAddSource(loop, source_, mode);
    loop_ = loop;
    mode_ = utf8(mode, "IOHIDManagerScheduleWithRunLoop");
    findDevices();
    add(PresentDevices());
  }

  // Nothing unless loop and mode are those of the schedule.
  void unschedule(CFRunLoopRef loop, const std::string& mode) {
    if (!isScheduled() || loop != loop_ || mode != mode_) return;
    const CFStringRef name = static_cast<CFStringRef>(makeCFObject(mode));
    CFRunLoopRemoveSource(loop, source_, name);
    CFRelease(name);
    loop_ = nullptr;
    events_.clear();
  }

  // Open from here on, whatever becomes of the devices.
  IOReturn open() {
    if (isOpen_) return kIOReturnSuccess;
    isOpen_ = true;
    IOReturn result = kIOReturnSuccess;
    for (Device* device : devices_) {
      const IOReturn each = openDevice(*device);
      if (result == kIOReturnSuccess) result = each;
    }
    hasOpened_ = result == kIOReturnSuccess;
    return result;
  }

  IOReturn close() {
    if (isScheduled()) unschedule(loop_, mode_);
    if (!isOpen_) return kIOReturnNotOpen;
    isOpen_ = false;
    hasOpened_ = false;
    for (Device* device : devices_) device->isOpen = false;
    return kIOReturnSuccess;
  }

  // To be released.
  CFSetRef copyDevices() const {
    if (!hidSystem().canCopy || !hasMatched_) return nullptr;
    std::vector<const void*> all;
    for (const Device* device : devices_) all.push_back(device->reference());
    return referenceTo<CFSetRef>(*new CFGroup(std::move(all), true));
  }

  void add(Event event) {
    if (!isScheduled()) return;
    events_.push_back(std::move(event));
    CFRunLoopSourceSignal(source_);
    CFRunLoopWakeUp(loop_);
  }

  void configure(const Hardware& hardware) {
    if (Device* const device = find(hardware)) device->refreshProperties();
  }

  Registration onMatched;
  Registration onRemoved;

 private:
  static IOReturn openDevice(Device& device) {
    const IOReturn result = hidSystem().openResult;
    device.isOpen = result == kIOReturnSuccess;
    return result;
  }

  static bool hasProperty(const HIDInterface& hardware, const std::string& key, CFTypeRef wanted) {
    const auto found = hardware.properties.find(key);
    if (found == hardware.properties.end()) return false;
    const CFTypeRef value = makeCFObject(found->second);
    const bool isEqual = CFEqual(value, wanted) != 0;
    CFRelease(value);
    return isEqual;
  }

  bool matches(const HIDInterface& hardware) const {
    if (matchesAll_) return true;
    if (matching_ == nullptr) return false;
    const auto function = "IOHIDManagerSetDeviceMatchingMultiple";
    const auto& wanted = objectOf<CFList>(matching_, function).values;
    return std::ranges::any_of(wanted, [&](const void* each) {
      const auto& entries = objectOf<CFTable>(each, function).entries;
      return std::ranges::all_of(entries, [&](const auto& entry) {
        return hasProperty(hardware, utf8(static_cast<CFStringRef>(entry.first), function),
                           entry.second);
      });
    });
  }

  Device* find(const Hardware& hardware) const {
    const auto found = std::ranges::find(devices_, hardware, &Device::hardware);
    return found == devices_.end() ? nullptr : *found;
  }

  // What is there and not known yet.
  void findDevices() {
    for (const Hardware& hardware : hidSystem().hardware) {
      if (find(hardware) == nullptr && matches(*hardware)) take(hardware);
    }
  }

  // What an open manager finds is opened at once.
  Device& take(const Hardware& hardware) {
    auto& made = *new Device(hardware);
    devices_.push_back(&made);
    hasMatched_ = true;
    if (isOpen_) made.openResult = openDevice(made);
    return made;
  }

  void forgetDevices() {
    for (const Device* device : std::exchange(devices_, {})) letGo(device);
  }

  // As the devices' callbacks do, this one may end the manager, which is held until it is done.
  void deliverNext() {
    if (!isMainThread()) fail("CFRunLoopRun", "delivered HID events off the main thread");
    if (events_.empty()) return;
    retain();
    const Event event = std::move(events_.front());
    events_.pop_front();
    if (!events_.empty()) {
      CFRunLoopSourceSignal(source_);
      CFRunLoopWakeUp(loop_);
    }
    std::visit([this](const auto& each) { tell(each); }, event);
    release();
  }

  void call(const Registration& registration, IOReturn result, Device& device) {
    const auto [callback, context] = registration;
    if (callback == nullptr) return;
    callback(context, result, const_cast<void*>(reference()), device.ref());
  }

  // Goes on whatever the callbacks do: that they want no more, they have to know themselves.
  void tell(const PresentDevices&) {
    const auto present = devices_;
    for (Device* device : present) keep(device);
    for (Device* device : present) {
      call(onMatched, device->openResult, *device);
      letGo(device);
    }
  }

  void tell(const Arrival& arrival) {
    if (find(arrival.hardware) != nullptr || !matches(*arrival.hardware)) return;
    Device& device = take(arrival.hardware);
    keep(&device);
    call(onMatched, device.openResult, device);
    letGo(&device);
  }

  void tell(const Removal& removal) {
    Device* const device = find(removal.hardware);
    if (device == nullptr) return;
    device->isGone = true;
    keep(device);
    call(onRemoved, kIOReturnSuccess, *device);
    // It may have been forgotten meanwhile.
    if (std::erase(devices_, device) != 0) letGo(device);
    letGo(device);
  }

  void tell(const Report& report) {
    Device* const device = find(report.hardware);
    if (device == nullptr || !isOpen_ || !device->isOpen) return;
    keep(device);
    device->deliver(report.result, report.reportID, report.bytes);
    letGo(device);
  }

  CFRunLoopSourceRef source_ = nullptr;
  CFArrayRef matching_ = nullptr;
  bool matchesAll_ = false;
  CFRunLoopRef loop_ = nullptr;
  std::string mode_;
  bool isOpen_ = false;
  // Whether opening it has succeeded, so that somebody must close it.
  bool hasOpened_ = false;
  bool hasMatched_ = false;
  std::vector<Device*> devices_;
  std::deque<Event> events_;
};

void note(std::string call) {
  hidSystem().calls.push_back(std::move(call));
}

Manager& manager(IOHIDManagerRef reference, std::string_view function) {
  if (!isMainThread()) fail(function, "was called off the main thread");
  return objectOf<Manager>(reference, function);
}

Device& device(IOHIDDeviceRef reference, std::string_view function) {
  if (!isMainThread()) fail(function, "was called off the main thread");
  return objectOf<Device>(reference, function);
}

std::string name(CFRunLoopRef loop) {
  return loop == CFRunLoopGetMain() ? "main" : "another";
}

void addToAll(const Event& event) {
  for (Manager* each : hidSystem().managers) each->add(event);
}

// As in "VendorID=76,ProductID=614".
std::string description(const CFTable& table, std::string_view function) {
  std::string text;
  for (const auto& [key, value] : table.entries) {
    if (!text.empty()) text += ",";
    const auto& number = objectOf<CFNumeral>(value, function).value;
    text += utf8(static_cast<CFStringRef>(key), function) + "=" +
            std::to_string(std::get<std::int64_t>(number));
  }
  return text;
}

}  // namespace

std::shared_ptr<HIDInterface> connectHIDInterface(HIDProperties properties,
                                                  HIDProperties ofParents) {
  System& system = hidSystem();
  auto made = std::make_shared<HIDInterface>(system.nextNumber++, std::move(properties),
                                             std::move(ofParents));
  system.hardware.push_back(made);
  addToAll(Arrival{made});
  return made;
}

void disconnectHIDInterface(const Hardware& hardware) {
  if (std::erase(hidSystem().hardware, hardware) != 0) addToAll(Removal{hardware});
}

void configureHIDInterface(const Hardware& hardware, HIDProperties properties) {
  hardware->properties = std::move(properties);
  for (Manager* each : hidSystem().managers) each->configure(hardware);
}

void sendHIDReport(const Hardware& hardware, std::uint32_t reportID,
                   std::vector<std::uint8_t> report, IOReturn result) {
  addToAll(Report{hardware, result, reportID, std::move(report)});
}

void setHIDManagersCanBeCreated(bool can) {
  hidSystem().canCreate = can;
}

void setHIDOpenResult(IOReturn result) {
  hidSystem().openResult = result;
}

void setHIDDevicesCanBeCopied(bool can) {
  hidSystem().canCopy = can;
}

std::vector<std::string> takeHIDCalls() {
  return std::exchange(hidSystem().calls, {});
}

void resetHID() {
  if (!hidSystem().managers.empty()) fail("resetHID", "was called while there is a HID manager");
  hidSystem() = {};
}

}  // namespace standin

using namespace standin;

extern "C" {

CFTypeID IOHIDManagerGetTypeID() {
  return static_cast<CFTypeID>(CFType::hidManager);
}

IOHIDManagerRef IOHIDManagerCreate(CFAllocatorRef, IOOptionBits options) {
  if (!isMainThread()) fail("IOHIDManagerCreate", "was called off the main thread");
  note("IOHIDManagerCreate " + std::to_string(options));
  if (!hidSystem().canCreate) return nullptr;
  const auto& made = *new Manager;
  return static_cast<IOHIDManagerRef>(const_cast<void*>(made.reference()));
}

void IOHIDManagerSetDeviceMatchingMultiple(IOHIDManagerRef reference, CFArrayRef multiple) {
  const auto function = "IOHIDManagerSetDeviceMatchingMultiple";
  Manager& called = manager(reference, function);
  std::string call = function;
  if (multiple != nullptr) {
    for (const void* each : objectOf<CFList>(multiple, function).values) {
      call += " " + description(objectOf<CFTable>(each, function), function);
    }
  }
  note(std::move(call));
  called.match(multiple);
}

void IOHIDManagerRegisterDeviceMatchingCallback(IOHIDManagerRef reference,
                                                IOHIDDeviceCallback callback, void* context) {
  const auto function = "IOHIDManagerRegisterDeviceMatchingCallback";
  manager(reference, function).onMatched = {callback, context};
  note(std::string(function) + (callback != nullptr ? " callback" : ""));
}

void IOHIDManagerRegisterDeviceRemovalCallback(IOHIDManagerRef reference,
                                               IOHIDDeviceCallback callback, void* context) {
  const auto function = "IOHIDManagerRegisterDeviceRemovalCallback";
  manager(reference, function).onRemoved = {callback, context};
  note(std::string(function) + (callback != nullptr ? " callback" : ""));
}

void IOHIDManagerScheduleWithRunLoop(IOHIDManagerRef reference, CFRunLoopRef loop,
                                     CFStringRef mode) {
  const auto function = "IOHIDManagerScheduleWithRunLoop";
  Manager& called = manager(reference, function);
  note(std::string(function) + " " + name(loop) + " " + utf8(mode, function));
  called.schedule(loop, mode);
}

void IOHIDManagerUnscheduleFromRunLoop(IOHIDManagerRef reference, CFRunLoopRef loop,
                                       CFStringRef mode) {
  const auto function = "IOHIDManagerUnscheduleFromRunLoop";
  Manager& called = manager(reference, function);
  note(std::string(function) + " " + name(loop) + " " + utf8(mode, function));
  called.unschedule(loop, utf8(mode, function));
}

IOReturn IOHIDManagerOpen(IOHIDManagerRef reference, IOOptionBits options) {
  Manager& called = manager(reference, "IOHIDManagerOpen");
  note("IOHIDManagerOpen " + std::to_string(options));
  return called.open();
}

IOReturn IOHIDManagerClose(IOHIDManagerRef reference, IOOptionBits options) {
  Manager& called = manager(reference, "IOHIDManagerClose");
  note("IOHIDManagerClose " + std::to_string(options));
  return called.close();
}

CFSetRef IOHIDManagerCopyDevices(IOHIDManagerRef reference) {
  const Manager& called = manager(reference, "IOHIDManagerCopyDevices");
  note("IOHIDManagerCopyDevices");
  return called.copyDevices();
}

CFTypeID IOHIDDeviceGetTypeID() {
  return static_cast<CFTypeID>(CFType::hidDevice);
}

CFTypeRef IOHIDDeviceGetProperty(IOHIDDeviceRef reference, CFStringRef key) {
  const auto function = "IOHIDDeviceGetProperty";
  return device(reference, function).property(utf8(key, function));
}

void IOHIDDeviceRegisterInputReportCallback(IOHIDDeviceRef reference, std::uint8_t* report,
                                            CFIndex reportLength, IOHIDReportCallback callback,
                                            void* context) {
  const auto function = "IOHIDDeviceRegisterInputReportCallback";
  Device& called = device(reference, function);
  if (report == nullptr || reportLength < 0) fail(function, "was given no buffer");
  note(std::string(function) + " " + std::to_string(called.hardware->number) +
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
