#include "cli/doctor/DeviceChecks.h"
#include "tessline/platform/simulated/SimulatedHost.h"
#include "tests/cli/doctor/CheckPrinting.h"
#include "tests/support/PlatformDecorator.h"

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

namespace tessline::test {
namespace {

using cli::Check;
using cli::CheckState;
using platform::BluetoothState;
using platform::PermissionState;
using platform::simulated::SimulatedHost;

// Runs what it is handed at once, with everything that is due on its host, but never within work.
class EagerQueue : public platform::SerialQueue {
 public:
  EagerQueue(SimulatedHost& host, std::shared_ptr<SerialQueue> inner)
      : host_(host), inner_(std::move(inner)) {}

  void async(platform::Work work) override {
    inner_->async(std::move(work));
    if (std::exchange(isRunning_, true)) return;
    host_.runReady();
    isRunning_ = false;
  }
  void asyncAfter(platform::QueueTime delay, platform::Work work) override {
    inner_->asyncAfter(delay, std::move(work));
  }
  std::unique_ptr<platform::QueueTimer> startTimer(platform::QueueTime delay,
                                                   platform::Work work) override {
    return inner_->startTimer(delay, std::move(work));
  }
  std::string_view label() const override { return inner_->label(); }
  bool isCurrent() const override { return inner_->isCurrent(); }
  platform::QueueTime now() const override { return inner_->now(); }

 private:
  SimulatedHost& host_;
  const std::shared_ptr<SerialQueue> inner_;
  bool isRunning_ = false;
};

// One that answers while the doctor waits.
class AnsweringMachine : public PlatformDecorator {
 public:
  explicit AnsweringMachine(const std::shared_ptr<SimulatedHost>& host)
      : PlatformDecorator(host), host_(host) {}
  std::shared_ptr<platform::SerialQueue> makeSerialQueue(
      std::string_view label, platform::QualityOfService quality) override {
    return std::make_shared<EagerQueue>(*host_, host_->makeSerialQueue(label, quality));
  }

 private:
  const std::shared_ptr<SimulatedHost> host_;
};

class NothingNeeded : public PlatformDecorator, public platform::Permissions {
 public:
  using PlatformDecorator::PlatformDecorator;
  std::shared_ptr<platform::Permissions> permissions() override {
    return std::make_shared<NothingNeeded>(nullptr);
  }
  PermissionState state(platform::Permission) override { return PermissionState::notNeeded; }
};

class DeviceChecks : public testing::Test {
 protected:
  std::vector<Check> all() { return cli::deviceChecks(machine, std::chrono::minutes(1)); }
  std::vector<std::string> names() {
    std::vector<std::string> found;
    for (const Check& each : all()) found.push_back(each.name);
    return found;
  }
  Check check(const std::string& name) {
    const auto checks = all();
    const auto found = std::ranges::find(checks, name, &Check::name);
    if (found == checks.end()) throw std::runtime_error("there is no check " + name);
    return *found;
  }
  std::shared_ptr<platform::simulated::SimulatedHIDDevice> connect(std::int64_t product) {
    return host->hid().connect(
        {{"Product", "Remote"}, {"VendorID", std::int64_t{76}}, {"ProductID", product}});
  }
  bool wasAsked(const std::string& operation) const {
    return std::ranges::any_of(host->calls().calls(),
                               [&](const auto& call) { return call.operation == operation; });
  }

  const std::shared_ptr<SimulatedHost> host = SimulatedHost::create();
  std::shared_ptr<platform::Platform> machine = std::make_shared<AnsweringMachine>(host);
};

TEST_F(DeviceChecks, ComeInTheirOrder) {
  EXPECT_EQ(names(),
            (std::vector<std::string>{"Input Monitoring", "Accessibility", "Bluetooth permission",
                                      "HID interfaces", "Bluetooth LE"}));
}

TEST_F(DeviceChecks, LeaveOutPermissionsThatNobodyIsAskedFor) {
  machine = std::make_shared<NothingNeeded>(machine);
  EXPECT_EQ(names(), (std::vector<std::string>{"HID interfaces", "Bluetooth LE"}));
}

TEST_F(DeviceChecks, FindWhatIsGranted) {
  host->desktop().setTrusted(true);
  for (const char* name : {"Input Monitoring", "Accessibility", "Bluetooth permission"}) {
    EXPECT_EQ(check(name), (Check{name, CheckState::ok, "granted"}));
  }
}

TEST_F(DeviceChecks, SendToTheSettingsForWhatIsDenied) {
  host->allowed().inputMonitoring = PermissionState::denied;
  host->desktop().setTrusted(false);
  host->allowed().bluetooth = PermissionState::denied;
  const std::string where =
      "allow this program, or the terminal that runs it, in System Settings > Privacy & Security "
      "> ";
  EXPECT_EQ(check("Input Monitoring"),
            (Check{"Input Monitoring", CheckState::missing, "denied; tessline listen hid needs it",
                   where + "Input Monitoring"}));
  EXPECT_EQ(check("Accessibility"),
            (Check{"Accessibility", CheckState::missing,
                   "denied; an application that lets the clickpad act needs it",
                   where + "Accessibility"}));
  EXPECT_EQ(check("Bluetooth permission"),
            (Check{"Bluetooth permission", CheckState::missing,
                   "denied; tessline listen bluetooth needs it", where + "Bluetooth"}));
}

TEST_F(DeviceChecks, WarnOfWhatIsNotDecided) {
  host->allowed().inputMonitoring = PermissionState::undetermined;
  const Check found = check("Input Monitoring");
  EXPECT_EQ(found.state, CheckState::warning);
  EXPECT_TRUE(found.detail.starts_with("not decided yet")) << found;
  EXPECT_NE(found.remedy, "");
}

// HID.

TEST_F(DeviceChecks, CountTheInterfacesOfRemotes) {
  connect(789);
  connect(789);
  connect(1);
  EXPECT_EQ(check("HID interfaces"),
            (Check{"HID interfaces", CheckState::ok, "2 of a connected Siri Remote"}));
}

TEST_F(DeviceChecks, NoteThatThereIsNoRemote) {
  const Check none{"HID interfaces", CheckState::note,
                   "no Siri Remote is connected; tessline listen hid waits for one"};
  EXPECT_EQ(check("HID interfaces"), none);
  host->hid().disconnect(connect(789));
  EXPECT_EQ(check("HID interfaces"), none);
}

TEST_F(DeviceChecks, NoteThatThereAreNoInterfacesAtAll) {
  host->hid().setManagersCanBeCreated(false);
  EXPECT_EQ(check("HID interfaces"),
            (Check{"HID interfaces", CheckState::note,
                   "this host gives none; tessline listen hid needs them"}));
}

TEST_F(DeviceChecks, FindInterfacesThatMayNotBeListenedTo) {
  host->allowed().inputMonitoring = PermissionState::denied;
  connect(789);
  EXPECT_EQ(check("Input Monitoring").state, CheckState::missing);
  EXPECT_EQ(check("HID interfaces").state, CheckState::ok);
}

TEST_F(DeviceChecks, LookAtInterfacesWithoutOpeningThem) {
  connect(789);
  all();
  EXPECT_FALSE(wasAsked("IOHIDManagerOpen"));
  EXPECT_FALSE(wasAsked("IOHIDManagerScheduleWithRunLoop"));
  EXPECT_TRUE(wasAsked("IOHIDManagerRelease"));
}

// Bluetooth.

TEST_F(DeviceChecks, TellTheStateOfBluetooth) {
  const auto expect = [&](BluetoothState state, const Check& expected) {
    host->bluetooth().setState(state);
    EXPECT_EQ(check("Bluetooth LE"), expected);
  };
  const std::string name = "Bluetooth LE";
  expect(BluetoothState::poweredOn, {name, CheckState::ok, "powered on"});
  expect(BluetoothState::poweredOff,
         {name, CheckState::warning, "powered off", "turn Bluetooth on"});
  expect(BluetoothState::resetting,
         {name, CheckState::warning, "not ready", "try again in a moment"});
  expect(BluetoothState::unsupported,
         {name, CheckState::note, "this host has none; tessline listen bluetooth needs it"});
  host->bluetooth().setState(BluetoothState::unauthorized);
  EXPECT_EQ(check(name).state, CheckState::missing);
}

TEST_F(DeviceChecks, DoNotAskForBluetoothWhatMightAskTheUser) {
  for (const PermissionState state : {PermissionState::undetermined, PermissionState::denied}) {
    host->allowed().bluetooth = state;
    EXPECT_EQ(check("Bluetooth LE"), (Check{"Bluetooth LE", CheckState::note,
                                            "not known, as only those who may use it are told"}));
  }
  EXPECT_FALSE(wasAsked("CBCentralManager"));
}

TEST_F(DeviceChecks, NeitherScanNorConnect) {
  all();
  EXPECT_FALSE(host->bluetooth().isScanning());
  EXPECT_FALSE(wasAsked("scanForPeripherals"));
}

// The simulated host's own queues stand still.
TEST_F(DeviceChecks, DoNotWaitForEverForBluetooth) {
  const auto checks = cli::deviceChecks(host, std::chrono::milliseconds(0));
  EXPECT_EQ(checks.back(), (Check{"Bluetooth LE", CheckState::note,
                                  "not known, as the system has not answered in time"}));
}

TEST_F(DeviceChecks, AreNotDisturbedByALateAnswer) {
  cli::deviceChecks(host, std::chrono::milliseconds(0));
  host->runReady();
  EXPECT_EQ(host->scheduler().pendingCount(), 0U);
}

TEST_F(DeviceChecks, HoldNoPlatformWhileAnAnswerIsOutstanding) {
  auto other = SimulatedHost::create();
  const std::weak_ptr weak = other;
  cli::deviceChecks(other, std::chrono::milliseconds(0));
  other.reset();
  EXPECT_TRUE(weak.expired());
}

}  // namespace
}  // namespace tessline::test
