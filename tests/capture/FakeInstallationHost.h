/// @file
/// The host with a home, resources and tools of the test's own.
#pragma once

#include "tests/capture/FakeChildProcesses.h"
#include "tests/support/Files.h"
#include "tests/support/PlatformDecorator.h"

#include <algorithm>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace tessline::test {

/// Says what the test says.
class ScriptedEnvironment : public platform::HostEnvironment {
 public:
  std::string home = "/home/someone";
  std::optional<std::string> applicationSupport;
  std::optional<std::string> identifier;
  /// By their whole names.
  std::map<std::string, std::string> mainResources;
  std::map<std::string, std::string> libraryResources;

  std::map<std::string, std::string> variables() override { return {}; }
  std::uint32_t effectiveUserID() override { return 501; }
  std::string homeDirectory() override { return home; }
  std::chrono::system_clock::time_point currentDate() override { return {}; }
  std::optional<std::string> applicationSupportDirectory() override { return applicationSupport; }
  std::optional<std::string> mainBundleIdentifier() override { return identifier; }
  std::optional<std::string> resource(platform::Bundle bundle, std::string_view name,
                                      std::string_view extension) override {
    std::string file(name);
    if (!extension.empty()) file.append(".").append(extension);
    const auto& all = bundle == platform::Bundle::main ? mainResources : libraryResources;
    const auto found = all.find(file);
    return found == all.end() ? std::nullopt : std::optional(found->second);
  }
};

/// The host's files, but for what the test says of some. Notes what is done to them.
class ScriptedFiles : public platform::FileManager {
 public:
  /// What was done, and to what; questions about permissions are among it.
  std::vector<std::string> log;
  /// Steps, as in the log, that fail.
  std::set<std::string> failing;
  /// If there, what is executable; nothing else is.
  std::optional<std::set<std::string>> executables;
  /// Of which files the attributes are the test's.
  std::map<std::string, std::optional<platform::FileAttributes>> scriptedAttributes;

  explicit ScriptedFiles(std::shared_ptr<platform::FileManager> inner) : inner_(std::move(inner)) {}

  bool isExecutableFile(const std::string& path) override {
    step("test", path);
    return executables ? executables->contains(path) : inner_->isExecutableFile(path);
  }
  bool fileExists(const std::string& path) override { return inner_->fileExists(path); }
  std::optional<platform::FileAttributes> attributes(const std::string& path) override {
    step("look at", path);
    const auto scripted = scriptedAttributes.find(path);
    return scripted == scriptedAttributes.end() ? inner_->attributes(path) : scripted->second;
  }
  std::vector<std::uint8_t> contents(const std::string& path) override {
    step("read", path);
    return inner_->contents(path);
  }
  void writeAtomically(const std::string& path, std::span<const std::uint8_t> data) override {
    step("write", path);
    inner_->writeAtomically(path, data);
  }
  void createDirectory(const std::string& path) override {
    step("make", path);
    inner_->createDirectory(path);
  }
  void removeItem(const std::string& path) override {
    step("remove", path);
    inner_->removeItem(path);
  }
  void setPosixPermissions(const std::string& path, std::uint32_t permissions) override {
    step("chmod", path);
    inner_->setPosixPermissions(path, permissions);
  }

 private:
  void step(const std::string& what, const std::string& path) {
    log.push_back(what + " " + path);
    if (failing.contains(log.back())) throw TesslineError("Test", 77, "cannot " + log.back());
  }

  const std::shared_ptr<platform::FileManager> inner_;
};

/// All of it. Launched programs are noted among what is done to files.
class FakeInstallationHost : public PlatformDecorator {
 public:
  const std::shared_ptr<ScriptedEnvironment> scriptedEnvironment =
      std::make_shared<ScriptedEnvironment>();
  const std::shared_ptr<ScriptedFiles> files =
      std::make_shared<ScriptedFiles>(platform::hostPlatform()->fileManager());
  const std::shared_ptr<RedirectedChildProcesses> processes =
      std::make_shared<RedirectedChildProcesses>(platform::hostPlatform()->childProcesses());
  /// What was run.
  std::vector<platform::ProcessDescription> launched;

  FakeInstallationHost() : PlatformDecorator(platform::hostPlatform()) {
    processes->onLaunch = [this](const platform::ProcessDescription& description) {
      files->log.push_back("run " + description.executable);
      launched.push_back(description);
    };
  }

  std::shared_ptr<platform::ChildProcesses> childProcesses() override { return processes; }
  std::shared_ptr<platform::FileManager> fileManager() override { return files; }
  std::shared_ptr<platform::HostEnvironment> environment() override { return scriptedEnvironment; }

  /// How often a program was run.
  std::ptrdiff_t runs(const std::string& executable) const {
    return std::ranges::count(launched, executable, &platform::ProcessDescription::executable);
  }
};

}  // namespace tessline::test
