/// @file
/// What the stand-in's queues count time by.
#pragma once

#include <cstdint>

namespace standin::dispatch {

using Ticks = std::uint64_t;

/// Counts in ticks of the processor, from the host's clock or by hand. Guarded by the lock of
/// everything.
class Clock {
 public:
  bool isManual() const { return isManual_; }
  Ticks now() const;
  /// Both are rounded down.
  Ticks ticksOf(std::uint64_t nanoseconds) const;
  std::uint64_t nanosecondsOf(Ticks ticks) const;

  /// Starts anew, with ticks that are no whole number of nanoseconds, and without leeway.
  void useManual(bool isManual);
  void setHasNanosecondTicks(bool has);
  void setUsesLeeway(bool uses) { usesLeeway_ = uses; }
  /// When a timer fires that is due then.
  Ticks firing(Ticks due, std::uint64_t leeway) const;
  /// By hand; never back.
  void passTo(Ticks time);

 private:
  // How long a tick is, in nanoseconds.
  struct TickLength {
    std::uint64_t numerator;
    std::uint64_t denominator;
  };
  // One kind of processor counts in ticks that are no whole number, the other in nanoseconds.
  static constexpr TickLength fractionalTick = {125, 3};
  static constexpr TickLength nanosecondTick = {1, 1};

  void setTick(TickLength length);
  Ticks startOfManual() const;

  TickLength tick_ = fractionalTick;
  Ticks manualNow_ = startOfManual();
  bool isManual_ = false;
  bool usesLeeway_ = false;
};

}  // namespace standin::dispatch
