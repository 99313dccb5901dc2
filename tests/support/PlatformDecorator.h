/// @file
/// A platform that gives out another one's facilities; tests replace those that they need to.
#pragma once

#include "tessline/platform/Platform.h"

#include <memory>
#include <string_view>
#include <utility>

namespace tessline::test {

class PlatformDecorator : public platform::Platform {
 public:
  explicit PlatformDecorator(std::shared_ptr<platform::Platform> inner)
      : inner_(std::move(inner)) {}

  std::shared_ptr<platform::SerialQueue> makeSerialQueue(
      std::string_view label, platform::QualityOfService quality) override {
    return inner_->makeSerialQueue(label, quality);
  }
  std::shared_ptr<platform::MainRunLoop> mainRunLoop() override { return inner_->mainRunLoop(); }
  std::shared_ptr<platform::LogSink> logSink() override { return inner_->logSink(); }
  std::shared_ptr<platform::HIDManager> makeHIDManager() override {
    return inner_->makeHIDManager();
  }
  std::shared_ptr<platform::BluetoothCentral> makeBluetoothCentral(
      std::weak_ptr<platform::BluetoothCentralDelegate> delegate,
      std::shared_ptr<platform::SerialQueue> queue) override {
    return inner_->makeBluetoothCentral(std::move(delegate), std::move(queue));
  }
  std::shared_ptr<platform::MultitouchLibrary> openMultitouchLibrary(
      std::string_view path) override {
    return inner_->openMultitouchLibrary(path);
  }
  std::shared_ptr<platform::Accessibility> accessibility() override {
    return inner_->accessibility();
  }
  std::shared_ptr<platform::Screens> screens() override { return inner_->screens(); }
  std::shared_ptr<platform::PointerEvents> pointerEvents() override {
    return inner_->pointerEvents();
  }
  std::shared_ptr<platform::ChildProcesses> childProcesses() override {
    return inner_->childProcesses();
  }
  std::shared_ptr<platform::FileManager> fileManager() override { return inner_->fileManager(); }
  std::shared_ptr<platform::HostEnvironment> environment() override {
    return inner_->environment();
  }
  std::shared_ptr<platform::Permissions> permissions() override { return inner_->permissions(); }

 private:
  const std::shared_ptr<platform::Platform> inner_;
};

}  // namespace tessline::test
