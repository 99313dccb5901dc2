#include "cli/Commands.h"
#include "cli/Errors.h"
#include "cli/simulate/PacketLoggerTool.h"
#include "cli/voice/WavFile.h"
#include "tessline/packetlog/TesslineService.h"
#include "tests/cli/simulate/PlayedScenario.h"
#include "tests/cli/voice/VoiceTestSupport.h"
#include "tests/support/Files.h"

#include <array>
#include <chrono>
#include <csignal>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

namespace tessline::test {
namespace {

/// Sends what the process writes to standard output elsewhere for a while.
class StandardOutputTo {
 public:
  explicit StandardOutputTo(int descriptor) : saved_(::dup(STDOUT_FILENO)) {
    ::dup2(descriptor, STDOUT_FILENO);
  }
  StandardOutputTo(const StandardOutputTo&) = delete;
  StandardOutputTo& operator=(const StandardOutputTo&) = delete;
  ~StandardOutputTo() {
    ::dup2(saved_, STDOUT_FILENO);
    ::close(saved_);
  }

 private:
  int saved_;
};

class SimulateCommand : public testing::Test {
 protected:
  /// What `tessline simulate` writes to standard output.
  std::string simulate(const std::string& arguments) {
    const std::string path = directory / "out";
    const int file = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    {
      const StandardOutputTo redirection(file);
      CLI::App application;
      cli::addSimulateCommand(application);
      application.parse("simulate " + arguments);
    }
    ::close(file);
    return readText(path);
  }

  /// Whether the command line is refused before anything is done.
  bool isRefused(const std::string& arguments) {
    try {
      simulate(arguments);
      return false;
    } catch (const CLI::ParseError&) {
      return true;
    }
  }

  TemporaryDirectory directory;
};

TEST_F(SimulateCommand, WritesThirtySecondsOfTheFirstSeedUnlessToldOtherwise) {
  EXPECT_TRUE(simulate("") == PlayedScenario().text());
}

TEST_F(SimulateCommand, TakesASeedAnAddressAndADuration) {
  cli::ScenarioOptions options;
  options.seed = 42;
  options.remoteAddress = "12:34:56:78:9a:bc";
  const PlayedScenario played(options, {.duration = std::chrono::milliseconds(2500)});
  EXPECT_TRUE(simulate("--seed 42 --address 12:34:56:78:9a:bc --duration 2.5") == played.text());
}

TEST_F(SimulateCommand, CountsBytesInPowersOf1024) {
  const PlayedScenario played({}, {.bytes = std::uint64_t{1} << 20});
  EXPECT_TRUE(simulate("--bytes 1M") == played.text());
  EXPECT_TRUE(simulate("--bytes 1024k") == played.text());
  EXPECT_TRUE(simulate("--bytes 1048576") == played.text());
}

TEST_F(SimulateCommand, CarriesTheWholeSpeechFileInEverySession) {
  std::vector<std::int16_t> samples(16000);
  for (std::size_t index = 0; index < samples.size(); ++index) {
    samples[index] = static_cast<std::int16_t>(index * 37 % 8000);
  }
  cli::WavWriter file(directory / "speech.wav");
  file.write(samples);
  file.finish();
  cli::ScenarioOptions options;
  options.sessionsAreWhole = true;
  const auto voice = cli::VoicePackets::encode(samples);
  const PlayedScenario played(options, {.duration = std::chrono::seconds(30)}, voice);
  EXPECT_EQ(played.mismatch(), "");
  EXPECT_TRUE(simulate("--speech " + (directory / "speech.wav").string()) == played.text());
}

TEST_F(SimulateCommand, TakesAsLongAsItSimulatesInRealTime) {
  const PlayedScenario shortest({}, {.bytes = 1});
  const auto beginning = std::chrono::steady_clock::now();
  const std::string text = simulate("--realtime --bytes 1");
  EXPECT_GE(std::chrono::steady_clock::now() - beginning, shortest.end());
  EXPECT_EQ(text, shortest.text());
}

TEST_F(SimulateCommand, RefusesASpeechFileWithoutSound) {
  cli::WavWriter(directory / "empty.wav").finish();
  const std::string path = directory / "empty.wav";
  EXPECT_EQ(inputOutputError([&] { simulate("--speech " + path); }), path + " holds no sound");
}

TEST_F(SimulateCommand, RefusesWhatItCannotDo) {
  for (const std::string arguments :
       {"--seed -1", "--seed x", "--duration -1", "--duration nan", "--duration inf",
        "--duration 1e10", "--bytes -5", "--bytes 1x", "--bytes 99999999999G",
        "--bytes 1M --duration 1", "--address x", "--address 12:34:56:78:9a:b",
        "--address 12:34:56:78:9a-bc", "--address 12:34:56:78:9g:bc", "extra"}) {
    EXPECT_TRUE(isRefused(arguments)) << arguments;
  }
}

TEST(PacketLoggerTool, EndsWellWhenItsOutputIsClosed) {
  ASSERT_NE(std::signal(SIGPIPE, SIG_IGN), SIG_ERR);
  std::array<int, 2> ends{};
  ASSERT_EQ(::pipe(ends.data()), 0);
  ::close(ends[0]);
  const StandardOutputTo redirection(ends[1]);
  ::close(ends[1]);
  EXPECT_EQ(cli::runAsPacketLogger(), 0);
}

}  // namespace
}  // namespace tessline::test
