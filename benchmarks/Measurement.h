/// @file
/// What benchmarks do with what they measured, and with what went wrong.
#pragma once

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <exception>
#include <functional>
#include <stdexcept>
#include <string>
#include <system_error>
#include <vector>

#include <benchmark/benchmark.h>

namespace tessline::benchmarks {

/// A clock that is never set.
using Clock = std::chrono::steady_clock;
/// Times as they are counted with.
using Seconds = std::chrono::duration<double>;

/// Throws `otherwise` unless all is well.
inline void require(bool isGood, const std::string& otherwise) {
  if (!isGood) throw std::runtime_error(otherwise);
}

/// Throws for an error number of the system that is not 0.
inline void checkCall(int error, const char* what) {
  if (error != 0) throw std::system_error(error, std::generic_category(), what);
}

/// Runs `body`; what it throws becomes the benchmark's result.
inline void guarded(benchmark::State& state, const std::function<void()>& body) {
  try {
    body();
  } catch (const std::exception& error) {
    state.SkipWithError(error.what());
  }
}

/// The value that so many percent are below; throws without values.
inline double percentile(std::vector<double> values, std::size_t percent) {
  require(!values.empty(), "nothing was measured");
  const auto at = values.begin() + static_cast<std::ptrdiff_t>(
                                       std::min(values.size() - 1, values.size() * percent / 100));
  std::ranges::nth_element(values, at);
  return *at;
}

/// The one in the middle.
inline double median(const std::vector<double>& values) {
  return percentile(values, 50);
}

/// The time from then to now, in seconds.
inline double secondsSince(Clock::time_point start) {
  return Seconds(Clock::now() - start).count();
}

/// Notes the middle and the slowest of a hundred, in microseconds.
inline void countPercentiles(benchmark::State& state, const std::string& name,
                             const std::vector<double>& seconds) {
  state.counters[name + "p50_us"] = percentile(seconds, 50) * 1e6;
  state.counters[name + "p99_us"] = percentile(seconds, 99) * 1e6;
}

}  // namespace tessline::benchmarks
