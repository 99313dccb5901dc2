#include "standin/dispatch.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <deque>
#include <limits>
#include <map>
#include <mutex>
#include <set>
#include <string_view>
#include <thread>
#include <utility>

struct dispatch_source_type_s {};

namespace standin::dispatch {

namespace {

using Piece = std::function<void()>;
using Lock = std::unique_lock<std::mutex>;
using Ticks = std::uint64_t;

// How long a tick is, in nanoseconds.
struct TickLength {
  std::uint64_t numerator;
  std::uint64_t denominator;
};
// One kind of processor counts in ticks that are no whole number, the other in nanoseconds.
constexpr TickLength fractionalTick = {125, 3};
constexpr TickLength nanosecondTick = {1, 1};
// Guarded by the lock of everything.
TickLength tick = fractionalTick;
// Beyond it, times mean other clocks.
constexpr Ticks lastTick = (std::uint64_t{1} << 62) - 1;
constexpr std::uint64_t leastLeeway = NSEC_PER_MSEC;
constexpr std::uint64_t mostLeeway = 60 * NSEC_PER_SEC;

[[noreturn]] void fail(std::string_view operation, std::string_view what) {
  std::fprintf(stderr, "dispatch: %.*s: %.*s\n", static_cast<int>(operation.size()),
               operation.data(), static_cast<int>(what.size()), what.data());
  std::abort();
}

// Rounded down, in either direction; in two parts, as products of large numbers do not fit.
Ticks ticksOf(std::uint64_t nanoseconds) {
  return nanoseconds / tick.numerator * tick.denominator +
         nanoseconds % tick.numerator * tick.denominator / tick.numerator;
}
std::uint64_t nanosecondsOf(Ticks ticks) {
  return ticks / tick.denominator * tick.numerator +
         ticks % tick.denominator * tick.numerator / tick.denominator;
}

struct Object {
  explicit Object(std::string nameOfIt) : name(std::move(nameOfIt)) {}
  Object(const Object&) = delete;
  Object& operator=(const Object&) = delete;
  virtual ~Object() = default;

  const std::string name;
  // Held by code under test, which may use it only then.
  int owners = 1;
  // Held by those and by the work, timers and sources that need it.
  int references = 1;
  void* context = nullptr;
  dispatch_function_t finalizer = nullptr;
};

struct Specific {
  void* context = nullptr;
  dispatch_function_t destructor = nullptr;
};

struct Queue : Object {
  using Object::Object;

  std::deque<Piece> pieces;
  bool isRunning = false;
  bool isImmortal = false;
  std::map<const void*, Specific> specifics;
};

struct Source : Object {
  Source(std::string nameOfIt, Queue& targetQueue)
      : Object(std::move(nameOfIt)), queue(targetQueue) {}

  Queue& queue;
  dispatch_function_t handler = nullptr;
  bool isActive = false;
  bool isCancelled = false;
  Ticks start = DISPATCH_TIME_FOREVER;
  std::uint64_t interval = DISPATCH_TIME_FOREVER;
  std::uint64_t leeway = 0;
  // Counts settings: a timer of an earlier one is void.
  std::uint64_t setting = 0;
};

// Fires under the lock.
struct Timer {
  Ticks due = 0;
  // Those that fire together do so in no order that can be relied upon: here the last first.
  std::int64_t order = 0;
  Piece fire;
  // Whose it is; none for delayed work.
  Source* source = nullptr;

  bool operator<(const Timer& other) const {
    return std::pair(due, order) < std::pair(other.due, other.order);
  }
};

// What runs on this thread.
thread_local Queue* currentQueue = nullptr;

// Everything there is, under one lock. Lives as long as the process, as its threads do.
class World {
 public:
  static World& shared() {
    static World& world = *new World;
    return world;
  }

  Lock lock() { return Lock(mutex_); }

  void note(std::string call) { calls_.push_back(std::move(call)); }
  std::vector<std::string>& calls() { return calls_; }

  // Objects.

  Queue* makeQueue(const char* label) {
    auto* const queue = new Queue(label == nullptr ? "" : label);
    objects_.insert(queue);
    return queue;
  }
  Source* makeSource(Queue& queue) {
    auto* const source = new Source("timer of " + queue.name, queue);
    objects_.insert(source);
    retain(queue);
    return source;
  }
  Object& object(std::string_view operation, const void* handle) {
    auto* const found = static_cast<Object*>(const_cast<void*>(handle));
    if (found == nullptr) fail(operation, "no object");
    if (!objects_.contains(found)) fail(operation, "not an object, or one that is gone");
    if (found->owners == 0) fail(operation, "an object that everyone has let go of");
    return *found;
  }
  template <class Kind>
  Kind& as(std::string_view operation, const void* handle) {
    auto* const found = dynamic_cast<Kind*>(&object(operation, handle));
    if (found == nullptr) fail(operation, "an object of another kind");
    return *found;
  }
  std::size_t countOfMortals() const {
    return static_cast<std::size_t>(std::ranges::count_if(objects_, [](const Object* object) {
      const auto* const queue = dynamic_cast<const Queue*>(object);
      return queue == nullptr || !queue->isImmortal;
    }));
  }

  static void retain(Object& object) { ++object.references; }
  void letGo(Object& object) {
    auto* const source = dynamic_cast<Source*>(&object);
    // Timers of nobody end as if they were cancelled.
    if (--object.owners == 0 && source != nullptr) cancel(*source);
    release(object);
  }
  void release(Object& object) {
    if (--object.references > 0) return;
    objects_.erase(&object);
    if (auto* const source = dynamic_cast<Source*>(&object)) {
      finish(source->queue, *source);
      release(source->queue);
    } else {
      auto& queue = static_cast<Queue&>(object);
      for (const auto& [key, specific] : queue.specifics) {
        if (specific.destructor == nullptr) continue;
        async(root_, [specific = specific] { specific.destructor(specific.context); });
      }
      finish(root_, queue);
    }
    delete &object;
  }

  // Work.

  Queue& mainQueue() { return main_; }

  // A queue lives as long as it has work.
  void async(Queue& queue, Piece piece) {
    retain(queue);
    queue.pieces.push_back(std::move(piece));
    if (&queue == &main_) {
      if (mainObserver_) async(root_, mainObserver_);
    } else if (!queue.isRunning && queue.pieces.size() == 1) {
      makeReady(queue);
    }
  }

  // Gives the lock back while it runs.
  void runFirst(Lock& lock, Queue& queue) {
    Piece piece = std::move(queue.pieces.front());
    queue.pieces.pop_front();
    queue.isRunning = true;
    Queue* const outer = std::exchange(currentQueue, &queue);
    lock.unlock();
    try {
      piece();
    } catch (...) {
      fail("work", "let an exception out, which the system does not know");
    }
    piece = nullptr;
    lock.lock();
    currentQueue = outer;
    queue.isRunning = false;
    if (!queue.pieces.empty() && &queue != &main_) makeReady(queue);
    release(queue);
    changed_.notify_all();
  }

  bool runMainQueue(Lock& lock) {
    const std::size_t count = main_.pieces.size();
    for (std::size_t piece = 0; piece < count; ++piece) runFirst(lock, main_);
    return count > 0;
  }

  void waitUntilIdle(Lock& lock) {
    changed_.wait(lock, [this] { return ready_.empty() && busyWorkers_ == 0; });
  }
  void wait(Lock& lock, const std::function<bool()>& isDone) { changed_.wait(lock, isDone); }
  void wakeWaiting() { changed_.notify_all(); }

  void setMainObserver(std::function<void()> observer) { mainObserver_ = std::move(observer); }

  // Time.

  Ticks now() const {
    if (isManual_) return manualNow_;
    return ticksOf(static_cast<std::uint64_t>(
        std::chrono::nanoseconds(std::chrono::steady_clock::now().time_since_epoch()).count()));
  }

  void useManualClock(bool isManual) {
    requireRest("useManualClock");
    isManual_ = isManual;
    usesLeeway_ = false;
    setTick(fractionalTick);
  }
  void setHasNanosecondTicks(bool has) {
    requireRest("setHasNanosecondTicks");
    setTick(has ? nanosecondTick : fractionalTick);
  }
  void setUsesLeeway(bool uses) { usesLeeway_ = uses; }
  std::size_t waitingTimers() const { return timers_.size(); }

  void at(Ticks due, std::uint64_t leeway, Piece fire, Source* source = nullptr) {
    const Ticks late = usesLeeway_ && isManual_ ? ticksOf(leeway) : 0;
    timers_.insert({due + late, -nextOrder_++, std::move(fire), source});
    if (!isManual_ && !hasTimerThread_) {
      hasTimerThread_ = true;
      std::thread([this] { runTimers(); }).detach();
    }
    changed_.notify_all();
  }

  void cancel(Source& source) {
    source.isCancelled = true;
    for (auto timer = timers_.begin(); timer != timers_.end();) {
      const bool isOfIt = timer->source == &source;
      timer = isOfIt ? timers_.erase(timer) : std::next(timer);
      if (isOfIt) release(source);
    }
  }

  // Fires what is due until then, each in its turn.
  void advance(Lock& lock, Ticks end) {
    requireManualClock();
    for (waitUntilIdle(lock); !timers_.empty() && timers_.begin()->due <= end;
         waitUntilIdle(lock)) {
      manualNow_ = std::max(manualNow_, timers_.begin()->due);
      fireFirst();
    }
    manualNow_ = std::max(manualNow_, end);
  }
  bool advanceToNextTimer(Lock& lock) {
    requireManualClock();
    waitUntilIdle(lock);
    if (timers_.empty()) return false;
    manualNow_ = std::max(manualNow_, timers_.begin()->due);
    fireFirst();
    waitUntilIdle(lock);
    return true;
  }

 private:
  World() { main_.isImmortal = root_.isImmortal = true; }

  // Its finalizer runs on a queue of its own or above it, once nothing of it runs.
  void finish(Queue& queue, const Object& object) {
    if (object.finalizer == nullptr || object.context == nullptr) return;
    async(queue, [finalizer = object.finalizer, context = object.context] { finalizer(context); });
  }

  void makeReady(Queue& queue) {
    ready_.push_back(&queue);
    // One for each queue that can run: work may wait for that of another queue.
    if (ready_.size() > workers_ - busyWorkers_) {
      ++workers_;
      std::thread([this] { work(); }).detach();
    }
    changed_.notify_all();
  }

  void work() {
    Lock lock(mutex_);
    while (true) {
      changed_.wait(lock, [this] { return !ready_.empty(); });
      Queue& queue = *ready_.front();
      ready_.pop_front();
      ++busyWorkers_;
      runFirst(lock, queue);
      --busyWorkers_;
      changed_.notify_all();
    }
  }

  void requireRest(std::string_view operation) const {
    if (!timers_.empty() || !ready_.empty() || busyWorkers_ != 0) {
      fail(operation, "timers wait or work runs");
    }
  }

  // The clock of tests starts at a whole second of a whole tick.
  void setTick(TickLength length) {
    tick = length;
    manualNow_ = ticksOf(NSEC_PER_SEC);
  }

  void requireManualClock() const {
    if (!isManual_) fail("advance", "the clock is that of the host");
  }

  void fireFirst() {
    const auto first = timers_.extract(timers_.begin());
    first.value().fire();
  }

  // On the timer thread, while the clock is that of the host.
  void runTimers() {
    Lock lock(mutex_);
    while (true) {
      if (isManual_ || timers_.empty()) {
        changed_.wait(lock);
        continue;
      }
      const Ticks due = timers_.begin()->due;
      const Ticks current = now();
      if (due <= current) {
        fireFirst();
      } else {
        changed_.wait_for(lock, std::chrono::nanoseconds(nanosecondsOf(
                                    std::min(due - current, ticksOf(NSEC_PER_SEC)) + 1)));
      }
    }
  }

  std::mutex mutex_;
  std::condition_variable changed_;
  std::set<Object*> objects_ = {&main_, &root_};
  std::vector<std::string> calls_;

  Queue main_{"com.apple.main-thread"};
  // Where the system cleans up.
  Queue root_{"com.apple.root.default-qos"};
  std::function<void()> mainObserver_;
  std::deque<Queue*> ready_;
  std::size_t workers_ = 0;
  std::size_t busyWorkers_ = 0;

  std::multiset<Timer> timers_;
  std::int64_t nextOrder_ = 0;
  Ticks manualNow_ = ticksOf(NSEC_PER_SEC);
  bool isManual_ = false;
  bool usesLeeway_ = false;
  bool hasTimerThread_ = false;
};

Object* objectOf(const dispatch_object_s* handle) {
  return reinterpret_cast<Object*>(const_cast<dispatch_object_s*>(handle));
}

template <class Handle>
Handle handleOf(Object* object) {
  return reinterpret_cast<Handle>(object);
}

Queue& queueOf(std::string_view operation, dispatch_queue_t queue) {
  return World::shared().as<Queue>(operation, objectOf(queue));
}

Source& sourceOf(std::string_view operation, dispatch_source_t source) {
  return World::shared().as<Source>(operation, objectOf(source));
}

template <class Function>
void require(std::string_view operation, Function function) {
  if (function == nullptr) fail(operation, "no function");
}

std::string textOf(dispatch_time_t time) {
  if (time == DISPATCH_TIME_NOW) return "now";
  return time == DISPATCH_TIME_FOREVER ? "forever" : "later";
}

std::string textOfDuration(std::uint64_t nanoseconds) {
  return nanoseconds == DISPATCH_TIME_FOREVER ? "forever" : std::to_string(nanoseconds);
}

// Calls, their name first.
template <class... Arguments>
void note(std::string_view operation, const Arguments&... arguments) {
  std::string call(operation);
  ((call += " ", call += arguments), ...);
  World::shared().note(std::move(call));
}

Ticks startOf(dispatch_time_t time) {
  return time == DISPATCH_TIME_NOW ? World::shared().now() : time;
}

void fire(Source& source, std::uint64_t setting);

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
  source.start += ticksOf(source.interval);
  arm(source);
}

}  // namespace

void useManualClock(bool isManual) {
  const Lock lock = World::shared().lock();
  World::shared().useManualClock(isManual);
}

void advance(std::chrono::nanoseconds duration) {
  Lock lock = World::shared().lock();
  const Ticks end = World::shared().now() + ticksOf(static_cast<std::uint64_t>(duration.count()));
  World::shared().advance(lock, end);
}

bool advanceToNextTimer() {
  Lock lock = World::shared().lock();
  return World::shared().advanceToNextTimer(lock);
}

void setHasNanosecondTicks(bool has) {
  const Lock lock = World::shared().lock();
  World::shared().setHasNanosecondTicks(has);
}

void setUsesLeeway(bool uses) {
  const Lock lock = World::shared().lock();
  World::shared().setUsesLeeway(uses);
}

void waitUntilIdle() {
  Lock lock = World::shared().lock();
  World::shared().waitUntilIdle(lock);
}

void drain(dispatch_queue_t queue) {
  World& world = World::shared();
  Lock lock = world.lock();
  if (&queueOf("drain", queue) == &world.mainQueue()) fail("drain", "the main queue");
  bool isDone = false;
  world.async(queueOf("drain", queue), [&] {
    const Lock inner = world.lock();
    isDone = true;
    world.wakeWaiting();
  });
  world.wait(lock, [&] { return isDone; });
}

bool isCurrent(dispatch_queue_t queue) {
  return currentQueue != nullptr && currentQueue == objectOf(queue);
}

bool runMainQueue() {
  Lock lock = World::shared().lock();
  return World::shared().runMainQueue(lock);
}

void setMainQueueObserver(std::function<void()> observer) {
  const Lock lock = World::shared().lock();
  World::shared().setMainObserver(std::move(observer));
}

std::size_t liveObjects() {
  const Lock lock = World::shared().lock();
  return World::shared().countOfMortals();
}

std::size_t waitingTimers() {
  const Lock lock = World::shared().lock();
  return World::shared().waitingTimers();
}

std::vector<std::string> calls() {
  const Lock lock = World::shared().lock();
  return World::shared().calls();
}

void clearCalls() {
  const Lock lock = World::shared().lock();
  World::shared().calls().clear();
}

}  // namespace standin::dispatch

using namespace standin::dispatch;

extern "C" {

const dispatch_source_type_s _dispatch_source_type_timer = {};

void dispatch_retain(dispatch_object_t object) {
  const Lock lock = World::shared().lock();
  Object& retained = World::shared().object(__func__, objectOf(object));
  note(__func__, retained.name);
  ++retained.owners;
  World::retain(retained);
}

void dispatch_release(dispatch_object_t object) {
  const Lock lock = World::shared().lock();
  Object& released = World::shared().object(__func__, objectOf(object));
  note(__func__, released.name);
  const auto* const source = dynamic_cast<const Source*>(&released);
  if (source != nullptr && !source->isActive && source->owners == 1) {
    fail(__func__, "Release of an inactive object");
  }
  if (&released == &World::shared().mainQueue()) return;
  World::shared().letGo(released);
}

void dispatch_activate(dispatch_object_t object) {
  const Lock lock = World::shared().lock();
  Object& activated = World::shared().object(__func__, objectOf(object));
  note(__func__, activated.name);
  auto* const source = dynamic_cast<Source*>(&activated);
  if (source == nullptr || std::exchange(source->isActive, true)) return;
  arm(*source);
}

void dispatch_set_context(dispatch_object_t object, void* context) {
  const Lock lock = World::shared().lock();
  World::shared().object(__func__, objectOf(object)).context = context;
}

void dispatch_set_finalizer_f(dispatch_object_t object, dispatch_function_t finalizer) {
  const Lock lock = World::shared().lock();
  World::shared().object(__func__, objectOf(object)).finalizer = finalizer;
}

dispatch_queue_t dispatch_get_main_queue() {
  return handleOf<dispatch_queue_t>(&World::shared().mainQueue());
}

dispatch_queue_t dispatch_queue_create(const char* label, dispatch_queue_attr_t attributes) {
  const Lock lock = World::shared().lock();
  if (attributes != DISPATCH_QUEUE_SERIAL) fail(__func__, "not a serial queue");
  Queue* const queue = World::shared().makeQueue(label);
  note(__func__, queue->name);
  return handleOf<dispatch_queue_t>(queue);
}

const char* dispatch_queue_get_label(dispatch_queue_t queue) {
  const Lock lock = World::shared().lock();
  return queueOf(__func__, queue).name.c_str();
}

void dispatch_queue_set_specific(dispatch_queue_t queue, const void* key, void* context,
                                 dispatch_function_t destructor) {
  const Lock lock = World::shared().lock();
  if (key == nullptr) fail(__func__, "no key");
  queueOf(__func__, queue).specifics[key] = {context, destructor};
}

void* dispatch_get_specific(const void* key) {
  const Lock lock = World::shared().lock();
  if (currentQueue == nullptr) return nullptr;
  const auto found = currentQueue->specifics.find(key);
  return found == currentQueue->specifics.end() ? nullptr : found->second.context;
}

void dispatch_async_f(dispatch_queue_t queue, void* context, dispatch_function_t work) {
  const Lock lock = World::shared().lock();
  require(__func__, work);
  note(__func__, queueOf(__func__, queue).name);
  World::shared().async(queueOf(__func__, queue), [context, work] { work(context); });
}

void dispatch_after_f(dispatch_time_t when, dispatch_queue_t queue, void* context,
                      dispatch_function_t work) {
  World& world = World::shared();
  const Lock lock = world.lock();
  require(__func__, work);
  Queue& target = queueOf(__func__, queue);
  note(__func__, textOf(when), target.name);
  if (when == DISPATCH_TIME_FOREVER) fail(__func__, "its context would leak");
  const Ticks now = world.now();
  if (startOf(when) <= now) return world.async(target, [context, work] { work(context); });
  World::retain(target);
  const std::uint64_t leeway =
      std::clamp(nanosecondsOf(when - now) / 10, std::uint64_t{leastLeeway}, mostLeeway);
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
    const Ticks later = ticksOf(static_cast<std::uint64_t>(delta));
    return later > lastTick - base ? DISPATCH_TIME_FOREVER : base + later;
  }
  const Ticks earlier = ticksOf(std::uint64_t{0} - static_cast<std::uint64_t>(delta));
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
  return nanosecondsOf(World::shared().now());
}

}  // extern "C"
