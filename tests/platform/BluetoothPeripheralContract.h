/// @file
/// What every backend's Bluetooth peripherals are tested through, once they are connected.
#pragma once

#include "tests/platform/BluetoothContract.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace tessline::test {

using platform::BluetoothProperties;
using platform::BluetoothWriteType;

/// A peripheral of several services with verbs for what is asked of it.
class BluetoothPeripheralContract : public BluetoothContract {
 protected:
  std::size_t makeDiscovered() {
    const std::size_t made = makeConnected(lamp);
    discoverAll("lamp", lamp);
    return made;
  }
  void write(CharacteristicPlace place, const std::vector<std::uint8_t>& value,
             BluetoothWriteType type) {
    const auto wanted = characteristic("lamp", place);
    perform([&] { journal->found.at("lamp")->writeValue(value, wanted, type); });
  }
  std::string valueOf(const FoundCharacteristic& characteristic) {
    return ask([&] { return text(characteristic->value()); });
  }
  // Of a service of the lamp.
  std::vector<FoundCharacteristic> characteristics(std::size_t service) {
    return ask(
        [&] { return journal->found.at("lamp")->services().at(service)->characteristics(); });
  }

  // Readable, what only tells, and what is written; two services of one UUID.
  const ExistingPeripheral lamp = {
      .name = "lamp",
      .services = {{"180F", {{"2A19", reads | notifies, {{0x64}}}, {"2A1A", notifies}}},
                   {"1815",
                    {{"2A56", notifies | writes},
                     {"2A56", writes | BluetoothProperties::writeWithoutResponse},
                     {"2A58", reads, std::vector<std::uint8_t>()}}},
                   {"8341F2B4-C013-4F04-8197-C4CDB42E26DC", {{"2A56", reads, {{7}}}}},
                   {"1815", {{"2A56", reads | BluetoothProperties::indicate, {{1, 2, 3}}}}}}};
  static constexpr std::uint32_t reads = BluetoothProperties::read;
  static constexpr std::uint32_t notifies = BluetoothProperties::notify;
  static constexpr std::uint32_t writes = BluetoothProperties::write;

  const CharacteristicPlace level = {0, 0};
  const CharacteristicPlace power = {0, 1};
};

}  // namespace tessline::test
