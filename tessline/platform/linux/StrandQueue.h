/// @file
/// Serial queues on Asio.
#pragma once

#include "tessline/platform/SerialQueue.h"

#include <memory>
#include <string_view>

namespace tessline::platform {

/// A queue of its own on the shared worker pool.
std::shared_ptr<SerialQueue> makeStrandQueue(std::string_view label);

}  // namespace tessline::platform
