#pragma once

#include <filesystem>
#include <functional>
#include <string_view>
#include <vector>

#include <sys/types.h>

namespace tessline::test {

/// A view of this machine's files that a test may change anywhere: absolute paths are the real
/// ones, and nothing of it is seen outside or stays behind. Needs root.
///
/// The test program is started once more for the running test alone, so that no thread of an
/// earlier test is missing in it, in a mount namespace of its own. There "/" is a file system in
/// memory with everything of the machine in its place; each directory that is changed becomes one,
/// too, on its way.
class PrivateMounts {
 public:
  /// Calls `body` there. Its failures are this test's, and so is a process that it leaves running.
  /// Skips the test when not run by root. To be called once in a test, as its only statement.
  static void run(const std::function<void(PrivateMounts& mounts)>& body);

  /// A directory with this owner and mode, made if it is missing, as root's 0755 those above it.
  void directory(const std::filesystem::path& path, uid_t owner = 0, mode_t mode = 0755);

  /// A copy of the file `source`.
  void install(const std::filesystem::path& source, const std::filesystem::path& path,
               uid_t owner = 0, mode_t mode = 0755);

  void write(const std::filesystem::path& path, std::string_view text, uid_t owner = 0,
             mode_t mode = 0644);

  void link(const std::filesystem::path& target, const std::filesystem::path& path,
            uid_t owner = 0);

  void fifo(const std::filesystem::path& path, uid_t owner = 0, mode_t mode = 0755);

  /// An empty file system in memory, root's, with these flags of mount(2).
  void mountMemory(const std::filesystem::path& path, unsigned long flags);

 private:
  PrivateMounts();

  void keepPrivate(const std::filesystem::path& directory);
  void takeOver(const std::filesystem::path& directory);
  bool isPrivate(const std::filesystem::path& path) const;

  std::vector<dev_t> own_;  ///< The file systems in memory.
};

}  // namespace tessline::test
