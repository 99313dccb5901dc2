#include "cli/simulate/CaptureStream.h"

#include <thread>
#include <utility>

namespace tessline::cli {

CaptureStream::CaptureStream(Output& output, WaitUntil waitUntil)
    : output_(output), waitUntil_(std::move(waitUntil)) {}

CaptureStream::WaitUntil CaptureStream::realTime(
    std::function<Clock::time_point()> now, std::function<void(Clock::time_point)> sleepUntil) {
  return [now = std::move(now), sleepUntil = std::move(sleepUntil),
          beginning = std::optional<Clock::time_point>()](SimulatedTime time) mutable {
    if (!beginning) beginning = now();
    sleepUntil(*beginning + time);
  };
}

void CaptureStream::sleepUntilClockReads(Clock::time_point time) {
  std::this_thread::sleep_until(time);
}

void CaptureStream::write(const SimulatedLine& line) {
  if (waitUntil_ && moment_ != line.time) {
    output_.flush();
    waitUntil_(line.time);
    moment_ = line.time;
  }
  output_.write(line.text);
}

}  // namespace tessline::cli
