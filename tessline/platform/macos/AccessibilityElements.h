/// @file
/// The accessibility interface of macOS.
#pragma once

#include "tessline/platform/Accessibility.h"

#include <memory>

namespace tessline::platform {

/// The elements of the whole system. Any thread.
std::shared_ptr<Accessibility> makeAccessibilityElements();

}  // namespace tessline::platform
