#include "cli/listen/LiveOutput.h"

#include "cli/Errors.h"

#include <array>
#include <cerrno>
#include <chrono>
#include <utility>

#include <fcntl.h>
#include <unistd.h>

namespace tessline::cli {

namespace {

std::function<LiveWriter::Seconds()> timeFromNowOn() {
  using Clock = std::chrono::steady_clock;
  return [start = Clock::now()] { return LiveWriter::Seconds(Clock::now() - start); };
}

}  // namespace

LiveOutput::LiveOutput(Output output, const LiveOptions& options,
                       std::function<LiveWriter::Seconds()> elapsed)
    : recorder_(options.voiceFiles ? VoiceSessionRecorder(*options.voiceFiles)
                                   : VoiceSessionRecorder()),
      writer_(std::move(output), options.format, elapsed ? std::move(elapsed) : timeFromNowOn()) {
  std::array<int, 2> ends{};
  if (::pipe(ends.data()) != 0) throwSystemError("create", "a pipe", errno);
  for (const int end : ends) ::fcntl(end, F_SETFD, FD_CLOEXEC);
  overReader_ = FileDescriptor(ends[0]);
  overWriter_ = FileDescriptor(ends[1]);
  recorder_.onSessionClosed = [this](const VoiceSessionRecord& record) {
    writer_.sessionClosed(record);
  };
}

void LiveOutput::write(const std::function<void(LiveWriter&)>& body) {
  const std::lock_guard lock(mutex_);
  if (isOver_) return;
  try {
    body(writer_);
    writer_.flush();
  } catch (...) {
    failure_ = std::current_exception();
    becomeOver();
  }
}

void LiveOutput::events(const std::vector<TesslineEvent>& events) {
  write([&](LiveWriter& writer) {
    for (const TesslineEvent& event : events) {
      writer.event(event);
      recorder_.handle(event);
    }
  });
}

void LiveOutput::end(ListenEnd end) {
  const std::lock_guard lock(mutex_);
  if (isOver_) return;
  end_ = std::move(end);
  becomeOver();
}

ListenEnd LiveOutput::finish() {
  const std::lock_guard lock(mutex_);
  isOver_ = true;
  if (failure_) {
    try {
      recorder_.finish();
    } catch (const std::exception&) {
      // The first failure is the one to report.
    }
    std::rethrow_exception(failure_);
  }
  recorder_.finish();
  writer_.finish();
  return end_;
}

void LiveOutput::becomeOver() {
  isOver_ = true;
  [[maybe_unused]] const ssize_t written = ::write(overWriter_.get(), "", 1);
}

}  // namespace tessline::cli
