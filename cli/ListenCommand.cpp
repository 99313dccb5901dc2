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

#include <array>
#include <cerrno>
#include <chrono>
#include <condition_variable>
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

// One run of `listen capture`.
class CaptureListener {
 public:
  explicit CaptureListener(const ListenOptions& options)
      : options_(options),
        recorder_(options.voiceDirectory
                      ? VoiceSessionRecorder({*options.voiceDirectory, options.wav})
                      : VoiceSessionRecorder()),
        writer_(output_, options.format) {
    recorder_.onSessionClosed = [this](const VoiceSessionRecord& record) {
      writer_.sessionClosed(record);
    };
    service_->onSnapshotChanged = [this](const PacketLoggerCaptureSnapshot& snapshot) {
      guarded([&] {
        writer_.status(snapshot);
        follow(snapshot);
      });
    };
    service_->onTransportEvents = [this](const std::vector<TesslineEvent>& events) {
      guarded([&] {
        for (const TesslineEvent& event : events) {
          writer_.event(event);
          recorder_.handle(event);
        }
        writer_.flush();
      });
    };
  }

  void run() {
    service_->startCapture(options_.address, options_.tool);
    waitForFinish();
    if (interrupt_.isPending()) {
      service_->stopCapture();
      waitForStop();
    }
    const std::lock_guard lock(mutex_);
    if (failure_) std::rethrow_exception(failure_);
    recorder_.finish();
    output_.finish();
    interrupt_.raisePending();
    if (hasFailed_) throw CheckFailed();
  }

 private:
  // What goes wrong on the queue is thrown by `run`.
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
    stopped_.notify_all();
  }

  void waitForFinish() {
    std::array<pollfd, 2> waited = {
        {{interrupt_.descriptor(), POLLIN, 0}, {finish_.descriptor(), POLLIN, 0}}};
    while (::poll(waited.data(), waited.size(), -1) < 0 && errno == EINTR) {
    }
  }

  void waitForStop() {
    std::unique_lock lock(mutex_);
    stopped_.wait(lock, [this] { return isOver_ || failure_; });
  }

  const ListenOptions& options_;
  Interrupt interrupt_;
  Finish finish_;
  std::mutex mutex_;
  std::condition_variable stopped_;
  Output output_ = Output::standard();
  VoiceSessionRecorder recorder_;
  LiveWriter writer_;
  std::exception_ptr failure_;
  bool isOver_ = false;
  bool hasFailed_ = false;
  // The last member: its end stops the callbacks.
  std::shared_ptr<PacketLoggerCaptureService> service_ = PacketLoggerCaptureService::create();
};

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
  command->callback([options] { CaptureListener(*options).run(); });
}

}  // namespace tessline::cli
