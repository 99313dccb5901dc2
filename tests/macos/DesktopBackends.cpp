#include "tessline/platform/macos/AccessibilityElements.h"
#include "tessline/platform/macos/AppKitScreens.h"
#include "tessline/platform/macos/CoreFoundationRunLoop.h"
#include "tessline/platform/macos/CoreGraphicsEvents.h"
#include "tessline/platform/macos/MultitouchSupport.h"
#include "tests/macos/MultitouchStandIn.h"
#include "tests/platform/DesktopContract.h"
#include "tests/support/PlatformDecorator.h"

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include <gtest/gtest.h>
#include <standin/accessibility.h>
#include <standin/appkit.h>
#include <standin/events.h>
#include <standin/foundation.h>
#include <standin/objc.h>

namespace tessline::test {

namespace {

namespace appkit = standin::appkit;
namespace ax = standin::accessibility;
namespace events = standin::events;

CGPoint pointOf(Point point) {
  return {point.x, point.y};
}

CGRect rectOf(const Rect& rect) {
  return {pointOf(rect.origin), {rect.size.width, rect.size.height}};
}

// Offers what macOS offers of the desktop, and nothing else.
class DesktopPlatform : public PlatformDecorator {
 public:
  explicit DesktopPlatform(std::shared_ptr<platform::MainRunLoop> loop)
      : PlatformDecorator(nullptr), loop_(std::move(loop)) {}

  std::shared_ptr<platform::MainRunLoop> mainRunLoop() override { return loop_; }
  std::shared_ptr<platform::MultitouchLibrary> openMultitouchLibrary(
      std::string_view path) override {
    return platform::openMultitouchSupport(path);
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

 private:
  const std::shared_ptr<platform::MainRunLoop> loop_;
};

// Expects at its end that nothing is left but what still observes, which may outlive it.
class DesktopStandIn : public ScriptedBackend {
 public:
  DesktopStandIn() {
    ax::reset();
    appkit::reset();
    events::reset();
  }
  DesktopStandIn(const DesktopStandIn&) = delete;
  DesktopStandIn& operator=(const DesktopStandIn&) = delete;
  ~DesktopStandIn() override { EXPECT_EQ(liveObjects(), objectsBefore_); }

  std::shared_ptr<platform::Platform> platform() override { return platform_; }
  std::string pathOfNoLibrary() override { return multitouch_.pathOfNoLibrary(); }

  void setScreens(platform::ScreenFrames frames) override {
    std::vector<CGRect> all;
    for (const Rect& frame : frames) all.push_back(rectOf(frame));
    appkit::setScreens(std::move(all));
    appkit::tellOfScreens();
  }
  void setFocusedScreen(std::optional<Rect> frame) override {
    appkit::setMainScreen(frame ? std::optional(rectOf(*frame)) : std::nullopt);
  }
  void setMouseLocation(Point location) override { appkit::setMouseLocation(pointOf(location)); }
  void setPointer(std::optional<Point> location) override {
    events::setPointer(location ? std::optional(pointOf(*location)) : std::nullopt);
  }
  void setCanMakeEvents(bool can) override { events::setCanBeCreated(can); }
  std::vector<Post> posts() override {
    std::vector<Post> posts;
    for (const events::PostedEvent& event : events::posts()) posts.push_back(postOf(event));
    return posts;
  }

  void setTrusted(bool isTrusted) override { ax::setTrusted(isTrusted); }
  void showWindow(const ShownWindow& window) override;
  void closeWindow() override {
    ax::hide();
    for (const ax::Element element : std::exchange(elements_, {})) ax::destroy(element);
  }

  std::string pathOfLibrary() override { return multitouch_.pathOfLibrary(); }
  void setMissingFunction(const std::string& name) override {
    multitouch_.setMissingFunction(name);
  }
  void setGivesList(bool gives) override { multitouch_.setGivesList(gives); }
  void connectSurface(const ConnectedSurface& surface) override {
    multitouch_.connectSurface(surface);
  }
  void disconnectSurface(std::size_t index) override { multitouch_.disconnectSurface(index); }
  void sendFrame(std::size_t surface, int contacts) override {
    multitouch_.sendFrame(surface, contacts);
  }

 private:
  static long liveObjects() {
    return standin::objc::liveObjects() - static_cast<long>(standin::foundation::observers());
  }
  static Post postOf(const events::PostedEvent& event) {
    if (event.type == kCGEventScrollWheel) {
      return ScrollPost{event.wheels.at(0), event.wheels.at(1)};
    }
    MousePost post = {static_cast<platform::MouseEventType>(event.type),
                      {event.location.x, event.location.y},
                      std::nullopt};
    const auto clickState = event.fields.find(kCGMouseEventClickState);
    if (clickState != event.fields.end()) post.clickState = clickState->second;
    return post;
  }
  ax::Element makeElement(const ShownWindow& window, const std::string& role, ax::Element parent);

  const long objectsBefore_ = liveObjects();
  // In front of what counts objects, as the screens may outlive that.
  const std::shared_ptr<platform::MainRunLoop> loop_ = platform::makeCoreFoundationRunLoop();
  MultitouchStandIn multitouch_;
  const std::shared_ptr<platform::Platform> platform_ = std::make_shared<DesktopPlatform>(loop_);
  std::vector<ax::Element> elements_;
};

ax::Element DesktopStandIn::makeElement(const ShownWindow& window, const std::string& role,
                                        ax::Element parent) {
  const ax::Element element = ax::makeElement();
  const auto set = [&](const std::string& name, ax::Value value, AXError setError) {
    const bool fails = window.attributeThatFails == name;
    ax::setAttribute(
        element, name,
        {std::move(value), fails ? kAXErrorCannotComplete : kAXErrorSuccess, setError});
  };
  set("AXRole", standin::CFValue(role), kAXErrorAttributeUnsupported);
  set("AXParent", parent, kAXErrorAttributeUnsupported);
  set("AXPosition", pointOf(window.frame.origin),
      window.canBeMoved ? kAXErrorSuccess : kAXErrorAttributeUnsupported);
  set("AXSize", CGSize{window.frame.size.width, window.frame.size.height}, kAXErrorSuccess);
  elements_.push_back(element);
  return element;
}

void DesktopStandIn::showWindow(const ShownWindow& window) {
  elements_.clear();
  const ax::Element application = ax::makeElement();
  const ax::Element outermost = makeElement(window, "AXWindow", application);
  ax::Element hit = outermost;
  for (int level = 0; level < window.depth; ++level) hit = makeElement(window, "AXGroup", hit);
  ax::show(outermost, hit);
}

}  // namespace

std::vector<BackendChoice<DesktopBackend>> desktopBackends() {
  return {{"MacOS", [] { return std::make_unique<DesktopStandIn>(); }}};
}

std::vector<BackendChoice<ScriptedBackend>> scriptedBackends() {
  return {{"MacOS", [] { return std::make_unique<DesktopStandIn>(); }}};
}

}  // namespace tessline::test
