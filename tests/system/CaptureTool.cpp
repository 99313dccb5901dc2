// Stands in for the programs around a capture: the capture tool, the system's report of its devices
// and the runner of scripts. Does what the lines of the file "PATH.script" beside it say:
//
//   print TEXT      TEXT as it is, to standard output
//   line TEXT       the same as a line
//   flood NUMBER    so many button packets, each with its number's five digits in front
//   complain TEXT   a line to standard error
//   require TEXT    exits unless TEXT is its one argument
//   introduce       complains of its user and arguments
//   await           goes on when a byte can be read from "PATH.gate"
//   ignore          from now on, being asked to end, writes a byte to "PATH.asked"
//   pause           waits for a signal, for ever
//   exit STATUS, die SIGNAL
//   approve         runs, as root, the shell command in the script that is its second argument
//
// What it prints is written at once up to the next verb that does something else.

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>
#include <string_view>

#include <fcntl.h>
#include <unistd.h>

namespace {

int askedDescriptor = -1;

void refuseToEnd(int) {
  [[maybe_unused]] const ssize_t written = write(askedDescriptor, "", 1);
}

void complain(const std::string& text) {
  const std::string line = text + '\n';
  [[maybe_unused]] const ssize_t written = write(STDERR_FILENO, line.data(), line.size());
}

void introduce(int count, char** arguments) {
  std::string text = "user " + std::to_string(getuid());
  for (int index = 0; index < count; ++index) text += std::string(" ") + arguments[index];
  complain(text);
}

void await(const std::string& gate) {
  const int descriptor = open(gate.c_str(), O_RDONLY | O_CLOEXEC);
  char byte = 0;
  if (read(descriptor, &byte, 1) != 1) std::abort();
  close(descriptor);
}

void ignoreRequests(const std::string& asked) {
  askedDescriptor = open(asked.c_str(), O_RDWR | O_CLOEXEC);
  if (askedDescriptor < 0) std::abort();
  std::signal(SIGTERM, refuseToEnd);
  std::signal(SIGPIPE, SIG_IGN);
}

void flood(int count) {
  for (int number = 0; number < count; ++number) {
    std::printf("RECV%50s", "");
    for (int power = 10000; power > 0; power /= 10) std::printf("%02d ", number / power % 10);
    std::puts("1B 23 00 03 00");
  }
}

/// What an administrator agrees to.
[[noreturn]] void approve(std::string_view script) {
  constexpr std::string_view before = "do shell script \"";
  constexpr std::string_view behind = "\" with administrator privileges";
  if (!script.starts_with(before) || !script.ends_with(behind)) std::exit(EXIT_FAILURE);
  script.remove_prefix(before.size());
  script.remove_suffix(behind.size());
  const std::string command(script);
  if (setresgid(0, 0, 0) != 0 || setresuid(0, 0, 0) != 0) std::exit(EXIT_FAILURE);
  execl("/bin/sh", "sh", "-c", command.c_str(), nullptr);
  std::exit(EXIT_FAILURE);
}

/// False for a verb that is no output and for which all output has to be written first.
bool output(std::string_view verb, const std::string& text) {
  if (verb == "print") {
    std::fputs(text.c_str(), stdout);
  } else if (verb == "line") {
    std::puts(text.c_str());
  } else if (verb == "flood") {
    flood(std::stoi(text));
  } else {
    return false;
  }
  return true;
}

}  // namespace

int main(int count, char** arguments) {
  const std::string self = arguments[0];
  std::ifstream script(self + ".script");
  for (std::string line; std::getline(script, line);) {
    const std::string verb = line.substr(0, line.find(' '));
    const std::string text = line.substr(std::min(line.size(), verb.size() + 1));
    if (output(verb, text)) continue;
    std::fflush(stdout);
    if (verb == "complain") complain(text);
    if (verb == "require" && (count != 2 || arguments[1] != text)) return EXIT_FAILURE;
    if (verb == "introduce") introduce(count, arguments);
    if (verb == "await") await(self + ".gate");
    if (verb == "ignore") ignoreRequests(self + ".asked");
    if (verb == "exit") std::exit(std::stoi(text));
    if (verb == "die") std::raise(std::stoi(text));
    if (verb == "approve") approve(count > 2 ? arguments[2] : "");
    while (verb == "pause") pause();
  }
}
