// Makes a recording of the input and replays it. An odd first byte: the rest is the recording's
// text behind its header. An even one: the rest chooses records that are well formed. Whatever is
// recorded, the rules of every replay must hold, and nothing but a RecordingError may be thrown.

#include "cli/replay/Invariants.h"
#include "cli/replay/Recording.h"
#include "cli/replay/Replay.h"
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

std::string members(Choices& choices) {
  switch (choices.byte() % 10) {
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
    default:
      return fmt::format(R"("type":"hid.report","device":"{}","reportID":{},"bytes":"{}")",
                         choices.pick(deviceNames), choices.byte() % 4, payload(choices));
  }
}

std::string structured(Choices choices) {
  std::string text;
  for (int time = 0; !choices.isEmpty(); time += choices.byte() % 3) {
    text += fmt::format(R"({{"time":{},{}}})", time, members(choices)) + "\n";
  }
  return text;
}

// Records that do not fit are passed over, so that the rest of the input still counts.
void replay(const std::string& recording) {
  std::vector<cli::Violation> violations;
  const auto invariants = cli::makeInvariants();
  cli::Replay replay([&](platform::QueueTime time, const cli::Observation& observation) {
    for (const auto& invariant : invariants) invariant->observe(time, observation, violations);
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
  if (!violations.empty()) fuzz::expectNoDifference(violations.front().text + "\n" + recording);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  const std::string header = "{\"recording\":\"tessline\",\"version\":1}\n";
  if (data[0] % 2 == 1) {
    replay(header + std::string(fuzz::textOf(data + 1, size - 1)));
  } else {
    replay(header + structured(Choices({data + 1, size - 1})));
  }
  return 0;
}
