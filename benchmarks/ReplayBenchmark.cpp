// How many records a second a replay takes, reading included, output discarded. items_per_second
// are records; beside it, reading the same records without replaying them.
#include "cli/replay/Recording.h"
#include "cli/replay/Replay.h"

#include <cstddef>
#include <cstdint>
#include <sstream>
#include <string>

#include <benchmark/benchmark.h>
#include <fmt/format.h>

namespace {

using namespace tessline;

constexpr int reportCount = 10'000;

std::string recording() {
  std::string text =
      R"({"recording":"tessline","version":1}
{"time":0,"type":"hid.create"}
{"time":0,"type":"hid.startListening"}
{"time":0,"type":"hid.deviceAppeared","device":"a","properties":{"Product":"Siri Remote","VendorID":76,"ProductID":789}}
)";
  for (int report = 0; report < reportCount; ++report) {
    text += fmt::format(
        "{{\"time\":{}.{:03},\"type\":\"hid.report\",\"device\":\"a\",\"reportID\":0,\"bytes\":\"{}"
        "\"}}\n",
        1 + report / 1000, report % 1000, report % 2 == 0 ? "0800" : "0000");
  }
  return text;
}

template <class TakeRecord>
void readAll(benchmark::State& state, TakeRecord takeRecord) {
  const std::string text = recording();
  for (auto _ : state) {
    std::istringstream input(text);
    cli::RecordingReader reader(input);
    takeRecord(reader);
  }
  state.SetItemsProcessed(state.iterations() * reportCount);
}

void BM_ReadRecording(benchmark::State& state) {
  readAll(state, [](cli::RecordingReader& reader) {
    while (const auto record = reader.next()) benchmark::DoNotOptimize(record->time);
  });
}
BENCHMARK(BM_ReadRecording)->Unit(benchmark::kMillisecond);

void BM_ReplayRecording(benchmark::State& state) {
  readAll(state, [](cli::RecordingReader& reader) {
    std::size_t seen = 0;
    cli::Replay replay([&](platform::QueueTime, const cli::Observation&) { ++seen; });
    while (const auto record = reader.next()) replay.play(*record);
    benchmark::DoNotOptimize(seen);
  });
}
BENCHMARK(BM_ReplayRecording)->Unit(benchmark::kMillisecond);

}  // namespace
