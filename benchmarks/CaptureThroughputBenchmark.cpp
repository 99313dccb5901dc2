// A whole stream through a live capture; the peer, which runs in turn with it, is `cat` of the same
// stream into a pipe that is read to its end. "ratio" is ours by the peer's time, the median of the
// pairs.
#include "benchmarks/MeasuredCapture.h"
#include "benchmarks/Measurement.h"
#include "cli/simulate/Melody.h"
#include "cli/simulate/RemoteScenario.h"
#include "cli/simulate/VoicePackets.h"
#include "tessline/packetlog/PacketLogBatch.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

#include <benchmark/benchmark.h>
#include <fmt/format.h>
#include <unistd.h>

namespace {

using namespace tessline;
using namespace tessline::benchmarks;

// A simulated capture in a file, which is in the page cache then and gone in the end.
class CaptureFile : private cli::SimulatedLineSink {
 public:
  explicit CaptureFile(std::uint64_t size) {
    const cli::VoicePackets voice = cli::VoicePackets::encode(cli::melody());
    cli::RemoteScenario({}, voice, *this).play({.bytes = size});
    std::ofstream(path_, std::ios::binary) << text_;
    require(std::filesystem::file_size(path_) == text_.size(), "cannot write " + path_.native());
  }
  CaptureFile(const CaptureFile&) = delete;
  CaptureFile& operator=(const CaptureFile&) = delete;
  ~CaptureFile() override {
    std::error_code ignored;
    std::filesystem::remove(path_, ignored);
  }

  const std::filesystem::path& path() const { return path_; }
  const std::string& text() const { return text_; }

 private:
  void write(const cli::SimulatedLine& line) override { text_ += line.text; }

  const std::filesystem::path path_ = std::filesystem::temp_directory_path() /
                                      fmt::format("tessline-capture-benchmark-{}", ::getpid());
  std::string text_;
};

// What the service has to find in a stream.
struct StreamContent {
  std::int64_t packets;
  std::size_t bytes;
};

double secondsToIngest(const std::string& task, const StreamContent& content) {
  const auto events = std::make_shared<std::int64_t>(0);
  Capture capture(task);
  capture.service().onTransportEvents = [events](const auto& all) {
    *events += static_cast<std::int64_t>(all.size());
  };
  const Clock::time_point start = Clock::now();
  capture.start();
  capture.waitUntilEnded();
  const double seconds = secondsSince(start);
  const PacketLoggerCaptureSnapshot snapshot = capture.service().snapshot();
  require(snapshot.parsedPacketCount == content.packets,
          fmt::format("{} packets of {}", snapshot.parsedPacketCount, content.packets));
  require(*events > 0 && *events == snapshot.emittedEventCount, "events were lost");
  return seconds;
}

double secondsToReadBare(const std::string& task, const StreamContent& content) {
  const Clock::time_point start = Clock::now();
  BareTool tool(task);
  std::size_t bytes = 0;
  for (std::string_view piece = tool.read(); !piece.empty(); piece = tool.read()) {
    bytes += piece.size();
  }
  const double seconds = secondsSince(start);
  require(bytes == content.bytes, fmt::format("{} bytes of {}", bytes, content.bytes));
  return seconds;
}

void BM_CaptureLines(benchmark::State& state) {
  guarded(state, [&] {
    const CaptureFile file(std::uint64_t{64} << 20);
    PacketLogBatch batch;
    batch.read(file.text(), {});
    const StreamContent content{static_cast<std::int64_t>(batch.size()), file.text().size()};
    const auto lines = static_cast<double>(batch.counts().lines);
    const std::string task = "cat " + file.path().native();
    std::vector<double> ours;
    std::vector<double> peers;
    std::vector<double> ratios;
    for (auto _ : state) {
      ours.push_back(secondsToIngest(task, content));
      peers.push_back(secondsToReadBare(task, content));
      ratios.push_back(ours.back() / peers.back());
      state.SetIterationTime(ours.back());
    }
    state.counters["lines_per_s"] = lines / median(ours);
    state.counters["cat_lines_per_s"] = lines / median(peers);
    state.counters["ratio"] = median(ratios);
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(content.bytes));
  });
}
BENCHMARK(BM_CaptureLines)->UseManualTime()->Iterations(11)->Unit(benchmark::kMillisecond);

}  // namespace
