/// @file
/// Pipes of POSIX.
#pragma once

#include "tessline/platform/ChildProcess.h"
#include "tessline/platform/posix/Descriptor.h"

#include <array>
#include <cstdint>
#include <memory>
#include <mutex>
#include <vector>

#include <asio/posix/stream_descriptor.hpp>

namespace tessline::platform {

/// Read on the I/O thread while there is a handler.
class PosixPipe : public Pipe, public std::enable_shared_from_this<PosixPipe> {
 public:
  /// Both ends, none of which a child inherits by itself. Throws TesslineError.
  PosixPipe();
  PosixPipe(const PosixPipe&) = delete;
  PosixPipe& operator=(const PosixPipe&) = delete;
  ~PosixPipe() override;

  void setReadabilityHandler(ReadabilityHandler handler) override;
  std::vector<std::uint8_t> readDataToEndOfFile() override;

  /// What a child gets.
  int writingEnd() const { return writingEnd_.get(); }
  /// Leaves the writing to the child.
  void closeWritingEnd() { writingEnd_.reset(); }

  /// Gives the handler all that has been written by now. I/O thread.
  void drain();

 private:
  using Handler = std::shared_ptr<const ReadabilityHandler>;

  Handler handler() const;
  void waitForData();
  bool readOnce();

  mutable std::mutex mutex_;
  Handler handler_;
  // These five belong to the I/O thread, once there was a handler.
  asio::posix::stream_descriptor readingEnd_;
  std::array<std::uint8_t, 65536> buffer_;
  bool isWaiting_ = false;
  bool isAtEnd_ = false;
  std::uint64_t received_ = 0;
  Descriptor writingEnd_;
};

}  // namespace tessline::platform
