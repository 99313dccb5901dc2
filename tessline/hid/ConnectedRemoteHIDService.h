/// @file
/// Listens to the HID interfaces of a remote that the system has connected.
#pragma once

#include "tessline/events/SiriRemoteReportParser.h"
#include "tessline/events/TesslineEvent.h"
#include "tessline/hid/ConnectedRemoteHIDDevice.h"
#include "tessline/hid/ConnectedRemoteHIDSnapshot.h"
#include "tessline/platform/Platform.h"

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace tessline {

/// Receives every input report of the interfaces that it accepts as a Siri Remote's, without owning
/// the connection, and decodes them with one parser.
///
/// Main thread alone, without a lock: `startListening` and `stopListening` publish before they
/// return, everything else is called back from the main run loop. Set callbacks before starting,
/// and replace none from within its own call. Failures show as the status of
/// the next snapshot. After the last owner lets go nothing is called any more, but for one snapshot
/// "Stopped" from the destructor of a service that was listening.
class ConnectedRemoteHIDService : public std::enable_shared_from_this<ConnectedRemoteHIDService> {
 public:
  /// A service that listens to nothing yet. `productNamePrefix` additionally accepts Apple
  /// interfaces whose product name begins with it (in any letter case; every name begins with an
  /// empty one) and names the remote in status texts. `platform` is the host's if none is given.
  static std::shared_ptr<ConnectedRemoteHIDService> create(
      std::optional<std::string> productNamePrefix,
      std::shared_ptr<platform::Platform> platform = platform::hostPlatform());

  ConnectedRemoteHIDService(const ConnectedRemoteHIDService&) = delete;
  ConnectedRemoteHIDService& operator=(const ConnectedRemoteHIDService&) = delete;
  /// Stops listening.
  ~ConnectedRemoteHIDService();

  /// Told of every change of state, even to an equal one.
  std::function<void(const ConnectedRemoteHIDSnapshot&)> onSnapshotChanged;
  /// Told of the events of one report, in order; never of none.
  std::function<void(const std::vector<TesslineEvent>&)> onTransportEvents;
  /// Told of the bytes of every report before they are decoded: its report ID first, where it has
  /// one.
  std::function<void(const std::vector<std::uint8_t>&)> onRawPayload;

  /// As given to `create`.
  const std::optional<std::string> productNamePrefix;

  /// Opens the HID manager and begins to listen; nothing if it listens already. Publishes what
  /// became of it: how many interfaces there are, or why it failed.
  void startListening();

  /// Closes the HID manager, forgets all interfaces and publishes; nothing if there is no manager.
  void stopListening();

 private:
  // Owns the buffer of one interface's reports and its registration, which ends before the buffer
  // goes.
  class HIDInputReportRegistration;

  ConnectedRemoteHIDService(std::optional<std::string> prefix,
                            std::shared_ptr<platform::Platform> platform);

  void refreshConnectedDevices();
  void forgetDevices();
  void addDevice(const std::shared_ptr<platform::HIDDevice>& device,
                 const ConnectedRemoteHIDDevice& summary);
  void handleMatchedDevice(const std::shared_ptr<platform::HIDDevice>& device);
  void handleRemovedDevice(const std::shared_ptr<platform::HIDDevice>& device);
  void registerInputReportCallback(const std::shared_ptr<platform::HIDDevice>& device,
                                   const ConnectedRemoteHIDDevice& summary);
  void handleInputReport(std::uint32_t reportID, std::span<const std::uint8_t> reportBytes);
  void publishSnapshot();

  static std::optional<ConnectedRemoteHIDDevice> summarize(const platform::HIDDevice& device);
  bool accepts(const ConnectedRemoteHIDDevice& device) const;

  const std::shared_ptr<platform::Platform> platform_;
  std::shared_ptr<platform::MainRunLoop> mainRunLoop_;
  std::shared_ptr<platform::HIDManager> manager_;
  // These three always have the same keys: the ids of the accepted interfaces.
  std::map<std::string, ConnectedRemoteHIDDevice> devices_;
  std::map<std::string, std::shared_ptr<platform::HIDDevice>> hidDevicesByID_;
  std::map<std::string, std::shared_ptr<HIDInputReportRegistration>> inputReportRegistrations_;
  bool isListening_ = false;
  std::string status_ = "Idle";
  SiriRemoteReportParser reportParser_;
  // Kept between reports for their storage.
  std::vector<std::uint8_t> reportBytes_;
  std::vector<TesslineEvent> events_;
};

}  // namespace tessline
