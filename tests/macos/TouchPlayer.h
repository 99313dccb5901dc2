/// @file
/// Plays records of touch and of the desktop over the adapters.
#pragma once

#include "cli/replay/Observation.h"
#include "cli/replay/Recording.h"
#include "tessline/touch/SiriRemoteGestureController.h"
#include "tessline/touch/SiriRemoteMultitouchService.h"
#include "tests/macos/MultitouchStandIn.h"

#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <variant>

#include <standin/accessibility.h>
#include <standin/events.h>

namespace tessline::test {

class TouchPlatform;

/// The one window, with what stands in it: it is what elements say, and goes with the pointer when
/// it is dragged by its title bar.
class DesktopWindow {
 public:
  void place(const nlohmann::json& members);
  bool isThere() const { return element_.number != 0; }
  const std::string& name() const { return name_; }
  Rect frame() const {
    const auto origin =
        std::get<CGPoint>(standin::accessibility::attribute(element_, "AXPosition").value);
    const auto size = std::get<CGSize>(standin::accessibility::attribute(element_, "AXSize").value);
    return {{origin.x, origin.y}, {size.width, size.height}};
  }
  void take(const standin::events::PostedEvent& event, CGPoint before);

 private:
  standin::accessibility::Element element_;
  std::string name_;
  double titleBarHeight_ = 0;
  bool isDragged_ = false;
};

/// Plays records of the clickpad and the desktop to a service and a controller over the adapters.
/// Time is that of the stand-in's queues.
class TouchPlayer {
 public:
  using Observe = std::function<void(platform::QueueTime, const cli::Observation&)>;

  explicit TouchPlayer(Observe onObservation);
  TouchPlayer(const TouchPlayer&) = delete;
  TouchPlayer& operator=(const TouchPlayer&) = delete;
  ~TouchPlayer();

  /// Lets it happen at its time, with all that comes of it.
  void play(const cli::Record& record);
  /// Lets something else happen at that time, with what comes of it.
  void let(platform::QueueTime time, const std::function<void()>& happen);
  /// Gives the buttons among them to the controller, if there is one, as an application does.
  void passButtons(const std::vector<TesslineEvent>& events);
  /// Lets go of the service and the controller; nothing is observed any more.
  void end();

 private:
  void apply(const cli::Record& record);
  void create(const nlohmann::json& members);
  void release();
  void configureLibrary(const nlohmann::json& members);
  void configureDesktop(const nlohmann::json& members);
  void connect(const nlohmann::json& members);
  void press(const nlohmann::json& members);
  void setScreens(const nlohmann::json& members);
  void setPointer(const nlohmann::json& members);

  // Stops where timers may fire, so that each change is seen at its own time.
  void runUntil(platform::QueueTime time);
  // What happens happens at that time of the recording, by a clock that may be late.
  void advanceTo(platform::QueueTime time, platform::QueueTime lateness = {});
  void take(const standin::events::PostedEvent& event);
  void movePointer(CGPoint location);
  void observeChanges();
  void observe(const cli::Observation& observation) {
    if (!isOver_) observe_(time_, observation);
  }

  const Observe observe_;
  platform::QueueTime time_{};
  platform::QueueTime clock_{};
  bool isOver_ = false;
  std::set<platform::QueueTime> stops_;
  DesktopWindow window_;
  Rect windowFrame_;
  CGPoint pointer_ = {720, 450};
  double primaryHeight_ = 900;
  std::optional<CGPoint> mouseLocation_;
  double cursorSpeed_ = 1;
  std::size_t mode_ = GestureMode(NoGesture()).index();
  cli::DragChanged drag_;
  std::map<std::string, std::size_t> surfaces_;
  MultitouchStandIn multitouch_;
  GestureSettings settings_;
  std::shared_ptr<TouchPlatform> platform_;
  // The last members: they end before what they call.
  std::shared_ptr<SiriRemoteGestureController> controller_;
  std::shared_ptr<SiriRemoteMultitouchService> service_;
};

}  // namespace tessline::test
