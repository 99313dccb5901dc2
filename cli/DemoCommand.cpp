#include "cli/Commands.h"
#include "cli/Interrupt.h"
#include "cli/Output.h"
#include "cli/demo/Demo.h"

#include <algorithm>
#include <chrono>
#include <limits>
#include <memory>
#include <optional>
#include <string>

#include <CLI/CLI.hpp>
#include <poll.h>

namespace tessline::cli {

namespace {

struct DemoOptions {
  bool realTime = false;
  std::optional<std::string> voiceDirectory;
  bool wav = false;
};

// Until the wall clock is as far as the virtual one, or a signal comes.
class RealTime {
 public:
  explicit RealTime(const Interrupt& interrupt) : interrupt_(interrupt) {}

  void waitUntil(platform::QueueTime time) const {
    using std::chrono::milliseconds;
    for (;;) {
      const auto left = std::chrono::ceil<milliseconds>(start_ + time - Clock::now());
      if (left <= milliseconds::zero()) return;
      pollfd waited{interrupt_.descriptor(), POLLIN, 0};
      constexpr std::int64_t longest = std::numeric_limits<int>::max();
      if (::poll(&waited, 1, static_cast<int>(std::min<std::int64_t>(left.count(), longest))) > 0) {
        return;
      }
    }
  }

 private:
  using Clock = std::chrono::steady_clock;

  const Interrupt& interrupt_;
  const Clock::time_point start_ = Clock::now();
};

void runDemo(const DemoOptions& options) {
  std::optional<VoiceFileOptions> voiceFiles;
  if (options.voiceDirectory) voiceFiles = {*options.voiceDirectory, options.wav};
  const Interrupt interrupt;
  Output output = Output::standard();
  Demo demo(output, voiceFiles);
  const RealTime realTime(interrupt);
  demo.play([&](platform::QueueTime time) {
    if (options.realTime) {
      output.flush();
      realTime.waitUntil(time);
    }
    return !interrupt.isPending();
  });
  output.finish();
  interrupt.raisePending();
}

}  // namespace

void addDemoCommand(CLI::App& application) {
  auto options = std::make_shared<DemoOptions>();
  CLI::App* const command = application.add_subcommand(
      "demo",
      "Show all of Tessline at work on a simulated host: three transports, voice, and touches");
  command->add_flag("--realtime", options->realTime,
                    "Show everything when its time has come; it takes 20 seconds");
  auto* const voice = command->add_option("--voice", options->voiceDirectory,
                                          "Write each voice session that comes by Bluetooth LE to "
                                          "DIR, as voice-001.opus and so on (Ogg Opus)");
  voice->type_name("DIR");
  command->add_flag("--wav", options->wav, "With --voice: a .wav of each session, too")
      ->needs(voice);
  command->callback([options] { runDemo(*options); });
}

}  // namespace tessline::cli
