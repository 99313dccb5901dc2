/// @file
/// What every backend's files are tested through.
#pragma once

#include "tessline/model/TesslineError.h"
#include "tessline/platform/Platform.h"
#include "tessline/platform/simulated/SimulatedHost.h"
#include "tests/platform/BackendName.h"
#include "tests/support/Files.h"

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <system_error>

#include <gtest/gtest.h>
#include <unistd.h>

namespace tessline::test {

/// A backend under test, and a directory of its own.
class FileBackend {
 public:
  virtual ~FileBackend() = default;

  virtual std::shared_ptr<platform::FileManager> files() = 0;
  virtual std::string directory() = 0;
  /// The account that owns what is made here.
  virtual std::int64_t account() = 0;
  virtual void makeLink(const std::string& target, const std::string& path) = 0;
};

/// Files of the host.
class HostFileBackend : public FileBackend {
 public:
  std::shared_ptr<platform::FileManager> files() override {
    return platform::hostPlatform()->fileManager();
  }
  std::string directory() override { return directory_.path(); }
  std::int64_t account() override { return ::geteuid(); }
  void makeLink(const std::string& target, const std::string& path) override {
    std::filesystem::create_symlink(target, path);
  }

 private:
  TemporaryDirectory directory_;
};

/// Files of the simulated host.
class SimulatedFileBackend : public FileBackend {
 public:
  SimulatedFileBackend() { host_->files().createDirectory(directory()); }

  std::shared_ptr<platform::FileManager> files() override { return host_->fileManager(); }
  std::string directory() override { return "/simulated"; }
  std::int64_t account() override { return platform::simulated::SimulatedFile().ownerAccountID; }
  void makeLink(const std::string& target, const std::string& path) override {
    platform::simulated::SimulatedFile link;
    link.linkTarget = target;
    host_->files().setFile(path, link);
  }

 private:
  std::shared_ptr<platform::simulated::SimulatedHost> host_ =
      platform::simulated::SimulatedHost::create();
};

/// One backend by name.
struct FileBackendChoice {
  std::string name;
  std::function<std::unique_ptr<FileBackend>()> make;
};

inline std::span<const std::uint8_t> bytesOf(std::string_view text) {
  return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

/// A file manager in a directory of its own, and verbs that name files relative to that.
class FileManagerFixture : public testing::TestWithParam<FileBackendChoice> {
 protected:
  std::string at(const std::string& name) { return backend->directory() + "/" + name; }
  std::string file(const std::string& name, std::string_view content,
                   std::uint32_t permissions = 0644) {
    files->writeAtomically(at(name), bytesOf(content));
    files->setPosixPermissions(at(name), permissions);
    return at(name);
  }
  std::string folder(const std::string& name) {
    files->createDirectory(at(name));
    return at(name);
  }
  std::string link(const std::string& name, const std::string& target) {
    backend->makeLink(target, at(name));
    return at(name);
  }
  std::string contentOf(const std::string& path) {
    const auto data = files->contents(path);
    return {data.begin(), data.end()};
  }
  std::optional<std::uint32_t> permissionsOf(const std::string& path) {
    const auto attributes = files->attributes(path);
    return attributes ? std::optional(attributes->posixPermissions) : std::nullopt;
  }
  // Of what is done with `path`.
  static void expectError(int number, const std::string& path, const std::function<void()>& work) {
    try {
      work();
      ADD_FAILURE() << path << ": no error";
    } catch (const TesslineError& error) {
      EXPECT_EQ(error.domain(), "POSIX");
      EXPECT_EQ(error.code(), number);
      EXPECT_EQ(error.localizedDescription(),
                path + ": " + std::generic_category().message(number));
    }
  }
  void expectNoContents(int number, const std::string& path) {
    expectError(number, path, [&] { files->contents(path); });
  }
  void expectNotWritten(int number, const std::string& path) {
    expectError(number, path, [&] { files->writeAtomically(path, bytesOf("new")); });
  }
  void expectNotCreated(int number, const std::string& path) {
    expectError(number, path, [&] { files->createDirectory(path); });
  }
  void expectNotRemoved(int number, const std::string& path) {
    expectError(number, path, [&] { files->removeItem(path); });
  }
  void expectNotPermitted(int number, const std::string& path) {
    expectError(number, path, [&] { files->setPosixPermissions(path, 0755); });
  }

  std::unique_ptr<FileBackend> backend = GetParam().make();
  std::shared_ptr<platform::FileManager> files = backend->files();
};

inline const FileBackendChoice hostFiles = {"Host",
                                            [] { return std::make_unique<HostFileBackend>(); }};
inline const FileBackendChoice simulatedFiles = {
    "Simulated", [] { return std::make_unique<SimulatedFileBackend>(); }};

inline const auto hostFilesAlone = testing::Values(hostFiles);
inline const auto everyFileBackend = testing::Values(simulatedFiles, hostFiles);

}  // namespace tessline::test
