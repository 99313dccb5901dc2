#include "tests/system/Command.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <utility>

#include <fcntl.h>
#include <grp.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

namespace tessline::test {

namespace {

constexpr int couldNotExecute = 126;

[[noreturn]] void giveUp(const char* what) {
  dprintf(STDERR_FILENO, "%s: %s\n", what, std::strerror(errno));
  _exit(couldNotExecute);
}

void become(uid_t user, const std::vector<gid_t>& groups = {}) {
  if (setgroups(groups.size(), groups.data()) != 0 || setresgid(user, user, user) != 0 ||
      setresuid(user, user, user) != 0) {
    giveUp("changing the user");
  }
}

std::vector<char*> pointersTo(std::vector<std::string>& texts) {
  std::vector<char*> pointers;
  pointers.reserve(texts.size() + 1);
  for (auto& text : texts) pointers.push_back(text.data());
  pointers.push_back(nullptr);
  return pointers;
}

[[noreturn]] void execute(const Command& command, int output, int errors) {
  const int null = open("/dev/null", O_RDONLY);
  dup2(null, STDIN_FILENO);
  dup2(output, STDOUT_FILENO);
  dup2(errors, STDERR_FILENO);
  for (const int descriptor : {null, output, errors}) {
    if (descriptor > STDERR_FILENO) close(descriptor);
  }
  become(command.user, command.groups);
  std::vector<std::string> arguments;
  if (command.hasArgumentZero) arguments.push_back(command.program);
  arguments.insert(arguments.end(), command.arguments.begin(), command.arguments.end());
  std::vector<std::string> environment = command.environment;
  command.prepare();
  for (const int descriptor : command.closed) close(descriptor);
  execve(command.program.c_str(), pointersTo(arguments).data(), pointersTo(environment).data());
  giveUp(command.program.c_str());
}

/// Appends what there is to read; false at the end.
bool readSome(int descriptor, std::string& text) {
  char block[4096];
  ssize_t length = 0;
  do {
    length = read(descriptor, block, sizeof block);
  } while (length < 0 && errno == EINTR);
  if (length > 0) text.append(block, static_cast<std::size_t>(length));
  return length > 0;
}

int waitFor(pid_t process) {
  int status = 0;
  while (waitpid(process, &status, 0) < 0 && errno == EINTR) {
  }
  return status;
}

}  // namespace

RunningCommand::RunningCommand(const Command& command) {
  int output[2];
  int errors[2];
  if (pipe2(output, O_CLOEXEC) != 0 || pipe2(errors, O_CLOEXEC) != 0) std::abort();
  pid_ = fork();
  if (pid_ == 0) execute(command, output[1], errors[1]);
  if (pid_ < 0) ADD_FAILURE() << "fork: " << std::strerror(errno);
  close(output[1]);
  close(errors[1]);
  output_ = output[0];
  errors_ = errors[0];
}

RunningCommand::~RunningCommand() {
  if (pid_ > 0) {
    kill(pid_, SIGKILL);
    waitFor(pid_);
  }
  for (const int descriptor : {output_, errors_}) {
    if (descriptor >= 0) close(descriptor);
  }
}

bool RunningCommand::readUntil(std::string_view text) {
  while (outcome_.output.find(text) == std::string::npos) {
    if (!readSome(output_, outcome_.output)) return false;
  }
  return true;
}

void RunningCommand::stopReading() {
  close(std::exchange(output_, -1));
}

Outcome RunningCommand::wait() {
  pollfd pipes[] = {{output_, POLLIN, 0}, {errors_, POLLIN, 0}};
  while (pipes[0].fd >= 0 || pipes[1].fd >= 0) {
    if (poll(pipes, 2, -1) < 0) continue;
    if (pipes[0].revents != 0 && !readSome(output_, outcome_.output)) pipes[0].fd = -1;
    if (pipes[1].revents != 0 && !readSome(errors_, outcome_.errors)) pipes[1].fd = -1;
  }
  const int status = waitFor(std::exchange(pid_, -1));
  outcome_.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  outcome_.signal = WIFSIGNALED(status) ? WTERMSIG(status) : 0;
  return outcome_;
}

Outcome run(const Command& command) {
  return RunningCommand(command).wait();
}

int callAs(uid_t user, const std::function<int()>& body) {
  const pid_t process = fork();
  if (process == 0) {
    become(user);
    _exit(body());
  }
  const int status = waitFor(process);
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

int signalAs(uid_t user, pid_t process, int signal) {
  return callAs(user, [=] { return kill(process, signal) == 0 ? 0 : errno; });
}

}  // namespace tessline::test
