#include "tests/platform/HIDContract.h"

#include <algorithm>
#include <array>
#include <span>
#include <variant>

#include <fmt/format.h>

namespace tessline::test {

HIDProperties HIDContract::lamp(const std::string& name, const HIDProperties& changes) {
  HIDProperties properties = {{"VendorID", number(7)}, {"ProductID", number(8)}, {"Product", name}};
  for (const auto& [key, value] : changes) properties.insert_or_assign(key, value);
  return properties;
}

std::string HIDContract::nameOf(const platform::HIDDevice& device) {
  const auto name = device.property("Product");
  const auto* const text = std::get_if<std::string>(&name);
  return text == nullptr ? "?" : *text;
}

void HIDContract::make() {
  manager = backend->platform()->makeHIDManager();
  ASSERT_NE(manager, nullptr);
  const std::array<platform::HIDMatching, 1> lamps = {{{7, 8}}};
  manager->setDeviceMatchingMultiple(lamps);
  const auto noting = [this](const std::string& what) {
    return [this, what](const FoundHIDDevice& device) {
      last = device;
      note(what + " " + nameOf(*device));
    };
  };
  manager->registerDeviceMatchingCallback(noting("matched"));
  manager->registerDeviceRemovalCallback(noting("removed"));
}

void HIDContract::start() {
  make();
  schedule();
  EXPECT_EQ(manager->open(), 0);
  backend->settle();
}

std::size_t HIDContract::connect(const HIDProperties& properties) {
  const std::size_t device = backend->connect(properties);
  backend->settle();
  return device;
}

void HIDContract::disconnect(std::size_t device) {
  backend->disconnect(device);
  backend->settle();
}

void HIDContract::report(std::size_t device, std::uint32_t reportID,
                         std::vector<std::uint8_t> bytes) {
  backend->sendReport(device, reportID, std::move(bytes));
  backend->settle();
}

FoundHIDDevice HIDContract::startWithLamp(const HIDProperties& changes) {
  start();
  connect(lamp("lamp", changes));
  EXPECT_EQ(take(), HIDNotes{"matched lamp"});
  return std::exchange(last, nullptr);
}

void HIDContract::listen(const FoundHIDDevice& device) {
  device->registerInputReportCallback(
      buffer, [this](std::uint32_t reportID, std::span<const std::uint8_t> report) {
        if (!report.empty()) {
          EXPECT_EQ(report.data(), buffer.data());
        }
        std::string line = fmt::format("report {}:", reportID);
        for (const std::uint8_t byte : report) line += fmt::format(" {:02x}", byte);
        note(line);
      });
}

void HIDContract::note(const std::string& line) {
  EXPECT_TRUE(loop->isCurrent()) << line;
  notes.push_back(line);
  if (duringCall) duringCall();
}

std::optional<std::vector<std::string>> HIDContract::copiedNames() {
  const auto devices = manager->copyDevices();
  if (!devices) return std::nullopt;
  std::vector<std::string> names;
  for (const auto& device : *devices) names.push_back(nameOf(*device));
  std::ranges::sort(names);
  return names;
}

}  // namespace tessline::test
