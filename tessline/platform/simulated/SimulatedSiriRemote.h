/// @file
/// A Siri Remote on the simulated host's Bluetooth.
#pragma once

#include "tessline/model/RemoteCommand.h"
#include "tessline/model/UUID.h"
#include "tessline/platform/SerialQueue.h"
#include "tessline/platform/simulated/SimulatedBluetooth.h"
#include "tessline/platform/simulated/SimulatedHost.h"
#include "tessline/platform/simulated/SimulatedPeripheral.h"

#include <chrono>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

namespace tessline::platform::simulated {

/// What a remote says of itself.
struct SimulatedSiriRemoteOptions {
  std::string name = "Siri Remote";  ///< What it advertises and the host remembers.
  /// The host's number for it.
  UUID identifier = UUID::parse("5E1B0D6A-3C44-4F0B-9A7D-2E6C8F1A9B30").value();
  std::int64_t rssi = -48;          ///< How strongly it is heard, in dBm.
  std::uint8_t batteryLevel = 100;  ///< In percent.
};

/// Offers a battery, three HID reports (buttons, touches, and one that is written) and voice, and
/// does with verbs what a hand does with the real one. Like that, it sends nothing before its input
/// has been enabled in the connection at hand: what is pressed then is lost. Verbs that take time
/// go on by the virtual clock, as long as the remote lives. Not synchronised.
class SimulatedSiriRemote : public std::enable_shared_from_this<SimulatedSiriRemote> {
 public:
  /// A remote in reach that is not heard before `wake`.
  static std::shared_ptr<SimulatedSiriRemote> create(
      const std::shared_ptr<SimulatedHost>& host, const SimulatedSiriRemoteOptions& options = {});

  SimulatedSiriRemote(const SimulatedSiriRemote&) = delete;
  SimulatedSiriRemote& operator=(const SimulatedSiriRemote&) = delete;

  /// Advertises, as when a button is pressed; and an attempt to connect that waits is answered.
  void wake();
  /// Presses a button.
  void press(RemoteCommand command);
  /// Lets go of it.
  void release(RemoteCommand command);
  /// Presses it and lets go of it when `duration` has passed.
  void hold(RemoteCommand command, QueueTime duration);
  /// Holds the voice button and sends the packets, one each 20 ms; lets go 20 ms behind the last.
  /// The packets are Opus as the remote makes it: each begins with 0xB8 and has at most 255 bytes.
  void speak(std::vector<std::vector<std::uint8_t>> opusPackets);
  /// The battery has another level, and the remote tells.
  void setBatteryLevel(std::uint8_t percent);
  /// Goes out of reach, and the connection breaks; `wake` brings it back.
  void drop();

  /// Whether it is connected and its input has been enabled.
  bool isInputEnabled() const;
  /// The peripheral, for what the verbs do not do.
  SimulatedPeripheral& peripheral() { return *peripheral_; }

  /// How long one packet of sound lasts.
  static constexpr std::chrono::milliseconds packetDuration{20};

 private:
  SimulatedSiriRemote(const std::shared_ptr<SimulatedHost>& host,
                      SimulatedSiriRemoteOptions options);

  void setButtons(std::uint16_t mask);
  void send(const SimulatedCharacteristicPlace& place, std::vector<std::uint8_t> value);
  void sendVoicePacket(std::span<const std::uint8_t> opusPacket);
  template <class Work>
  void later(QueueTime delay, Work work);

  const SimulatedSiriRemoteOptions options_;
  const std::shared_ptr<SimulatedBluetooth> bluetooth_;
  const std::shared_ptr<SerialQueue> queue_;
  const std::shared_ptr<SimulatedPeripheral> peripheral_;
  std::uint16_t buttons_ = 0;
};

}  // namespace tessline::platform::simulated
