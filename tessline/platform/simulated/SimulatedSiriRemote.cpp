#include "tessline/platform/simulated/SimulatedSiriRemote.h"

#include <algorithm>
#include <array>
#include <utility>

namespace tessline::platform::simulated {

namespace {

BluetoothUUID uuid(std::string_view text) {
  return BluetoothUUID::parse(text).value();
}

constexpr std::uint32_t readable = BluetoothProperties::read;
constexpr std::uint32_t notifying = BluetoothProperties::notify;
constexpr std::uint32_t writable = BluetoothProperties::write;

constexpr SimulatedCharacteristicPlace batteryLevel{0, 0};
constexpr SimulatedCharacteristicPlace buttonReport{1, 0};
constexpr SimulatedCharacteristicPlace commandReport{1, 2};
constexpr SimulatedCharacteristicPlace voice{2, 0};

constexpr std::uint8_t inputEnable = 0xAF;

// The bit of each button in the two bytes of a button report, in the order of the commands.
constexpr std::array<std::uint16_t, remoteCommandCount> buttonBits = {
    0x0002, 0x0008, 0x0010, 0x0004, 0x0800, 0x4000, 0x0100,
    0x0001, 0x0200, 0x0400, 0x2000, 0x8000, 0x1000};

std::uint16_t bit(RemoteCommand command) {
  return buttonBits[ordinal(command)];
}

std::vector<SimulatedServicePlan> services(std::uint8_t level) {
  using Bytes = std::vector<std::uint8_t>;
  const BluetoothUUID report = uuid("2A4D");
  return {
      {.uuid = uuid("180F"),
       .characteristics = {{uuid("2A19"), {readable | notifying}, Bytes{level}},
                           {uuid("2A1A"), {readable | notifying}, Bytes{0}}},
       .error = std::nullopt},
      {.uuid = uuid("1812"),
       .characteristics = {{report, {readable | notifying}, Bytes{0, 0}},
                           {report, {notifying}, std::nullopt},
                           {report, {writable}, std::nullopt}},
       .error = std::nullopt},
      {.uuid = uuid("8341F2B4-C013-4F04-8197-C4CDB42E26DC"),
       .characteristics = {{uuid("30E69638-3752-4FEB-A3AA-3226BCD05ACE"),
                            {notifying},
                            std::nullopt}},
       .error = std::nullopt},
  };
}

SimulatedPeripheralPlan plan(const SimulatedSiriRemoteOptions& options) {
  SimulatedPeripheralPlan result;
  result.name = options.name;
  result.services = services(options.batteryLevel);
  return result;
}

}  // namespace

std::shared_ptr<SimulatedSiriRemote> SimulatedSiriRemote::create(
    const std::shared_ptr<SimulatedHost>& host, const SimulatedSiriRemoteOptions& options) {
  return std::shared_ptr<SimulatedSiriRemote>(new SimulatedSiriRemote(host, options));
}

SimulatedSiriRemote::SimulatedSiriRemote(const std::shared_ptr<SimulatedHost>& host,
                                         SimulatedSiriRemoteOptions options)
    : options_(std::move(options)),
      bluetooth_(host->bluetooth().shared_from_this()),
      queue_(host->scheduler().makeQueue("Siri Remote")),
      peripheral_(bluetooth_->addPeripheral(options_.identifier, plan(options_))) {}

void SimulatedSiriRemote::wake() {
  peripheral_->plan.isReachable = true;
  bluetooth_->retryAttempts(peripheral_);
  const BluetoothAdvertisement advertisement{.localName = options_.name,
                                             .serviceUUIDs = {uuid("1812")}};
  bluetooth_->advertise(peripheral_, advertisement, options_.rssi);
}

void SimulatedSiriRemote::press(RemoteCommand command) {
  setButtons(static_cast<std::uint16_t>(buttons_ | bit(command)));
}

void SimulatedSiriRemote::release(RemoteCommand command) {
  setButtons(static_cast<std::uint16_t>(buttons_ & ~bit(command)));
}

void SimulatedSiriRemote::hold(RemoteCommand command, QueueTime duration) {
  press(command);
  later(duration, [command](SimulatedSiriRemote& self) { self.release(command); });
}

void SimulatedSiriRemote::speak(std::vector<std::vector<std::uint8_t>> opusPackets) {
  press(RemoteCommand::voice);
  QueueTime time = packetDuration;
  for (auto& packet : opusPackets) {
    later(time, [packet = std::move(packet)](SimulatedSiriRemote& self) {
      self.sendVoicePacket(packet);
    });
    time += packetDuration;
  }
  later(time, [](SimulatedSiriRemote& self) { self.release(RemoteCommand::voice); });
}

void SimulatedSiriRemote::setBatteryLevel(std::uint8_t percent) {
  auto& level =
      peripheral_->plan.services[batteryLevel.service].characteristics[batteryLevel.characteristic];
  level.value = std::vector{percent};
  peripheral_->notify(batteryLevel, {percent});
}

void SimulatedSiriRemote::drop() {
  peripheral_->plan.isReachable = false;
  constexpr std::int64_t connectionTimeout = 6;
  bluetooth_->drop(peripheral_, TesslineError("CBErrorDomain", connectionTimeout,
                                              "The connection has timed out unexpectedly."));
}

bool SimulatedSiriRemote::isInputEnabled() const {
  const auto written = peripheral_->written(commandReport);
  return std::ranges::any_of(
      written, [](const auto& value) { return value == std::vector<std::uint8_t>{inputEnable}; });
}

void SimulatedSiriRemote::setButtons(std::uint16_t mask) {
  buttons_ = mask;
  send(buttonReport, {static_cast<std::uint8_t>(mask >> 8U), static_cast<std::uint8_t>(mask)});
}

void SimulatedSiriRemote::send(const SimulatedCharacteristicPlace& place,
                               std::vector<std::uint8_t> value) {
  if (isInputEnabled()) peripheral_->notify(place, std::move(value));
}

// One or two notifications. The upper half of a value's second byte says which part of a frame it
// is. The first has the frame's length at 17 and the frame behind it, the second the rest of the
// frame at 4.
void SimulatedSiriRemote::sendVoicePacket(std::span<const std::uint8_t> opusPacket) {
  constexpr std::size_t lengthPlace = 17;
  constexpr std::size_t firstPart = 60;
  constexpr std::size_t restPlace = 4;
  constexpr std::uint8_t isFirst = 0x20;
  constexpr std::uint8_t isContinuation = 0x10;

  const std::size_t split = std::min(opusPacket.size(), firstPart);
  std::vector<std::uint8_t> first(lengthPlace);
  first[1] = isFirst;
  first.push_back(static_cast<std::uint8_t>(opusPacket.size()));
  first.insert(first.end(), opusPacket.begin(),
               opusPacket.begin() + static_cast<std::ptrdiff_t>(split));
  send(voice, std::move(first));
  if (split == opusPacket.size()) return;
  std::vector<std::uint8_t> rest(restPlace);
  rest[1] = isContinuation;
  rest.insert(rest.end(), opusPacket.begin() + static_cast<std::ptrdiff_t>(split),
              opusPacket.end());
  send(voice, std::move(rest));
}

template <class Work>
void SimulatedSiriRemote::later(QueueTime delay, Work work) {
  queue_->asyncAfter(delay, [weak = weak_from_this(), work = std::move(work)] {
    if (const auto self = weak.lock()) work(*self);
  });
}

}  // namespace tessline::platform::simulated
