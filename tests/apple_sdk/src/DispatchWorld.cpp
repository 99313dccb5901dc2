// Objects, and the work of queues.
#include "DispatchWorld.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <thread>
#include <utility>

namespace standin::dispatch {

namespace {

thread_local Queue* currentQueue = nullptr;

}  // namespace

void fail(std::string_view operation, std::string_view what) {
  std::fprintf(stderr, "dispatch: %.*s: %.*s\n", static_cast<int>(operation.size()),
               operation.data(), static_cast<int>(what.size()), what.data());
  std::abort();
}

// Objects.

Queue* World::makeQueue(const char* label) {
  auto* const queue = new Queue(label == nullptr ? "" : label);
  objects_.insert(queue);
  return queue;
}

Source* World::makeSource(Queue& queue) {
  auto* const source = new Source("timer of " + queue.name, queue);
  objects_.insert(source);
  retain(queue);
  return source;
}

Object& World::object(std::string_view operation, const void* handle) {
  auto* const found = static_cast<Object*>(const_cast<void*>(handle));
  if (found == nullptr) fail(operation, "no object");
  if (!objects_.contains(found)) fail(operation, "not an object, or one that is gone");
  if (found->owners == 0) fail(operation, "an object that everyone has let go of");
  return *found;
}

std::size_t World::countOfMortals() const {
  return static_cast<std::size_t>(std::ranges::count_if(objects_, [](const Object* object) {
    const auto* const queue = dynamic_cast<const Queue*>(object);
    return queue == nullptr || !queue->isImmortal;
  }));
}

void World::letGo(Object& object) {
  auto* const source = dynamic_cast<Source*>(&object);
  // Timers of nobody end as if they were cancelled.
  if (--object.owners == 0 && source != nullptr) cancel(*source);
  release(object);
}

void World::release(Object& object) {
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

// Its finalizer runs on a queue of its own or above it, once nothing of it runs.
void World::finish(Queue& queue, const Object& object) {
  if (object.finalizer == nullptr || object.context == nullptr) return;
  async(queue, [finalizer = object.finalizer, context = object.context] { finalizer(context); });
}

// Work.

Queue* World::current() {
  return currentQueue;
}

void World::async(Queue& queue, Piece piece) {
  retain(queue);
  queue.pieces.push_back(std::move(piece));
  if (&queue == &main_) {
    if (mainObserver_) async(root_, mainObserver_);
  } else if (!queue.isRunning && queue.pieces.size() == 1) {
    makeReady(queue);
  }
}

bool World::runMainQueue(Lock& lock) {
  const std::size_t count = main_.pieces.size();
  for (std::size_t piece = 0; piece < count; ++piece) runFirst(lock, main_);
  return count > 0;
}

void World::waitUntilIdle(Lock& lock) {
  changed_.wait(lock, [this] { return ready_.empty() && busyWorkers_ == 0; });
}

void World::makeReady(Queue& queue) {
  ready_.push_back(&queue);
  // One for each queue that can run: work may wait for that of another queue.
  if (ready_.size() > workers_ - busyWorkers_) {
    ++workers_;
    std::thread([this] { work(); }).detach();
  }
  changed_.notify_all();
}

// Gives the lock back while it runs.
void World::runFirst(Lock& lock, Queue& queue) {
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

void World::work() {
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

void World::requireRest(std::string_view operation) const {
  if (!timers_.empty() || !ready_.empty() || busyWorkers_ != 0) {
    fail(operation, "timers wait or work runs");
  }
}

}  // namespace standin::dispatch
