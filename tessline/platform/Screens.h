/// @file
/// Porting contract: the screens, and where the pointer is on them.
#pragma once

#include "tessline/model/Geometry.h"

#include <memory>
#include <optional>
#include <vector>

namespace tessline::platform {

/// The frames of all screens, the primary one first.
using ScreenFrames = std::vector<Rect>;

/// The layout of the screens in the coordinates of the host's window system: points, y upwards, the
/// origin in the lower left corner of the primary screen. Any thread: a host whose screens may be
/// asked on its main thread alone keeps them up to date from there.
class Screens {
 public:
  virtual ~Screens() = default;

  /// The frames now; never null, empty without screens. What is handed out does not change any
  /// more, so that reading costs no copy.
  virtual std::shared_ptr<const ScreenFrames> frames() = 0;

  /// The frame of the screen that has the keyboard focus; none if there is none.
  virtual std::optional<Rect> mainFrame() = 0;

  /// Where the pointer is.
  virtual Point mouseLocation() = 0;
};

}  // namespace tessline::platform
