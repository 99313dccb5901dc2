#include "tests/macos/TouchPlayer.h"

#include "tessline/platform/macos/AccessibilityElements.h"
#include "tessline/platform/macos/AppKitScreens.h"
#include "tessline/platform/macos/CoreFoundationRunLoop.h"
#include "tessline/platform/macos/CoreGraphicsEvents.h"
#include "tessline/platform/macos/DispatchQueue.h"
#include "tessline/platform/macos/MultitouchSupport.h"
#include "tests/support/PlatformDecorator.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdint>
#include <cstring>
#include <span>
#include <string_view>
#include <utility>
#include <vector>

#include <gtest/gtest.h>
#include <standin/appkit.h>
#include <standin/dispatch.h>
#include <standin/multitouch.h>

namespace tessline::test {

namespace appkit = standin::appkit;
namespace ax = standin::accessibility;
using nlohmann::json;
using platform::QueueTime;
using platform::simulated::PlatformCall;

namespace {

class LineSink : public platform::LogSink {
 public:
  explicit LineSink(std::function<void(std::string_view)> onLine) : onLine_(std::move(onLine)) {}

  void log(std::string_view line) override { onLine_(line); }

 private:
  const std::function<void(std::string_view)> onLine_;
};

}  // namespace

// Offers what macOS offers of the clickpad and the desktop, and nothing else.
class TouchPlatform : public PlatformDecorator {
 public:
  explicit TouchPlatform(std::function<void(std::string_view)> onLine)
      : PlatformDecorator(nullptr), log_(std::make_shared<LineSink>(std::move(onLine))) {}

  std::shared_ptr<platform::SerialQueue> makeSerialQueue(
      std::string_view label, platform::QualityOfService quality) override {
    return platform::makeDispatchQueue(label, quality);
  }
  std::shared_ptr<platform::LogSink> logSink() override { return log_; }
  std::shared_ptr<platform::MultitouchLibrary> openMultitouchLibrary(
      std::string_view path) override {
    return platform::openMultitouchSupport(isLibraryThere ? path : "/nowhere");
  }
  std::shared_ptr<platform::Accessibility> accessibility() override {
    return platform::makeAccessibilityElements();
  }
  std::shared_ptr<platform::Screens> screens() override {
    return platform::makeAppKitScreens(loop_);
  }
  std::shared_ptr<platform::PointerEvents> pointerEvents() override {
    return platform::makeCoreGraphicsEvents();
  }

  bool isLibraryThere = true;

 private:
  const std::shared_ptr<platform::LogSink> log_;
  const std::shared_ptr<platform::MainRunLoop> loop_ = platform::makeCoreFoundationRunLoop();
};

namespace {

CGPoint pointOf(const json& value) {
  return {value[0], value[1]};
}

CGRect rectOf(const json& value) {
  return {{value[0], value[1]}, {value[2], value[3]}};
}

std::vector<std::byte> recordsOf(const json& contacts) {
  constexpr std::size_t recordSize = 96;
  constexpr std::size_t numbersOffset = 32;
  constexpr std::size_t numbersBegin = 2;
  std::vector<std::byte> records = contactRecords(static_cast<int>(contacts.size()));
  std::byte* record = records.data();
  for (const json& contact : contacts) {
    const std::int32_t identifier = contact[0];
    const std::int32_t state = contact[1];
    std::memcpy(record + 20, &state, sizeof state);
    std::memcpy(record + 24, &identifier, sizeof identifier);
    std::array<float, 4> numbers = {};
    for (std::size_t at = 0; at < numbers.size(); ++at) numbers[at] = contact[numbersBegin + at];
    std::memcpy(record + numbersOffset, numbers.data(), sizeof numbers);
    record += recordSize;
  }
  return records;
}

}  // namespace

void DesktopWindow::place(const json& members) {
  const CGRect frame = rectOf(members["frame"]);
  const auto failing = members.value("failingAttributes", std::set<std::string>());
  const auto errorOf = [&](const char* attribute) {
    return failing.contains(attribute) ? kAXErrorCannotComplete : kAXErrorSuccess;
  };
  const auto makeInner = [&](ax::Element parent) {
    const ax::Element inner = ax::makeElement();
    ax::setAttribute(inner, "AXRole", {standin::CFValue("AXGroup"), errorOf("AXRole")});
    ax::setAttribute(inner, "AXParent", {parent, errorOf("AXParent")});
    return inner;
  };
  if (!isThere()) element_ = ax::makeElement();
  name_ = members["window"];
  titleBarHeight_ = members.value("titleBarHeight", 0.0);
  const bool canBeMoved = members.value("canBeMoved", true);
  ax::setAttribute(element_, "AXRole", {standin::CFValue("AXWindow"), errorOf("AXRole")});
  ax::setAttribute(element_, "AXPosition",
                   {frame.origin, errorOf("AXPosition"),
                    canBeMoved ? errorOf("AXPosition") : kAXErrorAttributeUnsupported});
  ax::setAttribute(element_, "AXSize", {frame.size, errorOf("AXSize")});
  ax::Element hit = element_;
  for (int level = members.value("depth", 0); level > 0; --level) hit = makeInner(hit);
  ax::show(element_, hit);
}

void DesktopWindow::take(const standin::events::PostedEvent& event, CGPoint before) {
  if (!isThere()) return;
  const Rect area = frame();
  const Point location = {event.location.x, event.location.y};
  if (event.type == kCGEventLeftMouseDown) {
    isDragged_ = area.contains(location) && location.y < area.minY() + titleBarHeight_;
  } else if (event.type == kCGEventLeftMouseUp) {
    isDragged_ = false;
  } else if (event.type == kCGEventLeftMouseDragged && isDragged_) {
    ax::Attribute position = ax::attribute(element_, "AXPosition");
    position.value =
        CGPoint{area.minX() + location.x - before.x, area.minY() + location.y - before.y};
    ax::setAttribute(element_, "AXPosition", position);
  }
}

TouchPlayer::TouchPlayer(Observe onObservation) : observe_(std::move(onObservation)) {
  standin::dispatch::useManualClock(true);
  standin::dispatch::setHasNanosecondTicks(true);
  ax::reset();
  appkit::reset();
  standin::events::reset();
  movePointer(pointer_);
  standin::events::setPointer(pointer_);
  standin::events::setOnPost([this](const auto& event) { take(event); });
  platform_ = std::make_shared<TouchPlatform>([this](std::string_view line) {
    observe(PlatformCall{time_, "log", {{"line", std::string(line)}}});
  });
}

void TouchPlayer::end() {
  isOver_ = true;
  service_.reset();
  controller_.reset();
}

TouchPlayer::~TouchPlayer() {
  // What ends with the player is no part of the recording.
  end();
  platform_.reset();
  standin::dispatch::waitUntilIdle();
  standin::dispatch::useManualClock(false);
  standin::events::setOnPost(nullptr);
}

void TouchPlayer::play(const cli::Record& record) {
  let(record.time, [&] { apply(record); });
}

void TouchPlayer::let(QueueTime time, const std::function<void()>& happen) {
  runUntil(time);
  happen();
  observeChanges();
}

void TouchPlayer::passButtons(const std::vector<TesslineEvent>& events) {
  if (!controller_) return;
  for (const TesslineEvent& event : events) {
    const auto* const button = std::get_if<RemoteButtonEvent>(&event);
    if (button != nullptr) controller_->handleButton(button->command, button->phase);
  }
}

void TouchPlayer::advanceTo(QueueTime time, QueueTime lateness) {
  time_ = time;
  const QueueTime wanted = std::max(clock_, time + lateness);
  standin::dispatch::advance(wanted - std::exchange(clock_, wanted));
}

void TouchPlayer::apply(const cli::Record& record) {
  const json& members = record.members;
  const std::string& type = record.type;
  if (type == "touch.create") {
    create(members);
  } else if (type == "touch.release") {
    release();
  } else if (type == "touch.start") {
    service_->start();
  } else if (type == "touch.stop") {
    service_->stop();
  } else if (type == "touch.host") {
    configureLibrary(members);
  } else if (type == "touch.surfaceAppeared") {
    connect(members);
  } else if (type == "touch.surfaceGone") {
    multitouch_.disconnectSurface(surfaces_.at(members["surface"]));
  } else if (type == "touch.frame") {
    const json& contacts = members["contacts"];
    standin::multitouch::sendFrame(surfaces_.at(members["surface"]), recordsOf(contacts),
                                   static_cast<std::int32_t>(contacts.size()));
  } else if (type == "touch.button") {
    press(members);
  } else if (type == "touch.reset") {
    controller_->resetButtonState();
  } else if (type == "touch.cursorSpeed") {
    cursorSpeed_ = members["speed"];
  } else if (type == "desktop.host") {
    configureDesktop(members);
  } else if (type == "desktop.screens") {
    setScreens(members);
  } else if (type == "desktop.pointer") {
    setPointer(members);
  } else if (type == "desktop.window") {
    window_.place(members);
    windowFrame_ = window_.frame();
  } else {
    FAIL() << "nobody plays " << type;
  }
}

void TouchPlayer::create(const json& members) {
  const auto read = [&](const char* name, auto& duration) {
    if (!members.contains(name)) return;
    duration = std::chrono::duration_cast<QueueTime>(
        std::chrono::duration<double>(members[name].get<double>()));
  };
  read("selectDownSafetyTimeout", settings_.selectDownSafetyTimeout);
  read("dragLockLongPressDuration", settings_.dragLockLongPressDuration);
  controller_ = SiriRemoteGestureController::create(platform_, settings_);
  controller_->cursorSpeedProvider = [this] { return cursorSpeed_; };
  controller_->onDragLockChargePhase = [this](auto phase) { observe(cli::ChargePhase{phase}); };
  service_ = SiriRemoteMultitouchService::create(platform_);
  service_->onTouchesChanged = [this](std::span<const SiriRemoteTouchPoint> points) {
    observe(cli::TouchPoints{{points.begin(), points.end()}});
    controller_->handleTouches(points);
  };
}

void TouchPlayer::release() {
  service_.reset();
  observeChanges();
  controller_.reset();
}

void TouchPlayer::configureLibrary(const json& members) {
  if (members.contains("canOpenLibrary")) platform_->isLibraryThere = members["canOpenLibrary"];
  if (members.contains("createsList")) multitouch_.setGivesList(members["createsList"]);
  if (members.contains("missingFunctions")) {
    const auto& names = members["missingFunctions"];
    standin::multitouch::setMissingFunctions({names.begin(), names.end()});
  }
}

void TouchPlayer::configureDesktop(const json& members) {
  if (members.contains("isTrusted")) ax::setTrusted(members["isTrusted"]);
  if (members.contains("canCreateEvents")) {
    standin::events::setCanBeCreated(members["canCreateEvents"]);
  }
}

void TouchPlayer::connect(const json& members) {
  ConnectedSurface surface;
  surface.isBuiltIn = members.value("isBuiltIn", surface.isBuiltIn);
  surface.rows = members.value("sensorRows", surface.rows);
  surface.columns = members.value("sensorColumns", surface.columns);
  surface.width = members.value("surfaceWidth", surface.width);
  surface.height = members.value("surfaceHeight", surface.height);
  surface.startStatus = members.value("startStatus", surface.startStatus);
  surfaces_.emplace(members["surface"], surfaces_.size());
  multitouch_.connectSurface(surface);
}

void TouchPlayer::press(const json& members) {
  const auto name = std::ranges::find(remoteCommandNames, members["command"].get<std::string>());
  const auto command =
      remoteCommandWithOrdinal(static_cast<std::size_t>(name - remoteCommandNames.begin()));
  stops_.insert(time_ + settings_.dragLockLongPressDuration);
  stops_.insert(time_ + settings_.selectDownSafetyTimeout);
  controller_->handleButton(command.value(),
                            remoteButtonPhase(members["phase"].get<std::string>()).value());
}

void TouchPlayer::setScreens(const json& members) {
  std::vector<CGRect> frames;
  for (const json& frame : members["frames"]) frames.push_back(rectOf(frame));
  primaryHeight_ = frames.empty() ? 0 : frames.front().origin.y + frames.front().size.height;
  appkit::setScreens(std::move(frames));
  if (members.contains("main")) appkit::setMainScreen(rectOf(members["main"]));
  appkit::tellOfScreens();
  movePointer(pointer_);
}

void TouchPlayer::setPointer(const json& members) {
  std::optional<CGPoint> location;
  if (members.contains("location")) location = pointOf(members["location"]);
  standin::events::setPointer(location);
  if (members.contains("mouseLocation")) mouseLocation_ = pointOf(members["mouseLocation"]);
  movePointer(location.value_or(CGPoint{}));
}

// The mouse is where the pointer is, with y upwards, unless the recording says otherwise.
void TouchPlayer::movePointer(CGPoint location) {
  pointer_ = location;
  appkit::setMouseLocation(mouseLocation_.value_or(
      CGPoint{location.x, primaryHeight_ == 0 ? location.y : primaryHeight_ - location.y}));
}

void TouchPlayer::runUntil(QueueTime time) {
  // What keeps timers from being early by a rounding.
  constexpr QueueTime lateness = std::chrono::microseconds(2);
  while (!stops_.empty() && *stops_.begin() <= time) {
    advanceTo(*stops_.begin(), lateness);
    stops_.erase(stops_.begin());
    observeChanges();
  }
  advanceTo(time);
}

void TouchPlayer::take(const standin::events::PostedEvent& event) {
  if (event.type == kCGEventScrollWheel) {
    return observe(PlatformCall{time_,
                                "CGEventCreateScrollWheelEvent2",
                                {{"wheel1", std::int64_t{event.wheels.at(0)}},
                                 {"wheel2", std::int64_t{event.wheels.at(1)}},
                                 {"posted", true}}});
  }
  static const std::map<CGEventType, std::string> typeNames = {
      {kCGEventLeftMouseDown, "kCGEventLeftMouseDown"},
      {kCGEventLeftMouseUp, "kCGEventLeftMouseUp"},
      {kCGEventMouseMoved, "kCGEventMouseMoved"},
      {kCGEventLeftMouseDragged, "kCGEventLeftMouseDragged"}};
  PlatformCall call = {
      time_,
      "CGEventCreateMouseEvent",
      {{"type", typeNames.at(event.type)}, {"x", event.location.x}, {"y", event.location.y}}};
  for (const auto& [field, value] : event.fields) call.arguments.emplace_back("clickState", value);
  call.arguments.emplace_back("posted", true);
  observe(call);
  window_.take(event, pointer_);
  movePointer(event.location);
}

void TouchPlayer::observeChanges() {
  if (controller_) {
    const GestureMode mode = controller_->mode();
    if (std::exchange(mode_, mode.index()) != mode.index()) observe(cli::ModeChanged{name(mode)});
    const cli::DragChanged drag = {controller_->isDragging(), controller_->isDragLocked()};
    const cli::DragChanged before = std::exchange(drag_, drag);
    if (before.isDragging != drag.isDragging || before.isDragLocked != drag.isDragLocked) {
      observe(drag);
    }
  }
  if (!window_.isThere() || window_.frame() == windowFrame_) return;
  windowFrame_ = window_.frame();
  observe(cli::WindowPlaced{window_.name(), windowFrame_, false});
}

}  // namespace tessline::test
