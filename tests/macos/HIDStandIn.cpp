#include "tests/macos/HIDStandIn.h"

#include <utility>
#include <variant>

#include <IOKit/hidsystem/IOHIDLib.h>
#include <standin/permissions.h>

namespace tessline::test {

HIDStandIn::HIDStandIn() {
  standin::permissions::setListenAccess(kIOHIDAccessTypeGranted);
  standin::takeHIDCalls();
}

HIDStandIn::~HIDStandIn() {
  platform_.reset();
  EXPECT_EQ(standin::liveCFObjects(), liveBefore_);
  standin::resetHID();
}

standin::HIDProperties HIDStandIn::scripted(const HIDProperties& properties) {
  struct Scripted {
    standin::CFValue operator()(std::monostate) const { return standin::CFBytes(); }
    standin::CFValue operator()(const platform::OtherHIDProperty&) const {
      return standin::CFBytes{{1, 2}};
    }
    standin::CFValue operator()(const std::string& text) const { return text; }
    standin::CFValue operator()(std::int64_t number) const { return number; }
    standin::CFValue operator()(double number) const { return number; }
    standin::CFValue operator()(bool truth) const { return truth; }
  };
  standin::HIDProperties result;
  for (const auto& [key, value] : properties) {
    if (!std::holds_alternative<std::monostate>(value)) {
      result.emplace(key, std::visit(Scripted(), value));
    }
  }
  return result;
}

std::size_t HIDStandIn::connect(const HIDProperties& properties) {
  devices_.push_back(standin::connectHIDInterface(scripted(properties)));
  return devices_.size() - 1;
}

void HIDStandIn::disconnect(std::size_t device) {
  standin::disconnectHIDInterface(hardware(device));
}

void HIDStandIn::sendReport(std::size_t device, std::uint32_t reportID,
                            std::vector<std::uint8_t> report) {
  standin::sendHIDReport(hardware(device), reportID, std::move(report));
}

std::vector<HIDBackendChoice> hidBackends() {
  return {{"IOKit", [] { return std::make_unique<HIDStandIn>(); }}};
}

}  // namespace tessline::test
