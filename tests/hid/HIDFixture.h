/// @file
/// A HID service on a simulated host, with verbs for what happens to it.
#pragma once

#include "tessline/hid/ConnectedRemoteHIDService.h"
#include "tessline/platform/simulated/SimulatedHost.h"
#include "tests/support/Bytes.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

namespace tessline::test {

using platform::HIDProperty;
using Device = std::shared_ptr<platform::simulated::SimulatedHIDDevice>;
using Properties = platform::simulated::SimulatedHIDDevice::Properties;

/// What a remote's interface says of itself; `changes` replace or add properties, and take one away
/// where they hold nothing.
inline Properties remoteInterface(const Properties& changes = {}) {
  Properties properties = {{"Product", "Siri Remote"},
                           {"Transport", "BluetoothLowEnergy"},
                           {"VendorID", std::int64_t{76}},
                           {"ProductID", std::int64_t{789}},
                           {"PrimaryUsagePage", std::int64_t{12}},
                           {"PrimaryUsage", std::int64_t{1}},
                           {"LocationID", std::int64_t{7}},
                           {"MaxInputReportSize", std::int64_t{100}}};
  for (const auto& [key, value] : changes) properties.insert_or_assign(key, value);
  std::erase_if(properties, [](const auto& entry) { return entry.second.index() == 0; });
  return properties;
}

class HIDServiceTest : public testing::Test {
 protected:
  HIDServiceTest() { makeService(std::nullopt); }

  void makeService(std::optional<std::string> prefix) {
    service = ConnectedRemoteHIDService::create(std::move(prefix), host);
    service->onSnapshotChanged = [this](const ConnectedRemoteHIDSnapshot& snapshot) {
      snapshots.push_back(snapshot);
    };
    service->onRawPayload = [this](const std::vector<std::uint8_t>& payload) {
      payloads.push_back(payload);
    };
    service->onTransportEvents = [this](const std::vector<TesslineEvent>& events) {
      eventBatches.push_back(events);
    };
  }

  Device connect(const Properties& changes = {}) {
    return host->hid().connect(remoteInterface(changes));
  }
  void report(const Device& device, std::uint32_t reportID, std::vector<std::uint8_t> bytes) {
    host->hid().sendReport(device, reportID, std::move(bytes));
    host->runReady();
  }
  std::string status() const { return snapshots.empty() ? "" : snapshots.back().status; }
  std::vector<std::string> publishedIDs() const {
    std::vector<std::string> ids;
    for (const auto& device : snapshots.back().devices) ids.push_back(device.id);
    return ids;
  }
  std::vector<std::string> operations() const {
    std::vector<std::string> names;
    for (const auto& call : host->calls().calls()) names.push_back(call.operation);
    return names;
  }

  std::shared_ptr<platform::simulated::SimulatedHost> host =
      platform::simulated::SimulatedHost::create();
  std::vector<ConnectedRemoteHIDSnapshot> snapshots;
  std::vector<std::vector<std::uint8_t>> payloads;
  std::vector<std::vector<TesslineEvent>> eventBatches;
  // The last member, as its end still publishes.
  std::shared_ptr<ConnectedRemoteHIDService> service;
};

}  // namespace tessline::test
