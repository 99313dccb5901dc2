#include "tessline/touch/SiriRemoteGestureController.h"

#include "tessline/model/Overloaded.h"
#include "tessline/touch/DragWindowBoundsClamper.h"

#include <string_view>
#include <utility>
#include <variant>

namespace tessline {

namespace {

using platform::MouseEventType;
using platform::MutexLock;

constexpr std::string_view safetyQueueLabel = "com.morvane.gesture.select-safety";
// Every click is a single one.
constexpr std::int64_t clickState = 1;

}  // namespace

void SiriRemoteGestureController::Deadline::cancel() {
  ++number;
  timer.reset();
}

std::shared_ptr<SiriRemoteGestureController> SiriRemoteGestureController::create(
    const std::shared_ptr<platform::Platform>& platform, const GestureSettings& settings) {
  return std::shared_ptr<SiriRemoteGestureController>(
      new SiriRemoteGestureController(platform, settings));
}

SiriRemoteGestureController::SiriRemoteGestureController(
    const std::shared_ptr<platform::Platform>& platform, const GestureSettings& settings)
    : settings_(settings),
      safetyQueue_(platform->makeSerialQueue(safetyQueueLabel)),
      accessibility_(platform->accessibility()),
      screens_(platform->screens()),
      events_(platform->pointerEvents()),
      recognizer_(settings) {}

SiriRemoteGestureController::~SiriRemoteGestureController() = default;

bool SiriRemoteGestureController::isDragging() const {
  switch (buttonState_) {
    case ButtonState::pressed:
    case ButtonState::lockedHeld:
    case ButtonState::locked:
      return true;
    case ButtonState::idle:
    case ButtonState::suppressed:
      return false;
  }
  return false;
}

bool SiriRemoteGestureController::isDragLocked() const {
  const ButtonState state = buttonState_;
  return state == ButtonState::lockedHeld || state == ButtonState::locked;
}

GestureMode SiriRemoteGestureController::mode() const {
  const MutexLock guard(lock_);
  return recognizer_.mode();
}

void SiriRemoteGestureController::handleTouches(std::span<const SiriRemoteTouchPoint> touches) {
  const MutexLock guard(lock_);
  const GestureAction action = recognizer_.handleTouches(touches);
  std::visit(Overloaded{[](NoAction) {},
                        [this](const MoveCursor& move)
                            TESSLINE_REQUIRES(lock_) { moveCursor(move.delta.x, move.delta.y); },
                        [this](const ReplayMoves& replay) TESSLINE_REQUIRES(lock_) {
                          for (const Point& delta : replay.deltas) moveCursor(delta.x, delta.y);
                        },
                        [this](const Scroll& scroll) {
                          events_->postScrollEvent(scroll.vertical, scroll.horizontal);
                        }},
             action);
}

void SiriRemoteGestureController::moveCursor(double deltaX, double deltaY) {
  const double speed = cursorSpeedProvider ? cursorSpeedProvider() : 1.0;
  const Point position = getCurrentPosition();
  // A finger's y goes up, the pointer's down.
  const Point target = DragWindowBoundsClamper::clampQuartzPointToScreens(
      *screens_, {position.x + deltaX * settings_.cursorScale * speed,
                  position.y - deltaY * settings_.cursorScale * speed});
  const MouseEventType type =
      isDragging() ? MouseEventType::leftMouseDragged : MouseEventType::mouseMoved;
  if (!events_->postMouseEvent(type, target, std::nullopt)) return;
  if (isDragging()) keepDraggedWindowOnScreens(target);
}

void SiriRemoteGestureController::keepDraggedWindowOnScreens(Point target) {
  if (!draggedWindow_) {
    draggedWindow_ = DragWindowBoundsClamper::windowElement(*accessibility_, target);
  }
  if (draggedWindow_) DragWindowBoundsClamper::clampWindowToScreens(*screens_, *draggedWindow_);
}

Point SiriRemoteGestureController::getCurrentPosition() {
  if (currentPositionProvider) return currentPositionProvider();
  const auto location = events_->currentLocation();
  if (location && *location != Point{0, 0}) return *location;
  const Point mouse = screens_->mouseLocation();
  const auto frame = screens_->mainFrame();
  if (!frame) return mouse;
  // The screen's left edge is added on purpose, though both are in the same coordinates.
  return {mouse.x + frame->minX(), frame->minY() + (frame->height() - mouse.y)};
}

void SiriRemoteGestureController::handleButton(RemoteCommand command, RemoteButtonPhase phase) {
  const MutexLock guard(lock_);
  if (command != RemoteCommand::select) return;
  const Point position = getCurrentPosition();
  switch (phase) {
    case RemoteButtonPhase::pressed:
      return press(position);
    case RemoteButtonPhase::released:
      return release(position);
  }
}

void SiriRemoteGestureController::press(Point position) {
  switch (buttonState_) {
    case ButtonState::idle:
    case ButtonState::suppressed:
      return beginPress(position);
    case ButtonState::pressed:
      return;
    case ButtonState::lockedHeld:
    case ButtonState::locked:
      // The release of this press must not let go once more.
      return endDragLockLocked(position);
  }
}

void SiriRemoteGestureController::beginPress(Point position) {
  buttonState_ = ButtonState::pressed;
  draggedWindow_ = DragWindowBoundsClamper::windowElement(*accessibility_, position);
  showChargeRingForCurrentPress_ =
      DragWindowBoundsClamper::isTitleBarRegion(*accessibility_, position);
  armDragLockLongPressTimer();
  armSelectDownSafetyTimer();
  if (showChargeRingForCurrentPress_) emitChargePhase(DragLockChargePhase::began);
  postButtonEvent(MouseEventType::leftMouseDown, position);
}

void SiriRemoteGestureController::release(Point position) {
  switch (buttonState_) {
    case ButtonState::idle:
    case ButtonState::locked:
      return;
    case ButtonState::suppressed:
      buttonState_ = ButtonState::idle;
      return;
    case ButtonState::lockedHeld:
      cancelTimers();
      buttonState_ = ButtonState::locked;
      return;
    case ButtonState::pressed:
      cancelTimers();
      cancelCharge();
      buttonState_ = ButtonState::idle;
      draggedWindow_ = nullptr;
      return postButtonEvent(MouseEventType::leftMouseUp, position);
  }
}

void SiriRemoteGestureController::resetButtonState() {
  const MutexLock guard(lock_);
  cancelTimers();
  cancelCharge();
  draggedWindow_ = nullptr;
  switch (buttonState_) {
    case ButtonState::idle:
    case ButtonState::suppressed:
      buttonState_ = ButtonState::idle;
      return;
    case ButtonState::pressed:
    case ButtonState::lockedHeld:
    case ButtonState::locked:
      const Point position = getCurrentPosition();
      buttonState_ = ButtonState::idle;
      return postButtonEvent(MouseEventType::leftMouseUp, position);
  }
}

void SiriRemoteGestureController::postButtonEvent(MouseEventType type, Point position) {
  const Point point = DragWindowBoundsClamper::clampQuartzPointToScreens(*screens_, position);
  if (syntheticMouseEventPoster) return syntheticMouseEventPoster(type, point);
  events_->postMouseEvent(type, point, clickState);
}

void SiriRemoteGestureController::armSelectDownSafetyTimer() {
  arm(selectDownSafetyTimer_, settings_.selectDownSafetyTimeout,
      &SiriRemoteGestureController::forceSelectReleaseIfOutstanding);
}

void SiriRemoteGestureController::armDragLockLongPressTimer() {
  arm(dragLockLongPressTimer_, settings_.dragLockLongPressDuration,
      &SiriRemoteGestureController::activateDragLockIfStillPressed);
}

void SiriRemoteGestureController::arm(Deadline& deadline, platform::QueueTime duration,
                                      void (SiriRemoteGestureController::*handle)(std::uint64_t)) {
  deadline.cancel();
  deadline.timer = safetyQueue_->startTimer(
      duration, [weak = weak_from_this(), handle, arming = deadline.number] {
        if (const auto self = weak.lock()) ((*self).*handle)(arming);
      });
}

void SiriRemoteGestureController::cancelTimers() {
  dragLockLongPressTimer_.cancel();
  selectDownSafetyTimer_.cancel();
}

void SiriRemoteGestureController::activateDragLockIfStillPressed(std::uint64_t arming) {
  const MutexLock guard(lock_);
  if (arming != dragLockLongPressTimer_.number) return;
  if (buttonState_ != ButtonState::pressed) return;
  buttonState_ = ButtonState::lockedHeld;
  // What is locked must not be let go of by itself. The timer that fired stays as it is.
  selectDownSafetyTimer_.cancel();
  if (showChargeRingForCurrentPress_) emitChargePhase(DragLockChargePhase::completed);
}

void SiriRemoteGestureController::forceSelectReleaseIfOutstanding(std::uint64_t arming) {
  const MutexLock guard(lock_);
  if (arming != selectDownSafetyTimer_.number) return;
  if (buttonState_ != ButtonState::pressed) return;
  buttonState_ = ButtonState::idle;
  cancelCharge();
  draggedWindow_ = nullptr;
  cancelTimers();
  postButtonEvent(MouseEventType::leftMouseUp, getCurrentPosition());
}

void SiriRemoteGestureController::endDragLockLocked(Point at) {
  cancelTimers();
  buttonState_ = ButtonState::suppressed;
  showChargeRingForCurrentPress_ = false;
  draggedWindow_ = nullptr;
  postButtonEvent(MouseEventType::leftMouseUp, at);
}

void SiriRemoteGestureController::cancelCharge() {
  if (std::exchange(showChargeRingForCurrentPress_, false)) {
    emitChargePhase(DragLockChargePhase::cancelled);
  }
}

void SiriRemoteGestureController::emitChargePhase(DragLockChargePhase phase) {
  switch (phase) {
    case DragLockChargePhase::began:
      isChargeInProgress_ = true;
      break;
    case DragLockChargePhase::completed:
      isChargeInProgress_ = false;
      break;
    case DragLockChargePhase::cancelled:
      // Only a charge that is in progress can be cancelled.
      if (!std::exchange(isChargeInProgress_, false)) return;
      break;
  }
  if (onDragLockChargePhase) onDragLockChargePhase(phase);
}

}  // namespace tessline
