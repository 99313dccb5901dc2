#include "tests/cli/replay/BluetoothHistory.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

namespace tessline::test {
namespace {

using cli::Observation;
using platform::BluetoothState;
using platform::simulated::PlatformCall;

Observation connectionBegan(std::int64_t peripheral) {
  return PlatformCall{{}, "setDelegate", {{"peripheral", peripheral}}};
}

Observation written(std::int64_t peripheral, const std::vector<std::int64_t>& place,
                    const std::vector<std::int64_t>& value = {0xAF}) {
  return PlatformCall{
      {}, "writeValue", {{"peripheral", peripheral}, {"place", place}, {"value", value}}};
}

Texts textsOnInput(const std::vector<Observation>& observations) {
  return textsOf(cli::makeInputIsEnabledOnce(), observations);
}

TEST(InputIsEnabledOnce, TakesOneWriteToEachCharacteristicOfEachPeripheral) {
  EXPECT_EQ(textsOnInput({connectionBegan(1), written(1, {0, 0}), written(1, {0, 1}),
                          written(1, {1, 0}), connectionBegan(2), written(2, {0, 0})}),
            Texts{});
}

TEST(InputIsEnabledOnce, ReportsASecondWrite) {
  EXPECT_EQ(textsOnInput({connectionBegan(7), written(7, {2, 13}), written(7, {2, 13})}),
            Texts{"the input was enabled twice on characteristic 2/13 of peripheral 7 in "
                  "one connection"});
}

TEST(InputIsEnabledOnce, ReportsEachFurtherWrite) {
  EXPECT_EQ(
      textsOnInput({connectionBegan(1), written(1, {0, 0}), written(1, {0, 0}), written(1, {0, 0})})
          .size(),
      2U);
}

TEST(InputIsEnabledOnce, BeginsAnewWithEachConnection) {
  EXPECT_EQ(textsOnInput(
                {connectionBegan(1), written(1, {0, 0}), connectionBegan(1), written(1, {0, 0})}),
            Texts{});
}

TEST(InputIsEnabledOnce, ConnectionOfAnotherPeripheralChangesNothing) {
  EXPECT_EQ(
      textsOnInput({connectionBegan(1), written(1, {0, 0}), connectionBegan(2), written(1, {0, 0})})
          .size(),
      1U);
}

TEST(InputIsEnabledOnce, PassesOverOtherValuesAndOtherCalls) {
  const Observation sent = PlatformCall{{},
                                        "sendValue",
                                        {{"peripheral", 1},
                                         {"place", std::vector<std::int64_t>{0, 0}},
                                         {"value", std::vector<std::int64_t>{0xAF}}}};
  EXPECT_EQ(textsOnInput({connectionBegan(1), written(1, {0, 0}), written(1, {0, 0}, {0xAE}),
                          written(1, {0, 0}, {}), written(1, {0, 0}, {0xAF, 0xAF}), sent, sent,
                          PlatformCall{{}, "stopScan", {}}, cli::BluetoothCreated{}}),
            Texts{});
}

Texts textsOn(const cli::BluetoothPublication& one) {
  return textsOf(cli::makeSnapshotsAreTrue(), {Observation(one)});
}

TEST(SnapshotsAreTrue, TakesWhatIsSo) {
  EXPECT_EQ(textsOn(publication()), Texts{});
  EXPECT_EQ(textsOn(publication("Scanning for Bluetooth devices", true)), Texts{});
  EXPECT_EQ(textsOn(publication("Connected to Siri Remote", false, remoteID)), Texts{});
  EXPECT_EQ(textsOf(cli::makeSnapshotsAreTrue(), {cli::BluetoothCreated{}, PlatformCall{}}),
            Texts{});
}

TEST(SnapshotsAreTrue, ReportsAScanThatDoesNotRun) {
  auto one = publication("Scan stopped", true);
  one.isScanning = false;
  EXPECT_EQ(textsOn(one), Texts{"isScanning is true while no scan is running"});
}

TEST(SnapshotsAreTrue, ReportsAScanThatIsPassedOver) {
  auto one = publication("Scan stopped", false);
  one.isScanning = true;
  EXPECT_EQ(textsOn(one), Texts{"isScanning is false while a scan is running"});
}

TEST(SnapshotsAreTrue, ReportsAConnectionThatIsNone) {
  auto one = publication("Scan stopped", false, remoteID);
  one.connected.clear();
  EXPECT_EQ(textsOn(one),
            Texts{"5E1B0D6A-3C44-4F0B-9A7D-2E6C8F1A9B30 is published as connected and is not"});
}

TEST(SnapshotsAreTrue, FindsTheConnectionAmongOthers) {
  auto one = publication("Scan stopped", false, remoteID);
  one.connected = {otherID, remoteID};
  EXPECT_EQ(textsOn(one), Texts{});
}

// What is published while these are connected.
Observation publishing(std::optional<UUID> id, const std::vector<UUID>& connected) {
  auto one = publication("Scan stopped", false, id);
  one.connected = connected;
  return one;
}

Texts textsOnConnections(const std::vector<Observation>& observations) {
  return textsOf(cli::makeSnapshotsAreTrue(), observations);
}

const Texts otherIsPassedOver = {
    "5E1B0D6A-3C44-4F0B-9A7D-2E6C8F1A9B31 has connected and is not published"};

TEST(SnapshotsAreTrue, ReportsAConnectionThatIsPassedOver) {
  EXPECT_EQ(textsOnConnections({publishing({}, {otherID})}), otherIsPassedOver);
}

TEST(SnapshotsAreTrue, ReportsAnEarlierConnectionInPlaceOfTheLast) {
  EXPECT_EQ(textsOnConnections(
                {publishing(remoteID, {remoteID}), publishing(remoteID, {otherID, remoteID})}),
            otherIsPassedOver);
}

TEST(SnapshotsAreTrue, ReportsAConnectionEachTimeThatItIsPassedOver) {
  EXPECT_EQ(textsOnConnections({publishing(otherID, {otherID}), publishing({}, {otherID}),
                                publishing({}, {otherID})})
                .size(),
            2U);
}

TEST(SnapshotsAreTrue, TakesAnEarlierConnectionThatIsNotPublishedWhenTheLastHasEnded) {
  EXPECT_EQ(textsOnConnections({publishing(remoteID, {remoteID}),
                                publishing(otherID, {remoteID, otherID}),
                                publishing({}, {remoteID}), publishing({}, {remoteID})}),
            Texts{});
}

TEST(SnapshotsAreTrue, ReportsAConnectionThatHasEndedWhileAnotherStands) {
  EXPECT_EQ(
      textsOnConnections({publishing(otherID, {otherID}), publishing(remoteID, {otherID, remoteID}),
                          publishing(remoteID, {otherID})}),
      Texts{"5E1B0D6A-3C44-4F0B-9A7D-2E6C8F1A9B30 is published as connected and is not"});
}

TEST(SnapshotsAreTrue, ConnectionThatIsMadeAgainIsTheLast) {
  EXPECT_EQ(textsOnConnections(
                {publishing(otherID, {otherID}), publishing(remoteID, {otherID, remoteID}),
                 publishing(remoteID, {remoteID}), publishing(remoteID, {otherID, remoteID})}),
            otherIsPassedOver);
}

TEST(SnapshotsAreTrue, OfTwoWithOneIdentifierEitherMayBeTheOneThatHasEnded) {
  EXPECT_EQ(textsOnConnections({publishing(otherID, {otherID, otherID}), publishing({}, {otherID}),
                                publishing(otherID, {otherID})}),
            Texts{});
  EXPECT_EQ(
      textsOnConnections({publishing(otherID, {otherID}), publishing({}, {otherID, otherID})}),
      otherIsPassedOver);
}

TEST(SnapshotsAreTrue, FollowsTheConnectionsOfEachServiceApart) {
  EXPECT_EQ(textsOnConnections(
                {publishing(remoteID, {remoteID}), cli::BluetoothCreated{}, publishing({}, {})}),
            Texts{});
  EXPECT_EQ(textsOnConnections({publishing(remoteID, {otherID, remoteID}), cli::BluetoothCreated{},
                                publishing({}, {otherID})}),
            otherIsPassedOver);
}

TEST(SnapshotsAreTrue, ReportsConnectedWithoutAConnection) {
  EXPECT_EQ(textsOn(publication("Connected to Siri Remote")),
            Texts{"the status is \"Connected to Siri Remote\" without a connection"});
}

TEST(SnapshotsAreTrue, ReportsEverythingThatIsNotSo) {
  auto one = publication("Bluetooth is powered off", true, remoteID);
  one.isScanning = false;
  one.connected.clear();
  EXPECT_EQ(textsOn(one).size(), 3U);
}

struct StatusOfAState {
  std::string name;
  std::string status;
  BluetoothState state;
};

class EachStatusOfAState : public testing::TestWithParam<StatusOfAState> {};

TEST_P(EachStatusOfAState, IsTrueInThatStateAlone) {
  for (std::int64_t number = 0; number <= 6; ++number) {
    auto one = publication(GetParam().status);
    one.state = static_cast<BluetoothState>(number);
    const std::string text =
        "the status is \"" + GetParam().status + "\" in state " + std::to_string(number);
    EXPECT_EQ(textsOn(one), one.state == GetParam().state ? Texts{} : Texts{text});
  }
}

INSTANTIATE_TEST_SUITE_P(
    SnapshotsAreTrue, EachStatusOfAState,
    testing::Values(
        StatusOfAState{"unknown", "Waiting for Bluetooth state", BluetoothState::unknown},
        StatusOfAState{"resetting", "Bluetooth is resetting", BluetoothState::resetting},
        StatusOfAState{"unsupported", "Bluetooth is not supported on this Mac",
                       BluetoothState::unsupported},
        StatusOfAState{"unauthorized", "Bluetooth permission is not authorized",
                       BluetoothState::unauthorized},
        StatusOfAState{"poweredOff", "Bluetooth is powered off", BluetoothState::poweredOff},
        StatusOfAState{"poweredOn", "Scanning for Bluetooth devices", BluetoothState::poweredOn},
        StatusOfAState{"another", "Unknown Bluetooth state", static_cast<BluetoothState>(6)}),
    [](const auto& each) { return each.param.name; });

TEST(SnapshotsAreTrue, TakesAnUnknownStateBeyondThoseThatHaveAStatus) {
  for (const std::int64_t number : {-1, 7, 1000}) {
    auto one = publication("Unknown Bluetooth state");
    one.state = static_cast<BluetoothState>(number);
    EXPECT_EQ(textsOn(one), Texts{}) << number;
  }
}

BluetoothRemoteDevice remote(const std::string& name, std::int64_t rssi) {
  return {.id = remoteID,
          .name = name,
          .rssi = rssi,
          .connectionState = {},
          .serviceUUIDs = {},
          .lastSeen = {}};
}

Texts textsOnOrder(std::vector<BluetoothRemoteDevice> devices) {
  auto one = publication();
  one.snapshot.devices = std::move(devices);
  return textsOf(cli::makeRemotesAreSorted(), {Observation(one)});
}

TEST(RemotesAreSorted, TakesTheStrongestFirst) {
  EXPECT_EQ(textsOnOrder({}), Texts{});
  EXPECT_EQ(textsOnOrder({remote("b", -70)}), Texts{});
  EXPECT_EQ(textsOnOrder({remote("b", 127), remote("a", -40), remote("c", -70)}), Texts{});
}

TEST(RemotesAreSorted, ReportsEachThatStandsInFrontOfAStrongerOne) {
  EXPECT_EQ(textsOnOrder({remote("a", -70), remote("b", -40), remote("c", -50), remote("d", -49)}),
            (Texts{"a stands in front of the stronger b",
                   "c stands in front of the "
                   "stronger d"}));
}

TEST(RemotesAreSorted, TakesEqualsByName) {
  EXPECT_EQ(textsOnOrder({remote("b", -40), remote("B", -50), remote("a", -50), remote("a", -50),
                          remote("A", -60)}),
            Texts{});
}

TEST(RemotesAreSorted, ReportsEqualsThatAreNotByName) {
  EXPECT_EQ(textsOnOrder({remote("b", -50), remote("a", -50)}),
            Texts{"b stands in front of a, which is as strong"});
}

TEST(RemotesAreSorted, PassesOverOtherObservations) {
  EXPECT_EQ(textsOf(cli::makeRemotesAreSorted(), {cli::BluetoothCreated{}, PlatformCall{}}),
            Texts{});
}

const std::vector<Observation>& callbacks() {
  static const std::vector<Observation> all = {publication(), cli::BatteryLevel{},
                                               cli::BluetoothRawPayload{}, cli::BluetoothEvents{}};
  return all;
}

TEST(NoCallbackAfterRelease, SeesABluetoothCallbackOfAServiceThatIsGone) {
  for (const Observation& late : callbacks()) {
    EXPECT_EQ(textsOf(cli::makeNoCallbackAfterRelease(),
                      {cli::BluetoothCreated{}, cli::BluetoothReleased{}, late}),
              Texts{"a service that is gone called back"});
  }
}

TEST(NoCallbackAfterRelease, TakesBluetoothCallbacksOfAServiceThatStands) {
  for (const Observation& callback : callbacks()) {
    EXPECT_EQ(textsOf(cli::makeNoCallbackAfterRelease(),
                      {cli::BluetoothCreated{}, callback, cli::BluetoothReleased{},
                       cli::BluetoothCreated{}, callback}),
              Texts{});
  }
}

TEST(NoCallbackAfterRelease, OtherServicesThatGoLeaveBluetoothAlone) {
  for (const Observation& callback : callbacks()) {
    EXPECT_EQ(textsOf(cli::makeNoCallbackAfterRelease(),
                      {cli::BluetoothCreated{}, cli::HIDServiceReleased{}, cli::TouchReleased{},
                       cli::CaptureReleased{}, callback}),
              Texts{});
  }
}

TEST(NoCallbackAfterRelease, TakesCallsAndRequestsAfterTheReleaseOfBluetooth) {
  EXPECT_EQ(textsOf(cli::makeNoCallbackAfterRelease(),
                    {cli::BluetoothCreated{}, cli::BluetoothReleased{}, PlatformCall{},
                     cli::BluetoothHostChanged{}, cli::BluetoothAsked{}}),
            Texts{});
}

}  // namespace
}  // namespace tessline::test
