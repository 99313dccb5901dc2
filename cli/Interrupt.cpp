#include "cli/Interrupt.h"

#include "cli/Errors.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>

#include <fcntl.h>
#include <unistd.h>

namespace tessline::cli {

namespace {

constexpr std::array caughtSignals = {SIGINT, SIGTERM};

// What the signal handler may touch, on whichever thread it runs.
std::atomic<int> pendingSignal{0};
static_assert(std::atomic<int>::is_always_lock_free);
std::array<int, 2> wakePipe = {-1, -1};

void noteSignal(int signalNumber) {
  const int savedError = errno;
  pendingSignal = signalNumber;
  const char wake = 0;
  [[maybe_unused]] const ssize_t written = ::write(wakePipe[1], &wake, 1);
  errno = savedError;
}

}  // namespace

Interrupt::Interrupt() {
  if (::pipe(wakePipe.data()) != 0) throwSystemError("create", "a pipe", errno);
  for (const int end : wakePipe) {
    ::fcntl(end, F_SETFD, FD_CLOEXEC);
    ::fcntl(end, F_SETFL, O_NONBLOCK);
  }
  pendingSignal = 0;
  struct sigaction action = {};
  action.sa_handler = noteSignal;
  sigemptyset(&action.sa_mask);
  for (const int caught : caughtSignals) ::sigaction(caught, &action, nullptr);
}

Interrupt::~Interrupt() {
  for (const int caught : caughtSignals) std::signal(caught, SIG_DFL);
  for (const int end : wakePipe) ::close(end);
}

bool Interrupt::isPending() const {
  return pendingSignal != 0;
}

int Interrupt::descriptor() const {
  return wakePipe[0];
}

void Interrupt::acknowledge() {
  char wake = 0;
  [[maybe_unused]] const ssize_t taken = ::read(wakePipe[0], &wake, 1);
}

void Interrupt::raisePending() const {
  const int pending = pendingSignal;
  if (pending == 0) return;
  std::signal(pending, SIG_DFL);
  std::raise(pending);
}

}  // namespace tessline::cli
