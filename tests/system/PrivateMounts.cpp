#include "tests/system/PrivateMounts.h"

#include "tests/support/Needs.h"
#include "tests/system/Command.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <string>
#include <system_error>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace tessline::test {

namespace {

namespace fs = std::filesystem;

constexpr const char* insideVariable = "TESSLINE_PRIVATE_MOUNTS";
// How long a test may take, and then all its processes to end.
constexpr unsigned secondsToRun = 60;
constexpr unsigned secondsToEnd = 20;

void require(bool succeeded, const std::string& what) {
  if (!succeeded) throw std::system_error(errno, std::generic_category(), what);
}

dev_t deviceOf(const fs::path& path) {
  struct stat attributes = {};
  require(stat(path.c_str(), &attributes) == 0, path);
  return attributes.st_dev;
}

void bind(const fs::path& from, const fs::path& to) {
  require(mount(from.c_str(), to.c_str(), nullptr, MS_BIND | MS_REC, nullptr) == 0, to);
}

/// Gives `to` an entry for each of `from`, which is the same but for links, which are copies.
void showEntries(const fs::path& from, const fs::path& to) {
  for (const auto& entry : fs::directory_iterator(from)) {
    if (entry.path() == to) continue;
    const fs::path place = to / entry.path().filename();
    if (entry.is_symlink()) {
      fs::copy_symlink(entry.path(), place);
      continue;
    }
    if (entry.is_directory()) {
      fs::create_directory(place);
    } else {
      require(mknod(place.c_str(), S_IFREG | 0600, 0) == 0, place);
    }
    bind(entry.path(), place);
  }
}

/// Mounts memory at `place` that shows the entries of `shown`, a directory or the same one.
void mountOver(const fs::path& place, const fs::path& shown) {
  struct stat attributes = {};
  require(stat(shown.c_str(), &attributes) == 0, shown);
  // What is mounted over can still be reached by a descriptor.
  const int below = open(place.c_str(), O_PATH | O_CLOEXEC);
  require(below >= 0, place);
  require(mount("tmpfs", place.c_str(), "tmpfs", 0, "mode=0755") == 0, place);
  const fs::path belowPath = "/proc/self/fd/" + std::to_string(below);
  if (shown == place) {
    showEntries(belowPath, place);
  } else {
    showEntries(shown, place);
    const fs::path again = place / fs::relative(place, shown);
    fs::create_directory(again);
    bind(belowPath, again);
  }
  close(below);
  require(chown(place.c_str(), attributes.st_uid, attributes.st_gid) == 0, place);
  require(chmod(place.c_str(), attributes.st_mode & 07777) == 0, place);
}

/// Kills what a test that hung or crashed has left running.
void killOrphans() {
  while (waitpid(-1, nullptr, WNOHANG) >= 0) {
    std::ifstream children("/proc/thread-self/children");
    for (pid_t child = 0; children >> child;) {
      kill(child, SIGKILL);
      waitpid(child, nullptr, 0);
    }
  }
}

/// Runs the current test, and no other, in a new process of this program.
void runOnceMore() {
  const auto* test = ::testing::UnitTest::GetInstance()->current_test_info();
  Command command{.program = fs::read_symlink("/proc/self/exe"), .user = 0};
  command.arguments = {
      std::string("--gtest_filter=") + test->test_suite_name() + '.' + test->name(),
      "--gtest_brief=1"};
  command.environment = {std::string(insideVariable) + "=1"};
  for (char** variable = environ; *variable != nullptr; ++variable) {
    // Where to write the results, among others; the outer process does that.
    if (!std::string_view(*variable).starts_with("GTEST_")) {
      command.environment.emplace_back(*variable);
    }
  }
  command.prepare = [] { prctl(PR_SET_PDEATHSIG, SIGKILL); };
  // What the inner process leaves becomes this one's children.
  prctl(PR_SET_CHILD_SUBREAPER, 1);
  const Outcome outcome = test::run(command);
  killOrphans();
  EXPECT_EQ(outcome.exitCode, 0) << "signal " << outcome.signal << '\n'
                                 << outcome.output << outcome.errors;
}

/// Waits for everything that the test has started, also by way of processes that have ended.
void expectAllProcessesEnd() {
  alarm(secondsToEnd);
  while (wait(nullptr) > 0 || errno == EINTR) {
  }
  alarm(0);
}

void reportHang(int) {
  constexpr std::string_view text = "The test, or a process that it has started, does not end.\n";
  [[maybe_unused]] const ssize_t written = ::write(STDERR_FILENO, text.data(), text.size());
  _exit(EXIT_FAILURE);
}

}  // namespace

void PrivateMounts::run(const std::function<void(PrivateMounts& mounts)>& body) {
  TESSLINE_NEEDS_ROOT();
  if (std::getenv(insideVariable) == nullptr) return runOnceMore();
  // Processes whose parents have ended become this one's children.
  prctl(PR_SET_CHILD_SUBREAPER, 1);
  std::signal(SIGALRM, reportHang);
  alarm(secondsToRun);
  PrivateMounts mounts;
  body(mounts);
  expectAllProcessesEnd();
}

PrivateMounts::PrivateMounts() {
  require(unshare(CLONE_NEWNS) == 0, "unshare");
  require(mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0, "private mounts");
  const fs::path root = fs::exists("/mnt") ? "/mnt" : "/tmp";
  const fs::path directory = fs::current_path();
  mountOver(root, "/");
  require(chroot(root.c_str()) == 0 && chdir(directory.c_str()) == 0, "new root");
  own_.push_back(deviceOf("/"));
}

void PrivateMounts::directory(const fs::path& path, uid_t owner, mode_t mode) {
  keepPrivate(path.parent_path());
  if (fs::exists(path)) {
    keepPrivate(path);
  } else {
    require(mkdir(path.c_str(), 0755) == 0, path);
  }
  require(chown(path.c_str(), owner, owner) == 0 && chmod(path.c_str(), mode) == 0, path);
}

void PrivateMounts::install(const fs::path& source, const fs::path& path, uid_t owner,
                            mode_t mode) {
  write(path, "", owner, mode);
  fs::copy_file(source, path, fs::copy_options::overwrite_existing);
  require(chown(path.c_str(), owner, owner) == 0 && chmod(path.c_str(), mode) == 0, path);
}

void PrivateMounts::write(const fs::path& path, std::string_view text, uid_t owner, mode_t mode) {
  keepPrivate(path.parent_path());
  if (fs::is_regular_file(path) && !isPrivate(path)) umount2(path.c_str(), MNT_DETACH);
  const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC | O_NOFOLLOW, 0600);
  require(file >= 0, path);
  const bool written = ::write(file, text.data(), text.size()) == static_cast<ssize_t>(text.size());
  require(fchown(file, owner, owner) == 0 && fchmod(file, mode) == 0 && written, path);
  close(file);
}

void PrivateMounts::link(const fs::path& target, const fs::path& path, uid_t owner) {
  keepPrivate(path.parent_path());
  require(symlink(target.c_str(), path.c_str()) == 0, path);
  require(lchown(path.c_str(), owner, owner) == 0, path);
}

void PrivateMounts::fifo(const fs::path& path, uid_t owner, mode_t mode) {
  keepPrivate(path.parent_path());
  require(mkfifo(path.c_str(), 0600) == 0, path);
  require(chown(path.c_str(), owner, owner) == 0 && chmod(path.c_str(), mode) == 0, path);
}

void PrivateMounts::mountMemory(const fs::path& path, unsigned long flags) {
  directory(path);
  require(mount("tmpfs", path.c_str(), "tmpfs", flags, "mode=0755") == 0, path);
  own_.push_back(deviceOf(path));
}

void PrivateMounts::keepPrivate(const fs::path& directory) {
  if (!fs::exists(directory)) {
    keepPrivate(directory.parent_path());
    require(mkdir(directory.c_str(), 0755) == 0, directory);
  } else if (!isPrivate(directory)) {
    takeOver(fs::canonical(directory));
  }
}

void PrivateMounts::takeOver(const fs::path& directory) {
  mountOver(directory, directory);
  own_.push_back(deviceOf(directory));
}

bool PrivateMounts::isPrivate(const fs::path& path) const {
  return std::find(own_.begin(), own_.end(), deviceOf(path)) != own_.end();
}

}  // namespace tessline::test
