/// @file
/// Files of POSIX.
#pragma once

#include "tessline/platform/FileManager.h"

#include <memory>

namespace tessline::platform {

/// The files that this process sees.
std::shared_ptr<FileManager> makePosixFileManager();

}  // namespace tessline::platform
