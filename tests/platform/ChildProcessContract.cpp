#include "tests/platform/ChildProcessContract.h"

#include "tests/support/Files.h"
#include "tests/support/HostWaiting.h"

#include <cerrno>
#include <chrono>
#include <future>
#include <string_view>
#include <system_error>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace tessline::test {

namespace {

std::string_view textOf(std::span<const std::uint8_t> data) {
  return {reinterpret_cast<const char*>(data.data()), data.size()};
}

}  // namespace

Witness::Account Witness::account() const {
  const std::lock_guard lock(mutex_);
  return account_;
}

platform::ReadabilityHandler Witness::outputHandler() {
  return [self = shared_from_this()](std::span<const std::uint8_t> data) {
    const std::lock_guard lock(self->mutex_);
    self->account_.output += textOf(data);
    if (data.empty()) ++self->account_.outputEnds;
  };
}

platform::ReadabilityHandler Witness::errorHandler() {
  return [self = shared_from_this()](std::span<const std::uint8_t> data) {
    const std::lock_guard lock(self->mutex_);
    self->account_.errors += textOf(data);
    if (data.empty()) ++self->account_.errorEnds;
  };
}

platform::TerminationHandler Witness::terminationHandler() {
  return [self = shared_from_this()](std::int32_t status) {
    const std::lock_guard lock(self->mutex_);
    self->account_.statuses.push_back(status);
    self->account_.outputAtTermination = self->account_.output.size();
    self->account_.errorsAtTermination = self->account_.errors.size();
  };
}

ObservedProcess ObservedProcess::silent(platform::ChildProcesses& processes,
                                        const Program& program) {
  ObservedProcess result;
  // In this order the lowest descriptors would be in each other's way.
  result.errors = processes.makePipe();
  result.output = processes.makePipe();
  result.process = processes.makeProcess({.executable = program.executable,
                                          .arguments = program.arguments,
                                          .standardOutput = result.output,
                                          .standardError = result.errors});
  return result;
}

ObservedProcess ObservedProcess::observed(platform::ChildProcesses& processes,
                                          const Program& program) {
  ObservedProcess result = silent(processes, program);
  result.output->setReadabilityHandler(result.witness->outputHandler());
  result.errors->setReadabilityHandler(result.witness->errorHandler());
  result.process->setTerminationHandler(result.witness->terminationHandler());
  return result;
}

void ObservedProcess::letGo() {
  process.reset();
  output.reset();
  errors.reset();
}

// A named pipe from which programs read the line that lets them go on.
class HostProcessBackend::Gate {
 public:
  Gate() {
    // Open for reading, too, so that opening waits for nobody and nothing is lost.
    if (::mkfifo(path().c_str(), 0600) != 0 ||
        (file_ = ::open(path().c_str(), O_RDWR | O_CLOEXEC)) < 0) {
      throw std::system_error(errno, std::generic_category(), path());
    }
  }
  Gate(const Gate&) = delete;
  Gate& operator=(const Gate&) = delete;
  ~Gate() { ::close(file_); }

  std::string path() const { return directory_ / "gate"; }
  void open() {
    if (::write(file_, "\n", 1) != 1) throw std::system_error(errno, std::generic_category());
  }

 private:
  TemporaryDirectory directory_;
  int file_ = -1;
};

HostProcessBackend::HostProcessBackend() = default;

HostProcessBackend::~HostProcessBackend() = default;

// Made with its first use, so that tests which end their process at once leave no file.
HostProcessBackend::Gate& HostProcessBackend::gate() {
  if (!gate_) gate_ = std::make_unique<Gate>();
  return *gate_;
}

std::shared_ptr<platform::ChildProcesses> HostProcessBackend::processes() {
  return platform::hostPlatform()->childProcesses();
}

bool HostProcessBackend::waitUntil(const std::function<bool()>& isDone) {
  return waitOnHost(isDone, std::chrono::seconds(60));
}

Program shell(const std::string& script) {
  return {"/bin/sh", {"-c", script}};
}

bool hasNoChildren() {
  siginfo_t info{};
  return ::waitid(P_ALL, 0, &info, WEXITED | WNOHANG | WNOWAIT) != 0 && errno == ECHILD;
}

// Texts go as arguments of the script, so that nothing needs quoting.
Program HostProcessBackend::writing(const std::string& output, const std::string& errors,
                                    int status) {
  return {"/bin/sh",
          {"-c", R"(printf %s "$1"; printf %s "$2" >&2; exit "$3")", "sh", output, errors,
           std::to_string(status)}};
}

Program HostProcessBackend::writingTwice(const std::string& first, const std::string& second) {
  return {"/bin/sh",
          {"-c", R"(printf %s "$1"; read -r line <"$3"; printf %s "$2")", "sh", first, second,
           gate().path()}};
}

Program HostProcessBackend::deafAndWritingTwice(const std::string& first,
                                                const std::string& second) {
  Program program = writingTwice(first, second);
  program.arguments[1] = "trap '' TERM; " + program.arguments[1];
  return program;
}

void HostProcessBackend::proceed() {
  gate().open();
}

Program HostProcessBackend::endless() {
  return {"/bin/sleep", {"600"}};
}

Program HostProcessBackend::dyingOf(int signal) {
  return shell("ulimit -c 0; kill -" + std::to_string(signal) + " $$");
}

std::string HostProcessBackend::pathOfNothing() {
  return "/nothing/here";
}

}  // namespace tessline::test
