#include "tests/cli/support/Command.h"

#include <array>
#include <cerrno>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <unistd.h>

// Not every system declares it.
extern char** environ;  // NOLINT(readability-redundant-declaration)

namespace tessline::test {

namespace {

[[noreturn]] void fail(int errorNumber, const char* doing) {
  throw std::system_error(errorNumber, std::generic_category(), doing);
}

struct Pipe {
  int reader = -1;
  int writer = -1;

  Pipe() {
    std::array<int, 2> ends = {};
    if (::pipe(ends.data()) != 0) fail(errno, "pipe");
    for (const int end : ends) ::fcntl(end, F_SETFD, FD_CLOEXEC);
    reader = ends[0];
    writer = ends[1];
  }
};

void closeEnd(int& descriptor) {
  if (descriptor >= 0) ::close(std::exchange(descriptor, -1));
}

// Adds what can be read now; false at the end of the stream.
bool readSome(int descriptor, std::string& text) {
  std::array<char, 65536> buffer;
  const ssize_t got = ::read(descriptor, buffer.data(), buffer.size());
  if (got > 0) text.append(buffer.data(), static_cast<std::size_t>(got));
  return got > 0 || (got < 0 && errno == EINTR);
}

}  // namespace

Command::Command(const Arguments& arguments, const std::filesystem::path& executable) {
  // A test that writes to a command which ended already must see an error, not a signal.
  std::signal(SIGPIPE, SIG_IGN);
  const std::string path = executable.empty() ? TESSLINE_COMMAND : executable.native();
  std::vector<std::string> words = {path};
  words.insert(words.end(), arguments.begin(), arguments.end());
  std::vector<char*> pointers;
  pointers.reserve(words.size() + 1);
  for (std::string& word : words) pointers.push_back(word.data());
  pointers.push_back(nullptr);

  const Pipe input;
  const Pipe output;
  const Pipe errors;
  // What the command starts closes all but its standard streams: the command alone has this end.
  const Pipe life;
  ::fcntl(life.writer, F_SETFD, 0);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, input.reader, STDIN_FILENO);
  posix_spawn_file_actions_adddup2(&actions, output.writer, STDOUT_FILENO);
  posix_spawn_file_actions_adddup2(&actions, errors.writer, STDERR_FILENO);
  const int error =
      ::posix_spawn(&process_, path.c_str(), &actions, nullptr, pointers.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  for (const int end : {input.reader, output.writer, errors.writer, life.writer}) ::close(end);
  if (error != 0) fail(error, path.c_str());
  input_ = input.writer;
  ::fcntl(input_, F_SETFL, O_NONBLOCK);
  output_ = output.reader;
  errors_ = errors.reader;
  life_ = life.reader;
}

Command::~Command() {
  for (int* end : {&input_, &output_, &errors_, &life_}) closeEnd(*end);
  if (process_ > 0) {
    ::kill(process_, SIGKILL);
    ::waitpid(process_, nullptr, 0);
  }
}

void Command::write(std::string_view input) {
  while (!input.empty()) {
    // A command whose output nobody reads would stop reading its input.
    std::array<pollfd, 2> waited = {{{.fd = input_, .events = POLLOUT, .revents = 0},
                                     {.fd = output_, .events = POLLIN, .revents = 0}}};
    if (::poll(waited.data(), waited.size(), -1) < 0) continue;
    if (waited[1].revents != 0 && !readSome(output_, result_.output)) closeEnd(output_);
    if (waited[0].revents == 0) continue;
    const ssize_t written = ::write(input_, input.data(), input.size());
    if (written < 0 && errno != EINTR && errno != EAGAIN) return;
    if (written > 0) input.remove_prefix(static_cast<std::size_t>(written));
  }
}

void Command::closeInput() {
  closeEnd(input_);
}
void Command::closeOutput() {
  closeEnd(output_);
}

std::string Command::readUntil(std::string_view text) {
  while (result_.output.find(text) == std::string::npos) {
    if (!readSome(output_, result_.output)) return {};
  }
  return result_.output;
}

// Looks again whenever there is more, or a while has passed without its being told.
bool Command::waitForUnreadOutput(std::size_t size) {
  constexpr int looks = 6000;
  for (int look = 0; look < looks; ++look) {
    int present = 0;
    if (::ioctl(output_, FIONREAD, &present) != 0) fail(errno, "FIONREAD");
    if (static_cast<std::size_t>(present) >= size) return true;
    if (endsWithin(std::chrono::milliseconds(10))) return false;
  }
  return false;
}

void Command::send(int signalNumber) {
  ::kill(process_, signalNumber);
}

bool Command::endsWithin(std::chrono::milliseconds time) {
  pollfd life = {life_, POLLIN, 0};
  int ready = 0;
  while ((ready = ::poll(&life, 1, static_cast<int>(time.count()))) < 0 && errno == EINTR) {
  }
  return ready == 1;
}

CommandResult Command::finish() {
  closeInput();
  while (output_ >= 0 || errors_ >= 0) {
    std::array<pollfd, 2> waited = {{{.fd = output_, .events = POLLIN, .revents = 0},
                                     {.fd = errors_, .events = POLLIN, .revents = 0}}};
    if (::poll(waited.data(), waited.size(), -1) < 0) continue;
    if (waited[0].revents != 0 && !readSome(output_, result_.output)) closeEnd(output_);
    if (waited[1].revents != 0 && !readSome(errors_, result_.errors)) closeEnd(errors_);
  }
  int status = 0;
  while (::waitpid(process_, &status, 0) < 0 && errno == EINTR) {
  }
  process_ = -1;
  if (WIFEXITED(status)) result_.exitCode = WEXITSTATUS(status);
  if (WIFSIGNALED(status)) result_.signal = WTERMSIG(status);
  return result_;
}

CommandResult runCommand(const Command::Arguments& arguments, std::string_view input) {
  Command command(arguments);
  command.write(input);
  return command.finish();
}

}  // namespace tessline::test
