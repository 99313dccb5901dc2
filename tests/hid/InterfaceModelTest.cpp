#include "tests/hid/HIDFixture.h"

#include <cmath>
#include <limits>

namespace tessline::test {
namespace {

class HIDInterfaceTest : public HIDServiceTest {
 protected:
  // How an interface is listed, if it is.
  std::optional<ConnectedRemoteHIDDevice> listed(const Properties& changes) {
    const Device device = connect(changes);
    service->startListening();
    const auto devices = snapshots.back().devices;
    service->stopListening();
    host->hid().disconnect(device);
    if (devices.empty()) return std::nullopt;
    return devices.front();
  }
  // Whether an interface is listed whatever the manager was asked to match.
  bool isAccepted(std::int64_t vendor, std::int64_t product, const std::string& name) {
    const Device device = connect();
    service->startListening();
    device->setProperties({{"Product", name}, {"VendorID", vendor}, {"ProductID", product}});
    const std::size_t published = snapshots.size();
    host->runReady();
    const bool accepted = snapshots.size() > published;
    service->stopListening();
    host->hid().disconnect(device);
    return accepted;
  }
};

TEST_F(HIDInterfaceTest, DescribesItselfByItsProperties) {
  EXPECT_EQ(listed({{"RegistryID", std::int64_t{4294970000}}}),
            (ConnectedRemoteHIDDevice{"4294970000", "Siri Remote", "BluetoothLowEnergy", 76, 789,
                                      12, 1}));
}

TEST_F(HIDInterfaceTest, WithoutARegistryIDIsKeyedByNameLocationAndUsage) {
  const Properties bare = {{"LocationID", std::monostate()},
                           {"PrimaryUsagePage", std::int64_t{1}},
                           {"PrimaryUsage", std::int64_t{6}}};
  EXPECT_EQ(listed(bare)->id, "Siri Remote-0-1-6");
  Properties zero = bare;
  zero.emplace("RegistryID", std::int64_t{0});
  EXPECT_EQ(listed(zero)->id, "Siri Remote-0-1-6");
}

TEST_F(HIDInterfaceTest, NegativeNumbersKeepTheirSignInTheKey) {
  EXPECT_EQ(listed({{"LocationID", std::int64_t{-5}}})->id, "Siri Remote--5-12-1");
  EXPECT_EQ(listed({{"RegistryID", std::int64_t{-9}}})->id, "-9");
}

TEST_F(HIDInterfaceTest, WithoutANameNothingElseIsRead) {
  service->startListening();
  connect({{"Product", std::string()}});
  host->calls().clear();
  host->runReady();
  ASSERT_EQ(host->calls().calls().size(), 1U);
  EXPECT_EQ(host->calls().calls()[0],
            (platform::simulated::PlatformCall{
                {},
                "IOHIDDeviceGetProperty",
                {{"device", std::int64_t{1}}, {"key", std::string("Product")}}}));
}

TEST_F(HIDInterfaceTest, TransportThatIsNoTextIsUnknown) {
  EXPECT_EQ(listed({{"Transport", std::monostate()}})->transport, "Unknown");
  EXPECT_EQ(listed({{"Transport", std::int64_t{3}}})->transport, "Unknown");
  EXPECT_EQ(listed({{"Transport", std::string()}})->transport, "");
}

TEST_F(HIDInterfaceTest, NumbersOfOddTypesFollowTheIntegerRules) {
  const auto usage = [this](HIDProperty value) { return listed({{"PrimaryUsage", value}})->usage; };
  EXPECT_EQ(usage(2.9), 2);
  EXPECT_EQ(usage(-2.9), -2);
  EXPECT_EQ(usage(true), 1);
  EXPECT_EQ(usage(false), 0);
  EXPECT_EQ(usage(std::string("6")), 0);
  EXPECT_EQ(usage(platform::OtherHIDProperty()), 0);
  EXPECT_EQ(usage(std::monostate()), 0);
  EXPECT_EQ(usage(std::nan("")), 0);
  EXPECT_EQ(usage(1e300), std::numeric_limits<std::int64_t>::max());
  EXPECT_EQ(usage(-1e300), std::numeric_limits<std::int64_t>::min());
  EXPECT_EQ(usage(std::numeric_limits<std::int64_t>::min()),
            std::numeric_limits<std::int64_t>::min());
}

TEST_F(HIDInterfaceTest, IsAcceptedByVendorAndProduct) {
  for (const std::int64_t product : {545, 597, 614, 615, 617, 3150, 3151, 781, 782, 789}) {
    EXPECT_TRUE(isAccepted(76, product, "Keyboard")) << product;
  }
  EXPECT_FALSE(isAccepted(76, 1, "Magic Keyboard"));
}

TEST_F(HIDInterfaceTest, IsNeverAcceptedFromAnotherVendor) {
  EXPECT_FALSE(isAccepted(77, 789, "Siri Remote"));
  makeService("Siri");
  EXPECT_FALSE(isAccepted(77, 789, "Siri Remote"));
}

TEST_F(HIDInterfaceTest, IsAcceptedByAWordInItsName) {
  EXPECT_TRUE(isAccepted(76, 1, "My Apple TV thing"));
  EXPECT_TRUE(isAccepted(76, 1, "SIRI"));
  EXPECT_TRUE(isAccepted(76, 1, "couchREMOTEcontrol"));
  EXPECT_TRUE(isAccepted(76, 1, "APPLE TV"));
  EXPECT_FALSE(isAccepted(76, 1, "AppleTV"));
}

TEST_F(HIDInterfaceTest, NamesAreLowerCasedAsUnicodeSays) {
  // The capital I with a dot becomes two scalars, so the word is not in it.
  EXPECT_FALSE(isAccepted(76, 1, "S\u0130RI"));
}

TEST_F(HIDInterfaceTest, IsAcceptedByThePrefixOfItsName) {
  makeService("Acme");
  EXPECT_TRUE(isAccepted(76, 1, "acme pointer"));
  EXPECT_FALSE(isAccepted(76, 1, "My acme"));
  EXPECT_FALSE(isAccepted(76, 1, "Acm"));
  makeService("siri");
  EXPECT_TRUE(isAccepted(76, 1, "SIRI Remote"));
}

TEST_F(HIDInterfaceTest, EmptyPrefixAcceptsEveryAppleInterface) {
  makeService("");
  EXPECT_TRUE(isAccepted(76, 1, "Keyboard"));
  EXPECT_FALSE(isAccepted(77, 1, "Keyboard"));
}

TEST_F(HIDInterfaceTest, ManagementInterfaceIsToldByAllFourNumbers) {
  const auto isManagement = [](std::int64_t vendor, std::int64_t product, std::int64_t page,
                               std::int64_t usage) {
    return ConnectedRemoteHIDDevice{"1", "x", "y", vendor, product, page, usage}
        .isDeviceManagementInterface();
  };
  EXPECT_TRUE(isManagement(76, 789, 0xFF00, 0x0B));
  EXPECT_FALSE(isManagement(77, 789, 0xFF00, 0x0B));
  EXPECT_FALSE(isManagement(76, 790, 0xFF00, 0x0B));
  EXPECT_FALSE(isManagement(76, 789, 0xFF01, 0x0B));
  EXPECT_FALSE(isManagement(76, 789, 0xFF00, 0x0C));
  EXPECT_EQ(ConnectedRemoteHIDDevice::appleVendorID, 76);
  EXPECT_EQ(ConnectedRemoteHIDDevice::deviceManagementUsagePage, 0xFF00);
  EXPECT_EQ(ConnectedRemoteHIDDevice::deviceManagementUsage, 11);
}

TEST(ConnectedRemoteHIDDevice, EqualityCoversAllSevenFields) {
  const ConnectedRemoteHIDDevice device{"1", "name", "USB", 1, 2, 3, 4};
  EXPECT_EQ(device, (ConnectedRemoteHIDDevice{"1", "name", "USB", 1, 2, 3, 4}));
  for (const ConnectedRemoteHIDDevice& other :
       {ConnectedRemoteHIDDevice{"2", "name", "USB", 1, 2, 3, 4},
        {"1", "nam", "USB", 1, 2, 3, 4},
        {"1", "name", "BT", 1, 2, 3, 4},
        {"1", "name", "USB", 0, 2, 3, 4},
        {"1", "name", "USB", 1, 0, 3, 4},
        {"1", "name", "USB", 1, 2, 0, 4},
        {"1", "name", "USB", 1, 2, 3, 0}}) {
    EXPECT_NE(device, other);
  }
}

}  // namespace
}  // namespace tessline::test
