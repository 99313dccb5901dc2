#include "tessline/platform/linux/StrandQueue.h"

#include "tessline/platform/linux/WorkerPool.h"

#include <atomic>
#include <chrono>
#include <cstdint>
#include <limits>
#include <map>
#include <string>
#include <utility>

#include <asio/bind_executor.hpp>
#include <asio/post.hpp>
#include <asio/steady_timer.hpp>
#include <asio/strand.hpp>

namespace tessline::platform {

namespace {

using Clock = std::chrono::steady_clock;

// Due time, then the order of the calls.
using Ticket = std::pair<Clock::time_point, std::uint64_t>;

Clock::time_point dueTime(QueueTime delay) {
  const Clock::time_point now = Clock::now();
  return delay > Clock::time_point::max() - now ? Clock::time_point::max() : now + delay;
}

// What outlives the queue while work waits. All but `nextNumber` belongs to the strand.
class Strand : public std::enable_shared_from_this<Strand> {
 public:
  Strand() : executor_(asio::make_strand(WorkerPool::shared().context())), timer_(executor_) {}

  bool isRunningHere() const { return executor_.running_in_this_thread(); }

  void post(Work work) {
    asio::post(executor_, [self = shared_from_this(), work = std::move(work)] { work(); });
  }

  Ticket reserve(QueueTime delay) { return {dueTime(delay), nextNumber_++}; }

  void postAt(const Ticket& ticket, Work work) {
    post([this, ticket, work = std::move(work)]() mutable {
      waiting_.emplace(ticket, std::move(work));
      if (waiting_.begin()->first == ticket) waitForFirst();
    });
  }

  // Lets go of work that has not started yet.
  void forget(const Ticket& ticket) {
    post([this, ticket] { waiting_.erase(ticket); });
  }

 private:
  void waitForFirst() {
    timer_.expires_at(waiting_.begin()->first.first);
    timer_.async_wait(
        asio::bind_executor(executor_, [self = shared_from_this()](const asio::error_code& error) {
          if (!error) self->runDue();
        }));
  }

  void runDue() {
    const Clock::time_point now = Clock::now();
    while (!waiting_.empty() && waiting_.begin()->first.first <= now) {
      const auto first = waiting_.extract(waiting_.begin());
      first.mapped()();
    }
    if (!waiting_.empty()) waitForFirst();
  }

  asio::strand<asio::io_context::executor_type> executor_;
  asio::steady_timer timer_;
  std::map<Ticket, Work> waiting_;
  std::atomic<std::uint64_t> nextNumber_{0};
};

class StrandTimer : public QueueTimer {
 public:
  StrandTimer(std::shared_ptr<Strand> strand, QueueTime delay, Work work)
      : strand_(std::move(strand)), ticket_(strand_->reserve(delay)) {
    Work unlessCancelled = [isCancelled = isCancelled_, work = std::move(work)] {
      if (!isCancelled->load()) work();
    };
    // Due already: as any work that is handed over.
    if (delay <= QueueTime::zero()) {
      strand_->post(std::move(unlessCancelled));
    } else {
      strand_->postAt(ticket_, std::move(unlessCancelled));
    }
  }
  StrandTimer(const StrandTimer&) = delete;
  StrandTimer& operator=(const StrandTimer&) = delete;
  ~StrandTimer() override { cancelNow(); }

  void cancel() override { cancelNow(); }

 private:
  void cancelNow() {
    if (!isCancelled_->exchange(true)) strand_->forget(ticket_);
  }

  std::shared_ptr<Strand> strand_;
  Ticket ticket_;
  std::shared_ptr<std::atomic<bool>> isCancelled_ = std::make_shared<std::atomic<bool>>(false);
};

class StrandQueue : public SerialQueue {
 public:
  explicit StrandQueue(std::string_view label) : label_(label) {}

  std::string_view label() const override { return label_; }
  void async(Work work) override { strand_->post(std::move(work)); }
  void asyncAfter(QueueTime delay, Work work) override {
    if (delay <= QueueTime::zero()) return async(std::move(work));
    strand_->postAt(strand_->reserve(delay), std::move(work));
  }
  std::unique_ptr<QueueTimer> startTimer(QueueTime delay, Work work) override {
    return std::make_unique<StrandTimer>(strand_, delay, std::move(work));
  }
  bool isCurrent() const override { return strand_->isRunningHere(); }
  QueueTime now() const override { return Clock::now().time_since_epoch(); }

 private:
  const std::string label_;
  const std::shared_ptr<Strand> strand_ = std::make_shared<Strand>();
};

}  // namespace

std::shared_ptr<SerialQueue> makeStrandQueue(std::string_view label) {
  return std::make_shared<StrandQueue>(label);
}

}  // namespace tessline::platform
