#include "cli/doctor/DeviceChecks.h"

#include "cli/PermissionText.h"
#include "tessline/hid/ConnectedRemoteHIDDevice.h"

#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include <fmt/format.h>

namespace tessline::cli {

namespace {

using platform::BluetoothState;
using platform::Permission;
using platform::PermissionState;

struct PermissionUse {
  Permission permission;
  std::string_view check;
  std::string_view purpose;
};

constexpr PermissionUse permissionUses[] = {
    {Permission::inputMonitoring, "Input Monitoring", "tessline listen hid"},
    {Permission::accessibility, "Accessibility", "an application that lets the clickpad act"},
    {Permission::bluetooth, "Bluetooth permission", "tessline listen bluetooth"}};

// None where nobody is asked.
std::optional<Check> permissionCheck(const PermissionUse& use, platform::Permissions& permissions) {
  const std::string name(use.check);
  const std::string purpose = fmt::format("; {} needs it", use.purpose);
  switch (permissions.state(use.permission)) {
    case PermissionState::granted:
      return Check{name, CheckState::ok, "granted"};
    case PermissionState::denied:
      return Check{name, CheckState::missing, "denied" + purpose, remedyFor(use.permission)};
    case PermissionState::undetermined:
      return Check{name, CheckState::warning,
                   "not decided yet, the system asks when it is wanted" + purpose,
                   remedyFor(use.permission)};
    case PermissionState::notNeeded:
      return std::nullopt;
  }
  return std::nullopt;
}

// A manager that is not open sees what there is, whether or not it would be allowed to listen.
Check hidCheck(platform::Platform& platform) {
  const std::string name = "HID interfaces";
  const auto manager = platform.makeHIDManager();
  if (!manager) {
    return {name, CheckState::note, "this host gives none; tessline listen hid needs them"};
  }
  std::vector<platform::HIDMatching> matching;
  matching.reserve(ConnectedRemoteHIDDevice::knownSiriRemoteProductIDs.size());
  for (const std::int64_t product : ConnectedRemoteHIDDevice::knownSiriRemoteProductIDs) {
    matching.push_back({ConnectedRemoteHIDDevice::appleVendorID, product});
  }
  manager->setDeviceMatchingMultiple(matching);
  const auto devices = manager->copyDevices();
  const std::size_t count = devices ? devices->size() : 0;
  if (count == 0) {
    return {name, CheckState::note,
            "no Siri Remote is connected; tessline listen hid waits for one"};
  }
  return {name, CheckState::ok, fmt::format("{} of a connected Siri Remote", count)};
}

// Asks a central of its own for the state. The answer comes on the queue, if it comes.
class BluetoothQuestion : public platform::BluetoothCentralDelegate,
                          public std::enable_shared_from_this<BluetoothQuestion> {
 public:
  // Nobody waits any more when the platform is gone.
  void ask(const std::shared_ptr<platform::Platform>& platform) {
    const auto queue = platform->makeSerialQueue("com.morvane.remote.doctor");
    queue->async([self = shared_from_this(), weak = std::weak_ptr(platform), queue] {
      if (const auto host = weak.lock()) self->central_ = host->makeBluetoothCentral(self, queue);
    });
  }

  std::optional<BluetoothState> answerWithin(std::chrono::milliseconds patience) {
    std::unique_lock lock(mutex_);
    answered_.wait_for(lock, patience, [this] { return answer_.has_value(); });
    return answer_;
  }

 private:
  void centralManagerDidUpdateState() override {
    const BluetoothState state = central_->state();
    if (state == BluetoothState::unknown) return;
    const std::lock_guard lock(mutex_);
    answer_ = state;
    answered_.notify_one();
  }

  // Nothing is scanned for and nothing connected to.
  void didDiscover(const std::shared_ptr<platform::BluetoothPeripheral>&,
                   const platform::BluetoothAdvertisement&, std::int64_t) override {}
  void didConnect(const std::shared_ptr<platform::BluetoothPeripheral>&) override {}
  void didFailToConnect(const std::shared_ptr<platform::BluetoothPeripheral>&,
                        const TesslineError*) override {}
  void didDisconnectPeripheral(const std::shared_ptr<platform::BluetoothPeripheral>&,
                               const TesslineError*) override {}

  // The queue's.
  std::shared_ptr<platform::BluetoothCentral> central_;
  std::mutex mutex_;
  std::condition_variable answered_;
  std::optional<BluetoothState> answer_;
};

Check bluetoothCheck(const std::shared_ptr<platform::Platform>& platform,
                     std::chrono::milliseconds patience) {
  const std::string name = "Bluetooth LE";
  const PermissionState permission = platform->permissions()->state(Permission::bluetooth);
  if (permission != PermissionState::granted && permission != PermissionState::notNeeded) {
    return {name, CheckState::note, "not known, as only those who may use it are told"};
  }
  const auto question = std::make_shared<BluetoothQuestion>();
  question->ask(platform);
  const auto state = question->answerWithin(patience);
  if (!state) return {name, CheckState::note, "not known, as the system has not answered in time"};
  switch (*state) {
    case BluetoothState::poweredOn:
      return {name, CheckState::ok, "powered on"};
    case BluetoothState::poweredOff:
      return {name, CheckState::warning, "powered off", "turn Bluetooth on"};
    case BluetoothState::unsupported:
      return {name, CheckState::note, "this host has none; tessline listen bluetooth needs it"};
    case BluetoothState::unauthorized:
      return {name, CheckState::missing, "not authorized", remedyFor(Permission::bluetooth)};
    case BluetoothState::unknown:
    case BluetoothState::resetting:
      break;
  }
  return {name, CheckState::warning, "not ready", "try again in a moment"};
}

}  // namespace

std::vector<Check> deviceChecks(const std::shared_ptr<platform::Platform>& platform,
                                std::chrono::milliseconds patience) {
  std::vector<Check> checks;
  const auto permissions = platform->permissions();
  for (const PermissionUse& use : permissionUses) {
    if (auto check = permissionCheck(use, *permissions)) checks.push_back(*std::move(check));
  }
  checks.push_back(hidCheck(*platform));
  checks.push_back(bluetoothCheck(platform, patience));
  return checks;
}

}  // namespace tessline::cli
