#include "tests/platform/BluetoothPeripheralContract.h"

namespace tessline::test {
namespace {

using Bytes = std::vector<std::uint8_t>;

class BluetoothValueContract : public BluetoothPeripheralContract {};

TEST_P(BluetoothValueContract, PropertiesAreThoseDeclared) {
  makeDiscovered();
  EXPECT_EQ(characteristic("lamp", level)->properties().bits, reads | notifies);
  EXPECT_EQ(characteristic("lamp", power)->properties().bits, notifies);
  EXPECT_EQ(characteristic("lamp", {1, 1})->properties().bits,
            writes | BluetoothProperties::writeWithoutResponse);
  EXPECT_EQ(characteristic("lamp", {3, 0})->properties().bits,
            reads | BluetoothProperties::indicate);
}

TEST_P(BluetoothValueContract, ValueIsWhatWasRead) {
  makeDiscovered();
  EXPECT_EQ(valueOf(characteristic("lamp", level)), "none");
  read("lamp", level);
  expectNotes({"value lamp 2A19: 64"});
  EXPECT_EQ(journal->lastCharacteristic, characteristic("lamp", level));
  EXPECT_EQ(journal->lastPeripheral, found("lamp"));
  EXPECT_EQ(valueOf(characteristic("lamp", level)), "64");
}

TEST_P(BluetoothValueContract, ValueMayBeEmpty) {
  makeDiscovered();
  read("lamp", {1, 2});
  expectNotes({"value lamp 2A58: "});
}

TEST_P(BluetoothValueContract, ValuesAreThoseOfTheirCharacteristic) {
  makeDiscovered();
  read("lamp", {2, 0});
  read("lamp", {3, 0});
  expectNotes({"value lamp 2A56: 07", "value lamp 2A56: 01 02 03"});
  EXPECT_EQ(journal->lastCharacteristic, characteristic("lamp", {3, 0}));
  EXPECT_EQ(valueOf(characteristic("lamp", {2, 0})), "07");
  EXPECT_EQ(valueOf(characteristic("lamp", {1, 0})), "none");
}

TEST_P(BluetoothValueContract, ReadOfWhatCannotBeReadIsAnError) {
  makeDiscovered();
  read("lamp", power);
  expectNotes({"no value lamp 2A1A"});
  EXPECT_EQ(journal->lastCharacteristic, characteristic("lamp", power));
  EXPECT_EQ(valueOf(characteristic("lamp", power)), "none");
}

TEST_P(BluetoothValueContract, ErrorLeavesTheValueAsItWas) {
  const std::size_t made = makeDiscovered();
  setNotify("lamp", power, true);
  backend->notify(made, power, {3, 1});
  read("lamp", power);
  expectNotes({"value lamp 2A1A: 03 01", "no value lamp 2A1A"});
  EXPECT_EQ(valueOf(characteristic("lamp", power)), "03 01");
}

TEST_P(BluetoothValueContract, ValueStaysUntilTheCallReturns) {
  const std::size_t made = makeDiscovered();
  const auto told = characteristic("lamp", level);
  setNotify("lamp", level, true);
  std::string before;
  std::string after;
  perform([&] {
    journal->duringCall = [&, made](const std::string&) {
      journal->duringCall = nullptr;
      const auto value = told->value();
      before = text(value);
      journal->lastPeripheral->readValue(told);
      backend->notify(made, level, {9, 9});
      backend->drop(made, std::nullopt);
      central->cancelPeripheralConnection(journal->lastPeripheral);
      central.reset();
      after = text(value);
    };
  });
  backend->notify(made, level, {1, 2});
  expectNotes({"value lamp 2A19: 01 02"});
  EXPECT_EQ(before, "01 02");
  EXPECT_EQ(after, "01 02");
}

TEST_P(BluetoothValueContract, NotificationsComeWhileAskedFor) {
  const std::size_t made = makeDiscovered();
  backend->notify(made, level, {1});
  expectNotes({});
  setNotify("lamp", level, true);
  expectNotes({});
  backend->notify(made, level, {2});
  backend->notify(made, level, {3});
  expectNotes({"value lamp 2A19: 02", "value lamp 2A19: 03"});
  setNotify("lamp", level, false);
  backend->notify(made, level, {4});
  expectNotes({});
  setNotify("lamp", level, true);
  backend->notify(made, level, {5});
  expectNotes({"value lamp 2A19: 05"});
}

TEST_P(BluetoothValueContract, IndicationsComeLikeNotifications) {
  const std::size_t made = makeDiscovered();
  setNotify("lamp", {3, 0}, true);
  backend->notify(made, {3, 0}, {8});
  expectNotes({"value lamp 2A56: 08"});
}

TEST_P(BluetoothValueContract, NotificationsAreThoseOfTheirCharacteristic) {
  const std::size_t made = makeDiscovered();
  setNotify("lamp", {1, 0}, true);
  backend->notify(made, {3, 0}, {1});
  backend->notify(made, {1, 0}, {2});
  expectNotes({"value lamp 2A56: 02"});
  EXPECT_EQ(journal->lastCharacteristic, characteristic("lamp", {1, 0}));
}

TEST_P(BluetoothValueContract, NotificationsAreAskedForInEachConnection) {
  const std::size_t made = makeDiscovered();
  setNotify("lamp", level, true);
  reconnect(made, "lamp");
  discoverAll("lamp", lamp);
  EXPECT_EQ(valueOf(characteristic("lamp", level)), "none");
  backend->notify(made, level, {1});
  expectNotes({});
}

TEST_P(BluetoothValueContract, WritesReachThePeripheralInOrderAndAreNotAnswered) {
  const std::size_t made = makeDiscovered();
  write({1, 1}, {0xAF}, BluetoothWriteType::withResponse);
  write({1, 1}, {}, BluetoothWriteType::withoutResponse);
  write({1, 0}, {1, 2}, BluetoothWriteType::withResponse);
  write({1, 1}, {3}, BluetoothWriteType::withoutResponse);
  expectNotes({});
  EXPECT_EQ(backend->written(made, {1, 1}), (std::vector<Bytes>{{0xAF}, {}, {3}}));
  EXPECT_EQ(backend->written(made, {1, 0}), (std::vector<Bytes>{{1, 2}}));
}

TEST_P(BluetoothValueContract, AnswersComeInTheOrderOfTheQuestions) {
  makeDiscovered();
  perform([&] {
    const auto peripheral = journal->found.at("lamp");
    const auto battery = peripheral->services().at(0);
    const auto all = battery->characteristics();
    peripheral->readValue(all.at(1));
    peripheral->discoverServices(uuids({"180F"}));
    peripheral->readValue(all.at(0));
    peripheral->discoverCharacteristics(uuids({"2A19"}), battery);
  });
  expectNotes(
      {"no value lamp 2A1A", "services lamp", "value lamp 2A19: 64", "characteristics lamp 180F"});
}

INSTANTIATE_TEST_SUITE_P(On, BluetoothValueContract, testing::ValuesIn(bluetoothBackends()),
                         backendName);

}  // namespace
}  // namespace tessline::test
