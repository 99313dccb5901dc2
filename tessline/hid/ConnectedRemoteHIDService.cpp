#include "tessline/hid/ConnectedRemoteHIDService.h"

#include "tessline/text/Unicode.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <compare>
#include <limits>
#include <string_view>
#include <utility>

namespace tessline {

namespace {

constexpr std::string_view productKey = "Product";
constexpr std::string_view registryIDKey = "RegistryID";
constexpr std::string_view locationIDKey = "LocationID";
constexpr std::string_view usagePageKey = "PrimaryUsagePage";
constexpr std::string_view usageKey = "PrimaryUsage";
constexpr std::string_view transportKey = "Transport";
constexpr std::string_view vendorIDKey = "VendorID";
constexpr std::string_view productIDKey = "ProductID";
constexpr std::string_view maxInputReportSizeKey = "MaxInputReportSize";

constexpr std::string_view unknownTransport = "Unknown";
constexpr std::string_view defaultLabel = "Siri Remote";
constexpr std::array<std::string_view, 3> nameWords = {"remote", "siri", "apple tv"};
constexpr std::int64_t smallestReportBuffer = 64;
// More than any report can have; a device that claims more gets no more.
constexpr std::int64_t largestReportBuffer = 1 << 20;
constexpr std::uint32_t largestReportID = 255;
constexpr std::uint8_t framingByte = 0xFF;

namespace status {
constexpr std::string_view cannotCreate = "Could not create HID manager";
constexpr std::string_view cannotOpen = "Could not open HID manager: ";
constexpr std::string_view stopped = "Stopped";
constexpr std::string_view connectedInterface = "Connected HID interface: ";
constexpr std::string_view removed = "HID interface removed: ";
constexpr std::string_view noInterfaces = "No matching connected HID interfaces";

std::string listening(std::size_t count, std::string_view label) {
  if (count == 0) return "Listening for connected " + std::string(label) + " HID devices";
  return "Listening to " + std::to_string(count) + " connected " + std::string(label) +
         " HID interface" + (count == 1 ? "" : "s");
}
}  // namespace status

std::optional<std::string> stringProperty(const platform::HIDDevice& device, std::string_view key) {
  platform::HIDProperty property = device.property(key);
  auto* const text = std::get_if<std::string>(&property);
  return text == nullptr ? std::nullopt : std::optional(std::move(*text));
}

// Numbers lose their fraction and end at the limits of 64 bits; truth values count as 1 and 0.
std::int64_t truncated(double number) {
  constexpr double limit = 0x1p63;
  if (std::isnan(number)) return 0;
  if (number >= limit) return std::numeric_limits<std::int64_t>::max();
  if (number < -limit) return std::numeric_limits<std::int64_t>::min();
  return static_cast<std::int64_t>(number);
}

std::int64_t integerProperty(const platform::HIDDevice& device, std::string_view key) {
  struct ToInteger {
    std::int64_t operator()(std::int64_t number) const { return number; }
    std::int64_t operator()(double number) const { return truncated(number); }
    std::int64_t operator()(bool truth) const { return truth ? 1 : 0; }
    std::int64_t operator()(std::monostate) const { return 0; }
    std::int64_t operator()(const std::string&) const { return 0; }
    std::int64_t operator()(const platform::OtherHIDProperty&) const { return 0; }
  };
  return std::visit(ToInteger(), device.property(key));
}

// The 32 bits of a result code, as in "0xE00002E2".
std::string resultText(platform::HIDResult result) {
  constexpr std::string_view digits = "0123456789ABCDEF";
  const auto bits = static_cast<std::uint32_t>(result);
  std::string text = "0x";
  for (int shift = 28; shift >= 0; shift -= 4) text += digits[bits >> shift & 0xF];
  return text;
}

}  // namespace

class ConnectedRemoteHIDService::HIDInputReportRegistration {
 public:
  HIDInputReportRegistration(std::shared_ptr<platform::HIDDevice> device, std::size_t capacity,
                             platform::InputReportCallback callback)
      : device_(std::move(device)), buffer_(capacity) {
    device_->registerInputReportCallback(buffer_, std::move(callback));
  }
  HIDInputReportRegistration(const HIDInputReportRegistration&) = delete;
  HIDInputReportRegistration& operator=(const HIDInputReportRegistration&) = delete;
  ~HIDInputReportRegistration() { device_->unregisterInputReportCallback(); }

 private:
  const std::shared_ptr<platform::HIDDevice> device_;
  std::vector<std::uint8_t> buffer_;
};

std::shared_ptr<ConnectedRemoteHIDService> ConnectedRemoteHIDService::create(
    std::optional<std::string> productNamePrefix, std::shared_ptr<platform::Platform> platform) {
  return std::shared_ptr<ConnectedRemoteHIDService>(
      new ConnectedRemoteHIDService(std::move(productNamePrefix), std::move(platform)));
}

ConnectedRemoteHIDService::ConnectedRemoteHIDService(std::optional<std::string> prefix,
                                                     std::shared_ptr<platform::Platform> platform)
    : productNamePrefix(std::move(prefix)),
      platform_(std::move(platform)),
      mainRunLoop_(platform_->mainRunLoop()) {}

ConnectedRemoteHIDService::~ConnectedRemoteHIDService() {
  stopListening();
}

void ConnectedRemoteHIDService::startListening() {
  if (isListening_) return;
  if (manager_) stopListening();
  manager_ = platform_->makeHIDManager();
  const auto manager = manager_;
  if (!manager) {
    status_ = status::cannotCreate;
    return publishSnapshot();
  }

  std::vector<platform::HIDMatching> matching;
  matching.reserve(ConnectedRemoteHIDDevice::knownSiriRemoteProductIDs.size());
  for (const std::int64_t productID : ConnectedRemoteHIDDevice::knownSiriRemoteProductIDs) {
    matching.push_back({ConnectedRemoteHIDDevice::appleVendorID, productID});
  }
  manager->setDeviceMatchingMultiple(matching);
  const auto calling = [weak = weak_from_this()](auto handle) {
    return [weak, handle](const std::shared_ptr<platform::HIDDevice>& device) {
      if (const auto self = weak.lock()) ((*self).*handle)(device);
    };
  };
  manager->registerDeviceMatchingCallback(calling(&ConnectedRemoteHIDService::handleMatchedDevice));
  manager->registerDeviceRemovalCallback(calling(&ConnectedRemoteHIDService::handleRemovedDevice));
  manager->scheduleWithRunLoop(*mainRunLoop_);

  const platform::HIDResult result = manager->open();
  // Stopped or started anew by what was called back meanwhile: this start is history.
  if (manager_ != manager) return;
  if (result == 0) {
    refreshConnectedDevices();
    isListening_ = true;
    status_ = status::listening(devices_.size(),
                                productNamePrefix ? *productNamePrefix : std::string(defaultLabel));
  } else {
    status_ = std::string(status::cannotOpen) + resultText(result);
    manager->unscheduleFromRunLoop(*mainRunLoop_);
    // Released without being closed, and with its callbacks: nothing is to come of it any more.
    manager_.reset();
  }
  publishSnapshot();
}

void ConnectedRemoteHIDService::stopListening() {
  if (!manager_) return;
  manager_->unscheduleFromRunLoop(*mainRunLoop_);
  manager_->close();
  manager_.reset();
  forgetDevices();
  isListening_ = false;
  status_ = status::stopped;
  publishSnapshot();
}

void ConnectedRemoteHIDService::refreshConnectedDevices() {
  const auto connected = manager_ ? manager_->copyDevices() : std::nullopt;
  forgetDevices();
  if (!connected) return;
  for (const auto& device : *connected) {
    const auto summary = summarize(*device);
    if (summary && accepts(*summary)) addDevice(device, *summary);
  }
}

void ConnectedRemoteHIDService::forgetDevices() {
  devices_.clear();
  hidDevicesByID_.clear();
  inputReportRegistrations_.clear();
}

void ConnectedRemoteHIDService::addDevice(const std::shared_ptr<platform::HIDDevice>& device,
                                          const ConnectedRemoteHIDDevice& summary) {
  devices_.insert_or_assign(summary.id, summary);
  hidDevicesByID_.insert_or_assign(summary.id, device);
  registerInputReportCallback(device, summary);
}

void ConnectedRemoteHIDService::handleMatchedDevice(
    const std::shared_ptr<platform::HIDDevice>& device) {
  const auto summary = summarize(*device);
  if (!summary || !accepts(*summary)) return;
  addDevice(device, *summary);
  status_ = std::string(status::connectedInterface) + summary->name;
  publishSnapshot();
}

void ConnectedRemoteHIDService::handleRemovedDevice(
    const std::shared_ptr<platform::HIDDevice>& device) {
  const auto summary = summarize(*device);
  if (!summary || !accepts(*summary)) return;
  devices_.erase(summary->id);
  hidDevicesByID_.erase(summary->id);
  inputReportRegistrations_.erase(summary->id);
  status_ = devices_.empty() ? std::string(status::noInterfaces)
                             : std::string(status::removed) + summary->name;
  publishSnapshot();
}

void ConnectedRemoteHIDService::registerInputReportCallback(
    const std::shared_ptr<platform::HIDDevice>& device, const ConnectedRemoteHIDDevice& summary) {
  const std::int64_t capacity = std::clamp(integerProperty(*device, maxInputReportSizeKey),
                                           smallestReportBuffer, largestReportBuffer);
  // The old registration must end before the new one begins: both may be of the same device.
  inputReportRegistrations_.erase(summary.id);
  inputReportRegistrations_.emplace(
      summary.id,
      std::make_shared<HIDInputReportRegistration>(
          device, static_cast<std::size_t>(capacity),
          [weak = weak_from_this()](std::uint32_t reportID, std::span<const std::uint8_t> report) {
            if (const auto self = weak.lock()) {
              self->handleInputReport(reportID, report);
            }
          }));
}

void ConnectedRemoteHIDService::handleInputReport(std::uint32_t reportID,
                                                  std::span<const std::uint8_t> reportBytes) {
  // Taken out of the members, as a callback may cause another report before it returns.
  auto bytes = std::exchange(reportBytes_, {});
  auto events = std::exchange(events_, {});
  bytes.clear();
  events.clear();
  const bool hasID = reportID >= 1 && reportID <= largestReportID;
  if (hasID && (reportBytes.empty() || reportBytes.front() != reportID)) {
    bytes.push_back(static_cast<std::uint8_t>(reportID));
  }
  bytes.insert(bytes.end(), reportBytes.begin(), reportBytes.end());

  if (onRawPayload) onRawPayload(bytes);
  reportParser_.ingestPayload(bytes, events);
  if (events.empty() && !bytes.empty() && bytes.front() == framingByte) {
    reportParser_.ingestPayload(std::span(bytes).subspan(1), events);
  }
  if (!events.empty() && onTransportEvents) onTransportEvents(events);
  reportBytes_ = std::move(bytes);
  events_ = std::move(events);
}

void ConnectedRemoteHIDService::publishSnapshot() {
  if (!onSnapshotChanged) return;
  ConnectedRemoteHIDSnapshot snapshot{
      .status = status_, .isListening = isListening_, .devices = {}};
  for (const auto& [id, device] : devices_) snapshot.devices.push_back(device);
  std::ranges::stable_sort(snapshot.devices, [](const auto& left, const auto& right) {
    const auto byName = compareCanonically(left.name, right.name);
    return std::is_neq(byName) ? std::is_lt(byName)
                               : std::is_lt(compareCanonically(left.id, right.id));
  });
  onSnapshotChanged(snapshot);
}

std::optional<ConnectedRemoteHIDDevice> ConnectedRemoteHIDService::summarize(
    const platform::HIDDevice& device) {
  auto product = stringProperty(device, productKey);
  if (!product || product->empty()) return std::nullopt;
  const std::int64_t registryID = integerProperty(device, registryIDKey);
  std::string fallbackKey = *product;
  for (const std::string_view key : {locationIDKey, usagePageKey, usageKey}) {
    fallbackKey += "-" + std::to_string(integerProperty(device, key));
  }
  return ConnectedRemoteHIDDevice{
      .id = registryID != 0 ? std::to_string(registryID) : std::move(fallbackKey),
      .name = std::move(*product),
      .transport = stringProperty(device, transportKey).value_or(std::string(unknownTransport)),
      .vendorID = integerProperty(device, vendorIDKey),
      .productID = integerProperty(device, productIDKey),
      .usagePage = integerProperty(device, usagePageKey),
      .usage = integerProperty(device, usageKey)};
}

bool ConnectedRemoteHIDService::accepts(const ConnectedRemoteHIDDevice& device) const {
  if (device.vendorID != ConnectedRemoteHIDDevice::appleVendorID) return false;
  if (ConnectedRemoteHIDDevice::isKnownSiriRemoteProductID(device.productID)) return true;
  const std::string name = lowercased(device.name);
  const auto nameHolds = [&name](std::string_view word) {
    return name.find(word) != std::string::npos;
  };
  if (std::ranges::any_of(nameWords, nameHolds)) return true;
  return productNamePrefix && startsWithIgnoringCase(device.name, *productNamePrefix);
}

}  // namespace tessline
