#include "tessline/platform/posix/PosixFileManager.h"

#include "tessline/platform/posix/Descriptor.h"

#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <filesystem>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace tessline::platform {

namespace {

constexpr mode_t permissionBits = 07777;
constexpr mode_t newFilePermissions = 0644;

std::optional<struct stat> statusOf(const std::string& path) {
  struct stat status {};
  if (::stat(path.c_str(), &status) != 0) return std::nullopt;
  return status;
}

void writeAll(int file, std::span<const std::uint8_t> data, const std::string& path) {
  while (!data.empty()) {
    const ssize_t size = ::write(file, data.data(), data.size());
    if (size < 0 && errno == EINTR) continue;
    if (size < 0) throwPosixError(errno, path);
    data = data.subspan(static_cast<std::size_t>(size));
  }
}

// A file beside the one that it is to become, which is removed unless it does.
class TemporaryFile {
 public:
  // Its name does not hold that of the other, which may be as long as names can be.
  explicit TemporaryFile(const std::string& path)
      : path_(path.substr(0, path.rfind('/') + 1) + ".tessline-XXXXXX") {
    file_ = Descriptor(::mkostemp(path_.data(), O_CLOEXEC));
    if (!file_) throwPosixError(errno, path);
  }
  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;
  ~TemporaryFile() {
    if (!isInPlace_) ::unlink(path_.c_str());
  }

  int get() const { return file_.get(); }
  void moveTo(const std::string& path) {
    if (::rename(path_.c_str(), path.c_str()) != 0) throwPosixError(errno, path);
    isInPlace_ = true;
  }

 private:
  std::string path_;
  Descriptor file_;
  bool isInPlace_ = false;
};

class PosixFileManager : public FileManager {
 public:
  bool isExecutableFile(const std::string& path) override {
    const auto status = statusOf(path);
    return status && S_ISREG(status->st_mode) &&
           ::faccessat(AT_FDCWD, path.c_str(), X_OK, AT_EACCESS) == 0;
  }

  bool fileExists(const std::string& path) override { return statusOf(path).has_value(); }

  std::optional<FileAttributes> attributes(const std::string& path) override {
    const auto status = statusOf(path);
    if (!status) return std::nullopt;
    return FileAttributes{
        .ownerAccountID = status->st_uid,
        .posixPermissions = static_cast<std::uint32_t>(status->st_mode & permissionBits)};
  }

  std::vector<std::uint8_t> contents(const std::string& path) override {
    const Descriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
    if (!file) throwPosixError(errno, path);
    struct stat status {};
    if (::fstat(file.get(), &status) != 0) throwPosixError(errno, path);
    // One more byte than there should be, so that the end is seen without growing.
    std::vector<std::uint8_t> data(static_cast<std::size_t>(status.st_size) + 1);
    std::size_t size = 0;
    while (true) {
      const ssize_t read = ::read(file.get(), data.data() + size, data.size() - size);
      if (read < 0 && errno == EINTR) continue;
      if (read < 0) throwPosixError(errno, path);
      if (read == 0) break;
      size += static_cast<std::size_t>(read);
      if (size == data.size()) data.resize(data.size() * 2);
    }
    data.resize(size);
    return data;
  }

  void writeAtomically(const std::string& path, std::span<const std::uint8_t> data) override {
    TemporaryFile file(path);
    writeAll(file.get(), data, path);
    if (::fchmod(file.get(), newFilePermissions) != 0 || ::fsync(file.get()) != 0) {
      throwPosixError(errno, path);
    }
    file.moveTo(path);
  }

  void createDirectory(const std::string& path) override {
    std::error_code error;
    std::filesystem::create_directories(path, error);
    if (error) throwPosixError(error.value(), path);
    if (!std::filesystem::is_directory(path, error)) throwPosixError(ENOTDIR, path);
  }

  void removeItem(const std::string& path) override {
    std::error_code error;
    const auto count = std::filesystem::remove_all(path, error);
    if (error) throwPosixError(error.value(), path);
    if (count == 0) throwPosixError(ENOENT, path);
  }

  void setPosixPermissions(const std::string& path, std::uint32_t permissions) override {
    if (::chmod(path.c_str(), static_cast<mode_t>(permissions)) != 0) throwPosixError(errno, path);
  }
};

}  // namespace

std::shared_ptr<FileManager> makePosixFileManager() {
  return std::make_shared<PosixFileManager>();
}

}  // namespace tessline::platform
