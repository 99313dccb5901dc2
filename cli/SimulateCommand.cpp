#include "cli/Commands.h"
#include "cli/Errors.h"
#include "cli/Output.h"
#include "cli/simulate/CaptureStream.h"
#include "cli/simulate/Melody.h"
#include "cli/simulate/RemoteScenario.h"
#include "cli/simulate/VoicePackets.h"
#include "cli/voice/WavFile.h"

#include <cctype>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include <CLI/CLI.hpp>
#include <fmt/format.h>

namespace tessline::cli {

namespace {

struct SimulateOptions {
  std::uint64_t seed = 1;
  double seconds = 30;
  std::optional<std::uint64_t> bytes;
  bool realTime = false;
  std::optional<std::string> speech;
  std::string address{defaultRemoteAddress};
};

constexpr double longestSeconds = 1e9;

bool isAddress(std::string_view text) {
  constexpr std::size_t length = placeholderAddress.size();
  constexpr std::size_t groupLength = 3;
  if (text.size() != length) return false;
  for (std::size_t place = 0; place < length; ++place) {
    const bool isColon = text[place] == ':';
    const bool isDigit = std::isxdigit(static_cast<unsigned char>(text[place])) != 0;
    if (place % groupLength == groupLength - 1 ? !isColon : !isDigit) return false;
  }
  return true;
}

std::string checkAddress(const std::string& text) {
  if (isAddress(text)) return {};
  return fmt::format("{} is no Bluetooth address like {}", text, defaultRemoteAddress);
}

std::string checkSeconds(const std::string& text) {
  double seconds = 0;
  // Written so that "nan" is refused, too.
  const bool isGood =
      CLI::detail::lexical_cast(text, seconds) && seconds >= 0 && seconds <= longestSeconds;
  if (isGood) return {};
  return fmt::format("{} is no number of seconds from 0 to {:.0f}", text, longestSeconds);
}

// The conversion to an unsigned number takes a sign and wraps around.
std::string checkNotNegative(const std::string& text) {
  if (text.find('-') == std::string::npos) return {};
  return text + " is below 0";
}

VoicePackets voicePackets(const std::optional<std::string>& speechFile) {
  if (!speechFile) return VoicePackets::encode(melody());
  VoicePackets packets = VoicePackets::encode(readWav(*speechFile));
  if (packets.size() == 0) throw InputOutputError(*speechFile + " holds no sound");
  return packets;
}

ScenarioLimit limit(const SimulateOptions& options) {
  if (options.bytes) return {.bytes = *options.bytes};
  return {.duration = std::chrono::duration_cast<SimulatedTime>(
              std::chrono::duration<double>(options.seconds))};
}

void simulate(const SimulateOptions& options) {
  const VoicePackets voice = voicePackets(options.speech);
  Output output = Output::standard();
  CaptureStream stream(output, options.realTime ? CaptureStream::realTime() : nullptr);
  RemoteScenario scenario({.seed = options.seed,
                           .remoteAddress = options.address,
                           .sessionsAreWhole = options.speech.has_value()},
                          voice, stream);
  scenario.play(limit(options));
  output.finish();
}

}  // namespace

void addSimulateCommand(CLI::App& application) {
  auto options = std::make_shared<SimulateOptions>();
  CLI::App* const command = application.add_subcommand(
      "simulate",
      "Write a PacketLogger text capture of a remote in use: buttons, voice sessions, and the "
      "traffic around them");
  command->add_option("--seed", options->seed, "Another number, another course of events")
      ->check(CLI::Validator(checkNotNegative, ""))
      ->type_name("N")
      ->capture_default_str();
  auto* const duration =
      command
          ->add_option("--duration", options->seconds,
                       "How much time to simulate; what is under way then is still finished. The "
                       "first 25 seconds show every button and voice session in every form")
          ->check(CLI::Validator(checkSeconds, ""))
          ->type_name("SECONDS")
          ->capture_default_str();
  command
      ->add_option("--bytes", options->bytes,
                   "Write at least this much instead; K, M and G count in powers of 1024")
      ->transform(CLI::Validator(CLI::AsSizeValue(false)).description(""))
      ->check(CLI::Validator(checkNotNegative, ""))
      ->type_name("N")
      ->excludes(duration);
  command->add_flag("--realtime", options->realTime, "Write every line when its time has come");
  command
      ->add_option("--speech", options->speech,
                   "What every voice session carries, whole, instead of parts of a melody: a WAV "
                   "file, 16-bit PCM, 16 kHz, mono")
      ->type_name("FILE");
  command->add_option("--address", options->address, "The Bluetooth address of the remote")
      ->check(CLI::Validator(checkAddress, ""))
      ->capture_default_str();
  command->callback([options] { simulate(*options); });
}

}  // namespace tessline::cli
