#include "tests/platform/HIDContract.h"

#include <array>
#include <limits>

namespace tessline::test {
namespace {

using platform::HIDProperty;

class HIDDeviceContract : public HIDContract {};

// Properties.

TEST_P(HIDDeviceContract, PropertiesAreGivenByTheirTypes) {
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

TEST_P(HIDDeviceContract, PropertyThatIsMissingIsNothing) {
  const auto device = startWithLamp();
  for (const auto* key : {"Transport", "", "product", "Product ", "\xff"}) {
    EXPECT_EQ(device->property(key), HIDProperty()) << key;
  }
}

TEST_P(HIDDeviceContract, PropertyMayBeAskedForByPartOfAText) {
  const auto device = startWithLamp();
  EXPECT_EQ(device->property(std::string_view("Products").substr(0, 7)), HIDProperty("lamp"));
}

TEST_P(HIDDeviceContract, PropertiesThatWereReadStayReadableDuringTheRemoval) {
  start();
  const auto device = connect(lamp("a", {{"Location", number(3)}}));
  EXPECT_EQ(last->property("Location"), number(3));
  duringCall = [this] { EXPECT_EQ(last->property("Location"), number(3)); };
  disconnect(device);
  EXPECT_EQ(take().back(), "removed a");
}

// Reports.

TEST_P(HIDDeviceContract, ReportsComeThroughTheBuffer) {
  listen(startWithLamp());
  report(0, 0, {1, 2, 3});
  report(0, 2, {2, 9});
  EXPECT_EQ(take(), (HIDNotes{"report 0: 01 02 03", "report 2: 02 09"}));
}

TEST_P(HIDDeviceContract, ReportIDMayHaveAny32Bits) {
  listen(startWithLamp());
  report(0, 0xFFFFFFFE, {1});
  EXPECT_EQ(take(), HIDNotes{"report 4294967294: 01"});
}

TEST_P(HIDDeviceContract, ReportMayBeEmpty) {
  listen(startWithLamp());
  report(0, 1, {});
  EXPECT_EQ(take(), HIDNotes{"report 1:"});
}

TEST_P(HIDDeviceContract, ReportThatIsTooLongIsCut) {
  listen(startWithLamp());
  report(0, 0, {1, 2, 3, 4, 5, 6, 7, 8, 9});
  EXPECT_EQ(take(), HIDNotes{"report 0: 01 02 03 04 05 06 07 08"});
}

TEST_P(HIDDeviceContract, BufferMayBeEmpty) {
  // One that has no address either.
  buffer = std::vector<std::uint8_t>();
  listen(startWithLamp());
  report(0, 5, {1});
  EXPECT_EQ(take(), HIDNotes{"report 5:"});
}

TEST_P(HIDDeviceContract, ReportsGoToTheCallbackOfTheirDevice) {
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

TEST_P(HIDDeviceContract, ReportsComeWhileTheManagerIsOpenAndScheduled) {
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

TEST_P(HIDDeviceContract, DeviceThatCameWhileUnscheduledSendsReports) {
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

TEST_P(HIDDeviceContract, OpeningMayComeBeforeTheSchedule) {
  connect(lamp("a"));
  make();
  EXPECT_EQ(manager->open(), 0);
  schedule();
  backend->settle();
  listen(std::exchange(last, nullptr));
  report(0, 0, {1});
  EXPECT_EQ(take(), (HIDNotes{"matched a", "report 0: 01"}));
}

TEST_P(HIDDeviceContract, NoReportComesInsideACall) {
  listen(startWithLamp());
  backend->sendReport(0, 0, {1});
  EXPECT_EQ(take(), HIDNotes());
  backend->settle();
  EXPECT_EQ(take(), HIDNotes{"report 0: 01"});
}

TEST_P(HIDDeviceContract, RegisteringAgainReplacesBufferAndCallback) {
  const auto device = startWithLamp();
  auto old = std::make_unique<std::array<std::uint8_t, 4>>();
  device->registerInputReportCallback(*old, [this](auto, auto) { note("old"); });
  listen(device);
  old.reset();
  report(0, 0, {1, 2, 3, 4, 5});
  EXPECT_EQ(take(), HIDNotes{"report 0: 01 02 03 04 05"});
}

TEST_P(HIDDeviceContract, NothingTouchesTheBufferOnceUnregistered) {
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

TEST_P(HIDDeviceContract, ReportsComeAgainOnceRegisteredAgain) {
  const auto device = startWithLamp();
  listen(device);
  device->unregisterInputReportCallback();
  listen(device);
  report(0, 0, {1});
  EXPECT_EQ(take(), HIDNotes{"report 0: 01"});
}

TEST_P(HIDDeviceContract, ReportsComeWhetherSomebodyHoldsTheDeviceOrNot) {
  auto device = startWithLamp();
  listen(device);
  device.reset();
  report(0, 0, {1});
  EXPECT_EQ(take(), HIDNotes{"report 0: 01"});
}

TEST_P(HIDDeviceContract, ReportCallbackMayUnregisterItself) {
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

TEST_P(HIDDeviceContract, ReportCallbackMayEndTheManager) {
  listen(startWithLamp());
  duringCall = [this] { manager.reset(); };
  report(0, 0, {1});
  report(0, 0, {2});
  EXPECT_EQ(take(), HIDNotes{"report 0: 01"});
}

TEST_P(HIDDeviceContract, DeviceMayOutliveItsManager) {
  const auto device = startWithLamp();
  listen(device);
  manager.reset();
  EXPECT_EQ(nameOf(*device), "lamp");
  report(0, 0, {1});
  EXPECT_EQ(take(), HIDNotes());
  device->unregisterInputReportCallback();
}

TEST_P(HIDDeviceContract, DeviceThatWentSendsNothingMore) {
  const auto device = startWithLamp();
  listen(device);
  disconnect(0);
  take();
  report(0, 0, {1});
  EXPECT_EQ(take(), HIDNotes());
  device->unregisterInputReportCallback();
}

INSTANTIATE_TEST_SUITE_P(On, HIDDeviceContract, testing::ValuesIn(hidBackends()), backendName);

}  // namespace
}  // namespace tessline::test
