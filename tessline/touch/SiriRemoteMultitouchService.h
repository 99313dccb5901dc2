/// @file
/// Reads the touch surface of a connected remote.
#pragma once

#include "tessline/model/SiriRemoteTouchPoint.h"
#include "tessline/platform/Platform.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string_view>
#include <vector>

namespace tessline {

/// Finds the remote's clickpads among the system's touch surfaces and turns each of their frames
/// into touch points. It does not interpret them. Every failure is one line of the log and leaves
/// `isListening` false.
///
/// The application creates, starts and stops it on one thread. Frames, and with them
/// `onTouchesChanged`, come on a thread of the system's own, one after the other; the service lives
/// at least as long as the frame it is handling. Once as many fingers have been seen before it
/// allocates nothing for a frame, log lines of ordinary numbers included.
class SiriRemoteMultitouchService
    : public std::enable_shared_from_this<SiriRemoteMultitouchService> {
 public:
  /// A service that listens to nothing yet, with the system's multitouch library open.
  static std::shared_ptr<SiriRemoteMultitouchService> create(
      const std::shared_ptr<platform::Platform>& platform = platform::hostPlatform());

  SiriRemoteMultitouchService(const SiriRemoteMultitouchService&) = delete;
  SiriRemoteMultitouchService& operator=(const SiriRemoteMultitouchService&) = delete;
  /// Stops listening and closes the library.
  ~SiriRemoteMultitouchService();

  /// Told of the contacts of each frame that began or moved; of none when the last finger is gone
  /// and when the service stops. The span is valid during the call. Set it before `start`, and
  /// do not replace it from within its own call.
  std::function<void(std::span<const SiriRemoteTouchPoint>)> onTouchesChanged;

  /// Whether at least one surface was started.
  bool isListening() const { return isListening_; }

  /// Begins to listen to every surface that is a remote's. Nothing if it listens already.
  void start();

  /// Ends that. Nothing if it does not listen, or the library cannot stop surfaces.
  void stop();

 private:
  struct LastPosition {
    std::int32_t identifier;
    float x;
    float y;
  };

  explicit SiriRemoteMultitouchService(const std::shared_ptr<platform::Platform>& platform);

  void loadFramework(platform::Platform& platform);
  bool isRemoteSurface(platform::MultitouchDevice& device) const;
  void handleFrame(const std::byte* touches, std::int64_t numTouches);
  LastPosition* lastPosition(std::int32_t identifier);
  void setLastPosition(std::int32_t identifier, float x, float y);

  const std::shared_ptr<platform::LogSink> log_;
  const std::shared_ptr<platform::Accessibility> accessibility_;
  std::shared_ptr<platform::MultitouchLibrary> handle_;
  platform::MultitouchDeviceList devices_;
  bool isListening_ = false;
  // One entry a live contact. Belongs to the thread of the frames, and to `stop` once those ended.
  std::vector<LastPosition> lastPositions_;
  // Kept between frames for its storage.
  std::vector<SiriRemoteTouchPoint> touchPoints_;
  platform::DeviceListFunction MTDeviceCreateList_;
  platform::DeviceIDFunction MTDeviceGetDeviceID_;
  platform::DeviceStartFunction MTDeviceStart_;
  platform::DeviceStopFunction MTDeviceStop_;
  platform::DeviceTruthFunction MTDeviceIsBuiltIn_;
  platform::DeviceDimensionsFunction MTDeviceGetSensorSurfaceDimensions_;
  platform::DeviceDimensionsFunction MTDeviceGetSensorDimensions_;
  platform::RegisterCallbackFunction MTRegisterContactFrameCallbackWithRefcon_;
  platform::UnregisterCallbackFunction MTUnregisterContactFrameCallback_;
};

}  // namespace tessline
