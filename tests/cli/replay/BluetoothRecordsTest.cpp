#include "tests/cli/support/Command.h"

#include <string>

#include <gtest/gtest.h>

namespace tessline::test {
namespace {

const std::string header = R"({"recording":"tessline","version":1})"
                           "\n";
const std::string create = R"({"time":0,"type":"bluetooth.create"})"
                           "\n";
const std::string peripheral =
    R"({"time":0,"type":"bluetooth.peripheralAppeared","peripheral":"p",)"
    R"("identifier":"5E1B0D6A-3C44-4F0B-9A7D-2E6C8F1A9B30"})"
    "\n";

// What replaying these records ends in; the header is line 1.
std::string errorOf(const std::string& records) {
  const CommandResult result = runCommand({"replay", "-"}, header + records);
  EXPECT_EQ(result.exitCode, 1) << records;
  return result.errors;
}

std::string atLine(int line, const std::string& message) {
  return "tessline: standard input:" + std::to_string(line) + ": " + message + "\n";
}

// A record of that type with these members.
std::string record(const std::string& type, const std::string& members = {}) {
  return R"({"time":0,"type":"bluetooth.)" + type + "\"" + (members.empty() ? "" : ",") + members +
         "}\n";
}

TEST(BluetoothRecords, SecondServiceIsRefused) {
  EXPECT_EQ(errorOf(create + create),
            atLine(3, "there is a Bluetooth service already; expected bluetooth.release before"));
}

TEST(BluetoothRecords, ReleaseMakesRoomForAnotherService) {
  const CommandResult result =
      runCommand({"replay", "-"}, header + create + record("release") + create);
  EXPECT_EQ(result.exitCode, 0) << result.errors;
}

TEST(BluetoothRecords, RequestsNeedAService) {
  const std::string identifier = R"("identifier":"5E1B0D6A-3C44-4F0B-9A7D-2E6C8F1A9B30")";
  for (const std::string& asking :
       {record("release"), record("startScanning"), record("stopScanning"),
        record("connect", identifier), record("disconnect")}) {
    EXPECT_EQ(errorOf(asking),
              atLine(2, "there is no Bluetooth service; expected bluetooth.create before"));
    EXPECT_EQ(errorOf(create + record("release") + asking),
              atLine(4, "there is no Bluetooth service; expected bluetooth.create before"));
  }
}

TEST(BluetoothRecords, UnknownStateIsAnsweredWithTheKnownOnes) {
  EXPECT_EQ(errorOf(record("host", R"("state":"on")")),
            atLine(2,
                   "there is no state \"on\"; expected one of unknown resetting unsupported "
                   "unauthorized poweredOff poweredOn other"));
}

TEST(BluetoothRecords, PeripheralOfAKnownNameIsRefused) {
  EXPECT_EQ(errorOf(peripheral + peripheral),
            atLine(3, "the peripheral \"p\" is there already; expected another name"));
}

TEST(BluetoothRecords, UnknownPeripheralIsRefused) {
  for (const std::string& about :
       {record("peripheralChanged", R"("peripheral":"q")"),
        record("advertisement", R"("peripheral":"q","rssi":-50)"),
        record("notification", R"("peripheral":"q","service":0,"characteristic":0,"bytes":"00")"),
        record("drop", R"("peripheral":"q")")}) {
    EXPECT_EQ(errorOf(peripheral + about),
              atLine(3, "there is no peripheral \"q\"; expected one that has appeared"));
  }
}

TEST(BluetoothRecords, IdentifierThatIsNoUUIDIsRefused) {
  for (const std::string text : {"", "180F", "5E1B0D6A-3C44-4F0B-9A7D-2E6C8F1A9B3G",
                                 "5E1B0D6A-3C44-4F0B-9A7D-2E6C8F1A9B300"}) {
    const std::string message =
        "the identifier \"" + text + "\" is no UUID; expected one of 36 characters";
    EXPECT_EQ(
        errorOf(record("peripheralAppeared", R"("peripheral":"p","identifier":")" + text + "\"")),
        atLine(2, message));
    EXPECT_EQ(errorOf(create + record("connect", R"("identifier":")" + text + "\"")),
              atLine(3, message));
  }
}

TEST(BluetoothRecords, AdvertisedServiceThatIsNoUUIDIsRefused) {
  EXPECT_EQ(errorOf(peripheral + record("advertisement", R"("peripheral":"p","rssi":-50,)"
                                                         R"("serviceUUIDs":["180F","180"])")),
            atLine(3, "\"180\" is no UUID; expected 4, 8 or 36 characters"));
}

TEST(BluetoothRecords, AdvertisedServicesAreTexts) {
  EXPECT_EQ(errorOf(peripheral + record("advertisement",
                                        R"("peripheral":"p","rssi":-50,"serviceUUIDs":[6159])")),
            atLine(3,
                   "\"serviceUUIDs\" of bluetooth.advertisement is [6159]; expected a list of "
                   "texts"));
}

TEST(BluetoothRecords, SignalBeyond32BitsIsRefused) {
  EXPECT_EQ(
      errorOf(peripheral + record("advertisement", R"("peripheral":"p","rssi":-3000000000)")),
      atLine(3, "the rssi -3000000000 does not fit 32 bits; expected -2147483648 to 2147483647"));
}

TEST(BluetoothRecords, PlaceBelowZeroIsRefused) {
  EXPECT_EQ(errorOf(peripheral +
                    record("notification",
                           R"("peripheral":"p","service":-1,"characteristic":0,"bytes":"00")")),
            atLine(3, "the service -1 does not exist; expected 0 or more"));
  EXPECT_EQ(errorOf(peripheral +
                    record("notification",
                           R"("peripheral":"p","service":0,"characteristic":-2,"bytes":"00")")),
            atLine(3, "the characteristic -2 does not exist; expected 0 or more"));
}

TEST(BluetoothRecords, PlaceBeyond32BitsIsRefused) {
  EXPECT_EQ(
      errorOf(peripheral +
              record("notification",
                     R"("peripheral":"p","service":0,"characteristic":3000000000,"bytes":"00")")),
      atLine(3,
             "the characteristic 3000000000 does not fit 32 bits; expected -2147483648 to "
             "2147483647"));
}

TEST(BluetoothRecords, PlaceThatThePeripheralLacksTellsNobody) {
  const CommandResult result =
      runCommand({"replay", "-"},
                 header + peripheral +
                     record("notification",
                            R"("peripheral":"p","service":7,"characteristic":9,"bytes":"00")"));
  EXPECT_EQ(result.exitCode, 0) << result.errors;
  EXPECT_EQ(result.output, "");
}

TEST(BluetoothRecords, IdentifierOfAPeripheralStays) {
  EXPECT_EQ(
      errorOf(peripheral +
              record("peripheralChanged",
                     R"("peripheral":"p","identifier":"5E1B0D6A-3C44-4F0B-9A7D-2E6C8F1A9B31")")),
      atLine(3,
             "bluetooth.peripheralChanged has no \"identifier\"; expected peripheral name "
             "services isReachable isConnectedToSystem connectError servicesError"));
}

struct Malformed {
  const char* name;
  const char* services;
};

class MalformedServices : public testing::TestWithParam<Malformed> {};

TEST_P(MalformedServices, AreRefusedWithTheirForm) {
  const std::string services = GetParam().services;
  EXPECT_EQ(errorOf(peripheral +
                    record("peripheralChanged", R"("peripheral":"p","services":)" + services)),
            atLine(3, "\"services\" of bluetooth.peripheralChanged is " + services +
                          R"(; expected a list of {"uuid", "characteristics": a list of {"uuid", )"
                          R"("properties", "value"?}, "error"?})"));
}

INSTANTIATE_TEST_SUITE_P(
    OfAService, MalformedServices,
    testing::Values(
        Malformed{"NoList", R"({})"}, Malformed{"Text", R"("180F")"},
        Malformed{"ListOfTexts", R"(["180F"])"}, Malformed{"Empty", R"([{}])"},
        Malformed{"NoUUID", R"([{"characteristics":[]}])"},
        Malformed{"NoCharacteristics", R"([{"uuid":"180F"}])"},
        Malformed{"ShortUUID", R"([{"characteristics":[],"uuid":"180"}])"},
        Malformed{"UUIDWithAnotherLetter", R"([{"characteristics":[],"uuid":"180G"}])"},
        Malformed{"UUIDAsNumber", R"([{"characteristics":[],"uuid":6159}])"},
        Malformed{"CharacteristicsInNoList", R"([{"characteristics":{},"uuid":"180F"}])"},
        Malformed{"ErrorThatIsNoText", R"([{"characteristics":[],"error":null,"uuid":"180F"}])"},
        Malformed{"UnknownMember", R"([{"characteristics":[],"name":"Battery","uuid":"180F"}])"},
        Malformed{"BehindAGoodOne",
                  R"([{"characteristics":[],"uuid":"180F"},{"characteristics":[],"uuid":""}])"}),
    [](const auto& each) { return each.param.name; });

INSTANTIATE_TEST_SUITE_P(
    OfACharacteristic, MalformedServices,
    testing::Values(
        Malformed{"Text", R"([{"characteristics":["2A19"],"uuid":"180F"}])"},
        Malformed{"NoUUID", R"([{"characteristics":[{"properties":[]}],"uuid":"180F"}])"},
        Malformed{"NoProperties", R"([{"characteristics":[{"uuid":"2A19"}],"uuid":"180F"}])"},
        Malformed{"ShortUUID",
                  R"([{"characteristics":[{"properties":[],"uuid":"2A1"}],"uuid":"180F"}])"},
        Malformed{"UUIDAsNumber",
                  R"([{"characteristics":[{"properties":[],"uuid":42}],"uuid":"180F"}])"},
        Malformed{"PropertiesInNoList",
                  R"([{"characteristics":[{"properties":"read","uuid":"2A19"}],"uuid":"180F"}])"},
        Malformed{"UnknownProperty",
                  R"([{"characteristics":[{"properties":["reed"],"uuid":"2A19"}],"uuid":"180F"}])"},
        Malformed{
            "PropertyAsNumber",
            R"([{"characteristics":[{"properties":["read",2],"uuid":"2A19"}],"uuid":"180F"}])"},
        Malformed{
            "PropertyInCapitals",
            R"([{"characteristics":[{"properties":["read","Notify"],"uuid":"2A19"}],"uuid":"180F"}])"},
        Malformed{
            "UnknownMember",
            R"([{"characteristics":[{"error":"","properties":[],"uuid":"2A19"}],"uuid":"180F"}])"},
        Malformed{
            "HalfAByte",
            R"([{"characteristics":[{"properties":[],"uuid":"2A19","value":"4"}],"uuid":"180F"}])"},
        Malformed{
            "ValueOfNoHex",
            R"([{"characteristics":[{"properties":[],"uuid":"2A19","value":"4G"}],"uuid":"180F"}])"},
        Malformed{
            "ValueAsNumber",
            R"([{"characteristics":[{"properties":[],"uuid":"2A19","value":75}],"uuid":"180F"}])"}),
    [](const auto& each) { return each.param.name; });

TEST(BluetoothRecords, EveryPropertyAndWidthOfServicesIsTaken) {
  const CommandResult result = runCommand(
      {"replay", "-"},
      header +
          record("peripheralAppeared",
                 R"("peripheral":"p","identifier":"5e1b0d6a-3c44-4f0b-9a7d-2e6c8f1a9b30",)"
                 R"("services":[{"uuid":"180f","error":"","characteristics":[{"uuid":"12345678",)"
                 R"("properties":["read","writeWithoutResponse","write","notify","indicate"],)"
                 R"("value":""}]},{"uuid":"8341F2B4-C013-4F04-8197-C4CDB42E26DC",)"
                 R"("characteristics":[]}])"));
  EXPECT_EQ(result.exitCode, 0) << result.errors;
}

}  // namespace
}  // namespace tessline::test
