#include "cli/Commands.h"
#include "cli/Errors.h"
#include "cli/EventJson.h"
#include "cli/FileDescriptor.h"
#include "cli/Interrupt.h"
#include "cli/Output.h"
#include "cli/OutputFormat.h"
#include "cli/TextStyle.h"
#include "cli/voice/VoiceSessionRecorder.h"
#include "tessline/capture/CaptureStatus.h"
#include "tessline/capture/PacketLoggerCaptureService.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <exception>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <CLI/CLI.hpp>
#include <fmt/format.h>
#include <nlohmann/json.hpp>
#include <poll.h>
#include <unistd.h>

namespace tessline::cli {

namespace {

struct ListenOptions {
  std::optional<std::string> tool;
  std::optional<std::string> address;
  OutputFormat format = OutputFormat::text;
  std::optional<std::string> voiceDirectory;
  bool wav = false;
};

// Writes what happens as it happens. All of it on the capture's queue, until it is over.
class LiveWriter {
 public:
  LiveWriter(Output& output, OutputFormat format)
      : output_(output),
        format_(format),
        style_(TextStyle::forOutput(output.isTerminal())),
        start_(std::chrono::steady_clock::now()) {}

  void status(const PacketLoggerCaptureSnapshot& snapshot) {
    if (format_ == OutputFormat::jsonl) {
      output_.print("{}\n", nlohmann::ordered_json({{"time", seconds()},
                                                    {"status", snapshot.status},
                                                    {"isCapturing", snapshot.isCapturing}})
                                .dump(-1, ' ', false, nlohmann::json::error_handler_t::replace));
    } else {
      row(style_.dim, "·", snapshot.status);
    }
    output_.flush();
  }

  void event(const TesslineEvent& event) {
    if (format_ == OutputFormat::jsonl) {
      std::string members;
      appendEventMembers(event, members);
      output_.print("{{\"time\":{:.6f},{}}}\n", seconds(), members);
    } else {
      visitEvent(
          event,
          [&](const RemoteButtonEvent& button) {
            const bool isPress = button.phase == RemoteButtonPhase::pressed;
            row(isPress ? style_.green : style_.dim, isPress ? "▼" : "△",
                fmt::format("{} {}", name(button.command), rawValue(button.phase)));
          },
          [](const RemoteVoiceFrame&) {},
          [&](const VoiceSessionStarted&) { row(style_.magenta, "●", "voice session started"); },
          [](const VoiceSessionEnded&) {});
    }
  }

  void sessionClosed(const VoiceSessionRecord& record) {
    if (format_ == OutputFormat::jsonl) return;
    row(style_.magenta, "■",
        fmt::format("voice session {} {}: {:.2f} s of sound{}", record.number,
                    record.hasEnd ? "ended" : "broke off", record.seconds(),
                    record.opusFile.empty() ? "" : "  " + record.opusFile.filename().native()));
  }

  void flush() { output_.flush(); }

 private:
  double seconds() const {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start_).count();
  }
  void row(std::string_view color, std::string_view symbol, std::string_view text) {
    output_.print("{}{:>9.3f} s{}  {}{} {}{}\n", style_.dim, seconds(), style_.reset, color, symbol,
                  text, style_.reset);
  }

  Output& output_;
  const OutputFormat format_;
  const TextStyle style_;
  const std::chrono::steady_clock::time_point start_;
};

// How a capture is over, to be waited for beside Ctrl-C.
class Finish {
 public:
  Finish() {
    std::array<int, 2> ends{};
    if (::pipe(ends.data()) != 0) throwSystemError("create", "a pipe", errno);
    readable_ = FileDescriptor(ends[0]);
    writable_ = FileDescriptor(ends[1]);
  }

  int descriptor() const { return readable_.get(); }
  void set() { [[maybe_unused]] const ssize_t written = ::write(writable_.get(), "", 1); }

 private:
  FileDescriptor readable_;
  FileDescriptor writable_;
};

// What becomes of a capture. The service's callbacks own it: work of the service that is under way
// when the command lets go of it still calls them, and finds that nobody listens.
class LiveCapture : public std::enable_shared_from_this<LiveCapture> {
 public:
  explicit LiveCapture(const ListenOptions& options)
      : recorder_(options.voiceDirectory
                      ? VoiceSessionRecorder({*options.voiceDirectory, options.wav})
                      : VoiceSessionRecorder()),
        writer_(output_, options.format) {
    recorder_.onSessionClosed = [this](const VoiceSessionRecord& record) {
      writer_.sessionClosed(record);
    };
  }

  void listenTo(PacketLoggerCaptureService& service) {
    service.onSnapshotChanged =
        [self = shared_from_this()](const PacketLoggerCaptureSnapshot& snapshot) {
          self->guarded([&] {
            self->writer_.status(snapshot);
            self->follow(snapshot);
          });
        };
    service.onTransportEvents = [self =
                                     shared_from_this()](const std::vector<TesslineEvent>& events) {
      self->guarded([&] {
        for (const TesslineEvent& event : events) {
          self->writer_.event(event);
          self->recorder_.handle(event);
        }
        self->writer_.flush();
      });
    };
  }

  // Can be read once it is over.
  int descriptor() const { return finish_.descriptor(); }

  // Throws what went wrong on the queue. Nothing is listened to after it.
  void finish() {
    const std::lock_guard lock(mutex_);
    isOver_ = true;
    if (failure_) {
      finishVoiceQuietly();
      std::rethrow_exception(failure_);
    }
    recorder_.finish();
    output_.finish();
  }
  // Whether the tool did not do what it was to do; once that is over.
  bool hasFailed() const { return hasFailed_; }

 private:
  template <class Body>
  void guarded(Body body) {
    const std::lock_guard lock(mutex_);
    if (failure_ || isOver_) return;
    try {
      body();
    } catch (...) {
      failure_ = std::current_exception();
      finish_.set();
    }
  }

  void finishVoiceQuietly() {
    try {
      recorder_.finish();
    } catch (const std::exception&) {
      // The first failure is the one to report.
    }
  }

  // A tool that ends at once does not run any more when its own words are published; the text of
  // its end follows.
  void follow(const PacketLoggerCaptureSnapshot& snapshot) {
    const std::string& status = snapshot.status;
    const bool isStopped = status == captureStatus::stopped;
    const bool isEnded = status == captureStatus::ended(0);
    const bool isFailure = status == captureStatus::notFound ||
                           status.starts_with(captureStatus::couldNotStart) ||
                           status.starts_with(captureStatus::exited);
    if (!isStopped && !isEnded && !isFailure) return;
    isOver_ = true;
    hasFailed_ = isFailure;
    finish_.set();
  }

  std::mutex mutex_;
  Finish finish_;
  Output output_ = Output::standard();
  VoiceSessionRecorder recorder_;
  LiveWriter writer_;
  std::exception_ptr failure_;
  bool isOver_ = false;
  bool hasFailed_ = false;
};

// Waits until one of the two can be read, or for that time if one is given, whatever signals come;
// whether the first can be.
bool waitFor(int descriptor, int other, std::optional<std::chrono::milliseconds> time = {}) {
  using Clock = std::chrono::steady_clock;
  const auto end = Clock::now() + time.value_or(std::chrono::milliseconds(0));
  std::array<pollfd, 2> waited = {{{descriptor, POLLIN, 0}, {other, POLLIN, 0}}};
  int ready = 0;
  do {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now()).count();
    ready = ::poll(waited.data(), waited.size(),
                   time ? static_cast<int>(std::max(left, decltype(left){0})) : -1);
  } while (ready < 0 && errno == EINTR);
  return waited[0].revents != 0;
}

// Stops at the first Ctrl-C. The next one ends the command even if that leads nowhere, because the
// queue waits for an administrator or for somebody to read the output.
void waitForFinish(const LiveCapture& live, PacketLoggerCaptureService& service,
                   Interrupt& interrupt) {
  // Some send their signal twice at once, like timeout(1); as a rule it is over by then.
  constexpr std::chrono::milliseconds patience{200};
  constexpr int nothingElse = -1;
  if (waitFor(live.descriptor(), interrupt.descriptor())) return;
  interrupt.acknowledge();
  service.stopCapture();
  if (waitFor(live.descriptor(), nothingElse, patience)) return;
  if (!waitFor(live.descriptor(), interrupt.descriptor())) interrupt.raisePending();
}

void listenToCapture(const ListenOptions& options) {
  Interrupt interrupt;
  const auto live = std::make_shared<LiveCapture>(options);
  const auto service = PacketLoggerCaptureService::create();
  live->listenTo(*service);
  service->startCapture(options.address, options.tool);
  waitForFinish(*live, *service, interrupt);
  live->finish();
  interrupt.raisePending();
  if (live->hasFailed()) throw CheckFailed();
}

}  // namespace

void addListenCommand(CLI::App& application) {
  auto options = std::make_shared<ListenOptions>();
  CLI::App* const listen =
      application.add_subcommand("listen", "Show what a remote does, live, until Ctrl-C");
  listen->require_subcommand(1);
  CLI::App* const command = listen->add_subcommand(
      "capture", "Through the packetlogger tool: directly as root, else through the helper");
  command->add_option("--tool", options->tool, "The tool; looked for if not given")
      ->type_name("PATH");
  command
      ->add_option("--address", options->address,
                   "The remote's address, to be shown; asked of the system if not given")
      ->type_name("A");
  addFormatOption(*command, options->format);
  auto* const voice = command->add_option(
      "--voice", options->voiceDirectory,
      "Write each voice session to DIR, as voice-001.opus and so on (Ogg Opus)");
  voice->type_name("DIR");
  command->add_flag("--wav", options->wav, "With --voice: a .wav of each session, too")
      ->needs(voice);
  command->callback([options] { listenToCapture(*options); });
}

}  // namespace tessline::cli
