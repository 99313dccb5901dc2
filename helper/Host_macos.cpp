#include "helper/FileDescriptor.h"
#include "helper/Host.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <vector>

#include <fcntl.h>
#include <libproc.h>
#include <sys/acl.h>
#include <sys/event.h>
#include <sys/ptrace.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace helper {

namespace {

// Whoever has one of them can change a file, what a directory holds, or who may do so.
constexpr acl_perm_t writingPermissions[] = {
    ACL_WRITE_DATA,       ACL_APPEND_DATA,         ACL_DELETE,         ACL_DELETE_CHILD,
    ACL_WRITE_ATTRIBUTES, ACL_WRITE_EXTATTRIBUTES, ACL_WRITE_SECURITY, ACL_CHANGE_OWNER,
};

// How programs begin: for one processor, and for several.
constexpr std::uint32_t programBeginnings[] = {0xfeedfacf, 0xbebafeca, 0xbfbafeca};

bool allowsWriting(acl_entry_t entry) {
  acl_tag_t kind = ACL_UNDEFINED_TAG;
  acl_permset_t permissions = nullptr;
  if (acl_get_tag_type(entry, &kind) != 0 || acl_get_permset(entry, &permissions) != 0) return true;
  // One that denies takes nothing from what the mode and the others say.
  return kind != ACL_EXTENDED_DENY &&
         std::any_of(std::begin(writingPermissions), std::end(writingPermissions),
                     [&](acl_perm_t each) { return acl_get_perm_np(permissions, each) != 0; });
}

/// Makes `queue` tell the end of a process, whoever's child it is; poll finds it readable then.
/// False if there is no such process any more.
bool noteEnd(int queue, pid_t process) {
  struct kevent change = {};
  EV_SET(&change, static_cast<uintptr_t>(process), EVFILT_PROC, EV_ADD | EV_ONESHOT, NOTE_EXIT, 0,
         nullptr);
  return kevent(queue, &change, 1, nullptr, 0, nullptr) == 0;
}

/// Waits until one of two has ended; whether `process` is among those that have.
bool waitForEnd(int queue, pid_t process) {
  struct kevent ends[2] = {};
  int count = 0;
  do {
    count = kevent(queue, nullptr, 0, ends, static_cast<int>(std::size(ends)), nullptr);
  } while (count < 0 && errno == EINTR);
  return std::any_of(ends, ends + std::max(count, 0), [process](const struct kevent& each) {
    return each.ident == static_cast<uintptr_t>(process);
  });
}

/// Kills `child` when `parent` ends, and ends with `child`. Writes a byte to `ready` when neither
/// end can be missed any more. Holds nothing open that somebody waits for the end of.
[[noreturn]] void guard(pid_t parent, pid_t child, int ready) {
  dup2(ready, STDIN_FILENO);
  closeDescriptorsFrom(STDIN_FILENO + 1);
  const int queue = kqueue();
  if (!noteEnd(queue, child) || !noteEnd(queue, parent) || write(STDIN_FILENO, "", 1) != 1) {
    _exit(1);
  }
  close(STDIN_FILENO);
  if (!waitForEnd(queue, child)) kill(child, SIGKILL);
  _exit(0);
}

}  // namespace

bool forbidInspection() {
  const rlimit none = {0, 0};
  return setrlimit(RLIMIT_CORE, &none) == 0 && ptrace(PT_DENY_ATTACH, 0, nullptr, 0) == 0;
}

bool closeDescriptorsFrom(int first) {
  // A limit says nothing about the highest that is open: it may have been lowered since.
  const pid_t self = getpid();
  std::vector<proc_fdinfo> open(64);
  int size = 0;
  for (;;) {
    const int room = static_cast<int>(open.size() * sizeof open[0]);
    size = proc_pidinfo(self, PROC_PIDLISTFDS, 0, open.data(), room);
    if (size <= 0) return false;
    if (size < room) break;
    open.resize(open.size() * 2);
  }
  open.resize(static_cast<std::size_t>(size) / sizeof open[0]);
  for (const proc_fdinfo& each : open) {
    if (each.proc_fd >= first && close(each.proc_fd) != 0 && errno == EBADF) return false;
  }
  return true;
}

int openToLook(int directory, const char* name) {
  // Opening a device may start something; whoever puts one in between now could open it, too, as
  // the rights are the caller's.
  struct stat attributes = {};
  if (fstatat(directory, name, &attributes, AT_SYMLINK_NOFOLLOW) != 0) return -1;
  const mode_t mode = attributes.st_mode;
  if (!S_ISDIR(mode) && !S_ISREG(mode) && !S_ISLNK(mode)) {
    errno = EFTYPE;
    return -1;
  }
  return openat(directory, name, O_EVTONLY | O_SYMLINK | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
}

bool othersMayWriteByList(int file) {
  errno = 0;
  const acl_t list = acl_get_fd_np(file, ACL_TYPE_EXTENDED);
  if (list == nullptr) return errno != ENOENT && errno != ENOTSUP;
  bool mayWrite = false;
  acl_entry_t entry = nullptr;
  for (int which = ACL_FIRST_ENTRY; acl_get_entry(list, which, &entry) == 0;
       which = ACL_NEXT_ENTRY) {
    mayWrite = mayWrite || allowsWriting(entry);
  }
  acl_free(list);
  return mayWrite;
}

void execute(int file, char* const* arguments, char* const* environment) {
  // No descriptor can be executed here, and the system's own path of one may be that of a hard link
  // elsewhere. The path given leads to the very file, and root alone can make it lead elsewhere:
  // nothing else is trusted on this system.
  struct stat expected = {};
  struct stat found = {};
  const FileDescriptor program(open(arguments[0], O_RDONLY | O_CLOEXEC));
  if (!program.isOpen() || fstat(file, &expected) != 0 || fstat(program.get(), &found) != 0) return;
  std::uint32_t beginning = 0;
  const bool isProgram = read(program.get(), &beginning, sizeof beginning) == sizeof beginning &&
                         std::find(std::begin(programBeginnings), std::end(programBeginnings),
                                   beginning) != std::end(programBeginnings);
  if (!isProgram || expected.st_dev != found.st_dev || expected.st_ino != found.st_ino) {
    errno = isProgram ? ESTALE : ENOEXEC;
    return;
  }
  execve(arguments[0], arguments, environment);
}

bool dieWithParent(pid_t parent) {
  // The system kills nobody for it, so a third process does, a child of neither.
  const pid_t self = getpid();
  int ready[2];
  if (pipe(ready) != 0) return false;
  const FileDescriptor readyToRead(ready[0]);
  FileDescriptor readyToWrite(ready[1]);
  const pid_t between = fork();
  if (between < 0) return false;
  if (between == 0) {
    const pid_t guardian = fork();
    if (guardian == 0) guard(parent, self, ready[1]);
    _exit(guardian < 0 ? 1 : 0);
  }
  readyToWrite = FileDescriptor();
  int status = 0;
  char byte = 0;
  return waitpid(between, &status, 0) == between && status == 0 &&
         read(readyToRead.get(), &byte, 1) == 1 && getppid() == parent;
}

int watchForEnd(pid_t caller) {
  const int queue = kqueue();
  fcntl(queue, F_SETFD, FD_CLOEXEC);
  if (noteEnd(queue, caller)) return queue;
  // One that has ended already is noticed by asking.
  close(queue);
  return -1;
}

}  // namespace helper
