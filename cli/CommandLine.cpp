#include "cli/Commands.h"
#include "cli/Errors.h"
#include "cli/simulate/PacketLoggerTool.h"

#include <csignal>
#include <exception>
#include <filesystem>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>
#include <fmt/format.h>

namespace tessline::cli {

namespace {

constexpr const char* exitCodeHelp =
    "Exit codes: 0 done, 1 input, output or a check failed, 2 the command line was not understood.";

// The arguments with which a live capture runs the tool that `simulate` can stand in for.
bool isPacketLoggerCall(const std::vector<std::string>& arguments) {
  static const std::vector<std::string> toolArguments = {"convert", "-s", "-f", "nhdr"};
  return std::filesystem::path(arguments.front()).filename() == "packetlogger" &&
         std::vector(arguments.begin() + 1, arguments.end()) == toolArguments;
}

int parseAndRun(int argumentCount, const char* const* arguments) {
  CLI::App application("Decodes what an Apple Siri Remote sends: buttons, voice, captures.",
                       "tessline");
  application.set_version_flag("--version", "tessline " TESSLINE_VERSION);
  application.require_subcommand(1);
  application.footer(exitCodeHelp);
  addDecodeCommand(application);
  addDemoCommand(application);
  addDoctorCommand(application);
  addInstallCommand(application);
  addListenCommand(application);
  addReplayCommand(application);
  addSimulateCommand(application);
  addStatusCommand(application);
  try {
    application.parse(argumentCount, arguments);
  } catch (const CLI::ParseError& error) {
    const bool isHelp = application.exit(error) == 0;
    return static_cast<int>(isHelp ? ExitCode::success : ExitCode::usage);
  }
  return static_cast<int>(ExitCode::success);
}

}  // namespace

int runCommandLine(int argumentCount, const char* const* arguments) {
  // A closed pipe is told by the write that fails, so that files can still be completed.
  std::signal(SIGPIPE, SIG_IGN);
  try {
    if (argumentCount > 0 && isPacketLoggerCall({arguments, arguments + argumentCount})) {
      return runAsPacketLogger();
    }
    return parseAndRun(argumentCount, arguments);
  } catch (const OutputClosed&) {
    return static_cast<int>(ExitCode::success);
  } catch (const CheckFailed&) {
    return static_cast<int>(ExitCode::failure);
  } catch (const std::exception& error) {
    fmt::print(stderr, "tessline: {}\n", error.what());
    return static_cast<int>(ExitCode::failure);
  }
}

}  // namespace tessline::cli
