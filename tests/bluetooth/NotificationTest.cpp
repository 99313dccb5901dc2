#include "tests/bluetooth/ScriptedBluetooth.h"

namespace tessline::test {
namespace {

constexpr std::uint32_t canRead = 0x02;
constexpr std::uint32_t canNotify = 0x10;

using Place = platform::simulated::SimulatedCharacteristicPlace;
constexpr Place batteryLevel = {0, 0};
constexpr Place powerState = {0, 1};
constexpr Place firstReport = {1, 0};
constexpr Place secondReport = {1, 1};
constexpr Place voiceInput = {2, 0};
const TesslineError broken("CBATTErrorDomain", 14, "An unlikely error has occurred.");

class BluetoothNotificationTest : public BluetoothServiceTest {
 protected:
  BluetoothNotificationTest() {
    remote = connected(named(
        "Siri Remote",
        {offering("180F", {characteristic("2A19", canNotify), characteristic("2A1A", canNotify)}),
         offering("1812", {characteristic("2A4D", canNotify), characteristic("2A4D", canNotify)}),
         offering(voiceService, {characteristic(voiceNotify, canNotify)})}));
  }

  // What comes of a notification.
  Lines notified(const Place& place, std::string_view value,
                 std::optional<TesslineError> error = std::nullopt) {
    return happensWhen([&] { EXPECT_TRUE(remote->notify(place, bytes(value), std::move(error))); });
  }

  Remote remote;
};

TEST_F(BluetoothNotificationTest, BatteryLevelIsItsFirstByte) {
  EXPECT_EQ(notified(batteryLevel, "64"), Lines{"battery 100"});
  EXPECT_EQ(notified(batteryLevel, "00"), Lines{"battery 0"});
  EXPECT_EQ(notified(batteryLevel, "2a 07 ff"), Lines{"battery 42"});
}

TEST_F(BluetoothNotificationTest, BatteryLevelIsNotClamped) {
  EXPECT_EQ(notified(batteryLevel, "65"), Lines{"battery 101"});
  EXPECT_EQ(notified(batteryLevel, "80"), Lines{"battery 128"});
  EXPECT_EQ(notified(batteryLevel, "ff"), Lines{"battery 255"});
}

TEST_F(BluetoothNotificationTest, BatteryLevelWithoutAByteIsIgnored) {
  EXPECT_EQ(notified(batteryLevel, ""), Lines());
}

TEST_F(BluetoothNotificationTest, SameBatteryLevelIsToldEachTime) {
  EXPECT_EQ(notified(batteryLevel, "64"), Lines{"battery 100"});
  EXPECT_EQ(notified(batteryLevel, "64"), Lines{"battery 100"});
}

TEST_F(BluetoothNotificationTest, BatteryLevelThatIsReadIsTold) {
  remote->plan.services[0].characteristics[0] = characteristic("2A19", canRead, bytes("31"));
  drop(remote);
  EXPECT_EQ(last(), "battery 49");
}

TEST_F(BluetoothNotificationTest, ErrorsAreIgnoredEvenWithAnEarlierValue) {
  notified(batteryLevel, "64");
  notified(firstReport, "08 00");
  EXPECT_EQ(notified(batteryLevel, "63", broken), Lines());
  EXPECT_EQ(notified(firstReport, "00 00", broken), Lines());
  EXPECT_EQ(happensWhen([this] { host->advance(5s); }), Lines());
}

TEST_F(BluetoothNotificationTest, ReportIsPassedOnAsItCameThenDecoded) {
  EXPECT_EQ(notified(firstReport, "08 00"), (Lines{"payload 08 00", "events press select"}));
  EXPECT_EQ(notified(firstReport, "00 00"), (Lines{"payload 00 00", "events release select"}));
}

TEST_F(BluetoothNotificationTest, ReportWithoutAMeaningIsOnlyPassedOn) {
  EXPECT_EQ(notified(firstReport, "01 02 03 04 05"), Lines{"payload 01 02 03 04 05"});
  EXPECT_EQ(notified(firstReport, ""), Lines{"payload "});
}

TEST_F(BluetoothNotificationTest, ReportReachesTheParserWithEveryByte) {
  SiriRemoteReportParser parser;
  for (const char* value : {"01 02", "01 08 00", "ff 08 00", "fb 08 00", "02 08 00", "00 00"}) {
    Lines expected = {"payload " + std::string(value)};
    const auto events = parser.ingestPayload(bytes(value));
    if (!events.empty()) expected.push_back("events " + notation(std::span(events)));
    EXPECT_EQ(notified(firstReport, value), expected);
  }
}

TEST_F(BluetoothNotificationTest, LeadingByteOfAFramedReportIsNotDropped) {
  EXPECT_EQ(notified(firstReport, "ff 08 00"), Lines{"payload ff 08 00"});
}

TEST_F(BluetoothNotificationTest, AllReportsShareOneParser) {
  notified(firstReport, "08 00");
  EXPECT_EQ(notified(secondReport, "00 00"), (Lines{"payload 00 00", "events release select"}));
}

TEST_F(BluetoothNotificationTest, ParserOutlivesTheConnection) {
  notified(firstReport, "08 00");
  drop(remote);
  EXPECT_EQ(notified(firstReport, "08 00"), Lines{"payload 08 00"});
  EXPECT_EQ(notified(firstReport, "00 00"), (Lines{"payload 00 00", "events release select"}));
}

TEST_F(BluetoothNotificationTest, VoiceIsPassedOnAndDecodedLikeReports) {
  EXPECT_EQ(notified(voiceInput, "01 02 03"), Lines{"payload 01 02 03"});
  EXPECT_EQ(notified(voiceInput, "08 00"), (Lines{"payload 08 00", "events press select"}));
}

TEST_F(BluetoothNotificationTest, PowerStateIsIgnored) {
  EXPECT_EQ(notified(powerState, "08 00"), Lines());
  EXPECT_EQ(notified(powerState, "64"), Lines());
}

TEST_F(BluetoothNotificationTest, NothingIsPublished) {
  host->advance(5s);
  const std::size_t published = snapshots.size();
  for (const Place& place : {batteryLevel, powerState, firstReport, voiceInput})
    notified(place, "08 00");
  host->advance(5s);
  EXPECT_EQ(snapshots.size(), published);
}

TEST_F(BluetoothNotificationTest, LongReportsFollowShortOnesAndShortOnesLongOnes) {
  std::string longValue = "01";
  for (int count = 1; count < 512; ++count) longValue += " 5a";
  EXPECT_EQ(notified(firstReport, "01"), Lines{"payload 01"});
  EXPECT_EQ(notified(firstReport, longValue), Lines{"payload " + longValue});
  EXPECT_EQ(notified(firstReport, "07"), Lines{"payload 07"});
}

TEST_F(BluetoothNotificationTest, EachCallbackDoesWithoutTheOthers) {
  service->onRawPayload = nullptr;
  EXPECT_EQ(notified(firstReport, "08 00"), Lines{"events press select"});
  service->onTransportEvents = nullptr;
  EXPECT_EQ(notified(firstReport, "00 00"), Lines());
  service->onBatteryLevelChanged = nullptr;
  EXPECT_EQ(notified(batteryLevel, "64"), Lines());
  remote->plan.isReachable = false;
  EXPECT_EQ(happensWhen([this] { drop(remote); }),
            (Lines{"publish Disconnected from Siri Remote", "connect 1"}));
}

TEST_F(BluetoothNotificationTest, EventsAreDecodedWhenNobodyWantsTheBytes) {
  service->onRawPayload = nullptr;
  service->onTransportEvents = nullptr;
  notified(firstReport, "08 00");
  service->onTransportEvents = [this](const auto& events) {
    note("events " + notation(std::span(events)));
  };
  EXPECT_EQ(notified(firstReport, "00 00"), Lines{"events release select"});
}

class ScriptedNotificationTest : public ScriptedBluetoothTest {
 protected:
  ScriptedNotificationTest() {
    connect(remote);
    forgetWhatHappened();
  }

  static std::shared_ptr<ScriptedCharacteristic> holding(
      std::string_view text, std::optional<std::vector<std::uint8_t>> value) {
    auto made = std::make_shared<ScriptedCharacteristic>(text, canNotify);
    made->current = std::move(value);
    return made;
  }
  // What comes of an update.
  Lines updated(const std::shared_ptr<ScriptedCharacteristic>& characteristic) {
    return happensWhen([&] { update(remote, characteristic); });
  }

  const std::shared_ptr<ScriptedPeripheral> remote = peripheral();
};

TEST_F(ScriptedNotificationTest, UpdateWithoutAValueIsIgnored) {
  const auto report = holding("2A4D", std::nullopt);
  const auto level = holding("2A19", std::nullopt);
  discover(remote, {report, level});
  EXPECT_EQ(updated(report), Lines());
  EXPECT_EQ(updated(level), Lines());
}

TEST_F(ScriptedNotificationTest, ReportsAreToldByTheirObjectsAndNotByTheirUUID) {
  const auto known = holding("2A4D", bytes("01"));
  const auto unknown = holding("2A4D", bytes("02"));
  discover(remote, {known});
  EXPECT_EQ(updated(unknown), Lines());
  EXPECT_EQ(updated(known), Lines{"payload 01"});
  discover(remote, {unknown});
  EXPECT_EQ(updated(unknown), Lines{"payload 02"});
}

TEST_F(ScriptedNotificationTest, BatteryLevelIsToldByItsUUID) {
  EXPECT_EQ(updated(holding("2A19", bytes("64"))), Lines{"battery 100"});
  EXPECT_EQ(updated(holding("00002A19-0000-1000-8000-00805F9B34FB", bytes("63"))),
            Lines{"battery 99"});
}

TEST_F(ScriptedNotificationTest, OtherCharacteristicsAreIgnored) {
  const auto other = holding("2A4B", bytes("08 00"));
  const auto power = holding("2A1A", bytes("08 00"));
  discover(remote, {other, power});
  EXPECT_EQ(updated(other), Lines());
  EXPECT_EQ(updated(power), Lines());
}

TEST_F(ScriptedNotificationTest, ReportsOfAnEarlierConnectionAreNoneAnyMore) {
  const auto report = holding("2A4D", bytes("01"));
  const auto voiceValue = holding(voiceNotify, bytes("02"));
  const auto forgottenAfter = [&](auto change) {
    discover(remote, {report, voiceValue});
    EXPECT_EQ(updated(report), Lines{"payload 01"});
    EXPECT_EQ(updated(voiceValue), Lines{"payload 02"});
    change();
    EXPECT_EQ(updated(report), Lines());
    EXPECT_EQ(updated(voiceValue), Lines());
  };
  forgottenAfter([&] { connect(remote); });
  forgottenAfter([&] { disconnect(remote); });
  // Only one remote is used.
  forgottenAfter([&] { connect(peripheral("Siri Two")); });
  forgottenAfter([&] { disconnect(peripheral("Living Room")); });
}

}  // namespace
}  // namespace tessline::test
