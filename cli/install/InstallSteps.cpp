#include "cli/install/InstallSteps.h"

#include "tessline/capture/CaptureStatus.h"
#include "tessline/capture/PacketLoggerInstallation.h"
#include "tessline/model/TesslineError.h"

namespace tessline::cli {

namespace {

using Installation = PacketLoggerInstallation;
using Report = std::function<void(const InstallStep&)>;

bool installRuntime(platform::Platform& platform, bool force, const Report& report) {
  const std::string name = "runtime";
  const std::string root = Installation::installedRuntimeRootURL(platform);
  if (!force && Installation::isRuntimeInstalled(platform)) {
    report({name, StepState::present, root});
    return true;
  }
  report({name, StepState::installing, "Unpacking the runtime..."});
  try {
    Installation::installRuntime(platform);
  } catch (const TesslineError& error) {
    report({name, StepState::failed, error.localizedDescription()});
    return false;
  }
  report({name, StepState::installed, root});
  return true;
}

bool installHelper(platform::Platform& platform, const Report& report) {
  const std::string name = "helper";
  const std::string path(Installation::privilegedHelperPath);
  if (Installation::isPrivilegedHelperInstalled(platform)) {
    report({name, StepState::present, path});
    return true;
  }
  report({name, StepState::installing, std::string(captureStatus::installingHelper)});
  try {
    Installation::installPrivilegedHelper(platform);
  } catch (const TesslineError& error) {
    report({name, StepState::failed, error.localizedDescription()});
    return false;
  }
  if (!Installation::isPrivilegedHelperInstalled(platform)) {
    report({name, StepState::failed,
            "The installation reported success, but " + path +
                " is not there, not root's or not set-uid."});
    return false;
  }
  report({name, StepState::installed, path});
  return true;
}

}  // namespace

bool installForCapture(platform::Platform& platform, bool force, const Report& report) {
  const bool hasRuntime = installRuntime(platform, force, report);
  const bool hasHelper = installHelper(platform, report);
  return hasRuntime && hasHelper && Installation::isFullyInstalled(platform);
}

}  // namespace tessline::cli
