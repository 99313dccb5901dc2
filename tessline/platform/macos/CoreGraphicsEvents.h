/// @file
/// Mouse and scroll events of macOS.
#pragma once

#include "tessline/platform/PointerEvents.h"

#include <memory>

namespace tessline::platform {

/// Posts events where those of devices enter the system. It drops them, without a word, unless the
/// user has allowed this process to use accessibility. Any thread.
std::shared_ptr<PointerEvents> makeCoreGraphicsEvents();

}  // namespace tessline::platform
