/// @file
/// How tests control the stand-in's queues and their clock.
#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include <dispatch/dispatch.h>

namespace standin::dispatch {

/// From now on time stands still but for the functions below, or is that of the host again. No
/// timer may wait and no work run.
void useManualClock(bool isManual);
/// Lets time pass, and everything happen that falls into it, in its order, until nothing runs.
void advance(std::chrono::nanoseconds duration);
/// Lets time pass until the next timer has fired and nothing runs; false if none waits.
bool advanceToNextTimer();
/// Whether the processor counts in nanoseconds; otherwise in ticks of 125/3 ns, as at first and
/// after each change of the clock. The manual clock starts anew. No timer may wait and no work run.
void setHasNanosecondTicks(bool has);
/// Whether timers use their leeway: they then fire as late as they may. Manual clock.
void setUsesLeeway(bool uses);

/// Waits until no queue has work, but for the main queue.
void waitUntilIdle();
/// Waits until everything that the queue has by now has run.
void drain(dispatch_queue_t queue);
/// Whether the caller is a piece of this queue's work.
bool isCurrent(dispatch_queue_t queue);
/// What the queue was made with.
qos_class_t qualityOf(dispatch_queue_t queue);

/// Runs what the main queue has by now, on the calling thread; false if it had nothing.
bool runMainQueue();
/// Called, on any thread, for each piece of work that the main queue is given.
void setMainQueueObserver(std::function<void()> observer);

/// Queues and sources that nobody has let go of, but for the main queue. Work that waits counts for
/// its queue, so wait first.
std::size_t liveObjects();
/// Delayed work and timers that wait.
std::size_t waitingTimers();

/// The calls so far with their arguments: times as passed, objects by their label.
std::vector<std::string> calls();
/// Forgets them.
void clearCalls();

}  // namespace standin::dispatch
