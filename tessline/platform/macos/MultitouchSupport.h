/// @file
/// The system's multitouch library.
#pragma once

#include "tessline/platform/MultitouchLibrary.h"

#include <memory>
#include <string_view>

namespace tessline::platform {

/// Opens the library at `path`, resolving all that it needs at once; null if that fails.
std::shared_ptr<MultitouchLibrary> openMultitouchSupport(std::string_view path);

}  // namespace tessline::platform
