/// @file
/// What every backend's screens, pointer, windows and touch surfaces are tested through.
#pragma once

#include "tessline/platform/Platform.h"
#include "tests/platform/BackendName.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include <gtest/gtest.h>

namespace tessline::test {

/// A backend under test.
class DesktopBackend {
 public:
  virtual ~DesktopBackend() = default;

  virtual std::shared_ptr<platform::Platform> platform() = 0;
  /// A path where no multitouch library can be opened.
  virtual std::string pathOfNoLibrary() = 0;
};

/// A mouse event that entered the system.
struct MousePost {
  platform::MouseEventType type;
  Point position;
  std::optional<std::int64_t> clickState;

  bool operator==(const MousePost&) const = default;
};
/// A scroll event that entered the system.
struct ScrollPost {
  std::int64_t vertical;
  std::int64_t horizontal;

  bool operator==(const ScrollPost&) const = default;
};
using Post = std::variant<MousePost, ScrollPost>;

/// A window of another application.
struct ShownWindow {
  Rect frame;     ///< In global display coordinates.
  int depth = 0;  ///< How many elements lie between the window and what is hit in it.
  std::optional<std::string> attributeThatFails = std::nullopt;  ///< Of all its elements.
  bool canBeMoved = true;
};

/// A touch surface.
struct ConnectedSurface {
  bool isBuiltIn = false;
  std::int32_t rows = 12;
  std::int32_t columns = 6;
  std::int32_t width = 2775;
  std::int32_t height = 1850;
  std::int32_t startStatus = 0;  ///< What starting it returns.
};

/// A backend whose outside can be scripted. What a verb does has happened when it returns.
class ScriptedBackend : public DesktopBackend {
 public:
  virtual void setScreens(platform::ScreenFrames frames) = 0;
  virtual void setFocusedScreen(std::optional<Rect> frame) = 0;
  /// Where the window system says that the pointer is, y upwards.
  virtual void setMouseLocation(Point location) = 0;
  /// Where events say that the pointer is, y downwards; none if they cannot.
  virtual void setPointer(std::optional<Point> location) = 0;
  virtual void setCanMakeEvents(bool can) = 0;
  /// What has been posted so far.
  virtual std::vector<Post> posts() = 0;

  virtual void setTrusted(bool isTrusted) = 0;
  /// Instead of the one that is shown.
  virtual void showWindow(const ShownWindow& window) = 0;
  virtual void closeWindow() = 0;

  virtual std::string pathOfLibrary() = 0;
  /// The one function that the library lacks from now on.
  virtual void setMissingFunction(const std::string& name) = 0;
  virtual void setGivesList(bool gives) = 0;
  /// Behind those that are there. The first has the index 0, whatever goes later.
  virtual void connectSurface(const ConnectedSurface& surface) = 0;
  virtual void disconnectSurface(std::size_t index) = 0;
  /// Moving contacts, of the identifiers 1, 2 ...
  virtual void sendFrame(std::size_t surface, int contacts) = 0;
};

/// One backend by name.
template <class Backend>
struct BackendChoice {
  std::string name;
  std::function<std::unique_ptr<Backend>()> make;
};

/// The backends that this program's tests run on: all, and those that can be scripted.
std::vector<BackendChoice<DesktopBackend>> desktopBackends();
std::vector<BackendChoice<ScriptedBackend>> scriptedBackends();

/// What holds where there is a desktop.
class ScriptedTest : public testing::TestWithParam<BackendChoice<ScriptedBackend>> {
 protected:
  std::unique_ptr<ScriptedBackend> backend = GetParam().make();
  std::shared_ptr<platform::Screens> screens = backend->platform()->screens();
  std::shared_ptr<platform::Accessibility> accessibility = backend->platform()->accessibility();
  std::shared_ptr<platform::PointerEvents> events = backend->platform()->pointerEvents();
};

}  // namespace tessline::test
