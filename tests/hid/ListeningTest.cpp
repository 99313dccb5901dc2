#include "tests/hid/HIDFixture.h"

#include <algorithm>

namespace tessline::test {
namespace {

using Names = std::vector<std::string>;

TEST_F(HIDServiceTest, CreationTouchesNothingAndPublishesNothing) {
  EXPECT_EQ(operations(), Names());
  EXPECT_TRUE(snapshots.empty());
}

TEST_F(HIDServiceTest, StartPerformsTheOperationsInOrder) {
  service->startListening();
  EXPECT_EQ(operations(),
            (Names{"IOHIDManagerCreate", "IOHIDManagerSetDeviceMatchingMultiple",
                   "IOHIDManagerRegisterDeviceMatchingCallback",
                   "IOHIDManagerRegisterDeviceRemovalCallback", "IOHIDManagerScheduleWithRunLoop",
                   "IOHIDManagerOpen", "IOHIDManagerCopyDevices"}));
}

TEST_F(HIDServiceTest, StartMatchesAppleAndTheTenProducts) {
  service->startListening();
  const auto& call = host->calls().calls().at(1);
  ASSERT_EQ(call.arguments.size(), 2U);
  EXPECT_EQ(call.arguments[0].first, "VendorID");
  EXPECT_EQ(std::get<std::vector<std::int64_t>>(call.arguments[0].second),
            std::vector<std::int64_t>(10, 76));
  auto products = std::get<std::vector<std::int64_t>>(call.arguments[1].second);
  std::ranges::sort(products);
  EXPECT_EQ(products,
            (std::vector<std::int64_t>{545, 597, 614, 615, 617, 781, 782, 789, 3150, 3151}));
}

TEST_F(HIDServiceTest, StartWithoutARemotePublishesThatItListensForOne) {
  service->startListening();
  ASSERT_EQ(snapshots.size(), 1U);
  EXPECT_EQ(snapshots[0], (ConnectedRemoteHIDSnapshot{
                              "Listening for connected Siri Remote HID devices", true, {}}));
}

TEST_F(HIDServiceTest, StartWithOneInterfaceCountsItInTheSingular) {
  connect();
  service->startListening();
  EXPECT_EQ(status(), "Listening to 1 connected Siri Remote HID interface");
  EXPECT_EQ(publishedIDs(), Names{"Siri Remote-7-12-1"});
}

TEST_F(HIDServiceTest, StartWithThreeInterfacesCountsThemInThePlural) {
  for (std::int64_t usage = 1; usage <= 3; ++usage) connect({{"PrimaryUsage", usage}});
  service->startListening();
  EXPECT_EQ(status(), "Listening to 3 connected Siri Remote HID interfaces");
}

TEST_F(HIDServiceTest, PrefixNamesTheRemoteInTheStatus) {
  makeService("Acme");
  service->startListening();
  EXPECT_EQ(status(), "Listening for connected Acme HID devices");
  EXPECT_EQ(service->productNamePrefix, "Acme");
  service->stopListening();
  connect();
  service->startListening();
  EXPECT_EQ(status(), "Listening to 1 connected Acme HID interface");
}

TEST_F(HIDServiceTest, EmptyPrefixIsStillALabel) {
  makeService("");
  service->startListening();
  EXPECT_EQ(status(), "Listening for connected  HID devices");
}

TEST_F(HIDServiceTest, SecondStartPublishesNothing) {
  service->startListening();
  const std::size_t calls = operations().size();
  service->startListening();
  EXPECT_EQ(snapshots.size(), 1U);
  EXPECT_EQ(operations().size(), calls);
}

TEST_F(HIDServiceTest, StartDuringAStartStopsTheFirst) {
  bool isFirst = true;
  host->calls().onCall = [&](const platform::simulated::PlatformCall& call) {
    if (call.operation == "IOHIDManagerOpen" && std::exchange(isFirst, false)) {
      service->startListening();
    }
  };
  service->startListening();
  ASSERT_EQ(snapshots.size(), 2U);
  EXPECT_EQ(snapshots[0].status, "Stopped");
  EXPECT_EQ(snapshots[1].status, "Listening for connected Siri Remote HID devices");
  EXPECT_TRUE(snapshots[1].isListening);
  host->calls().onCall = nullptr;
}

TEST_F(HIDServiceTest, ManagerThatCannotBeCreatedIsTheStatus) {
  host->hid().setManagersCanBeCreated(false);
  service->startListening();
  ASSERT_EQ(snapshots.size(), 1U);
  EXPECT_EQ(snapshots[0], (ConnectedRemoteHIDSnapshot{"Could not create HID manager", false, {}}));
  EXPECT_EQ(operations(), Names{"IOHIDManagerCreate"});
}

TEST_F(HIDServiceTest, ManagerThatCannotBeOpenedIsReleasedWithoutBeingClosed) {
  host->hid().setOpenResult(static_cast<std::int32_t>(0xE00002E2));
  connect();
  service->startListening();
  ASSERT_EQ(snapshots.size(), 1U);
  EXPECT_EQ(snapshots[0],
            (ConnectedRemoteHIDSnapshot{"Could not open HID manager: 0xE00002E2", false, {}}));
  const Names made = operations();
  EXPECT_EQ(
      Names(made.end() - 3, made.end()),
      (Names{"IOHIDManagerOpen", "IOHIDManagerUnscheduleFromRunLoop", "IOHIDManagerRelease"}));
  host->runReady();
  EXPECT_EQ(snapshots.size(), 1U);
}

TEST_F(HIDServiceTest, ResultCodeHasEightDigits) {
  host->hid().setOpenResult(0x2a);
  service->startListening();
  EXPECT_EQ(status(), "Could not open HID manager: 0x0000002A");
}

TEST_F(HIDServiceTest, FailedStartCanBeRepeated) {
  host->hid().setOpenResult(1);
  service->startListening();
  service->stopListening();
  EXPECT_EQ(snapshots.size(), 1U);
  host->hid().setOpenResult(0);
  service->startListening();
  EXPECT_EQ(status(), "Listening for connected Siri Remote HID devices");
}

TEST_F(HIDServiceTest, StopWithoutStartPublishesNothing) {
  service->stopListening();
  EXPECT_TRUE(snapshots.empty());
  EXPECT_EQ(operations(), Names());
}

TEST_F(HIDServiceTest, StopUnschedulesClosesAndForgets) {
  connect();
  service->startListening();
  host->calls().clear();
  service->stopListening();
  EXPECT_EQ(snapshots.back(), (ConnectedRemoteHIDSnapshot{"Stopped", false, {}}));
  EXPECT_EQ(operations(), (Names{"IOHIDManagerUnscheduleFromRunLoop", "IOHIDManagerClose",
                                 "IOHIDManagerRelease", "IOHIDDeviceRegisterInputReportCallback"}));
  const std::size_t published = snapshots.size();
  service->stopListening();
  EXPECT_EQ(snapshots.size(), published);
}

TEST_F(HIDServiceTest, StoppedServiceCanStartAgain) {
  service->startListening();
  service->stopListening();
  connect();
  service->startListening();
  EXPECT_EQ(status(), "Listening to 1 connected Siri Remote HID interface");
  EXPECT_TRUE(snapshots.back().isListening);
}

TEST_F(HIDServiceTest, PresentInterfacesAreReportedAgainByTheRunLoop) {
  const Device device = connect();
  service->startListening();
  host->runReady();
  ASSERT_EQ(snapshots.size(), 2U);
  EXPECT_EQ(status(), "Connected HID interface: Siri Remote");
  EXPECT_EQ(snapshots[1].devices, snapshots[0].devices);
  report(device, 0, {0x08, 0x00});
  EXPECT_EQ(payloads.size(), 1U);
}

TEST_F(HIDServiceTest, AppearingInterfaceIsPublished) {
  service->startListening();
  connect({{"Product", "Living Room"}});
  host->runReady();
  EXPECT_EQ(status(), "Connected HID interface: Living Room");
  EXPECT_EQ(publishedIDs(), Names{"Living Room-7-12-1"});
}

TEST_F(HIDServiceTest, InterfaceWithoutANameIsIgnored) {
  service->startListening();
  connect({{"Product", std::monostate()}});
  connect({{"Product", std::string()}});
  connect({{"Product", std::int64_t{5}}});
  host->runReady();
  EXPECT_EQ(snapshots.size(), 1U);
}

TEST_F(HIDServiceTest, OneOfTwoInterfacesGoing) {
  const Device first = connect();
  connect({{"PrimaryUsage", std::int64_t{2}}});
  service->startListening();
  host->runReady();
  host->hid().disconnect(first);
  host->runReady();
  EXPECT_EQ(status(), "HID interface removed: Siri Remote");
  EXPECT_EQ(publishedIDs(), Names{"Siri Remote-7-12-2"});
}

TEST_F(HIDServiceTest, LastInterfaceGoing) {
  const Device device = connect();
  service->startListening();
  host->runReady();
  host->hid().disconnect(device);
  host->runReady();
  EXPECT_EQ(status(), "No matching connected HID interfaces");
  EXPECT_TRUE(snapshots.back().devices.empty());
  EXPECT_TRUE(snapshots.back().isListening);
}

TEST_F(HIDServiceTest, InterfaceThatIsIgnoredIsIgnoredWhenItGoes) {
  service->startListening();
  const Device nameless = connect({{"Product", std::monostate()}});
  host->runReady();
  host->hid().disconnect(nameless);
  host->runReady();
  EXPECT_EQ(snapshots.size(), 1U);
}

TEST_F(HIDServiceTest, DevicesThatCannotBeCopiedAreNone) {
  connect();
  host->hid().setDevicesCanBeCopied(false);
  service->startListening();
  EXPECT_EQ(status(), "Listening for connected Siri Remote HID devices");
}

TEST_F(HIDServiceTest, DestructionStopsAndPublishesThat) {
  connect();
  service->startListening();
  service.reset();
  EXPECT_EQ(status(), "Stopped");
  EXPECT_FALSE(snapshots.back().isListening);
  EXPECT_EQ(operations().back(), "IOHIDDeviceRegisterInputReportCallback");
}

TEST_F(HIDServiceTest, DestructionOfAServiceThatDoesNotListenPublishesNothing) {
  service.reset();
  EXPECT_TRUE(snapshots.empty());
}

TEST_F(HIDServiceTest, NothingIsCalledAfterTheServiceIsGone) {
  const Device device = connect();
  service->startListening();
  host->hid().sendReport(device, 0, {0x08, 0x00});
  service.reset();
  const std::size_t published = snapshots.size();
  host->runReady();
  EXPECT_EQ(snapshots.size(), published);
  EXPECT_TRUE(payloads.empty());
}

TEST_F(HIDServiceTest, WorksWithoutCallbacks) {
  service->onSnapshotChanged = nullptr;
  service->onRawPayload = nullptr;
  service->onTransportEvents = nullptr;
  const Device device = connect();
  service->startListening();
  report(device, 0, {0x08, 0x00});
  service->stopListening();
  EXPECT_TRUE(snapshots.empty());
}

TEST_F(HIDServiceTest, InterfacesAreSortedByNameThenID) {
  connect({{"Product", "fa"}, {"RegistryID", std::int64_t{1}}});
  connect({{"Product", "e\u0301a"}, {"RegistryID", std::int64_t{2}}});
  connect({{"Product", "\u00E9a"}, {"RegistryID", std::int64_t{10}}});
  connect({{"Product", "Z"}, {"RegistryID", std::int64_t{3}}});
  connect({{"Product", "fa"}, {"RegistryID", std::int64_t{-1}}});
  service->startListening();
  EXPECT_EQ(publishedIDs(), (Names{"3", "-1", "1", "10", "2"}));
}

TEST_F(HIDServiceTest, InterfaceWithTheSameKeyReplacesTheEarlierOne) {
  service->startListening();
  const Device first = connect();
  const Device second = connect({{"Transport", "USB"}});
  host->runReady();
  ASSERT_EQ(snapshots.back().devices.size(), 1U);
  EXPECT_EQ(snapshots.back().devices[0].transport, "USB");
  EXPECT_EQ(first->bufferSize(), 0U);
  EXPECT_EQ(second->bufferSize(), 100U);
}

}  // namespace
}  // namespace tessline::test
