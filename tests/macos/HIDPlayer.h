/// @file
/// Plays records of HID to the service over the adapters.
#pragma once

#include "cli/replay/Observation.h"
#include "cli/replay/Recording.h"
#include "tessline/hid/ConnectedRemoteHIDService.h"
#include "tests/macos/HIDStandIn.h"

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <standin/hid.h>

namespace tessline::test {

class HIDPlayer {
 public:
  using Observe = std::function<void(const cli::Observation&)>;

  explicit HIDPlayer(Observe observe) : observe_(std::move(observe)) {}
  HIDPlayer(const HIDPlayer&) = delete;
  HIDPlayer& operator=(const HIDPlayer&) = delete;
  ~HIDPlayer() {
    // What ends with the player is no part of the recording.
    if (service_) service_->onSnapshotChanged = nullptr;
  }

  /// Told of the events, behind `observe`.
  std::function<void(const std::vector<TesslineEvent>&)> onEvents;

  /// Lets it happen, with all that comes of it.
  void apply(const cli::Record& record);
  /// Those of the system that the records so far led to.
  const std::vector<std::string>& calls() const { return calls_; }

 private:
  void create(const nlohmann::json& members);
  void configureHost(const nlohmann::json& members);
  const std::shared_ptr<standin::HIDInterface>& device(const nlohmann::json& members) const {
    return devices_.at(members["device"]);
  }

  const Observe observe_;
  std::vector<std::string> calls_;
  HIDStandIn standIn_;
  std::map<std::string, std::shared_ptr<standin::HIDInterface>> devices_;
  // The last member: it ends before what it calls.
  std::shared_ptr<ConnectedRemoteHIDService> service_;
};

}  // namespace tessline::test
