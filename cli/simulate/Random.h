/// @file
/// The simulation's source of chance.
#pragma once

#include <cstddef>
#include <cstdint>

namespace tessline::cli {

/// A small generator (SplitMix64) whose numbers depend on the seed alone, on every platform and
/// with every standard library. Not for secrets. A value; copies go on independently.
class Random {
 public:
  explicit Random(std::uint64_t seed) : state_(seed) {}

  std::uint64_t next() {
    state_ += 0x9E3779B97F4A7C15U;
    std::uint64_t mixed = state_;
    mixed = (mixed ^ (mixed >> 30U)) * 0xBF58476D1CE4E5B9U;
    mixed = (mixed ^ (mixed >> 27U)) * 0x94D049BB133111EBU;
    return mixed ^ (mixed >> 31U);
  }

  /// A number from 0 to `bound` - 1; `bound` is at least 1.
  std::uint32_t below(std::uint32_t bound) {
    return static_cast<std::uint32_t>(((next() >> 32U) * bound) >> 32U);
  }

  /// A number from `least` to `most`, both included.
  std::uint32_t between(std::uint32_t least, std::uint32_t most) {
    return least + below(most - least + 1);
  }

  /// True once in `count` times on average.
  bool oneIn(std::uint32_t count) { return below(count) == 0; }

  /// An element of a container that is not empty and has random access.
  template <class Container>
  const auto& pick(const Container& container) {
    return container[static_cast<std::size_t>(below(static_cast<std::uint32_t>(container.size())))];
  }

 private:
  std::uint64_t state_;
};

}  // namespace tessline::cli
