#include "tessline/bluetooth/BluetoothRemoteDiscoveryService.h"
#include "tessline/platform/Platform.h"

#include <array>
#include <chrono>
#include <cstdint>
#include <future>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

namespace tessline::test {
namespace {

using platform::BluetoothState;

// Counts what it is told of the state, and takes note of anything else.
class StateDelegate : public platform::BluetoothCentralDelegate {
 public:
  using Peripheral = std::shared_ptr<platform::BluetoothPeripheral>;

  explicit StateDelegate(std::shared_ptr<platform::SerialQueue> queue) : queue_(std::move(queue)) {}

  void centralManagerDidUpdateState() override {
    EXPECT_TRUE(queue_->isCurrent());
    EXPECT_FALSE(isInside);
    ++states;
  }
  void didDiscover(const Peripheral&, const platform::BluetoothAdvertisement&,
                   std::int64_t) override {
    ADD_FAILURE();
  }
  void didConnect(const Peripheral&) override { ADD_FAILURE(); }
  void didFailToConnect(const Peripheral&, const TesslineError*) override { ADD_FAILURE(); }
  void didDisconnectPeripheral(const Peripheral&, const TesslineError*) override { ADD_FAILURE(); }

  int states = 0;
  bool isInside = false;

 private:
  const std::shared_ptr<platform::SerialQueue> queue_;
};

// The host's central where there is no Bluetooth.
class NoBluetooth : public testing::Test {
 protected:
  // Runs `work` on the queue and waits for it and for all that was handed over before.
  template <class Work>
  void perform(Work work) {
    std::promise<void> done;
    queue->async([&] {
      work();
      done.set_value();
    });
    done.get_future().wait();
  }
  void makeCentral() {
    perform([&] {
      delegate->isInside = true;
      central = platform::hostPlatform()->makeBluetoothCentral(delegate, queue);
      delegate->isInside = false;
    });
    ASSERT_NE(central, nullptr);
  }
  int states() {
    int count = 0;
    perform([&] { count = delegate->states; });
    return count;
  }

  const std::shared_ptr<platform::SerialQueue> queue =
      platform::hostPlatform()->makeSerialQueue("com.example.bluetooth");
  std::shared_ptr<StateDelegate> delegate = std::make_shared<StateDelegate>(queue);
  std::shared_ptr<platform::BluetoothCentral> central;
};

TEST_F(NoBluetooth, IsUnsupportedAndTellsSoOnce) {
  makeCentral();
  EXPECT_EQ(states(), 1);
  perform([&] { EXPECT_EQ(central->state(), BluetoothState::unsupported); });
  EXPECT_EQ(states(), 1);
}

TEST_F(NoBluetooth, FindsNothing) {
  constexpr std::array services = {BluetoothUUID::parse("180F").value()};
  makeCentral();
  perform([&] {
    EXPECT_TRUE(central->retrieveConnectedPeripherals(services).empty());
    central->scanForPeripherals({.allowDuplicates = true});
    central->stopScan();
  });
  EXPECT_EQ(states(), 1);
}

TEST_F(NoBluetooth, CentralThatIsGoneTellsNothing) {
  perform([&] { platform::hostPlatform()->makeBluetoothCentral(delegate, queue).reset(); });
  EXPECT_EQ(states(), 0);
}

TEST_F(NoBluetooth, DelegateThatIsGoneIsNotCalled) {
  perform([&] {
    // Owned only until this returns, though what would be called stays.
    const std::shared_ptr<StateDelegate> owner(delegate.get(), [](StateDelegate*) {});
    central = platform::hostPlatform()->makeBluetoothCentral(owner, queue);
  });
  EXPECT_EQ(states(), 0);
}

TEST_F(NoBluetooth, ServiceSaysThatItIsNotSupported) {
  std::vector<BluetoothRemoteDiscoverySnapshot> snapshots;
  std::promise<void> second;
  const auto service = BluetoothRemoteDiscoveryService::create();
  service->onSnapshotChanged = [&](const BluetoothRemoteDiscoverySnapshot& snapshot) {
    snapshots.push_back(snapshot);
    if (snapshots.size() == 2) second.set_value();
  };
  service->startScanning();
  const auto told = second.get_future().wait_for(std::chrono::seconds(20));
  ASSERT_EQ(told, std::future_status::ready);
  EXPECT_EQ(snapshots[0], (BluetoothRemoteDiscoverySnapshot{"Starting Bluetooth", false, {}, {}}));
  EXPECT_EQ(snapshots[1], (BluetoothRemoteDiscoverySnapshot{
                              "Bluetooth is not supported on this Mac", false, {}, {}}));
}

}  // namespace
}  // namespace tessline::test
