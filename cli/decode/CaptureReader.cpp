#include "cli/decode/CaptureReader.h"

#include "cli/Errors.h"
#include "tessline/packetlog/PacketLogBatch.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

namespace tessline::cli {

namespace {
// In bytes; a piece of a line end is never longer.
constexpr std::size_t longestLineEnd = 3;
}  // namespace

CaptureReader::CaptureReader(const std::string& path, const Interrupt* interrupt)
    : name_(path), interrupt_(interrupt) {
  if (path == "-") {
    name_ = "standard input";
    input_ = FileDescriptor::borrowed(STDIN_FILENO);
  } else {
    input_ = FileDescriptor(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
    if (input_.get() < 0) throwSystemError("open", name_, errno);
  }
  struct stat status = {};
  if (::fstat(input_.get(), &status) != 0) throwSystemError("read", name_, errno);
  if (S_ISDIR(status.st_mode)) throwSystemError("read", name_, EISDIR);
  if (S_ISREG(status.st_mode)) size_ = static_cast<std::uint64_t>(status.st_size);
}

bool CaptureReader::read(CaptureBlock& block) {
  block.isOverlongLine = false;
  block.storage.resize(std::max(blockSize, carry_.size() * 2));
  std::ranges::copy(carry_, block.storage.begin());
  std::size_t filled = carry_.size();
  carry_.clear();
  while (!atEnd_) {
    if (filled == block.storage.size()) {
      if (filled == longestLine + longestLineEnd) {
        keepAsCarry(block, 0, filled);
        return skipOverlongLine(block);
      }
      block.storage.resize(std::min(filled * 2, longestLine + longestLineEnd));
    }
    const std::size_t added =
        readSome(block.storage.data() + filled, block.storage.size() - filled);
    const std::string_view text(block.storage.data(), filled + added);
    if (added == 0) {
      atEnd_ = true;
      filled = text.size();
      break;
    }
    // Only what is new can hold the last line end, but for one that began in front of it.
    const std::size_t searchFrom = filled < longestLineEnd ? 0 : filled - longestLineEnd;
    const std::size_t found = wholeLinesLength(text.substr(searchFrom));
    if (found > 0) {
      block.text = text.substr(0, searchFrom + found);
      keepAsCarry(block, block.text.size(), text.size());
      return true;
    }
    filled = text.size();
  }
  block.text = std::string_view(block.storage.data(), filled);
  return !block.text.empty();
}

// The carry holds the front of a line that is too long. Drops it, and what follows up to the line's
// end, which may be in sight only after more reading.
bool CaptureReader::skipOverlongLine(CaptureBlock& block) {
  block.isOverlongLine = true;
  block.text = {};
  std::vector<char> window(blockSize);
  std::size_t filled = std::min<std::size_t>(carry_.size(), longestLineEnd);
  std::copy(carry_.end() - static_cast<std::ptrdiff_t>(filled), carry_.end(), window.begin());
  while (true) {
    const std::size_t added = readSome(window.data() + filled, window.size() - filled);
    const std::string_view text(window.data(), filled + added);
    const std::size_t end = added == 0 ? text.size() : firstWholeLineLength(text);
    atEnd_ = added == 0;
    if (atEnd_ || end > 0) {
      carry_.assign(text.begin() + static_cast<std::ptrdiff_t>(end), text.end());
      return true;
    }
    filled = std::min<std::size_t>(text.size(), longestLineEnd);
    std::memmove(window.data(), text.data() + (text.size() - filled), filled);
  }
}

std::size_t CaptureReader::readSome(char* buffer, std::size_t capacity) {
  while (true) {
    if (interrupt_ != nullptr) {
      waitForInput();
      if (interrupt_->isPending()) return 0;
    }
    const ssize_t got = ::read(input_.get(), buffer, capacity);
    if (got >= 0) return static_cast<std::size_t>(got);
    if (errno != EINTR && errno != EAGAIN) throwSystemError("read", name_, errno);
  }
}

void CaptureReader::waitForInput() const {
  if (size_) return;
  std::array<pollfd, 2> waited = {
      {{.fd = input_.get(), .events = POLLIN, .revents = 0},
       {.fd = interrupt_->descriptor(), .events = POLLIN, .revents = 0}}};
  while (::poll(waited.data(), waited.size(), -1) < 0 && errno == EINTR) {
    if (interrupt_->isPending()) return;
  }
}

void CaptureReader::keepAsCarry(const CaptureBlock& block, std::size_t from, std::size_t to) {
  carry_.assign(block.storage.begin() + static_cast<std::ptrdiff_t>(from),
                block.storage.begin() + static_cast<std::ptrdiff_t>(to));
}

}  // namespace tessline::cli
