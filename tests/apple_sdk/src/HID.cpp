// What tests do to HID interfaces.
#include "HIDObjects.h"

#include <utility>

namespace standin {

namespace hid {

System& system() {
  static auto& all = *new System;
  return all;
}

void note(std::string call) {
  system().calls.push_back(std::move(call));
}

void expectMainThread(std::string_view function) {
  if (!isMainThread()) fail(function, "was called off the main thread");
}

namespace {

void addToAll(const Event& event) {
  for (Manager* each : system().managers) each->add(event);
}

}  // namespace

}  // namespace hid

using hid::Hardware;

std::shared_ptr<HIDInterface> connectHIDInterface(HIDProperties properties,
                                                  HIDProperties ofParents) {
  hid::System& system = hid::system();
  auto made = std::make_shared<HIDInterface>(system.nextNumber++, std::move(properties),
                                             std::move(ofParents));
  system.hardware.push_back(made);
  hid::addToAll(hid::Arrival{made});
  return made;
}

void disconnectHIDInterface(const Hardware& hardware) {
  if (std::erase(hid::system().hardware, hardware) != 0) hid::addToAll(hid::Removal{hardware});
}

void configureHIDInterface(const Hardware& hardware, HIDProperties properties) {
  hardware->properties = std::move(properties);
  for (hid::Manager* each : hid::system().managers) each->configure(hardware);
}

void sendHIDReport(const Hardware& hardware, std::uint32_t reportID,
                   std::vector<std::uint8_t> report, IOReturn result) {
  hid::addToAll(hid::Report{hardware, result, reportID, std::move(report)});
}

void setHIDManagersCanBeCreated(bool can) {
  hid::system().canCreate = can;
}

void setHIDOpenResult(IOReturn result) {
  hid::system().openResult = result;
}

void setHIDOpenResult(const Hardware& hardware, IOReturn result) {
  hardware->openResult = result;
}

void setHIDDevicesCanBeCopied(bool can) {
  hid::system().canCopy = can;
}

std::vector<std::string> takeHIDCalls() {
  return std::exchange(hid::system().calls, {});
}

void resetHID() {
  if (!hid::system().managers.empty()) {
    fail("resetHID", "was called while there is a HID manager");
  }
  hid::system() = {};
}

}  // namespace standin
