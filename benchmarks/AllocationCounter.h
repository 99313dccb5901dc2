/// @file
/// Counts what a benchmark takes from the heap.
#pragma once

#include <cstdint>

namespace tessline::benchmarks {

/// How often this process has called `operator new` so far.
std::uint64_t allocationCount();

}  // namespace tessline::benchmarks
