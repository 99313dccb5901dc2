/// @file
/// What every backend's HID managers and devices are tested through.
#pragma once

#include "tessline/platform/Platform.h"
#include "tests/platform/BackendName.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

namespace tessline::test {

using HIDProperties = std::map<std::string, platform::HIDProperty>;

/// A backend whose outside can be scripted. What a verb does has happened when it returns; what
/// managers make of it comes later. Interfaces are counted from 0.
class HIDBackend {
 public:
  virtual ~HIDBackend() = default;

  virtual std::shared_ptr<platform::Platform> platform() = 0;
  /// Runs the main run loop until nothing is left to do.
  virtual void settle() = 0;

  /// Behind those that there are.
  virtual std::size_t connect(const HIDProperties& properties) = 0;
  virtual void disconnect(std::size_t device) = 0;
  virtual void sendReport(std::size_t device, std::uint32_t reportID,
                          std::vector<std::uint8_t> report) = 0;

  /// Whether managers can be made from now on.
  virtual void setManagersCanBeCreated(bool can) = 0;
  /// What opening a manager with a matching device yields from now on.
  virtual void setOpenResult(platform::HIDResult result) = 0;
  /// Whether managers can tell their devices from now on.
  virtual void setDevicesCanBeCopied(bool can) = 0;
};

/// One backend by name.
struct HIDBackendChoice {
  std::string name;
  std::function<std::unique_ptr<HIDBackend>()> make;
};

/// The backends that this program's tests run on.
std::vector<HIDBackendChoice> hidBackends();

using FoundHIDDevice = std::shared_ptr<platform::HIDDevice>;
using HIDNotes = std::vector<std::string>;

/// A manager on a backend's host, with verbs for what is asked of it and what happens to it.
/// Devices are told apart by their property "Product"; what is called back becomes notes such as
/// "matched lamp", "removed lamp" and "report 2: 02 09".
class HIDContract : public testing::TestWithParam<HIDBackendChoice> {
 protected:
  /// Of the vendor 7 and the product 8, which the manager looks for; `changes` add properties.
  static HIDProperties lamp(const std::string& name, const HIDProperties& changes = {});
  /// A number that a backend's matching goes by.
  static platform::HIDProperty number(std::int64_t value) { return value; }
  static std::string nameOf(const platform::HIDDevice& device);

  /// Makes `manager`, which looks for vendor 7, product 8, and notes what it is told.
  void make();
  /// ... and schedules it, opens it and runs the loop.
  void start();
  void schedule() { manager->scheduleWithRunLoop(*loop); }
  void unschedule() { manager->unscheduleFromRunLoop(*loop); }
  std::size_t connect(const HIDProperties& properties);
  void disconnect(std::size_t device);
  void report(std::size_t device, std::uint32_t reportID, std::vector<std::uint8_t> bytes);
  /// Connects a lamp to a manager that is started, and gives what it was told of.
  FoundHIDDevice startWithLamp(const HIDProperties& changes = {});
  /// Notes the device's reports, which come through `buffer`.
  void listen(const FoundHIDDevice& device);
  /// Expects it to be inside the run loop.
  void note(const std::string& line);
  /// What was noted since the last time.
  HIDNotes take() { return std::exchange(notes, {}); }
  /// The names of the manager's devices, sorted; none if it cannot tell.
  std::optional<std::vector<std::string>> copiedNames();

  std::unique_ptr<HIDBackend> backend = GetParam().make();
  std::shared_ptr<platform::MainRunLoop> loop = backend->platform()->mainRunLoop();
  HIDNotes notes;
  /// The device of the last call.
  FoundHIDDevice last;
  /// Runs within each call, behind its note.
  std::function<void()> duringCall;
  /// Before the manager, which lets go of it.
  std::vector<std::uint8_t> buffer = std::vector<std::uint8_t>(8);
  std::shared_ptr<platform::HIDManager> manager;
};

}  // namespace tessline::test
