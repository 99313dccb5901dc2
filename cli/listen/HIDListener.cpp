#include "cli/PermissionText.h"
#include "cli/SnapshotJson.h"
#include "cli/listen/DeviceRows.h"
#include "cli/listen/Listener.h"
#include "tessline/hid/ConnectedRemoteHIDService.h"

#include <utility>
#include <vector>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

namespace tessline::cli {

namespace {

std::string describedInterface(const ConnectedRemoteHIDDevice& device) {
  return fmt::format("{}, {}, product {:04X}:{:04X}, usage {:04X}:{:04X}{}", device.name,
                     device.transport, device.vendorID, device.productID, device.usagePage,
                     device.usage, device.isDeviceManagementInterface() ? ", management" : "");
}

class HIDListener : public Listener {
 public:
  HIDListener(const std::shared_ptr<platform::Platform>& platform,
              const std::shared_ptr<LiveOutput>& output, std::optional<std::string> namePrefix)
      : platform_(platform),
        output_(output),
        service_(ConnectedRemoteHIDService::create(std::move(namePrefix), platform)) {
    service_->onSnapshotChanged = [this](const ConnectedRemoteHIDSnapshot& snapshot) {
      output_->write([&](LiveWriter& writer) { show(snapshot, writer); });
      last_ = snapshot;
    };
    service_->onTransportEvents = [this](const std::vector<TesslineEvent>& events) {
      output_->events(events);
    };
  }

  void start() override {
    service_->startListening();
    constexpr auto needed = platform::Permission::inputMonitoring;
    const std::string hint = hintFor(needed, platform_->permissions()->state(needed));
    if (!last_.isListening) return output_->end({.hasFailed = true, .hint = hint});
    // Listening succeeds without it as long as no remote is there, which would then stay silent.
    if (hint.empty()) return;
    output_->write([&](LiveWriter& writer) {
      writer.object("\"hint\":" + nlohmann::json(hint).dump());
      writer.note("!", hint);
    });
  }

  void stop() override {
    service_->stopListening();
    output_->end({});
  }

 private:
  void show(const ConnectedRemoteHIDSnapshot& snapshot, LiveWriter& writer) const {
    writer.object(snapshotMembers(snapshot));
    // Each of a remote's interfaces brings the same words.
    if (snapshot.status != last_.status) writer.note("·", snapshot.status);
    // Those that are forgotten in the end are not gone.
    if (snapshot.isListening)
      noteDevices(last_.devices, snapshot.devices, describedInterface, writer);
  }

  const std::shared_ptr<platform::Platform> platform_;
  const std::shared_ptr<LiveOutput> output_;
  ConnectedRemoteHIDSnapshot last_;
  // Goes first, and publishes then.
  const std::shared_ptr<ConnectedRemoteHIDService> service_;
};

}  // namespace

std::unique_ptr<Listener> makeHIDListener(const std::shared_ptr<platform::Platform>& platform,
                                          const std::shared_ptr<LiveOutput>& output,
                                          std::optional<std::string> namePrefix) {
  return std::make_unique<HIDListener>(platform, output, std::move(namePrefix));
}

}  // namespace tessline::cli
