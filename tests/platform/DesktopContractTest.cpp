#include "tessline/platform/simulated/SimulatedHost.h"
#include "tessline/touch/ContactRecord.h"
#include "tests/platform/DesktopContract.h"
#include "tests/support/GeometryPrinting.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include <gtest/gtest.h>

namespace tessline::test {
namespace {

using platform::AccessibilityValue;
using platform::MouseEventType;
using platform::MultitouchDevice;
using platform::MultitouchFunction;
using platform::ScreenFrames;
using platform::simulated::SimulatedHost;

class SimulatedBackend : public ScriptedBackend {
 public:
  std::shared_ptr<platform::Platform> platform() override { return host_; }
  std::string pathOfNoLibrary() override {
    host_->multitouch().setCanBeOpened(false);
    return pathOfLibrary();
  }

  void setScreens(ScreenFrames frames) override { host_->desktop().setScreens(std::move(frames)); }
  void setFocusedScreen(std::optional<Rect> frame) override {
    host_->desktop().setMainFrame(frame);
  }
  void setMouseLocation(Point location) override { host_->desktop().setMouseLocation(location); }
  void setPointer(std::optional<Point> location) override { host_->desktop().setPointer(location); }
  void setCanMakeEvents(bool can) override { host_->desktop().setCanCreateEvents(can); }
  std::vector<Post> posts() override {
    std::vector<Post> posts;
    for (const auto& call : host_->calls().calls()) {
      if (const auto post = postOf(call)) posts.push_back(*post);
    }
    return posts;
  }

  void setTrusted(bool isTrusted) override { host_->desktop().setTrusted(isTrusted); }
  void showWindow(const ShownWindow& window) override {
    platform::simulated::SimulatedWindow simulated;
    simulated.name = "window";
    simulated.frame = window.frame;
    simulated.depth = window.depth;
    simulated.canBeMoved = window.canBeMoved;
    if (window.attributeThatFails) {
      simulated.failingAttributes.insert(*window.attributeThatFails);
    }
    host_->desktop().setWindow(simulated);
  }
  void closeWindow() override { ASSERT_TRUE(host_->desktop().removeWindow("window")); }

  std::string pathOfLibrary() override { return "/Multitouch"; }
  void setMissingFunction(const std::string& name) override {
    host_->multitouch().setMissingFunctions({name});
  }
  void setGivesList(bool gives) override { host_->multitouch().setCreatesList(gives); }
  void connectSurface(const ConnectedSurface& surface) override {
    surfaces_.push_back(
        host_->multitouch().connect({surface.isBuiltIn, surface.rows, surface.columns,
                                     surface.width, surface.height, surface.startStatus}));
  }
  void disconnectSurface(std::size_t index) override {
    host_->multitouch().disconnect(surfaces_.at(index));
  }
  void sendFrame(std::size_t surface, int contacts) override {
    std::vector<platform::simulated::SimulatedContact> frame;
    for (int contact = 1; contact <= contacts; ++contact) {
      frame.push_back({.identifier = contact, .state = contactMoved});
    }
    host_->multitouch().sendFrame(*surfaces_.at(surface), frame);
  }

 private:
  static std::optional<Post> postOf(const platform::simulated::PlatformCall& call) {
    const auto argument = [&](std::string_view name) {
      const auto found = std::ranges::find_if(call.arguments,
                                              [&](const auto& each) { return each.first == name; });
      return found == call.arguments.end() ? std::nullopt : std::optional(found->second);
    };
    const auto posted = argument("posted");
    if (!posted || !std::get<bool>(*posted)) return std::nullopt;
    const auto integer = [&](std::string_view name) {
      return std::get<std::int64_t>(argument(name).value());
    };
    if (call.operation == "CGEventCreateScrollWheelEvent2") {
      return ScrollPost{integer("wheel1"), integer("wheel2")};
    }
    MousePost post = {
        typeCalled(std::get<std::string>(argument("type").value())),
        {std::get<double>(argument("x").value()), std::get<double>(argument("y").value())},
        std::nullopt};
    if (argument("clickState")) post.clickState = integer("clickState");
    return post;
  }
  static MouseEventType typeCalled(std::string_view name) {
    if (name == "kCGEventLeftMouseDown") return MouseEventType::leftMouseDown;
    if (name == "kCGEventLeftMouseUp") return MouseEventType::leftMouseUp;
    if (name == "kCGEventLeftMouseDragged") return MouseEventType::leftMouseDragged;
    EXPECT_EQ(name, "kCGEventMouseMoved");
    return MouseEventType::mouseMoved;
  }

  std::shared_ptr<SimulatedHost> host_ = SimulatedHost::create();
  std::vector<std::shared_ptr<platform::simulated::SimulatedTouchDevice>> surfaces_;
};

class HostBackend : public DesktopBackend {
 public:
  std::shared_ptr<platform::Platform> platform() override { return platform::hostPlatform(); }
  std::string pathOfNoLibrary() override { return "/nowhere/Multitouch"; }
};

using AnyChoice = BackendChoice<DesktopBackend>;
using ScriptedChoice = BackendChoice<ScriptedBackend>;

const auto scriptedBackends = testing::Values(
    ScriptedChoice{"Simulated", [] { return std::make_unique<SimulatedBackend>(); }});

// What holds wherever the library runs, whether there is a desktop or not. Posts nothing but moves
// to where the pointer is, and scrolls by nothing: the host may be somebody's.

class DesktopContract : public testing::TestWithParam<AnyChoice> {
 protected:
  std::unique_ptr<DesktopBackend> backend = GetParam().make();
  std::shared_ptr<platform::Screens> screens = backend->platform()->screens();
  std::shared_ptr<platform::Accessibility> accessibility = backend->platform()->accessibility();
  std::shared_ptr<platform::PointerEvents> events = backend->platform()->pointerEvents();
};

TEST_P(DesktopContract, IsAlwaysThere) {
  EXPECT_NE(screens, nullptr);
  EXPECT_NE(accessibility, nullptr);
  EXPECT_NE(events, nullptr);
  EXPECT_NE(screens->frames(), nullptr);
}

TEST_P(DesktopContract, PrimaryScreenStandsAtTheOrigin) {
  const auto frames = screens->frames();
  EXPECT_TRUE(frames->empty() || frames->front().origin == Point());
}

TEST_P(DesktopContract, ScreenWithTheFocusIsOneOfTheScreens) {
  const auto frames = screens->frames();
  const auto focused = screens->mainFrame();
  EXPECT_TRUE(!focused || std::ranges::find(*frames, *focused) != frames->end());
}

TEST_P(DesktopContract, MoveIsPostedIfEventsCanBeMadeAndNotOtherwise) {
  const auto before = events->currentLocation();
  const bool isPosted =
      events->postMouseEvent(MouseEventType::mouseMoved, before.value_or(Point()), std::nullopt);
  EXPECT_EQ(isPosted, before.has_value());
  EXPECT_EQ(events->currentLocation(), before);
}

TEST_P(DesktopContract, ScrollIsPostedIfEventsCanBeMadeAndNotOtherwise) {
  const auto before = events->currentLocation();
  EXPECT_EQ(events->postScrollEvent(0, 0), before.has_value());
  EXPECT_EQ(events->currentLocation(), before);
}

TEST_P(DesktopContract, NoElementIsShownFarFromAllScreens) {
  EXPECT_EQ(accessibility->copyElementAtPosition(1e7F, -1e7F), nullptr);
}

TEST_P(DesktopContract, LibraryThatCannotBeOpenedIsNull) {
  EXPECT_EQ(backend->platform()->openMultitouchLibrary(backend->pathOfNoLibrary()), nullptr);
}

TEST_P(DesktopContract, FacilitiesOutliveThePlatform) {
  const ScreenFrames frames = *screens->frames();
  const auto location = events->currentLocation();
  const bool isTrusted = accessibility->isProcessTrusted();
  backend.reset();
  EXPECT_EQ(*screens->frames(), frames);
  EXPECT_EQ(events->currentLocation(), location);
  EXPECT_EQ(accessibility->isProcessTrusted(), isTrusted);
}

INSTANTIATE_TEST_SUITE_P(
    On, DesktopContract,
    testing::Values(AnyChoice{"Simulated", [] { return std::make_unique<SimulatedBackend>(); }},
                    AnyChoice{"Host", [] { return std::make_unique<HostBackend>(); }}),
    backendName<DesktopBackend>);

// What holds where there is a desktop.

class ScriptedTest : public testing::TestWithParam<ScriptedChoice> {
 protected:
  std::unique_ptr<ScriptedBackend> backend = GetParam().make();
  std::shared_ptr<platform::Screens> screens = backend->platform()->screens();
  std::shared_ptr<platform::Accessibility> accessibility = backend->platform()->accessibility();
  std::shared_ptr<platform::PointerEvents> events = backend->platform()->pointerEvents();
};

class ScreensContract : public ScriptedTest {};

TEST_P(ScreensContract, FramesAreThoseOfNowInOrder) {
  const ScreenFrames two = {{{0, 0}, {1440, 900}}, {{-1920, -180}, {1920, 1080}}};
  backend->setScreens(two);
  EXPECT_EQ(*screens->frames(), two);
  const ScreenFrames other = {{{0, 0}, {800, 600}}};
  backend->setScreens(other);
  EXPECT_EQ(*screens->frames(), other);
}

TEST_P(ScreensContract, FramesAreEmptyAndNotNullWithoutScreens) {
  backend->setScreens({});
  ASSERT_NE(screens->frames(), nullptr);
  EXPECT_TRUE(screens->frames()->empty());
  EXPECT_EQ(screens->mainFrame(), std::nullopt);
}

TEST_P(ScreensContract, FramesThatWereHandedOutDoNotChange) {
  const ScreenFrames two = {{{0, 0}, {1440, 900}}, {{1440, 0}, {800, 600}}};
  backend->setScreens(two);
  const auto handedOut = screens->frames();
  backend->setScreens({{{0, 0}, {800, 600}}});
  backend->setScreens({});
  EXPECT_EQ(*handedOut, two);
}

TEST_P(ScreensContract, MainFrameFollowsTheFocus) {
  const Rect second = {{1440, 0}, {800, 600}};
  backend->setScreens({{{0, 0}, {1440, 900}}, second});
  backend->setFocusedScreen(second);
  EXPECT_EQ(screens->mainFrame(), second);
  backend->setFocusedScreen(std::nullopt);
  EXPECT_EQ(screens->mainFrame(), std::nullopt);
}

TEST_P(ScreensContract, MouseLocationIsThatOfTheWindowSystem) {
  backend->setMouseLocation({-10.5, 20});
  EXPECT_EQ(screens->mouseLocation(), (Point{-10.5, 20}));
}

class PointerEventsContract : public ScriptedTest {};

TEST_P(PointerEventsContract, MovesAndDragsTakeThePointerAlong) {
  EXPECT_TRUE(events->postMouseEvent(MouseEventType::mouseMoved, {100.5, 200}, std::nullopt));
  EXPECT_EQ(events->currentLocation(), (Point{100.5, 200}));
  EXPECT_TRUE(events->postMouseEvent(MouseEventType::leftMouseDragged, {30, 40}, std::nullopt));
  EXPECT_EQ(events->currentLocation(), (Point{30, 40}));
}

TEST_P(PointerEventsContract, EventsArePostedAsGivenAndInOrder) {
  events->postMouseEvent(MouseEventType::leftMouseDown, {1, 2}, 1);
  events->postMouseEvent(MouseEventType::leftMouseDragged, {3, 4}, std::nullopt);
  events->postScrollEvent(-5, 6);
  events->postMouseEvent(MouseEventType::leftMouseUp, {7, 8}, 2);
  events->postMouseEvent(MouseEventType::mouseMoved, {9.5, -10}, std::nullopt);
  EXPECT_EQ(backend->posts(),
            (std::vector<Post>{MousePost{MouseEventType::leftMouseDown, {1, 2}, 1},
                               MousePost{MouseEventType::leftMouseDragged, {3, 4}, std::nullopt},
                               ScrollPost{-5, 6}, MousePost{MouseEventType::leftMouseUp, {7, 8}, 2},
                               MousePost{MouseEventType::mouseMoved, {9.5, -10}, std::nullopt}}));
}

TEST_P(PointerEventsContract, ClickStateIsThereOnlyWhereGiven) {
  events->postMouseEvent(MouseEventType::leftMouseDown, {1, 2}, std::nullopt);
  events->postMouseEvent(MouseEventType::mouseMoved, {1, 2}, 0);
  EXPECT_EQ(backend->posts(),
            (std::vector<Post>{MousePost{MouseEventType::leftMouseDown, {1, 2}, std::nullopt},
                               MousePost{MouseEventType::mouseMoved, {1, 2}, 0}}));
}

TEST_P(PointerEventsContract, NothingIsPostedIfEventsCannotBeMade) {
  const auto before = events->currentLocation();
  backend->setCanMakeEvents(false);
  for (const auto type : {MouseEventType::leftMouseDown, MouseEventType::leftMouseUp,
                          MouseEventType::mouseMoved, MouseEventType::leftMouseDragged}) {
    EXPECT_FALSE(events->postMouseEvent(type, {1, 2}, 1));
  }
  EXPECT_FALSE(events->postScrollEvent(1, 2));
  EXPECT_EQ(backend->posts(), std::vector<Post>());
  backend->setCanMakeEvents(true);
  EXPECT_EQ(events->currentLocation(), before);
}

TEST_P(PointerEventsContract, ScrollLeavesThePointerWhereItIs) {
  const auto before = events->currentLocation();
  EXPECT_TRUE(events->postScrollEvent(100, -100));
  EXPECT_EQ(events->currentLocation(), before);
}

TEST_P(PointerEventsContract, LocationFollowsThePointer) {
  backend->setPointer(Point{-5, 12.25});
  EXPECT_EQ(events->currentLocation(), (Point{-5, 12.25}));
  backend->setPointer(std::nullopt);
  EXPECT_EQ(events->currentLocation(), std::nullopt);
}

class AccessibilityContract : public ScriptedTest {
 protected:
  // What is shown near the upper left corner of that window.
  std::shared_ptr<platform::AccessibilityElement> elementOf(const ShownWindow& window) {
    backend->showWindow(window);
    return accessibility->copyElementAtPosition(static_cast<float>(window.frame.minX() + 5),
                                                static_cast<float>(window.frame.minY() + 5));
  }

  const Rect frame = {{100, 600}, {300, 200}};
};

TEST_P(AccessibilityContract, TrustIsThatOfTheUser) {
  backend->setTrusted(false);
  EXPECT_FALSE(accessibility->isProcessTrusted());
  backend->setTrusted(true);
  EXPECT_TRUE(accessibility->isProcessTrusted());
}

TEST_P(AccessibilityContract, ElementIsFoundWhereItIsShown) {
  backend->showWindow({.frame = frame});
  EXPECT_NE(accessibility->copyElementAtPosition(100, 600), nullptr);
  EXPECT_NE(accessibility->copyElementAtPosition(399, 799), nullptr);
}

TEST_P(AccessibilityContract, ElementIsNullWhereNothingIsShown) {
  EXPECT_EQ(accessibility->copyElementAtPosition(150, 650), nullptr);
  backend->showWindow({.frame = frame});
  // The same place, were y upwards.
  EXPECT_EQ(accessibility->copyElementAtPosition(150, 250), nullptr);
  EXPECT_EQ(accessibility->copyElementAtPosition(401, 650), nullptr);
}

TEST_P(AccessibilityContract, AttributesHaveTheirTypes) {
  const auto window = elementOf({.frame = frame});
  ASSERT_NE(window, nullptr);
  EXPECT_EQ(window->copyAttributeValue("AXRole"), AccessibilityValue(std::string("AXWindow")));
  EXPECT_EQ(window->copyAttributeValue("AXPosition"), AccessibilityValue(Point{100, 600}));
  EXPECT_EQ(window->copyAttributeValue("AXSize"), AccessibilityValue(Size{300, 200}));
}

TEST_P(AccessibilityContract, ParentsLeadToTheWindow) {
  auto element = elementOf({.frame = frame, .depth = 2});
  ASSERT_NE(element, nullptr);
  for (int step = 0; step < 2; ++step) {
    EXPECT_NE(element->copyAttributeValue("AXRole"), AccessibilityValue(std::string("AXWindow")));
    const auto parent = element->copyAttributeValue("AXParent");
    ASSERT_TRUE(std::holds_alternative<decltype(element)>(parent));
    element = std::get<decltype(element)>(parent);
    ASSERT_NE(element, nullptr);
  }
  EXPECT_EQ(element->copyAttributeValue("AXRole"), AccessibilityValue(std::string("AXWindow")));
}

TEST_P(AccessibilityContract, AttributeThatCannotBeCopiedIsNothing) {
  for (const std::string attribute : {"AXRole", "AXPosition", "AXSize"}) {
    const auto window = elementOf({.frame = frame, .attributeThatFails = attribute});
    ASSERT_NE(window, nullptr);
    EXPECT_EQ(window->copyAttributeValue(attribute), AccessibilityValue()) << attribute;
  }
  const auto inner = elementOf({.frame = frame, .depth = 1, .attributeThatFails = "AXParent"});
  ASSERT_NE(inner, nullptr);
  EXPECT_EQ(inner->copyAttributeValue("AXParent"), AccessibilityValue());
}

TEST_P(AccessibilityContract, AttributeThatThereIsNotIsNothing) {
  const auto window = elementOf({.frame = frame});
  ASSERT_NE(window, nullptr);
  EXPECT_EQ(window->copyAttributeValue("AXNoSuchThing"), AccessibilityValue());
  EXPECT_EQ(window->copyAttributeValue(""), AccessibilityValue());
}

TEST_P(AccessibilityContract, PositionThatIsSetIsThePositionFromThenOn) {
  const auto window = elementOf({.frame = frame});
  ASSERT_NE(window, nullptr);
  EXPECT_TRUE(window->setAttributeValue("AXPosition", {-20.5, 30}));
  EXPECT_EQ(window->copyAttributeValue("AXPosition"), AccessibilityValue(Point{-20.5, 30}));
  EXPECT_EQ(window->copyAttributeValue("AXSize"), AccessibilityValue(Size{300, 200}));
  EXPECT_EQ(accessibility->copyElementAtPosition(150, 650), nullptr);
  EXPECT_NE(accessibility->copyElementAtPosition(0, 50), nullptr);
}

TEST_P(AccessibilityContract, PositionThatCannotBeSetStays) {
  const auto window = elementOf({.frame = frame, .canBeMoved = false});
  ASSERT_NE(window, nullptr);
  EXPECT_FALSE(window->setAttributeValue("AXPosition", {1, 2}));
  EXPECT_EQ(window->copyAttributeValue("AXPosition"), AccessibilityValue(Point{100, 600}));
}

TEST_P(AccessibilityContract, AttributeThatHoldsNoPointCannotBeSet) {
  const auto window = elementOf({.frame = frame});
  ASSERT_NE(window, nullptr);
  EXPECT_FALSE(window->setAttributeValue("AXSize", {1, 2}));
  EXPECT_FALSE(window->setAttributeValue("AXNoSuchThing", {1, 2}));
  EXPECT_EQ(window->copyAttributeValue("AXPosition"), AccessibilityValue(Point{100, 600}));
  EXPECT_EQ(window->copyAttributeValue("AXSize"), AccessibilityValue(Size{300, 200}));
}

TEST_P(AccessibilityContract, ElementOfAClosedWindowFailsInEverything) {
  const auto window = elementOf({.frame = frame});
  ASSERT_NE(window, nullptr);
  backend->closeWindow();
  EXPECT_EQ(window->copyAttributeValue("AXRole"), AccessibilityValue());
  EXPECT_EQ(window->copyAttributeValue("AXPosition"), AccessibilityValue());
  EXPECT_FALSE(window->setAttributeValue("AXPosition", {1, 2}));
  EXPECT_EQ(accessibility->copyElementAtPosition(150, 650), nullptr);
}

class MultitouchContract : public ScriptedTest {
 protected:
  MultitouchContract() {
    backend->connectSurface({});
    backend->connectSurface({.rows = 20, .columns = 30, .width = 10400, .height = 6400});
    open();
  }

  void open() {
    library = backend->platform()->openMultitouchLibrary(backend->pathOfLibrary());
    ASSERT_NE(library, nullptr);
  }
  template <class Function>
  Function function(std::string_view name) {
    return std::get<Function>(library->symbol(name));
  }
  std::optional<platform::MultitouchDeviceList> list() {
    return function<platform::DeviceListFunction>("MTDeviceCreateList")();
  }
  std::shared_ptr<MultitouchDevice> surface(std::size_t index) { return list().value().at(index); }
  std::uint64_t identifierOf(MultitouchDevice& device) {
    std::uint64_t identifier = 0;
    EXPECT_EQ(function<platform::DeviceIDFunction>("MTDeviceGetDeviceID")(device, identifier), 0);
    return identifier;
  }
  std::pair<std::int32_t, std::int32_t> dimensions(std::string_view name,
                                                   MultitouchDevice& device) {
    std::pair<std::int32_t, std::int32_t> both = {-1, -1};
    EXPECT_EQ(function<platform::DeviceDimensionsFunction>(name)(device, both.first, both.second),
              0);
    return both;
  }
  std::int32_t start(MultitouchDevice& device) {
    return function<platform::DeviceStartFunction>("MTDeviceStart")(device, 0);
  }
  void stop(MultitouchDevice& device) {
    EXPECT_EQ(function<platform::DeviceStopFunction>("MTDeviceStop")(device), 0);
  }
  void registerCallback(MultitouchDevice& device, platform::ContactFrameCallback callback) {
    function<platform::RegisterCallbackFunction>("MTRegisterContactFrameCallbackWithRefcon")(
        device, std::move(callback));
  }
  // Notes each frame under that name, with the identifiers of its contacts.
  void registerNoting(MultitouchDevice& device, const std::string& name) {
    registerCallback(device, [this, name](const std::byte* touches, int numTouches) {
      std::string note = name;
      for (int index = 0; index < numTouches; ++index) {
        note += " " + std::to_string(contactRecordAt(touches, index).identifier);
      }
      notes.push_back(note);
    });
  }
  void unregister(MultitouchDevice& device) {
    function<platform::UnregisterCallbackFunction>("MTUnregisterContactFrameCallback")(device);
  }
  // For a callback that unregisters itself: what it holds must be there until it returns. Looks at
  // nothing that the callback has captured, which would be gone otherwise.
  void unregisterAndNote(MultitouchDevice& device) {
    unregister(device);
    notes.emplace_back(watched.expired() ? "lost" : "held");
  }

  std::shared_ptr<platform::MultitouchLibrary> library;
  std::vector<std::string> notes;
  std::weak_ptr<int> watched;
};

using Notes = std::vector<std::string>;

struct NamedFunction {
  std::string name;
  bool (*isOfItsType)(const MultitouchFunction&);
};

template <class Function>
bool is(const MultitouchFunction& function) {
  const auto* const found = std::get_if<Function>(&function);
  return found != nullptr && *found;
}

const std::vector<NamedFunction>& namedFunctions() {
  static const std::vector<NamedFunction> functions = {
      {"MTDeviceCreateList", &is<platform::DeviceListFunction>},
      {"MTDeviceGetDeviceID", &is<platform::DeviceIDFunction>},
      {"MTDeviceStart", &is<platform::DeviceStartFunction>},
      {"MTDeviceStop", &is<platform::DeviceStopFunction>},
      {"MTDeviceIsBuiltIn", &is<platform::DeviceTruthFunction>},
      {"MTDeviceGetSensorDimensions", &is<platform::DeviceDimensionsFunction>},
      {"MTDeviceGetSensorSurfaceDimensions", &is<platform::DeviceDimensionsFunction>},
      {"MTRegisterContactFrameCallbackWithRefcon", &is<platform::RegisterCallbackFunction>},
      {"MTUnregisterContactFrameCallback", &is<platform::UnregisterCallbackFunction>},
  };
  return functions;
}

TEST_P(MultitouchContract, EachFunctionHasItsType) {
  for (const auto& [name, isOfItsType] : namedFunctions()) {
    EXPECT_TRUE(isOfItsType(library->symbol(name))) << name;
  }
}

TEST_P(MultitouchContract, FunctionThatIsMissingIsNothing) {
  for (const auto& missing : namedFunctions()) {
    backend->setMissingFunction(missing.name);
    for (const auto& [name, isOfItsType] : namedFunctions()) {
      const auto symbol = library->symbol(name);
      EXPECT_EQ(isOfItsType(symbol), name != missing.name) << name << " without " << missing.name;
      EXPECT_EQ(std::holds_alternative<std::monostate>(symbol), name == missing.name) << name;
    }
  }
}

TEST_P(MultitouchContract, FunctionOfAnotherNameIsNothing) {
  for (const auto* name : {"", "MTDevice", "mtdevicestart", "MTDeviceStart ", "MTDeviceStarts",
                           "MTRegisterContactFrameCallback"}) {
    EXPECT_TRUE(std::holds_alternative<std::monostate>(library->symbol(name))) << name;
  }
}

TEST_P(MultitouchContract, ListHoldsTheSurfacesInTheHostsOrder) {
  ASSERT_EQ(list().value().size(), 2U);
  EXPECT_EQ(dimensions("MTDeviceGetSensorDimensions", *surface(0)).first, 12);
  EXPECT_EQ(dimensions("MTDeviceGetSensorDimensions", *surface(1)).first, 20);
}

TEST_P(MultitouchContract, ListIsThatOfNow) {
  backend->disconnectSurface(0);
  ASSERT_EQ(list().value().size(), 1U);
  EXPECT_EQ(dimensions("MTDeviceGetSensorDimensions", *surface(0)).first, 20);
  backend->connectSurface({.rows = 7});
  ASSERT_EQ(list().value().size(), 2U);
  EXPECT_EQ(dimensions("MTDeviceGetSensorDimensions", *surface(1)).first, 7);
}

TEST_P(MultitouchContract, ListWithoutSurfacesIsEmpty) {
  backend->disconnectSurface(0);
  backend->disconnectSurface(1);
  ASSERT_TRUE(list().has_value());
  EXPECT_TRUE(list()->empty());
}

TEST_P(MultitouchContract, ListThatIsNotGivenIsNone) {
  backend->setGivesList(false);
  EXPECT_EQ(list(), std::nullopt);
}

TEST_P(MultitouchContract, SurfacesAreToldApart) {
  const auto surfaces = list().value();
  EXPECT_NE(surfaces.at(0), surfaces.at(1));
  EXPECT_NE(identifierOf(*surfaces.at(0)), identifierOf(*surfaces.at(1)));
  EXPECT_EQ(identifierOf(*surfaces.at(0)), identifierOf(*surface(0)));
}

TEST_P(MultitouchContract, DimensionsAreFilledInTheirOrder) {
  using Both = std::pair<std::int32_t, std::int32_t>;
  EXPECT_EQ(dimensions("MTDeviceGetSensorDimensions", *surface(1)), (Both{20, 30}));
  EXPECT_EQ(dimensions("MTDeviceGetSensorSurfaceDimensions", *surface(1)), (Both{10400, 6400}));
}

TEST_P(MultitouchContract, BuiltInSurfaceSaysSo) {
  backend->connectSurface({.isBuiltIn = true});
  const auto isBuiltIn = function<platform::DeviceTruthFunction>("MTDeviceIsBuiltIn");
  EXPECT_FALSE(isBuiltIn(*surface(0)));
  EXPECT_TRUE(isBuiltIn(*surface(2)));
}

TEST_P(MultitouchContract, SurfaceThatIsHeldOutlivesItsConnection) {
  const auto held = surface(1);
  registerNoting(*held, "a");
  start(*held);
  backend->disconnectSurface(1);
  EXPECT_EQ(dimensions("MTDeviceGetSensorDimensions", *held).second, 30);
  backend->sendFrame(1, 1);
  stop(*held);
  unregister(*held);
  EXPECT_EQ(notes, Notes());
}

TEST_P(MultitouchContract, FramesComeWhileRegisteredAndStarted) {
  const auto device = surface(0);
  registerNoting(*device, "a");
  backend->sendFrame(0, 1);
  EXPECT_EQ(notes, Notes());
  EXPECT_EQ(start(*device), 0);
  backend->sendFrame(0, 2);
  backend->sendFrame(0, 1);
  EXPECT_EQ(notes, (Notes{"a 1 2", "a 1"}));
  stop(*device);
  backend->sendFrame(0, 1);
  EXPECT_EQ(notes.size(), 2U);
  EXPECT_EQ(start(*device), 0);
  backend->sendFrame(0, 3);
  EXPECT_EQ(notes.back(), "a 1 2 3");
}

TEST_P(MultitouchContract, FramesComeToWhoRegistersAfterTheStart) {
  const auto device = surface(0);
  start(*device);
  backend->sendFrame(0, 1);
  registerNoting(*device, "a");
  EXPECT_EQ(notes, Notes());
  backend->sendFrame(0, 2);
  EXPECT_EQ(notes, Notes{"a 1 2"});
}

TEST_P(MultitouchContract, FrameMayHoldNoContacts) {
  const auto device = surface(0);
  registerNoting(*device, "a");
  start(*device);
  backend->sendFrame(0, 0);
  EXPECT_EQ(notes, Notes{"a"});
}

TEST_P(MultitouchContract, SurfaceThatDoesNotStartSendsNoFrames) {
  backend->connectSurface({.startStatus = -536870212});
  const auto device = surface(2);
  registerNoting(*device, "a");
  EXPECT_EQ(start(*device), -536870212);
  backend->sendFrame(2, 1);
  EXPECT_EQ(notes, Notes());
}

TEST_P(MultitouchContract, FramesGoToTheCallbackOfTheirSurface) {
  const auto first = surface(0);
  const auto second = surface(1);
  registerNoting(*first, "a");
  registerNoting(*second, "b");
  start(*first);
  start(*second);
  backend->sendFrame(1, 1);
  backend->sendFrame(0, 2);
  unregister(*second);
  stop(*second);
  backend->sendFrame(1, 3);
  backend->sendFrame(0, 4);
  EXPECT_EQ(notes, (Notes{"b 1", "a 1 2", "a 1 2 3 4"}));
}

TEST_P(MultitouchContract, RegisteringAgainReplacesTheCallback) {
  const auto device = surface(0);
  registerNoting(*device, "a");
  start(*device);
  registerNoting(*device, "b");
  backend->sendFrame(0, 1);
  EXPECT_EQ(notes, Notes{"b 1"});
}

TEST_P(MultitouchContract, NoFrameComesOnceUnregistered) {
  const auto device = surface(0);
  registerNoting(*device, "a");
  start(*device);
  unregister(*device);
  unregister(*device);
  backend->sendFrame(0, 1);
  stop(*device);
  start(*device);
  backend->sendFrame(0, 1);
  EXPECT_EQ(notes, Notes());
}

TEST_P(MultitouchContract, CallbackMayUnregisterItself) {
  const auto device = surface(0);
  auto held = std::make_shared<int>(0);
  watched = held;
  registerCallback(
      *device, [this, device, held = std::move(held)](auto, int) { unregisterAndNote(*device); });
  start(*device);
  backend->sendFrame(0, 1);
  backend->sendFrame(0, 1);
  EXPECT_EQ(notes, Notes{"held"});
}

TEST_P(MultitouchContract, NoFrameComesOnceTheLibraryIsClosed) {
  const auto device = surface(0);
  registerNoting(*device, "a");
  start(*device);
  library.reset();
  backend->sendFrame(0, 1);
  EXPECT_EQ(notes, Notes());
}

TEST_P(MultitouchContract, LibraryThatIsOpenedAgainKnowsNoEarlierCallback) {
  registerNoting(*surface(0), "a");
  library.reset();
  open();
  start(*surface(0));
  backend->sendFrame(0, 1);
  EXPECT_EQ(notes, Notes());
  registerNoting(*surface(0), "b");
  backend->sendFrame(0, 1);
  EXPECT_EQ(notes, Notes{"b 1"});
}

INSTANTIATE_TEST_SUITE_P(On, ScreensContract, scriptedBackends, backendName<ScriptedBackend>);
INSTANTIATE_TEST_SUITE_P(On, PointerEventsContract, scriptedBackends, backendName<ScriptedBackend>);
INSTANTIATE_TEST_SUITE_P(On, AccessibilityContract, scriptedBackends, backendName<ScriptedBackend>);
INSTANTIATE_TEST_SUITE_P(On, MultitouchContract, scriptedBackends, backendName<ScriptedBackend>);

}  // namespace
}  // namespace tessline::test
