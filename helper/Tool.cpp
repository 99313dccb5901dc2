#include "helper/Tool.h"

#include "helper/CleanProcess.h"
#include "helper/Host.h"
#include "helper/PathWalk.h"
#include "helper/Refusal.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <cstring>
#include <iterator>
#include <string_view>

#include <grp.h>
#include <sys/stat.h>
#include <unistd.h>

namespace helper {

namespace {

// The tool's name. Programs of the system also belong to root alone; one that reads commands from a
// terminal or a file, run with these arguments, would be the caller's way to become root.
constexpr std::string_view toolName = "packetlogger";
constexpr std::array toolArguments = {"convert", "-s", "-f", "nhdr"};
constexpr int commandLineLength = 2 + static_cast<int>(toolArguments.size());

void requirePlainPath(std::string_view path) {
  if (path.size() >= PATH_MAX) refuse(Refusal::path, "the tool's path is too long");
  const auto refusePath = [path](std::string_view why) {
    refuse(Refusal::path, std::string(path) + std::string(why));
  };
  if (path.empty() || path.front() != '/') refusePath(" is not an absolute path");
  std::string_view name;
  for (std::string_view rest = path; !rest.empty();) {
    rest.remove_prefix(1);
    name = rest.substr(0, rest.find('/'));
    if (name.empty() || name == "." || name == "..") refusePath(" is not a plain path");
    rest.remove_prefix(name.size());
  }
  if (name != toolName) refusePath(" is not named " + std::string(toolName));
}

void requireProgram(int file, const std::string& path) {
  struct stat attributes = {};
  if (fstat(file, &attributes) != 0) refuse(Refusal::notFound, path + ": " + describe(errno));
  const mode_t mode = attributes.st_mode;
  if (!S_ISREG(mode)) refuse(Refusal::notAProgram, path + " is not a regular file");
  if ((mode & (S_IXUSR | S_IXGRP | S_IXOTH)) == 0) {
    refuse(Refusal::notAProgram, path + " is not executable");
  }
  if ((mode & (S_ISUID | S_ISGID)) != 0) {
    refuse(Refusal::notAProgram, path + " changes its user or group itself");
  }
}

void becomeRootAlone() {
  // With an effective user of 0, setgid and setuid also set the real and the saved one.
  const bool done = setgroups(0, nullptr) == 0 && setgid(0) == 0 && setuid(0) == 0;
  if (!done || getuid() != 0 || geteuid() != 0 || getgid() != 0 || getegid() != 0) {
    refuse(Refusal::notPrepared, "the caller's user and groups cannot be given up");
  }
}

}  // namespace

std::string toolPathOf(int count, char* const* arguments) {
  const bool isRight = count == commandLineLength &&
                       std::equal(toolArguments.begin(), toolArguments.end(), arguments + 2,
                                  [](const char* expected, const char* given) {
                                    return std::strcmp(expected, given) == 0;
                                  });
  if (!isRight) refuse(Refusal::usage, "usage: PATH convert -s -f nhdr");
  requirePlainPath(arguments[1]);
  return arguments[1];
}

FileDescriptor openTrustedTool(const std::string& path) {
  actAs(getuid());
  PathWalk walk(path);
  FileDescriptor tool = walk.finish();
  actAs(0);
  if (!walk.weakness().empty()) refuse(Refusal::untrusted, walk.weakness());
  requireProgram(tool.get(), path);
  return tool;
}

void becomeTool(const FileDescriptor& tool, const std::string& path, int supervisor) {
  becomeRootAlone();
  resetSignals();
  // A session of its own: no terminal can be opened as /dev/tty and typed into, and what is typed
  // to interrupt the helper reaches the tool once, through the helper.
  if (setsid() < 0 || !dieWithParent(supervisor)) {
    refuse(Refusal::notPrepared, "the tool cannot be tied to the helper");
  }
  std::string name = path;
  std::array<std::string, toolArguments.size()> texts;
  std::copy(toolArguments.begin(), toolArguments.end(), texts.begin());
  char* const arguments[] = {name.data(),     texts[0].data(), texts[1].data(),
                             texts[2].data(), texts[3].data(), nullptr};
  static_assert(std::size(arguments) == commandLineLength);
  execute(tool.get(), arguments, fixedEnvironment());
  refuse(Refusal::cannotStart,
         path + (errno == ENOENT ? " cannot be started: it is a script, or needs a loader "
                                   "that is not there"
                                 : " cannot be started: " + describe(errno)));
}

}  // namespace helper
