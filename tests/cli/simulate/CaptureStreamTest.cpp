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
  platform::QueueTime now = 100s;
  std::vector<platform::QueueTime> waits;
  const auto waitUntil = cli::CaptureStream::realTime([&] { return now; },
                                                      [&](platform::QueueTime rest) {
                                                        waits.push_back(rest);
                                                        now += rest;
                                                      });
  waitUntil(0s);
  now = 102s;
  waitUntil(5s);
  // Late already: nothing is waited for, and nothing is lost of the time.
  now = 110s;
  waitUntil(9s);
  waitUntil(12s);
  EXPECT_EQ(waits, (std::vector<platform::QueueTime>{3s, 2s}));
}

}  // namespace
}  // namespace tessline::test
