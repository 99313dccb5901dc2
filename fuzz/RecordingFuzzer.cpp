// Makes a recording of the input and replays it. An odd first byte: the rest is the recording's
// text behind its header. An even one: the rest chooses records that are well formed, those of
// captures among them unless it is divisible by 4. Whatever is recorded, the rules of every replay
// must hold, and nothing but a RecordingError may be thrown.

#include "cli/replay/Invariants.h"
#include "cli/replay/Recording.h"
#include "cli/replay/Replay.h"
#include "cli/replay/plot/TouchPlot.h"
#include "fuzz/FuzzInput.h"

#include <array>
#include <cstdint>
#include <memory>
#include <span>
#include <sstream>
#include <string>
#include <vector>

#include <fmt/format.h>

namespace {

using namespace tessline;

// Takes choices off the front of the input; all are 0 behind its end.
class Choices {
 public:
  explicit Choices(std::span<const std::uint8_t> input) : rest_(input) {}

  bool isEmpty() const { return rest_.empty(); }
  std::uint8_t byte() {
    if (rest_.empty()) return 0;
    const std::uint8_t value = rest_.front();
    rest_ = rest_.subspan(1);
    return value;
  }
  template <std::size_t size>
  std::string pick(const std::array<const char*, size>& values) {
    return values[byte() % size];
  }

 private:
  std::span<const std::uint8_t> rest_;
};

constexpr std::array<const char*, 4> deviceNames = {"a", "b", "c", "d"};
constexpr std::array<const char*, 6> productNames = {
    "\"Siri Remote\"", "\"e\\u0301\"", "\"\\u00e9\"", "\"\"", "5", "\"acme\""};
constexpr std::array<const char*, 6> numbers = {"789", "1",    "-1",
                                                "2.5", "true", "{\"other\":true}"};
// Payloads that mean something to the parser; more bytes are put behind some of them.
constexpr std::array<const char*, 16> payloads = {"0800",
                                                  "0000",
                                                  "2000",
                                                  "ff0800",
                                                  "fb0800",
                                                  "fb0000",
                                                  "1b23000010",
                                                  "1b23001000",
                                                  "1b3a002000",
                                                  "1b3a000000",
                                                  "1b23000000",
                                                  "1b23000002",
                                                  "1b23000300",
                                                  "40200f000b0004001b36000102030405b801",
                                                  "4010040002030405",
                                                  "1b1500fb2000"};

std::string payload(Choices& choices) {
  std::string text = choices.pick(payloads);
  for (int more = choices.byte() % 4; more > 1; --more)
    text += fmt::format("{:02x}", choices.byte());
  return text;
}

// A contact: mostly where contacts are, sometimes beside the surface.
std::string contact(Choices& choices) {
  const double scale = choices.byte() % 16 == 0 ? 10 : 255;
  const double x = choices.byte() / scale;
  const double y = choices.byte() / scale;
  return fmt::format("[{},{},{},{},0.5,-1]", choices.byte() % 4, choices.byte() % 4 + 2, x, y);
}

std::string contacts(Choices& choices) {
  std::string list;
  for (int count = choices.byte() % 4; count > 0; --count) {
    list += (list.empty() ? "" : ",") + contact(choices);
  }
  return "[" + list + "]";
}

std::string rectangle(Choices& choices) {
  const auto coordinate = [&choices] { return choices.byte() * 16 - 1024; };
  const int x = coordinate();
  const int y = coordinate();
  return fmt::format("[{},{},{},{}]", x, y, choices.byte() * 16, choices.byte() * 8);
}

std::string touchMembers(Choices& choices) {
  switch (choices.byte() % 16) {
    case 0:
      return R"("type":"touch.create")";
    case 1:
      return fmt::format(
          R"("type":"touch.create","selectDownSafetyTimeout":{},"dragLockLongPressDuration":{})",
          choices.byte() % 4, choices.byte() % 4);
    case 2:
      return R"("type":"touch.release")";
    case 3:
      return R"("type":"touch.start")";
    case 4:
      return choices.byte() % 4 == 0 ? R"("type":"touch.stop")" : R"("type":"touch.reset")";
    case 5:
      return fmt::format(
          R"("type":"touch.surfaceAppeared","surface":"{}","sensorRows":12,"sensorColumns":6,)"
          R"("startStatus":{})",
          choices.pick(deviceNames), choices.byte() % 8 == 0 ? 1 : 0);
    case 6:
      return fmt::format(R"("type":"touch.surfaceGone","surface":"{}")", choices.pick(deviceNames));
    case 7:
      return fmt::format(R"("type":"touch.cursorSpeed","speed":{})", choices.byte() - 100);
    case 8:
      return choices.byte() % 4 == 0 ? R"("type":"desktop.screens","frames":[])"
                                     : fmt::format(R"("type":"desktop.screens","frames":[{},{}])",
                                                   rectangle(choices), rectangle(choices));
    case 9:
      return choices.byte() % 4 == 0
                 ? fmt::format(R"("type":"desktop.pointer")")
                 : fmt::format(R"("type":"desktop.pointer","location":[{},{}])",
                               choices.byte() * 8 - 100, choices.byte() * 8 - 100);
    case 10:
      return fmt::format(
          R"("type":"desktop.window","window":"{}","frame":{},"titleBarHeight":30,"depth":{},)"
          R"("canBeMoved":{})",
          choices.pick(deviceNames), rectangle(choices), choices.byte() % 14,
          choices.byte() % 4 != 0);
    case 11:
      return fmt::format(R"("type":"desktop.host","canCreateEvents":{})", choices.byte() % 4 != 0);
    case 12:
    case 13:
      return fmt::format(R"("type":"touch.button","command":"select","phase":"{}")",
                         choices.byte() % 2 == 0 ? "pressed" : "released");
    default:
      return fmt::format(R"("type":"touch.frame","surface":"{}","contacts":{})",
                         choices.pick(deviceNames), contacts(choices));
  }
}

constexpr std::array<const char*, 8> remoteNames = {
    "Siri Remote", "Siri Remote", "A1B2C3D4E5F6", "Apple TV",
    "Living Room", "Siri Watch",  "SIR\\u0130",   ""};
// Fewer than names, so that two peripherals may have one.
constexpr std::array<const char*, 3> identifiers = {"5E1B0D6A-3C44-4F0B-9A7D-2E6C8F1A9B30",
                                                    "5E1B0D6A-3C44-4F0B-9A7D-2E6C8F1A9B31",
                                                    "5E1B0D6A-3C44-4F0B-9A7D-2E6C8F1A9B32"};
constexpr std::array<const char*, 8> bluetoothStates = {"poweredOn",   "poweredOn",   "poweredOff",
                                                        "resetting",   "unknown",     "other",
                                                        "unsupported", "unauthorized"};
constexpr std::array<const char*, 2> errors = {"", "It failed."};
constexpr std::array<const char*, 3> serviceUUIDs = {"180F", "1812",
                                                     "8341F2B4-C013-4F04-8197-C4CDB42E26DC"};
constexpr std::array<const char*, 5> characteristicUUIDs = {"2A19", "2A1A", "2A4D", "2A4D",
                                                            "30E69638-3752-4FEB-A3AA-3226BCD05ACE"};
constexpr std::array<const char*, 6> characteristicProperties = {
    R"("notify","write")",
    R"("notify")",
    R"("indicate","read")",
    R"("writeWithoutResponse","notify","read")",
    R"("read")",
    ""};

std::string truth(bool value) {
  return value ? "true" : "false";
}

std::string services(Choices& choices) {
  std::string list;
  for (int service = choices.byte() % 4; service > 0; --service) {
    std::string characteristics;
    for (int count = choices.byte() % 4; count > 0; --count) {
      characteristics += fmt::format(
          R"({}{{"uuid":"{}","properties":[{}]{}}})", characteristics.empty() ? "" : ",",
          choices.pick(characteristicUUIDs), choices.pick(characteristicProperties),
          choices.byte() % 2 == 0 ? fmt::format(R"(,"value":"{}")", payload(choices)) : "");
    }
    list += fmt::format(R"({}{{"uuid":"{}","characteristics":[{}],"error":"{}"}})",
                        list.empty() ? "" : ",", choices.pick(serviceUUIDs), characteristics,
                        choices.byte() % 8 == 0 ? "It failed." : "");
  }
  return "[" + list + "]";
}

// What a peripheral is like. Mostly one that can be connected.
std::string peripheral(Choices& choices) {
  std::string text =
      fmt::format(R"("peripheral":"{}","services":{},"isReachable":{})", choices.pick(deviceNames),
                  services(choices), truth(choices.byte() % 4 != 0));
  text += fmt::format(R"(,"isConnectedToSystem":{})", truth(choices.byte() % 2 == 0));
  if (choices.byte() % 4 != 0) text += fmt::format(R"(,"name":"{}")", choices.pick(remoteNames));
  const std::uint8_t failures = choices.byte();
  text += fmt::format(R"(,"connectError":"{}","servicesError":"{}")", errors[failures % 8 == 1],
                      errors[failures % 8 == 2]);
  return text;
}

std::string notification(Choices& choices) {
  return fmt::format(
      R"("type":"bluetooth.notification","peripheral":"{}","service":{},"characteristic":{},)"
      R"("bytes":"{}","error":"{}")",
      choices.pick(deviceNames), choices.byte() % 3, choices.byte() % 3, payload(choices),
      errors[choices.byte() % 8 == 1]);
}

std::string bluetoothMembers(Choices& choices) {
  switch (choices.byte() % 16) {
    case 0:
      return R"("type":"bluetooth.create")";
    case 1:
      return choices.byte() % 4 == 0 ? R"("type":"bluetooth.release")"
                                     : R"("type":"bluetooth.disconnect")";
    case 2:
    case 3:
      return R"("type":"bluetooth.startScanning")";
    case 4:
      return R"("type":"bluetooth.stopScanning")";
    case 5:
      return fmt::format(R"("type":"bluetooth.connect","identifier":"{}")",
                         choices.pick(identifiers));
    case 6:
      return fmt::format(R"("type":"bluetooth.host","state":"{}")", choices.pick(bluetoothStates));
    case 7:
    case 8:
      return fmt::format(R"("type":"bluetooth.peripheralAppeared","identifier":"{}",{})",
                         choices.pick(identifiers), peripheral(choices));
    case 9:
      return fmt::format(R"("type":"bluetooth.peripheralChanged",{})", peripheral(choices));
    case 10:
    case 11:
      return fmt::format(
          R"("type":"bluetooth.advertisement","peripheral":"{}","localName":"{}","rssi":{})",
          choices.pick(deviceNames), choices.pick(remoteNames), choices.byte() - 200);
    case 12:
      return fmt::format(R"("type":"bluetooth.drop","peripheral":"{}","error":"{}")",
                         choices.pick(deviceNames), choices.pick(errors));
    default:
      return notification(choices);
  }
}

// Where captures look for what they need, and beside.
constexpr std::array<const char*, 8> toolPaths = {
    "/opt/packetlogger",
    "/Library/PrivilegedHelperTools/com.morvane.helper",
    "/usr/bin/osascript",
    "/usr/bin/unzip",
    "/usr/sbin/system_profiler",
    "/Users/user/Library/Application Support/com.morvane/PacketLoggerHost/Resources/packetlogger",
    "/Applications/PacketLogger.app/Contents/Resources/packetlogger",
    "/nothing"};
constexpr std::array<const char*, 7> otherPaths = {
    "/Library/PrivilegedHelperTools",
    "/Users/user/Library/Application Support/com.morvane/PacketLoggerHost",
    "/Users/user/Library/Application Support/com.morvane/PacketLoggerHost/.install-version",
    "/Users/user/Library/Application Support/com.morvane/PacketLoggerHost/Resources",
    "/App/payload",
    "relative/../path",
    "/"};
// A packed runtime among them.
constexpr std::array<const char*, 5> fileContents = {R"("text":"1\n")", R"("text":"2")",
                                                     R"("bytes":"4d52504c0100010000504b")",
                                                     R"("bytes":"ff")", R"("permissions":493)"};
constexpr std::array<const char*, 3> resourceNames = {
    "siri-remote-helper", "PacketLoggerRuntime.payload", "packetlogger"};

constexpr int mostProcesses = 8;
constexpr int setUserID = 04755;
constexpr int executable = 0755;

// A path of a program mostly, so that some are met by accident.
std::string capturePath(Choices& choices) {
  return choices.byte() % 8 == 0 ? choices.pick(otherPaths) : choices.pick(toolPaths);
}

// A line of the tool for a payload, or one that is none; sometimes without its end.
std::string toolText(Choices& choices) {
  switch (choices.byte() % 8) {
    case 0:
      return "\\n";
    case 1:
      return R"(packetlogger: Error: none\r\n)";
    case 2:
      return R"(\u00e9 \u2028)";
    default:
      break;
  }
  std::string text = "Nov 21 10:00:00.000  RECV  0x0040  AA:BB:CC:DD:EE:FF ";
  const std::string bytes = payload(choices);
  for (std::size_t at = 0; at < bytes.size(); at += 2) text += " " + bytes.substr(at, 2);
  return text + (choices.byte() % 4 == 0 ? "" : "\\n");
}

// A text, or bytes that need not be one.
std::string toolOutput(Choices& choices, const char* text, const char* bytes) {
  return choices.byte() % 8 == 0 ? fmt::format(R"("{}":"{}")", bytes, payload(choices))
                                 : fmt::format(R"("{}":"{}")", text, toolText(choices));
}

std::string captureProgram(Choices& choices) {
  std::string members =
      fmt::format(R"("type":"capture.program","path":"{}")", capturePath(choices));
  const int choice = choices.byte();
  if (choice % 16 == 0) members += R"(,"launchError":"no")";
  if (choice % 4 == 1) members += "," + toolOutput(choices, "output", "outputBytes");
  if (choice % 8 == 2) members += "," + toolOutput(choices, "errors", "errorBytes");
  if (choice % 4 >= 2) members += fmt::format(R"(,"status":{})", choice % 8 / 4);
  if (choice % 8 == 5) members += R"(,"endsWhenAsked":false)";
  return members;
}

// One call takes no two choices: compilers differ in their order.
std::string captureFile(Choices& choices) {
  std::string members = fmt::format(R"("type":"capture.file","path":"{}")", capturePath(choices));
  if (choices.byte() % 2 == 0) return members + "," + choices.pick(fileContents);
  members += fmt::format(R"(,"owner":{})", choices.byte() % 2);
  return members +
         fmt::format(R"(,"permissions":{})", choices.byte() % 2 == 0 ? setUserID : executable);
}

std::string captureOutput(Choices& choices, const char* type) {
  const std::string members =
      fmt::format(R"("type":"{}","process":{},)", type, choices.byte() % mostProcesses);
  return members + toolOutput(choices, "text", "bytes");
}

std::string captureMembers(Choices& choices) {
  switch (choices.byte() % 20) {
    case 0:
    case 1:
      return R"("type":"capture.create")";
    case 2:
      return R"("type":"capture.release")";
    case 3:
    case 4:
      return R"("type":"capture.start","remoteAddress":"A","packetLoggerPath":"/opt/packetlogger")";
    case 5:
      return choices.byte() % 2 == 0
                 ? R"("type":"capture.start")"
                 : fmt::format(R"("type":"capture.start","packetLoggerPath":"{}")",
                               capturePath(choices));
    case 6:
      return choices.byte() % 2 == 0 ? R"("type":"capture.stop")" : R"("type":"capture.look")";
    case 7:
      return fmt::format(R"("type":"capture.host","userID":{})", choices.byte() % 2 * 501);
    case 8:
      return choices.byte() % 2 == 0
                 ? R"("type":"capture.host","identifier":"com.example")"
                 : fmt::format(R"("type":"capture.host","packetLoggerVariable":"{}")",
                               capturePath(choices));
    case 9: {
      const std::string name = choices.pick(resourceNames);
      return fmt::format(R"("type":"capture.resource","name":"{}","path":"{}")", name,
                         capturePath(choices));
    }
    case 10:
    case 11:
      return captureFile(choices);
    case 12:
      return fmt::format(R"("type":"capture.fileGone","path":"{}")", capturePath(choices));
    case 13:
    case 14:
      return captureProgram(choices);
    case 15:
      return captureOutput(choices, "capture.errorOutput");
    case 16: {
      const int process = choices.byte() % mostProcesses;
      return fmt::format(R"("type":"capture.exit","process":{},"status":{})", process,
                         choices.byte() % 4 - 1);
    }
    default:
      return captureOutput(choices, "capture.output");
  }
}

std::string members(Choices& choices, bool withCaptures) {
  // Both ranges stay as they are, or the corpus would mean something else.
  const int choice = choices.byte() % (withCaptures ? 30 : 32);
  if (choice >= 20) return withCaptures ? captureMembers(choices) : bluetoothMembers(choices);
  switch (choice) {
    case 0:
      return R"("type":"hid.create")";
    case 1:
      return R"("type":"hid.create","productNamePrefix":"acme")";
    case 2:
      return R"("type":"hid.release")";
    case 3:
      return R"("type":"hid.startListening")";
    case 4:
      return R"("type":"hid.stopListening")";
    case 5:
      return fmt::format(R"("type":"hid.host","openResult":{},"canCopyDevices":{})",
                         choices.byte() % 2, choices.byte() % 2 == 0);
    case 6:
      return fmt::format(
          R"("type":"hid.deviceAppeared","device":"{}","properties":{{"VendorID":76,)"
          R"("Product":{},"ProductID":{},"RegistryID":{},"MaxInputReportSize":{}}})",
          choices.pick(deviceNames), choices.pick(productNames),
          choices.byte() % 8 == 0 ? "545" : "789", choices.pick(numbers), choices.pick(numbers));
    case 7:
      return fmt::format(R"("type":"hid.deviceGone","device":"{}")", choices.pick(deviceNames));
    case 8:
    case 9:
      return fmt::format(R"("type":"hid.report","device":"{}","reportID":{},"bytes":"{}")",
                         choices.pick(deviceNames), choices.byte() % 4, payload(choices));
    default:
      return touchMembers(choices);
  }
}

std::string structured(Choices choices, bool withCaptures) {
  std::string text;
  // In quarters of a second: long presses and lost releases come in between.
  for (int time = 0; !choices.isEmpty(); time += choices.byte() % 6) {
    text += fmt::format(R"({{"time":{},{}}})", time / 4.0, members(choices, withCaptures)) + "\n";
  }
  return text;
}

// Records that do not fit are passed over, so that the rest of the input still counts.
void replay(const std::string& recording) {
  std::vector<cli::Violation> violations;
  const auto invariants = cli::makeInvariants();
  cli::TouchPlot plot;
  cli::Replay replay([&](platform::QueueTime time, const cli::Observation& observation) {
    for (const auto& invariant : invariants) invariant->observe(time, observation, violations);
    plot.observe(time, observation);
  });
  std::istringstream input(recording);
  cli::RecordingReader reader(input);
  while (true) {
    try {
      const auto record = reader.next();
      if (!record) break;
      replay.play(*record);
    } catch (const cli::RecordingError&) {
      continue;
    }
  }
  for (const auto& invariant : invariants) {
    invariant->finish(replay.host()->scheduler().now(), violations);
  }
  if (!plot.isEmpty()) drawTouchPlot(plot, "fuzzed");
  if (!violations.empty()) fuzz::expectNoDifference(violations.front().text + "\n" + recording);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  const std::string header = "{\"recording\":\"tessline\",\"version\":1}\n";
  if (data[0] % 2 == 1) {
    replay(header + std::string(fuzz::textOf(data + 1, size - 1)));
  } else {
    replay(header + structured(Choices({data + 1, size - 1}), data[0] % 4 == 2));
  }
  return 0;
}
