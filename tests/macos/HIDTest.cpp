#include "tessline/platform/macos/CFConversion.h"
#include "tests/macos/HIDStandIn.h"

#include <array>
#include <limits>
#include <thread>

#include <IOKit/hid/IOHIDManager.h>

namespace tessline::test {
namespace {

using Calls = std::vector<std::string>;
using platform::HIDProperty;

class IOKitHIDTest : public testing::Test {
 protected:
  void make() {
    manager = standIn.platform()->makeHIDManager();
    const std::array<platform::HIDMatching, 2> lamps = {{{7, 8}, {7, 9}}};
    manager->setDeviceMatchingMultiple(lamps);
    manager->registerDeviceMatchingCallback([this](const FoundHIDDevice& device) {
      found = device;
      ++told;
    });
    manager->registerDeviceRemovalCallback([this](const auto&) { ++told; });
  }
  void start() {
    make();
    manager->scheduleWithRunLoop(*loop);
    EXPECT_EQ(manager->open(), 0);
    standIn.settle();
    standin::takeHIDCalls();
  }
  void connect(standin::HIDProperties properties = {}, standin::HIDProperties ofParents = {}) {
    properties.insert({{"VendorID", std::int64_t{7}}, {"ProductID", std::int64_t{8}}});
    lamp = standin::connectHIDInterface(std::move(properties), std::move(ofParents));
    standIn.settle();
  }
  void disconnect() {
    standin::disconnectHIDInterface(lamp);
    standIn.settle();
  }
  void report(IOReturn result = kIOReturnSuccess) {
    standin::sendHIDReport(lamp, 1, {1, 2}, result);
    standIn.settle();
  }
  void listen() {
    found->registerInputReportCallback(buffer, [this](auto, auto) { ++reports; });
  }

  HIDStandIn standIn;
  std::shared_ptr<platform::MainRunLoop> loop = standIn.platform()->mainRunLoop();
  std::shared_ptr<standin::HIDInterface> lamp;
  int told = 0;
  int reports = 0;
  std::array<std::uint8_t, 16> buffer = {};
  std::shared_ptr<platform::HIDManager> manager;
  FoundHIDDevice found;
};

const std::string unscheduled = "IOHIDManagerUnscheduleFromRunLoop main kCFRunLoopCommonModes";
const Calls released = {"IOHIDManagerRegisterDeviceMatchingCallback",
                        "IOHIDManagerRegisterDeviceRemovalCallback", "IOHIDManagerRelease"};

Calls operator+(Calls calls, const Calls& more) {
  calls.insert(calls.end(), more.begin(), more.end());
  return calls;
}

const std::string bothLamps = "VendorID=7,ProductID=8 VendorID=7,ProductID=9";

TEST_F(IOKitHIDTest, OperationsAreThoseOfTheSystemInTheOrderOfTheCalls) {
  make();
  manager->scheduleWithRunLoop(*loop);
  manager->open();
  manager->copyDevices();
  manager->unscheduleFromRunLoop(*loop);
  manager->close();
  EXPECT_EQ(
      standin::takeHIDCalls(),
      (Calls{"IOHIDManagerCreate 0", "IOHIDManagerSetDeviceMatchingMultiple " + bothLamps,
             "IOHIDManagerRegisterDeviceMatchingCallback callback",
             "IOHIDManagerRegisterDeviceRemovalCallback callback",
             "IOHIDManagerScheduleWithRunLoop main kCFRunLoopCommonModes", "IOHIDManagerOpen 0",
             "IOHIDManagerCopyDevices", unscheduled, "IOHIDManagerClose 0"}));
  manager.reset();
  EXPECT_EQ(standin::takeHIDCalls(), released);
}

TEST_F(IOKitHIDTest, ManagerThatEndsUnschedulesAndClosesFirst) {
  start();
  manager.reset();
  EXPECT_EQ(standin::takeHIDCalls(), (Calls{unscheduled, "IOHIDManagerClose 0"}) + released);
}

TEST_F(IOKitHIDTest, ManagerThatCouldNotBeOpenedIsNotClosed) {
  connect();
  standin::setHIDOpenResult(kIOReturnExclusiveAccess);
  make();
  manager->scheduleWithRunLoop(*loop);
  EXPECT_EQ(manager->open(), kIOReturnExclusiveAccess);
  standin::takeHIDCalls();
  manager->unscheduleFromRunLoop(*loop);
  manager.reset();
  EXPECT_EQ(standin::takeHIDCalls(), Calls{unscheduled} + released);
}

TEST_F(IOKitHIDTest, ClosingWhatIsNotOpenYieldsTheSystemsCode) {
  make();
  EXPECT_EQ(manager->close(), kIOReturnNotOpen);
}

TEST_F(IOKitHIDTest, DeviceThatCannotBeOpenedIsToldAllTheSame) {
  start();
  standin::setHIDOpenResult(kIOReturnNotPermitted);
  connect();
  EXPECT_EQ(told, 1);
}

TEST_F(IOKitHIDTest, CallsComeInAllCommonModesAndNoOther) {
  start();
  lamp =
      standin::connectHIDInterface({{"VendorID", std::int64_t{7}}, {"ProductID", std::int64_t{8}}});
  standin::runLoopUntilIdle(standin::uncommonMode());
  EXPECT_EQ(told, 0);
  standin::runLoopUntilIdle(standin::eventTrackingMode());
  EXPECT_EQ(told, 1);
}

TEST_F(IOKitHIDTest, ReportsComeToTheRegistrationAndEndWithIt) {
  start();
  connect();
  standin::takeHIDCalls();
  listen();
  EXPECT_EQ(standin::takeHIDCalls(), Calls{"IOHIDDeviceRegisterInputReportCallback 1 16"});
  report();
  EXPECT_EQ(reports, 1);
  found->unregisterInputReportCallback();
  // The first takes the buffer away, the second the callback.
  EXPECT_EQ(standin::takeHIDCalls(), (Calls{"IOHIDDeviceRegisterInputReportCallback 1 1",
                                            "IOHIDDeviceRegisterInputReportCallback 1"}));
  buffer = {};
  report();
  EXPECT_EQ(reports, 1);
  EXPECT_EQ(buffer, (std::array<std::uint8_t, 16>{}));
}

TEST_F(IOKitHIDTest, DeviceThatEndsLeavesTheSystemNoBuffer) {
  start();
  connect();
  standin::takeHIDCalls();
  listen();
  found.reset();
  manager.reset();
  EXPECT_EQ(
      standin::takeHIDCalls(),
      (Calls{"IOHIDDeviceRegisterInputReportCallback 1 16", unscheduled, "IOHIDManagerClose 0",
             released[0], released[1], "IOHIDDeviceRegisterInputReportCallback 1 1",
             "IOHIDDeviceRegisterInputReportCallback 1", released[2]}));
}

TEST_F(IOKitHIDTest, ReportIsPassedOnWhateverItsResult) {
  start();
  connect();
  listen();
  report(kIOReturnAborted);
  EXPECT_EQ(reports, 1);
}

TEST_F(IOKitHIDTest, DeviceThatIsNotHeldGoesWithItsRemoval) {
  start();
  connect();
  const std::weak_ptr weak = found;
  found.reset();
  EXPECT_FALSE(weak.expired());
  disconnect();
  EXPECT_EQ(told, 2);
  EXPECT_TRUE(weak.expired());
}

TEST_F(IOKitHIDTest, PropertiesOfParentsAreFound) {
  start();
  connect({{"Product", "own"}}, {{"Product", "parent's"}, {"Transport", "USB"}});
  EXPECT_EQ(found->property("Product"), HIDProperty("own"));
  EXPECT_EQ(found->property("Transport"), HIDProperty("USB"));
}

TEST_F(IOKitHIDTest, NumberWithoutASignIsGivenByItsBits) {
  start();
  connect({{"most", std::numeric_limits<std::uint64_t>::max()},
           {"high", std::uint64_t{1} << 63},
           {"small", std::uint64_t{5}}});
  EXPECT_EQ(found->property("most"), HIDProperty(std::int64_t{-1}));
  EXPECT_EQ(found->property("high"), HIDProperty(std::numeric_limits<std::int64_t>::min()));
  EXPECT_EQ(found->property("small"), HIDProperty(std::int64_t{5}));
}

TEST_F(IOKitHIDTest, TextIsGivenWhole) {
  start();
  connect({{"nul", std::u16string(u"a\0b", 3)},
           {"broken", std::u16string(u"a\xD83D"
                                     u"b\xDC00",
                                     4)},
           {"pair", std::u16string(u"\xD83C\xDFAE")}});
  EXPECT_EQ(found->property("nul"), HIDProperty(std::string("a\0b", 3)));
  EXPECT_EQ(found->property("broken"), HIDProperty("a\uFFFDb\uFFFD"));
  EXPECT_EQ(found->property("pair"), HIDProperty("\U0001F3AE"));
}

TEST(CFConversion, TextThatIsNoUTF8IsNone) {
  for (const auto* text : {"\xff", "a\xc3", "\xed\xa0\x80", "\xc0\x80"}) {
    EXPECT_FALSE(platform::makeCFString(text)) << text;
  }
  EXPECT_EQ(platform::textOf(platform::makeCFString("\u00e9").get()), "\u00e9");
}

TEST(CFReference, CopiesAndMovesKeepOneReferenceEach) {
  const long before = standin::liveCFObjects();
  {
    auto first = platform::makeCFNumber(5);
    const auto copy = first;
    const auto moved = std::move(first);
    first = copy;
    first = platform::makeCFNumber(6);
    EXPECT_EQ(standin::liveCFObjects(), before + 2);
    EXPECT_EQ(std::get<std::int64_t>(platform::numberOf(moved.get())), 5);
  }
  EXPECT_EQ(standin::liveCFObjects(), before);
}

// The stand-in itself, as far as nothing else shows that it is strict.

TEST(StandInDeathTest, MisuseEndsTheProgram) {
  EXPECT_DEATH(CFRelease(nullptr), "was given NULL");
  EXPECT_DEATH(
      {
        const CFTypeRef number = standin::makeCFObject(std::int64_t{1});
        CFRelease(number);
        CFRelease(number);
      },
      "an object that is gone");
  EXPECT_DEATH(CFStringGetLength(static_cast<CFStringRef>(standin::makeCFObject(true))),
               "another type");
  EXPECT_DEATH(
      {
        const IOHIDManagerRef manager = IOHIDManagerCreate(kCFAllocatorDefault, 0);
        IOHIDManagerScheduleWithRunLoop(manager, CFRunLoopGetMain(), kCFRunLoopCommonModes);
        CFRelease(manager);
      },
      "still scheduled");
  EXPECT_DEATH(
      {
        const IOHIDManagerRef manager = IOHIDManagerCreate(kCFAllocatorDefault, 0);
        standin::connectHIDInterface({});
        IOHIDManagerSetDeviceMatchingMultiple(manager, nullptr);
        const CFSetRef devices = IOHIDManagerCopyDevices(manager);
        const void* device = nullptr;
        CFSetGetValues(devices, &device);
        CFRelease(devices);
        CFRelease(device);
        CFRelease(manager);
      },
      "an object that is gone");
  EXPECT_DEATH(while (true) CFRunLoopRunInMode(standin::uncommonMode(), 0, true),
               "over and over without a source");
  EXPECT_DEATH(std::thread([] { IOHIDManagerCreate(kCFAllocatorDefault, 0); }).join(),
               "off the main thread");
}

}  // namespace
}  // namespace tessline::test
