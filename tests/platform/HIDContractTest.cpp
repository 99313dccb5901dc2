#include "tests/platform/HIDContract.h"

#include <algorithm>
#include <array>
#include <limits>

namespace tessline::test {
namespace {

using Names = std::vector<std::string>;
using platform::HIDProperty;

TEST_P(HIDContract, ManagerThatCannotBeCreatedIsNull) {
  backend->setManagersCanBeCreated(false);
  EXPECT_EQ(backend->platform()->makeHIDManager(), nullptr);
  backend->setManagersCanBeCreated(true);
  EXPECT_NE(backend->platform()->makeHIDManager(), nullptr);
}

// What matches.

TEST_P(HIDContract, DeviceMatchesByBothNumbers) {
  start();
  connect({{"VendorID", number(7)}, {"ProductID", number(8)}, {"Product", "both"}});
  connect({{"VendorID", number(7)}, {"ProductID", number(9)}, {"Product", "vendor"}});
  connect({{"VendorID", number(6)}, {"ProductID", number(8)}, {"Product", "product"}});
  connect({{"VendorID", number(7)}, {"Product", "no product"}});
  connect({{"VendorID", "7"}, {"ProductID", number(8)}, {"Product", "text"}});
  EXPECT_EQ(take(), HIDNotes{"matched both"});
  EXPECT_EQ(copiedNames(), Names{"both"});
}

TEST_P(HIDContract, DeviceMatchesAnyOfTheList) {
  make();
  const std::array<platform::HIDMatching, 3> many = {{{7, 8}, {7, 1234567890123}, {5, 6}}};
  manager->setDeviceMatchingMultiple(many);
  schedule();
  backend->connect({{"VendorID", number(5)}, {"ProductID", number(6)}, {"Product", "third"}});
  backend->connect(
      {{"VendorID", number(7)}, {"ProductID", number(1234567890123)}, {"Product", "second"}});
  backend->connect({{"VendorID", number(5)}, {"ProductID", number(8)}, {"Product", "crossed"}});
  connect(lamp("first"));
  EXPECT_EQ(take(), (HIDNotes{"matched third", "matched second", "matched first"}));
}

TEST_P(HIDContract, EmptyListMatchesNothing) {
  make();
  manager->setDeviceMatchingMultiple({});
  connect(lamp("lamp"));
  schedule();
  backend->settle();
  EXPECT_EQ(take(), HIDNotes());
}

// What is called back.

TEST_P(HIDContract, PresentDevicesAreToldAfterTheSchedule) {
  connect(lamp("lamp"));
  make();
  backend->settle();
  EXPECT_EQ(take(), HIDNotes());
  schedule();
  EXPECT_EQ(take(), HIDNotes());
  backend->settle();
  EXPECT_EQ(take(), HIDNotes{"matched lamp"});
}

TEST_P(HIDContract, EachPresentDeviceIsToldOnce) {
  connect(lamp("a"));
  connect(lamp("b"));
  start();
  auto told = take();
  std::ranges::sort(told);
  EXPECT_EQ(told, (HIDNotes{"matched a", "matched b"}));
}

TEST_P(HIDContract, DevicesAreToldAsTheyComeAndGo) {
  start();
  const auto first = connect(lamp("a"));
  connect(lamp("b"));
  disconnect(first);
  EXPECT_EQ(take(), (HIDNotes{"matched a", "matched b", "removed a"}));
}

TEST_P(HIDContract, DeviceThatReturnsIsToldAgain) {
  start();
  disconnect(connect(lamp("a")));
  connect(lamp("a"));
  EXPECT_EQ(take(), (HIDNotes{"matched a", "removed a", "matched a"}));
}

TEST_P(HIDContract, DevicesAreToldWithoutOpening) {
  make();
  schedule();
  disconnect(connect(lamp("a")));
  EXPECT_EQ(take(), (HIDNotes{"matched a", "removed a"}));
}

TEST_P(HIDContract, NothingIsToldInsideAnOperation) {
  start();
  const auto device = backend->connect(lamp("a"));
  EXPECT_EQ(take(), HIDNotes());
  backend->settle();
  EXPECT_EQ(take(), HIDNotes{"matched a"});
  backend->disconnect(device);
  EXPECT_EQ(take(), HIDNotes());
  backend->settle();
  EXPECT_EQ(take(), HIDNotes{"removed a"});
}

TEST_P(HIDContract, LaterCallbackReplacesTheEarlier) {
  start();
  manager->registerDeviceMatchingCallback([this](const auto&) { note("new matched"); });
  manager->registerDeviceRemovalCallback([this](const auto&) { note("new removed"); });
  disconnect(connect(lamp("a")));
  EXPECT_EQ(take(), (HIDNotes{"new matched", "new removed"}));
}

TEST_P(HIDContract, CallbackMayReplaceItself) {
  start();
  auto held = std::make_shared<int>(0);
  const std::weak_ptr weak = held;
  manager->registerDeviceMatchingCallback([this, weak, held = std::move(held)](const auto&) {
    manager->registerDeviceMatchingCallback(nullptr);
    note(weak.expired() ? "lost" : "held");
  });
  connect(lamp("a"));
  connect(lamp("b"));
  EXPECT_EQ(take(), HIDNotes{"held"});
  EXPECT_TRUE(weak.expired());
}

TEST_P(HIDContract, NothingIsToldOnceUnscheduled) {
  start();
  const auto device = connect(lamp("a"));
  take();
  backend->connect(lamp("b"));
  backend->disconnect(device);
  unschedule();
  backend->settle();
  EXPECT_EQ(take(), HIDNotes());
}

TEST_P(HIDContract, NoFurtherDeviceIsToldOnceACallUnscheduled) {
  connect(lamp("a"));
  connect(lamp("b"));
  make();
  schedule();
  duringCall = [this] { unschedule(); };
  backend->settle();
  EXPECT_EQ(take().size(), 1U);
}

TEST_P(HIDContract, ScheduleMayBeRenewed) {
  start();
  unschedule();
  schedule();
  connect(lamp("a"));
  EXPECT_EQ(take(), HIDNotes{"matched a"});
}

// Opening and closing.

TEST_P(HIDContract, OpeningYieldsTheHostsCode) {
  constexpr auto notPermitted = static_cast<platform::HIDResult>(0xE00002E2);
  backend->setOpenResult(notPermitted);
  connect(lamp("a"));
  make();
  schedule();
  EXPECT_EQ(manager->open(), notPermitted);
  unschedule();
  manager.reset();
  backend->settle();
  EXPECT_EQ(take(), HIDNotes());
}

TEST_P(HIDContract, ClosingWhatIsOpenSucceeds) {
  start();
  unschedule();
  EXPECT_EQ(manager->close(), 0);
}

TEST_P(HIDContract, ManagerMayEndInAnyState) {
  connect(lamp("a"));
  for (const bool isScheduled : {false, true}) {
    for (const bool isOpen : {false, true}) {
      make();
      if (isScheduled) schedule();
      if (isOpen) {
        EXPECT_EQ(manager->open(), 0);
      }
      manager.reset();
      backend->settle();
      EXPECT_EQ(take(), HIDNotes()) << isScheduled << isOpen;
    }
  }
}

TEST_P(HIDContract, ManagerMayEndWithinItsOwnCall) {
  connect(lamp("a"));
  connect(lamp("b"));
  make();
  schedule();
  EXPECT_EQ(manager->open(), 0);
  duringCall = [this] { manager.reset(); };
  backend->settle();
  EXPECT_EQ(take().size(), 1U);
}

TEST_P(HIDContract, ManagerMayEndWhileItTellsOfARemoval) {
  start();
  const auto device = connect(lamp("a"));
  take();
  duringCall = [this] { manager.reset(); };
  disconnect(device);
  EXPECT_EQ(take(), HIDNotes{"removed a"});
}

TEST_P(HIDContract, TwoManagersAreTold) {
  start();
  const auto first = std::move(manager);
  start();
  connect(lamp("a"));
  EXPECT_EQ(take(), (HIDNotes{"matched a", "matched a"}));
}

// The devices of now.

TEST_P(HIDContract, CopiedDevicesAreThoseThatMatch) {
  connect(lamp("a"));
  connect({{"VendorID", number(7)}, {"ProductID", number(9)}, {"Product", "other"}});
  make();
  EXPECT_EQ(copiedNames(), Names{"a"});
  start();
  connect(lamp("b"));
  EXPECT_EQ(copiedNames(), (Names{"a", "b"}));
}

TEST_P(HIDContract, ThereIsNothingToCopyUntilADeviceHasMatched) {
  start();
  EXPECT_EQ(copiedNames(), std::nullopt);
  disconnect(connect(lamp("a")));
  EXPECT_EQ(copiedNames(), Names());
}

TEST_P(HIDContract, DevicesThatCannotBeCopiedAreNone) {
  connect(lamp("a"));
  make();
  backend->setDevicesCanBeCopied(false);
  EXPECT_EQ(copiedNames(), std::nullopt);
  backend->setDevicesCanBeCopied(true);
  EXPECT_EQ(copiedNames(), Names{"a"});
}

TEST_P(HIDContract, InterfaceIsAlwaysTheSameObject) {
  start();
  const auto device = connect(lamp("a"));
  const auto matched = last;
  EXPECT_EQ(manager->copyDevices().value().at(0), matched);
  disconnect(device);
  EXPECT_EQ(last, matched);
  connect(lamp("a"));
  EXPECT_NE(last, matched);
}

// Properties.

TEST_P(HIDContract, PropertiesAreGivenByTheirTypes) {
  constexpr std::int64_t least = std::numeric_limits<std::int64_t>::min();
  const HIDProperties given = {
      {"text", "Living Room \u00e9\U0001F3AE"},
      {"empty", ""},
      {"number", number(4294968001)},
      {"negative", number(-1)},
      {"least", number(least)},
      {"real", 6.9},
      {"true", true},
      {"false", false},
      {"data", platform::OtherHIDProperty()},
  };
  const auto device = startWithLamp(given);
  for (const auto& [key, value] : given) EXPECT_EQ(device->property(key), value) << key;
}

TEST_P(HIDContract, PropertyThatIsMissingIsNothing) {
  const auto device = startWithLamp();
  for (const auto* key : {"Transport", "", "product", "Product ", "\xff"}) {
    EXPECT_EQ(device->property(key), HIDProperty()) << key;
  }
}

TEST_P(HIDContract, PropertyMayBeAskedForByPartOfAText) {
  const auto device = startWithLamp();
  EXPECT_EQ(device->property(std::string_view("Products").substr(0, 7)), HIDProperty("lamp"));
}

TEST_P(HIDContract, PropertiesThatWereReadStayReadableDuringTheRemoval) {
  start();
  const auto device = connect(lamp("a", {{"Location", number(3)}}));
  EXPECT_EQ(last->property("Location"), number(3));
  duringCall = [this] { EXPECT_EQ(last->property("Location"), number(3)); };
  disconnect(device);
  EXPECT_EQ(take().back(), "removed a");
}

// Reports.

TEST_P(HIDContract, ReportsComeThroughTheBuffer) {
  listen(startWithLamp());
  report(0, 0, {1, 2, 3});
  report(0, 2, {2, 9});
  EXPECT_EQ(take(), (HIDNotes{"report 0: 01 02 03", "report 2: 02 09"}));
}

TEST_P(HIDContract, ReportIDMayHaveAny32Bits) {
  listen(startWithLamp());
  report(0, 0xFFFFFFFE, {1});
  EXPECT_EQ(take(), HIDNotes{"report 4294967294: 01"});
}

TEST_P(HIDContract, ReportMayBeEmpty) {
  listen(startWithLamp());
  report(0, 1, {});
  EXPECT_EQ(take(), HIDNotes{"report 1:"});
}

TEST_P(HIDContract, ReportThatIsTooLongIsCut) {
  listen(startWithLamp());
  report(0, 0, {1, 2, 3, 4, 5, 6, 7, 8, 9});
  EXPECT_EQ(take(), HIDNotes{"report 0: 01 02 03 04 05 06 07 08"});
}

TEST_P(HIDContract, BufferMayBeEmpty) {
  buffer.clear();
  listen(startWithLamp());
  report(0, 5, {1});
  EXPECT_EQ(take(), HIDNotes{"report 5:"});
}

TEST_P(HIDContract, ReportsGoToTheCallbackOfTheirDevice) {
  start();
  connect(lamp("a"));
  const auto first = last;
  connect(lamp("b"));
  const auto second = last;
  take();
  std::vector<std::uint8_t> other(4);
  listen(first);
  second->registerInputReportCallback(other, [this](auto, auto) { note("of b"); });
  report(1, 0, {1});
  report(0, 0, {2});
  EXPECT_EQ(take(), (HIDNotes{"of b", "report 0: 02"}));
  second->unregisterInputReportCallback();
}

TEST_P(HIDContract, ReportsComeWhileTheManagerIsOpenAndScheduled) {
  make();
  schedule();
  connect(lamp("a"));
  listen(last);
  take();
  report(0, 0, {1});
  EXPECT_EQ(take(), HIDNotes());
  EXPECT_EQ(manager->open(), 0);
  report(0, 0, {2});
  EXPECT_EQ(take(), HIDNotes{"report 0: 02"});
  unschedule();
  report(0, 0, {3});
  EXPECT_EQ(manager->close(), 0);
  report(0, 0, {4});
  EXPECT_EQ(take(), HIDNotes());
}

TEST_P(HIDContract, DeviceThatCameWhileUnscheduledSendsReports) {
  start();
  unschedule();
  connect(lamp("a"));
  EXPECT_EQ(take(), HIDNotes());
  schedule();
  backend->settle();
  listen(std::exchange(last, nullptr));
  report(0, 0, {1});
  EXPECT_EQ(take(), (HIDNotes{"matched a", "report 0: 01"}));
}

TEST_P(HIDContract, OpeningMayComeBeforeTheSchedule) {
  connect(lamp("a"));
  make();
  EXPECT_EQ(manager->open(), 0);
  schedule();
  backend->settle();
  listen(std::exchange(last, nullptr));
  report(0, 0, {1});
  EXPECT_EQ(take(), (HIDNotes{"matched a", "report 0: 01"}));
}

TEST_P(HIDContract, NoReportComesInsideACall) {
  listen(startWithLamp());
  backend->sendReport(0, 0, {1});
  EXPECT_EQ(take(), HIDNotes());
  backend->settle();
  EXPECT_EQ(take(), HIDNotes{"report 0: 01"});
}

TEST_P(HIDContract, RegisteringAgainReplacesBufferAndCallback) {
  const auto device = startWithLamp();
  auto old = std::make_unique<std::array<std::uint8_t, 4>>();
  device->registerInputReportCallback(*old, [this](auto, auto) { note("old"); });
  listen(device);
  old.reset();
  report(0, 0, {1, 2, 3, 4, 5});
  EXPECT_EQ(take(), HIDNotes{"report 0: 01 02 03 04 05"});
}

TEST_P(HIDContract, NothingTouchesTheBufferOnceUnregistered) {
  const auto device = startWithLamp();
  listen(device);
  backend->sendReport(0, 0, {1});
  device->unregisterInputReportCallback();
  device->unregisterInputReportCallback();
  report(0, 0, {2});
  EXPECT_EQ(take(), HIDNotes());
  EXPECT_EQ(buffer, std::vector<std::uint8_t>(8));
  buffer = {};
  report(0, 0, {3});
  EXPECT_EQ(take(), HIDNotes());
}

TEST_P(HIDContract, ReportsComeAgainOnceRegisteredAgain) {
  const auto device = startWithLamp();
  listen(device);
  device->unregisterInputReportCallback();
  listen(device);
  report(0, 0, {1});
  EXPECT_EQ(take(), HIDNotes{"report 0: 01"});
}

TEST_P(HIDContract, ReportsComeWhetherSomebodyHoldsTheDeviceOrNot) {
  auto device = startWithLamp();
  listen(device);
  device.reset();
  report(0, 0, {1});
  EXPECT_EQ(take(), HIDNotes{"report 0: 01"});
}

TEST_P(HIDContract, ReportCallbackMayUnregisterItself) {
  const auto device = startWithLamp();
  auto held = std::make_shared<int>(0);
  const std::weak_ptr weak = held;
  device->registerInputReportCallback(buffer,
                                      [this, device, &weak, held = std::move(held)](auto, auto) {
                                        // On the stack, as the function may be gone behind the next
                                        // call.
                                        const auto* const watched = &weak;
                                        auto* const self = this;
                                        device->unregisterInputReportCallback();
                                        self->note(watched->expired() ? "lost" : "held");
                                      });
  report(0, 0, {1});
  report(0, 0, {2});
  EXPECT_EQ(take(), HIDNotes{"held"});
  EXPECT_TRUE(weak.expired());
}

TEST_P(HIDContract, ReportCallbackMayEndTheManager) {
  listen(startWithLamp());
  duringCall = [this] { manager.reset(); };
  report(0, 0, {1});
  report(0, 0, {2});
  EXPECT_EQ(take(), HIDNotes{"report 0: 01"});
}

TEST_P(HIDContract, DeviceMayOutliveItsManager) {
  const auto device = startWithLamp();
  listen(device);
  manager.reset();
  EXPECT_EQ(nameOf(*device), "lamp");
  report(0, 0, {1});
  EXPECT_EQ(take(), HIDNotes());
  device->unregisterInputReportCallback();
}

TEST_P(HIDContract, DeviceThatWentSendsNothingMore) {
  const auto device = startWithLamp();
  listen(device);
  disconnect(0);
  take();
  report(0, 0, {1});
  EXPECT_EQ(take(), HIDNotes());
  device->unregisterInputReportCallback();
}

INSTANTIATE_TEST_SUITE_P(On, HIDContract, testing::ValuesIn(hidBackends()),
                         [](const auto& each) { return each.param.name; });

}  // namespace
}  // namespace tessline::test
