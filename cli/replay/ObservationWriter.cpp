#include "cli/replay/ObservationWriter.h"

#include "cli/EventJson.h"
#include "cli/SnapshotJson.h"
#include "cli/replay/Recording.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include <nlohmann/json.hpp>

namespace tessline::cli {

namespace {

using nlohmann::ordered_json;

// Names of devices may be broken text; a program must get valid JSON all the same.
std::string members(const ordered_json& object) {
  const std::string text = object.dump(-1, ' ', false, ordered_json::error_handler_t::replace);
  return object.empty() ? std::string() : "," + text.substr(1, text.size() - 2);
}

class Writer {
 public:
  Writer(platform::QueueTime time, Output& output) : time_(secondsText(time)), output_(output) {}

  void operator()(const HIDServiceCreated&) const {}
  void operator()(const HIDServiceReleased&) const {}

  void operator()(const ConnectedRemoteHIDSnapshot& published) const {
    snapshot("hid.snapshot", published);
  }

  void operator()(const HIDRawPayload& payload) const { bytes("hid.rawPayload", payload.bytes); }
  void operator()(const HIDEvents& batch) const { events("hid.event", batch.events); }

  void operator()(const CaptureCreated&) const {}
  void operator()(const CaptureReleased&) const {}
  void operator()(const CaptureRawPayload& payload) const {
    bytes("capture.rawPayload", payload.bytes);
  }
  void operator()(const CaptureEvents& batch) const { events("capture.event", batch.events); }

  void operator()(const PacketLoggerCaptureSnapshot& published) const {
    snapshot("capture.snapshot", published);
  }

  void operator()(const BluetoothCreated&) const {}
  void operator()(const BluetoothReleased&) const {}
  void operator()(const BluetoothAsked&) const {}
  void operator()(const BluetoothHostChanged&) const {}
  void operator()(const BluetoothRawPayload& payload) const {
    bytes("bluetooth.rawPayload", payload.bytes);
  }
  void operator()(const BluetoothEvents& batch) const { events("bluetooth.event", batch.events); }

  void operator()(const BatteryLevel& level) const {
    line("bluetooth.battery",
         members({{"percent", level.percent ? ordered_json(*level.percent) : ordered_json()}}));
  }

  void operator()(const BluetoothPublication& publication) const {
    snapshot("bluetooth.snapshot", publication.snapshot);
  }

  void operator()(const TouchCreated&) const {}
  void operator()(const TouchReleased&) const {}
  void operator()(const ButtonsReset&) const {}
  void operator()(const ScreensChanged&) const {}

  void operator()(const TouchPoints& touches) const {
    ordered_json points = ordered_json::array();
    for (const SiriRemoteTouchPoint& point : touches.points) {
      points.push_back({{"identifier", point.identifier},
                        {"x", point.x},
                        {"y", point.y},
                        {"state", point.state}});
    }
    line("touch.points", members({{"points", std::move(points)}}));
  }

  void operator()(const ModeChanged& change) const {
    line("touch.mode", members({{"mode", change.mode}}));
  }

  void operator()(const DragChanged& change) const {
    line("touch.drag",
         members({{"isDragging", change.isDragging}, {"isDragLocked", change.isDragLocked}}));
  }

  void operator()(const ChargePhase& charge) const {
    line("touch.chargePhase",
         members({{"phase", name(charge.phase)}, {"ordinal", ordinal(charge.phase)}}));
  }

  void operator()(const WindowPlaced& placed) const {
    if (placed.isByRecord) return;
    const Rect& frame = placed.frame;
    line("desktop.window",
         members(
             {{"window", placed.window},
              {"frame", {frame.origin.x, frame.origin.y, frame.size.width, frame.size.height}}}));
  }

  void operator()(const platform::simulated::PlatformCall& call) const {
    ordered_json object = {{"operation", call.operation}};
    for (const auto& [name, value] : call.arguments) {
      std::visit([&object, &key = name](const auto& argument) { object[key] = argument; }, value);
    }
    line("call", members(object));
  }

 private:
  template <class Snapshot>
  void snapshot(std::string_view kind, const Snapshot& published) const {
    line(kind, "," + snapshotMembers(published));
  }

  void bytes(std::string_view kind, const std::vector<std::uint8_t>& payload) const {
    std::string text = R"(,"bytes":")";
    appendHex(payload, text);
    line(kind, text + '"');
  }

  void events(std::string_view kind, const std::vector<TesslineEvent>& batch) const {
    for (const TesslineEvent& event : batch) {
      std::string text = ",";
      appendEventMembers(event, text);
      line(kind, text);
    }
  }

  void line(std::string_view kind, std::string_view rest) const {
    output_.print("{{\"time\":{},\"output\":\"{}\"{}}}\n", time_, kind, rest);
  }

  std::string time_;
  Output& output_;
};

}  // namespace

void writeObservation(platform::QueueTime time, const Observation& observation, Output& output) {
  std::visit(Writer(time, output), observation);
}

}  // namespace tessline::cli
