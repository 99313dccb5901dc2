#include "helper/CleanProcess.h"
#include "helper/Refusal.h"
#include "helper/Supervisor.h"
#include "helper/Tool.h"

#include <cerrno>

#include <grp.h>
#include <unistd.h>

// Runs the capture tool as root for a user who may not be root: "com.morvane.helper PATH convert -s
// -f nhdr". docs/security.md says what it is trusted with and why. Nothing here is read from the
// environment or a file; whatever the caller chose is replaced before anything of it could matter.
int main(int count, char** arguments) {
  using namespace helper;
  const pid_t caller = getppid();
  provideStandardDescriptors();
  if (geteuid() != 0) refuse(Refusal::notRoot, "it is not set-uid root and cannot run the tool");
  cleanProcess();

  const std::string path = toolPathOf(count, arguments);
  const FileDescriptor tool = openTrustedTool(path);
  if (setgroups(0, nullptr) != 0) refuse(Refusal::notPrepared, "groups cannot be given up");

  const pid_t self = getpid();
  Supervisor supervisor(caller);
  const pid_t child = fork();
  if (child < 0) refuse(Refusal::notPrepared, "no process for the tool: " + describe(errno));
  if (child == 0) becomeTool(tool, path, self);
  _exit(supervisor.waitFor(child));
}
