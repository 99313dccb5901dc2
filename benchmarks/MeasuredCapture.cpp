#include "benchmarks/MeasuredCapture.h"

#include "benchmarks/Measurement.h"
#include "tessline/capture/CaptureStatus.h"

#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <stdexcept>
#include <vector>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

// Not every system declares it.
extern char** environ;  // NOLINT(readability-redundant-declaration)

namespace tessline::benchmarks {

namespace {

// Given, for nobody to be asked for one.
const std::string remoteAddress = "D6:1E:52:A0:37:4B";

void setTask(const std::string& task) {
  if (::setenv(toolVariable, task.c_str(), 1) != 0) checkCall(errno, "setenv");
}

}  // namespace

Capture::Capture(const std::string& task) {
  require(::geteuid() == 0,
          "needs root: for anybody else the capture goes through the privileged helper");
  setTask(task);
  service_->onSnapshotChanged = [statuses = statuses_](const auto& snapshot) {
    const std::lock_guard lock(statuses->mutex);
    statuses->told.push_back(snapshot.status);
    statuses->changed.notify_all();
  };
}

void Capture::start() {
  service_->startCapture(remoteAddress, TESSLINE_BENCHMARK_TOOL_PATH);
}

void Capture::waitUntilRunning() {
  waitFor(captureStatus::running(remoteAddress));
}

void Capture::waitUntilEnded() {
  waitFor(captureStatus::ended(0));
}

void Capture::stop() {
  service_->stopCapture();
  waitFor(std::string(captureStatus::stopped));
}

void Capture::waitFor(const std::string& status) {
  constexpr std::chrono::seconds longest(60);
  std::unique_lock lock(statuses_->mutex);
  auto& told = statuses_->told;
  while (statuses_->changed.wait_for(lock, longest, [&] { return !told.empty(); })) {
    const std::string next = told.front();
    told.pop_front();
    if (next == status) return;
    require(!next.starts_with(captureStatus::couldNotStart) &&
                !next.starts_with(captureStatus::exited) && next != captureStatus::ended(0),
            next);
  }
  throw std::runtime_error("the capture did not come to: " + status);
}

BareTool::BareTool(const std::string& task) {
  setTask(task);
  std::array<int, 2> ends{};
  if (::pipe(ends.data()) != 0) checkCall(errno, "pipe");
  for (const int end : ends) ::fcntl(end, F_SETFD, FD_CLOEXEC);
  readingEnd_ = ends[0];
  posix_spawn_file_actions_t actions{};
  ::posix_spawn_file_actions_init(&actions);
  ::posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
  std::vector<std::string> arguments = captureStatus::toolArguments();
  arguments.insert(arguments.begin(), TESSLINE_BENCHMARK_TOOL_PATH);
  std::vector<char*> pointers;
  for (std::string& argument : arguments) pointers.push_back(argument.data());
  pointers.push_back(nullptr);
  const int error = ::posix_spawn(&pid_, TESSLINE_BENCHMARK_TOOL_PATH, &actions, nullptr,
                                  pointers.data(), environ);
  ::posix_spawn_file_actions_destroy(&actions);
  ::close(ends[1]);
  if (error != 0) ::close(readingEnd_);
  checkCall(error, TESSLINE_BENCHMARK_TOOL_PATH);
}

BareTool::~BareTool() {
  ::close(readingEnd_);
  ::waitpid(pid_, nullptr, 0);
}

std::string_view BareTool::read() {
  const ssize_t size = ::read(readingEnd_, buffer_.data(), buffer_.size());
  if (size < 0) checkCall(errno, "read");
  return {buffer_.data(), static_cast<std::size_t>(size)};
}

}  // namespace tessline::benchmarks
