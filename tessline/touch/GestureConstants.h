/// @file
/// The measures of gestures.
#pragma once

#include <chrono>

namespace tessline {

/// Where the recognition of gestures changes its mind. Lengths are fractions of the clickpad, from
/// its centre at (0.5, 0.5); angles are radians.
namespace gestureConstants {
inline constexpr float centre = 0.5F;           ///< Of either axis.
inline constexpr float rimRadius = 0.35F;       ///< A finger that lands farther out may scroll.
inline constexpr float scrollRadius = 0.28F;    ///< Nearer than this it scrolls no longer.
inline constexpr float decidingAngle = 0.28F;   ///< Going round by more than this is scrolling.
inline constexpr float decidingTravel = 0.12F;  ///< Going in or out by more is pointing.
inline constexpr float halfTurn = 3.1415925F;   ///< Just under pi: what is beyond wraps.
inline constexpr float fullTurn = 6.283185F;    ///< Just under 2 pi: what wrapping takes away.
}  // namespace gestureConstants

/// What a gesture controller is made with.
struct GestureSettings {
  double cursorScale = 1200;        ///< Points of the pointer per clickpad width of one finger.
  double scrollScale = 200;         ///< Pixels of scrolling per clickpad width of two fingers.
  float circularScrollScale = 300;  ///< Pixels of scrolling per radian round the rim.
  /// After this long a button that was not released is.
  std::chrono::nanoseconds selectDownSafetyTimeout = std::chrono::seconds(3);
  /// After this long a button that is held is locked.
  std::chrono::nanoseconds dragLockLongPressDuration = std::chrono::seconds(1);
};

}  // namespace tessline
