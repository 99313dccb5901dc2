#include "tessline/platform/Platform.h"
#include "tessline/platform/linux/LinuxEnvironment.h"
#include "tessline/platform/linux/StrandQueue.h"
#include "tessline/platform/posix/PosixChildProcess.h"
#include "tessline/platform/posix/PosixFileManager.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <asio/executor_work_guard.hpp>
#include <asio/io_context.hpp>
#include <asio/post.hpp>
#include <syslog.h>

namespace tessline::platform {

namespace {

class ContextRunLoop : public MainRunLoop {
 public:
  void async(Work work) override { asio::post(context_, std::move(work)); }

  void run() override {
    const auto keepsRunning = asio::make_work_guard(context_);
    const std::thread::id outer = thread_.exchange(std::this_thread::get_id());
    while (!isStopped_.exchange(false)) context_.run_one();
    thread_ = outer;
  }

  void stop() override {
    isStopped_ = true;
    // Wakes the loop if it waits.
    asio::post(context_, [] {});
  }

  bool isCurrent() const override { return thread_ == std::this_thread::get_id(); }

 private:
  asio::io_context context_;
  std::atomic<bool> isStopped_{false};
  std::atomic<std::thread::id> thread_;
};

// The system log: where a library's diagnostics are looked for, and never in the way of the
// application's own output.
class SystemLog : public LogSink {
 public:
  void log(std::string_view line) override {
    const std::string text(line);
    ::syslog(LOG_USER | LOG_INFO, "%s", text.c_str());
  }
};

// Bluetooth is not offered on this host yet.
class NoBluetooth : public BluetoothCentral {
 public:
  BluetoothState state() const override { return BluetoothState::unsupported; }
  std::vector<std::shared_ptr<BluetoothPeripheral>> retrieveConnectedPeripherals(
      std::span<const BluetoothUUID>) override {
    return {};
  }
  void scanForPeripherals(const BluetoothScanOptions&) override {}
  void stopScan() override {}
  void connect(const std::shared_ptr<BluetoothPeripheral>&) override {}
  void cancelPeripheralConnection(const std::shared_ptr<BluetoothPeripheral>&) override {}
};

// Windows, screens and the pointer are not offered on this host yet.
class NoAccessibility : public Accessibility {
 public:
  bool isProcessTrusted() override { return false; }
  std::shared_ptr<AccessibilityElement> copyElementAtPosition(float, float) override {
    return nullptr;
  }
};

class NoScreens : public Screens {
 public:
  std::shared_ptr<const ScreenFrames> frames() override { return frames_; }
  std::optional<Rect> mainFrame() override { return std::nullopt; }
  Point mouseLocation() override { return {}; }

 private:
  const std::shared_ptr<const ScreenFrames> frames_ = std::make_shared<ScreenFrames>();
};

class NoPointerEvents : public PointerEvents {
 public:
  std::optional<Point> currentLocation() override { return std::nullopt; }
  bool postMouseEvent(MouseEventType, Point, std::optional<std::int64_t>) override { return false; }
  bool postScrollEvent(std::int32_t, std::int32_t) override { return false; }
};

// What guards input devices here are the modes of files.
class NoPermissions : public Permissions {
 public:
  PermissionState state(Permission) override { return PermissionState::notNeeded; }
};

class LinuxPlatform : public Platform {
 public:
  std::shared_ptr<SerialQueue> makeSerialQueue(std::string_view label, QualityOfService) override {
    return makeStrandQueue(label);
  }
  std::shared_ptr<MainRunLoop> mainRunLoop() override { return mainRunLoop_; }
  std::shared_ptr<LogSink> logSink() override { return logSink_; }
  // Not offered on this host yet.
  std::shared_ptr<HIDManager> makeHIDManager() override { return nullptr; }
  std::shared_ptr<BluetoothCentral> makeBluetoothCentral(
      std::weak_ptr<BluetoothCentralDelegate> delegate,
      std::shared_ptr<SerialQueue> queue) override {
    auto central = std::make_shared<NoBluetooth>();
    queue->async([weak = std::weak_ptr(central), delegate = std::move(delegate)] {
      const auto told = delegate.lock();
      if (told && !weak.expired()) told->centralManagerDidUpdateState();
    });
    return central;
  }
  std::shared_ptr<MultitouchLibrary> openMultitouchLibrary(std::string_view) override {
    return nullptr;
  }
  std::shared_ptr<Accessibility> accessibility() override { return accessibility_; }
  std::shared_ptr<Screens> screens() override { return screens_; }
  std::shared_ptr<PointerEvents> pointerEvents() override { return pointerEvents_; }
  std::shared_ptr<ChildProcesses> childProcesses() override { return childProcesses_; }
  std::shared_ptr<FileManager> fileManager() override { return fileManager_; }
  std::shared_ptr<HostEnvironment> environment() override { return environment_; }
  std::shared_ptr<Permissions> permissions() override { return permissions_; }

 private:
  const std::shared_ptr<MainRunLoop> mainRunLoop_ = std::make_shared<ContextRunLoop>();
  const std::shared_ptr<LogSink> logSink_ = std::make_shared<SystemLog>();
  const std::shared_ptr<Accessibility> accessibility_ = std::make_shared<NoAccessibility>();
  const std::shared_ptr<Screens> screens_ = std::make_shared<NoScreens>();
  const std::shared_ptr<PointerEvents> pointerEvents_ = std::make_shared<NoPointerEvents>();
  const std::shared_ptr<ChildProcesses> childProcesses_ = makePosixChildProcesses();
  const std::shared_ptr<FileManager> fileManager_ = makePosixFileManager();
  const std::shared_ptr<HostEnvironment> environment_ = makeLinuxEnvironment();
  const std::shared_ptr<Permissions> permissions_ = std::make_shared<NoPermissions>();
};

}  // namespace

std::shared_ptr<Platform> hostPlatform() {
  static const std::shared_ptr<Platform> platform = std::make_shared<LinuxPlatform>();
  return platform;
}

}  // namespace tessline::platform
