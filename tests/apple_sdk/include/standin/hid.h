/// @file
/// What tests see of the stand-in for HID managers and devices.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include <IOKit/IOReturn.h>
#include <standin/corefoundation.h>

namespace standin {

using HIDProperties = std::map<std::string, CFValue>;

/// Hardware, which each manager that it matches sees as a device of its own.
class HIDInterface;

/// It appears. What it lacks itself is looked for in `ofParents`. Its name is for the calls.
std::shared_ptr<HIDInterface> connectHIDInterface(HIDProperties properties,
                                                  HIDProperties ofParents = {});
/// It goes. What nobody has read of it by the time its removal is told can be read no more.
void disconnectHIDInterface(const std::shared_ptr<HIDInterface>& hardware);
/// It has other properties, also in the eyes of those who have read them already.
void configureHIDInterface(const std::shared_ptr<HIDInterface>& hardware, HIDProperties properties);
/// It sends a report, for the managers that have it open to deliver.
void sendHIDReport(const std::shared_ptr<HIDInterface>& hardware, std::uint32_t reportID,
                   std::vector<std::uint8_t> report, IOReturn result = kIOReturnSuccess);

/// Whether managers can be made from now on.
void setHIDManagersCanBeCreated(bool can);
/// What opening a device yields from now on: any device, and one, which goes by its own result.
/// What people type and point with may not be opened without the permission to listen, whatever is
/// said here.
void setHIDOpenResult(IOReturn result);
void setHIDOpenResult(const std::shared_ptr<HIDInterface>& hardware, IOReturn result);
/// Whether managers tell their devices from now on.
void setHIDDevicesCanBeCopied(bool can);

/// The calls since the last time, but those that read properties, as lines such as
/// "IOHIDManagerOpen 0". Devices are called by the order of their appearance, from "1".
std::vector<std::string> takeHIDCalls();

/// Forgets all interfaces and settings. There must be no manager any more.
void resetHID();

}  // namespace standin
