// What waits for its time.
#include "DispatchWorld.h"

#include <algorithm>
#include <chrono>
#include <iterator>
#include <thread>
#include <utility>

namespace standin::dispatch {

void World::useManualClock(bool isManual) {
  requireRest("useManualClock");
  clock_.useManual(isManual);
}

void World::setHasNanosecondTicks(bool has) {
  requireRest("setHasNanosecondTicks");
  clock_.setHasNanosecondTicks(has);
}

void World::at(Ticks due, std::uint64_t leeway, Piece fire, Source* source) {
  timers_.insert({clock_.firing(due, leeway), -nextOrder_++, std::move(fire), source});
  if (!clock_.isManual() && !hasTimerThread_) {
    hasTimerThread_ = true;
    std::thread([this] { runTimers(); }).detach();
  }
  changed_.notify_all();
}

void World::cancel(Source& source) {
  source.isCancelled = true;
  for (auto timer = timers_.begin(); timer != timers_.end();) {
    const bool isOfIt = timer->source == &source;
    timer = isOfIt ? timers_.erase(timer) : std::next(timer);
    if (isOfIt) release(source);
  }
}

void World::advance(Lock& lock, Ticks end) {
  requireManualClock();
  for (waitUntilIdle(lock); !timers_.empty() && timers_.begin()->due <= end; waitUntilIdle(lock)) {
    clock_.passTo(timers_.begin()->due);
    fireFirst();
  }
  clock_.passTo(end);
}

bool World::advanceToNextTimer(Lock& lock) {
  requireManualClock();
  waitUntilIdle(lock);
  if (timers_.empty()) return false;
  clock_.passTo(timers_.begin()->due);
  fireFirst();
  waitUntilIdle(lock);
  return true;
}

void World::requireManualClock() const {
  if (!clock_.isManual()) fail("advance", "the clock is that of the host");
}

void World::fireFirst() {
  const auto first = timers_.extract(timers_.begin());
  first.value().fire();
}

// On the timer thread, while the clock is that of the host.
void World::runTimers() {
  Lock lock(mutex_);
  while (true) {
    if (clock_.isManual() || timers_.empty()) {
      changed_.wait(lock);
      continue;
    }
    const Ticks due = timers_.begin()->due;
    const Ticks current = clock_.now();
    if (due <= current) {
      fireFirst();
    } else {
      const Ticks rest = std::min(due - current, clock_.ticksOf(NSEC_PER_SEC));
      changed_.wait_for(lock, std::chrono::nanoseconds(clock_.nanosecondsOf(rest) + 1));
    }
  }
}

}  // namespace standin::dispatch
