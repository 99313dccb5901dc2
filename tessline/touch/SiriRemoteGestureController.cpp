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
    std::shared_ptr<platform::Platform> platform, const GestureSettings& settings) {
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
      isDragging_ ? MouseEventType::leftMouseDragged : MouseEventType::mouseMoved;
  if (!events_->postMouseEvent(type, target, std::nullopt)) return;
  if (isDragging_) keepDraggedWindowOnScreens(target);
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
  if (isDragLocked_) {
    endDragLockLocked(position);
    suppressNextSelectRelease_ = true;
    return;
  }
  if (hasOutstandingSelectDown_) return;
  isDragging_ = true;
  hasOutstandingSelectDown_ = true;
  suppressNextSelectRelease_ = false;
  draggedWindow_ = DragWindowBoundsClamper::windowElement(*accessibility_, position);
  showChargeRingForCurrentPress_ =
      DragWindowBoundsClamper::isTitleBarRegion(*accessibility_, position);
  armDragLockLongPressTimer();
  armSelectDownSafetyTimer();
  if (showChargeRingForCurrentPress_) emitChargePhase(DragLockChargePhase::began);
  postButtonEvent(MouseEventType::leftMouseDown, position);
}

void SiriRemoteGestureController::release(Point position) {
  if (std::exchange(suppressNextSelectRelease_, false)) return;
  if (!hasOutstandingSelectDown_) return;
  dragLockLongPressTimer_.cancel();
  if (isDragLocked_) {
    hasOutstandingSelectDown_ = false;
    selectDownSafetyTimer_.cancel();
    return;
  }
  cancelCharge();
  isDragging_ = false;
  hasOutstandingSelectDown_ = false;
  draggedWindow_ = nullptr;
  selectDownSafetyTimer_.cancel();
  postButtonEvent(MouseEventType::leftMouseUp, position);
}

void SiriRemoteGestureController::resetButtonState() {
  const MutexLock guard(lock_);
  cancelTimers();
  suppressNextSelectRelease_ = false;
  hasOutstandingSelectDown_ = false;
  cancelCharge();
  draggedWindow_ = nullptr;
  if (!isDragging_ && !isDragLocked_) return;
  const Point position = getCurrentPosition();
  isDragging_ = false;
  isDragLocked_ = false;
  postButtonEvent(MouseEventType::leftMouseUp, position);
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
  if (!hasOutstandingSelectDown_ || isDragLocked_) return;
  isDragLocked_ = true;
  isDragging_ = true;
  selectDownSafetyTimer_.cancel();
  if (showChargeRingForCurrentPress_) emitChargePhase(DragLockChargePhase::completed);
}

void SiriRemoteGestureController::forceSelectReleaseIfOutstanding(std::uint64_t arming) {
  const MutexLock guard(lock_);
  if (arming != selectDownSafetyTimer_.number) return;
  if (!hasOutstandingSelectDown_ || isDragLocked_) return;
  hasOutstandingSelectDown_ = false;
  isDragging_ = false;
  cancelCharge();
  draggedWindow_ = nullptr;
  cancelTimers();
  postButtonEvent(MouseEventType::leftMouseUp, getCurrentPosition());
}

void SiriRemoteGestureController::endDragLockLocked(Point at) {
  cancelTimers();
  hasOutstandingSelectDown_ = false;
  isDragLocked_ = false;
  isDragging_ = false;
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
