/// @file
/// The screens of macOS.
#pragma once

#include "tessline/platform/MainRunLoop.h"
#include "tessline/platform/Screens.h"

#include <memory>

namespace tessline::platform {

/// The screens as AppKit knows them, which tells of them on the main thread alone. Asked there, it
/// is asked anew. Elsewhere what it said last is given, without waiting for anyone: it is asked
/// again, from `mainRunLoop`, whenever the screens have changed, and after each question for the
/// screen with the keyboard focus, which may go from one application's window to another's without
/// a notification. Made on another thread, with nobody who runs the loop, there are no screens.
/// Any thread.
std::shared_ptr<Screens> makeAppKitScreens(std::shared_ptr<MainRunLoop> mainRunLoop);

}  // namespace tessline::platform
