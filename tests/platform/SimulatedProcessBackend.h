/// @file
/// Scripted programs for the contract of child processes.
#pragma once

#include "tessline/platform/simulated/SimulatedHost.h"
#include "tests/platform/ChildProcessContract.h"
#include "tests/support/VirtualWaiting.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace tessline::test {

/// Programs of the simulated host: each is a script at a path of its own.
class SimulatedProcessBackend : public ProcessBackend {
 public:
  std::shared_ptr<platform::ChildProcesses> processes() override { return host_->childProcesses(); }
  bool waitUntil(const std::function<bool()>& isDone) override { return runUntil(*host_, isDone); }

  Program writing(const std::string& output, const std::string& errors, int status) override {
    SimulatedProgram program;
    program.standardOutput = bytesOf(output);
    program.standardError = bytesOf(errors);
    program.status = status;
    return installed(program);
  }
  Program writingTwice(const std::string& first, const std::string& second) override {
    second_ = bytesOf(second);
    SimulatedProgram program;
    program.standardOutput = bytesOf(first);
    return installed(program);
  }
  Program deafAndWritingTwice(const std::string& first, const std::string& second) override {
    second_ = bytesOf(second);
    SimulatedProgram program;
    program.standardOutput = bytesOf(first);
    program.endsWhenAsked = false;
    return installed(program);
  }
  // The one that waits is the last that was started.
  void proceed() override {
    const std::int64_t waiting = host_->processes().startedCount();
    ASSERT_TRUE(host_->processes().isRunning(waiting));
    host_->processes().write(waiting, second_);
    host_->processes().exit(waiting, 0);
  }
  Program endless() override { return installed({}); }
  Program dyingOf(int signal) override { return writing("", "", signal); }
  std::string pathOfNothing() override { return "/nothing/here"; }

 private:
  using SimulatedProgram = platform::simulated::SimulatedProgram;

  static std::vector<std::uint8_t> bytesOf(const std::string& text) {
    return {text.begin(), text.end()};
  }
  Program installed(SimulatedProgram program) {
    const std::string path = "/programs/" + std::to_string(++installedCount_);
    host_->processes().setProgram(path, std::move(program));
    return {path, {}};
  }

  std::shared_ptr<platform::simulated::SimulatedHost> host_ =
      platform::simulated::SimulatedHost::create();
  std::vector<std::uint8_t> second_;
  int installedCount_ = 0;
};

}  // namespace tessline::test
