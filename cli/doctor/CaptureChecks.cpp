#include "cli/doctor/CaptureChecks.h"

#include "cli/doctor/ToolTrust.h"
#include "tessline/capture/PacketLoggerInstallation.h"
#include "tessline/capture/RemoteAddress.h"
#include "tessline/model/TesslineError.h"
#include "tessline/text/Whitespace.h"

#include <algorithm>
#include <cstdint>
#include <map>
#include <memory>
#include <string_view>
#include <utility>

#include <fmt/format.h>

namespace tessline::cli {

namespace {

using Installation = PacketLoggerInstallation;
using Origin = Installation::ToolOrigin;

constexpr std::uint32_t root = 0;
constexpr std::uint32_t setUserIDBit = 04000;
constexpr std::uint32_t writableByOthersBits = 0022;

constexpr std::string_view ownCopy =
    "copy the tool to where root alone can write and name it: tessline listen capture --tool PATH";

std::string_view describe(Origin origin) {
  switch (origin) {
    case Origin::installedRuntime:
      return "the installed runtime";
    case Origin::environmentVariable:
      return "from PACKETLOGGER_PATH";
    case Origin::application:
      return "came with the application";
    case Origin::library:
      return "came with the library";
    case Origin::usualPlace:
      return "in one of its usual places";
  }
  return {};
}

// A version, if it is one that people would write.
std::string quoted(std::string_view text) {
  constexpr std::size_t longest = 32;
  const bool isPlain = text.size() <= longest &&
                       std::ranges::all_of(text, [](char c) { return c >= ' ' && c <= '~'; });
  return isPlain ? fmt::format("\"{}\"", text) : "something else";
}

// For a shell, quoted where it has to be.
std::string shellWord(const std::string& text) {
  constexpr std::string_view plain =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789/._-+,:@%";
  if (!text.empty() && text.find_first_not_of(plain) == std::string::npos) return text;
  std::string word = "'";
  for (const char character : text) {
    word += character == '\'' ? R"('\'')" : std::string(1, character);
  }
  return word + "'";
}

// One look at the machine.
class CaptureDoctor {
 public:
  CaptureDoctor(platform::Platform& platform, const std::optional<std::string>& tool)
      : platform_(platform),
        files_(platform.fileManager()),
        isRoot_(platform.environment()->effectiveUserID() == root),
        isToolGiven_(tool.has_value()),
        runtime_(Installation::installedPacketLoggerPath(platform)),
        hasRuntime_(files_->isExecutableFile(runtime_)),
        isRuntimeInstalled_(Installation::isRuntimeInstalled(platform)),
        hasPackedRuntime_(Installation::bundledPayloadURL(platform).has_value()),
        variables_(platform.environment()->variables()),
        tool_(tool ? tool : Installation::findPacketLoggerPath(variables_, platform)) {}

  std::vector<Check> look() { return {runtime(), version(), helper(), tool(), trust(), address()}; }

 private:
  Check runtime() const {
    const std::string name = "runtime";
    if (hasRuntime_) return {name, CheckState::ok, runtime_ + " is there and executable"};
    const bool isThere = files_->fileExists(runtime_);
    const std::string detail =
        runtime_ + (isThere ? " is there, but not executable" : " is not there");
    if (isToolGiven_) {
      return {name, CheckState::note, detail + "; not needed, as a tool is named"};
    }
    if (!tool_) return {name, CheckState::missing, detail, runtimeRemedy(isThere)};
    if (!hasPackedRuntime_) {
      return {name, CheckState::note, detail + "; not needed, as there is another tool"};
    }
    return {name, CheckState::warning,
            detail + "; a capture installs it first, and runs it instead of " + *tool_,
            "to run the other tool: tessline listen capture --tool " + shellWord(*tool_)};
  }

  std::string runtimeRemedy(bool isThere) const {
    if (!hasPackedRuntime_) {
      return isThere ? "chmod 755 " + shellWord(runtime_)
                     : "no runtime came with this application; " + std::string(ownCopy);
    }
    if (isRoot_) return "tessline install";
    return "tessline install; the helper refuses a tool in a user's own folder (exit code 67): for "
           "captures without being root, " +
           std::string(ownCopy);
  }

  Check version() const {
    const std::string name = "runtime version";
    const std::string marker = Installation::installedVersionMarkerPath(platform_);
    if (!hasRuntime_) return {name, CheckState::note, "there is no runtime that could have one"};
    const std::string detail = marker + " " + markerText(marker);
    if (isRuntimeInstalled_) return {name, CheckState::ok, detail};
    if (isToolGiven_) {
      return {name, CheckState::note, detail + "; not needed, as a tool is named"};
    }
    if (hasPackedRuntime_) {
      return {name, CheckState::missing,
              detail + "; a capture installs the runtime anew when it starts", "tessline install"};
    }
    return {
        name, CheckState::missing,
        detail + "; a capture runs the runtime as it is, but the helper cannot be installed",
        "install anew from an application that has the packed runtime, or " + std::string(ownCopy)};
  }

  std::string markerText(const std::string& marker) const {
    if (!files_->fileExists(marker)) return "is not there";
    try {
      const auto data = files_->contents(marker);
      const std::string text(data.begin(), data.end());
      if (!isValidUtf8(text)) return "cannot be read: it is not UTF-8";
      const std::string_view trimmed = trimmedOfWhitespaceAndNewlines(text);
      if (trimmed == Installation::runtimeInstallVersion) return "says " + quoted(trimmed);
      return fmt::format("says {} instead of \"{}\"", quoted(trimmed),
                         Installation::runtimeInstallVersion);
    } catch (const TesslineError& error) {
      return "cannot be read: " + error.localizedDescription();
    }
  }

  Check helper() const {
    Check check = helperForUsers();
    if (!isRoot_) return check;
    check.state = CheckState::note;
    check.detail = "not needed, as root runs the tool directly; " + check.detail;
    if (!check.remedy.empty()) check.remedy = "for users who are not root: " + check.remedy;
    return check;
  }

  Check helperForUsers() const {
    const std::string name = "helper";
    const std::string path(Installation::privilegedHelperPath);
    const auto attributes = files_->attributes(path);
    if (!attributes) {
      return {name, CheckState::missing,
              path + (files_->fileExists(path) ? " cannot be looked at" : " is not there"),
              helperRemedy()};
    }
    const std::uint32_t mode = attributes->posixPermissions;
    const std::string owner = attributes->ownerAccountID == root
                                  ? "root"
                                  : fmt::format("account {}", attributes->ownerAccountID);
    const std::string facts =
        fmt::format("{} has the owner {} and the mode {:04o}", path, owner, mode);
    if (attributes->ownerAccountID != root) {
      return {name, CheckState::missing, facts + ", but must belong to root", helperRemedy()};
    }
    if ((mode & setUserIDBit) == 0) {
      return {name, CheckState::missing, facts + ", which lacks the set-uid bit", helperRemedy()};
    }
    if ((mode & writableByOthersBits) != 0) {
      // It counts as installed, and nobody knows what is in it.
      return {name, CheckState::warning, facts + ": others can make root run what they write in it",
              helperByHand()};
    }
    if (!files_->isExecutableFile(path)) {
      return {name, CheckState::warning, facts + ", and this user may not execute it",
              "have an administrator add this user to its group"};
    }
    return {name, CheckState::ok, facts};
  }

  // What works here: an application does not always come with it, nor can every system ask.
  std::string helperRemedy() const {
    const bool isPossible = Installation::bundledHelperURL(platform_) &&
                            (isRuntimeInstalled_ || hasPackedRuntime_) &&
                            files_->isExecutableFile(std::string(Installation::administratorTool));
    return isPossible ? "tessline install" : helperByHand();
  }

  std::string helperByHand() const {
    const auto source = Installation::bundledHelperURL(platform_);
    const std::string_view path = Installation::privilegedHelperPath;
    return fmt::format("sudo mkdir -p {} && sudo install -o 0 -g 0 -m 4755 {} {}",
                       path.substr(0, path.rfind('/')),
                       source ? shellWord(*source) : "siri-remote-helper", path);
  }

  Check tool() const {
    const std::string name = "tool";
    if (isToolGiven_) {
      if (files_->isExecutableFile(*tool_)) {
        return {name, CheckState::ok, *tool_ + ", as it was named"};
      }
      return {name, CheckState::missing,
              *tool_ + (files_->fileExists(*tool_) ? " is not a file that this user may execute"
                                                   : " is not there"),
              "name another one with --tool"};
    }
    if (!tool_) return noTool();
    const auto candidates = Installation::packetLoggerCandidates(variables_, platform_);
    const auto found = std::ranges::find(candidates, *tool_, &Installation::ToolCandidate::path);
    Check check{name, CheckState::ok, *tool_ + ", " + std::string(describe(found->origin))};
    const auto variable = variables_.find(std::string(Installation::packetLoggerPathVariable));
    if (variable == variables_.end() || *tool_ == variable->second) return check;
    check.state = CheckState::warning;
    if (files_->isExecutableFile(variable->second)) {
      // Nothing but the runtime comes before it.
      check.detail += ", which comes before PACKETLOGGER_PATH (" + variable->second + ")";
      check.remedy =
          "to run the other: tessline listen capture --tool " + shellWord(variable->second);
    } else {
      check.detail +=
          "; PACKETLOGGER_PATH names " + variable->second + ", which cannot be executed";
      check.remedy = "correct PACKETLOGGER_PATH or unset it";
    }
    return check;
  }

  Check noTool() const {
    const auto variable = variables_.find(std::string(Installation::packetLoggerPathVariable));
    std::string detail = "there is none in any of the places where a capture looks";
    if (variable != variables_.end()) {
      detail += "; PACKETLOGGER_PATH names " + variable->second + ", which cannot be executed";
    }
    return {"tool", CheckState::missing, detail,
            hasPackedRuntime_ ? "install the runtime, as above"
                              : "install Apple's PacketLogger from Additional Tools for Xcode, or "
                                "name a tool with PACKETLOGGER_PATH or --tool"};
  }

  Check trust() const {
    const std::string name = "tool's safety";
    if (!tool_ || (isToolGiven_ && !files_->fileExists(*tool_))) {
      return {name, CheckState::note, "there is no tool to look at"};
    }
    const auto refusal = helperRefusalOf(*tool_, *files_);
    if (!refusal) {
      return {name, CheckState::ok, "root alone can change it, as far as owners and modes tell"};
    }
    const bool isUntrusted = refusal->code == HelperRefusal::Code::untrusted;
    const int exitCode = static_cast<int>(refusal->code);
    std::string remedy(ownCopy);
    if (!isToolGiven_ && *tool_ == runtime_) {
      remedy += "; PACKETLOGGER_PATH does not help, as the installed runtime comes before it";
    }
    if (!isRoot_) {
      return {name, CheckState::warning,
              fmt::format("{}: the helper refuses such a tool with exit code {}{}", refusal->reason,
                          exitCode,
                          isUntrusted ? ", as only root may be able to change it along its whole "
                                        "path"
                                      : ""),
              remedy};
    }
    if (isUntrusted) {
      return {name, CheckState::warning,
              refusal->reason + ": whoever can change the tool decides what root runs", remedy};
    }
    return {name, CheckState::note,
            fmt::format("{}: root runs it all the same, but the helper would refuse it with exit "
                        "code {}",
                        refusal->reason, exitCode)};
  }

  Check address() const {
    const std::string name = "remote address";
    const std::string all = "; a capture listens to all remotes";
    const std::string reportTool(bluetoothReportTool);
    if (!files_->isExecutableFile(reportTool)) {
      return {name, CheckState::note,
              "not known, as " + reportTool + ", which reports it, is not there" + all};
    }
    const auto address = detectConnectedSiriRemoteAddress(*platform_.childProcesses());
    if (address) return {name, CheckState::ok, *address};
    return {name, CheckState::note, "no Siri Remote in the report of " + reportTool + all};
  }

  platform::Platform& platform_;
  const std::shared_ptr<platform::FileManager> files_;
  const bool isRoot_;
  const bool isToolGiven_;
  const std::string runtime_;
  const bool hasRuntime_;
  const bool isRuntimeInstalled_;
  const bool hasPackedRuntime_;
  const std::map<std::string, std::string> variables_;
  const std::optional<std::string> tool_;
};

}  // namespace

std::vector<Check> captureChecks(platform::Platform& platform,
                                 const std::optional<std::string>& tool) {
  return CaptureDoctor(platform, tool).look();
}

}  // namespace tessline::cli
