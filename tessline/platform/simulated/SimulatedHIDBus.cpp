#include "tessline/platform/simulated/SimulatedHIDBus.h"

#include <algorithm>
#include <utility>

namespace tessline::platform::simulated {

namespace {

bool hasNumber(const SimulatedHIDDevice& device, std::string_view key, std::int64_t wanted) {
  const HIDProperty property = device.scriptedProperty(key);
  const auto* number = std::get_if<std::int64_t>(&property);
  return number != nullptr && *number == wanted;
}

}  // namespace

class SimulatedHIDManager : public HIDManager,
                            public std::enable_shared_from_this<SimulatedHIDManager> {
 public:
  explicit SimulatedHIDManager(std::shared_ptr<SimulatedHIDBus> bus) : bus_(std::move(bus)) {}
  SimulatedHIDManager(const SimulatedHIDManager&) = delete;
  SimulatedHIDManager& operator=(const SimulatedHIDManager&) = delete;
  ~SimulatedHIDManager() override { bus_->calls_->add("IOHIDManagerRelease"); }

  void setDeviceMatchingMultiple(std::span<const HIDMatching> matching) override {
    std::vector<std::int64_t> vendors;
    std::vector<std::int64_t> products;
    for (const HIDMatching& entry : matching) {
      vendors.push_back(entry.vendorID);
      products.push_back(entry.productID);
    }
    bus_->calls_->add("IOHIDManagerSetDeviceMatchingMultiple",
                      {{"VendorID", std::move(vendors)}, {"ProductID", std::move(products)}});
    matching_.assign(matching.begin(), matching.end());
    matched_.clear();
    for (const auto& device : bus_->devices_) take(device);
  }

  void registerDeviceMatchingCallback(HIDDeviceCallback callback) override {
    bus_->calls_->add("IOHIDManagerRegisterDeviceMatchingCallback");
    onMatched_ = std::move(callback);
  }

  void registerDeviceRemovalCallback(HIDDeviceCallback callback) override {
    bus_->calls_->add("IOHIDManagerRegisterDeviceRemovalCallback");
    onRemoved_ = std::move(callback);
  }

  void scheduleWithRunLoop(MainRunLoop& loop) override {
    bus_->calls_->add("IOHIDManagerScheduleWithRunLoop");
    isScheduled_ = true;
    for (const auto& device : matched_) {
      callLater(loop, device, &SimulatedHIDManager::onMatched_);
    }
  }

  void unscheduleFromRunLoop(MainRunLoop&) override {
    bus_->calls_->add("IOHIDManagerUnscheduleFromRunLoop");
    isScheduled_ = false;
  }

  HIDResult open() override {
    bus_->calls_->add("IOHIDManagerOpen", {{"result", std::int64_t{bus_->openResult_}}});
    isOpen_ = bus_->openResult_ == 0;
    return bus_->openResult_;
  }

  HIDResult close() override {
    bus_->calls_->add("IOHIDManagerClose");
    isOpen_ = false;
    return 0;
  }

  std::optional<std::vector<std::shared_ptr<HIDDevice>>> copyDevices() override {
    bus_->calls_->add("IOHIDManagerCopyDevices");
    // A real manager tells of no devices at all until one has matched.
    if (!bus_->devicesCanBeCopied_ || !hasMatched_) return std::nullopt;
    return std::vector<std::shared_ptr<HIDDevice>>(matched_.begin(), matched_.end());
  }

  void deviceAppeared(const std::shared_ptr<SimulatedHIDDevice>& device) {
    if (!take(device) || !isScheduled_) return;
    callLater(*bus_->mainRunLoop_, device, &SimulatedHIDManager::onMatched_);
  }

  void deviceWent(const std::shared_ptr<SimulatedHIDDevice>& device) {
    if (std::erase(matched_, device) == 0 || !isScheduled_) return;
    callLater(*bus_->mainRunLoop_, device, &SimulatedHIDManager::onRemoved_);
  }

  bool delivers(const std::shared_ptr<SimulatedHIDDevice>& device) const {
    return isScheduled_ && isOpen_ && std::ranges::find(matched_, device) != matched_.end();
  }

 private:
  // Whether the device matches; it then stays matched until it goes, whatever becomes of its
  // properties.
  bool take(const std::shared_ptr<SimulatedHIDDevice>& device) {
    const bool matches = std::ranges::any_of(matching_, [&](const HIDMatching& entry) {
      return hasNumber(*device, "VendorID", entry.vendorID) &&
             hasNumber(*device, "ProductID", entry.productID);
    });
    if (!matches) return false;
    hasMatched_ = true;
    matched_.push_back(device);
    return true;
  }

  void callLater(MainRunLoop& loop, const std::shared_ptr<SimulatedHIDDevice>& device,
                 HIDDeviceCallback SimulatedHIDManager::*callback) {
    loop.async([weak = weak_from_this(), device, callback] {
      const auto self = weak.lock();
      if (!self || !self->isScheduled_) return;
      const HIDDeviceCallback function = (*self).*callback;
      if (function) function(device);
    });
  }

  std::shared_ptr<SimulatedHIDBus> bus_;
  std::vector<HIDMatching> matching_;
  std::vector<std::shared_ptr<SimulatedHIDDevice>> matched_;
  HIDDeviceCallback onMatched_;
  HIDDeviceCallback onRemoved_;
  bool isScheduled_ = false;
  bool isOpen_ = false;
  bool hasMatched_ = false;
};

SimulatedHIDBus::SimulatedHIDBus(std::shared_ptr<MainRunLoop> mainRunLoop,
                                 std::shared_ptr<CallLog> calls)
    : mainRunLoop_(std::move(mainRunLoop)), calls_(std::move(calls)) {}

std::shared_ptr<HIDManager> SimulatedHIDBus::makeManager() {
  calls_->add("IOHIDManagerCreate");
  if (!managersCanBeCreated_) return nullptr;
  std::erase_if(managers_, [](const auto& manager) { return manager.expired(); });
  auto manager = std::make_shared<SimulatedHIDManager>(shared_from_this());
  managers_.push_back(manager);
  return manager;
}

std::shared_ptr<SimulatedHIDDevice> SimulatedHIDBus::connect(
    SimulatedHIDDevice::Properties properties) {
  auto device = std::make_shared<SimulatedHIDDevice>(nextNumber_++, std::move(properties), calls_);
  devices_.push_back(device);
  for (const auto& weak : managers_) {
    if (const auto manager = weak.lock()) manager->deviceAppeared(device);
  }
  return device;
}

void SimulatedHIDBus::disconnect(const std::shared_ptr<SimulatedHIDDevice>& device) {
  if (std::erase(devices_, device) == 0) return;
  for (const auto& weak : managers_) {
    if (const auto manager = weak.lock()) manager->deviceWent(device);
  }
}

void SimulatedHIDBus::sendReport(const std::shared_ptr<SimulatedHIDDevice>& device,
                                 std::uint32_t reportID, std::vector<std::uint8_t> report) {
  mainRunLoop_->async([self = shared_from_this(), device, reportID, report = std::move(report)] {
    const bool isWanted = std::ranges::any_of(self->managers_, [&](const auto& weak) {
      const auto manager = weak.lock();
      return manager && manager->delivers(device);
    });
    if (isWanted) device->deliver(reportID, report);
  });
}

}  // namespace tessline::platform::simulated
