// Decoding the packed runtime, by the length of the key. The peers are memcpy into memory that is
// in use already ("ratio") and, as decoding is, into new memory ("ratio_new").
#include "benchmarks/Measurement.h"
#include "tessline/capture/PacketLoggerInstallation.h"
#include "tests/capture/PackedRuntime.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <span>
#include <vector>

#include <benchmark/benchmark.h>

namespace {

using namespace tessline;
using namespace tessline::benchmarks;

test::PackedRuntime packedRuntime(std::size_t keyLength, std::size_t size) {
  test::PackedRuntime runtime;
  runtime.key.resize(keyLength);
  for (std::size_t index = 0; index < keyLength; ++index) {
    runtime.key[index] = static_cast<std::uint8_t>(index * 37 + 11);
  }
  runtime.archive.resize(size, 0xA5);
  runtime.archive[0] = 'P';
  runtime.archive[1] = 'K';
  return runtime;
}

template <class Body>
double secondsOf(Body body) {
  const Clock::time_point start = Clock::now();
  body();
  return secondsSince(start);
}

void BM_CaptureDecodePayload(benchmark::State& state) {
  guarded(state, [&] {
    constexpr std::size_t size = std::size_t{64} << 20;
    const test::PackedRuntime runtime =
        packedRuntime(static_cast<std::size_t>(state.range(0)), size);
    const std::vector<std::uint8_t> packed = runtime.packed();
    const std::span<const std::uint8_t> body = std::span(packed).last(size);
    require(PacketLoggerInstallation::decodePayload(packed) == runtime.archive,
            "the archive did not come out");
    std::vector<std::uint8_t> used(size);
    std::vector<double> ours;
    std::vector<double> copies;
    std::vector<double> ratios;
    std::vector<double> newRatios;
    for (auto _ : state) {
      ours.push_back(secondsOf([&] {
        const auto archive = PacketLoggerInstallation::decodePayload(packed);
        benchmark::DoNotOptimize(archive.data());
      }));
      copies.push_back(secondsOf([&] {
        std::memcpy(used.data(), body.data(), size);
        benchmark::DoNotOptimize(used.data());
        benchmark::ClobberMemory();
      }));
      const double newCopy = secondsOf([&] {
        const auto fresh = std::make_unique_for_overwrite<std::uint8_t[]>(size);
        std::memcpy(fresh.get(), body.data(), size);
        benchmark::DoNotOptimize(fresh.get());
        benchmark::ClobberMemory();
      });
      ratios.push_back(ours.back() / copies.back());
      newRatios.push_back(ours.back() / newCopy);
      state.SetIterationTime(ours.back());
    }
    state.counters["GB_per_s"] = static_cast<double>(size) / median(ours) / 1e9;
    state.counters["memcpy_GB_per_s"] = static_cast<double>(size) / median(copies) / 1e9;
    state.counters["ratio"] = median(ratios);
    state.counters["ratio_new"] = median(newRatios);
  });
}
BENCHMARK(BM_CaptureDecodePayload)
    ->ArgName("key")
    ->Arg(1)
    ->Arg(7)
    ->Arg(16)
    ->Arg(255)
    ->Arg(4096)
    ->Arg(65535)
    ->UseManualTime()
    ->Iterations(15)
    ->Unit(benchmark::kMillisecond);

}  // namespace
