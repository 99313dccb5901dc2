/// @file
/// Time that moves only when it is told to, and the work that waits for it.
#pragma once

#include "tessline/platform/SerialQueue.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace tessline::platform::simulated {

/// Runs the work of all simulated queues in one thread: by due time, and in the order of the calls
/// where times are equal. The clock starts at 0 and stands still while work runs. Not synchronised.
class VirtualScheduler : public std::enable_shared_from_this<VirtualScheduler> {
 public:
  /// The virtual time now.
  QueueTime now() const { return now_; }

  /// Runs everything that is due within the next `duration`, in order, and moves the clock there.
  void advance(QueueTime duration);

  /// Runs what is due now, and what that hands over for now, without moving the clock.
  void runReady() { advance(QueueTime::zero()); }

  /// When the next piece of work is due; none if none waits.
  std::optional<QueueTime> nextDue() const {
    return pending_.empty() ? std::nullopt : std::optional(pending_.begin()->first.first);
  }

  /// Runs the next piece of work, moving the clock to its time. False if none is left.
  bool runNext();

  /// Forgets all work that waits, and what forgetting it hands over.
  void discardAll();

  /// How many pieces of work wait, timers that are cancelled not counted.
  std::size_t pendingCount() const { return pending_.size(); }

  /// A queue whose work this scheduler runs.
  std::shared_ptr<SerialQueue> makeQueue(std::string_view label);

  /// Whether the work that runs just now belongs to `queue`.
  bool isRunning(const void* queue) const { return running_ == queue; }

  /// The place of a piece of work: its due time, and a number that grows with every call.
  using Ticket = std::pair<QueueTime, std::uint64_t>;

  /// Runs `work` as a part of `queue` when `delay` has passed. `queue` is only compared.
  Ticket schedule(QueueTime delay, const void* queue, Work work);
  /// Forgets work that has not started yet; nothing otherwise.
  void cancel(const Ticket& ticket) { pending_.erase(ticket); }

 private:
  struct Piece {
    const void* queue;
    Work work;
  };

  QueueTime now_{};
  std::uint64_t nextNumber_ = 0;
  std::map<Ticket, Piece> pending_;
  const void* running_ = nullptr;
};

}  // namespace tessline::platform::simulated
