#include "tessline/model/BluetoothUUID.h"

#include <optional>
#include <set>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

namespace tessline::test {
namespace {

BluetoothUUID read(std::string_view text) {
  return BluetoothUUID::parse(text).value();
}

static_assert(BluetoothUUID::parse("180F").has_value(), "must be of use in constants");

TEST(BluetoothUUID, ShortOnesStandAtTheFrontOfTheBase) {
  EXPECT_EQ(read("180F").value().text(), "0000180F-0000-1000-8000-00805F9B34FB");
  EXPECT_EQ(read("FFFF").value().text(), "0000FFFF-0000-1000-8000-00805F9B34FB");
  EXPECT_EQ(read("12345678").value().text(), "12345678-0000-1000-8000-00805F9B34FB");
  EXPECT_EQ(read("8341F2B4-C013-4F04-8197-C4CDB42E26DC").value().text(),
            "8341F2B4-C013-4F04-8197-C4CDB42E26DC");
}

TEST(BluetoothUUID, IsWrittenAsWideAsItWasMade) {
  for (const char* text :
       {"180F", "0000", "FFFF", "0000180F", "00000000", "12345678",
        "0000180F-0000-1000-8000-00805F9B34FB", "8341F2B4-C013-4F04-8197-C4CDB42E26DC"}) {
    EXPECT_EQ(read(text).text(), text);
  }
}

TEST(BluetoothUUID, IsReadInEitherCaseAndWrittenInUpperCase) {
  EXPECT_EQ(read("2a4d").text(), "2A4D");
  EXPECT_EQ(read("abcdef01").text(), "ABCDEF01");
  EXPECT_EQ(read("30e69638-3752-4feb-a3aa-3226bcd05ace").text(),
            "30E69638-3752-4FEB-A3AA-3226BCD05ACE");
}

TEST(BluetoothUUID, IsEqualInEveryWidth) {
  const std::string_view whole = "0000180F-0000-1000-8000-00805F9B34FB";
  EXPECT_EQ(read("180F"), read("0000180F"));
  EXPECT_EQ(read("180F"), read(whole));
  EXPECT_EQ(read("0000180F"), read(whole));
  EXPECT_TRUE((read("180F") <=> read(whole)) == 0);
  EXPECT_NE(read("180F"), read("1812"));
  EXPECT_NE(read("180F"), read("0001180F"));
  EXPECT_NE(read("180F"), read("0000180F-0000-1000-8000-00805F9B34FC"));
}

TEST(BluetoothUUID, IsOrderedByItsBitsWhateverItsWidth) {
  const std::set<BluetoothUUID> sorted = {
      read("2A4D"), read("8341F2B4-C013-4F04-8197-C4CDB42E26DC"), read("00001812"), read("180F"),
      read("00000000-0000-0000-0000-000000000000")};
  std::string order;
  for (const BluetoothUUID& each : sorted) order += each.text().substr(0, 8) + " ";
  EXPECT_EQ(order, "00000000 180F 00001812 2A4D 8341F2B4 ");
}

TEST(BluetoothUUID, NoOtherTextIsRead) {
  for (const char* text :
       {"", "1", "180", "180F0", "180F00", "180F000", "180F00000", "180G", "G80F", " 80F", "0x18",
        "-80F", "180F-000", "1234567g", "8341F2B4-C013-4F04-8197-C4CDB42E26D",
        "8341F2B4-C013-4F04-8197-C4CDB42E26DCC", "8341F2B4C0134F048197C4CDB42E26DC0000"}) {
    EXPECT_EQ(BluetoothUUID::parse(text), std::nullopt) << text;
  }
}

}  // namespace
}  // namespace tessline::test
