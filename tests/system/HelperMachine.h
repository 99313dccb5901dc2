#pragma once

#include "tests/system/Command.h"
#include "tests/system/PrivateMounts.h"

#include <filesystem>
#include <functional>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

namespace tessline::test {

inline constexpr const char* helperPath = "/Library/PrivilegedHelperTools/com.morvane.helper";
inline constexpr const char* goodTool = "/opt/tool/packetlogger";
inline constexpr const char* usersFolder = "/home/someone";

/// A machine with the privileged helper installed, a tool that it may run, and a user's own folder.
class HelperMachine : public PrivateMounts {
 public:
  explicit HelperMachine(const PrivateMounts& mounts);

  /// Calls `body` on such a machine.
  static void run(const std::function<void(HelperMachine& machine)>& body);

  void installTool(const std::filesystem::path& path, uid_t owner = 0, mode_t mode = 0755);

  /// What the good tool does after its report; see ProbeTool.cpp.
  void let(std::string_view behaviour) { write("/opt/tool/behaviour", behaviour); }
};

/// The right command line, run by nobody.
Command helperCommand(const std::string& tool = goodTool);

Outcome runHelper(const std::string& tool = goodTool);

/// The numbers that docs/security.md lists.
enum class HelperExit {
  usage = 64,
  path = 65,
  notFound = 66,
  untrusted = 67,
  notAProgram = 68,
  cannotStart = 69,
  notPrepared = 70,
  notRoot = 71,
};

/// That nothing ran, and one line said why, with `word` in it.
void expectRefusal(const Outcome& outcome, HelperExit code, std::string_view word);

/// That the tool ran as root.
void expectRun(const Outcome& outcome);

/// Whether a report has this line.
bool hasLine(std::string_view report, std::string_view line);

/// The value behind "name: " in a report, empty if there is none.
std::string valueOf(std::string_view report, std::string_view name);

}  // namespace tessline::test
