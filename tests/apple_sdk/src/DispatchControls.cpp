// What tests do to queues and their clock.
#include "DispatchWorld.h"

#include <standin/dispatch.h>

namespace standin::dispatch {

void useManualClock(bool isManual) {
  const Lock lock = World::shared().lock();
  World::shared().useManualClock(isManual);
}

void advance(std::chrono::nanoseconds duration) {
  Lock lock = World::shared().lock();
  const Clock& clock = World::shared().clock();
  World::shared().advance(
      lock, clock.now() + clock.ticksOf(static_cast<std::uint64_t>(duration.count())));
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
  return queue != nullptr && World::current() == objectOf(queue);
}

qos_class_t qualityOf(dispatch_queue_t queue) {
  const Lock lock = World::shared().lock();
  return queueOf(__func__, queue).quality;
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
