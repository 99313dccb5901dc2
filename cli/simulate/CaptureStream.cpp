#include "cli/simulate/CaptureStream.h"

#include "tessline/platform/Platform.h"

#include <future>
#include <utility>

namespace tessline::cli {

using platform::QueueTime;

CaptureStream::CaptureStream(Output& output, WaitUntil waitUntil)
    : output_(output), waitUntil_(std::move(waitUntil)) {}

CaptureStream::WaitUntil CaptureStream::realTime(std::function<QueueTime()> now,
                                                 std::function<void(QueueTime)> waitFor) {
  return [now = std::move(now), waitFor = std::move(waitFor),
          beginning = std::optional<QueueTime>()](SimulatedTime time) mutable {
    const QueueTime current = now();
    if (!beginning) beginning = current;
    const QueueTime rest = *beginning + time - current;
    if (rest > QueueTime::zero()) waitFor(rest);
  };
}

CaptureStream::WaitUntil CaptureStream::realTime() {
  const auto queue = platform::hostPlatform()->makeSerialQueue("simulated capture");
  return realTime([queue] { return queue->now(); },
                  [queue](QueueTime rest) {
                    std::promise<void> isOver;
                    queue->asyncAfter(rest, [&isOver] { isOver.set_value(); });
                    isOver.get_future().wait();
                  });
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
