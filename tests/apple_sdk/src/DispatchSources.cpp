// Delayed work and timers, as callers see them.
#include "DispatchWorld.h"

#include <algorithm>
#include <cstdint>
#include <string>

struct dispatch_source_type_s {};

namespace standin::dispatch {

namespace {

// Beyond it, times mean other clocks.
constexpr Ticks lastTick = (std::uint64_t{1} << 62) - 1;
constexpr std::uint64_t leastLeeway = NSEC_PER_MSEC;
constexpr std::uint64_t mostLeeway = 60 * NSEC_PER_SEC;

std::string textOf(dispatch_time_t time) {
  if (time == DISPATCH_TIME_NOW) return "now";
  return time == DISPATCH_TIME_FOREVER ? "forever" : "later";
}

std::string textOfDuration(std::uint64_t nanoseconds) {
  return nanoseconds == DISPATCH_TIME_FOREVER ? "forever" : std::to_string(nanoseconds);
}

Ticks startOf(dispatch_time_t time) {
  return time == DISPATCH_TIME_NOW ? World::shared().clock().now() : time;
}

void callHandler(Source& source, std::uint64_t setting) {
  Lock lock = World::shared().lock();
  const bool isWanted = !source.isCancelled && source.setting == setting;
  const dispatch_function_t handler = isWanted ? source.handler : nullptr;
  void* const context = source.context;
  lock.unlock();
  if (handler != nullptr) handler(context);
  lock.lock();
  World::shared().release(source);
}

void fire(Source& source, std::uint64_t setting) {
  if (source.isCancelled || source.setting != setting) return;
  World::retain(source);
  World::shared().async(source.queue, [&source, setting] { callHandler(source, setting); });
  if (source.interval == DISPATCH_TIME_FOREVER) return;
  source.start += World::shared().clock().ticksOf(source.interval);
  arm(source);
}

}  // namespace

// Retained by its timer until that has fired.
void arm(Source& source) {
  if (!source.isActive || source.isCancelled || source.start == DISPATCH_TIME_FOREVER) return;
  World::retain(source);
  const auto fireIt = [&source, setting = source.setting] {
    fire(source, setting);
    World::shared().release(source);
  };
  World::shared().at(source.start, source.leeway, fireIt, &source);
}

}  // namespace standin::dispatch

using namespace standin::dispatch;

extern "C" {

const dispatch_source_type_s _dispatch_source_type_timer = {};

void dispatch_after_f(dispatch_time_t when, dispatch_queue_t queue, void* context,
                      dispatch_function_t work) {
  World& world = World::shared();
  const Lock lock = world.lock();
  require(__func__, work);
  Queue& target = queueOf(__func__, queue);
  note(__func__, textOf(when), target.name);
  if (when == DISPATCH_TIME_FOREVER) fail(__func__, "its context would leak");
  const Clock& clock = world.clock();
  const Ticks now = clock.now();
  if (startOf(when) <= now) return world.async(target, [context, work] { work(context); });
  World::retain(target);
  const std::uint64_t leeway =
      std::clamp(clock.nanosecondsOf(when - now) / 10, leastLeeway, mostLeeway);
  world.at(when, leeway, [&world, &target, context, work] {
    world.async(target, [context, work] { work(context); });
    world.release(target);
  });
}

dispatch_time_t dispatch_time(dispatch_time_t when, int64_t delta) {
  const Lock lock = World::shared().lock();
  note(__func__, textOf(when), std::to_string(delta));
  if (when == DISPATCH_TIME_FOREVER) return DISPATCH_TIME_FOREVER;
  const Ticks base = startOf(when);
  if (base > lastTick) fail(__func__, "a time of another clock");
  if (delta >= 0) {
    const Ticks later = World::shared().clock().ticksOf(static_cast<std::uint64_t>(delta));
    return later > lastTick - base ? DISPATCH_TIME_FOREVER : base + later;
  }
  const Ticks earlier =
      World::shared().clock().ticksOf(std::uint64_t{0} - static_cast<std::uint64_t>(delta));
  return earlier >= base ? 1 : base - earlier;
}

dispatch_source_t dispatch_source_create(dispatch_source_type_t type, uintptr_t handle,
                                         uintptr_t mask, dispatch_queue_t queue) {
  const Lock lock = World::shared().lock();
  if (type != DISPATCH_SOURCE_TYPE_TIMER) fail(__func__, "not a timer");
  if (handle != 0 || mask != 0) fail(__func__, "timers have no handle and no mask");
  Source* const source = World::shared().makeSource(queueOf(__func__, queue));
  note(__func__, source->queue.name);
  return handleOf<dispatch_source_t>(source);
}

void dispatch_source_set_timer(dispatch_source_t source, dispatch_time_t start, uint64_t interval,
                               uint64_t leeway) {
  const Lock lock = World::shared().lock();
  Source& set = sourceOf(__func__, source);
  note(__func__, set.name, textOf(start), textOfDuration(interval), textOfDuration(leeway));
  if (interval == 0) fail(__func__, "an interval of 0 fires without end");
  set.start = startOf(start);
  set.interval = interval;
  set.leeway = leeway;
  ++set.setting;
  arm(set);
}

void dispatch_source_set_event_handler_f(dispatch_source_t source, dispatch_function_t handler) {
  const Lock lock = World::shared().lock();
  require(__func__, handler);
  Source& set = sourceOf(__func__, source);
  if (set.isActive) fail(__func__, "the source is active");
  set.handler = handler;
}

void dispatch_source_cancel(dispatch_source_t source) {
  const Lock lock = World::shared().lock();
  Source& cancelled = sourceOf(__func__, source);
  note(__func__, cancelled.name);
  World::shared().cancel(cancelled);
}

uint64_t clock_gettime_nsec_np(clockid_t clock) {
  if (clock != CLOCK_UPTIME_RAW) fail(__func__, "not the clock of queues");
  const Lock lock = World::shared().lock();
  const Clock& ticks = World::shared().clock();
  return ticks.nanosecondsOf(ticks.now());
}

}  // extern "C"
