/// @file
/// Counts what a benchmark takes from the heap.
#pragma once

#include <cstdint>

namespace tessline::benchmarks {

/// How often this process has called `operator new` so far.
std::uint64_t allocationCount();

/// How many bytes it has asked for and not given back.
std::int64_t allocatedBytes();

}  // namespace tessline::benchmarks
