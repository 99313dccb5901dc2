/// @file
/// Porting contract: files.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace tessline::platform {

/// What a file says of itself.
struct FileAttributes {
  std::int64_t ownerAccountID = 0;     ///< The number of the account that owns it.
  std::uint32_t posixPermissions = 0;  ///< Its mode bits, 07777.

  bool operator==(const FileAttributes&) const = default;
};

/// Looks at and changes files by their absolute paths. What changes something throws TesslineError,
/// with the host's description, if it cannot. Any thread.
class FileManager {
 public:
  virtual ~FileManager() = default;

  /// Whether this process may execute the file at `path`; false for a directory.
  virtual bool isExecutableFile(const std::string& path) = 0;

  /// Whether there is anything at `path`, a link that leads nowhere not counted.
  virtual bool fileExists(const std::string& path) = 0;

  /// Of what `path` leads to; none if they cannot be read.
  virtual std::optional<FileAttributes> attributes(const std::string& path) = 0;

  /// All of a file. Throws.
  virtual std::vector<std::uint8_t> contents(const std::string& path) = 0;

  /// Writes a file of mode 0644 so that whoever looks sees the old one or the whole new one. Takes
  /// the place of a link, not of what it leads to. Throws.
  virtual void writeAtomically(const std::string& path, std::span<const std::uint8_t> data) = 0;

  /// Makes a directory and those it stands in; nothing if it is there. Throws.
  virtual void createDirectory(const std::string& path) = 0;

  /// Removes what stands at `path`, with all it holds; links are not followed. Throws, also if
  /// there is nothing.
  virtual void removeItem(const std::string& path) = 0;

  /// Sets the mode bits of what `path` leads to. Throws.
  virtual void setPosixPermissions(const std::string& path, std::uint32_t permissions) = 0;
};

}  // namespace tessline::platform
