#include "tessline/platform/posix/PosixPipe.h"

#include "tessline/platform/posix/IoThread.h"

#include <cerrno>
#include <cstddef>
#include <span>
#include <utility>

#include <asio/post.hpp>
#include <fcntl.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace tessline::platform {

namespace {

// Children get their streams as 0 to 2, so nothing that is to become one of them may stand there,
// even in a process that has closed its own.
constexpr int firstFreeDescriptor = 3;

Descriptor movedUp(Descriptor descriptor) {
  Descriptor moved(::fcntl(descriptor.get(), F_DUPFD_CLOEXEC, firstFreeDescriptor));
  if (!moved) throwPosixError(errno, "cannot make a pipe");
  return moved;
}

std::pair<Descriptor, Descriptor> makeEnds() {
  std::array<int, 2> ends{};
#ifdef __APPLE__
  if (::pipe(ends.data()) != 0) throwPosixError(errno, "cannot make a pipe");
#else
  if (::pipe2(ends.data(), O_CLOEXEC) != 0) throwPosixError(errno, "cannot make a pipe");
#endif
  Descriptor reading(ends[0]);
  Descriptor writing(ends[1]);
  return {movedUp(std::move(reading)), movedUp(std::move(writing))};
}

}  // namespace

PosixPipe::PosixPipe() : readingEnd_(IoThread::shared().context()) {
  auto [reading, writing] = makeEnds();
  readingEnd_.assign(reading.get());
  reading.release();
  readingEnd_.non_blocking(true);
  writingEnd_ = std::move(writing);
}

PosixPipe::~PosixPipe() = default;

PosixPipe::Handler PosixPipe::handler() const {
  const std::lock_guard lock(mutex_);
  return handler_;
}

void PosixPipe::setReadabilityHandler(ReadabilityHandler handler) {
  const bool isThere = static_cast<bool>(handler);
  Handler old;
  {
    const std::lock_guard lock(mutex_);
    old = std::exchange(
        handler_,
        isThere ? std::make_shared<const ReadabilityHandler>(std::move(handler)) : nullptr);
  }
  if (!isThere) return;
  asio::post(IoThread::shared().context(), [weak = weak_from_this()] {
    if (const auto self = weak.lock()) self->waitForData();
  });
}

// Held weakly: a pipe that nobody holds any more closes, whatever its child does.
void PosixPipe::waitForData() {
  if (isWaiting_ || isAtEnd_ || !handler()) return;
  isWaiting_ = true;
  readingEnd_.async_wait(asio::posix::stream_descriptor::wait_read,
                         [weak = weak_from_this()](const asio::error_code& error) {
                           const auto self = weak.lock();
                           if (!self) return;
                           self->isWaiting_ = false;
                           if (error) return;
                           self->readOnce();
                           self->waitForData();
                         });
}

// One piece, to the handler; whether there may be more.
bool PosixPipe::readOnce() {
  const Handler current = handler();
  if (!current || isAtEnd_) return false;
  const ssize_t size = ::read(readingEnd_.native_handle(), buffer_.data(), buffer_.size());
  if (size < 0) return errno == EINTR;
  isAtEnd_ = size == 0;
  received_ += static_cast<std::uint64_t>(size);
  (*current)(std::span(buffer_).first(static_cast<std::size_t>(size)));
  return !isAtEnd_;
}

// No further than what is there now, and the end if it follows: somebody else may go on writing for
// ever.
void PosixPipe::drain() {
  int present = 0;
  if (::ioctl(readingEnd_.native_handle(), FIONREAD, &present) != 0) present = 0;
  const std::uint64_t enough = received_ + static_cast<std::uint64_t>(present);
  while (received_ <= enough && readOnce()) {
  }
}

std::vector<std::uint8_t> PosixPipe::readDataToEndOfFile() {
  std::vector<std::uint8_t> data;
  std::array<std::uint8_t, 65536> piece;
  while (true) {
    const ssize_t size = ::read(readingEnd_.native_handle(), piece.data(), piece.size());
    if (size > 0) {
      data.insert(data.end(), piece.begin(), piece.begin() + size);
    } else if (size == 0) {
      return data;
    } else if (errno == EAGAIN || errno == EINTR) {
      pollfd readable{readingEnd_.native_handle(), POLLIN, 0};
      ::poll(&readable, 1, -1);
    } else {
      throwPosixError(errno, "cannot read from a pipe");
    }
  }
}

}  // namespace tessline::platform
