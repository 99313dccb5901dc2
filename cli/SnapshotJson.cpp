#include "cli/SnapshotJson.h"

#include <chrono>
#include <optional>
#include <utility>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

namespace tessline::cli {

namespace {

using nlohmann::ordered_json;

std::string members(const ordered_json& object) {
  const std::string text = object.dump(-1, ' ', false, ordered_json::error_handler_t::replace);
  return text.substr(1, text.size() - 2);
}

ordered_json orNull(const std::optional<std::string>& text) {
  return text ? ordered_json(*text) : ordered_json();
}

// In UTC and milliseconds, as in "2026-01-01T00:00:01.500Z".
std::string dateText(std::chrono::system_clock::time_point date) {
  using namespace std::chrono;
  const auto day = floor<days>(date);
  const year_month_day calendar(day);
  const hh_mm_ss time(floor<milliseconds>(date - day));
  return fmt::format("{:04}-{:02}-{:02}T{:02}:{:02}:{:02}.{:03}Z",
                     static_cast<int>(calendar.year()), static_cast<unsigned>(calendar.month()),
                     static_cast<unsigned>(calendar.day()), time.hours().count(),
                     time.minutes().count(), time.seconds().count(), time.subseconds().count());
}

}  // namespace

std::string snapshotMembers(const PacketLoggerCaptureSnapshot& snapshot) {
  return members({{"status", snapshot.status},
                  {"isCapturing", snapshot.isCapturing},
                  {"remoteAddress", orNull(snapshot.remoteAddress)},
                  {"packetLoggerPath", orNull(snapshot.packetLoggerPath)},
                  {"parsedPacketCount", snapshot.parsedPacketCount},
                  {"acceptedPacketCount", snapshot.acceptedPacketCount},
                  {"acceptedVoiceLikePacketCount", snapshot.acceptedVoiceLikePacketCount},
                  {"emittedEventCount", snapshot.emittedEventCount},
                  {"lastAcceptedPayloadPreview", orNull(snapshot.lastAcceptedPayloadPreview)}});
}

std::string snapshotMembers(const ConnectedRemoteHIDSnapshot& snapshot) {
  ordered_json devices = ordered_json::array();
  for (const ConnectedRemoteHIDDevice& device : snapshot.devices) {
    devices.push_back({{"id", device.id},
                       {"name", device.name},
                       {"transport", device.transport},
                       {"vendorID", device.vendorID},
                       {"productID", device.productID},
                       {"usagePage", device.usagePage},
                       {"usage", device.usage}});
  }
  return members({{"status", snapshot.status},
                  {"isListening", snapshot.isListening},
                  {"devices", std::move(devices)}});
}

std::string snapshotMembers(const BluetoothRemoteDiscoverySnapshot& snapshot) {
  ordered_json devices = ordered_json::array();
  for (const BluetoothRemoteDevice& device : snapshot.devices) {
    devices.push_back({{"id", device.id.text()},
                       {"name", device.name},
                       {"rssi", device.rssi},
                       {"connectionState", device.connectionState},
                       {"serviceUUIDs", device.serviceUUIDs},
                       {"lastSeen", dateText(device.lastSeen)}});
  }
  const auto& connected = snapshot.connectedDeviceID;
  return members(
      {{"status", snapshot.status},
       {"isScanning", snapshot.isScanning},
       {"devices", std::move(devices)},
       {"connectedDeviceID", connected ? ordered_json(connected->text()) : ordered_json()}});
}

}  // namespace tessline::cli
