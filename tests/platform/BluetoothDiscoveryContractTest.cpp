#include "tests/platform/BluetoothPeripheralContract.h"

#include <optional>

namespace tessline::test {
namespace {

using Texts = std::vector<std::string>;

class BluetoothDiscoveryContract : public BluetoothPeripheralContract {};

TEST_P(BluetoothDiscoveryContract, NothingIsDiscoveredUnasked) {
  makeConnected(lamp);
  EXPECT_EQ(textsOf(services("lamp")), Texts());
  expectNotes({});
}

TEST_P(BluetoothDiscoveryContract, ServicesAreThoseAskedForInThePeripheralsOrder) {
  makeConnected(lamp);
  discoverServices("lamp", {"8341F2B4-C013-4F04-8197-C4CDB42E26DC", "180F", "1812"});
  EXPECT_EQ(textsOf(services("lamp")), (Texts{"180F", "8341F2B4-C013-4F04-8197-C4CDB42E26DC"}));
}

TEST_P(BluetoothDiscoveryContract, ServicesJoinThoseFoundBefore) {
  makeConnected(lamp);
  discoverServices("lamp", {"1815"});
  EXPECT_EQ(textsOf(services("lamp")), (Texts{"1815", "1815"}));
  discoverServices("lamp", {"180F"});
  EXPECT_EQ(textsOf(services("lamp")), (Texts{"180F", "1815", "1815"}));
  discoverServices("lamp", {"1812"});
  EXPECT_EQ(textsOf(services("lamp")), (Texts{"180F", "1815", "1815"}));
}

TEST_P(BluetoothDiscoveryContract, ServicesComeWithTheCallAndNotBefore) {
  makeConnected(lamp);
  perform([&] {
    journal->found.at("lamp")->discoverServices(uuids({"180F"}));
    EXPECT_TRUE(journal->found.at("lamp")->services().empty());
  });
  expectNotes({"services lamp"});
  EXPECT_EQ(journal->lastPeripheral, found("lamp"));
  EXPECT_EQ(textsOf(services("lamp")), Texts{"180F"});
}

TEST_P(BluetoothDiscoveryContract, ServicesThatFailAreNone) {
  const std::size_t made = makeConnected(lamp);
  discoverServices("lamp", {"1815"});
  backend->setServicesError(made, "The lamp forgot.");
  perform([&] { journal->found.at("lamp")->discoverServices(uuids({"180F"})); });
  expectNotes({"services lamp: The lamp forgot."});
  EXPECT_EQ(textsOf(services("lamp")), (Texts{"1815", "1815"}));
}

TEST_P(BluetoothDiscoveryContract, CharacteristicsAreThoseAskedForInThePeripheralsOrder) {
  makeConnected(lamp);
  discoverServices("lamp", {"1815", "180F"});
  const auto all = services("lamp");
  discoverCharacteristics(all[1], {"2A58", "2A56", "2A19"}, "lamp");
  EXPECT_EQ(textsOf(characteristics(1)), (Texts{"2A56", "2A56", "2A58"}));
  EXPECT_EQ(textsOf(characteristics(0)), Texts());
  EXPECT_EQ(textsOf(characteristics(2)), Texts()) << "of the same UUID, and not asked for";
  EXPECT_EQ(journal->lastService, all[1]);
}

TEST_P(BluetoothDiscoveryContract, CharacteristicsJoinThoseFoundBefore) {
  makeConnected(lamp);
  discoverServices("lamp", {"180F"});
  const auto battery = services("lamp").at(0);
  discoverCharacteristics(battery, {"2A1A"}, "lamp");
  EXPECT_EQ(textsOf(characteristics(0)), Texts{"2A1A"});
  discoverCharacteristics(battery, {"2A19"}, "lamp");
  EXPECT_EQ(textsOf(characteristics(0)), (Texts{"2A19", "2A1A"}));
}

TEST_P(BluetoothDiscoveryContract, CharacteristicsComeWithTheCallAndNotBefore) {
  makeConnected(lamp);
  discoverServices("lamp", {"180F"});
  perform([&] {
    const auto battery = journal->found.at("lamp")->services().at(0);
    journal->found.at("lamp")->discoverCharacteristics(uuids({"2A19"}), battery);
    EXPECT_TRUE(battery->characteristics().empty());
  });
  expectNotes({"characteristics lamp 180F"});
  EXPECT_EQ(textsOf(characteristics(0)), Texts{"2A19"});
}

TEST_P(BluetoothDiscoveryContract, CharacteristicsThatFailAreNone) {
  const std::size_t made = makeFound(lamp);
  backend->setCharacteristicsError(made, 1, "The lamp forgot.");
  perform([&] { journal->found.at("lamp")->setDelegate(journal); });
  connect("lamp");
  expectNotes({"connected lamp"});
  discoverServices("lamp", {"1815"});
  const auto all = services("lamp");
  perform([&] { journal->found.at("lamp")->discoverCharacteristics(uuids({"2A56"}), all[0]); });
  expectNotes({"characteristics lamp 1815: The lamp forgot."});
  EXPECT_EQ(textsOf(characteristics(0)), Texts());
  discoverCharacteristics(all[1], {"2A56"}, "lamp");
  EXPECT_EQ(textsOf(characteristics(1)), Texts{"2A56"});
}

TEST_P(BluetoothDiscoveryContract, DiscoveryComparesUUIDsByValue) {
  makeConnected(lamp);
  discoverServices("lamp", {"0000180F-0000-1000-8000-00805F9B34FB"});
  ASSERT_EQ(services("lamp").size(), 1U);
  EXPECT_EQ(services("lamp")[0]->uuid(), uuid("180F"));
  discoverCharacteristics(services("lamp")[0], {"00002A19"}, "lamp");
  ASSERT_EQ(characteristics(0).size(), 1U);
  EXPECT_EQ(characteristics(0)[0]->uuid(), uuid("2A19"));
}

TEST_P(BluetoothDiscoveryContract, SecondDiscoveryGivesTheSameObjects) {
  makeDiscovered();
  const auto before = services("lamp");
  const auto characteristicsBefore = characteristics(1);
  discoverAll("lamp", lamp);
  EXPECT_EQ(services("lamp"), before);
  EXPECT_EQ(characteristics(1), characteristicsBefore);
}

TEST_P(BluetoothDiscoveryContract, ObjectsOfOneUUIDAreToldApart) {
  makeDiscovered();
  const auto all = services("lamp");
  EXPECT_NE(all.at(1), all.at(3));
  EXPECT_NE(characteristics(1).at(0), characteristics(1).at(1));
  EXPECT_NE(characteristics(1).at(0), characteristics(3).at(0));
}

TEST_P(BluetoothDiscoveryContract, NextConnectionHasObjectsOfItsOwn) {
  const std::size_t made = makeDiscovered();
  // Held, so that no other object takes their addresses.
  const auto before = services("lamp");
  const auto characteristicsBefore = characteristics(0);
  reconnect(made, "lamp");
  EXPECT_TRUE(services("lamp").empty());
  discoverAll("lamp", lamp);
  for (std::size_t index = 0; index < before.size(); ++index) {
    EXPECT_NE(services("lamp")[index], before[index]);
  }
  EXPECT_NE(characteristics(0)[0], characteristicsBefore[0]);
}

TEST_P(BluetoothDiscoveryContract, NothingIsOfferedWithoutAConnection) {
  const std::size_t made = makeDiscovered();
  std::optional<bool> hadServices;
  perform([&] {
    journal->duringCall = [&](const std::string&) {
      hadServices = !journal->lastPeripheral->services().empty();
    };
  });
  backend->drop(made, std::nullopt);
  expectNotes({"ended lamp"});
  EXPECT_EQ(hadServices, false);
}

INSTANTIATE_TEST_SUITE_P(On, BluetoothDiscoveryContract, testing::ValuesIn(bluetoothBackends()),
                         backendName);

}  // namespace
}  // namespace tessline::test
