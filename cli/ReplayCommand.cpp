#include "cli/Commands.h"
#include "cli/Errors.h"
#include "cli/Output.h"
#include "cli/replay/Invariants.h"
#include "cli/replay/ObservationWriter.h"
#include "cli/replay/Recording.h"
#include "cli/replay/Replay.h"
#include "cli/replay/plot/TouchPlot.h"

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>
#include <fmt/format.h>

namespace tessline::cli {

namespace {

struct ReplayOptions {
  std::string file;
  bool check = false;
  std::string plot;
};

// Follows a replay: draws what it sees, holds it against the rules, or else writes it.
class Observer {
 public:
  Observer(Output& output, const ReplayOptions& options)
      : output_(output),
        invariants_(options.check ? makeInvariants() : std::vector<std::unique_ptr<Invariant>>()),
        isWriting_(!options.check && options.plot.empty()),
        isPlotting_(!options.plot.empty()) {}

  void observe(platform::QueueTime time, const Observation& observation) {
    if (isWriting_) return writeObservation(time, observation, output_);
    if (isPlotting_) plot_.observe(time, observation);
    std::vector<Violation> violations;
    for (const auto& invariant : invariants_) invariant->observe(time, observation, violations);
    report(violations);
  }

  void finish(platform::QueueTime time) {
    std::vector<Violation> violations;
    for (const auto& invariant : invariants_) invariant->finish(time, violations);
    report(violations);
  }

  std::size_t violationCount() const { return violationCount_; }
  const TouchPlot& plot() const { return plot_; }

 private:
  void report(const std::vector<Violation>& violations) {
    for (const Violation& violation : violations) {
      output_.print("{} s: {}\n", secondsText(violation.time), violation.text);
    }
    violationCount_ += violations.size();
  }

  Output& output_;
  std::vector<std::unique_ptr<Invariant>> invariants_;
  bool isWriting_;
  bool isPlotting_;
  TouchPlot plot_;
  std::size_t violationCount_ = 0;
};

void writePlot(const TouchPlot& plot, const ReplayOptions& options, Output& output) {
  if (plot.isEmpty()) {
    throw InputOutputError(
        fmt::format("there is nothing to plot in {}: it has no touch frames and no clicks",
                    options.file == "-" ? "standard input" : options.file));
  }
  const std::string title = options.file == "-"
                                ? std::string("standard input")
                                : std::filesystem::path(options.file).filename().string();
  if (options.plot == "-") return output.print("{}", drawTouchPlot(plot, title));
  std::ofstream file(options.plot, std::ios::binary);
  if (!file) throwSystemError("open", options.plot, errno);
  file << drawTouchPlot(plot, title);
  file.close();
  if (!file) throwSystemError("write", options.plot, errno);
}

void replay(const ReplayOptions& options) {
  std::ifstream file;
  const bool isStandardInput = options.file == "-";
  if (!isStandardInput) {
    if (std::filesystem::is_directory(options.file)) {
      throwSystemError("read", options.file, EISDIR);
    }
    file.open(options.file, std::ios::binary);
    if (!file) throwSystemError("open", options.file, errno);
  }
  Output output = Output::standard();
  Observer observer(output, options);
  Replay replay([&](platform::QueueTime time, const Observation& observation) {
    observer.observe(time, observation);
  });
  RecordingReader reader(isStandardInput ? std::cin : file);
  std::size_t count = 0;
  try {
    while (const auto record = reader.next()) {
      replay.play(*record);
      ++count;
    }
  } catch (const RecordingError& error) {
    output.finish();
    throw InputOutputError(fmt::format("{}:{}: {}",
                                       isStandardInput ? "standard input" : options.file,
                                       reader.line(), error.what()));
  }
  if (!options.plot.empty()) writePlot(observer.plot(), options, output);
  if (options.check) {
    observer.finish(replay.host()->scheduler().now());
    output.print("{} records, {} violations\n", count, observer.violationCount());
  }
  output.finish();
  if (observer.violationCount() > 0) throw CheckFailed();
}

}  // namespace

void addReplayCommand(CLI::App& application) {
  auto options = std::make_shared<ReplayOptions>();
  CLI::App* const command = application.add_subcommand(
      "replay",
      "Drive the real services from a recording, in virtual time, and write what comes out as JSON "
      "Lines");
  command
      ->add_option("FILE", options->file,
                   "The recording (see docs/recording.md); - is standard input")
      ->required();
  command->add_flag("--check", options->check,
                    "Hold the replay against the rules that every replay keeps, and write what "
                    "breaks them instead; exit code 1 if anything does");
  command
      ->add_option("--plot", options->plot,
                   "Draw the touches, the pointer, the windows, scrolling and the button as a "
                   "picture instead, into this SVG file, or - for standard output; goes together "
                   "with --check")
      ->type_name("FILE.svg");
  command->callback([options] { replay(*options); });
}

}  // namespace tessline::cli
