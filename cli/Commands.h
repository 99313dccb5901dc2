/// @file
/// The subcommands of `tessline`. Each adds itself, with its options and help, to the application;
/// its callback does the work and throws what `cli/Errors.h` names to end early.
#pragma once

#include <CLI/App.hpp>

namespace tessline::cli {

void addDecodeCommand(CLI::App& application);
void addDemoCommand(CLI::App& application);
void addDoctorCommand(CLI::App& application);
void addInstallCommand(CLI::App& application);
void addListenCommand(CLI::App& application);
void addReplayCommand(CLI::App& application);
void addSimulateCommand(CLI::App& application);
void addStatusCommand(CLI::App& application);

/// The whole command line: parses `arguments` (the program's name first), runs the subcommand and
/// gives the process's exit code. Messages for people go to standard error.
int runCommandLine(int argumentCount, const char* const* arguments);

}  // namespace tessline::cli
