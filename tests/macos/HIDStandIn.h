/// @file
/// The stand-in for HID as a backend of the tests.
#pragma once

#include "tessline/platform/macos/CoreFoundationRunLoop.h"
#include "tessline/platform/macos/IOKitHIDManager.h"
#include "tests/platform/HIDContract.h"
#include "tests/support/PlatformDecorator.h"

#include <memory>
#include <vector>

#include <standin/corefoundation.h>
#include <standin/hid.h>

namespace tessline::test {

/// Offers what macOS offers of HID, and nothing else.
class HIDPlatform : public PlatformDecorator {
 public:
  HIDPlatform() : PlatformDecorator(nullptr) {}

  std::shared_ptr<platform::MainRunLoop> mainRunLoop() override { return loop_; }
  std::shared_ptr<platform::HIDManager> makeHIDManager() override {
    return platform::makeIOKitHIDManager();
  }

 private:
  const std::shared_ptr<platform::MainRunLoop> loop_ = platform::makeCoreFoundationRunLoop();
};

/// The stand-in without interfaces and with permission to listen, and the adapters over it. Expects
/// that whoever used it has released all objects.
class HIDStandIn : public HIDBackend {
 public:
  HIDStandIn();
  HIDStandIn(const HIDStandIn&) = delete;
  HIDStandIn& operator=(const HIDStandIn&) = delete;
  ~HIDStandIn() override;

  std::shared_ptr<platform::Platform> platform() override { return platform_; }
  void settle() override { standin::runLoopUntilIdle(); }

  std::size_t connect(const HIDProperties& properties) override;
  void disconnect(std::size_t device) override;
  void sendReport(std::size_t device, std::uint32_t reportID,
                  std::vector<std::uint8_t> report) override;
  void setManagersCanBeCreated(bool can) override { standin::setHIDManagersCanBeCreated(can); }
  void setOpenResult(platform::HIDResult result) override { standin::setHIDOpenResult(result); }
  void setDevicesCanBeCopied(bool can) override { standin::setHIDDevicesCanBeCopied(can); }

  /// The hardware of that number.
  const std::shared_ptr<standin::HIDInterface>& hardware(std::size_t device) const {
    return devices_.at(device);
  }
  /// As the stand-in takes them.
  static standin::HIDProperties scripted(const HIDProperties& properties);

 private:
  const long liveBefore_ = standin::liveCFObjects();
  std::shared_ptr<HIDPlatform> platform_ = std::make_shared<HIDPlatform>();
  std::vector<std::shared_ptr<standin::HIDInterface>> devices_;
};

}  // namespace tessline::test
