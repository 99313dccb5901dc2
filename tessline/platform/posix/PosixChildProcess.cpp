#include "tessline/platform/posix/PosixChildProcess.h"

#include "tessline/platform/posix/IoThread.h"
#include "tessline/platform/posix/PosixPipe.h"
#include "tessline/platform/posix/ThreadName.h"

#include <array>
#include <cerrno>
#include <condition_variable>
#include <csignal>
#include <mutex>
#include <string>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

#include <asio/post.hpp>
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#ifdef __APPLE__
// A library must not refer to it by name.
#include <crt_externs.h>
#else
// Not every system declares it.
extern char** environ;  // NOLINT(readability-redundant-declaration)
#endif

namespace tessline::platform {

namespace {

char** ownEnvironment() {
#ifdef __APPLE__
  return *::_NSGetEnviron();
#else
  return environ;
#endif
}

// What cannot be known, because the process has others collect its children.
constexpr std::int32_t unknownStatus = -1;
#ifndef __APPLE__
constexpr int firstInheritedNever = 3;
#endif

// Of several calls.
class FirstError {
 public:
  void note(int number) {
    if (number_ == 0) number_ = number;
  }
  // 0 if there is none.
  int number() const { return number_; }

 private:
  int number_ = 0;
};

// What becomes of a child's descriptors.
class SpawnActions {
 public:
  explicit SpawnActions(FirstError& error) : error_(error) {
    error_.note(::posix_spawn_file_actions_init(&actions_));
  }
  SpawnActions(const SpawnActions&) = delete;
  SpawnActions& operator=(const SpawnActions&) = delete;
  ~SpawnActions() { ::posix_spawn_file_actions_destroy(&actions_); }

  void open(int stream, const char* path) {
    error_.note(::posix_spawn_file_actions_addopen(&actions_, stream, path, O_RDONLY, 0));
  }
  void connect(int stream, const std::shared_ptr<Pipe>& pipe) {
    if (!pipe) return inherit(stream);
    const int writingEnd = static_cast<const PosixPipe&>(*pipe).writingEnd();
    error_.note(::posix_spawn_file_actions_adddup2(&actions_, writingEnd, stream));
  }
  // Where everything that is not named closes, this has to be.
  void inherit([[maybe_unused]] int stream) {
#ifdef __APPLE__
    error_.note(::posix_spawn_file_actions_addinherit_np(&actions_, stream));
#endif
  }
  // Whatever else is open here, by whomever.
  void closeTheRest() {
#ifndef __APPLE__
    error_.note(::posix_spawn_file_actions_addclosefrom_np(&actions_, firstInheritedNever));
#endif
  }
  const posix_spawn_file_actions_t* get() const {
    return &actions_;
  }

 private:
  posix_spawn_file_actions_t actions_{};
  FirstError& error_;
};

// Every signal as a fresh process has it: what this one ignores or holds back is its own business.
class SpawnAttributes {
 public:
  explicit SpawnAttributes(FirstError& error) : error_(error) {
    error_.note(::posix_spawnattr_init(&attributes_));
    sigset_t all;
    sigfillset(&all);
    error_.note(::posix_spawnattr_setsigdefault(&attributes_, &all));
    sigset_t none;
    sigemptyset(&none);
    error_.note(::posix_spawnattr_setsigmask(&attributes_, &none));
    short flags = POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK;
#ifdef __APPLE__
    flags |= POSIX_SPAWN_CLOEXEC_DEFAULT;
#endif
    error_.note(::posix_spawnattr_setflags(&attributes_, flags));
  }
  SpawnAttributes(const SpawnAttributes&) = delete;
  SpawnAttributes& operator=(const SpawnAttributes&) = delete;
  ~SpawnAttributes() {
    ::posix_spawnattr_destroy(&attributes_);
  }

  const posix_spawnattr_t* get() const {
    return &attributes_;
  }

 private:
  posix_spawnattr_t attributes_{};
  FirstError& error_;
};

// What outlives the process object while the program runs.
class RunningChild : public std::enable_shared_from_this<RunningChild> {
 public:
  explicit RunningChild(ProcessDescription description) : description_(std::move(description)) {}

  void setTerminationHandler(TerminationHandler handler) {
    const std::lock_guard lock(mutex_);
    std::swap(handler_, handler);
  }

  // Nobody is called back, and pipes that nobody else holds close, so that a program which goes on
  // writing learns of it.
  void letGo() {
    setTerminationHandler(nullptr);
    takePipes();
  }

  void launch() {
    int error = 0;
    {
      // What the program writes may be handled before this has returned, and whoever does must see
      // that it runs.
      const std::lock_guard lock(mutex_);
      error = spawn();
      isRunning_ = error == 0;
    }
    closeWritingEnds();
    if (error != 0) throwPosixError(error, description_.executable);
    startWaiting();
  }

  bool isRunning() const {
    const std::lock_guard lock(mutex_);
    return isRunning_;
  }

  // The number of a child that has ended stays its own until it is collected, under the lock.
  void terminate() {
    const std::lock_guard lock(mutex_);
    if (isRunning_) ::kill(pid_, SIGTERM);
  }

  std::int32_t waitUntilExit() {
    std::unique_lock lock(mutex_);
    ended_.wait(lock, [this] { return !isRunning_; });
    return status_;
  }

 private:
  using Pipes = std::array<std::shared_ptr<Pipe>, 2>;

  // 0, or why not.
  int spawn() {
    FirstError error;
    SpawnActions actions(error);
    actions.open(STDIN_FILENO, "/dev/null");
    actions.connect(STDOUT_FILENO, description_.standardOutput);
    actions.connect(STDERR_FILENO, description_.standardError);
    actions.closeTheRest();
    std::vector<char*> arguments = {description_.executable.data()};
    for (std::string& argument : description_.arguments) arguments.push_back(argument.data());
    arguments.push_back(nullptr);
    const SpawnAttributes attributes(error);
    if (error.number() != 0) return error.number();
    return ::posix_spawn(&pid_, description_.executable.c_str(), actions.get(), attributes.get(),
                         arguments.data(), ownEnvironment());
  }

  Pipes takePipes() {
    const std::lock_guard lock(mutex_);
    return {std::move(description_.standardOutput), std::move(description_.standardError)};
  }

  void closeWritingEnds() {
    for (const auto& pipe : {description_.standardOutput, description_.standardError}) {
      if (pipe) static_cast<PosixPipe&>(*pipe).closeWritingEnd();
    }
  }

  // Without a thread to wait for it, the program could not be collected.
  void startWaiting() {
    try {
      IoThread::shared();
      std::thread([self = shared_from_this()] {
        nameThisThread("tessline-wait");
        self->waitForEnd();
      }).detach();
    } catch (const std::system_error& error) {
      killAndCollect();
      throwPosixError(error.code().value(), description_.executable);
    } catch (...) {
      killAndCollect();
      throw;
    }
  }

  void killAndCollect() {
    {
      const std::lock_guard lock(mutex_);
      isRunning_ = false;
    }
    ::kill(pid_, SIGKILL);
    while (::waitpid(pid_, nullptr, 0) < 0 && errno == EINTR) {
    }
  }

  void waitForEnd() {
    siginfo_t info{};
    while (::waitid(P_PID, static_cast<id_t>(pid_), &info, WEXITED | WNOWAIT) != 0 &&
           errno == EINTR) {
    }
    {
      const std::lock_guard lock(mutex_);
      int status = 0;
      pid_t collected = 0;
      while ((collected = ::waitpid(pid_, &status, 0)) < 0 && errno == EINTR) {
      }
      status_ = collected != pid_     ? unknownStatus
                : WIFSIGNALED(status) ? WTERMSIG(status)
                                      : WEXITSTATUS(status);
      isRunning_ = false;
    }
    ended_.notify_all();
    asio::post(IoThread::shared().context(), [self = shared_from_this()] { self->report(); });
  }

  // On the I/O thread: what the program wrote before it ended is in the pipes by now.
  void report() {
    for (const auto& pipe : takePipes()) {
      if (pipe) static_cast<PosixPipe&>(*pipe).drain();
    }
    TerminationHandler handler;
    {
      const std::lock_guard lock(mutex_);
      handler = std::exchange(handler_, nullptr);
    }
    if (handler) handler(status_);
  }

  ProcessDescription description_;
  pid_t pid_ = 0;
  mutable std::mutex mutex_;
  std::condition_variable ended_;
  TerminationHandler handler_;
  bool isRunning_ = false;
  std::int32_t status_ = 0;
};

class PosixChildProcess : public ChildProcess {
 public:
  explicit PosixChildProcess(ProcessDescription description)
      : child_(std::make_shared<RunningChild>(std::move(description))) {}
  PosixChildProcess(const PosixChildProcess&) = delete;
  PosixChildProcess& operator=(const PosixChildProcess&) = delete;
  ~PosixChildProcess() override { child_->letGo(); }

  void setTerminationHandler(TerminationHandler handler) override {
    child_->setTerminationHandler(std::move(handler));
  }
  void launch() override { child_->launch(); }
  bool isRunning() const override { return child_->isRunning(); }
  void terminate() override { child_->terminate(); }
  std::int32_t waitUntilExit() override { return child_->waitUntilExit(); }

 private:
  const std::shared_ptr<RunningChild> child_;
};

class PosixChildProcesses : public ChildProcesses {
 public:
  std::shared_ptr<Pipe> makePipe() override {
    try {
      return std::make_shared<PosixPipe>();
    } catch (const std::system_error& error) {
      throwPosixError(error.code().value(), "cannot make a pipe");
    }
  }
  std::shared_ptr<ChildProcess> makeProcess(ProcessDescription description) override {
    return std::make_shared<PosixChildProcess>(std::move(description));
  }
};

}  // namespace

std::shared_ptr<ChildProcesses> makePosixChildProcesses() {
  return std::make_shared<PosixChildProcesses>();
}

}  // namespace tessline::platform
