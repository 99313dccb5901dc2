#include "helper/Supervisor.h"

#include "helper/Host.h"
#include "helper/Refusal.h"

#include <cerrno>
#include <chrono>
#include <csignal>
#include <optional>

#include <fcntl.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

namespace helper {

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

constexpr auto timeToEnd = milliseconds(2000);
// How often the caller is asked for where its end cannot be waited for.
constexpr auto callerInterval = milliseconds(1000);

constexpr int forwardedSignals[] = {SIGTERM, SIGINT, SIGHUP, SIGQUIT};

// Written by the handler, which has no other way to its process; never closed.
volatile sig_atomic_t wakeDescriptor = -1;

void writeSignal(int signal) {
  const int error = errno;
  const auto number = static_cast<unsigned char>(signal);
  // A full pipe wakes the supervisor as well.
  [[maybe_unused]] const ssize_t written = write(wakeDescriptor, &number, 1);
  errno = error;
}

sigset_t handledSignals() {
  sigset_t set;
  sigemptyset(&set);
  sigaddset(&set, SIGCHLD);
  for (const int signal : forwardedSignals) sigaddset(&set, signal);
  return set;
}

void prepareEnd(int descriptor) {
  if (fcntl(descriptor, F_SETFD, FD_CLOEXEC) < 0 || fcntl(descriptor, F_SETFL, O_NONBLOCK) < 0) {
    refuse(Refusal::notPrepared, "the helper's own pipe cannot be set up");
  }
}

int exitCodeOf(int status) {
  return WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
}

int timeoutUntil(const std::optional<Clock::time_point>& deadline, bool asksForCaller) {
  if (!deadline) return asksForCaller ? static_cast<int>(callerInterval.count()) : -1;
  const auto left = std::chrono::ceil<milliseconds>(*deadline - Clock::now());
  return left.count() > 0 ? static_cast<int>(left.count()) : 0;
}

}  // namespace

Supervisor::Supervisor(pid_t caller) : caller_(caller), callerEnd_(watchForEnd(caller)) {
  int ends[2];
  if (pipe(ends) != 0) refuse(Refusal::notPrepared, "the helper's own pipe cannot be made");
  wake_ = FileDescriptor(ends[0]);
  wakeDescriptor = ends[1];
  prepareEnd(ends[0]);
  prepareEnd(ends[1]);
  struct sigaction action = {};
  action.sa_handler = writeSignal;
  action.sa_mask = handledSignals();
  sigprocmask(SIG_BLOCK, &action.sa_mask, nullptr);
  sigaction(SIGCHLD, &action, nullptr);
  for (const int signal : forwardedSignals) sigaction(signal, &action, nullptr);
}

int Supervisor::waitFor(pid_t tool) {
  tool_ = tool;
  const sigset_t handled = handledSignals();
  sigprocmask(SIG_UNBLOCK, &handled, nullptr);
  pollfd watched[] = {{wake_.get(), POLLIN, 0},
                      {STDOUT_FILENO, 0, 0},  // Errors and hang-ups come unasked.
                      {callerEnd_.get(), POLLIN, 0}};
  std::optional<Clock::time_point> deadline;
  for (;;) {
    forwardSignals();
    int status = 0;
    if (waitpid(tool, &status, WNOHANG) == tool) return exitCodeOf(status);
    if (!deadline && isCallerGone(watched[1].revents, watched[2].revents)) {
      kill(tool, SIGTERM);
      deadline = Clock::now() + timeToEnd;
      watched[1].fd = watched[2].fd = -1;
    }
    if (deadline && Clock::now() >= *deadline) {
      kill(tool, SIGKILL);
      deadline = Clock::now() + timeToEnd;
    }
    if (poll(watched, std::size(watched), timeoutUntil(deadline, !callerEnd_.isOpen())) < 0) {
      for (auto& each : watched) each.revents = 0;
    }
  }
}

void Supervisor::forwardSignals() {
  unsigned char number = 0;
  while (read(wake_.get(), &number, 1) == 1) {
    if (number != SIGCHLD) kill(tool_, number);
  }
}

bool Supervisor::isCallerGone(short outputEvents, short callerEvents) const {
  return (outputEvents & (POLLERR | POLLHUP)) != 0 || callerEvents != 0 || getppid() != caller_;
}

}  // namespace helper
