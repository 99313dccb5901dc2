#include "HIDObjects.h"

#include <algorithm>
#include <utility>

namespace standin::hid {

namespace {

// By way of the functions that check whether it lives: others may have released it too often.
void keep(const Device* device) {
  CFRetain(static_cast<const CFObject*>(device));
}
void letGo(const Device* device) {
  CFRelease(static_cast<const CFObject*>(device));
}

// Goes by its own alone.
bool hasProperty(const HIDInterface& hardware, const std::string& key, CFTypeRef wanted) {
  const auto found = hardware.properties.find(key);
  if (found == hardware.properties.end()) return false;
  const CFTypeRef value = makeCFObject(found->second);
  const bool isEqual = CFEqual(value, wanted) != 0;
  CFRelease(value);
  return isEqual;
}

Manager& manager(IOHIDManagerRef reference, std::string_view function) {
  expectMainThread(function);
  return objectOf<Manager>(reference, function);
}

std::string name(CFRunLoopRef loop) {
  return loop == CFRunLoopGetMain() ? "main" : "another";
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

Manager::Manager() : CFObject(classType) {
  CFRunLoopSourceContext context = {};
  context.info = this;
  context.perform = [](void* info) { static_cast<Manager*>(info)->deliverNext(); };
  source_ = CFRunLoopSourceCreate(kCFAllocatorDefault, 0, &context);
  system().managers.push_back(this);
}

Manager::~Manager() {
  note("IOHIDManagerRelease");
  if (isScheduled()) fail("CFRelease", "ended a HID manager that is still scheduled");
  if (hasOpened_) fail("CFRelease", "ended a HID manager that is still open");
  std::erase(system().managers, this);
  CFRunLoopSourceInvalidate(source_);
  CFRelease(source_);
  forgetDevices();
  if (matching_ != nullptr) CFRelease(matching_);
}

// What it is asked for.

void Manager::match(CFArrayRef matching) {
  if (matching != nullptr) CFRetain(matching);
  if (matching_ != nullptr) CFRelease(matching_);
  matching_ = matching;
  matchesAll_ = matching == nullptr;
  forgetDevices();
  findDevices();
  if (isScheduled()) add(PresentDevices());
}

void Manager::schedule(CFRunLoopRef loop, CFStringRef mode) {
  if (isScheduled()) fail("IOHIDManagerScheduleWithRunLoop", "was called twice");
  CFRunLoopAddSource(loop, source_, mode);
  loop_ = loop;
  mode_ = utf8(mode, "IOHIDManagerScheduleWithRunLoop");
  findDevices();
  add(PresentDevices());
}

void Manager::unschedule(CFRunLoopRef loop, const std::string& mode) {
  if (!isScheduled() || loop != loop_ || mode != mode_) return;
  const CFStringRef name = static_cast<CFStringRef>(makeCFObject(mode));
  CFRunLoopRemoveSource(loop, source_, name);
  CFRelease(name);
  loop_ = nullptr;
  events_.clear();
}

// The code of the first device that refuses; the others are open all the same.
IOReturn Manager::open() {
  if (isOpen_) return kIOReturnSuccess;
  isOpen_ = true;
  IOReturn result = kIOReturnSuccess;
  for (Device* device : devices_) {
    const IOReturn each = device->open();
    if (result == kIOReturnSuccess) result = each;
  }
  hasOpened_ = result == kIOReturnSuccess;
  return result;
}

IOReturn Manager::close() {
  if (isScheduled()) unschedule(loop_, mode_);
  if (!isOpen_) return kIOReturnNotOpen;
  isOpen_ = false;
  hasOpened_ = false;
  for (Device* device : devices_) device->close();
  return kIOReturnSuccess;
}

CFSetRef Manager::copyDevices() const {
  if (!system().canCopy || !hasMatched_) return nullptr;
  std::vector<const void*> all;
  for (const Device* device : devices_) all.push_back(device->reference());
  return referenceTo<CFSetRef>(*new CFGroup(std::move(all), true));
}

// What becomes of the hardware.

void Manager::add(Event event) {
  if (!isScheduled()) return;
  events_.push_back(std::move(event));
  CFRunLoopSourceSignal(source_);
  CFRunLoopWakeUp(loop_);
}

void Manager::configure(const Hardware& hardware) {
  if (Device* const device = find(hardware)) device->refreshProperties();
}

bool Manager::matches(const HIDInterface& hardware) const {
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

Device* Manager::find(const Hardware& hardware) const {
  const auto found = std::ranges::find(devices_, hardware, &Device::hardware);
  return found == devices_.end() ? nullptr : *found;
}

// What is there and not known yet.
void Manager::findDevices() {
  for (const Hardware& hardware : system().hardware) {
    if (find(hardware) == nullptr && matches(*hardware)) take(hardware);
  }
}

// What an open manager finds is opened at once.
Device& Manager::take(const Hardware& hardware) {
  auto& made = *new Device(hardware);
  devices_.push_back(&made);
  hasMatched_ = true;
  if (isOpen_) made.openResult = made.open();
  return made;
}

void Manager::forgetDevices() {
  for (const Device* device : std::exchange(devices_, {})) letGo(device);
}

// What it tells.

// As the devices' callbacks do, this one may end the manager, which is held until it is done.
void Manager::deliverNext() {
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

void Manager::call(const Registration& registration, IOReturn result, Device& device) {
  const auto [callback, context] = registration;
  if (callback == nullptr) return;
  callback(context, result, const_cast<void*>(reference()), device.ref());
}

// Goes on whatever the callbacks do: that they want no more, they have to know themselves.
void Manager::tell(const PresentDevices&) {
  const auto present = devices_;
  for (Device* device : present) keep(device);
  for (Device* device : present) {
    call(onMatched, device->openResult, *device);
    letGo(device);
  }
}

void Manager::tell(const Arrival& arrival) {
  if (find(arrival.hardware) != nullptr || !matches(*arrival.hardware)) return;
  Device& device = take(arrival.hardware);
  keep(&device);
  call(onMatched, device.openResult, device);
  letGo(&device);
}

void Manager::tell(const Removal& removal) {
  Device* const device = find(removal.hardware);
  if (device == nullptr) return;
  device->isGone = true;
  keep(device);
  call(onRemoved, kIOReturnSuccess, *device);
  // It may have been forgotten meanwhile.
  if (std::erase(devices_, device) != 0) letGo(device);
  letGo(device);
}

void Manager::tell(const Report& report) {
  Device* const device = find(report.hardware);
  if (device == nullptr || !isOpen_ || !device->isOpen()) return;
  keep(device);
  device->deliver(report.result, report.reportID, report.bytes);
  letGo(device);
}

}  // namespace standin::hid

using namespace standin;

extern "C" {

CFTypeID IOHIDManagerGetTypeID() {
  return static_cast<CFTypeID>(CFType::hidManager);
}

IOHIDManagerRef IOHIDManagerCreate(CFAllocatorRef, IOOptionBits options) {
  hid::expectMainThread("IOHIDManagerCreate");
  hid::note("IOHIDManagerCreate " + std::to_string(options));
  if (!hid::system().canCreate) return nullptr;
  const auto& made = *new hid::Manager;
  return static_cast<IOHIDManagerRef>(const_cast<void*>(made.reference()));
}

void IOHIDManagerSetDeviceMatchingMultiple(IOHIDManagerRef reference, CFArrayRef multiple) {
  const auto function = "IOHIDManagerSetDeviceMatchingMultiple";
  hid::Manager& called = hid::manager(reference, function);
  std::string call = function;
  if (multiple != nullptr) {
    for (const void* each : objectOf<CFList>(multiple, function).values) {
      call += " " + hid::description(objectOf<CFTable>(each, function), function);
    }
  }
  hid::note(std::move(call));
  called.match(multiple);
}

void IOHIDManagerRegisterDeviceMatchingCallback(IOHIDManagerRef reference,
                                                IOHIDDeviceCallback callback, void* context) {
  const auto function = "IOHIDManagerRegisterDeviceMatchingCallback";
  hid::manager(reference, function).onMatched = {callback, context};
  hid::note(std::string(function) + (callback != nullptr ? " callback" : ""));
}

void IOHIDManagerRegisterDeviceRemovalCallback(IOHIDManagerRef reference,
                                               IOHIDDeviceCallback callback, void* context) {
  const auto function = "IOHIDManagerRegisterDeviceRemovalCallback";
  hid::manager(reference, function).onRemoved = {callback, context};
  hid::note(std::string(function) + (callback != nullptr ? " callback" : ""));
}

void IOHIDManagerScheduleWithRunLoop(IOHIDManagerRef reference, CFRunLoopRef loop,
                                     CFStringRef mode) {
  const auto function = "IOHIDManagerScheduleWithRunLoop";
  hid::Manager& called = hid::manager(reference, function);
  hid::note(std::string(function) + " " + hid::name(loop) + " " + utf8(mode, function));
  called.schedule(loop, mode);
}

void IOHIDManagerUnscheduleFromRunLoop(IOHIDManagerRef reference, CFRunLoopRef loop,
                                       CFStringRef mode) {
  const auto function = "IOHIDManagerUnscheduleFromRunLoop";
  hid::Manager& called = hid::manager(reference, function);
  hid::note(std::string(function) + " " + hid::name(loop) + " " + utf8(mode, function));
  called.unschedule(loop, utf8(mode, function));
}

IOReturn IOHIDManagerOpen(IOHIDManagerRef reference, IOOptionBits options) {
  hid::Manager& called = hid::manager(reference, "IOHIDManagerOpen");
  hid::note("IOHIDManagerOpen " + std::to_string(options));
  return called.open();
}

IOReturn IOHIDManagerClose(IOHIDManagerRef reference, IOOptionBits options) {
  hid::Manager& called = hid::manager(reference, "IOHIDManagerClose");
  hid::note("IOHIDManagerClose " + std::to_string(options));
  return called.close();
}

CFSetRef IOHIDManagerCopyDevices(IOHIDManagerRef reference) {
  const hid::Manager& called = hid::manager(reference, "IOHIDManagerCopyDevices");
  hid::note("IOHIDManagerCopyDevices");
  return called.copyDevices();
}
}
