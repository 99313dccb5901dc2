#include "cli/PermissionText.h"
#include "cli/SnapshotJson.h"
#include "cli/listen/DeviceRows.h"
#include "cli/listen/Listener.h"
#include "tessline/bluetooth/BluetoothRemoteDiscoveryService.h"
#include "tessline/bluetooth/BluetoothStatus.h"

#include <cstdint>
#include <iterator>
#include <string_view>
#include <utility>
#include <vector>

#include <fmt/format.h>
#include <fmt/ranges.h>

namespace tessline::cli {

namespace {

using platform::Permission;
using Snapshot = BluetoothRemoteDiscoverySnapshot;

std::string describedRemote(const BluetoothRemoteDevice& device) {
  std::string text =
      fmt::format("{}, {} dBm, {}", device.name, device.rssi, device.connectionState);
  if (!device.serviceUUIDs.empty()) {
    fmt::format_to(std::back_inserter(text), ", offers {}", fmt::join(device.serviceUUIDs, " "));
  }
  return text;
}

void show(const Snapshot& last, const Snapshot& snapshot, LiveWriter& writer) {
  writer.object(snapshotMembers(snapshot));
  if (snapshot.status != last.status) writer.note("·", snapshot.status);
  noteDevices(last.devices, snapshot.devices, describedRemote, writer);
}

// Everything else may become better.
std::optional<ListenEnd> endToldBy(const std::string& status, platform::Permissions& permissions) {
  if (status == bluetoothStatus::stopped) return ListenEnd();
  if (status == bluetoothStatus::unsupported) return ListenEnd{.hasFailed = true};
  if (status == bluetoothStatus::unauthorized) {
    return ListenEnd{
        .hasFailed = true,
        .hint = hintFor(Permission::bluetooth, permissions.state(Permission::bluetooth))};
  }
  return std::nullopt;
}

class BluetoothListener : public Listener {
 public:
  BluetoothListener(const std::shared_ptr<platform::Platform>& platform,
                    const std::shared_ptr<LiveOutput>& output)
      : service_(BluetoothRemoteDiscoveryService::create(platform)) {
    service_->onSnapshotChanged = [output, permissions = platform->permissions(),
                                   last = Snapshot()](const Snapshot& snapshot) mutable {
      output->write([&](LiveWriter& writer) { show(last, snapshot, writer); });
      last = snapshot;
      if (auto end = endToldBy(snapshot.status, *permissions)) output->end(*std::move(end));
    };
    service_->onTransportEvents = [output](const std::vector<TesslineEvent>& events) {
      output->events(events);
    };
    service_->onBatteryLevelChanged = [output, last = std::optional<std::int64_t>()](
                                          std::optional<std::int64_t> percent) mutable {
      output->write([&](LiveWriter& writer) {
        writer.object(fmt::format(R"("batteryPercent":{})",
                                  percent ? std::to_string(*percent) : std::string("null")));
        if (percent == last) return;
        writer.note("▮", percent ? fmt::format("battery {} %", *percent) : "battery unknown");
      });
      last = percent;
    };
  }

  void start() override { service_->startScanning(); }
  void stop() override { service_->stopScanning(); }

 private:
  const std::shared_ptr<BluetoothRemoteDiscoveryService> service_;
};

}  // namespace

std::unique_ptr<Listener> makeBluetoothListener(const std::shared_ptr<platform::Platform>& platform,
                                                const std::shared_ptr<LiveOutput>& output) {
  return std::make_unique<BluetoothListener>(platform, output);
}

}  // namespace tessline::cli
