#include "cli/FileDescriptor.h"

#include <cerrno>

#include <unistd.h>

namespace tessline::cli {

FileDescriptor FileDescriptor::borrowed(int descriptor) {
  FileDescriptor result(descriptor);
  result.owned_ = false;
  return result;
}

FileDescriptor& FileDescriptor::operator=(FileDescriptor&& other) noexcept {
  if (this != &other) {
    close();
    descriptor_ = std::exchange(other.descriptor_, -1);
    owned_ = std::exchange(other.owned_, false);
  }
  return *this;
}

int FileDescriptor::close() {
  const int descriptor = std::exchange(descriptor_, -1);
  const bool owned = std::exchange(owned_, false);
  if (!owned || descriptor < 0) return 0;
  return ::close(descriptor) == 0 ? 0 : errno;
}

}  // namespace tessline::cli
