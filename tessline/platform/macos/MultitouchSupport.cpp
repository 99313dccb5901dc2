#include "tessline/platform/macos/MultitouchSupport.h"

#include "tessline/platform/Mutex.h"
#include "tessline/platform/macos/CFReference.h"

#include <bit>
#include <cstddef>
#include <cstdint>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <utility>

#include <CoreFoundation/CoreFoundation.h>
#include <dlfcn.h>

namespace tessline::platform {

namespace {

// The library's functions. Its counts have 32 bits: more would take what happens to stand in the
// upper half of a register for a part of them.
using SystemDevice = void*;
using FrameFunction = int(SystemDevice device, void* touches, int numTouches, double timestamp,
                          int frame, void* refcon);
using CreateListFunction = CFMutableArrayRef();
using GetDeviceIDFunction = std::int32_t(SystemDevice device, std::uint64_t* deviceID);
using StartFunction = std::int32_t(SystemDevice device, std::int32_t mode);
using StopFunction = std::int32_t(SystemDevice device);
using IsBuiltInFunction = bool(SystemDevice device);
using GetDimensionsFunction = std::int32_t(SystemDevice device, std::int32_t* first,
                                           std::int32_t* second);
using RegisterFunction = void(SystemDevice device, FrameFunction* callback, void* refcon);
using UnregisterFunction = void(SystemDevice device, FrameFunction* callback);

constexpr const char* unregisterName = "MTUnregisterContactFrameCallback";

using DeviceList = CFReference<CFArrayRef>;

// The library lets a surface live as long as a list that it stands in.
class SystemSurface : public MultitouchDevice {
 public:
  SystemSurface(DeviceList list, SystemDevice device) : list_(std::move(list)), device_(device) {}

  const DeviceList& list() const { return list_; }
  SystemDevice device() const { return device_; }

 private:
  const DeviceList list_;
  const SystemDevice device_;
};

const SystemSurface& surfaceOf(const MultitouchDevice& device) {
  return static_cast<const SystemSurface&>(device);
}

SystemDevice deviceOf(const MultitouchDevice& device) {
  return surfaceOf(device).device();
}

// What the frames of one surface go to. A callback may replace itself and end, hence the kind of
// the mutex.
class FrameReceiver {
 public:
  void set(ContactFrameCallback callback) {
    exchange(std::make_shared<const ContactFrameCallback>(std::move(callback)));
  }
  // Waits for a callback that runs, but for one that this is called from.
  void end() { exchange(nullptr); }

  void deliver(const std::byte* touches, std::int64_t numTouches) {
    const std::lock_guard lock(mutex_);
    // Held: the callee may unregister, which must not pull the function away from under it.
    if (const auto callback = callback_) (*callback)(touches, numTouches);
  }

 private:
  void exchange(std::shared_ptr<const ContactFrameCallback> callback) {
    // The earlier one is destroyed last: what it holds may call back.
    const std::lock_guard lock(mutex_);
    callback_.swap(callback);
  }

  std::recursive_mutex mutex_;
  std::shared_ptr<const ContactFrameCallback> callback_;
};

// All receivers by their number. The library is given the number, not the address: it does not
// promise that no frame is under way when a callback is unregistered, and such a frame finds none.
class FrameReceivers {
 public:
  // Never destroyed, as the library's thread may be later than anything.
  static FrameReceivers& shared() {
    static FrameReceivers& receivers = *new FrameReceivers;
    return receivers;
  }

  std::uintptr_t add(std::shared_ptr<FrameReceiver> receiver) TESSLINE_EXCLUDES(mutex_) {
    const MutexLock lock(mutex_);
    receivers_.emplace(++lastNumber_, std::move(receiver));
    return lastNumber_;
  }
  void remove(std::uintptr_t number) TESSLINE_EXCLUDES(mutex_) {
    const MutexLock lock(mutex_);
    receivers_.erase(number);
  }
  std::shared_ptr<FrameReceiver> find(std::uintptr_t number) TESSLINE_EXCLUDES(mutex_) {
    const MutexLock lock(mutex_);
    const auto found = receivers_.find(number);
    return found == receivers_.end() ? nullptr : found->second;
  }

 private:
  Mutex mutex_;
  std::map<std::uintptr_t, std::shared_ptr<FrameReceiver>> receivers_ TESSLINE_GUARDED_BY(mutex_);
  std::uintptr_t lastNumber_ TESSLINE_GUARDED_BY(mutex_) = 0;
};

// Exceptions end the process here, before they reach the library.
int frameArrived(SystemDevice, void* touches, int numTouches, double, int, void* refcon) noexcept {
  const auto receiver = FrameReceivers::shared().find(std::bit_cast<std::uintptr_t>(refcon));
  if (receiver) receiver->deliver(static_cast<const std::byte*>(touches), numTouches);
  return 0;
}

class SystemLibrary : public MultitouchLibrary {
 public:
  explicit SystemLibrary(void* handle) : handle_(handle) {}
  SystemLibrary(const SystemLibrary&) = delete;
  SystemLibrary& operator=(const SystemLibrary&) = delete;
  ~SystemLibrary() override {
    const Registrations registrations = takeRegistrations();
    if (registrations.empty()) return;
    auto* const unregister = lookUp<UnregisterFunction>(unregisterName);
    for (const auto& [device, registration] : registrations) {
      if (unregister != nullptr) unregister(device, &frameArrived);
      end(registration);
    }
  }

  MultitouchFunction symbol(std::string_view name) override;

 private:
  struct Close {
    void operator()(void* handle) const { dlclose(handle); }
  };
  struct Registration {
    DeviceList list;  // So that the surface stays.
    std::shared_ptr<FrameReceiver> receiver;
    std::uintptr_t number = 0;
  };
  using Registrations = std::map<SystemDevice, Registration>;

  template <class Function>
  Function* lookUp(const char* name) {
    return reinterpret_cast<Function*>(dlsym(handle_.get(), name));
  }
  // What `wrap` makes of the function; nothing if the library lacks it.
  template <class Function, class Wrap>
  MultitouchFunction wrapped(const char* name, Wrap wrap) {
    auto* const function = lookUp<Function>(name);
    if (function == nullptr) return {};
    return wrap(function);
  }
  MultitouchFunction dimensions(const char* name);

  void registerCallback(RegisterFunction* function, const SystemSurface& surface,
                        ContactFrameCallback callback) TESSLINE_EXCLUDES(mutex_);
  void unregisterCallback(UnregisterFunction* function, SystemDevice device)
      TESSLINE_EXCLUDES(mutex_);
  Registrations takeRegistrations() TESSLINE_EXCLUDES(mutex_) {
    const MutexLock lock(mutex_);
    return std::exchange(registrations_, {});
  }
  static void end(const Registration& registration) {
    FrameReceivers::shared().remove(registration.number);
    registration.receiver->end();
  }

  const std::unique_ptr<void, Close> handle_;
  Mutex mutex_;
  Registrations registrations_ TESSLINE_GUARDED_BY(mutex_);
};

std::optional<MultitouchDeviceList> createList(CreateListFunction* function) {
  const auto list = DeviceList::created(function());
  if (!list) return std::nullopt;
  MultitouchDeviceList devices;
  for (CFIndex index = 0; index < CFArrayGetCount(list.get()); ++index) {
    const auto device = const_cast<SystemDevice>(CFArrayGetValueAtIndex(list.get(), index));
    devices.push_back(std::make_shared<SystemSurface>(list, device));
  }
  return devices;
}

MultitouchFunction SystemLibrary::dimensions(const char* name) {
  return wrapped<GetDimensionsFunction>(name, [](auto* function) {
    return DeviceDimensionsFunction(
        [function](MultitouchDevice& device, std::int32_t& first, std::int32_t& second) {
          return function(deviceOf(device), &first, &second);
        });
  });
}

// Functions are used while the library is open, which keeps this alive.
MultitouchFunction SystemLibrary::symbol(std::string_view name) {
  if (name == "MTDeviceCreateList") {
    return wrapped<CreateListFunction>("MTDeviceCreateList", [](auto* function) {
      return DeviceListFunction([function] { return createList(function); });
    });
  }
  if (name == "MTDeviceGetDeviceID") {
    return wrapped<GetDeviceIDFunction>("MTDeviceGetDeviceID", [](auto* function) {
      return DeviceIDFunction([function](MultitouchDevice& device, std::uint64_t& deviceID) {
        return function(deviceOf(device), &deviceID);
      });
    });
  }
  if (name == "MTDeviceStart") {
    return wrapped<StartFunction>("MTDeviceStart", [](auto* function) {
      return DeviceStartFunction([function](MultitouchDevice& device, std::int32_t mode) {
        return function(deviceOf(device), mode);
      });
    });
  }
  if (name == "MTDeviceStop") {
    return wrapped<StopFunction>("MTDeviceStop", [](auto* function) {
      return DeviceStopFunction(
          [function](MultitouchDevice& device) { return function(deviceOf(device)); });
    });
  }
  if (name == "MTDeviceIsBuiltIn") {
    return wrapped<IsBuiltInFunction>("MTDeviceIsBuiltIn", [](auto* function) {
      return DeviceTruthFunction(
          [function](MultitouchDevice& device) { return function(deviceOf(device)); });
    });
  }
  if (name == "MTDeviceGetSensorDimensions") return dimensions("MTDeviceGetSensorDimensions");
  if (name == "MTDeviceGetSensorSurfaceDimensions") {
    return dimensions("MTDeviceGetSensorSurfaceDimensions");
  }
  if (name == "MTRegisterContactFrameCallbackWithRefcon") {
    return wrapped<RegisterFunction>(
        "MTRegisterContactFrameCallbackWithRefcon", [this](auto* function) {
          return RegisterCallbackFunction(
              [this, function](MultitouchDevice& device, const ContactFrameCallback& callback) {
                registerCallback(function, surfaceOf(device), callback);
              });
        });
  }
  if (name == unregisterName) {
    return wrapped<UnregisterFunction>(unregisterName, [this](auto* function) {
      return UnregisterCallbackFunction([this, function](MultitouchDevice& device) {
        unregisterCallback(function, deviceOf(device));
      });
    });
  }
  return {};
}

void SystemLibrary::registerCallback(RegisterFunction* function, const SystemSurface& surface,
                                     ContactFrameCallback callback) {
  Registration registration = {surface.list(), std::make_shared<FrameReceiver>()};
  bool isFirst = false;
  {
    const MutexLock lock(mutex_);
    const auto [place, isNew] = registrations_.try_emplace(surface.device(), registration);
    isFirst = isNew;
    if (isNew) place->second.number = FrameReceivers::shared().add(registration.receiver);
    registration = place->second;
  }
  registration.receiver->set(std::move(callback));
  // One registration a surface: what the library would make of a second one is its secret.
  if (isFirst) {
    function(surface.device(), &frameArrived, std::bit_cast<void*>(registration.number));
  }
}

void SystemLibrary::unregisterCallback(UnregisterFunction* function, SystemDevice device) {
  Registrations::node_type registration;
  {
    const MutexLock lock(mutex_);
    registration = registrations_.extract(device);
  }
  if (!registration) return;
  function(device, &frameArrived);
  end(registration.mapped());
}

}  // namespace

std::shared_ptr<MultitouchLibrary> openMultitouchSupport(std::string_view path) {
  void* const handle = dlopen(std::string(path).c_str(), RTLD_NOW);
  return handle == nullptr ? nullptr : std::make_shared<SystemLibrary>(handle);
}

}  // namespace tessline::platform
