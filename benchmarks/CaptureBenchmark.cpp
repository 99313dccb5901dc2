// The live capture, with a tool of our own in the packet logger's place: a child process that the
// service starts as it starts the real one. Peers run in turn with it in the same run: the same
// tool behind a bare posix_spawn and read. "ratio" is ours by the peer's, the median of the pairs.
// Times are wall time, and what the tool itself does is in them on both sides.
//
// BM_CaptureLineToEvent    from the tool's clock just before it writes a line to the callback's
//                          clock; the peer reads in the thread that looks at the clock, where the
//                          service has one thread more to wake, that of its queue
// BM_CaptureLines          a whole stream through the service; the peer is `cat` into a pipe
// BM_CaptureIdle           the processor time of this process while the tool is quiet
// BM_CaptureStartToEvent   from the start to the first callback; the peer's first byte
// BM_CaptureDecodePayload  unpacking the runtime, by the length of the key; the peers are memcpy
//                          into memory that is in use already and, as decoding is, into new memory
#include "benchmarks/CaptureTool.h"
#include "cli/simulate/Melody.h"
#include "cli/simulate/RemoteScenario.h"
#include "cli/simulate/VoicePackets.h"
#include "tessline/capture/CaptureStatus.h"
#include "tessline/capture/PacketLoggerCaptureService.h"
#include "tessline/capture/PacketLoggerInstallation.h"
#include "tessline/packetlog/PacketLogBatch.h"
#include "tests/capture/PackedRuntime.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <mutex>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>
#include <thread>
#include <vector>

#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <fmt/format.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

// Not every system declares it.
extern char** environ;  // NOLINT(readability-redundant-declaration)

namespace {

using namespace tessline;
using benchmarks::ToolClock;
using Seconds = std::chrono::duration<double>;

constexpr std::size_t pieceSize = 65536;

void require(bool isGood, const std::string& otherwise) {
  if (!isGood) throw std::runtime_error(otherwise);
}

void checkCall(int error, const char* what) {
  if (error != 0) throw std::system_error(error, std::generic_category(), what);
}

// What goes wrong becomes the benchmark's result.
void guarded(benchmark::State& state, const std::function<void()>& body) {
  try {
    body();
  } catch (const std::exception& error) {
    state.SkipWithError(error.what());
  }
}

double percentile(std::vector<double> values, std::size_t percent) {
  require(!values.empty(), "nothing was measured");
  const auto at = values.begin() + static_cast<std::ptrdiff_t>(
                                       std::min(values.size() - 1, values.size() * percent / 100));
  std::ranges::nth_element(values, at);
  return *at;
}

double median(const std::vector<double>& values) {
  return percentile(values, 50);
}

double secondsSince(ToolClock::time_point start) {
  return Seconds(ToolClock::now() - start).count();
}

// The time that a line of the tool carries; `byteAt` gives its bytes.
template <class ByteAt>
ToolClock::time_point stampOf(ByteAt byteAt) {
  std::int64_t time = 0;
  for (std::size_t place = 0; place < benchmarks::toolStampSize; ++place) {
    time = time * 16 + byteAt(benchmarks::toolStampOffset + place);
  }
  return ToolClock::time_point(std::chrono::nanoseconds(time));
}

void setTask(const std::string& task) {
  if (::setenv(benchmarks::toolVariable, task.c_str(), 1) != 0) checkCall(errno, "setenv");
}

// The service with the tool. What its callbacks use is theirs to keep, as one that is under way
// when the service is let go of comes to its end.
class Capture {
 public:
  explicit Capture(const std::string& task) {
    require(::geteuid() == 0,
            "needs root: for anybody else the capture goes through the privileged helper");
    setTask(task);
    service_->onSnapshotChanged = [statuses = statuses_](const auto& snapshot) {
      const std::lock_guard lock(statuses->mutex);
      statuses->told.push_back(snapshot.status);
      statuses->changed.notify_all();
    };
  }

  PacketLoggerCaptureService& service() { return *service_; }

  // With an address, for nobody to be asked for one.
  void start() { service_->startCapture(address_, TESSLINE_BENCHMARK_TOOL_PATH); }
  void waitUntilRunning() { waitFor(captureStatus::running(address_)); }
  void waitUntilEnded() { waitFor(captureStatus::ended(0)); }
  void stop() {
    service_->stopCapture();
    waitFor(std::string(captureStatus::stopped));
  }

 private:
  struct Statuses {
    std::mutex mutex;
    std::condition_variable changed;
    std::deque<std::string> told;
  };

  void waitFor(const std::string& status) {
    constexpr std::chrono::seconds longest(60);
    std::unique_lock lock(statuses_->mutex);
    auto& told = statuses_->told;
    while (statuses_->changed.wait_for(lock, longest, [&] { return !told.empty(); })) {
      const std::string next = told.front();
      told.pop_front();
      if (next == status) return;
      require(!next.starts_with(captureStatus::couldNotStart) &&
                  !next.starts_with(captureStatus::exited) && next != captureStatus::ended(0),
              next);
    }
    throw std::runtime_error("the capture did not come to: " + status);
  }

  const std::string address_{cli::defaultRemoteAddress};
  const std::shared_ptr<Statuses> statuses_ = std::make_shared<Statuses>();
  const std::shared_ptr<PacketLoggerCaptureService> service_ = PacketLoggerCaptureService::create();
};

// The tool without the service: spawned with its output in a pipe.
class BareTool {
 public:
  explicit BareTool(const std::string& task) {
    setTask(task);
    std::array<int, 2> ends{};
    if (::pipe(ends.data()) != 0) checkCall(errno, "pipe");
    for (const int end : ends) ::fcntl(end, F_SETFD, FD_CLOEXEC);
    readingEnd_ = ends[0];
    posix_spawn_file_actions_t actions{};
    ::posix_spawn_file_actions_init(&actions);
    ::posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
    std::vector<std::string> arguments = captureStatus::toolArguments();
    arguments.insert(arguments.begin(), TESSLINE_BENCHMARK_TOOL_PATH);
    std::vector<char*> pointers;
    for (std::string& argument : arguments) pointers.push_back(argument.data());
    pointers.push_back(nullptr);
    const int error = ::posix_spawn(&pid_, TESSLINE_BENCHMARK_TOOL_PATH, &actions, nullptr,
                                    pointers.data(), environ);
    ::posix_spawn_file_actions_destroy(&actions);
    ::close(ends[1]);
    if (error != 0) ::close(readingEnd_);
    checkCall(error, TESSLINE_BENCHMARK_TOOL_PATH);
  }
  BareTool(const BareTool&) = delete;
  BareTool& operator=(const BareTool&) = delete;
  ~BareTool() {
    ::close(readingEnd_);
    ::waitpid(pid_, nullptr, 0);
  }

  // One piece; empty at the end.
  std::string_view read() {
    const ssize_t size = ::read(readingEnd_, buffer_.data(), buffer_.size());
    if (size < 0) checkCall(errno, "read");
    return {buffer_.data(), static_cast<std::size_t>(size)};
  }

 private:
  int readingEnd_ = -1;
  pid_t pid_ = 0;
  std::array<char, pieceSize> buffer_{};
};

// Latency.

std::vector<double> secondsToEvents(std::size_t lineCount) {
  struct Seen {
    ToolClock::time_point written;
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
    const ToolClock::time_point now = ToolClock::now();
    for (std::size_t end = 0; (end = piece.find('\n')) != std::string_view::npos;) {
      const ToolClock::time_point written = stampOf([&](std::size_t index) {
        const char digit = piece.at(benchmarks::toolLinePrefixLength + 3 * index + 1);
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

void countPercentiles(benchmark::State& state, const std::string& name,
                      const std::vector<double>& seconds) {
  state.counters[name + "p50_us"] = percentile(seconds, 50) * 1e6;
  state.counters[name + "p99_us"] = percentile(seconds, 99) * 1e6;
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

// Throughput.

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
  const ToolClock::time_point start = ToolClock::now();
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
  const ToolClock::time_point start = ToolClock::now();
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

// Rest.

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
      const ToolClock::time_point start = ToolClock::now();
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

// Start.

double secondsToFirstEvent() {
  const auto first = std::make_shared<ToolClock::time_point>();
  Capture capture("lines 1");
  capture.service().onTransportEvents = [first](const auto&) { *first = ToolClock::now(); };
  const ToolClock::time_point start = ToolClock::now();
  capture.start();
  capture.waitUntilEnded();
  require(*first > start, "the tool's line meant no event");
  return Seconds(*first - start).count();
}

double secondsToFirstByte() {
  const ToolClock::time_point start = ToolClock::now();
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

// The packed runtime.

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
  const ToolClock::time_point start = ToolClock::now();
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
