#include "cli/simulate/Melody.h"

#include "cli/voice/WavFile.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <numbers>

namespace tessline::cli {

namespace {

/// A note by its distance from A4 in semitones, where it begins and how long it is held, both in
/// quarter seconds.
struct Note {
  int semitones;
  int beginning;
  int length;
};

// Two bars of melody over a slow bass, and a chord to end on.
constexpr std::array<Note, 24> notes = {{
    {3, 0, 1},   {7, 1, 1},   {10, 2, 1},  {15, 3, 2},   {12, 5, 1},   {10, 6, 2},
    {8, 8, 1},   {12, 9, 1},  {15, 10, 1}, {17, 11, 2},  {15, 13, 1},  {12, 14, 2},
    {10, 16, 1}, {7, 17, 1},  {8, 18, 1},  {5, 19, 1},   {3, 20, 4},   {7, 20, 4},
    {10, 20, 4}, {-21, 0, 8}, {-16, 8, 8}, {-14, 16, 4}, {-21, 20, 4}, {-9, 20, 4},
}};

constexpr double samplesPerSecond = voiceSampleRate;
constexpr double secondsPerUnit = 0.25;
constexpr double fadeSeconds = 0.3;
constexpr double noteLoudness = 4200.0;

/// A plucked string, roughly: the overtones fade before the fundamental.
double pluck(double frequency, double seconds) {
  const double phase = 2.0 * std::numbers::pi * frequency * seconds;
  const double attack = std::min(1.0, seconds / 0.006);
  return attack * (std::exp(-2.2 * seconds) * std::sin(phase) +
                   0.45 * std::exp(-4.5 * seconds) * std::sin(2.0 * phase) +
                   0.25 * std::exp(-7.0 * seconds) * std::sin(3.0 * phase));
}

void add(const Note& note, std::vector<double>& sound) {
  const double frequency = 440.0 * std::exp2(note.semitones / 12.0);
  const double held = note.length * secondsPerUnit;
  const auto first = static_cast<std::size_t>(note.beginning * secondsPerUnit * samplesPerSecond);
  const auto count = static_cast<std::size_t>((held + fadeSeconds) * samplesPerSecond);
  for (std::size_t index = 0; index < count && first + index < sound.size(); ++index) {
    const double seconds = static_cast<double>(index) / samplesPerSecond;
    const double fade = std::clamp((held + fadeSeconds - seconds) / fadeSeconds, 0.0, 1.0);
    sound[first + index] += noteLoudness * fade * pluck(frequency, seconds);
  }
}

}  // namespace

std::vector<std::int16_t> melody() {
  constexpr double seconds = 24 * secondsPerUnit + fadeSeconds;
  std::vector<double> sound(static_cast<std::size_t>(seconds * samplesPerSecond));
  for (const Note& note : notes) add(note, sound);
  std::vector<std::int16_t> samples;
  samples.reserve(sound.size());
  for (const double sample : sound) {
    samples.push_back(
        static_cast<std::int16_t>(std::lround(std::clamp(sample, -32767.0, 32767.0))));
  }
  return samples;
}

}  // namespace tessline::cli
