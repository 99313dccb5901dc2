/// @file
/// The simulated host's HID interfaces, to be scripted.
#pragma once

#include "tessline/platform/HIDManager.h"
#include "tessline/platform/simulated/CallLog.h"
#include "tessline/platform/simulated/SimulatedHIDDevice.h"

#include <cstdint>
#include <memory>
#include <vector>

namespace tessline::platform::simulated {

class SimulatedHIDManager;

/// Devices come and go and send reports; managers that were made see what matches. What a manager
/// calls back is handed to the main run loop first, as on a real host.
class SimulatedHIDBus : public std::enable_shared_from_this<SimulatedHIDBus> {
 public:
  /// Without devices. Calls back from `mainRunLoop` and notes what managers are asked in `calls`.
  SimulatedHIDBus(std::shared_ptr<MainRunLoop> mainRunLoop, std::shared_ptr<CallLog> calls);

  /// A device appears.
  std::shared_ptr<SimulatedHIDDevice> connect(SimulatedHIDDevice::Properties properties);
  /// It goes; its properties stay readable.
  void disconnect(const std::shared_ptr<SimulatedHIDDevice>& device);
  /// It sends a report, which arrives if an open, scheduled manager has matched it.
  void sendReport(const std::shared_ptr<SimulatedHIDDevice>& device, std::uint32_t reportID,
                  std::vector<std::uint8_t> report);

  /// Whether managers can be made from now on.
  void setManagersCanBeCreated(bool can) { managersCanBeCreated_ = can; }
  /// What opening a manager yields from now on.
  void setOpenResult(HIDResult result) { openResult_ = result; }
  /// Whether managers can tell their devices from now on.
  void setDevicesCanBeCopied(bool can) { devicesCanBeCopied_ = can; }

  /// A manager of this bus; null if none can be made.
  std::shared_ptr<HIDManager> makeManager();

 private:
  friend class SimulatedHIDManager;

  std::shared_ptr<MainRunLoop> mainRunLoop_;
  std::shared_ptr<CallLog> calls_;
  std::vector<std::shared_ptr<SimulatedHIDDevice>> devices_;
  std::vector<std::weak_ptr<SimulatedHIDManager>> managers_;
  std::int64_t nextNumber_ = 1;
  bool managersCanBeCreated_ = true;
  bool devicesCanBeCopied_ = true;
  HIDResult openResult_ = 0;
};

}  // namespace tessline::platform::simulated
