/// @file
/// Plays records of Bluetooth LE to the service over the adapters.
#pragma once

#include "cli/replay/Observation.h"
#include "cli/replay/Recording.h"
#include "tessline/bluetooth/BluetoothRemoteDiscoveryService.h"
#include "tessline/platform/Platform.h"

#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace tessline::test {

class BluetoothPlayer {
 public:
  using Observe = std::function<void(const cli::Observation&)>;

  /// Dates begin with the year 2026, at the time 0 of `now`.
  BluetoothPlayer(std::function<platform::QueueTime()> now, Observe observe);
  BluetoothPlayer(const BluetoothPlayer&) = delete;
  BluetoothPlayer& operator=(const BluetoothPlayer&) = delete;
  ~BluetoothPlayer() { service_.reset(); }

  /// Told of the button events, behind `observe`.
  std::function<void(const std::vector<TesslineEvent>&)> onEvents;

  /// Lets it happen, but does not wait for what it causes.
  void apply(const cli::Record& record);

 private:
  void create();

  const std::shared_ptr<platform::Platform> platform_;
  const Observe observe_;
  std::map<std::string, std::size_t> peripherals_;
  std::shared_ptr<BluetoothRemoteDiscoveryService> service_;
};

}  // namespace tessline::test
