/// @file
/// What stands behind the stand-in's queues and timers: everything there is, under one lock.
#pragma once

#include "DispatchClock.h"

#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <mutex>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <dispatch/dispatch.h>

namespace standin::dispatch {

using Piece = std::function<void()>;
using Lock = std::unique_lock<std::mutex>;

/// Says what is wrong with a call, and aborts.
[[noreturn]] void fail(std::string_view operation, std::string_view what);

struct Object {
  explicit Object(std::string nameOfIt) : name(std::move(nameOfIt)) {}
  Object(const Object&) = delete;
  Object& operator=(const Object&) = delete;
  virtual ~Object() = default;

  const std::string name;
  /// Held by code under test, which may use it only then.
  int owners = 1;
  /// Held by those and by the work, timers and sources that need it.
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
  qos_class_t quality = QOS_CLASS_UNSPECIFIED;
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
  /// Counts settings: a timer of an earlier one is void.
  std::uint64_t setting = 0;
};

/// Fires under the lock.
struct Timer {
  Ticks due = 0;
  /// Those that fire together do so in no order that can be relied upon: here the last first.
  std::int64_t order = 0;
  Piece fire;
  /// Whose it is; none for delayed work.
  Source* source = nullptr;

  bool operator<(const Timer& other) const {
    return std::pair(due, order) < std::pair(other.due, other.order);
  }
};

/// Lives as long as the process, as its threads do.
class World {
 public:
  static World& shared() {
    static World& world = *new World;
    return world;
  }

  Lock lock() { return Lock(mutex_); }

  std::vector<std::string>& calls() { return calls_; }

  // Objects.

  Queue* makeQueue(const char* label);
  Source* makeSource(Queue& queue);
  /// The object, which somebody must own.
  Object& object(std::string_view operation, const void* handle);
  template <class Kind>
  Kind& as(std::string_view operation, const void* handle) {
    auto* const found = dynamic_cast<Kind*>(&object(operation, handle));
    if (found == nullptr) fail(operation, "an object of another kind");
    return *found;
  }
  std::size_t countOfMortals() const;

  static void retain(Object& object) { ++object.references; }
  /// On behalf of an owner.
  void letGo(Object& object);
  void release(Object& object);

  // Work.

  Queue& mainQueue() { return main_; }
  void setMainObserver(std::function<void()> observer) { mainObserver_ = std::move(observer); }
  /// What runs on this thread; null for none.
  static Queue* current();

  /// A queue lives as long as it has work.
  void async(Queue& queue, Piece piece);
  /// What it has by now; false if that is nothing.
  bool runMainQueue(Lock& lock);

  void waitUntilIdle(Lock& lock);
  void wait(Lock& lock, const std::function<bool()>& isDone) { changed_.wait(lock, isDone); }
  void wakeWaiting() { changed_.notify_all(); }

  // Time.

  const Clock& clock() const { return clock_; }
  void useManualClock(bool isManual);
  void setHasNanosecondTicks(bool has);
  void setUsesLeeway(bool uses) { clock_.setUsesLeeway(uses); }

  std::size_t waitingTimers() const { return timers_.size(); }
  void at(Ticks due, std::uint64_t leeway, Piece fire, Source* source = nullptr);
  void cancel(Source& source);

  /// Fires what is due until then, each in its turn.
  void advance(Lock& lock, Ticks end);
  bool advanceToNextTimer(Lock& lock);

 private:
  World() { main_.isImmortal = root_.isImmortal = true; }

  void finish(Queue& queue, const Object& object);
  void makeReady(Queue& queue);
  void runFirst(Lock& lock, Queue& queue);
  void work();
  void requireRest(std::string_view operation) const;
  void requireManualClock() const;
  void fireFirst();
  void runTimers();

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

  Clock clock_;
  std::multiset<Timer> timers_;
  std::int64_t nextOrder_ = 0;
  bool hasTimerThread_ = false;
};

// Objects as callers see them.

inline Object* objectOf(const dispatch_object_s* handle) {
  return reinterpret_cast<Object*>(const_cast<dispatch_object_s*>(handle));
}

template <class Handle>
Handle handleOf(Object* object) {
  return reinterpret_cast<Handle>(object);
}

inline Queue& queueOf(std::string_view operation, dispatch_queue_t queue) {
  return World::shared().as<Queue>(operation, objectOf(queue));
}

inline Source& sourceOf(std::string_view operation, dispatch_source_t source) {
  return World::shared().as<Source>(operation, objectOf(source));
}

/// Notes a call, its name first.
template <class... Arguments>
void note(std::string_view operation, const Arguments&... arguments) {
  std::string call(operation);
  ((call += " ", call += arguments), ...);
  World::shared().calls().push_back(std::move(call));
}

template <class Function>
void require(std::string_view operation, Function function) {
  if (function == nullptr) fail(operation, "no function");
}

/// Lets the source's timer wait, if it is to fire at all.
void arm(Source& source);

}  // namespace standin::dispatch
