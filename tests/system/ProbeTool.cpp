// Stands in for the capture tool: says in lines of "name: value" how it was started, then does what
// the file "behaviour" beside it says: "exit 7", "die 9", "wait" for a signal, "persist" when it is
// asked to end, or "file", to write into the file "report" beside it instead of its output. It
// prints "ready" before it waits, and "asked to end" when it persists.

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

namespace {

constexpr int lastDescriptor = 4096;

// Memory first, so that it is no descriptor among those to be shown.
std::FILE* report = nullptr;

void printUsers() {
  uid_t users[3];
  gid_t groups[3];
  getresuid(&users[0], &users[1], &users[2]);
  getresgid(&groups[0], &groups[1], &groups[2]);
  std::fprintf(report, "users: %u %u %u\n", users[0], users[1], users[2]);
  std::fprintf(report, "groups: %u %u %u\n", groups[0], groups[1], groups[2]);
  std::fprintf(report, "other groups: %d\n", getgroups(0, nullptr));
}

void printSignals() {
  sigset_t blocked;
  sigprocmask(SIG_SETMASK, nullptr, &blocked);
  for (int signal = 1; signal < NSIG; ++signal) {
    struct sigaction action = {};
    if (sigismember(&blocked, signal) == 1) std::fprintf(report, "blocked: %d\n", signal);
    if (sigaction(signal, nullptr, &action) == 0 && action.sa_handler == SIG_IGN) {
      std::fprintf(report, "ignored: %d\n", signal);
    }
  }
}

void printDescriptors() {
  for (int descriptor = 0; descriptor < lastDescriptor; ++descriptor) {
    struct stat attributes = {};
    if (fstat(descriptor, &attributes) != 0) continue;
    const bool isNull = S_ISCHR(attributes.st_mode) && attributes.st_rdev == makedev(1, 3);
    const bool canWrite = (fcntl(descriptor, F_GETFL) & O_ACCMODE) != O_RDONLY;
    std::fprintf(report, "descriptor %d: %s%s\n", descriptor, isNull ? "null" : "other",
                 canWrite ? ", written" : "");
  }
}

void printLimits() {
  constexpr struct {
    const char* name;
    __rlimit_resource resource;
  } limits[] = {{"core", RLIMIT_CORE},  {"processor", RLIMIT_CPU}, {"file size", RLIMIT_FSIZE},
                {"data", RLIMIT_DATA},  {"memory", RLIMIT_AS},     {"descriptors", RLIMIT_NOFILE},
                {"stack", RLIMIT_STACK}};
  for (const auto& [name, resource] : limits) {
    rlimit limit = {};
    getrlimit(resource, &limit);
    std::fprintf(report, "limit of %s: %lld\n", name,
                 limit.rlim_cur == RLIM_INFINITY ? -1LL : static_cast<long long>(limit.rlim_cur));
  }
}

void printProcess() {
  const mode_t mask = umask(0);
  umask(mask);
  char directory[4096] = "";
  std::fprintf(report, "directory: %s\n", getcwd(directory, sizeof directory));
  std::fprintf(report, "mask: %03o\n", mask);
  std::fprintf(report, "leads its session: %d\n", getsid(0) == getpid() ? 1 : 0);
  std::fprintf(report, "process: %d\n", getpid());
  int deathSignal = 0;
  prctl(PR_GET_PDEATHSIG, &deathSignal);
  std::fprintf(report, "dies with its parent by: %d\n", deathSignal);
}

[[noreturn]] void waitForSignal() {
  std::puts("ready");
  std::fflush(stdout);
  for (;;) pause();
}

void refuseToEnd(int) {
  [[maybe_unused]] const ssize_t written = write(STDOUT_FILENO, "asked to end\n", 13);
}

void behave(const std::string& verb, int number) {
  if (verb == "exit") std::exit(number);
  if (verb == "die") std::raise(number);
  if (verb == "persist") {
    std::signal(SIGTERM, refuseToEnd);
    std::signal(SIGPIPE, SIG_IGN);
  }
  if (verb == "wait" || verb == "persist") waitForSignal();
}

void printAll(int count, char** arguments) {
  for (int index = 0; index < count; ++index) {
    std::fprintf(report, "argument %d: %s\n", index, arguments[index]);
  }
  for (char** variable = environ; *variable != nullptr; ++variable) {
    std::fprintf(report, "variable: %s\n", *variable);
  }
  printUsers();
  printSignals();
  printDescriptors();
  printLimits();
  printProcess();
}

}  // namespace

int main(int count, char** arguments) {
  char* text = nullptr;
  std::size_t length = 0;
  report = open_memstream(&text, &length);
  printAll(count, arguments);
  std::fclose(report);

  const std::string program = arguments[0];
  const std::string folder = program.substr(0, program.rfind('/') + 1);
  std::string verb;
  int number = 0;
  std::ifstream(folder + "behaviour") >> verb >> number;
  if (verb == "file") {
    std::ofstream(folder + "report") << text;
  } else {
    std::fputs(text, stdout);
    std::fflush(stdout);
  }
  std::free(text);
  std::fputs("said on standard error\n", stderr);
  behave(verb, number);
}
