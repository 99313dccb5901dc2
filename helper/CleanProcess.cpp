#include "helper/CleanProcess.h"

#include "helper/Host.h"
#include "helper/Refusal.h"

#include <algorithm>
#include <csignal>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

// Not every system declares it.
extern char** environ;  // NOLINT(readability-redundant-declaration)

namespace helper {

namespace {

struct Limit {
  int resource;
  rlim_t soft;
};

// What a caller could set so low that the tool fails halfway through a write, and the stack, whose
// limit also decides how the tool's memory is laid out.
constexpr Limit limits[] = {
    {RLIMIT_CPU, RLIM_INFINITY}, {RLIMIT_FSIZE, RLIM_INFINITY}, {RLIMIT_DATA, RLIM_INFINITY},
    {RLIMIT_AS, RLIM_INFINITY},  {RLIMIT_NOFILE, 1024},         {RLIMIT_STACK, 8U << 20U},
};

void replaceByNull(int descriptor) {
  const int null = open("/dev/null", O_RDWR);
  if (null < 0 || (null != descriptor && dup2(null, descriptor) < 0)) {
    refuse(Refusal::notPrepared, "/dev/null cannot be opened");
  }
  // Those above are still to come or closed with the rest; none below is left closed.
  if (null > STDERR_FILENO) close(null);
}

bool isOpenForWriting(int descriptor) {
  const int flags = fcntl(descriptor, F_GETFL);
  return flags >= 0 && (flags & O_ACCMODE) != O_RDONLY;
}

}  // namespace

void provideStandardDescriptors() {
  replaceByNull(STDIN_FILENO);
  for (const int descriptor : {STDOUT_FILENO, STDERR_FILENO}) {
    if (!isOpenForWriting(descriptor)) replaceByNull(descriptor);
  }
}

void closeOtherDescriptors() {
  if (!closeDescriptorsFrom(STDERR_FILENO + 1)) {
    refuse(Refusal::notPrepared, "inherited descriptors cannot be closed");
  }
}

void resetLimits() {
  const rlimit none = {0, 0};
  bool done = setrlimit(RLIMIT_CORE, &none) == 0;
  for (const auto& [resource, soft] : limits) {
    rlimit limit = {};
    done = getrlimit(resource, &limit) == 0 && done;
    limit.rlim_cur = soft;
    limit.rlim_max = std::max(limit.rlim_max, soft);
    done = setrlimit(resource, &limit) == 0 && done;
  }
  if (!done) refuse(Refusal::notPrepared, "resource limits cannot be reset");
}

void resetSignals() {
  // Fails for those that cannot be changed, which are therefore not changed.
  for (int signal = 1; signal < NSIG; ++signal) std::signal(signal, SIG_DFL);
  sigset_t none;
  sigemptyset(&none);
  sigprocmask(SIG_SETMASK, &none, nullptr);
}

char* const* fixedEnvironment() {
  static char path[] = "PATH=/usr/bin:/bin:/usr/sbin:/sbin";
  static char language[] = "LC_ALL=C";
  static char* const variables[] = {path, language, nullptr};
  return variables;
}

void cleanProcess() {
  closeOtherDescriptors();
  resetLimits();
  resetSignals();
  umask(S_IWGRP | S_IWOTH);
  environ = const_cast<char**>(fixedEnvironment());
  if (chdir("/") != 0) refuse(Refusal::notPrepared, "the root directory cannot be entered");
  actAs(geteuid());
}

void actAs(uid_t user) {
  // A change of user may allow inspection again.
  if (seteuid(user) != 0 || !forbidInspection()) {
    refuse(Refusal::notPrepared, "the rights to act with cannot be changed");
  }
}

}  // namespace helper
