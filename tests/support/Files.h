/// @file
/// Places on disk for tests.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace tessline::test {

/// A fresh directory, removed with all it holds.
class TemporaryDirectory {
 public:
  TemporaryDirectory();
  TemporaryDirectory(const TemporaryDirectory&) = delete;
  TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;
  ~TemporaryDirectory();

  std::filesystem::path operator/(const std::string& name) const { return path_ / name; }
  const std::filesystem::path& path() const { return path_; }
  /// Writes a file of that name and gives its path.
  std::string file(const std::string& name, std::string_view content) const;

 private:
  std::filesystem::path path_;
};

/// All bytes of a file.
std::string readText(const std::filesystem::path& path);

}  // namespace tessline::test
