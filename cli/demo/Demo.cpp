#include "cli/demo/Demo.h"

#include "cli/simulate/CaptureTimeline.h"
#include "cli/simulate/Melody.h"
#include "cli/simulate/SimulatedLine.h"
#include "cli/simulate/SimulatedRemote.h"

#include <cmath>
#include <cstddef>
#include <numbers>
#include <utility>

#include <fmt/format.h>

namespace tessline::cli {

namespace {

using platform::QueueTime;
using platform::simulated::PlatformCall;
using platform::simulated::SimulatedContact;
using std::chrono::milliseconds;

constexpr std::string_view toolPath = "/opt/packetlogger";
constexpr std::string_view remoteAddress = "D6:1E:52:A0:37:4B";
constexpr std::string_view windowName = "editor";
constexpr double framesPerSecond = 60;
constexpr std::size_t spokenPackets = 100;

std::vector<std::int16_t> spokenSamples() {
  auto samples = melody();
  samples.resize(spokenPackets * samplesPerVoicePacket);
  return samples;
}

std::vector<std::vector<std::uint8_t>> copies(const VoicePackets& packets) {
  std::vector<std::vector<std::uint8_t>> result;
  result.reserve(packets.size());
  for (std::size_t index = 0; index < packets.size(); ++index) {
    result.emplace_back(packets[index].begin(), packets[index].end());
  }
  return result;
}

std::vector<Point> straight(Point from, Point to, int frames) {
  std::vector<Point> path;
  path.reserve(static_cast<std::size_t>(frames) + 1);
  for (int frame = 0; frame <= frames; ++frame) {
    const double part = static_cast<double>(frame) / frames;
    path.push_back({from.x + (to.x - from.x) * part, from.y + (to.y - from.y) * part});
  }
  return path;
}

// Around the rim of the clickpad, clockwise from the top.
std::vector<Point> turn(double degrees, int frames) {
  constexpr double radius = 0.45;
  std::vector<Point> path;
  path.reserve(static_cast<std::size_t>(frames) + 1);
  for (int frame = 0; frame <= frames; ++frame) {
    const double angle = degrees * std::numbers::pi / 180 * frame / frames;
    path.push_back({0.5 + radius * std::sin(angle), 0.5 + radius * std::cos(angle)});
  }
  return path;
}

// What a remote does for the capture, as the lines of the tool.
void play(const VoicePackets& voice, SimulatedLineSink& sink) {
  constexpr std::uint64_t seed = 1;
  constexpr std::size_t frames = 60;
  CaptureTimeline timeline(seed, std::string(remoteAddress), sink);
  SimulatedRemote remote(seed, timeline);
  const auto press = [&](RemoteCommand command, ButtonLayout layout) {
    timeline.advanceBy(milliseconds(400));
    remote.press(command, layout);
    timeline.advanceBy(milliseconds(120));
    remote.release(command, layout);
  };
  press(RemoteCommand::volumeDown, ButtonLayout::notificationWithId);
  press(RemoteCommand::up, ButtonLayout::notification);
  timeline.advanceBy(milliseconds(400));
  remote.openVoice(VoiceOpening::buttonDown, ButtonLayout::notification);
  const SimulatedTime began = timeline.now();
  for (std::size_t frame = 0; frame < frames; ++frame) {
    timeline.advanceTo(began + (frame + 1) * milliseconds(20));
    remote.sendFrame(voice[frame], {}, FrameFate::whole);
  }
  timeline.advanceBy(milliseconds(20));
  remote.closeVoice(VoiceClosing::buttonUp, ButtonLayout::notification);
}

// Keeps the lines with their times.
class LineList final : public SimulatedLineSink {
 public:
  void write(const SimulatedLine& line) override {
    lines.emplace_back(line.time, std::string(line.text));
  }

  std::vector<std::pair<SimulatedTime, std::string>> lines;
};

}  // namespace

Demo::Demo(Output& output, const std::optional<VoiceFileOptions>& voiceFiles)
    : writer_(output, [this] { return host_->scheduler().now(); }),
      voiceDirectory_(voiceFiles ? std::optional(voiceFiles->directory) : std::nullopt),
      voicePackets_(VoicePackets::encode(spokenSamples())),
      bluetoothRecorder_(voiceFiles ? VoiceSessionRecorder(*voiceFiles) : VoiceSessionRecorder()),
      script_(host_->scheduler().makeQueue("script")) {
  makeServices();
  connectOutputs();
  planBluetooth();
  planTouches();
  planHID();
  planCapture();
  planEnd();
}

Demo::~Demo() {
  host_->calls().onCall = nullptr;
}

void Demo::play(const WaitUntil& waitUntil) {
  auto& scheduler = host_->scheduler();
  for (auto due = scheduler.nextDue(); due; due = scheduler.nextDue()) {
    if (!waitUntil(*due)) break;
    scheduler.runNext();
  }
  bluetoothRecorder_.finish();
  captureRecorder_.finish();
  writer_.finish(voiceDirectory_);
}

void Demo::makeServices() {
  bluetooth_ = BluetoothRemoteDiscoveryService::create(host_);
  hid_ = ConnectedRemoteHIDService::create(std::nullopt, host_);
  capture_ = PacketLoggerCaptureService::create(host_);
  gestures_ = SiriRemoteGestureController::create(host_);
  touches_ = SiriRemoteMultitouchService::create(host_);
}

void Demo::connectOutputs() {
  host_->calls().onCall = [this](const PlatformCall& call) { follow(call); };

  bluetooth_->onSnapshotChanged = [this](const BluetoothRemoteDiscoverySnapshot& snapshot) {
    if (snapshot.devices.size() > std::exchange(knownRemotes_, snapshot.devices.size())) {
      const BluetoothRemoteDevice& found = snapshot.devices.front();
      writer_.note(DemoSource::bluetooth, "+",
                   fmt::format("{} heard, {} dBm", found.name, found.rssi));
    }
    writer_.status(DemoSource::bluetooth, snapshot.status);
  };
  bluetooth_->onBatteryLevelChanged = [this](std::optional<std::int64_t> percent) {
    writer_.note(DemoSource::bluetooth, "▮",
                 percent ? fmt::format("battery {} %", *percent) : "battery unknown");
  };
  bluetooth_->onTransportEvents = [this](const std::vector<TesslineEvent>& events) {
    writer_.events(DemoSource::bluetooth, events);
    for (const TesslineEvent& event : events) bluetoothRecorder_.handle(event);
    passButtons(events);
  };
  bluetoothRecorder_.onSessionClosed = [this](const VoiceSessionRecord& record) {
    writer_.session(DemoSource::bluetooth, record);
  };

  hid_->onSnapshotChanged = [this](const ConnectedRemoteHIDSnapshot& snapshot) {
    writer_.status(DemoSource::hid, snapshot.status);
  };
  hid_->onTransportEvents = [this](const std::vector<TesslineEvent>& events) {
    writer_.events(DemoSource::hid, events);
    passButtons(events);
  };

  capture_->onSnapshotChanged = [this](const PacketLoggerCaptureSnapshot& snapshot) {
    writer_.status(DemoSource::capture, snapshot.status);
  };
  capture_->onTransportEvents = [this](const std::vector<TesslineEvent>& events) {
    writer_.events(DemoSource::capture, events);
    for (const TesslineEvent& event : events) captureRecorder_.handle(event);
    passButtons(events);
  };
  captureRecorder_.onSessionClosed = [this](const VoiceSessionRecord& record) {
    writer_.session(DemoSource::capture, record);
  };

  touches_->onTouchesChanged = [this](std::span<const SiriRemoteTouchPoint> points) {
    gestures_->handleTouches(points);
  };
  gestures_->onDragLockChargePhase = [this](DragLockChargePhase phase) {
    writer_.note(DemoSource::touch, "◔", fmt::format("drag lock: charge {}", name(phase)));
  };
}

void Demo::passButtons(const std::vector<TesslineEvent>& events) {
  for (const TesslineEvent& event : events) {
    if (const auto* const button = std::get_if<RemoteButtonEvent>(&event)) {
      gestures_->handleButton(button->command, button->phase);
    }
  }
}

void Demo::follow(const PlatformCall& call) {
  // Waits until the remote answers.
  if (call.operation == "connect") writer_.note(DemoSource::bluetooth, "…", "connecting");
  if (call.operation == "CGEventCreateScrollWheelEvent2") {
    writer_.scrolled(call.argument<std::int64_t>("wheel1"), call.argument<std::int64_t>("wheel2"));
  }
  if (call.operation != "CGEventCreateMouseEvent") return;
  const auto type = call.argument<std::string>("type");
  const Point position{call.argument<double>("x"), call.argument<double>("y")};
  if (type == "kCGEventLeftMouseDown") {
    writer_.button(true, position);
  } else if (type == "kCGEventLeftMouseUp") {
    writer_.button(false, position);
  } else {
    writer_.pointerMoved(position);
  }
}

void Demo::planBluetooth() {
  beginScene(0, "Bluetooth LE: found, connected, used, lost and found again");
  remote_ = platform::simulated::SimulatedSiriRemote::create(host_, {.batteryLevel = 82});
  at(0, [this] { bluetooth_->startScanning(); });
  at(0.6, [this] { remote_->wake(); });
  at(1.2, [this] { remote_->hold(RemoteCommand::volumeUp, milliseconds(140)); });
  at(1.6, [this] { remote_->hold(RemoteCommand::back, milliseconds(120)); });
  at(2.0, [this] { remote_->speak(copies(voicePackets_)); });
  at(4.4, [this] { remote_->setBatteryLevel(81); });
  at(4.6, [this] { remote_->drop(); });
  at(5.8, [this] { remote_->wake(); });
  at(6.2, [this] { remote_->hold(RemoteCommand::home, milliseconds(120)); });
}

void Demo::planTouches() {
  constexpr double titleBarHeight = 28;
  beginScene(7, "Touches: pointer, scrolling, a click, a window dragged with the drag lock");
  at(0, [this] {
    host_->desktop().setPointer(Point{720, 620});
    host_->desktop().setWindow({.name = std::string(windowName),
                                .frame = {{420, 220}, {600, 400}},
                                .titleBarHeight = titleBarHeight,
                                .depth = 2});
    clickpad_ = host_->multitouch().connect(
        {.sensorRows = 12, .sensorColumns = 6, .surfaceWidth = 2775, .surfaceHeight = 2775});
    touches_->start();
  });
  stroke(0.4, {straight({0.5, 0.4}, {0.5, 0.6}, 20)});
  stroke(1.0, {straight({0.4, 0.65}, {0.4, 0.35}, 15), straight({0.6, 0.65}, {0.6, 0.35}, 15)});
  stroke(1.6, {turn(270, 40)});
  at(2.6, [this] { remote_->hold(RemoteCommand::select, milliseconds(110)); });
  stroke(3.0, {straight({0.5, 0.44}, {0.5, 0.56}, 16)});
  // Long enough to lock.
  at(3.6, [this] { remote_->hold(RemoteCommand::select, milliseconds(1300)); });
  stroke(5.2, {straight({0.35, 0.5}, {0.65, 0.42}, 24)});
  at(6.0, [this] { remote_->hold(RemoteCommand::select, milliseconds(110)); });
  at(6.3, [this] {
    for (const auto& window : host_->desktop().windows()) {
      writer_.note(DemoSource::touch, "▭",
                   fmt::format("{} now at {:.0f}, {:.0f}", window.name, window.frame.origin.x,
                               window.frame.origin.y));
    }
  });
}

void Demo::planHID() {
  beginScene(14, "HID: the interface of a remote that the system has connected");
  at(0, [this] { hid_->startListening(); });
  at(0.4, [this] {
    hidInterface_ = host_->hid().connect({{"Product", "Siri Remote"},
                                          {"Transport", "BluetoothLowEnergy"},
                                          {"VendorID", std::int64_t{76}},
                                          {"ProductID", std::int64_t{789}},
                                          {"PrimaryUsagePage", std::int64_t{12}},
                                          {"PrimaryUsage", std::int64_t{1}},
                                          {"MaxInputReportSize", std::int64_t{32}}});
  });
  at(0.8, [this] { sendReport({0xFB, 0x00, 0x01}); });
  at(0.92, [this] { sendReport({0xFB, 0x00, 0x00}); });
  at(1.2, [this] { sendReport({0xFB, 0x80, 0x00}); });
  at(1.3, [this] { sendReport({0xFB, 0x00, 0x00}); });
}

void Demo::planCapture() {
  beginScene(16, "Capture: the text of the packetlogger tool, as it is written");
  at(0, [this] {
    constexpr std::uint32_t root = 0;
    host_->surroundings().userID = root;
    host_->processes().setProgram(std::string(toolPath), {});
    capture_->startCapture(std::string(remoteAddress), std::string(toolPath));
  });
  LineList list;
  cli::play(voicePackets_, list);
  for (auto& [time, line] : list.lines) {
    at(Seconds(time).count(), [this, text = std::move(line)] {
      const std::vector<std::uint8_t> bytes(text.begin(), text.end());
      host_->processes().write(host_->processes().startedCount(), bytes);
    });
  }
  at(3.4, [this] { capture_->stopCapture(); });
}

void Demo::planEnd() {
  beginScene(20, "The end");
  at(0, [this] { hid_->stopListening(); });
  at(0, [this] { bluetooth_->stopScanning(); });
  at(0, [this] { touches_->stop(); });
}

void Demo::at(double time, Action action) {
  const auto when = std::chrono::duration_cast<QueueTime>(scene_ + Seconds(time));
  script_->asyncAfter(when, std::move(action));
}

void Demo::beginScene(double time, std::string title) {
  scene_ = Seconds(time);
  at(0, [this, text = std::move(title)] { writer_.scene(text); });
}

void Demo::stroke(double time, const std::vector<Path>& fingers) {
  constexpr std::int32_t began = 3;
  constexpr std::int32_t moved = 4;
  const std::size_t length = fingers.front().size();
  for (std::size_t frame = 0; frame < length; ++frame) {
    std::vector<SimulatedContact> contacts;
    contacts.reserve(fingers.size());
    for (const Path& path : fingers) {
      contacts.push_back({.identifier = static_cast<std::int32_t>(contacts.size() + 1),
                          .state = frame == 0 ? began : moved,
                          .x = static_cast<float>(path[frame].x),
                          .y = static_cast<float>(path[frame].y)});
    }
    at(time + static_cast<double>(frame) / framesPerSecond,
       [this, contacts] { host_->multitouch().sendFrame(*clickpad_, contacts); });
  }
  at(time + static_cast<double>(length) / framesPerSecond,
     [this] { host_->multitouch().sendFrame(*clickpad_, {}); });
}

void Demo::sendReport(std::vector<std::uint8_t> bytes) {
  host_->hid().sendReport(hidInterface_, 0, std::move(bytes));
}

}  // namespace tessline::cli
