/// @file
/// A host without hardware: everything is scripted, every call is recorded, time is virtual.
#pragma once

#include "tessline/platform/Platform.h"
#include "tessline/platform/simulated/CallLog.h"
#include "tessline/platform/simulated/SimulatedBluetooth.h"
#include "tessline/platform/simulated/SimulatedDesktop.h"
#include "tessline/platform/simulated/SimulatedFiles.h"
#include "tessline/platform/simulated/SimulatedHIDBus.h"
#include "tessline/platform/simulated/SimulatedMultitouch.h"
#include "tessline/platform/simulated/SimulatedPermissions.h"
#include "tessline/platform/simulated/SimulatedProcesses.h"
#include "tessline/platform/simulated/VirtualScheduler.h"

#include <memory>
#include <string_view>
#include <utility>
#include <vector>

namespace tessline::platform::simulated {

/// Give it to a service instead of the host's platform, script what the outside does, and move the
/// clock. All queues and the main run loop run in the thread that calls `advance`, in an order that
/// depends on nothing but the script. Not synchronised.
///
/// The main run loop's `run` delivers, moving the clock, until it is stopped or nothing is left.
class SimulatedHost : public Platform {
 public:
  /// A host at time 0, without devices.
  static std::shared_ptr<SimulatedHost> create();
  SimulatedHost(const SimulatedHost&) = delete;
  SimulatedHost& operator=(const SimulatedHost&) = delete;
  /// Work that still waits is discarded.
  ~SimulatedHost() override;

  std::shared_ptr<SerialQueue> makeSerialQueue(
      std::string_view label, QualityOfService quality = QualityOfService::unspecified) override;
  std::shared_ptr<MainRunLoop> mainRunLoop() override { return mainRunLoop_; }
  std::shared_ptr<LogSink> logSink() override { return logSink_; }
  std::shared_ptr<HIDManager> makeHIDManager() override { return hid_->makeManager(); }
  std::shared_ptr<BluetoothCentral> makeBluetoothCentral(
      std::weak_ptr<BluetoothCentralDelegate> delegate,
      std::shared_ptr<SerialQueue> queue) override {
    return bluetooth_->makeCentral(std::move(delegate), std::move(queue));
  }
  std::shared_ptr<MultitouchLibrary> openMultitouchLibrary(std::string_view path) override {
    return multitouch_->open(path);
  }
  std::shared_ptr<Accessibility> accessibility() override;
  std::shared_ptr<Screens> screens() override;
  std::shared_ptr<PointerEvents> pointerEvents() override;
  std::shared_ptr<ChildProcesses> childProcesses() override { return processes_; }
  std::shared_ptr<FileManager> fileManager() override { return files_; }
  std::shared_ptr<HostEnvironment> environment() override { return environment_; }
  std::shared_ptr<Permissions> permissions() override { return permissions_; }

  /// Moves the clock, running what falls due.
  void advance(QueueTime duration) { scheduler_->advance(duration); }
  /// Runs what is due without moving the clock.
  void runReady() { scheduler_->runReady(); }

  /// The clock and the work that waits for it.
  VirtualScheduler& scheduler() { return *scheduler_; }
  /// The HID interfaces.
  SimulatedHIDBus& hid() { return *hid_; }
  /// Bluetooth and the peripherals.
  SimulatedBluetooth& bluetooth() { return *bluetooth_; }
  /// The touch surfaces.
  SimulatedMultitouch& multitouch() { return *multitouch_; }
  /// The screens, the pointer and the windows.
  SimulatedDesktop& desktop() { return *desktop_; }
  /// The programs.
  SimulatedProcesses& processes() { return *processes_; }
  /// The files.
  SimulatedFileManager& files() { return *files_; }
  /// What surrounds the process.
  SimulatedEnvironment& surroundings() { return *environment_; }
  /// What the user allows.
  SimulatedPermissions& allowed() { return *permissions_; }
  /// The calls that services made. Log lines are the calls "log".
  CallLog& calls() { return *calls_; }

 private:
  SimulatedHost();

  std::shared_ptr<VirtualScheduler> scheduler_;
  std::shared_ptr<CallLog> calls_;
  std::shared_ptr<MainRunLoop> mainRunLoop_;
  std::shared_ptr<LogSink> logSink_;
  std::shared_ptr<SimulatedHIDBus> hid_;
  std::shared_ptr<SimulatedBluetooth> bluetooth_;
  std::shared_ptr<SimulatedMultitouch> multitouch_;
  std::shared_ptr<SimulatedDesktop> desktop_;
  std::shared_ptr<SimulatedProcesses> processes_;
  std::shared_ptr<SimulatedFileManager> files_;
  std::shared_ptr<SimulatedEnvironment> environment_;
  std::shared_ptr<SimulatedPermissions> permissions_;
};

}  // namespace tessline::platform::simulated
