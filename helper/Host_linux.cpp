#include "helper/Host.h"

#include <csignal>

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace helper {

bool forbidInspection() {
  return prctl(PR_SET_DUMPABLE, 0) == 0;
}

bool closeDescriptorsFrom(int first) {
  return syscall(SYS_close_range, first, ~0U, 0) == 0;
}

int openToLook(int directory, const char* name) {
  return openat(directory, name, O_PATH | O_NOFOLLOW | O_CLOEXEC);
}

bool othersMayWriteByList(int) {
  // A POSIX list that lets anyone write shows its mask in the mode's bits for the group.
  return false;
}

void execute(int file, char* const* arguments, char* const* environment) {
  // As the descriptor closes on execution, no interpreter of a script could open it.
  syscall(SYS_execveat, file, "", arguments, environment, AT_EMPTY_PATH);
}

bool dieWithParent(pid_t parent) {
  return prctl(PR_SET_PDEATHSIG, SIGKILL) == 0 && getppid() == parent;
}

int watchForEnd(pid_t caller) {
  return static_cast<int>(syscall(SYS_pidfd_open, caller, 0));
}

}  // namespace helper
