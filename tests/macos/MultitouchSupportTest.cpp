#include "tessline/platform/macos/MultitouchSupport.h"
#include "tests/macos/MultitouchStandIn.h"

#include <array>
#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <future>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

#include <gtest/gtest.h>
#include <standin/multitouch.h>

namespace tessline::test {
namespace {

namespace multitouch = standin::multitouch;
using platform::ContactFrameCallback;
using platform::MultitouchDevice;
using Calls = std::vector<std::string>;

constexpr std::string_view registerName = "MTRegisterContactFrameCallbackWithRefcon";
constexpr std::string_view unregisterName = "MTUnregisterContactFrameCallback";

// What the adapter asks of the library, and what it shields its callers from.
class MultitouchSupport : public testing::Test {
 protected:
  MultitouchSupport() {
    backend.connectSurface({});
    open();
  }

  void open() {
    library = platform::openMultitouchSupport(multitouch::libraryPath);
    ASSERT_NE(library, nullptr);
  }
  Calls takeCalls() {
    Calls calls = multitouch::calls();
    multitouch::clearCalls();
    return calls;
  }
  template <class Function>
  Function function(std::string_view name) {
    return std::get<Function>(library->symbol(name));
  }
  platform::MultitouchDeviceList list() {
    return function<platform::DeviceListFunction>("MTDeviceCreateList")().value();
  }
  void registerCallback(ContactFrameCallback callback) {
    function<platform::RegisterCallbackFunction>(registerName)(*device, std::move(callback));
  }
  void unregister() { function<platform::UnregisterCallbackFunction>(unregisterName)(*device); }
  std::int32_t start() {
    return function<platform::DeviceStartFunction>("MTDeviceStart")(*device, 0);
  }
  // The one surface, started, with a callback that counts.
  void listen() {
    device = list().front();
    registerCallback([this](auto, auto) { ++frames; });
    ASSERT_EQ(start(), 0);
  }
  void sendFrame(std::int32_t count) { multitouch::sendFrame(0, contactRecords(count), count); }
  void sendLateFrame() { multitouch::sendLateFrame(0, contactRecords(1), 1); }

  MultitouchStandIn backend;
  std::shared_ptr<platform::MultitouchLibrary> library;
  std::shared_ptr<MultitouchDevice> device;
  std::atomic<int> frames = 0;
};

TEST_F(MultitouchSupport, LibraryIsOpenedWithAllThatItNeedsAndClosed) {
  library.reset();
  EXPECT_EQ(takeCalls(),
            (Calls{"dlopen " + std::string(multitouch::libraryPath) + " 2", "dlclose"}));
}

TEST_F(MultitouchSupport, LibraryThatIsNotThereIsNone) {
  EXPECT_EQ(platform::openMultitouchSupport("/nowhere/MultitouchSupport"), nullptr);
  EXPECT_EQ(platform::openMultitouchSupport(""), nullptr);
}

TEST_F(MultitouchSupport, LooksUpEachFunctionWhenItIsAskedFor) {
  takeCalls();
  library->symbol("MTDeviceStart");
  library->symbol(unregisterName);
  library->symbol("MTDeviceReboot");
  EXPECT_EQ(takeCalls(), (Calls{"dlsym MTDeviceStart", "dlsym " + std::string(unregisterName)}));
}

TEST_F(MultitouchSupport, PassesArgumentsOn) {
  device = list().front();
  const auto startIt = function<platform::DeviceStartFunction>("MTDeviceStart");
  const auto stopIt = function<platform::DeviceStopFunction>("MTDeviceStop");
  takeCalls();
  startIt(*device, 3);
  stopIt(*device);
  EXPECT_EQ(takeCalls(), (Calls{"MTDeviceStart 0 3", "MTDeviceStop 0"}));
}

TEST_F(MultitouchSupport, IdentifierIsFilledInFull) {
  device = list().front();
  std::uint64_t identifier = 0;
  EXPECT_EQ(function<platform::DeviceIDFunction>("MTDeviceGetDeviceID")(*device, identifier), 0);
  EXPECT_EQ(identifier, 0x0500'0000'0000'0001U);
}

TEST_F(MultitouchSupport, StatusOfAFailureIsPassedOnAndNothingIsFilled) {
  multitouch::connect({.rows = 5,
                       .columns = 6,
                       .width = 7,
                       .height = 8,
                       .status = -536870208,
                       .startStatus = -536870208});
  device = list().at(1);
  std::uint64_t identifier = 99;
  EXPECT_EQ(function<platform::DeviceIDFunction>("MTDeviceGetDeviceID")(*device, identifier),
            -536870208);
  EXPECT_EQ(identifier, 99U);
  for (const auto* name : {"MTDeviceGetSensorDimensions", "MTDeviceGetSensorSurfaceDimensions"}) {
    std::int32_t first = 98;
    std::int32_t second = 99;
    EXPECT_EQ(function<platform::DeviceDimensionsFunction>(name)(*device, first, second),
              -536870208);
    EXPECT_EQ(std::pair(first, second), std::pair(98, 99)) << name;
  }
}

TEST_F(MultitouchSupport, EachListIsReleasedWithItsLastSurface) {
  multitouch::connect({});
  auto surfaces = list();
  device = surfaces.at(1);
  EXPECT_EQ(multitouch::liveLists(), 1U);
  surfaces.clear();
  EXPECT_EQ(multitouch::liveLists(), 1U);
  device.reset();
  EXPECT_EQ(multitouch::liveLists(), 0U);
}

TEST_F(MultitouchSupport, EmptyListIsReleased) {
  backend.disconnectSurface(0);
  EXPECT_TRUE(list().empty());
  EXPECT_EQ(multitouch::liveLists(), 0U);
}

TEST_F(MultitouchSupport, SurfaceWithACallbackStaysUntilThatGoes) {
  listen();
  device.reset();
  backend.disconnectSurface(0);
  EXPECT_EQ(multitouch::liveSurfaces(), 1U);
  library.reset();
  EXPECT_EQ(multitouch::liveSurfaces(), 0U);
}

TEST_F(MultitouchSupport, CountIsReadInTheBitsThatTheLibraryGives) {
  device = list().front();
  std::vector<std::int64_t> counts;
  registerCallback([&](const std::byte*, std::int64_t count) { counts.push_back(count); });
  start();
  for (const std::int32_t count : {0, 1, 11, -1}) multitouch::sendFrame(0, {}, count);
  EXPECT_EQ(counts, (std::vector<std::int64_t>{0, 1, 11, -1}));
}

TEST_F(MultitouchSupport, RecordsArePassedOnWhereTheyStand) {
  device = list().front();
  std::vector<std::byte> seen;
  bool hadNone = false;
  registerCallback([&](const std::byte* touches, std::int64_t count) {
    if (touches == nullptr) hadNone = true;
    if (touches != nullptr) seen.assign(touches, touches + count * 96);
  });
  start();
  sendFrame(2);
  EXPECT_EQ(seen, contactRecords(2));
  sendFrame(0);
  EXPECT_TRUE(hadNone);
}

TEST_F(MultitouchSupport, SurfaceIsRegisteredOnceAndUnregisteredOnce) {
  device = list().front();
  registerCallback([](auto, auto) {});
  registerCallback([](auto, auto) {});
  EXPECT_EQ(multitouch::registrations(), 1U);
  unregister();
  unregister();
  EXPECT_EQ(multitouch::registrations(), 0U);
  registerCallback([](auto, auto) {});
  EXPECT_EQ(multitouch::registrations(), 1U);
}

TEST_F(MultitouchSupport, SurfaceOfAnotherListIsTheSame) {
  listen();
  device = list().front();
  registerCallback([this](auto, auto) { frames += 10; });
  sendFrame(1);
  EXPECT_EQ(frames, 10);
  device = list().front();
  unregister();
  EXPECT_EQ(multitouch::registrations(), 0U);
}

TEST_F(MultitouchSupport, ClosingUnregistersFirst) {
  listen();
  takeCalls();
  library.reset();
  EXPECT_EQ(takeCalls(), (Calls{"dlsym " + std::string(unregisterName),
                                std::string(unregisterName) + " 0", "dlclose"}));
}

TEST_F(MultitouchSupport, ClosingWithoutTheFunctionThatUnregistersEndsFrames) {
  listen();
  backend.setMissingFunction(std::string(unregisterName));
  library.reset();
  EXPECT_EQ(multitouch::registrations(), 1U);
  sendFrame(1);
  EXPECT_EQ(frames, 0);
}

TEST_F(MultitouchSupport, FrameThatComesTooLateIsDropped) {
  listen();
  unregister();
  sendLateFrame();
  library.reset();
  sendLateFrame();
  EXPECT_EQ(frames, 0);
}

TEST_F(MultitouchSupport, FrameThatComesTooLateDoesNotReachALaterCallback) {
  listen();
  unregister();
  std::thread late([this] { sendLateFrame(); });
  late.join();
  registerCallback([this](auto, auto) { frames += 10; });
  sendFrame(1);
  EXPECT_EQ(frames, 10);
}

TEST_F(MultitouchSupport, CallbackIsLetGoOfWhenItIsReplacedOrEnds) {
  device = list().front();
  auto first = std::make_shared<int>(0);
  auto second = std::make_shared<int>(0);
  const std::array<std::weak_ptr<int>, 2> kept = {first, second};
  registerCallback([held = std::move(first)](auto, auto) {});
  EXPECT_FALSE(kept.at(0).expired());
  registerCallback([held = std::move(second)](auto, auto) {});
  EXPECT_TRUE(kept.at(0).expired());
  EXPECT_FALSE(kept.at(1).expired());
  unregister();
  EXPECT_TRUE(kept.at(1).expired());
}

TEST_F(MultitouchSupport, CallbackMayReplaceItself) {
  device = list().front();
  registerCallback([this](auto, auto) {
    registerCallback([this](auto, auto) { frames += 10; });
    ++frames;
  });
  start();
  sendFrame(1);
  sendFrame(1);
  EXPECT_EQ(frames, 11);
}

TEST_F(MultitouchSupport, CallbackMayCloseTheLibrary) {
  device = list().front();
  auto held = std::make_shared<int>(5);
  registerCallback([this, held = std::move(held)](auto, auto) {
    library.reset();
    frames = *held;
  });
  start();
  sendFrame(1);
  EXPECT_EQ(frames, 5);
}

TEST(MultitouchSupportDeathTest, ExceptionThatLeavesACallbackEndsTheProcess) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  const auto throwInACallback = [] {
    MultitouchStandIn standIn;
    standIn.connectSurface({});
    const auto library = platform::openMultitouchSupport(standIn.pathOfLibrary());
    const auto list = library->symbol("MTDeviceCreateList");
    const auto surface = std::get<platform::DeviceListFunction>(list)().value().front();
    std::get<platform::RegisterCallbackFunction>(library->symbol(registerName))(
        *surface, [](auto, auto) { throw std::runtime_error("left the callback"); });
    std::get<platform::DeviceStartFunction>(library->symbol("MTDeviceStart"))(*surface, 0);
    standIn.sendFrame(0, 1);
  };
  EXPECT_DEATH(throwInACallback(), "left the callback");
}

// A callback that runs on the library's thread until it is let go on.
class RunningCallback : public MultitouchSupport {
 protected:
  RunningCallback() {
    device = list().front();
    registerCallback([this](auto, auto) {
      isRunning.set_value();
      mayGoOn.get_future().wait();
      ++frames;
    });
    start();
    sender = std::thread([this] { sendFrame(1); });
    isRunning.get_future().wait();
  }
  ~RunningCallback() override { sender.join(); }

  // Ends it on a thread of its own, and lets the callback go on while that waits.
  void expectWaits(const std::function<void()>& end) {
    std::promise<void> begun;
    std::atomic<int> framesAtEnd = -1;
    std::thread ending([&] {
      begun.set_value();
      end();
      framesAtEnd = frames.load();
    });
    begun.get_future().wait();
    // Long enough for an end that does not wait to be over.
    const auto patience = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (multitouch::registrations() > 0 && std::chrono::steady_clock::now() < patience) {
      std::this_thread::yield();
    }
    EXPECT_EQ(multitouch::registrations(), 0U);
    for (int turn = 0; turn < 1000; ++turn) std::this_thread::yield();
    EXPECT_EQ(framesAtEnd, -1);
    mayGoOn.set_value();
    ending.join();
    EXPECT_EQ(framesAtEnd, 1);
  }

  std::promise<void> isRunning;
  std::promise<void> mayGoOn;
  std::thread sender;
};

TEST_F(RunningCallback, UnregisteringWaitsForIt) {
  expectWaits([this] { unregister(); });
}

TEST_F(RunningCallback, ClosingWaitsForIt) {
  expectWaits([this] { library.reset(); });
}

TEST_F(MultitouchSupport, FramesMayComeWhileCallbacksComeAndGo) {
  device = list().front();
  start();
  std::atomic<bool> isOver = false;
  std::thread sender([&] {
    while (!isOver) sendFrame(1);
  });
  for (int round = 0; round < 100; ++round) {
    registerCallback([this](auto, auto) { ++frames; });
    if (round % 3 == 0) std::this_thread::yield();
    unregister();
    const int framesByThen = frames;
    std::this_thread::yield();
    EXPECT_EQ(frames, framesByThen);
  }
  isOver = true;
  sender.join();
}

}  // namespace
}  // namespace tessline::test
