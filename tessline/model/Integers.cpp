#include "tessline/model/Integers.h"

#include <cstdio>
#include <cstdlib>

namespace tessline {

std::int32_t truncatedToInt32(double value) {
  // Both limits are exact as doubles; what lies between them has a whole part that fits.
  constexpr double belowSmallest = -2147483649.0;
  constexpr double aboveLargest = 2147483648.0;
  if (value > belowSmallest && value < aboveLargest) return static_cast<std::int32_t>(value);
  std::fprintf(stderr, "tessline: %g does not fit an integer of 32 bits\n", value);
  std::abort();
}

std::int64_t checkedSum(std::int64_t left, std::int64_t right) {
  std::int64_t sum = 0;
  if (!__builtin_add_overflow(left, right, &sum)) return sum;
  std::fputs("tessline: a counter does not fit 64 bits\n", stderr);
  std::abort();
}

}  // namespace tessline
