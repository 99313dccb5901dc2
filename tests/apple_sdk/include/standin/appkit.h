/// @file
/// How tests control the stand-in's screens.
#pragma once

#include <cstddef>
#include <optional>
#include <vector>

#include <CoreGraphics/CoreGraphics.h>

namespace standin::appkit {

// All of these from any thread, but for what is told.

/// One screen of 1440 x 900 points, which has the key window, and the pointer in its corner.
void reset();
/// The screens from now on, the first of which has the key window. Objects that stand for earlier
/// ones must not be used any more.
void setScreens(std::vector<CGRect> frames);
/// The screen with the key window; none if no application has one.
void setMainScreen(std::optional<CGRect> frame);
void setMouseLocation(CGPoint location);
/// Tells that the screens have changed, on the calling thread.
void tellOfScreens();

/// How often screens were asked for, the one with the key window included.
std::size_t questions();

}  // namespace standin::appkit
