#include "tests/platform/HIDContract.h"

#include <algorithm>
#include <array>

namespace tessline::test {
namespace {

using Names = std::vector<std::string>;

class HIDManagerContract : public HIDContract {};

TEST_P(HIDManagerContract, ManagerThatCannotBeCreatedIsNull) {
  backend->setManagersCanBeCreated(false);
  EXPECT_EQ(backend->platform()->makeHIDManager(), nullptr);
  backend->setManagersCanBeCreated(true);
  EXPECT_NE(backend->platform()->makeHIDManager(), nullptr);
}

// What matches.

TEST_P(HIDManagerContract, DeviceMatchesByBothNumbers) {
  start();
  connect({{"VendorID", number(7)}, {"ProductID", number(8)}, {"Product", "both"}});
  connect({{"VendorID", number(7)}, {"ProductID", number(9)}, {"Product", "vendor"}});
  connect({{"VendorID", number(6)}, {"ProductID", number(8)}, {"Product", "product"}});
  connect({{"VendorID", number(7)}, {"Product", "no product"}});
  connect({{"VendorID", "7"}, {"ProductID", number(8)}, {"Product", "text"}});
  EXPECT_EQ(take(), HIDNotes{"matched both"});
  EXPECT_EQ(copiedNames(), Names{"both"});
}

TEST_P(HIDManagerContract, DeviceMatchesAnyOfTheList) {
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

TEST_P(HIDManagerContract, EmptyListMatchesNothing) {
  make();
  manager->setDeviceMatchingMultiple({});
  connect(lamp("lamp"));
  schedule();
  backend->settle();
  EXPECT_EQ(take(), HIDNotes());
}

// What is called back.

TEST_P(HIDManagerContract, PresentDevicesAreToldAfterTheSchedule) {
  connect(lamp("lamp"));
  make();
  backend->settle();
  EXPECT_EQ(take(), HIDNotes());
  schedule();
  EXPECT_EQ(take(), HIDNotes());
  backend->settle();
  EXPECT_EQ(take(), HIDNotes{"matched lamp"});
}

TEST_P(HIDManagerContract, EachPresentDeviceIsToldOnce) {
  connect(lamp("a"));
  connect(lamp("b"));
  start();
  auto told = take();
  std::ranges::sort(told);
  EXPECT_EQ(told, (HIDNotes{"matched a", "matched b"}));
}

TEST_P(HIDManagerContract, DevicesAreToldAsTheyComeAndGo) {
  start();
  const auto first = connect(lamp("a"));
  connect(lamp("b"));
  disconnect(first);
  EXPECT_EQ(take(), (HIDNotes{"matched a", "matched b", "removed a"}));
}

TEST_P(HIDManagerContract, DeviceThatReturnsIsToldAgain) {
  start();
  disconnect(connect(lamp("a")));
  connect(lamp("a"));
  EXPECT_EQ(take(), (HIDNotes{"matched a", "removed a", "matched a"}));
}

TEST_P(HIDManagerContract, DevicesAreToldWithoutOpening) {
  make();
  schedule();
  disconnect(connect(lamp("a")));
  EXPECT_EQ(take(), (HIDNotes{"matched a", "removed a"}));
}

TEST_P(HIDManagerContract, NothingIsToldInsideAnOperation) {
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

TEST_P(HIDManagerContract, LaterCallbackReplacesTheEarlier) {
  start();
  manager->registerDeviceMatchingCallback([this](const auto&) { note("new matched"); });
  manager->registerDeviceRemovalCallback([this](const auto&) { note("new removed"); });
  disconnect(connect(lamp("a")));
  EXPECT_EQ(take(), (HIDNotes{"new matched", "new removed"}));
}

TEST_P(HIDManagerContract, CallbackMayReplaceItself) {
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

TEST_P(HIDManagerContract, NothingIsToldOnceUnscheduled) {
  start();
  const auto device = connect(lamp("a"));
  take();
  backend->connect(lamp("b"));
  backend->disconnect(device);
  unschedule();
  backend->settle();
  EXPECT_EQ(take(), HIDNotes());
}

TEST_P(HIDManagerContract, NoFurtherDeviceIsToldOnceACallUnscheduled) {
  connect(lamp("a"));
  connect(lamp("b"));
  make();
  schedule();
  duringCall = [this] { unschedule(); };
  backend->settle();
  EXPECT_EQ(take().size(), 1U);
}

TEST_P(HIDManagerContract, ScheduleMayBeRenewed) {
  start();
  unschedule();
  schedule();
  connect(lamp("a"));
  EXPECT_EQ(take(), HIDNotes{"matched a"});
}

// Opening and closing.

TEST_P(HIDManagerContract, OpeningYieldsTheHostsCode) {
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

TEST_P(HIDManagerContract, ClosingWhatIsOpenSucceeds) {
  start();
  unschedule();
  EXPECT_EQ(manager->close(), 0);
}

TEST_P(HIDManagerContract, ManagerMayEndInAnyState) {
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

TEST_P(HIDManagerContract, ManagerMayEndWithinItsOwnCall) {
  connect(lamp("a"));
  connect(lamp("b"));
  make();
  schedule();
  EXPECT_EQ(manager->open(), 0);
  duringCall = [this] { manager.reset(); };
  backend->settle();
  EXPECT_EQ(take().size(), 1U);
}

TEST_P(HIDManagerContract, ManagerMayEndWhileItTellsOfARemoval) {
  start();
  const auto device = connect(lamp("a"));
  take();
  duringCall = [this] { manager.reset(); };
  disconnect(device);
  EXPECT_EQ(take(), HIDNotes{"removed a"});
}

TEST_P(HIDManagerContract, TwoManagersAreTold) {
  start();
  const auto first = std::move(manager);
  start();
  connect(lamp("a"));
  EXPECT_EQ(take(), (HIDNotes{"matched a", "matched a"}));
}

// The devices of now.

TEST_P(HIDManagerContract, CopiedDevicesAreThoseThatMatch) {
  connect(lamp("a"));
  connect({{"VendorID", number(7)}, {"ProductID", number(9)}, {"Product", "other"}});
  make();
  EXPECT_EQ(copiedNames(), Names{"a"});
  start();
  connect(lamp("b"));
  EXPECT_EQ(copiedNames(), (Names{"a", "b"}));
}

TEST_P(HIDManagerContract, ThereIsNothingToCopyUntilADeviceHasMatched) {
  start();
  EXPECT_EQ(copiedNames(), std::nullopt);
  disconnect(connect(lamp("a")));
  EXPECT_EQ(copiedNames(), Names());
}

TEST_P(HIDManagerContract, DevicesThatCannotBeCopiedAreNone) {
  connect(lamp("a"));
  make();
  backend->setDevicesCanBeCopied(false);
  EXPECT_EQ(copiedNames(), std::nullopt);
  backend->setDevicesCanBeCopied(true);
  EXPECT_EQ(copiedNames(), Names{"a"});
}

TEST_P(HIDManagerContract, InterfaceIsAlwaysTheSameObject) {
  start();
  const auto device = connect(lamp("a"));
  const auto matched = last;
  EXPECT_EQ(manager->copyDevices().value().at(0), matched);
  disconnect(device);
  EXPECT_EQ(last, matched);
  connect(lamp("a"));
  EXPECT_NE(last, matched);
}

INSTANTIATE_TEST_SUITE_P(On, HIDManagerContract, testing::ValuesIn(hidBackends()), backendName);

}  // namespace
}  // namespace tessline::test
