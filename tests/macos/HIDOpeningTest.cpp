#include "tessline/hid/ConnectedRemoteHIDService.h"
#include "tests/macos/HIDStandIn.h"

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <IOKit/hid/IOHIDManager.h>
#include <IOKit/hidsystem/IOHIDLib.h>
#include <standin/permissions.h>

namespace tessline::test {
namespace {

using Hardware = std::shared_ptr<standin::HIDInterface>;
using standin::permissions::setListenAccess;

// A usage page and a usage.
using Kind = std::pair<std::int64_t, std::int64_t>;
constexpr Kind keyboard = {0x01, 0x06};
constexpr Kind mouse = {0x01, 0x02};
constexpr Kind touchPad = {0x0D, 0x05};
constexpr Kind consumerControl = {0x0C, 0x01};

// What becomes of interfaces that cannot all be opened. Each is one of a remote's.
class HIDOpeningTest : public testing::Test {
 protected:
  Hardware connect(Kind kind = consumerControl) {
    Hardware made = standin::connectHIDInterface({{"VendorID", std::int64_t{76}},
                                                  {"ProductID", std::int64_t{789}},
                                                  {"Product", "Siri Remote"},
                                                  {"PrimaryUsagePage", kind.first},
                                                  {"PrimaryUsage", kind.second}});
    standIn.settle();
    return made;
  }
  // It is refused as another program has seized it.
  Hardware connectRefused(Kind kind = mouse) {
    Hardware made = connect(kind);
    standin::setHIDOpenResult(made, kIOReturnExclusiveAccess);
    return made;
  }
  void report(const Hardware& hardware) {
    standin::sendHIDReport(hardware, 1, {1, 2});
    standIn.settle();
  }

  // A manager that is scheduled.
  void make() {
    manager = standIn.platform()->makeHIDManager();
    const std::array<platform::HIDMatching, 1> remotes = {{{76, 789}}};
    manager->setDeviceMatchingMultiple(remotes);
    manager->registerDeviceMatchingCallback([this](const FoundHIDDevice& device) {
      listen(*device);
      ++told;
    });
    manager->scheduleWithRunLoop(*loop);
    standIn.settle();
  }
  void listen(platform::HIDDevice& device) {
    device.registerInputReportCallback(buffer, [this](auto, auto) { ++reports; });
  }
  // What opening yields where there is one interface of that kind.
  platform::HIDResult resultOfOpening(Kind kind) {
    const Hardware made = connect(kind);
    make();
    const platform::HIDResult result = manager->open();
    manager.reset();
    standin::disconnectHIDInterface(made);
    return result;
  }

  void makeService() {
    service = ConnectedRemoteHIDService::create(std::nullopt, standIn.platform());
    service->onSnapshotChanged = [this](const auto& snapshot) { status = snapshot.status; };
    service->onRawPayload = [this](const auto&) { ++reports; };
  }

  HIDStandIn standIn;
  std::shared_ptr<platform::MainRunLoop> loop = standIn.platform()->mainRunLoop();
  std::array<std::uint8_t, 16> buffer = {};
  int told = 0;
  int reports = 0;
  std::string status;
  std::shared_ptr<platform::HIDManager> manager;
  std::shared_ptr<ConnectedRemoteHIDService> service;
};

// One that refuses.

TEST_F(HIDOpeningTest, OneThatRefusesIsTheResultForAll) {
  connect();
  connectRefused();
  connect();
  make();
  EXPECT_EQ(manager->open(), kIOReturnExclusiveAccess);
}

TEST_F(HIDOpeningTest, ReportsOfThoseThatDidOpenEndWithTheSchedule) {
  const Hardware refused = connectRefused();
  const Hardware open = connect();
  make();
  manager->open();
  report(refused);
  EXPECT_EQ(reports, 0);
  // The system does not take back what it has opened.
  report(open);
  EXPECT_EQ(reports, 1);
  manager->unscheduleFromRunLoop(*loop);
  report(open);
  manager.reset();
  report(open);
  EXPECT_EQ(reports, 1);
}

TEST_F(HIDOpeningTest, ManagerThatEndsAfterARefusalLetsNothingThrough) {
  const Hardware open = connect();
  connectRefused();
  make();
  manager->open();
  manager.reset();
  report(open);
  EXPECT_EQ(reports, 0);
}

TEST_F(HIDOpeningTest, ServiceThatCouldNotStartLetsNoReportThrough) {
  const Hardware open = connect();
  const Hardware refused = connectRefused();
  makeService();
  service->startListening();
  report(open);
  report(refused);
  EXPECT_EQ(status, "Could not open HID manager: 0xE00002C5");
  EXPECT_EQ(reports, 0);

  standin::setHIDOpenResult(refused, kIOReturnSuccess);
  service->startListening();
  report(open);
  EXPECT_EQ(reports, 1);
}

// The permission to listen.

TEST_F(HIDOpeningTest, WhatPeopleTypeAndPointWithNeedsThePermission) {
  for (const Kind& kind : {keyboard, mouse, touchPad}) {
    for (const std::uint32_t access : {kIOHIDAccessTypeDenied, kIOHIDAccessTypeUnknown}) {
      setListenAccess(access);
      EXPECT_EQ(resultOfOpening(kind), kIOReturnNotPermitted) << kind.first << " " << kind.second;
    }
    setListenAccess(kIOHIDAccessTypeGranted);
    EXPECT_EQ(resultOfOpening(kind), kIOReturnSuccess) << kind.first << " " << kind.second;
  }
}

TEST_F(HIDOpeningTest, OthersNeedNone) {
  constexpr Kind gamePad = {0x01, 0x05};
  constexpr Kind pen = {0x0D, 0x02};
  constexpr Kind vendorsOwn = {0xFF00, 0x06};
  setListenAccess(kIOHIDAccessTypeDenied);
  for (const Kind& kind : {consumerControl, gamePad, pen, vendorsOwn}) {
    EXPECT_EQ(resultOfOpening(kind), kIOReturnSuccess) << kind.first << " " << kind.second;
  }
}

TEST_F(HIDOpeningTest, WithoutInterfacesNothingNeedsIt) {
  setListenAccess(kIOHIDAccessTypeDenied);
  make();
  EXPECT_EQ(manager->open(), kIOReturnSuccess);
}

TEST_F(HIDOpeningTest, LaterOneWithoutItIsToldAndSendsNoReports) {
  setListenAccess(kIOHIDAccessTypeUnknown);
  make();
  manager->open();
  const Hardware silent = connect(keyboard);
  EXPECT_EQ(told, 1);
  report(silent);
  EXPECT_EQ(reports, 0);
  report(connect(consumerControl));
  EXPECT_EQ(told, 2);
  EXPECT_EQ(reports, 1);
}

TEST_F(HIDOpeningTest, ServiceWithoutItNamesTheCode) {
  connect(consumerControl);
  connect(touchPad);
  setListenAccess(kIOHIDAccessTypeDenied);
  makeService();
  service->startListening();
  EXPECT_EQ(status, "Could not open HID manager: 0xE00002E2");
}

TEST_F(HIDOpeningTest, ServiceThatListensShowsALaterOneThatItCannotHear) {
  setListenAccess(kIOHIDAccessTypeDenied);
  makeService();
  service->startListening();
  EXPECT_EQ(status, "Listening for connected Siri Remote HID devices");
  report(connect(keyboard));
  EXPECT_EQ(status, "Connected HID interface: Siri Remote");
  EXPECT_EQ(reports, 0);
}

// The stand-in itself: the adapter, which looks at no result, shows nothing of it.

TEST_F(HIDOpeningTest, ResultOfALaterOneIsThatOfItsOpening) {
  std::vector<IOReturn> results;
  const IOHIDManagerRef raw = IOHIDManagerCreate(kCFAllocatorDefault, kIOHIDOptionsTypeNone);
  IOHIDManagerSetDeviceMatchingMultiple(raw, nullptr);
  IOHIDManagerRegisterDeviceMatchingCallback(
      raw,
      [](void* context, IOReturn result, void*, IOHIDDeviceRef) {
        static_cast<std::vector<IOReturn>*>(context)->push_back(result);
      },
      &results);
  IOHIDManagerScheduleWithRunLoop(raw, CFRunLoopGetMain(), kCFRunLoopCommonModes);
  IOHIDManagerOpen(raw, kIOHIDOptionsTypeNone);
  setListenAccess(kIOHIDAccessTypeDenied);
  connect(keyboard);
  connect(consumerControl);
  EXPECT_EQ(results, (std::vector<IOReturn>{kIOReturnNotPermitted, kIOReturnSuccess}));
  IOHIDManagerClose(raw, kIOHIDOptionsTypeNone);
  CFRelease(raw);
}

}  // namespace
}  // namespace tessline::test
