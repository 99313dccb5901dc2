/// @file
/// Porting contract: everything a host offers to the services.
#pragma once

#include "tessline/platform/Accessibility.h"
#include "tessline/platform/BluetoothCentral.h"
#include "tessline/platform/ChildProcess.h"
#include "tessline/platform/FileManager.h"
#include "tessline/platform/HIDManager.h"
#include "tessline/platform/HostEnvironment.h"
#include "tessline/platform/LogSink.h"
#include "tessline/platform/MainRunLoop.h"
#include "tessline/platform/MultitouchLibrary.h"
#include "tessline/platform/Permissions.h"
#include "tessline/platform/PointerEvents.h"
#include "tessline/platform/Screens.h"
#include "tessline/platform/SerialQueue.h"

#include <memory>
#include <string_view>

namespace tessline::platform {

/// Makes the facilities of one host. A facility that the host lacks, or does not give just now, is
/// null; services turn that into a status. Facilities hold what they need of the platform, so one
/// may outlive it. Any thread, unless said otherwise.
class Platform {
 public:
  virtual ~Platform() = default;

  /// A serial queue of its own. Never null.
  virtual std::shared_ptr<SerialQueue> makeSerialQueue(
      std::string_view label, QualityOfService quality = QualityOfService::unspecified) = 0;

  /// The main run loop. Never null.
  virtual std::shared_ptr<MainRunLoop> mainRunLoop() = 0;

  /// The host's log. Never null.
  virtual std::shared_ptr<LogSink> logSink() = 0;

  /// A HID manager, neither scheduled nor open. Main thread.
  virtual std::shared_ptr<HIDManager> makeHIDManager() = 0;

  /// A Bluetooth central that tells `delegate`, while it lives, what happens, on `queue`. Never
  /// null: on a host without Bluetooth its state is unsupported. Called on `queue`.
  virtual std::shared_ptr<BluetoothCentral> makeBluetoothCentral(
      std::weak_ptr<BluetoothCentralDelegate> delegate, std::shared_ptr<SerialQueue> queue) = 0;

  /// Opens the multitouch library that stands at `path`, resolving all that it needs at once.
  virtual std::shared_ptr<MultitouchLibrary> openMultitouchLibrary(std::string_view path) = 0;

  /// The accessibility interface. Never null: a host without one trusts no process.
  virtual std::shared_ptr<Accessibility> accessibility() = 0;

  /// The screens. Never null: a host without a window system has none.
  virtual std::shared_ptr<Screens> screens() = 0;

  /// What posts events. Never null: a host without a pointer posts nothing.
  virtual std::shared_ptr<PointerEvents> pointerEvents() = 0;

  /// What starts programs. Never null.
  virtual std::shared_ptr<ChildProcesses> childProcesses() = 0;

  /// The files. Never null.
  virtual std::shared_ptr<FileManager> fileManager() = 0;

  /// What surrounds this process. Never null.
  virtual std::shared_ptr<HostEnvironment> environment() = 0;

  /// What the user allows. Never null.
  virtual std::shared_ptr<Permissions> permissions() = 0;
};

/// The platform of the host that this library was built for; always the same object.
std::shared_ptr<Platform> hostPlatform();

}  // namespace tessline::platform
