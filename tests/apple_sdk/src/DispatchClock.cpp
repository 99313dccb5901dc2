#include "DispatchClock.h"

#include <algorithm>
#include <chrono>

#include <dispatch/dispatch.h>

namespace standin::dispatch {

Ticks Clock::now() const {
  if (isManual_) return manualNow_;
  return ticksOf(static_cast<std::uint64_t>(
      std::chrono::nanoseconds(std::chrono::steady_clock::now().time_since_epoch()).count()));
}

// In two parts, as products of large numbers do not fit.
Ticks Clock::ticksOf(std::uint64_t nanoseconds) const {
  return nanoseconds / tick_.numerator * tick_.denominator +
         nanoseconds % tick_.numerator * tick_.denominator / tick_.numerator;
}

std::uint64_t Clock::nanosecondsOf(Ticks ticks) const {
  return ticks / tick_.denominator * tick_.numerator +
         ticks % tick_.denominator * tick_.numerator / tick_.denominator;
}

void Clock::useManual(bool isManual) {
  isManual_ = isManual;
  usesLeeway_ = false;
  setTick(fractionalTick);
}

void Clock::setHasNanosecondTicks(bool has) {
  setTick(has ? nanosecondTick : fractionalTick);
}

Ticks Clock::firing(Ticks due, std::uint64_t leeway) const {
  return usesLeeway_ && isManual_ ? due + ticksOf(leeway) : due;
}

void Clock::passTo(Ticks time) {
  manualNow_ = std::max(manualNow_, time);
}

void Clock::setTick(TickLength length) {
  tick_ = length;
  manualNow_ = startOfManual();
}

// A whole second, and a whole tick.
Ticks Clock::startOfManual() const {
  return ticksOf(NSEC_PER_SEC);
}

}  // namespace standin::dispatch
