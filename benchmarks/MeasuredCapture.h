/// @file
/// The stand-in for the packet logger, behind the capture service and by itself.
#pragma once

#include "benchmarks/CaptureTool.h"
#include "tessline/capture/PacketLoggerCaptureService.h"

#include <array>
#include <condition_variable>
#include <cstddef>
#include <deque>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>

#include <sys/types.h>

namespace tessline::benchmarks {

/// The service with the tool. What its callbacks use is theirs to keep, as one that is under way
/// when the service is let go of comes to its end. Needs root: for anybody else the capture goes
/// through the privileged helper. All of it throws what goes wrong.
class Capture {
 public:
  /// With a tool that does `task`.
  explicit Capture(const std::string& task);

  /// For callbacks and snapshots.
  PacketLoggerCaptureService& service() { return *service_; }

  /// Returns at once.
  void start();
  /// Until the tool runs.
  void waitUntilRunning();
  /// Until it has ended well.
  void waitUntilEnded();
  /// Until it is stopped.
  void stop();

 private:
  struct Statuses {
    std::mutex mutex;
    std::condition_variable changed;
    std::deque<std::string> told;
  };

  void waitFor(const std::string& status);

  const std::shared_ptr<Statuses> statuses_ = std::make_shared<Statuses>();
  const std::shared_ptr<PacketLoggerCaptureService> service_ = PacketLoggerCaptureService::create();
};

/// The tool without the service: spawned with its output in a pipe.
class BareTool {
 public:
  /// A tool that does `task`.
  explicit BareTool(const std::string& task);
  BareTool(const BareTool&) = delete;
  BareTool& operator=(const BareTool&) = delete;
  /// Waits for its end.
  ~BareTool();

  /// One piece of its output; empty at the end.
  std::string_view read();

 private:
  static constexpr std::size_t pieceSize = 65536;

  int readingEnd_ = -1;
  pid_t pid_ = 0;
  std::array<char, pieceSize> buffer_{};
};

}  // namespace tessline::benchmarks
