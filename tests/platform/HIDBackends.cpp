#include "tessline/platform/simulated/SimulatedHost.h"
#include "tests/platform/HIDContract.h"

namespace tessline::test {
namespace {

class SimulatedHIDBackend : public HIDBackend {
 public:
  std::shared_ptr<platform::Platform> platform() override { return host_; }
  void settle() override { host_->runReady(); }

  std::size_t connect(const HIDProperties& properties) override {
    devices_.push_back(host_->hid().connect({properties.begin(), properties.end()}));
    return devices_.size() - 1;
  }
  void disconnect(std::size_t device) override { host_->hid().disconnect(devices_.at(device)); }
  void sendReport(std::size_t device, std::uint32_t reportID,
                  std::vector<std::uint8_t> report) override {
    host_->hid().sendReport(devices_.at(device), reportID, std::move(report));
  }

  void setManagersCanBeCreated(bool can) override { host_->hid().setManagersCanBeCreated(can); }
  void setOpenResult(platform::HIDResult result) override { host_->hid().setOpenResult(result); }
  void setDevicesCanBeCopied(bool can) override { host_->hid().setDevicesCanBeCopied(can); }

 private:
  std::shared_ptr<platform::simulated::SimulatedHost> host_ =
      platform::simulated::SimulatedHost::create();
  std::vector<std::shared_ptr<platform::simulated::SimulatedHIDDevice>> devices_;
};

}  // namespace

std::vector<HIDBackendChoice> hidBackends() {
  return {{"Simulated", [] { return std::make_unique<SimulatedHIDBackend>(); }}};
}

}  // namespace tessline::test
