// The processor time of this process while the tool of a live capture is quiet.
#include "benchmarks/MeasuredCapture.h"
#include "benchmarks/Measurement.h"

#include <cerrno>
#include <chrono>
#include <thread>

#include <benchmark/benchmark.h>
#include <sys/resource.h>

namespace {

using namespace tessline;
using namespace tessline::benchmarks;

rusage usageOfThisProcess() {
  rusage usage{};
  if (::getrusage(RUSAGE_SELF, &usage) != 0) checkCall(errno, "getrusage");
  return usage;
}

double processorMicroseconds(const rusage& usage) {
  const auto of = [](const timeval& time) {
    return static_cast<double>(time.tv_sec) * 1e6 + static_cast<double>(time.tv_usec);
  };
  return of(usage.ru_utime) + of(usage.ru_stime);
}

void BM_CaptureIdle(benchmark::State& state) {
  guarded(state, [&] {
    constexpr std::chrono::milliseconds settling(500);
    constexpr std::chrono::seconds rest(2);
    Capture capture("quiet");
    capture.start();
    capture.waitUntilRunning();
    std::this_thread::sleep_for(settling);
    require(capture.service().snapshot().emittedEventCount > 0, "the tool's line did not come");
    double microseconds = 0;
    double wakeups = 0;
    double seconds = 0;
    for (auto _ : state) {
      const Clock::time_point start = Clock::now();
      const rusage before = usageOfThisProcess();
      std::this_thread::sleep_for(rest);
      const rusage after = usageOfThisProcess();
      microseconds += processorMicroseconds(after) - processorMicroseconds(before);
      wakeups += static_cast<double>(after.ru_nvcsw - before.ru_nvcsw);
      seconds += secondsSince(start);
      state.SetIterationTime(secondsSince(start));
    }
    require(capture.service().snapshot().isCapturing, "the tool did not stay");
    capture.stop();
    state.counters["cpu_us_per_s"] = microseconds / seconds;
    // One of them is the measuring thread's own.
    state.counters["wakeups"] = wakeups;
  });
}
BENCHMARK(BM_CaptureIdle)->UseManualTime()->Iterations(1)->Unit(benchmark::kMillisecond);

}  // namespace
