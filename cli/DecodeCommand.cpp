#include "cli/Commands.h"
#include "cli/Errors.h"
#include "cli/Interrupt.h"
#include "cli/Output.h"
#include "cli/OutputFormat.h"
#include "cli/ProgressBar.h"
#include "cli/decode/CaptureReader.h"
#include "cli/decode/DecodePipeline.h"
#include "cli/decode/EventWriter.h"
#include "cli/voice/VoiceSessionRecorder.h"

#include <algorithm>
#include <iterator>
#include <memory>
#include <optional>
#include <string>
#include <thread>

#include <CLI/CLI.hpp>

namespace tessline::cli {

namespace {

struct DecodeOptions {
  std::string file = "-";
  std::optional<std::string> address;
  unsigned threads = 0;
  OutputFormat format = OutputFormat::text;
  bool payloads = false;
  bool summary = false;
  std::optional<std::string> voiceDirectory;
  bool wav = false;
};

// Smaller inputs are done before a bar could be read.
constexpr std::uint64_t progressBarSize = 50'000'000;

std::unique_ptr<EventWriter> makeWriter(const DecodeOptions& options, Output& output) {
  switch (options.format) {
    case OutputFormat::text:
      return options.summary ? makeSummaryWriter(output) : makeTimelineWriter(output);
    case OutputFormat::jsonl:
      return options.summary ? makeJsonSummaryWriter(output) : makeJsonLinesWriter(output);
  }
  return nullptr;
}

// One run of the command.
class DecodeRun {
 public:
  explicit DecodeRun(const DecodeOptions& options)
      : options_(options),
        reader_(options.file, &interrupt_),
        recorder_(options.voiceDirectory
                      ? VoiceSessionRecorder({*options.voiceDirectory, options.wav})
                      : VoiceSessionRecorder()),
        writer_(makeWriter(options, output_)),
        decoder_(options.address) {
    recorder_.onSessionClosed = [this](const VoiceSessionRecord& record) {
      writer_->sessionClosed(record);
    };
    if (reader_.size() && *reader_.size() >= progressBarSize && !output_.isTerminal()) {
      progressBar_.emplace(*reader_.size());
    }
  }

  void run() {
    const unsigned threads =
        options_.threads > 0 ? options_.threads : std::max(1U, std::thread::hardware_concurrency());
    const DecodeSink sink = {.onEvents =
                                 [this](std::uint64_t line, std::span<const TesslineEvent> events) {
                                   for (const TesslineEvent& event : events) take(line, event);
                                 },
                             .onProgress =
                                 [this](const DecodeProgress& progress) {
                                   if (progressBar_) progressBar_->update(progress.bytes);
                                   if (!reader_.size()) output_.flush();
                                 }};
    DecodeTotals totals;
    try {
      totals.input =
          decodeCapture(reader_, options_.payloads ? InputKind::payloads : InputKind::packetLog,
                        threads, decoder_, sink);
    } catch (...) {
      // Whatever stopped us, the sound decoded so far becomes whole files.
      finishVoiceQuietly();
      throw;
    }
    progressBar_.reset();
    recorder_.finish();
    totals.presses = presses_;
    totals.voice = recorder_.totals();
    totals.droppedFrames = decoder_.reportParser().droppedVoiceFrameCount();
    totals.framePendingAtEnd = !decoder_.reportParser().pendingVoiceFrameBytes().empty();
    if (options_.voiceDirectory) totals.voiceDirectory = *options_.voiceDirectory;
    writer_->totals(totals);
    output_.finish();
    reportVoiceLosses(totals);
    interrupt_.raisePending();
  }

 private:
  void take(std::uint64_t line, const TesslineEvent& event) {
    writer_->event(line, event);
    if (const auto* button = std::get_if<RemoteButtonEvent>(&event)) {
      if (button->phase == RemoteButtonPhase::pressed) ++presses_[ordinal(button->command)];
    }
    recorder_.handle(event);
  }

  void finishVoiceQuietly() {
    try {
      recorder_.onSessionClosed = nullptr;
      recorder_.finish();
    } catch (const std::exception&) {
      // The first failure is the one to report.
    }
  }

  // JSON Lines carry events alone, so what the voice files lack is said to the person.
  void reportVoiceLosses(const DecodeTotals& totals) const {
    if (!options_.voiceDirectory || options_.format != OutputFormat::jsonl) return;
    fmt::print(stderr,
               "tessline: {} voice sessions, {:.2f} s of sound, in {}; {} frames dropped as "
               "incomplete\n",
               totals.voice.sessionCount, totals.voice.seconds(), *options_.voiceDirectory,
               totals.droppedFrames);
  }

  const DecodeOptions& options_;
  Interrupt interrupt_;
  Output output_ = Output::standard();
  CaptureReader reader_;
  VoiceSessionRecorder recorder_;
  std::unique_ptr<EventWriter> writer_;
  RecordedRemoteCaptureDecoder decoder_;
  std::optional<ProgressBar> progressBar_;
  std::array<std::uint64_t, remoteCommandCount> presses_ = {};
};

}  // namespace

void addDecodeCommand(CLI::App& application) {
  auto options = std::make_shared<DecodeOptions>();
  CLI::App* const command = application.add_subcommand(
      "decode", "Decode a recorded PacketLogger text capture: buttons, voice sessions, voice");
  command->add_option("FILE", options->file, "The capture; - is standard input")
      ->capture_default_str();
  command->add_option(
      "--address", options->address,
      "Take only packets of the remote with this Bluetooth address, spelt as in the "
      "capture");
  command
      ->add_option("--threads", options->threads,
                   "How many threads decode; as many as the machine has processors if not given")
      ->check(CLI::Range(1U, 256U))
      ->type_name("N");
  addFormatOption(*command, options->format);
  command->add_flag("--payloads", options->payloads,
                    "Each input line is one payload, written as hex text");
  auto* const voice = command->add_option(
      "--voice", options->voiceDirectory,
      "Write each voice session to DIR, as voice-001.opus and so on (Ogg Opus)");
  voice->type_name("DIR");
  command->add_flag("--wav", options->wav, "With --voice: a .wav of each session, too")
      ->needs(voice);
  command->add_flag("--summary", options->summary, "Write totals instead of events");
  command->callback([options] { DecodeRun(*options).run(); });
}

}  // namespace tessline::cli
