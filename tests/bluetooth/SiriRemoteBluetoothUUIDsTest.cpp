#include "tessline/bluetooth/SiriRemoteBluetoothUUIDs.h"

#include <gtest/gtest.h>

namespace tessline::test {
namespace {

using UUIDs = SiriRemoteBluetoothUUIDs;

TEST(SiriRemoteBluetoothUUIDs, AreWhatARemoteOffers) {
  EXPECT_EQ(UUIDs::batteryService.text(), "180F");
  EXPECT_EQ(UUIDs::batteryLevel.text(), "2A19");
  EXPECT_EQ(UUIDs::powerState.text(), "2A1A");
  EXPECT_EQ(UUIDs::hidService.text(), "1812");
  EXPECT_EQ(UUIDs::hidReport.text(), "2A4D");
  EXPECT_EQ(UUIDs::customVoiceService.text(), "8341F2B4-C013-4F04-8197-C4CDB42E26DC");
  EXPECT_EQ(UUIDs::customVoiceNotify.text(), "30E69638-3752-4FEB-A3AA-3226BCD05ACE");
}

}  // namespace
}  // namespace tessline::test
