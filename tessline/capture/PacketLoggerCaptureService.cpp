#include "tessline/capture/PacketLoggerCaptureService.h"

#include "tessline/capture/CaptureStatus.h"
#include "tessline/capture/PacketLoggerInstallation.h"
#include "tessline/capture/PacketLoggerPayload.h"
#include "tessline/capture/RemoteAddress.h"
#include "tessline/model/TesslineError.h"

#include <cassert>
#include <utility>

namespace tessline {

using platform::MutexLock;

namespace {

constexpr std::string_view captureQueueLabel = "com.morvane.PacketLoggerCapture";
constexpr std::uint32_t rootUserID = 0;

// Without its handlers, so that nothing of it is heard any more.
void end(const std::shared_ptr<platform::ChildProcess>& process) {
  if (!process) return;
  process->setTerminationHandler(nullptr);
  if (process->isRunning()) process->terminate();
}

}  // namespace

std::shared_ptr<PacketLoggerCaptureService> PacketLoggerCaptureService::create(
    std::shared_ptr<platform::Platform> platform) {
  return std::shared_ptr<PacketLoggerCaptureService>(
      new PacketLoggerCaptureService(std::move(platform)));
}

PacketLoggerCaptureService::PacketLoggerCaptureService(std::shared_ptr<platform::Platform> platform)
    : platform_(std::move(platform)), queue_(platform_->makeSerialQueue(captureQueueLabel)) {}

PacketLoggerCaptureService::~PacketLoggerCaptureService() {
  detachOutput();
  const MutexLock guard(mutex_);
  end(shown_.process);
  end(shown_.tailProcess);
}

void PacketLoggerCaptureService::startCapture(std::optional<std::string> remoteAddress,
                                              std::optional<std::string> packetLoggerPath) {
  queue_->async([weak = weak_from_this(), remoteAddress = std::move(remoteAddress),
                 packetLoggerPath = std::move(packetLoggerPath)] {
    if (const auto self = weak.lock()) self->startCaptureOnQueue(remoteAddress, packetLoggerPath);
  });
}

void PacketLoggerCaptureService::stopCapture() {
  queue_->async([weak = weak_from_this()] {
    if (const auto self = weak.lock()) self->stopCaptureOnQueue();
  });
}

PacketLoggerCaptureSnapshot PacketLoggerCaptureService::snapshot() const {
  const MutexLock guard(mutex_);
  const auto isRunning = [](const auto& process) { return process && process->isRunning(); };
  PacketLoggerCaptureSnapshot result;
  result.status = shown_.status;
  result.isCapturing = isRunning(shown_.process) || isRunning(shown_.tailProcess);
  result.remoteAddress = shown_.remoteAddress;
  result.packetLoggerPath = shown_.packetLoggerPath;
  result.parsedPacketCount = shown_.parsedPacketCount;
  result.acceptedPacketCount = shown_.acceptedPacketCount;
  result.acceptedVoiceLikePacketCount = shown_.acceptedVoiceLikePacketCount;
  result.emittedEventCount = shown_.emittedEventCount;
  if (shown_.previewedSize) {
    result.lastAcceptedPayloadPreview = PacketLoggerPayload::payloadPreview(
        std::span(shown_.previewed).first(*shown_.previewedSize));
  }
  return result;
}

void PacketLoggerCaptureService::startCaptureOnQueue(std::optional<std::string> remoteAddress,
                                                     std::optional<std::string> packetLoggerPath) {
  assert(queue_->isCurrent());
  if (isRunningOnQueue()) {
    setStatusOnQueue(std::string(captureStatus::alreadyRunning));
    return publishSnapshotOnQueue();
  }
  if (!packetLoggerPath) {
    try {
      PacketLoggerInstallation::installRuntimeIfNeeded(*platform_);
    } catch (const TesslineError&) {
      // There may be a tool all the same.
    }
    packetLoggerPath = PacketLoggerInstallation::findPacketLoggerPath(
        platform_->environment()->variables(), *platform_);
    if (!packetLoggerPath) {
      setStatusOnQueue(std::string(captureStatus::notFound));
      return publishSnapshotOnQueue();
    }
  }
  if (!remoteAddress)
    remoteAddress = detectConnectedSiriRemoteAddress(*platform_->childProcesses());
  {
    const MutexLock guard(mutex_);
    shown_.remoteAddress = remoteAddress;
    shown_.packetLoggerPath = packetLoggerPath;
  }
  resetDecodingOnQueue();
  // Every address is accepted: the one that is known is for people to read.
  parser_ = {};
  reportParser_ = {};
  try {
    if (platform_->environment()->effectiveUserID() == rootUserID) {
      startDirectPacketLogger(*packetLoggerPath, remoteAddress);
    } else {
      startPrivilegedPacketLogger(*packetLoggerPath, remoteAddress);
    }
  } catch (const TesslineError& error) {
    stopCaptureProcesses();
    setStatusOnQueue(std::string(captureStatus::couldNotStart) + error.localizedDescription());
  }
  publishSnapshotOnQueue();
}

void PacketLoggerCaptureService::stopCaptureOnQueue() {
  assert(queue_->isCurrent());
  stopCaptureProcesses();
  resetDecodingOnQueue();
  setStatusOnQueue(std::string(captureStatus::stopped));
  publishSnapshotOnQueue();
}

void PacketLoggerCaptureService::resetDecodingOnQueue() {
  assert(queue_->isCurrent());
  pendingText_.clear();
  isCollectingPacketLoggerVoice_ = false;
  const MutexLock guard(mutex_);
  shown_.parsedPacketCount = 0;
  shown_.acceptedPacketCount = 0;
  shown_.acceptedVoiceLikePacketCount = 0;
  shown_.emittedEventCount = 0;
  shown_.previewedSize.reset();
}

void PacketLoggerCaptureService::setStatusOnQueue(std::string status) {
  assert(queue_->isCurrent());
  const MutexLock guard(mutex_);
  shown_.status = std::move(status);
}

void PacketLoggerCaptureService::publishSnapshotOnQueue() {
  assert(queue_->isCurrent());
  if (onSnapshotChanged) onSnapshotChanged(snapshot());
}

bool PacketLoggerCaptureService::isRunningOnQueue() const {
  assert(queue_->isCurrent());
  const MutexLock guard(mutex_);
  return shown_.process && shown_.process->isRunning();
}

bool PacketLoggerCaptureService::isCurrentOnQueue(
    const std::shared_ptr<platform::ChildProcess>& process) const {
  assert(queue_->isCurrent());
  const MutexLock guard(mutex_);
  return process && process == shown_.process;
}

// The process.

void PacketLoggerCaptureService::startDirectPacketLogger(
    const std::string& path, const std::optional<std::string>& remoteAddress) {
  launchOnQueue(path, captureStatus::toolArguments());
  setStatusOnQueue(captureStatus::running(remoteAddress));
}

void PacketLoggerCaptureService::startPrivilegedPacketLogger(
    const std::string& path, const std::optional<std::string>& remoteAddress) {
  if (!PacketLoggerInstallation::isPrivilegedHelperInstalled(*platform_)) {
    setStatusOnQueue(std::string(captureStatus::installingHelper));
    publishSnapshotOnQueue();
    PacketLoggerInstallation::installPrivilegedHelper(*platform_);
  }
  std::vector<std::string> arguments = captureStatus::toolArguments();
  arguments.insert(arguments.begin(), path);
  launchOnQueue(std::string(PacketLoggerInstallation::privilegedHelperPath), std::move(arguments));
  setStatusOnQueue(captureStatus::running(remoteAddress) + std::string(captureStatus::usingHelper));
}

void PacketLoggerCaptureService::launchOnQueue(const std::string& executable,
                                               std::vector<std::string> arguments) {
  assert(queue_->isCurrent());
  const auto processes = platform_->childProcesses();
  const auto output = processes->makePipe();
  const auto errors = processes->makePipe();
  const auto process = processes->makeProcess({.executable = executable,
                                               .arguments = std::move(arguments),
                                               .standardOutput = output,
                                               .standardError = errors});
  configureOutputPipe(*output);
  configureErrorPipe(*errors);
  configureTerminationHandler(process);
  process->launch();
  // There may be one that has ended and whose end nobody has looked at yet.
  stopCaptureProcesses();
  stdoutPipe_ = output;
  stderrPipe_ = errors;
  const MutexLock guard(mutex_);
  shown_.process = process;
}

void PacketLoggerCaptureService::configureOutputPipe(platform::Pipe& pipe) {
  pipe.setReadabilityHandler([weak = weak_from_this()](std::span<const std::uint8_t> data) {
    if (const auto self = weak.lock()) self->handleOutputData(data);
  });
}

void PacketLoggerCaptureService::configureErrorPipe(platform::Pipe& pipe) {
  pipe.setReadabilityHandler([weak = weak_from_this()](std::span<const std::uint8_t> data) {
    if (const auto self = weak.lock()) self->handleErrorData(data);
  });
}

// By the time the queue gets to it the process may have been stopped, or another may run in its
// place: its end is nobody's business any more.
void PacketLoggerCaptureService::configureTerminationHandler(
    const std::shared_ptr<platform::ChildProcess>& process) {
  process->setTerminationHandler(
      [weak = weak_from_this(), ended = std::weak_ptr(process)](std::int32_t status) {
        const auto self = weak.lock();
        if (!self) return;
        self->queue_->async([weak, ended, status] {
          const auto owner = weak.lock();
          if (owner && owner->isCurrentOnQueue(ended.lock())) owner->handleTermination(status);
        });
      });
}

void PacketLoggerCaptureService::handleTermination(std::int32_t exitCode) {
  assert(queue_->isCurrent());
  detachOutput();
  {
    const MutexLock guard(mutex_);
    end(shown_.tailProcess);
    shown_.process = nullptr;
    shown_.tailProcess = nullptr;
  }
  cleanupCaptureDirectory();
  setStatusOnQueue(captureStatus::ended(exitCode));
  publishSnapshotOnQueue();
}

void PacketLoggerCaptureService::stopCaptureProcesses() {
  detachOutput();
  {
    const MutexLock guard(mutex_);
    end(shown_.process);
    end(shown_.tailProcess);
    shown_.process = nullptr;
    shown_.tailProcess = nullptr;
  }
  cleanupCaptureDirectory();
}

void PacketLoggerCaptureService::detachOutput() {
  for (const auto& pipe : {stdoutPipe_, stderrPipe_}) {
    if (pipe) pipe->setReadabilityHandler(nullptr);
  }
  stdoutPipe_ = nullptr;
  stderrPipe_ = nullptr;
}

void PacketLoggerCaptureService::cleanupCaptureDirectory() {
  if (!captureDirectoryURL_) return;
  try {
    platform_->fileManager()->removeItem(*captureDirectoryURL_);
  } catch (const TesslineError&) {
    // Gone already, or left lying.
  }
  captureDirectoryURL_.reset();
}

}  // namespace tessline
