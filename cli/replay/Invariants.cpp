#include "cli/replay/Invariants.h"

#include "tessline/events/ByteSearch.h"
#include "tessline/text/Unicode.h"

#include <algorithm>
#include <array>
#include <compare>
#include <cstdint>
#include <optional>
#include <set>
#include <span>
#include <utility>

#include <fmt/format.h>

namespace tessline::cli {

namespace {

using platform::QueueTime;
using platform::simulated::PlatformCall;
using Bytes = std::span<const std::uint8_t>;

const std::array<std::uint8_t, 5> commandRelease = {0x1B, 0x23, 0x00, 0x00, 0x00};
const std::array<std::uint8_t, 5> selectPress = {0x1B, 0x23, 0x00, 0x03, 0x00};
const std::array<std::array<std::uint8_t, 5>, 2> volumePresses = {
    {{0x1B, 0x23, 0x00, 0x00, 0x02}, {0x1B, 0x23, 0x00, 0x00, 0x04}}};

bool contains(Bytes payload, Bytes pattern) {
  return firstIndex(payload, pattern).has_value();
}

bool endsWith(Bytes payload, Bytes pattern) {
  return payload.size() >= pattern.size() &&
         std::ranges::equal(payload.last(pattern.size()), pattern);
}

class ReleaseFollowsPress : public Invariant {
 public:
  void observe(QueueTime time, const Observation& observation,
               std::vector<Violation>& violations) override {
    if (std::holds_alternative<HIDServiceCreated>(observation)) *this = {};
    if (const auto* payload = std::get_if<HIDRawPayload>(&observation)) payload_ = payload->bytes;
    if (const auto* batch = std::get_if<HIDEvents>(&observation)) {
      const bool isSessionBatch = std::ranges::any_of(batch->events, [](const auto& event) {
        return std::holds_alternative<VoiceSessionStarted>(event) ||
               std::holds_alternative<VoiceSessionEnded>(event);
      });
      for (const TesslineEvent& event : batch->events) {
        follow(time, event, isSessionBatch, violations);
      }
    }
  }

 private:
  void follow(QueueTime time, const TesslineEvent& event, bool isSessionBatch,
              std::vector<Violation>& violations) {
    const auto breaks = [&](std::string text) { violations.push_back({time, std::move(text)}); };
    if (std::holds_alternative<VoiceSessionStarted>(event)) isCollecting_ = true;
    if (std::holds_alternative<VoiceSessionEnded>(event)) {
      wasCollecting_ = isCollecting_;
      isCollecting_ = false;
    }
    const auto* button = std::get_if<RemoteButtonEvent>(&event);
    if (button == nullptr) return;
    const bool isPress = button->phase == RemoteButtonPhase::pressed;
    const std::string_view command = name(button->command);
    if (isSessionBatch) {
      if (!isPress && !std::exchange(wasCollecting_, false)) {
        breaks(fmt::format("{} released over 0x003A while no voice was collected", command));
      }
    } else if (isHandlePath(*button)) {
      if (isPress) {
        lastOverHandle_ = button->command;
      } else if (lastOverHandle_ != button->command) {
        breaks(fmt::format("{} released over 0x0023 without a press", command));
      } else {
        lastOverHandle_.reset();
      }
    } else if (isPress) {
      if (!downByMask_.insert(button->command).second) {
        breaks(fmt::format("{} pressed twice by the button mask", command));
      }
      if (button->command == RemoteCommand::voice) isCollecting_ = true;
    } else {
      if (downByMask_.erase(button->command) == 0) {
        breaks(fmt::format("{} released by the button mask without a press", command));
      }
      if (button->command == RemoteCommand::voice) isCollecting_ = false;
    }
  }

  bool isHandlePath(const RemoteButtonEvent& button) const {
    if (button.phase == RemoteButtonPhase::released) {
      return lastOverHandle_.has_value() && contains(payload_, commandRelease);
    }
    return contains(payload_, selectPress) ||
           std::ranges::any_of(volumePresses,
                               [this](const auto& pattern) { return endsWith(payload_, pattern); });
  }

  std::vector<std::uint8_t> payload_;
  std::set<RemoteCommand> downByMask_;
  std::optional<RemoteCommand> lastOverHandle_;
  bool isCollecting_ = false;
  bool wasCollecting_ = false;  // When the session of the batch at hand ended.
};

class NoCallbackAfterRelease : public Invariant {
 public:
  void observe(QueueTime time, const Observation& observation,
               std::vector<Violation>& violations) override {
    if (std::holds_alternative<HIDServiceCreated>(observation)) isHIDGone_ = false;
    if (std::holds_alternative<HIDServiceReleased>(observation)) isHIDGone_ = true;
    if (std::holds_alternative<TouchCreated>(observation)) isTouchGone_ = false;
    if (std::holds_alternative<TouchReleased>(observation)) isTouchGone_ = true;
    if (std::holds_alternative<CaptureCreated>(observation)) isCaptureGone_ = false;
    if (std::holds_alternative<CaptureReleased>(observation)) isCaptureGone_ = true;
    if (std::holds_alternative<BluetoothCreated>(observation)) isBluetoothGone_ = false;
    if (std::holds_alternative<BluetoothReleased>(observation)) isBluetoothGone_ = true;
    const bool isOfHID = std::holds_alternative<ConnectedRemoteHIDSnapshot>(observation) ||
                         std::holds_alternative<HIDRawPayload>(observation) ||
                         std::holds_alternative<HIDEvents>(observation);
    const bool isOfTouch = std::holds_alternative<TouchPoints>(observation) ||
                           std::holds_alternative<ChargePhase>(observation);
    const bool isOfCapture = std::holds_alternative<PacketLoggerCaptureSnapshot>(observation) ||
                             std::holds_alternative<CaptureRawPayload>(observation) ||
                             std::holds_alternative<CaptureEvents>(observation);
    const bool isOfBluetooth = std::holds_alternative<BluetoothPublication>(observation) ||
                               std::holds_alternative<BatteryLevel>(observation) ||
                               std::holds_alternative<BluetoothRawPayload>(observation) ||
                               std::holds_alternative<BluetoothEvents>(observation);
    if ((isOfHID && isHIDGone_) || (isOfTouch && isTouchGone_) || (isOfCapture && isCaptureGone_) ||
        (isOfBluetooth && isBluetoothGone_)) {
      violations.push_back({time, "a service that is gone called back"});
    }
  }

 private:
  bool isHIDGone_ = false;
  bool isTouchGone_ = false;
  bool isCaptureGone_ = false;
  bool isBluetoothGone_ = false;
};

class ListeningMeansOpen : public Invariant {
 public:
  void observe(QueueTime time, const Observation& observation,
               std::vector<Violation>& violations) override {
    if (const auto* call = std::get_if<PlatformCall>(&observation)) {
      if (call->operation == "IOHIDManagerOpen")
        isOpen_ = call->argument<std::int64_t>("result") == 0;
      if (call->operation == "IOHIDManagerClose") isOpen_ = false;
    }
    const auto* snapshot = std::get_if<ConnectedRemoteHIDSnapshot>(&observation);
    if (snapshot == nullptr || snapshot->isListening == isOpen_) return;
    violations.push_back({time, fmt::format("isListening is {} while the manager is {}",
                                            snapshot->isListening, isOpen_ ? "open" : "closed")});
  }

 private:
  bool isOpen_ = false;
};

class OneKeySet : public Invariant {
 public:
  void observe(QueueTime time, const Observation& observation,
               std::vector<Violation>& violations) override {
    if (const auto* call = std::get_if<PlatformCall>(&observation)) {
      if (call->operation != "IOHIDDeviceRegisterInputReportCallback") return;
      const std::int64_t device = call->argument<std::int64_t>("device");
      if (call->argument<std::int64_t>("capacity") > 0) {
        registered_.insert(device);
      } else {
        registered_.erase(device);
      }
    }
    const auto* snapshot = std::get_if<ConnectedRemoteHIDSnapshot>(&observation);
    if (snapshot == nullptr || snapshot->devices.size() == registered_.size()) return;
    violations.push_back({time, fmt::format("{} interfaces are published and {} have a buffer",
                                            snapshot->devices.size(), registered_.size())});
  }

 private:
  std::set<std::int64_t> registered_;
};

class DevicesAreSorted : public Invariant {
 public:
  void observe(QueueTime time, const Observation& observation,
               std::vector<Violation>& violations) override {
    const auto* snapshot = std::get_if<ConnectedRemoteHIDSnapshot>(&observation);
    if (snapshot == nullptr) return;
    const auto isBehind = [](const auto& left, const auto& right) {
      const auto byName = compareCanonically(left.name, right.name);
      return std::is_neq(byName) ? std::is_gt(byName)
                                 : std::is_gt(compareCanonically(left.id, right.id));
    };
    const auto& devices = snapshot->devices;
    for (std::size_t index = 1; index < devices.size(); ++index) {
      if (isBehind(devices[index - 1], devices[index])) {
        violations.push_back({time, fmt::format("interface {} stands in front of {}",
                                                devices[index - 1].id, devices[index].id)});
      }
    }
  }
};

}  // namespace

void Invariant::finish(QueueTime, std::vector<Violation>&) {}

std::unique_ptr<Invariant> makeReleaseFollowsPress() {
  return std::make_unique<ReleaseFollowsPress>();
}
std::unique_ptr<Invariant> makeNoCallbackAfterRelease() {
  return std::make_unique<NoCallbackAfterRelease>();
}
std::unique_ptr<Invariant> makeListeningMeansOpen() {
  return std::make_unique<ListeningMeansOpen>();
}
std::unique_ptr<Invariant> makeOneKeySet() {
  return std::make_unique<OneKeySet>();
}
std::unique_ptr<Invariant> makeDevicesAreSorted() {
  return std::make_unique<DevicesAreSorted>();
}

std::vector<std::unique_ptr<Invariant>> makeInvariants() {
  std::vector<std::unique_ptr<Invariant>> invariants;
  for (const auto make :
       {makeReleaseFollowsPress, makeNoCallbackAfterRelease, makeListeningMeansOpen, makeOneKeySet,
        makeDevicesAreSorted, makeButtonGoesUpOnce, makePointerStaysOnScreens, makeChargesEndOnce,
        makeInputIsEnabledOnce, makeSnapshotsAreTrue, makeDevicesAreCoalesced,
        makeRemotesAreSorted}) {
    invariants.push_back(make());
  }
  return invariants;
}

}  // namespace tessline::cli
