/// @file
/// Programs that are not what they seem.
#pragma once

#include "tessline/model/TesslineError.h"
#include "tessline/platform/ChildProcess.h"

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

namespace tessline::test {

/// Runs no program: whatever is launched writes `output` and ends with `status`.
class FakeChildProcesses : public platform::ChildProcesses {
 public:
  std::string output;
  std::int32_t status = 0;
  std::optional<TesslineError> pipeFailure;
  std::optional<TesslineError> launchFailure;
  /// What was launched.
  std::vector<platform::ProcessDescription> launched;

  /// Whether anybody takes what the launched program complained of.
  bool areErrorsDrained() const { return hasHandler(launched.at(0).standardError); }
  /// Whether somebody is called with what it wrote, who then must not read it too.
  bool isOutputHandled() const { return hasHandler(launched.at(0).standardOutput); }

  std::shared_ptr<platform::Pipe> makePipe() override {
    if (pipeFailure) throw TesslineError(*pipeFailure);
    return std::make_shared<FakePipe>(*this);
  }
  std::shared_ptr<platform::ChildProcess> makeProcess(
      platform::ProcessDescription description) override {
    return std::make_shared<FakeProcess>(*this, std::move(description));
  }

 private:
  class FakePipe : public platform::Pipe {
   public:
    explicit FakePipe(FakeChildProcesses& owner) : owner_(owner) {}
    void setReadabilityHandler(platform::ReadabilityHandler handler) override {
      hasHandler = static_cast<bool>(handler);
    }
    std::vector<std::uint8_t> readDataToEndOfFile() override {
      EXPECT_FALSE(owner_.launched.empty()) << "would wait for a program that does not run";
      EXPECT_EQ(owner_.launched.back().standardOutput.get(), this);
      return {owner_.output.begin(), owner_.output.end()};
    }
    bool hasHandler = false;

   private:
    FakeChildProcesses& owner_;
  };

  class FakeProcess : public platform::ChildProcess {
   public:
    FakeProcess(FakeChildProcesses& owner, platform::ProcessDescription description)
        : owner_(owner), description_(std::move(description)) {}
    void setTerminationHandler(platform::TerminationHandler) override {}
    void launch() override {
      if (owner_.launchFailure) throw TesslineError(*owner_.launchFailure);
      owner_.launched.push_back(description_);
    }
    bool isRunning() const override { return false; }
    void terminate() override {}
    std::int32_t waitUntilExit() override {
      EXPECT_FALSE(owner_.launched.empty()) << "would wait for a program that does not run";
      return owner_.status;
    }

   private:
    FakeChildProcesses& owner_;
    const platform::ProcessDescription description_;
  };

  static bool hasHandler(const std::shared_ptr<platform::Pipe>& pipe) {
    return dynamic_cast<const FakePipe&>(*pipe).hasHandler;
  }
};

/// Runs the host's programs, and shell commands in the place of some.
class RedirectedChildProcesses : public platform::ChildProcesses {
 public:
  /// Who is told of every launch, before it.
  std::function<void(const platform::ProcessDescription&)> onLaunch = [](const auto&) {};

  explicit RedirectedChildProcesses(std::shared_ptr<platform::ChildProcesses> inner)
      : inner_(std::move(inner)) {}

  /// From now on `command` runs when `executable` is to be run, with its arguments as $1 and so on.
  void redirect(const std::string& executable, const std::string& command) {
    commands_[executable] = command;
  }

  std::shared_ptr<platform::Pipe> makePipe() override { return inner_->makePipe(); }
  std::shared_ptr<platform::ChildProcess> makeProcess(
      platform::ProcessDescription description) override {
    onLaunch(description);
    const auto command = commands_.find(description.executable);
    if (command != commands_.end()) {
      description.arguments.insert(description.arguments.begin(),
                                   {"-c", command->second, description.executable});
      description.executable = "/bin/sh";
    }
    return inner_->makeProcess(std::move(description));
  }

 private:
  const std::shared_ptr<platform::ChildProcesses> inner_;
  std::map<std::string, std::string> commands_;
};

}  // namespace tessline::test
