// How long a live capture keeps one waiting, with a tool of our own in the packet logger's place: a
// child process that the service starts as it starts the real one. Peers run in turn with it in the
// same run: the same tool behind a bare posix_spawn and read. "ratio" is ours by the peer's, the
// median of the pairs. Times are wall time, and what the tool itself does is in them on both sides.
//
// BM_CaptureLineToEvent   from the tool's clock just before it writes a line to the callback's
//                         clock; the peer reads in the thread that looks at the clock, where the
//                         service has one thread more to wake, that of its queue
// BM_CaptureStartToEvent  from the start to the first callback; the peer's first byte
#include "benchmarks/CaptureTool.h"
#include "benchmarks/MeasuredCapture.h"
#include "benchmarks/Measurement.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>
#include <vector>

#include <benchmark/benchmark.h>
#include <fmt/format.h>

namespace {

using namespace tessline;
using namespace tessline::benchmarks;

// The time that a line of the tool carries; `byteAt` gives its bytes.
template <class ByteAt>
Clock::time_point stampOf(ByteAt byteAt) {
  std::int64_t time = 0;
  for (std::size_t place = 0; place < toolStampSize; ++place) {
    time = time * 16 + byteAt(toolStampOffset + place);
  }
  return Clock::time_point(std::chrono::nanoseconds(time));
}

std::vector<double> secondsToEvents(std::size_t lineCount) {
  struct Seen {
    Clock::time_point written;
    std::vector<double> seconds;
  };
  const auto seen = std::make_shared<Seen>();
  seen->seconds.reserve(lineCount);
  Capture capture(fmt::format("lines {}", lineCount));
  capture.service().onRawPayload = [seen](const std::vector<std::uint8_t>& payload) {
    seen->written = stampOf([&](std::size_t index) { return payload.at(index); });
  };
  capture.service().onTransportEvents = [seen](const auto&) {
    seen->seconds.push_back(secondsSince(seen->written));
  };
  capture.start();
  capture.waitUntilEnded();
  require(seen->seconds.size() == lineCount,
          fmt::format("{} lines of {} meant an event", seen->seconds.size(), lineCount));
  return seen->seconds;
}

// A piece may hold more than one line when this process was late.
std::vector<double> secondsToBareReads(std::size_t lineCount) {
  std::vector<double> seconds;
  BareTool tool(fmt::format("lines {}", lineCount));
  for (std::string_view piece = tool.read(); !piece.empty(); piece = tool.read()) {
    const Clock::time_point now = Clock::now();
    for (std::size_t end = 0; (end = piece.find('\n')) != std::string_view::npos;) {
      const Clock::time_point written = stampOf([&](std::size_t index) {
        const char digit = piece.at(toolLinePrefixLength + 3 * index + 1);
        return digit <= '9' ? digit - '0' : digit - 'A' + 10;
      });
      seconds.push_back(Seconds(now - written).count());
      piece.remove_prefix(end + 1);
    }
  }
  require(seconds.size() == lineCount,
          fmt::format("read {} lines of {}", seconds.size(), lineCount));
  return seconds;
}

void BM_CaptureLineToEvent(benchmark::State& state) {
  guarded(state, [&] {
    constexpr std::size_t lineCount = 500;
    std::vector<double> ours;
    std::vector<double> peers;
    std::vector<double> ratios;
    for (auto _ : state) {
      const std::vector<double> our = secondsToEvents(lineCount);
      const std::vector<double> peer = secondsToBareReads(lineCount);
      ours.insert(ours.end(), our.begin(), our.end());
      peers.insert(peers.end(), peer.begin(), peer.end());
      ratios.push_back(median(our) / median(peer));
      state.SetIterationTime(median(our));
    }
    countPercentiles(state, "", ours);
    countPercentiles(state, "read_", peers);
    state.counters["ratio"] = median(ratios);
  });
}
BENCHMARK(BM_CaptureLineToEvent)->UseManualTime()->Iterations(6)->Unit(benchmark::kMicrosecond);

double secondsToFirstEvent() {
  const auto first = std::make_shared<Clock::time_point>();
  Capture capture("lines 1");
  capture.service().onTransportEvents = [first](const auto&) { *first = Clock::now(); };
  const Clock::time_point start = Clock::now();
  capture.start();
  capture.waitUntilEnded();
  require(*first > start, "the tool's line meant no event");
  return Seconds(*first - start).count();
}

double secondsToFirstByte() {
  const Clock::time_point start = Clock::now();
  BareTool tool("lines 1");
  require(!tool.read().empty(), "the tool wrote nothing");
  return secondsSince(start);
}

void BM_CaptureStartToEvent(benchmark::State& state) {
  guarded(state, [&] {
    // The first of a process makes its threads.
    secondsToFirstEvent();
    std::vector<double> ours;
    std::vector<double> peers;
    std::vector<double> ratios;
    for (auto _ : state) {
      ours.push_back(secondsToFirstEvent());
      peers.push_back(secondsToFirstByte());
      ratios.push_back(ours.back() / peers.back());
      state.SetIterationTime(ours.back());
    }
    countPercentiles(state, "", ours);
    countPercentiles(state, "spawn_", peers);
    state.counters["ratio"] = median(ratios);
  });
}
BENCHMARK(BM_CaptureStartToEvent)->UseManualTime()->Iterations(300)->Unit(benchmark::kMicrosecond);

}  // namespace
