#include "tessline/platform/macos/DispatchQueue.h"

#include "tessline/platform/Mutex.h"

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <limits>
#include <map>
#include <string>
#include <type_traits>
#include <utility>

#include <dispatch/dispatch.h>
#include <time.h>

namespace tessline::platform {

namespace {

// The system counts in ticks of up to 42 ns and rounds down, so that what is due might come that
// much early.
constexpr QueueTime roundingAllowance = std::chrono::microseconds(1);
// The least that the system makes of it.
constexpr std::uint64_t noLeeway = 0;

// An object of the system that was created here.
struct Release {
  void operator()(dispatch_object_t object) const { dispatch_release(object); }
};
template <class Object>
using Reference = std::unique_ptr<std::remove_pointer_t<Object>, Release>;

// The clock that `dispatch_time` counts by.
QueueTime now() {
  return QueueTime(clock_gettime_nsec_np(CLOCK_UPTIME_RAW));
}

// Later times are the last one, which no timer reaches.
QueueTime timeAfter(QueueTime time, QueueTime delay) {
  return delay > QueueTime::max() - time ? QueueTime::max() : time + delay;
}

dispatch_time_t timeIn(QueueTime delay) {
  return dispatch_time(DISPATCH_TIME_NOW, timeAfter(delay, roundingAllowance).count());
}

// Due time, then the order of the calls.
using Ticket = std::pair<QueueTime, std::uint64_t>;

// Work that is not due yet. The system fires timers late by a leeway of its own for each, and in no
// order those that are due together; here they only say when to look what is due.
class WaitingWork {
 public:
  Ticket add(QueueTime delay, Work work) TESSLINE_EXCLUDES(mutex_) {
    const MutexLock lock(mutex_);
    // Work that is due already does not overtake what was due before.
    const Ticket ticket = {timeAfter(now(), std::max(delay, QueueTime::zero())), nextNumber_++};
    works_.emplace(ticket, std::move(work));
    return ticket;
  }

  // Lets go of work that has not started yet.
  void forget(const Ticket& ticket) TESSLINE_EXCLUDES(mutex_) {
    // Destroyed last: what it holds may call back.
    decltype(works_)::node_type forgotten;
    const MutexLock lock(mutex_);
    forgotten = works_.extract(ticket);
  }

  // Runs what is due no later than this ticket, one after the other. On the queue.
  void runUntil(const Ticket& ticket) TESSLINE_EXCLUDES(mutex_) {
    while (const auto due = takeFirst(ticket)) due.mapped()();
  }

 private:
  std::map<Ticket, Work>::node_type takeFirst(const Ticket& last) TESSLINE_EXCLUDES(mutex_) {
    const MutexLock lock(mutex_);
    if (works_.empty() || works_.begin()->first > last) return {};
    return works_.extract(works_.begin());
  }

  Mutex mutex_;
  std::map<Ticket, Work> works_ TESSLINE_GUARDED_BY(mutex_);
  std::uint64_t nextNumber_ TESSLINE_GUARDED_BY(mutex_) = 0;
};

// What the system hands back when a ticket is due.
struct WakeUp {
  std::shared_ptr<WaitingWork> waiting;
  Ticket ticket;
};

// Exceptions end the process here, before they reach the system.
void runAndDelete(void* context) noexcept {
  const std::unique_ptr<Work> work(static_cast<Work*>(context));
  (*work)();
}

void wakeUp(void* context) noexcept {
  const auto* const wakeUp = static_cast<const WakeUp*>(context);
  wakeUp->waiting->runUntil(wakeUp->ticket);
}

void deleteWakeUp(void* context) noexcept {
  const std::unique_ptr<WakeUp> deleted(static_cast<WakeUp*>(context));
}

void wakeUpAndDelete(void* context) noexcept {
  wakeUp(context);
  deleteWakeUp(context);
}

class DispatchTimer : public QueueTimer {
 public:
  DispatchTimer(dispatch_queue_t queue, std::shared_ptr<WaitingWork> waiting, QueueTime delay,
                Work work)
      : waiting_(std::move(waiting)), ticket_(waiting_->add(delay, std::move(work))) {
    auto wakeUpHere = std::make_unique<WakeUp>(WakeUp{waiting_, ticket_});
    // Due already: as any work that is handed over.
    if (delay <= QueueTime::zero()) {
      dispatch_async_f(queue, wakeUpHere.release(), &wakeUpAndDelete);
      return;
    }
    source_.reset(dispatch_source_create(DISPATCH_SOURCE_TYPE_TIMER, 0, 0, queue));
    // The system deletes it when it is done with the source, a handler that runs included.
    dispatch_set_context(source_.get(), wakeUpHere.release());
    dispatch_set_finalizer_f(source_.get(), &deleteWakeUp);
    dispatch_source_set_event_handler_f(source_.get(), &wakeUp);
    dispatch_source_set_timer(source_.get(), timeIn(delay), DISPATCH_TIME_FOREVER, noLeeway);
    // At once: a source that never was active must not be released.
    dispatch_activate(source_.get());
  }
  DispatchTimer(const DispatchTimer&) = delete;
  DispatchTimer& operator=(const DispatchTimer&) = delete;
  ~DispatchTimer() override { cancelNow(); }

  void cancel() override { cancelNow(); }

 private:
  void cancelNow() {
    waiting_->forget(ticket_);
    if (source_) dispatch_source_cancel(source_.get());
  }

  const std::shared_ptr<WaitingWork> waiting_;
  const Ticket ticket_;
  Reference<dispatch_source_t> source_;
};

dispatch_queue_attr_t attributesOf(QualityOfService quality) {
  switch (quality) {
    case QualityOfService::unspecified:
      break;
    case QualityOfService::standard:
      return dispatch_queue_attr_make_with_qos_class(DISPATCH_QUEUE_SERIAL, QOS_CLASS_DEFAULT, 0);
  }
  return DISPATCH_QUEUE_SERIAL;
}

class DispatchQueue : public SerialQueue {
 public:
  DispatchQueue(std::string_view label, QualityOfService quality)
      : queue_(dispatch_queue_create(std::string(label).c_str(), attributesOf(quality))) {
    dispatch_queue_set_specific(queue_.get(), &identityKey, queue_.get(), nullptr);
  }

  dispatch_queue_t systemQueue() const { return queue_.get(); }

  std::string_view label() const override { return dispatch_queue_get_label(queue_.get()); }
  void async(Work work) override {
    dispatch_async_f(queue_.get(), std::make_unique<Work>(std::move(work)).release(),
                     &runAndDelete);
  }
  void asyncAfter(QueueTime delay, Work work) override {
    if (delay <= QueueTime::zero()) return async(std::move(work));
    const Ticket ticket = waiting_->add(delay, std::move(work));
    const dispatch_time_t due = timeIn(delay);
    // The system would never hand the context back.
    if (due == DISPATCH_TIME_FOREVER) return waiting_->forget(ticket);
    dispatch_after_f(due, queue_.get(),
                     std::make_unique<WakeUp>(WakeUp{waiting_, ticket}).release(),
                     &wakeUpAndDelete);
  }
  std::unique_ptr<QueueTimer> startTimer(QueueTime delay, Work work) override {
    return std::make_unique<DispatchTimer>(queue_.get(), waiting_, delay, std::move(work));
  }
  bool isCurrent() const override { return dispatch_get_specific(&identityKey) == queue_.get(); }
  QueueTime now() const override { return platform::now(); }

 private:
  // Its address alone counts: under it each queue holds its own.
  static constexpr char identityKey = 0;

  const Reference<dispatch_queue_t> queue_;
  const std::shared_ptr<WaitingWork> waiting_ = std::make_shared<WaitingWork>();
};

}  // namespace

std::shared_ptr<SerialQueue> makeDispatchQueue(std::string_view label, QualityOfService quality) {
  return std::make_shared<DispatchQueue>(label, quality);
}

dispatch_queue_s* dispatchQueueOf(const SerialQueue& queue) {
  return static_cast<const DispatchQueue&>(queue).systemQueue();
}

}  // namespace tessline::platform
