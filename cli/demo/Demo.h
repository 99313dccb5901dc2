/// @file
/// The whole system at work, without hardware.
#pragma once

#include "cli/Output.h"
#include "cli/demo/DemoWriter.h"
#include "cli/simulate/VoicePackets.h"
#include "cli/voice/VoiceSessionRecorder.h"
#include "tessline/bluetooth/BluetoothRemoteDiscoveryService.h"
#include "tessline/capture/PacketLoggerCaptureService.h"
#include "tessline/hid/ConnectedRemoteHIDService.h"
#include "tessline/platform/simulated/SimulatedHost.h"
#include "tessline/platform/simulated/SimulatedSiriRemote.h"
#include "tessline/touch/SiriRemoteGestureController.h"
#include "tessline/touch/SiriRemoteMultitouchService.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace tessline::cli {

/// Plays a remote in use on a simulated host to the real services, all of them at once, as an
/// application does that takes whatever transport there is: Bluetooth LE with a drop and a voice
/// session, touches on a desktop with a window, a HID interface, and a live capture. Always the
/// same.
class Demo {
 public:
  /// Returns when the virtual time has come, or false to end the demonstration.
  using WaitUntil = std::function<bool(platform::QueueTime)>;

  /// Writes to `output`, which outlives it; voice into files if there are options for them.
  Demo(Output& output, const std::optional<VoiceFileOptions>& voiceFiles);
  Demo(const Demo&) = delete;
  Demo& operator=(const Demo&) = delete;
  ~Demo();

  /// Plays all of it. Called once. Voice files are whole afterwards, even if it is ended early.
  void play(const WaitUntil& waitUntil);

  const DemoTotals& totals() const { return writer_.totals(); }

 private:
  using Seconds = std::chrono::duration<double>;
  using Action = std::function<void()>;
  // Where a finger goes, each on the clickpad's square of 0 to 1.
  using Path = std::vector<Point>;

  void makeServices();
  void connectOutputs();
  void follow(const platform::simulated::PlatformCall& call);
  // An application's part: buttons go to the gestures.
  void passButtons(const std::vector<TesslineEvent>& events);

  void planBluetooth();
  void planTouches();
  void planHID();
  void planCapture();
  void planEnd();

  // Plans for the moment `time` behind the beginning of the scene.
  void at(double time, Action action);
  void beginScene(double time, std::string title);
  // Plans a stroke of as many fingers as there are paths.
  void stroke(double time, const std::vector<Path>& fingers);
  void sendReport(std::vector<std::uint8_t> bytes);

  const std::shared_ptr<platform::simulated::SimulatedHost> host_ =
      platform::simulated::SimulatedHost::create();
  DemoWriter writer_;
  const std::optional<std::filesystem::path> voiceDirectory_;
  const VoicePackets voicePackets_;
  VoiceSessionRecorder bluetoothRecorder_;
  VoiceSessionRecorder captureRecorder_;
  const std::shared_ptr<platform::SerialQueue> script_;
  std::size_t knownRemotes_ = 0;
  Seconds scene_{};  // When the scene that is planned begins.
  std::shared_ptr<platform::simulated::SimulatedSiriRemote> remote_;
  std::shared_ptr<platform::simulated::SimulatedTouchDevice> clickpad_;
  std::shared_ptr<platform::simulated::SimulatedHIDDevice> hidInterface_;
  std::shared_ptr<BluetoothRemoteDiscoveryService> bluetooth_;
  std::shared_ptr<ConnectedRemoteHIDService> hid_;
  std::shared_ptr<PacketLoggerCaptureService> capture_;
  std::shared_ptr<SiriRemoteGestureController> gestures_;
  std::shared_ptr<SiriRemoteMultitouchService> touches_;
};

}  // namespace tessline::cli
