#include "tests/bluetooth/ScriptedBluetooth.h"

#include <array>

namespace tessline::test {
namespace {

using BluetoothConfigurationTest = BluetoothServiceTest;

constexpr std::uint32_t read = 0x02;
constexpr std::uint32_t writeWithoutResponse = 0x04;
constexpr std::uint32_t write = 0x08;
constexpr std::uint32_t notify = 0x10;
constexpr std::uint32_t indicate = 0x20;
// All the bits that mean nothing here.
constexpr std::uint32_t others = ~(read | writeWithoutResponse | write | notify | indicate);

const TesslineError refused("CBATTErrorDomain", 15, "Encryption is insufficient.");
const std::string voice(voiceNotify);

TEST_F(BluetoothConfigurationTest, RemoteIsSetUpStepByStep) {
  const Remote remote = connected(outOfReach("Siri Remote"));
  remote->plan.services = {
      offering("180F", {characteristic("2A19", read | notify, bytes("64")),
                        characteristic("2A1A", read | notify, bytes("00"))}),
      offering("1812", {characteristic("2A4D", read | notify | write, bytes("08 00")),
                        characteristic("2A4D", notify | writeWithoutResponse),
                        characteristic("2A4D", read)}),
      offering(voiceService, {characteristic(voiceNotify, notify)})};
  EXPECT_EQ(happensWhen([&] { makeReachable(remote); }),
            (Lines{"setDelegate 1",
                   "discoverServices 1 [180F 1812 " + std::string(voiceService) + "]",
                   "publish Connected to Siri Remote",
                   "discoverCharacteristics 1 [2A19 2A1A] 180F",
                   "discoverCharacteristics 1 [2A4D] 1812",
                   "discoverCharacteristics 1 [" + voice + "] " + std::string(voiceService),
                   "readValue 1 2A19 [0 0]",
                   "setNotifyValue 1 2A19 [0 0] true",
                   "setNotifyValue 1 2A1A [0 1] true",
                   "readValue 1 2A1A [0 1]",
                   "setNotifyValue 1 2A4D [1 0] true",
                   "readValue 1 2A4D [1 0]",
                   "writeValue 1 2A4D [1 0] [175] withResponse",
                   "setNotifyValue 1 2A4D [1 1] true",
                   "writeValue 1 2A4D [1 1] [175] withoutResponse",
                   "readValue 1 2A4D [1 2]",
                   "setNotifyValue 1 " + voice + " [2 0] true",
                   "battery 100",
                   "payload 08 00",
                   "events press select"}));
}

TEST_F(BluetoothConfigurationTest, ServicesThatCannotBeDiscoveredAreTheStatus) {
  const Remote remote = connected(outOfReach("Siri Remote"));
  remote->plan.services = {offering("180F")};
  remote->plan.servicesError = refused;
  makeReachable(remote);
  EXPECT_EQ(last(), "publish Service discovery failed: Encryption is insufficient.");
  EXPECT_EQ(latest().connectedDeviceID, remote->identifier());
}

TEST_F(BluetoothConfigurationTest, CharacteristicsThatCannotBeDiscoveredEndThatBranchAlone) {
  const Remote remote = connected(outOfReach("Siri Remote"));
  auto failing = offering("180F", {characteristic("2A19", read)});
  failing.error = refused;
  remote->plan.services = {failing, offering("1812", {characteristic("2A4D", notify)})};
  EXPECT_EQ(
      happensWhen([&] { makeReachable(remote); }),
      (Lines{"setDelegate 1", "discoverServices 1 [180F 1812 " + std::string(voiceService) + "]",
             "publish Connected to Siri Remote", "discoverCharacteristics 1 [2A19 2A1A] 180F",
             "discoverCharacteristics 1 [2A4D] 1812",
             "publish Characteristic discovery failed: Encryption is insufficient.",
             "setNotifyValue 1 2A4D [1 0] true"}));
}

class ScriptedConfigurationTest : public ScriptedBluetoothTest {
 protected:
  using Characteristic = std::shared_ptr<ScriptedCharacteristic>;

  ScriptedConfigurationTest() {
    hear(remote);
    connect(remote);
    host->advance(2s);
    forgetWhatHappened();
  }

  static Characteristic make(std::string_view text, std::uint32_t properties) {
    return std::make_shared<ScriptedCharacteristic>(text, properties);
  }
  // What is done with characteristics when they are discovered.
  Lines configured(std::vector<std::shared_ptr<platform::BluetoothCharacteristic>> found) {
    return happensWhen([&] { discover(remote, found); });
  }
  Lines configured(std::string_view text, std::uint32_t properties) {
    return configured({make(text, properties)});
  }
  Lines discoverServices(std::initializer_list<std::string_view> uuids,
                         const TesslineError* error = nullptr) {
    remote->offered.clear();
    for (const auto each : uuids) {
      remote->offered.push_back(std::make_shared<ScriptedService>(
          each, std::vector<std::shared_ptr<platform::BluetoothCharacteristic>>()));
    }
    return happensWhen([&] {
      answer(remote, [&](auto& delegate) { delegate.didDiscoverServices(remote, error); });
    });
  }

  const std::shared_ptr<ScriptedPeripheral> remote = peripheral();
};

TEST_F(ScriptedConfigurationTest, EachServiceIsAskedForItsCharacteristics) {
  EXPECT_EQ(discoverServices({"180F"}), Lines{"discoverCharacteristics of 180F: 2A19 2A1A"});
  EXPECT_EQ(discoverServices({"1812"}), Lines{"discoverCharacteristics of 1812: 2A4D"});
  EXPECT_EQ(discoverServices({voiceService}),
            Lines{"discoverCharacteristics of " + std::string(voiceService) + ": " + voice});
}

TEST_F(ScriptedConfigurationTest, OtherServicesAreAskedForNothing) {
  EXPECT_EQ(discoverServices({"180A", "1800", "2A19", "FEAA", voiceNotify}), Lines());
  EXPECT_EQ(discoverServices({}), Lines());
}

TEST_F(ScriptedConfigurationTest, ServicesAreAskedInTheRemotesOrder) {
  EXPECT_EQ(
      discoverServices({"1812", "180A", "180F", "1812"}),
      (Lines{"discoverCharacteristics of 1812: 2A4D", "discoverCharacteristics of 180F: 2A19 2A1A",
             "discoverCharacteristics of 1812: 2A4D"}));
}

TEST_F(ScriptedConfigurationTest, ServicesAreAskedForNothingAfterAnError) {
  EXPECT_EQ(discoverServices({"180F", "1812"}, &refused),
            Lines{"publish Service discovery failed: Encryption is insufficient."});
}

TEST_F(ScriptedConfigurationTest, CharacteristicsAreLeftAloneAfterAnError) {
  const auto found = std::make_shared<ScriptedService>(
      "1812", std::vector<std::shared_ptr<platform::BluetoothCharacteristic>>{
                  make("2A4D", notify | write)});
  EXPECT_EQ(happensWhen([&] {
              answer(remote, [&](auto& delegate) {
                delegate.didDiscoverCharacteristicsFor(remote, found, &refused);
              });
            }),
            Lines{"publish Characteristic discovery failed: Encryption is insufficient."});
}

TEST_F(ScriptedConfigurationTest, UUIDsCountInEveryWidth) {
  EXPECT_EQ(discoverServices({"0000180F"}),
            Lines{"discoverCharacteristics of 0000180F: 2A19 2A1A"});
  EXPECT_EQ(configured("00002A4D-0000-1000-8000-00805F9B34FB", notify),
            Lines{"notify 00002A4D-0000-1000-8000-00805F9B34FB"});
}

// What a characteristic may be for, in all 32 combinations.
class CharacteristicThatMay : public ScriptedConfigurationTest,
                              public testing::WithParamInterface<std::uint32_t> {
 protected:
  // What is done with one that is subscribed by its properties.
  Lines subscription(const std::string& text) const {
    Lines lines;
    if (may(notify) || may(indicate)) lines.push_back("notify " + text);
    if (may(read)) lines.push_back("read " + text);
    return lines;
  }
  bool may(std::uint32_t property) const { return (properties & property) != 0; }

  const std::uint32_t properties = GetParam() * 2;
};

TEST_P(CharacteristicThatMay, BatteryLevelIsReadThenSubscribedWhateverItMay) {
  EXPECT_EQ(configured("2A19", properties), (Lines{"read 2A19", "notify 2A19"}));
}

TEST_P(CharacteristicThatMay, PowerStateIsSubscribedThenRead) {
  EXPECT_EQ(configured("2A1A", properties), subscription("2A1A"));
}

TEST_P(CharacteristicThatMay, VoiceIsSubscribedThenReadAndNeverEnabled) {
  EXPECT_EQ(configured(voice, properties), subscription(voice));
}

TEST_P(CharacteristicThatMay, ReportIsSubscribedReadAndEnabled) {
  Lines expected = subscription("2A4D");
  if (may(write)) {
    expected.emplace_back("write 2A4D af with response");
  } else if (may(writeWithoutResponse)) {
    expected.emplace_back("write 2A4D af without response");
  }
  EXPECT_EQ(configured("2A4D", properties), expected);
}

TEST_P(CharacteristicThatMay, OtherPropertiesChangeNothing) {
  for (const char* text : {"2A19", "2A1A", "2A4D"}) {
    EXPECT_EQ(configured(text, properties | others), configured(text, properties)) << text;
  }
}

TEST_P(CharacteristicThatMay, AnyOtherIsLeftAlone) {
  for (const char* text : {"2A4B", "2A4A", "180F", "1812"}) {
    EXPECT_EQ(configured(text, properties), Lines()) << text;
  }
}

INSTANTIATE_TEST_SUITE_P(EachWay, CharacteristicThatMay, testing::Range(0U, 32U));

TEST_F(ScriptedConfigurationTest, CharacteristicsAreSetUpInTheirOrderWhateverTheirService) {
  EXPECT_EQ(configured({make(voice, notify), make("2A4D", write), make("2A4B", read),
                        make("2A1A", read), make("2A19", read), make("2A4D", read)}),
            (Lines{"notify " + voice, "write 2A4D af with response", "read 2A1A", "read 2A19",
                   "notify 2A19", "read 2A4D"}));
}

TEST_F(ScriptedConfigurationTest, InputIsEnabledOnceOnEachReportThatCanBeWritten) {
  const auto writable = make("2A4D", notify | write);
  const auto fixed = make("2A4D", notify);
  const auto alsoWritable = make("2A4D", writeWithoutResponse);
  EXPECT_EQ(configured({writable, fixed, alsoWritable}),
            (Lines{"notify 2A4D", "write 2A4D af with response", "notify 2A4D",
                   "write 2A4D af without response"}));
  EXPECT_EQ(configured({writable, fixed, alsoWritable}), (Lines{"notify 2A4D", "notify 2A4D"}));
}

TEST_F(ScriptedConfigurationTest, ReportThatCannotBeWrittenYetIsNotForgotten) {
  const auto report = make("2A4D", 0);
  EXPECT_EQ(configured({report}), Lines());
  report->propertyBits = writeWithoutResponse;
  EXPECT_EQ(configured({report}), Lines{"write 2A4D af without response"});
  report->propertyBits = write;
  EXPECT_EQ(configured({report}), Lines());
}

TEST_F(ScriptedConfigurationTest, EveryConnectionEnablesAgain) {
  const auto report = make("2A4D", write);
  for (int time = 0; time < 3; ++time) {
    connect(remote);
    EXPECT_EQ(configured({report}), Lines{"write 2A4D af with response"});
    EXPECT_EQ(configured({report}), Lines());
  }
}

TEST_F(ScriptedConfigurationTest, EveryDisconnectForgetsWhatWasEnabledOfAnotherToo) {
  const auto report = make("2A4D", write);
  configured({report});
  disconnect(remote);
  EXPECT_EQ(configured({report}), Lines{"write 2A4D af with response"});
  disconnect(peripheral("Living Room"));
  EXPECT_EQ(configured({report}), Lines{"write 2A4D af with response"});
}

// What neither begins nor ends a connection leaves its characteristics as they were.
class ScriptedSetUpTest : public ScriptedConfigurationTest {
 protected:
  ScriptedSetUpTest() {
    report->current = bytes("01");
    discover(remote, {report});
  }
  void expectForgotNothing() {
    EXPECT_EQ(happensWhen([this] { update(remote, report); }), Lines{"payload 01"});
    EXPECT_EQ(configured({report}), Lines());
  }

  const Characteristic report = make("2A4D", write);
};

TEST_F(ScriptedSetUpTest, FailureOfAnotherForgetsNothing) {
  const auto other = peripheral("Siri Two");
  tell([&](auto& delegate) { delegate.didFailToConnect(other, nullptr); });
  expectForgotNothing();
}

TEST_F(ScriptedSetUpTest, StopOfTheScanForgetsNothing) {
  stopScanning();
  expectForgotNothing();
}

TEST_F(ScriptedSetUpTest, RequestToConnectForgetsNothingUntilItIsAnswered) {
  EXPECT_EQ(happensWhen([this] { service->connect(remote->id); }),
            (Lines{"publish Connecting to Siri Remote", "connect 1"}));
  expectForgotNothing();
}

TEST_F(ScriptedSetUpTest, BluetoothThatGoesOffAndOnForgetsNothing) {
  tellState(BluetoothState::poweredOff);
  expectForgotNothing();
  tellState(BluetoothState::poweredOn);
  expectForgotNothing();
}

TEST_F(ScriptedSetUpTest, DiscoveryThatFailsForgetsNothing) {
  discoverServices({}, &refused);
  expectForgotNothing();
  const auto battery = std::make_shared<ScriptedService>(
      "180F", std::vector<std::shared_ptr<platform::BluetoothCharacteristic>>());
  answer(remote, [&](auto& delegate) {
    delegate.didDiscoverCharacteristicsFor(remote, battery, &refused);
  });
  expectForgotNothing();
}

TEST_F(BluetoothConfigurationTest, RemoteThatComesBackIsEnabledAgain) {
  const std::vector<std::vector<std::uint8_t>> onceEnabled = {bytes("af")};
  const Remote remote =
      connected(named("Siri Remote", {offering("1812", {characteristic("2A4D", notify | write)})}));
  EXPECT_EQ(remote->written({0, 0}), onceEnabled);
  drop(remote);
  EXPECT_EQ(remote->written({0, 0}), onceEnabled);
}

TEST_F(ScriptedConfigurationTest, CharacteristicLivesAsLongAsItsAddressCounts) {
  auto enabled = make("2A4D", write);
  auto voiceOnly = make(voice, notify);
  const std::weak_ptr<ScriptedCharacteristic> weakEnabled = enabled;
  const std::weak_ptr<ScriptedCharacteristic> weakVoice = voiceOnly;
  configured({std::move(enabled), std::move(voiceOnly)});
  EXPECT_FALSE(weakEnabled.expired());
  EXPECT_FALSE(weakVoice.expired());
  disconnect(remote);
  EXPECT_TRUE(weakEnabled.expired());
  EXPECT_TRUE(weakVoice.expired());
}

}  // namespace
}  // namespace tessline::test
