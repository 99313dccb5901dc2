/// @file
/// Arithmetic that must not go wrong.
#pragma once

#include <cstdint>

namespace tessline {

/// The number without its fraction. Ends the process, with a line on standard error, if that does
/// not fit 32 bits or `value` is no number: whoever asks has lost track of what is being measured,
/// and no result would be right.
std::int32_t truncatedToInt32(double value);

/// The sum. Ends the process, with a line on standard error, if that does not fit 64 bits: a
/// counter that starts over would lie.
std::int64_t checkedSum(std::int64_t left, std::int64_t right);

}  // namespace tessline
