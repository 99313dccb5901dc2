// What tests of rules tell them of Bluetooth.
#pragma once

#include "cli/replay/Invariants.h"

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace tessline::test {

// What happened, and when.
using History = std::vector<std::pair<platform::QueueTime, cli::Observation>>;
using Texts = std::vector<std::string>;

// What a rule says of a history.
inline Texts textsOf(std::unique_ptr<cli::Invariant> rule, const History& history) {
  std::vector<cli::Violation> found;
  for (const auto& [time, observation] : history) rule->observe(time, observation, found);
  if (!history.empty()) rule->finish(history.back().first, found);
  Texts texts;
  for (const cli::Violation& each : found) texts.push_back(each.text);
  return texts;
}

// The same where time does not matter.
inline Texts textsOf(std::unique_ptr<cli::Invariant> rule,
                     const std::vector<cli::Observation>& observations) {
  History history;
  for (const cli::Observation& each : observations) {
    history.emplace_back(std::chrono::seconds(1), each);
  }
  return textsOf(std::move(rule), history);
}

inline const UUID remoteID = UUID::parse("5E1B0D6A-3C44-4F0B-9A7D-2E6C8F1A9B30").value();
inline const UUID otherID = UUID::parse("5E1B0D6A-3C44-4F0B-9A7D-2E6C8F1A9B31").value();

// A snapshot, and a host of which it is true.
inline cli::BluetoothPublication publication(const std::string& status = "Idle",
                                             bool isScanning = false,
                                             std::optional<UUID> connected = std::nullopt) {
  cli::BluetoothPublication result{.snapshot = {.status = status,
                                                .isScanning = isScanning,
                                                .devices = {},
                                                .connectedDeviceID = connected},
                                   .state = platform::BluetoothState::poweredOn,
                                   .isScanning = isScanning,
                                   .connected = {}};
  if (connected) result.connected.push_back(*connected);
  return result;
}

}  // namespace tessline::test
