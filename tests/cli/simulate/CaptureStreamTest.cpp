#include "cli/simulate/CaptureStream.h"
#include "tests/support/Files.h"

#include <chrono>
#include <cstddef>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace tessline::test {
namespace {

using namespace std::chrono_literals;

class CaptureStreaming : public testing::Test {
 protected:
  void write(cli::CaptureStream& stream, cli::SimulatedTime time, std::string_view text) {
    stream.write({time, text, {}});
  }
  std::string written() const { return readText(directory / "out"); }

  TemporaryDirectory directory;
  cli::Output output = cli::Output::file(directory / "out");
};

TEST_F(CaptureStreaming, WritesAllLines) {
  cli::CaptureStream stream(output);
  write(stream, 0s, "one\n");
  write(stream, 5s, "two\n");
  output.finish();
  EXPECT_EQ(written(), "one\ntwo\n");
}

TEST_F(CaptureStreaming, WaitsForEveryMomentWithTheMomentBeforeWritten) {
  std::vector<std::string> seen;
  cli::CaptureStream stream(output, [&](cli::SimulatedTime time) {
    seen.push_back(std::to_string(time.count()) + ": " + written());
  });
  write(stream, 10us, "one\n");
  write(stream, 10us, "two\n");
  write(stream, 30us, "three\n");
  write(stream, 70us, "four\n");
  EXPECT_EQ(seen, (std::vector<std::string>{"10: ", "30: one\ntwo\n", "70: one\ntwo\nthree\n"}));
}

TEST(RealTime, RunsFromTheFirstWaitOn) {
  using Clock = cli::CaptureStream::Clock;
  Clock::time_point now{100s};
  std::vector<Clock::duration> sleeps;
  const auto waitUntil = cli::CaptureStream::realTime(
      [&] { return now; },
      [&](Clock::time_point time) { sleeps.push_back(time.time_since_epoch()); });
  waitUntil(0s);
  now = Clock::time_point{107s};
  waitUntil(5s);
  waitUntil(9s);
  EXPECT_EQ(sleeps, (std::vector<Clock::duration>{100s, 105s, 109s}));
}

}  // namespace
}  // namespace tessline::test
