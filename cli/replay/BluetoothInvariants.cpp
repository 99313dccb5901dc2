#include "cli/replay/Invariants.h"
#include "tessline/text/Unicode.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <compare>
#include <cstdint>
#include <deque>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <fmt/format.h>
#include <fmt/ranges.h>

namespace tessline::cli {

namespace {

using platform::BluetoothState;
using platform::QueueTime;
using platform::simulated::PlatformCall;

constexpr std::chrono::seconds coalescing{1};

class InputIsEnabledOnce : public Invariant {
 public:
  void observe(QueueTime time, const Observation& observation,
               std::vector<Violation>& violations) override {
    const auto* const call = std::get_if<PlatformCall>(&observation);
    if (call == nullptr) return;
    const auto peripheral = call->argument<std::int64_t>("peripheral");
    // The first thing that is done when the host says that a connection stands, which it may say
    // again.
    if (call->operation == "setDelegate") {
      std::erase_if(enabled_, [&](const auto& each) { return each.first == peripheral; });
    }
    const std::vector<std::int64_t> enable = {0xAF};
    if (call->operation != "writeValue" ||
        call->argument<std::vector<std::int64_t>>("value") != enable) {
      return;
    }
    const auto place = call->argument<std::vector<std::int64_t>>("place");
    if (enabled_.emplace(peripheral, place).second) return;
    violations.push_back({time, fmt::format("the input was enabled twice on characteristic {} of "
                                            "peripheral {} in one connection",
                                            fmt::join(place, "/"), peripheral)});
  }

 private:
  std::set<std::pair<std::int64_t, std::vector<std::int64_t>>> enabled_;
};

// What a status says of the host.
struct StatusOfState {
  std::string_view status;
  BluetoothState state;
};
constexpr std::array<StatusOfState, 6> statusesOfStates = {
    {{"Waiting for Bluetooth state", BluetoothState::unknown},
     {"Bluetooth is resetting", BluetoothState::resetting},
     {"Bluetooth is not supported on this Mac", BluetoothState::unsupported},
     {"Bluetooth permission is not authorized", BluetoothState::unauthorized},
     {"Bluetooth is powered off", BluetoothState::poweredOff},
     {"Scanning for Bluetooth devices", BluetoothState::poweredOn}}};

// For a state that none of those names.
constexpr std::string_view statusOfOtherStates = "Unknown Bluetooth state";

bool fits(std::string_view status, BluetoothState state) {
  const auto* const named = std::ranges::find(statusesOfStates, status, &StatusOfState::status);
  if (named != statusesOfStates.end()) return named->state == state;
  return status != statusOfOtherStates ||
         std::ranges::find(statusesOfStates, state, &StatusOfState::state) ==
             statusesOfStates.end();
}

class SnapshotsAreTrue : public Invariant {
 public:
  void observe(QueueTime time, const Observation& observation,
               std::vector<Violation>& violations) override {
    if (std::holds_alternative<BluetoothCreated>(observation)) *this = {};
    const auto* const publication = std::get_if<BluetoothPublication>(&observation);
    if (publication == nullptr) return;
    const auto breaks = [&](std::string text) { violations.push_back({time, std::move(text)}); };
    const auto& snapshot = publication->snapshot;
    if (snapshot.isScanning != publication->isScanning) {
      breaks(fmt::format("isScanning is {} while {} scan is running", snapshot.isScanning,
                         publication->isScanning ? "a" : "no"));
    }
    followConnections(publication->connected);
    const auto& id = snapshot.connectedDeviceID;
    if (id && !holds(publication->connected, *id)) {
      breaks(fmt::format("{} is published as connected and is not", id->text()));
    } else if (id != std::exchange(published_, id) && id) {
      // The host may say again that an earlier one stands.
      lastConnected_ = id;
    }
    if (lastConnected_ && id != lastConnected_) {
      breaks(fmt::format("{} has connected and is not published", lastConnected_->text()));
    }
    if (!fits(snapshot.status, publication->state)) {
      breaks(fmt::format("the status is \"{}\" in state {}", snapshot.status,
                         static_cast<std::int64_t>(publication->state)));
    }
    if (snapshot.status.starts_with("Connected to ") && !id) {
      breaks(fmt::format("the status is \"{}\" without a connection", snapshot.status));
    }
  }

 private:
  static bool holds(const std::vector<UUID>& ids, const UUID& id) {
    return std::ranges::find(ids, id) != ids.end();
  }

  // Which connected last, as long as it stays so. The service forgets earlier ones. A recording may
  // give one identifier to two peripherals: when one of them drops, the service may have had
  // either.
  void followConnections(const std::vector<UUID>& connected) {
    if (lastConnected_ && std::ranges::count(connected, *lastConnected_) <
                              std::ranges::count(connected_, *lastConnected_)) {
      lastConnected_.reset();
    }
    for (const UUID& id : connected) {
      if (!holds(connected_, id)) lastConnected_ = id;
    }
    connected_ = connected;
  }

  std::vector<UUID> connected_;
  std::optional<UUID> lastConnected_;
  std::optional<UUID> published_;
};

// What only changes the devices is published a second later, once for all of it.
class DevicesAreCoalesced : public Invariant {
 public:
  void observe(QueueTime time, const Observation& observation,
               std::vector<Violation>& violations) override {
    if (std::holds_alternative<BluetoothCreated>(observation)) *this = {};
    const auto* const publication = std::get_if<BluetoothPublication>(&observation);
    forgetBefore(time - 2 * coalescing);
    if (publication == nullptr) {
      // Whatever happens may be a change of the devices.
      if (happened_.empty() || happened_.back() != time) happened_.push_back(time);
      return;
    }
    const auto& snapshot = publication->snapshot;
    const bool isImmediate = last_.status != snapshot.status ||
                             last_.isScanning != snapshot.isScanning ||
                             last_.connectedDeviceID != snapshot.connectedDeviceID;
    last_ = snapshot;
    if (!isImmediate) {
      checkCoalesced(time, violations);
      lastCoalesced_ = time;
    }
    published_.push_back(time);
  }

 private:
  void checkCoalesced(QueueTime time, std::vector<Violation>& violations) {
    const QueueTime cause = time - coalescing;
    if (std::ranges::find(happened_, cause) == happened_.end()) {
      violations.push_back(
          {time, "the devices alone were published, and nothing happened one second before"});
    }
    if (!lastCoalesced_ || time - *lastCoalesced_ >= coalescing) return;
    // A second one may be on its way only if something was published between their causes, at once
    // or for a cause that was earlier still.
    const QueueTime earlierCause = *lastCoalesced_ - coalescing;
    const bool isExcused = std::ranges::any_of(
        published_, [&](QueueTime each) { return each >= earlierCause && each <= cause; });
    if (isExcused) return;
    violations.push_back({time, "the devices alone were published twice within a second"});
  }

  void forgetBefore(QueueTime time) {
    for (auto* const times : {&happened_, &published_}) {
      while (!times->empty() && times->front() < time) times->pop_front();
    }
  }

  // Starts as a service does.
  BluetoothRemoteDiscoverySnapshot last_;
  std::optional<QueueTime> lastCoalesced_;
  std::deque<QueueTime> happened_;
  std::deque<QueueTime> published_;
};

class RemotesAreSorted : public Invariant {
 public:
  void observe(QueueTime time, const Observation& observation,
               std::vector<Violation>& violations) override {
    const auto* const publication = std::get_if<BluetoothPublication>(&observation);
    if (publication == nullptr) return;
    const auto& devices = publication->snapshot.devices;
    for (std::size_t index = 1; index < devices.size(); ++index) {
      const auto& left = devices[index - 1];
      const auto& right = devices[index];
      if (left.rssi < right.rssi) {
        violations.push_back(
            {time, fmt::format("{} stands in front of the stronger {}", left.name, right.name)});
      } else if (left.rssi == right.rssi && std::is_gt(compareCanonically(left.name, right.name))) {
        violations.push_back({time, fmt::format("{} stands in front of {}, which is as strong",
                                                left.name, right.name)});
      }
    }
  }
};

}  // namespace

std::unique_ptr<Invariant> makeInputIsEnabledOnce() {
  return std::make_unique<InputIsEnabledOnce>();
}
std::unique_ptr<Invariant> makeSnapshotsAreTrue() {
  return std::make_unique<SnapshotsAreTrue>();
}
std::unique_ptr<Invariant> makeDevicesAreCoalesced() {
  return std::make_unique<DevicesAreCoalesced>();
}
std::unique_ptr<Invariant> makeRemotesAreSorted() {
  return std::make_unique<RemotesAreSorted>();
}

}  // namespace tessline::cli
