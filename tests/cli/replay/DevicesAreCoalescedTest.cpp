#include "tests/cli/replay/BluetoothHistory.h"

#include <gtest/gtest.h>

namespace tessline::test {
namespace {

using namespace std::chrono_literals;
using cli::Observation;
using platform::simulated::PlatformCall;

const Observation asked = cli::BluetoothAsked{};
const Observation scanning = publication("Scanning for Bluetooth devices", true);
const Observation stopped = publication("Scan stopped");

Texts textsOnTimes(const History& history) {
  return textsOf(cli::makeDevicesAreCoalesced(), history);
}

constexpr const char* causeless =
    "the devices alone were published, and nothing happened one second before";
constexpr const char* twice = "the devices alone were published twice within a second";

TEST(DevicesAreCoalesced, TakesADeviceChangeOneSecondAfterItsCause) {
  EXPECT_EQ(textsOnTimes({{1s, asked}, {1s, scanning}, {2s, asked}, {3s, scanning}}), Texts{});
}

TEST(DevicesAreCoalesced, TakesAnythingThatHappensForACause) {
  for (const Observation& cause : {asked, Observation(cli::BluetoothHostChanged{}),
                                   Observation(PlatformCall{}), Observation(cli::BatteryLevel{})}) {
    EXPECT_EQ(textsOnTimes({{1s, asked}, {1s, scanning}, {2s, cause}, {3s, scanning}}), Texts{});
  }
}

TEST(DevicesAreCoalesced, ReportsADeviceChangeAtOnce) {
  EXPECT_EQ(textsOnTimes({{1s, asked}, {1s, scanning}, {1500ms, asked}, {1500ms, scanning}}),
            Texts{causeless});
}

TEST(DevicesAreCoalesced, ReportsADeviceChangeThatComesTooLate) {
  EXPECT_EQ(textsOnTimes({{1s, asked}, {1s, scanning}, {2s, asked}, {3s + 1ns, scanning}}),
            Texts{causeless});
}

TEST(DevicesAreCoalesced, TakesStatusScanAndConnectionAtOnce) {
  EXPECT_EQ(textsOnTimes({{1s, asked},
                          {1s, publication("Starting Bluetooth")},
                          {1s, publication("Scan stopped")},
                          {1s, publication("Scan stopped", true)},
                          {1s, publication("Scan stopped", true, remoteID)},
                          {1s, publication("Scan stopped", true, otherID)},
                          {1s, publication("Scan stopped", true)}}),
            Texts{});
}

TEST(DevicesAreCoalesced, ReportsTwoWithinASecond) {
  EXPECT_EQ(textsOnTimes({{0s, asked},
                          {0s, scanning},
                          {2s, asked},
                          {2900ms, asked},
                          {3s, scanning},
                          {3900ms, scanning}}),
            Texts{twice});
}

TEST(DevicesAreCoalesced, TakesTwoASecondApart) {
  EXPECT_EQ(
      textsOnTimes(
          {{0s, asked}, {0s, scanning}, {2s, asked}, {3s, asked}, {3s, scanning}, {4s, scanning}}),
      Texts{});
}

TEST(DevicesAreCoalesced, StatusBetweenTwoCausesLetsBothCome) {
  EXPECT_EQ(textsOnTimes({{0s, asked},
                          {0s, scanning},
                          {2s, asked},
                          {2500ms, stopped},
                          {2600ms, asked},
                          {3s, stopped},
                          {3600ms, stopped}}),
            Texts{});
}

TEST(DevicesAreCoalesced, StatusOutsideTheCausesExcusesNothing) {
  EXPECT_EQ(textsOnTimes({{0s, asked},
                          {0s, scanning},
                          {1900ms, stopped},
                          {2s, asked},
                          {2500ms, asked},
                          {2600ms, scanning},
                          {3s, scanning},
                          {3500ms, scanning}}),
            Texts{twice});
}

TEST(DevicesAreCoalesced, PublicationForAnEarlierCauseLetsAThirdCome) {
  // The one at 3 s makes room for a cause at 3.1 s while that of 2.6 s is still on its way.
  EXPECT_EQ(textsOnTimes({{0s, asked},
                          {0s, scanning},
                          {2s, asked},
                          {2500ms, stopped},
                          {2600ms, asked},
                          {3s, stopped},
                          {3100ms, asked},
                          {3600ms, stopped},
                          {4100ms, stopped}}),
            Texts{});
}

TEST(DevicesAreCoalesced, FirstSnapshotOfAServiceComesAtOnce) {
  EXPECT_EQ(textsOnTimes({{1s, asked}, {1s, publication("Idle")}}), Texts{});
  EXPECT_EQ(textsOnTimes({{0s, asked},
                          {0s, scanning},
                          {2s, cli::BluetoothCreated{}},
                          {2s, scanning},
                          {2500ms, asked},
                          {3500ms, scanning}}),
            Texts{});
}

TEST(DevicesAreCoalesced, CausesOfAServiceThatIsGoneAreForgotten) {
  EXPECT_EQ(textsOnTimes({{0s, asked},
                          {0s, scanning},
                          {2s, asked},
                          {2500ms, cli::BluetoothCreated{}},
                          {2500ms, scanning},
                          {3s, scanning}}),
            Texts{causeless});
}

}  // namespace
}  // namespace tessline::test
