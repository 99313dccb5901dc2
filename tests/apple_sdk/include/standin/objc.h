/// @file
/// What tests see of the stand-in's Objective-C runtime.
#pragma once

extern "C" long standin_liveObjects();

namespace standin::objc {

/// Objects of Objective-C that nobody has let go of, those that the stand-in keeps for good
/// included.
inline long liveObjects() {
  return standin_liveObjects();
}

}  // namespace standin::objc
