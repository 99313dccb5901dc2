/// @file
/// A multitouch service on a simulated host, with verbs for what happens to it.
#pragma once

#include "tessline/platform/simulated/SimulatedHost.h"
#include "tessline/touch/SiriRemoteMultitouchService.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <set>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <variant>
#include <vector>

#include <gtest/gtest.h>

namespace tessline::test {

using platform::simulated::PlatformCall;
using platform::simulated::SimulatedContact;
using platform::simulated::SimulatedSurface;
using Surface = std::shared_ptr<platform::simulated::SimulatedTouchDevice>;
using Lines = std::vector<std::string>;
using TouchPoints = std::vector<SiriRemoteTouchPoint>;

/// What is logged when a service stops.
inline const std::string stopped = "Morvane: Stopped listening to Siri Remote touch surface(s)";

/// A surface with the sensors of a remote.
inline constexpr SimulatedSurface remoteSurface = {.sensorRows = 12, .sensorColumns = 6};
/// One like a remote's that cannot be started.
inline constexpr SimulatedSurface brokenSurface = {
    .sensorRows = 12, .sensorColumns = 6, .startStatus = -536870212};
/// A computer's own.
inline constexpr SimulatedSurface trackpad = {.isBuiltIn = true,
                                              .sensorRows = 18,
                                              .sensorColumns = 26,
                                              .surfaceWidth = 13000,
                                              .surfaceHeight = 8000};

inline SimulatedContact began(std::int32_t identifier, float x, float y) {
  return {identifier, 3, x, y};
}
inline SimulatedContact moved(std::int32_t identifier, float x, float y, float velocityX = 0,
                              float velocityY = 0) {
  return {identifier, 4, x, y, velocityX, velocityY};
}
inline SimulatedContact ended(std::int32_t identifier) {
  return {identifier, 5, 0.5F, 0.5F};
}

class MultitouchServiceTest : public testing::Test {
 protected:
  MultitouchServiceTest() { makeService(); }

  /// In place of the one before; the calls are those of making it.
  void makeService() {
    service.reset();
    host->calls().clear();
    service = SiriRemoteMultitouchService::create(host);
    service->onTouchesChanged = [this](std::span<const SiriRemoteTouchPoint> touches) {
      reports.emplace_back(touches.begin(), touches.end());
      host->calls().add("onTouchesChanged", {{"count", static_cast<std::int64_t>(touches.size())}});
    };
  }
  /// One that finds these functions missing.
  void makeServiceWithout(std::set<std::string, std::less<>> functions) {
    host->multitouch().setMissingFunctions(std::move(functions));
    makeService();
  }
  Surface connect(const SimulatedSurface& surface = remoteSurface) {
    return host->multitouch().connect(surface);
  }
  void send(const Surface& surface, const std::vector<SimulatedContact>& contacts) {
    host->multitouch().sendFrame(*surface, contacts);
  }

  /// All calls so far, reports among them: name and arguments, or the line for one that is logged.
  Lines story() const {
    Lines lines;
    for (const auto& call : host->calls().calls()) lines.push_back(text(call));
    return lines;
  }
  /// Those during an action.
  template <class Action>
  Lines storyOf(Action action) {
    host->calls().clear();
    action();
    return story();
  }
  /// What a start does, and a stop, and the release of the service.
  Lines starting() {
    return storyOf([&] { service->start(); });
  }
  Lines stopping() {
    return storyOf([&] { service->stop(); });
  }
  Lines releasing() {
    return storyOf([&] { service.reset(); });
  }
  /// What is logged during an action.
  template <class Action>
  Lines logOf(Action action) {
    host->calls().clear();
    action();
    Lines lines;
    for (const auto& call : host->calls().calls()) {
      if (call.operation == "log") lines.push_back(text(call));
    }
    return lines;
  }
  /// What is logged for a frame of these contacts.
  Lines logOfFrame(const Surface& surface, const std::vector<SimulatedContact>& contacts) {
    return logOf([&] { send(surface, contacts); });
  }

  std::shared_ptr<platform::simulated::SimulatedHost> host =
      platform::simulated::SimulatedHost::create();
  std::vector<TouchPoints> reports;
  // The last member, as its end still reports.
  std::shared_ptr<SiriRemoteMultitouchService> service;

 private:
  static std::string text(const PlatformCall& call) {
    if (call.operation == "log") return call.argument<std::string>("line");
    std::string line = call.operation;
    for (const auto& [name, value] : call.arguments) {
      line += ' ';
      std::visit(
          [&line]<class Value>(const Value& argument) {
            if constexpr (std::is_same_v<Value, std::string>) {
              line += argument;
            } else if constexpr (std::is_arithmetic_v<Value>) {
              line += std::to_string(argument);
            }
          },
          value);
    }
    return line;
  }
};

}  // namespace tessline::test
