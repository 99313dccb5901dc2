#include "tessline/platform/simulated/VirtualScheduler.h"

#include <algorithm>

namespace tessline::platform::simulated {

namespace {

class VirtualTimer : public QueueTimer {
 public:
  VirtualTimer(std::weak_ptr<VirtualScheduler> scheduler, VirtualScheduler::Ticket ticket)
      : scheduler_(std::move(scheduler)), ticket_(ticket) {}
  VirtualTimer(const VirtualTimer&) = delete;
  VirtualTimer& operator=(const VirtualTimer&) = delete;
  ~VirtualTimer() override { cancelNow(); }

  void cancel() override { cancelNow(); }

 private:
  void cancelNow() {
    if (const auto scheduler = scheduler_.lock()) scheduler->cancel(ticket_);
  }

  std::weak_ptr<VirtualScheduler> scheduler_;
  VirtualScheduler::Ticket ticket_;
};

class VirtualQueue : public SerialQueue {
 public:
  VirtualQueue(std::shared_ptr<VirtualScheduler> scheduler, std::string_view label)
      : scheduler_(std::move(scheduler)), label_(label) {}

  std::string_view label() const override { return label_; }
  void async(Work work) override { asyncAfter(QueueTime::zero(), std::move(work)); }
  void asyncAfter(QueueTime delay, Work work) override {
    scheduler_->schedule(delay, this, std::move(work));
  }
  std::unique_ptr<QueueTimer> startTimer(QueueTime delay, Work work) override {
    return std::make_unique<VirtualTimer>(scheduler_,
                                          scheduler_->schedule(delay, this, std::move(work)));
  }
  bool isCurrent() const override { return scheduler_->isRunning(this); }
  QueueTime now() const override { return scheduler_->now(); }

 private:
  std::shared_ptr<VirtualScheduler> scheduler_;
  std::string label_;
};

}  // namespace

VirtualScheduler::Ticket VirtualScheduler::schedule(QueueTime delay, const void* queue, Work work) {
  const Ticket ticket(now_ + std::max(delay, QueueTime::zero()), nextNumber_++);
  pending_.emplace(ticket, Piece{queue, std::move(work)});
  return ticket;
}

bool VirtualScheduler::runNext() {
  if (pending_.empty()) return false;
  const auto next = pending_.extract(pending_.begin());
  now_ = next.key().first;
  const void* const outer = std::exchange(running_, next.mapped().queue);
  next.mapped().work();
  running_ = outer;
  return true;
}

void VirtualScheduler::advance(QueueTime duration) {
  const QueueTime end = now_ + std::max(duration, QueueTime::zero());
  while (!pending_.empty() && pending_.begin()->first.first <= end) runNext();
  now_ = std::max(now_, end);
}

void VirtualScheduler::discardAll() {
  while (!pending_.empty()) const auto discarded = std::exchange(pending_, {});
}

std::shared_ptr<SerialQueue> VirtualScheduler::makeQueue(std::string_view label) {
  return std::make_shared<VirtualQueue>(shared_from_this(), label);
}

}  // namespace tessline::platform::simulated
