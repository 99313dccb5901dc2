#include "standin/multitouch.h"

#include "CFObjects.h"

#include <algorithm>
#include <atomic>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>
#include <utility>

#include <CoreFoundation/CoreFoundation.h>
#include <dlfcn.h>

namespace standin::multitouch {

namespace {

using Device = void*;
using FrameFunction = int(Device device, void* touches, int numTouches, double timestamp, int frame,
                          void* refcon);
// The same as it arrives: whoever takes a count for wider than it is reads what happens to stand
// in the upper half of a register.
using WideFrameFunction = int(Device device, void* touches, std::uint64_t numTouches,
                              double timestamp, std::uint64_t frame, void* refcon);

constexpr std::uint64_t upperHalf = 0xA5A5A5A500000000;
constexpr double timestamp = 1.5;
constexpr std::int32_t frameNumber = 7;

struct Registration {
  FrameFunction* callback = nullptr;
  void* refcon = nullptr;

  bool operator==(const Registration&) const = default;
};

struct SurfaceState {
  SurfaceState(std::size_t indexOfIt, const Surface& surface) : index(indexOfIt), about(surface) {}

  const std::size_t index;
  const Surface about;
  bool isConnected = true;
  bool isStarted = false;
  std::vector<Registration> registrations;
};

std::atomic<std::size_t> listCount = 0;

// What a caller of the library holds. Surfaces are no objects of CoreFoundation.
class SurfaceList : public CFList {
 public:
  explicit SurfaceList(std::vector<std::shared_ptr<SurfaceState>> surfaces)
      : CFList(addressesOf(surfaces), false), surfaces_(std::move(surfaces)) {
    ++listCount;
  }
  ~SurfaceList() override { --listCount; }

 private:
  static std::vector<const void*> addressesOf(
      const std::vector<std::shared_ptr<SurfaceState>>& surfaces) {
    std::vector<const void*> addresses;
    for (const auto& surface : surfaces) addresses.push_back(surface.get());
    return addresses;
  }

  const std::vector<std::shared_ptr<SurfaceState>> surfaces_;
};

struct Library {
  bool givesList = true;
  std::set<std::string, std::less<>> missingFunctions;
  // Those that are there.
  std::vector<std::shared_ptr<SurfaceState>> connected;
  // All that ever were, by their index.
  std::vector<std::weak_ptr<SurfaceState>> known;
  std::map<std::size_t, Registration> latest;
  // Each opening is one of them, and its address the handle.
  std::vector<std::unique_ptr<int>> handles;
  std::size_t framesUnderWay = 0;
  std::vector<std::string> calls;
};

std::mutex mutex;
Library& library() {
  static Library& one = *new Library;
  return one;
}

template <class... Arguments>
void note(std::string_view operation, const Arguments&... arguments) {
  std::string call(operation);
  ((call += " ", call += arguments), ...);
  library().calls.push_back(std::move(call));
}

// Notes the call. The surface must be there, or in a list that is.
template <class... Arguments>
SurfaceState& called(std::string_view function, Device device, const Arguments&... arguments) {
  if (library().handles.empty()) fail(function, "was called when the library was closed");
  for (const auto& weak : library().known) {
    const auto surface = weak.lock();
    if (surface == nullptr || surface.get() != device) continue;
    note(function, std::to_string(surface->index), arguments...);
    return *surface;
  }
  fail(function, "was given a surface that is gone with its lists");
}

CFMutableArrayRef createList() {
  const std::lock_guard lock(mutex);
  if (library().handles.empty()) fail("MTDeviceCreateList", "was called on a closed library");
  note("MTDeviceCreateList");
  if (!library().givesList) return nullptr;
  const auto* const list = new SurfaceList(library().connected);
  return const_cast<CFMutableArrayRef>(referenceTo<CFArrayRef>(*list));
}

std::int32_t getDeviceID(Device device, std::uint64_t* deviceID) {
  const std::lock_guard lock(mutex);
  const SurfaceState& surface = called("MTDeviceGetDeviceID", device);
  if (surface.about.status == 0) *deviceID = surface.about.identifier;
  return surface.about.status;
}

std::int32_t start(Device device, std::int32_t mode) {
  const std::lock_guard lock(mutex);
  SurfaceState& surface = called("MTDeviceStart", device, std::to_string(mode));
  surface.isStarted = surface.about.startStatus == 0;
  return surface.about.startStatus;
}

std::int32_t stop(Device device) {
  const std::lock_guard lock(mutex);
  called("MTDeviceStop", device).isStarted = false;
  return 0;
}

bool isBuiltIn(Device device) {
  const std::lock_guard lock(mutex);
  return called("MTDeviceIsBuiltIn", device).about.isBuiltIn;
}

std::int32_t getSensorDimensions(Device device, std::int32_t* rows, std::int32_t* columns) {
  const std::lock_guard lock(mutex);
  const Surface& about = called("MTDeviceGetSensorDimensions", device).about;
  if (about.status != 0) return about.status;
  *rows = about.rows;
  *columns = about.columns;
  return 0;
}

std::int32_t getSensorSurfaceDimensions(Device device, std::int32_t* width, std::int32_t* height) {
  const std::lock_guard lock(mutex);
  const Surface& about = called("MTDeviceGetSensorSurfaceDimensions", device).about;
  if (about.status != 0) return about.status;
  *width = about.width;
  *height = about.height;
  return 0;
}

// Adds to those that are there, as the library may do for all that is known.
void registerCallback(Device device, FrameFunction* callback, void* refcon) {
  const std::lock_guard lock(mutex);
  SurfaceState& surface = called("MTRegisterContactFrameCallbackWithRefcon", device);
  if (callback == nullptr) fail("MTRegisterContactFrameCallbackWithRefcon", "without a callback");
  surface.registrations.push_back({callback, refcon});
  library().latest[surface.index] = {callback, refcon};
}

// Waits for no callback that runs.
void unregisterCallback(Device device, FrameFunction* callback) {
  const std::lock_guard lock(mutex);
  SurfaceState& surface = called("MTUnregisterContactFrameCallback", device);
  const auto count = std::erase_if(surface.registrations,
                                   [&](const auto& each) { return each.callback == callback; });
  if (count == 0) fail("MTUnregisterContactFrameCallback", "was given one that is not registered");
}

template <class Function>
void* addressOf(Function* function) {
  return reinterpret_cast<void*>(function);
}

const std::map<std::string, void*, std::less<>>& functions() {
  static const std::map<std::string, void*, std::less<>> byName = {
      {"MTDeviceCreateList", addressOf(&createList)},
      {"MTDeviceGetDeviceID", addressOf(&getDeviceID)},
      {"MTDeviceStart", addressOf(&start)},
      {"MTDeviceStop", addressOf(&stop)},
      {"MTDeviceIsBuiltIn", addressOf(&isBuiltIn)},
      {"MTDeviceGetSensorDimensions", addressOf(&getSensorDimensions)},
      {"MTDeviceGetSensorSurfaceDimensions", addressOf(&getSensorSurfaceDimensions)},
      {"MTRegisterContactFrameCallbackWithRefcon", addressOf(&registerCallback)},
      {"MTUnregisterContactFrameCallback", addressOf(&unregisterCallback)},
  };
  return byName;
}

// Through the type as it arrives, which the sanitizer would take for a mistake.
__attribute__((no_sanitize("function"))) void call(const Registration& registration, Device device,
                                                   std::vector<std::byte>& records,
                                                   std::int32_t count) {
  auto* const wide = reinterpret_cast<WideFrameFunction*>(registration.callback);
  wide(device, records.empty() ? nullptr : records.data(),
       upperHalf | static_cast<std::uint32_t>(count), timestamp, upperHalf | frameNumber,
       registration.refcon);
}

// On a thread of the library's own. The records are gone when it returns.
void deliver(const std::vector<Registration>& registrations,
             const std::shared_ptr<SurfaceState>& surface, std::span<const std::byte> records,
             std::int32_t count) {
  {
    const std::lock_guard lock(mutex);
    ++library().framesUnderWay;
  }
  std::thread([&] {
    for (const auto& registration : registrations) {
      std::vector<std::byte> copy(records.begin(), records.end());
      try {
        call(registration, surface.get(), copy, count);
      } catch (...) {
        fail("contact frame callback", "let an exception out, which the library does not know");
      }
    }
  }).join();
  const std::lock_guard lock(mutex);
  --library().framesUnderWay;
}

std::shared_ptr<SurfaceState> connectedSurface(std::size_t index) {
  const auto surface = library().known.at(index).lock();
  return surface != nullptr && surface->isConnected ? surface : nullptr;
}

}  // namespace

void reset() {
  const std::lock_guard lock(mutex);
  if (!library().handles.empty()) fail("reset", "the library is open");
  if (listCount != 0) fail("reset", "somebody holds a list");
  library() = {};
}

void setMissingFunctions(std::set<std::string, std::less<>> names) {
  const std::lock_guard lock(mutex);
  library().missingFunctions = std::move(names);
}

void setGivesList(bool gives) {
  const std::lock_guard lock(mutex);
  library().givesList = gives;
}

std::size_t connect(const Surface& surface) {
  const std::lock_guard lock(mutex);
  const std::size_t index = library().known.size();
  library().connected.push_back(std::make_shared<SurfaceState>(index, surface));
  library().known.push_back(library().connected.back());
  return index;
}

void disconnect(std::size_t index) {
  const std::lock_guard lock(mutex);
  const auto surface = connectedSurface(index);
  if (surface == nullptr) fail("disconnect", "the surface is not there");
  surface->isConnected = false;
  std::erase(library().connected, surface);
}

void sendFrame(std::size_t index, std::span<const std::byte> records, std::int32_t count) {
  std::shared_ptr<SurfaceState> surface;
  std::vector<Registration> registrations;
  {
    const std::lock_guard lock(mutex);
    surface = connectedSurface(index);
    if (surface == nullptr || !surface->isStarted) return;
    registrations = surface->registrations;
  }
  deliver(registrations, surface, records, count);
}

void sendLateFrame(std::size_t index, std::span<const std::byte> records, std::int32_t count) {
  Registration registration;
  {
    const std::lock_guard lock(mutex);
    registration = library().latest.at(index);
  }
  deliver({registration}, nullptr, records, count);
}

std::size_t framesUnderWay() {
  const std::lock_guard lock(mutex);
  return library().framesUnderWay;
}

std::size_t openHandles() {
  const std::lock_guard lock(mutex);
  return library().handles.size();
}

std::size_t liveSurfaces() {
  const std::lock_guard lock(mutex);
  return static_cast<std::size_t>(
      std::ranges::count_if(library().known, [](const auto& weak) { return !weak.expired(); }));
}

std::size_t liveLists() {
  return listCount;
}

std::size_t registrations() {
  const std::lock_guard lock(mutex);
  std::size_t count = 0;
  for (const auto& weak : library().known) {
    if (const auto surface = weak.lock()) count += surface->registrations.size();
  }
  return count;
}

std::vector<std::string> calls() {
  const std::lock_guard lock(mutex);
  return library().calls;
}

void clearCalls() {
  const std::lock_guard lock(mutex);
  library().calls.clear();
}

}  // namespace standin::multitouch

using namespace standin::multitouch;

extern "C" {

// The one library that there is.
void* dlopen(const char* path, int mode) {
  const std::lock_guard lock(standin::multitouch::mutex);
  note("dlopen", path, std::to_string(mode));
  if (path != libraryPath) return nullptr;
  library().handles.push_back(std::make_unique<int>(mode));
  return library().handles.back().get();
}

void* dlsym(void* handle, const char* symbol) {
  const std::lock_guard lock(standin::multitouch::mutex);
  if (std::ranges::find(library().handles, handle, &std::unique_ptr<int>::get) ==
      library().handles.end()) {
    standin::fail("dlsym", "was given a library that is not open");
  }
  note("dlsym", symbol);
  const auto found = functions().find(symbol);
  if (found == functions().end() || library().missingFunctions.contains(symbol)) return nullptr;
  return found->second;
}

int dlclose(void* handle) {
  const std::lock_guard lock(standin::multitouch::mutex);
  note("dlclose");
  if (std::erase_if(library().handles, [&](const auto& each) { return each.get() == handle; }) ==
      0) {
    standin::fail("dlclose", "was given a library that is not open");
  }
  return 0;
}

}  // extern "C"
