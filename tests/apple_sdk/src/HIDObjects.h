/// @file
/// What stands behind the stand-in's HID managers and devices. Main thread.
#pragma once

#include "CFObjects.h"

#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include <IOKit/hid/IOHIDManager.h>
#include <standin/hid.h>

namespace standin {

class HIDInterface {
 public:
  HIDInterface(int number, HIDProperties properties, HIDProperties ofParents)
      : number(number), properties(std::move(properties)), ofParents(std::move(ofParents)) {}

  /// Its own, or else that of its parents; null for none.
  const CFValue* property(const std::string& key) const;

  const int number;
  HIDProperties properties;
  const HIDProperties ofParents;
  /// Instead of that of all.
  std::optional<IOReturn> openResult;
};

namespace hid {

using Hardware = std::shared_ptr<HIDInterface>;

class Device : public CFObject {
 public:
  static constexpr CFType classType = CFType::hidDevice;

  explicit Device(Hardware hardware) : CFObject(classType), hardware(std::move(hardware)) {}
  ~Device() override;

  IOHIDDeviceRef ref() const { return static_cast<IOHIDDeviceRef>(const_cast<void*>(reference())); }

  /// What was read once stays as it was, and readable.
  CFTypeRef property(const std::string& key);
  /// Reads again what was read.
  void refreshProperties();

  IOReturn open();
  void close() { isOpen_ = false; }
  bool isOpen() const { return isOpen_; }

  /// The buffer is written to even when nobody is called: it is only ever replaced.
  void deliver(IOReturn result, std::uint32_t reportID, const std::vector<std::uint8_t>& report);

  const Hardware hardware;
  /// Of the manager that found it.
  IOReturn openResult = kIOReturnSuccess;
  bool isGone = false;
  std::uint8_t* buffer = nullptr;
  CFIndex bufferSize = 0;
  std::map<void*, IOHIDReportCallback> callbacks;

 private:
  bool isOpen_ = false;
  std::map<std::string, CFTypeRef> cache_;
};

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

class Manager : public CFObject {
 public:
  static constexpr CFType classType = CFType::hidManager;

  Manager();
  ~Manager() override;

  void match(CFArrayRef matching);
  void schedule(CFRunLoopRef loop, CFStringRef mode);
  /// Nothing unless loop and mode are those of the schedule.
  void unschedule(CFRunLoopRef loop, const std::string& mode);
  /// Open from here on, whatever becomes of the devices.
  IOReturn open();
  IOReturn close();
  /// To be released.
  CFSetRef copyDevices() const;

  void add(Event event);
  void configure(const Hardware& hardware);

  Registration onMatched;
  Registration onRemoved;

 private:
  bool isScheduled() const { return loop_ != nullptr; }
  bool matches(const HIDInterface& hardware) const;
  Device* find(const Hardware& hardware) const;
  void findDevices();
  Device& take(const Hardware& hardware);
  void forgetDevices();

  void deliverNext();
  void call(const Registration& registration, IOReturn result, Device& device);
  void tell(const PresentDevices&);
  void tell(const Arrival& arrival);
  void tell(const Removal& removal);
  void tell(const Report& report);

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

/// Everything there is.
struct System {
  std::vector<Hardware> hardware;
  std::vector<Manager*> managers;
  std::vector<std::string> calls;
  int nextNumber = 1;
  bool canCreate = true;
  bool canCopy = true;
  IOReturn openResult = kIOReturnSuccess;
};

System& system();
void note(std::string call);
/// Expects the main thread.
void expectMainThread(std::string_view function);

}  // namespace hid

}  // namespace standin
