#include "tessline/platform/Platform.h"
#include "tessline/platform/macos/AccessibilityElements.h"
#include "tessline/platform/macos/AppKitScreens.h"
#include "tessline/platform/macos/CoreBluetoothCentral.h"
#include "tessline/platform/macos/CoreFoundationRunLoop.h"
#include "tessline/platform/macos/CoreGraphicsEvents.h"
#include "tessline/platform/macos/DispatchQueue.h"
#include "tessline/platform/macos/IOKitHIDManager.h"
#include "tessline/platform/macos/MacEnvironment.h"
#include "tessline/platform/macos/MacPermissions.h"
#include "tessline/platform/macos/MultitouchSupport.h"
#include "tessline/platform/macos/SystemLog.h"
#include "tessline/platform/posix/PosixChildProcess.h"
#include "tessline/platform/posix/PosixFileManager.h"

#include <memory>
#include <mutex>
#include <string_view>
#include <utility>

namespace tessline::platform {

namespace {

class MacPlatform : public Platform {
 public:
  std::shared_ptr<SerialQueue> makeSerialQueue(std::string_view label,
                                               QualityOfService quality) override {
    return makeDispatchQueue(label, quality);
  }
  std::shared_ptr<MainRunLoop> mainRunLoop() override { return mainRunLoop_; }
  std::shared_ptr<LogSink> logSink() override { return logSink_; }
  std::shared_ptr<HIDManager> makeHIDManager() override { return makeIOKitHIDManager(); }
  std::shared_ptr<BluetoothCentral> makeBluetoothCentral(
      std::weak_ptr<BluetoothCentralDelegate> delegate,
      std::shared_ptr<SerialQueue> queue) override {
    return makeCoreBluetoothCentral(std::move(delegate), std::move(queue));
  }
  std::shared_ptr<MultitouchLibrary> openMultitouchLibrary(std::string_view path) override {
    return openMultitouchSupport(path);
  }
  std::shared_ptr<Accessibility> accessibility() override { return accessibility_; }
  // Made when somebody wants them, as not every process has a window session to ask.
  std::shared_ptr<Screens> screens() override {
    std::call_once(screensAreMade_, [this] { screens_ = makeAppKitScreens(mainRunLoop_); });
    return screens_;
  }
  std::shared_ptr<PointerEvents> pointerEvents() override { return pointerEvents_; }
  std::shared_ptr<ChildProcesses> childProcesses() override { return childProcesses_; }
  std::shared_ptr<FileManager> fileManager() override { return fileManager_; }
  std::shared_ptr<HostEnvironment> environment() override { return environment_; }
  std::shared_ptr<Permissions> permissions() override { return permissions_; }

 private:
  const std::shared_ptr<MainRunLoop> mainRunLoop_ = makeCoreFoundationRunLoop();
  const std::shared_ptr<LogSink> logSink_ = makeSystemLog();
  const std::shared_ptr<Accessibility> accessibility_ = makeAccessibilityElements();
  std::once_flag screensAreMade_;
  std::shared_ptr<Screens> screens_;
  const std::shared_ptr<PointerEvents> pointerEvents_ = makeCoreGraphicsEvents();
  const std::shared_ptr<ChildProcesses> childProcesses_ = makePosixChildProcesses();
  const std::shared_ptr<FileManager> fileManager_ = makePosixFileManager();
  const std::shared_ptr<HostEnvironment> environment_ = makeMacEnvironment();
  const std::shared_ptr<Permissions> permissions_ = makeMacPermissions();
};

}  // namespace

std::shared_ptr<Platform> hostPlatform() {
  // Never destroyed: other threads may still call while the process exits.
  static const auto& platform = *new std::shared_ptr<Platform>(std::make_shared<MacPlatform>());
  return platform;
}

}  // namespace tessline::platform
