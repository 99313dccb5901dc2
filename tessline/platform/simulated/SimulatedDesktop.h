/// @file
/// The simulated host's screens, pointer and windows, to be scripted.
#pragma once

#include "tessline/platform/Accessibility.h"
#include "tessline/platform/PointerEvents.h"
#include "tessline/platform/Screens.h"
#include "tessline/platform/simulated/CallLog.h"

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace tessline::platform::simulated {

/// A window of another application.
struct SimulatedWindow {
  std::string name;           ///< Tells its elements apart in the recorded calls.
  Rect frame;                 ///< In global display coordinates, y downwards.
  double titleBarHeight = 0;  ///< Dragging the window by this strip along its top moves it.
  int depth = 0;              ///< How many elements lie between the window and what is hit in it.
  /// The attributes that cannot be copied, of all its elements; "AXPosition" cannot be set then,
  /// either.
  std::set<std::string, std::less<>> failingAttributes = {};
  bool canBeMoved = true;  ///< Whether "AXPosition" can be set.
};

/// One element, with whatever attributes it is given.
class SimulatedElement : public AccessibilityElement {
 public:
  /// `name` tells it apart in the recorded calls. `onSet` is called when a point is set, and says
  /// whether that works; without it nothing can be set.
  SimulatedElement(std::string name, std::shared_ptr<CallLog> calls,
                   std::function<AccessibilityValue(std::string_view)> onCopy,
                   std::function<bool(std::string_view, Point)> onSet = nullptr);

  AccessibilityValue copyAttributeValue(std::string_view attribute) override;
  bool setAttributeValue(std::string_view attribute, Point value) override;

 private:
  const std::string name_;
  const std::shared_ptr<CallLog> calls_;
  const std::function<AccessibilityValue(std::string_view)> onCopy_;
  const std::function<bool(std::string_view, Point)> onSet_;
};

/// Behaves as a desktop does: moves and drags take the pointer along, and a drag that begins on a
/// title bar takes the window along. Calls that change something, and those to elements, are noted;
/// looking at the screens and at the pointer is not. Not synchronised.
class SimulatedDesktop : public std::enable_shared_from_this<SimulatedDesktop> {
 public:
  /// A trusted process, one screen of 1440 x 900 points, the pointer in its middle, no windows.
  explicit SimulatedDesktop(std::shared_ptr<CallLog> calls);
  SimulatedDesktop(const SimulatedDesktop&) = delete;
  SimulatedDesktop& operator=(const SimulatedDesktop&) = delete;
  ~SimulatedDesktop();

  /// The frames of the screens from now on, the primary one first, y upwards. The first is the one
  /// that has the keyboard focus.
  void setScreens(ScreenFrames frames);
  /// The frame of the screen with the keyboard focus from now on.
  void setMainFrame(std::optional<Rect> frame) { mainFrame_ = frame; }
  /// Where events say that the pointer is from now on, y downwards; none if they do not tell.
  void setPointer(std::optional<Point> location) { pointer_ = location; }
  /// Where the window system says that the pointer is from now on, y upwards; until then it says
  /// where it is.
  void setMouseLocation(Point location) { mouseLocation_ = location; }
  /// Whether events can be made to be posted from now on.
  void setCanCreateEvents(bool can) { canCreateEvents_ = can; }
  /// Whether the user has allowed this process to use accessibility; if not, elements tell nothing.
  void setTrusted(bool isTrusted) { isTrusted_ = isTrusted; }

  /// A window appears, in front of the others, or takes the place of the one of its name.
  void setWindow(SimulatedWindow window);
  /// It goes; its elements have no attributes any more. False if there is none of that name.
  bool removeWindow(std::string_view name);
  /// The windows, the front one last.
  const std::vector<SimulatedWindow>& windows() const { return windows_; }

  /// The screens, y upwards.
  const ScreenFrames& screenFrames() const { return *frames_; }
  /// Where events say that the pointer is.
  std::optional<Point> pointer() const { return pointer_; }

  /// What the platform gives out; lives as long as the desktop.
  Accessibility& accessibility() { return *accessibility_; }
  /// What the platform gives out; lives as long as the desktop.
  Screens& screens() { return *screens_; }
  /// What the platform gives out; lives as long as the desktop.
  PointerEvents& pointerEvents() { return *pointerEvents_; }

 private:
  friend class DesktopAccessibility;
  friend class DesktopScreens;
  friend class DesktopPointerEvents;

  SimulatedWindow* window(std::string_view name);
  Point mouseLocation() const;
  std::shared_ptr<AccessibilityElement> element(const std::string& window, int depth);
  std::shared_ptr<AccessibilityElement> elementAt(Point point);
  AccessibilityValue attribute(const std::string& window, int depth, std::string_view name);
  bool setPosition(const std::string& window, std::string_view attribute, Point position);
  void take(MouseEventType type, Point position);

  std::shared_ptr<CallLog> calls_;
  std::shared_ptr<const ScreenFrames> frames_;
  std::optional<Rect> mainFrame_;
  std::optional<Point> pointer_;
  std::optional<Point> mouseLocation_;
  bool canCreateEvents_ = true;
  bool isTrusted_ = true;
  std::vector<SimulatedWindow> windows_;
  std::optional<std::string> draggedWindow_;
  std::unique_ptr<Accessibility> accessibility_;
  std::unique_ptr<Screens> screens_;
  std::unique_ptr<PointerEvents> pointerEvents_;
};

}  // namespace tessline::platform::simulated
