/// @file
/// Captures a remote's traffic live, through Apple's `packetlogger` tool.
#pragma once

#include "tessline/capture/PacketLoggerCaptureSnapshot.h"
#include "tessline/capture/PacketLoggerPayload.h"
#include "tessline/events/SiriRemoteReportParser.h"
#include "tessline/events/TesslineEvent.h"
#include "tessline/packetlog/PacketLoggerLineParser.h"
#include "tessline/platform/Mutex.h"
#include "tessline/platform/Platform.h"

#include <array>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace tessline {

/// Runs the tool, directly as root and through the privileged helper otherwise, and decodes the
/// packets it prints that look like a remote's. A remote's address is shown and never used as a
/// filter.
///
/// Starting and stopping only hand work to the service's queue, where everything happens and all
/// callbacks are called; set them before the first start, and replace none from within its own
/// call. A snapshot is published for every change of status, and not for packets. Output that was
/// read before a stop is still decoded after it. Letting go of the service ends the tool and
/// publishes nothing.
class PacketLoggerCaptureService : public std::enable_shared_from_this<PacketLoggerCaptureService> {
 public:
  /// A service that captures nothing yet.
  static std::shared_ptr<PacketLoggerCaptureService> create(
      std::shared_ptr<platform::Platform> platform = platform::hostPlatform());

  PacketLoggerCaptureService(const PacketLoggerCaptureService&) = delete;
  PacketLoggerCaptureService& operator=(const PacketLoggerCaptureService&) = delete;
  /// Asks a running tool to end.
  ~PacketLoggerCaptureService();

  /// Told of every change of status.
  std::function<void(const PacketLoggerCaptureSnapshot&)> onSnapshotChanged;
  /// Told of the events of one packet, in order; never of none.
  std::function<void(const std::vector<TesslineEvent>&)> onTransportEvents;
  /// Told of the bytes of every accepted packet, before its events.
  std::function<void(const std::vector<std::uint8_t>&)> onRawPayload;

  /// Begins to capture, installing what is missing. Without an address the system is asked for one,
  /// without a path the tool is looked for. Any thread.
  void startCapture(std::optional<std::string> remoteAddress,
                    std::optional<std::string> packetLoggerPath);

  /// Ends that. Any thread.
  void stopCapture();

  /// The state now. Any thread, callbacks included.
  PacketLoggerCaptureSnapshot snapshot() const;

 private:
  // What a snapshot shows; written on the queue alone.
  struct Shown {
    std::shared_ptr<platform::ChildProcess> process;
    std::shared_ptr<platform::ChildProcess> tailProcess;
    std::string status = "PacketLogger idle";
    std::optional<std::string> remoteAddress;
    std::optional<std::string> packetLoggerPath;
    std::int64_t parsedPacketCount = 0;
    std::int64_t acceptedPacketCount = 0;
    std::int64_t acceptedVoiceLikePacketCount = 0;
    std::int64_t emittedEventCount = 0;
    // The first bytes of the last accepted payload; their text is made when someone looks.
    std::optional<std::size_t> previewedSize;
    std::array<std::uint8_t, PacketLoggerPayload::previewSize> previewed{};
  };

  explicit PacketLoggerCaptureService(std::shared_ptr<platform::Platform> platform);

  // Lifecycle.
  void startCaptureOnQueue(std::optional<std::string> remoteAddress,
                           std::optional<std::string> packetLoggerPath);
  void stopCaptureOnQueue();
  void resetDecodingOnQueue();
  void setStatusOnQueue(std::string status);
  void publishSnapshotOnQueue();
  bool isRunningOnQueue() const;
  bool isCurrentOnQueue(const std::shared_ptr<platform::ChildProcess>& process) const;

  // The process.
  void startDirectPacketLogger(const std::string& path,
                               const std::optional<std::string>& remoteAddress);
  void startPrivilegedPacketLogger(const std::string& path,
                                   const std::optional<std::string>& remoteAddress);
  void launchOnQueue(const std::string& executable, std::vector<std::string> arguments);
  void configureOutputPipe(platform::Pipe& pipe);
  void configureErrorPipe(platform::Pipe& pipe);
  void configureTerminationHandler(const std::shared_ptr<platform::ChildProcess>& process);
  void handleTermination(std::int32_t exitCode);
  void stopCaptureProcesses();
  void detachOutput();
  void cleanupCaptureDirectory();

  // What it writes.
  void handleOutputData(std::span<const std::uint8_t> data);
  void handleErrorData(std::span<const std::uint8_t> data);
  void appendOutputText(std::string_view text);
  void ingest(std::string_view line);
  void noteErrorLine(std::string_view line);
  bool acceptOnQueue(std::span<const std::uint8_t> payload);
  void followVoice(std::span<const TesslineEvent> events);

  const std::shared_ptr<platform::Platform> platform_;
  const std::shared_ptr<platform::SerialQueue> queue_;
  mutable platform::Mutex mutex_;
  Shown shown_ TESSLINE_GUARDED_BY(mutex_);
  // All that follows belongs to the queue.
  std::shared_ptr<platform::Pipe> stdoutPipe_;
  std::shared_ptr<platform::Pipe> stderrPipe_;
  std::optional<std::string> captureDirectoryURL_;
  std::string pendingText_;
  PacketLoggerLineParser parser_;
  SiriRemoteReportParser reportParser_;
  bool isCollectingPacketLoggerVoice_ = false;
  // Kept between packets for their storage.
  std::vector<std::uint8_t> payload_;
  std::vector<TesslineEvent> events_;
};

}  // namespace tessline
