#include "tessline/platform/simulated/SimulatedMultitouch.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <utility>

namespace tessline::platform::simulated {

namespace {

// The layout in which the library delivers contacts.
constexpr std::size_t recordSize = 96;
constexpr std::size_t stateOffset = 20;
constexpr std::size_t identifierOffset = 24;
constexpr std::size_t firstNumberOffset = 32;
// What stands where nobody should look.
constexpr std::byte filler{0xA5};
// So that records stand on no boundary.
constexpr std::size_t misalignment = 1;
constexpr std::int64_t resolveNow = 2;

SimulatedTouchDevice& simulated(MultitouchDevice& device) {
  return static_cast<SimulatedTouchDevice&>(device);
}

void write(const SimulatedContact& contact, std::byte* record) {
  std::memcpy(record + stateOffset, &contact.state, sizeof contact.state);
  std::memcpy(record + identifierOffset, &contact.identifier, sizeof contact.identifier);
  const std::array numbers = {contact.x, contact.y, contact.velocityX, contact.velocityY};
  std::memcpy(record + firstNumberOffset, numbers.data(), sizeof numbers);
}

}  // namespace

// What a service holds open.
class SimulatedMultitouchLibrary : public MultitouchLibrary {
 public:
  explicit SimulatedMultitouchLibrary(std::shared_ptr<SimulatedMultitouch> multitouch)
      : multitouch_(std::move(multitouch)) {}
  SimulatedMultitouchLibrary(const SimulatedMultitouchLibrary&) = delete;
  SimulatedMultitouchLibrary& operator=(const SimulatedMultitouchLibrary&) = delete;
  ~SimulatedMultitouchLibrary() override {
    multitouch_->calls_->add("dlclose");
    for (const auto& weak : registered_) {
      if (const auto device = weak.lock()) device->callback_ = nullptr;
    }
  }

  MultitouchFunction symbol(std::string_view name) override {
    return multitouch_->symbol(name, *this);
  }

  void registerCallback(SimulatedTouchDevice& device, ContactFrameCallback callback) {
    device.callback_ = std::make_shared<const ContactFrameCallback>(std::move(callback));
    registered_.push_back(device.weak_from_this());
  }

 private:
  std::shared_ptr<SimulatedMultitouch> multitouch_;
  // Their callbacks go with the library, also those of surfaces that are gone.
  std::vector<std::weak_ptr<SimulatedTouchDevice>> registered_;
};

std::shared_ptr<MultitouchLibrary> SimulatedMultitouch::open(std::string_view path) {
  calls_->add("dlopen", {{"path", std::string(path)}, {"mode", resolveNow}});
  if (!canBeOpened_) return nullptr;
  return std::make_shared<SimulatedMultitouchLibrary>(shared_from_this());
}

std::shared_ptr<SimulatedTouchDevice> SimulatedMultitouch::connect(
    const SimulatedSurface& surface) {
  devices_.push_back(std::make_shared<SimulatedTouchDevice>(nextNumber_++, surface));
  return devices_.back();
}

void SimulatedMultitouch::disconnect(const std::shared_ptr<SimulatedTouchDevice>& device) {
  std::erase(devices_, device);
  device->isStarted_ = false;
}

void SimulatedMultitouch::sendFrame(SimulatedTouchDevice& device,
                                    std::span<const SimulatedContact> contacts) {
  records_.assign(misalignment + contacts.size() * recordSize, filler);
  std::byte* record = records_.data() + misalignment;
  for (const SimulatedContact& contact : contacts) {
    write(contact, record);
    record += recordSize;
  }
  sendRecords(device, records_.data() + misalignment, static_cast<std::int64_t>(contacts.size()));
}

void SimulatedMultitouch::sendRecords(SimulatedTouchDevice& device, const std::byte* touches,
                                      std::int64_t numTouches) {
  if (!device.isStarted_) return;
  // Held: the callee may unregister, which must not pull the function away from under it.
  if (const auto callback = device.callback_) (*callback)(touches, numTouches);
}

void SimulatedMultitouch::add(std::string_view operation, const MultitouchDevice& device) {
  const auto& simulatedDevice = static_cast<const SimulatedTouchDevice&>(device);
  calls_->add(operation, {{"device", simulatedDevice.number()}});
}

DeviceDimensionsFunction SimulatedMultitouch::dimensions(std::string name,
                                                         std::int32_t SimulatedSurface::*first,
                                                         std::int32_t SimulatedSurface::*second) {
  return [this, name = std::move(name), first, second](MultitouchDevice& device, std::int32_t& one,
                                                       std::int32_t& two) {
    add(name, device);
    if (!simulated(device).surface.tellsDimensions) return -1;
    one = simulated(device).surface.*first;
    two = simulated(device).surface.*second;
    return 0;
  };
}

// Functions are used while the library is open, which keeps this alive.
MultitouchFunction SimulatedMultitouch::symbol(std::string_view name,
                                               SimulatedMultitouchLibrary& library) {
  calls_->add("dlsym", {{"name", std::string(name)}});
  if (missingFunctions_.contains(name)) return {};
  if (name == "MTDeviceCreateList") {
    return DeviceListFunction([this]() -> std::optional<MultitouchDeviceList> {
      calls_->add("MTDeviceCreateList");
      if (!createsList_) return std::nullopt;
      return MultitouchDeviceList(devices_.begin(), devices_.end());
    });
  }
  if (name == "MTDeviceGetDeviceID") {
    return DeviceIDFunction([this](MultitouchDevice& device, std::uint64_t& id) {
      add("MTDeviceGetDeviceID", device);
      id = static_cast<std::uint64_t>(simulated(device).number());
      return 0;
    });
  }
  if (name == "MTDeviceStart") {
    return DeviceStartFunction([this](MultitouchDevice& device, std::int32_t mode) {
      const std::int32_t status = simulated(device).surface.startStatus;
      calls_->add("MTDeviceStart", {{"device", simulated(device).number()},
                                    {"mode", std::int64_t{mode}},
                                    {"status", std::int64_t{status}}});
      simulated(device).isStarted_ = status == 0;
      return status;
    });
  }
  if (name == "MTDeviceStop") {
    return DeviceStopFunction([this](MultitouchDevice& device) {
      add("MTDeviceStop", device);
      simulated(device).isStarted_ = false;
      return 0;
    });
  }
  if (name == "MTDeviceIsBuiltIn") {
    return DeviceTruthFunction([this](MultitouchDevice& device) {
      add("MTDeviceIsBuiltIn", device);
      return simulated(device).surface.isBuiltIn;
    });
  }
  if (name == "MTDeviceGetSensorDimensions") {
    return dimensions("MTDeviceGetSensorDimensions", &SimulatedSurface::sensorRows,
                      &SimulatedSurface::sensorColumns);
  }
  if (name == "MTDeviceGetSensorSurfaceDimensions") {
    return dimensions("MTDeviceGetSensorSurfaceDimensions", &SimulatedSurface::surfaceWidth,
                      &SimulatedSurface::surfaceHeight);
  }
  if (name == "MTRegisterContactFrameCallbackWithRefcon") {
    return RegisterCallbackFunction(
        [this, &library](MultitouchDevice& device, ContactFrameCallback callback) {
          add("MTRegisterContactFrameCallbackWithRefcon", device);
          library.registerCallback(simulated(device), std::move(callback));
        });
  }
  if (name == "MTUnregisterContactFrameCallback") {
    return UnregisterCallbackFunction([this](MultitouchDevice& device) {
      add("MTUnregisterContactFrameCallback", device);
      simulated(device).callback_ = nullptr;
    });
  }
  return {};
}

}  // namespace tessline::platform::simulated
