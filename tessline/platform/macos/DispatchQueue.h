/// @file
/// Serial queues on libdispatch.
#pragma once

#include "tessline/platform/SerialQueue.h"

#include <memory>
#include <string_view>

// What `dispatch_queue_t` points to. Objective-C++ that uses it is compiled with
// OS_OBJECT_USE_OBJC=0, so that it is the same type there.
struct dispatch_queue_s;

namespace tessline::platform {

/// A serial dispatch queue under that label.
std::shared_ptr<SerialQueue> makeDispatchQueue(
    std::string_view label, QualityOfService quality = QualityOfService::unspecified);

/// The system's queue behind one that was made above, for facilities that deliver on it. What they
/// deliver there is a piece of the queue's work. Valid while `queue` lives; who keeps it longer
/// retains it.
dispatch_queue_s* dispatchQueueOf(const SerialQueue& queue);

}  // namespace tessline::platform
