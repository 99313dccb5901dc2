/// @file
/// The clickpad as a mouse.
#pragma once

#include "tessline/events/RemoteButtonPhase.h"
#include "tessline/model/Geometry.h"
#include "tessline/model/RemoteCommand.h"
#include "tessline/model/SiriRemoteTouchPoint.h"
#include "tessline/platform/Mutex.h"
#include "tessline/platform/Platform.h"
#include "tessline/touch/DragLockChargePhase.h"
#include "tessline/touch/GestureConstants.h"
#include "tessline/touch/GestureMode.h"
#include "tessline/touch/GestureRecognizer.h"

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <span>

namespace tessline {

/// Moves the pointer and scrolls as fingers do, and presses the left mouse button as the clickpad
/// is pressed. A button whose release was lost is released by itself; one that is held long is
/// locked until the next press. Windows that are dragged are kept on the screens. docs/gestures.md
/// draws both state machines.
///
/// Any thread: every operation takes one lock for all that it does, the timers on their queue too.
/// Callbacks are called with the lock held and must not call back, but for `isDragging` and
/// `isDragLocked`. Set them before the first touch or button. Calls that look at windows may wait
/// for other applications.
class SiriRemoteGestureController
    : public std::enable_shared_from_this<SiriRemoteGestureController> {
 public:
  /// A controller without a gesture and with the button up.
  static std::shared_ptr<SiriRemoteGestureController> create(
      const std::shared_ptr<platform::Platform>& platform = platform::hostPlatform(),
      const GestureSettings& settings = {});

  SiriRemoteGestureController(const SiriRemoteGestureController&) = delete;
  SiriRemoteGestureController& operator=(const SiriRemoteGestureController&) = delete;
  /// Lets go of the timers and posts nothing: whoever wants the button up calls `resetButtonState`
  /// before.
  ~SiriRemoteGestureController();

  /// The speed of the pointer, asked for every move; 1 without it.
  std::function<double()> cursorSpeedProvider;
  /// Told how far a long press on a title bar has come.
  std::function<void(DragLockChargePhase)> onDragLockChargePhase;
  /// Gets the button events that would be posted otherwise. Moves and scrolls are always posted.
  std::function<void(platform::MouseEventType, Point)> syntheticMouseEventPoster;
  /// Tells where the pointer is, instead of the host; in global display coordinates.
  std::function<Point()> currentPositionProvider;
  /// For the application's own use: nothing here asks for it.
  bool inspectsDraggedWindow = true;

  /// Whether the left button is held down, by the clickpad or by the drag lock.
  bool isDragging() const;
  /// Whether the drag lock holds the left button down.
  bool isDragLocked() const;
  /// The gesture at hand, as of the last frame.
  GestureMode mode() const;

  /// Takes the next touch frame.
  void handleTouches(std::span<const SiriRemoteTouchPoint> touches);

  /// Takes a button event of any transport; those of other buttons than `select` change nothing.
  void handleButton(RemoteCommand command, RemoteButtonPhase phase);

  /// Lets go of everything that is held: for a remote that is gone.
  void resetButtonState();

 private:
  enum class ButtonState : std::uint8_t {
    idle,        // Up.
    pressed,     // Down, and its release is outstanding.
    lockedHeld,  // Locked down, and the release of the long press is outstanding.
    locked,      // Locked down.
    suppressed,  // Up, and the release of the press that ended a lock is outstanding.
  };

  // A timer that is armed again and again. What an arming left under way when it was cancelled is
  // told by its number.
  struct Deadline {
    std::unique_ptr<platform::QueueTimer> timer;
    std::uint64_t number = 0;

    void cancel();
  };

  SiriRemoteGestureController(const std::shared_ptr<platform::Platform>& platform,
                              const GestureSettings& settings);

  void moveCursor(double deltaX, double deltaY) TESSLINE_REQUIRES(lock_);
  Point getCurrentPosition() TESSLINE_REQUIRES(lock_);
  void keepDraggedWindowOnScreens(Point target) TESSLINE_REQUIRES(lock_);
  void press(Point position) TESSLINE_REQUIRES(lock_);
  void release(Point position) TESSLINE_REQUIRES(lock_);
  void postButtonEvent(platform::MouseEventType type, Point position) TESSLINE_REQUIRES(lock_);
  void armSelectDownSafetyTimer() TESSLINE_REQUIRES(lock_);
  void armDragLockLongPressTimer() TESSLINE_REQUIRES(lock_);
  void arm(Deadline& deadline, platform::QueueTime duration,
           void (SiriRemoteGestureController::*handle)(std::uint64_t)) TESSLINE_REQUIRES(lock_);
  void cancelTimers() TESSLINE_REQUIRES(lock_);
  void beginPress(Point position) TESSLINE_REQUIRES(lock_);
  void activateDragLockIfStillPressed(std::uint64_t arming) TESSLINE_EXCLUDES(lock_);
  void forceSelectReleaseIfOutstanding(std::uint64_t arming) TESSLINE_EXCLUDES(lock_);
  void endDragLockLocked(Point at) TESSLINE_REQUIRES(lock_);
  void cancelCharge() TESSLINE_REQUIRES(lock_);
  void emitChargePhase(DragLockChargePhase phase) TESSLINE_REQUIRES(lock_);

  const GestureSettings settings_;
  const std::shared_ptr<platform::SerialQueue> safetyQueue_;
  const std::shared_ptr<platform::Accessibility> accessibility_;
  const std::shared_ptr<platform::Screens> screens_;
  const std::shared_ptr<platform::PointerEvents> events_;

  mutable platform::Mutex lock_;
  GestureRecognizer recognizer_ TESSLINE_GUARDED_BY(lock_);
  // Written under the lock; atomic, so that callbacks may ask what it means.
  std::atomic<ButtonState> buttonState_{ButtonState::idle};
  Deadline selectDownSafetyTimer_ TESSLINE_GUARDED_BY(lock_);
  Deadline dragLockLongPressTimer_ TESSLINE_GUARDED_BY(lock_);
  bool isChargeInProgress_ TESSLINE_GUARDED_BY(lock_) = false;
  bool showChargeRingForCurrentPress_ TESSLINE_GUARDED_BY(lock_) = false;
  std::shared_ptr<platform::AccessibilityElement> draggedWindow_ TESSLINE_GUARDED_BY(lock_);
};

}  // namespace tessline
