#include "cli/Output.h"

#include "cli/Errors.h"

#include <cerrno>
#include <cstddef>

#include <fcntl.h>
#include <unistd.h>

namespace tessline::cli {

namespace {
constexpr std::size_t flushSize = std::size_t{64} << 10;
}

Output::Output(FileDescriptor descriptor, std::string name)
    : descriptor_(std::move(descriptor)), name_(std::move(name)) {}

Output Output::standard() {
  return Output(FileDescriptor::borrowed(STDOUT_FILENO), "standard output");
}

Output Output::file(const std::filesystem::path& path) {
  FileDescriptor descriptor(::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666));
  if (descriptor.get() < 0) throwSystemError("create", path.native(), errno);
  return Output(std::move(descriptor), path.native());
}

void Output::write(std::string_view text) {
  buffer_.append(text.data(), text.data() + text.size());
  flushIfLarge();
}

void Output::flushIfLarge() {
  if (buffer_.size() >= flushSize) flush();
}

void Output::flush() {
  const char* next = buffer_.data();
  const char* const end = next + buffer_.size();
  while (next < end) {
    const ssize_t written = ::write(descriptor_.get(), next, static_cast<std::size_t>(end - next));
    if (written >= 0) {
      next += written;
    } else if (errno == EPIPE) {
      buffer_.clear();
      throw OutputClosed();
    } else if (errno != EINTR) {
      const int errorNumber = errno;
      buffer_.clear();
      throwSystemError("write", name_, errorNumber);
    }
  }
  buffer_.clear();
}

void Output::finish() {
  flush();
  if (const int errorNumber = descriptor_.close(); errorNumber != 0) {
    throwSystemError("write", name_, errorNumber);
  }
}

bool Output::isTerminal() const {
  return ::isatty(descriptor_.get()) == 1;
}

}  // namespace tessline::cli
