// What the user has said about input devices.
#include "Permissions.h"

#include "CallLog.h"

#include <atomic>

#include <IOKit/hidsystem/IOHIDLib.h>
#include <standin/permissions.h>

namespace standin::permissions {

namespace {

std::atomic<std::uint32_t> listenAccess = kIOHIDAccessTypeGranted;

CallLog& log() {
  static auto& calls = *new CallLog;
  return calls;
}

}  // namespace

void setListenAccess(std::uint32_t access) {
  listenAccess = access;
}

bool mayListen() {
  return listenAccess == kIOHIDAccessTypeGranted;
}

std::vector<std::string> calls() {
  return log().calls();
}

void clearCalls() {
  log().clear();
}

}  // namespace standin::permissions

// Whether events may be posted is another question, to which the answer here is always yes.
IOHIDAccessType IOHIDCheckAccess(IOHIDRequestType requestType) {
  using namespace standin::permissions;
  log().note("IOHIDCheckAccess " + std::to_string(requestType));
  if (requestType != kIOHIDRequestTypeListenEvent) return kIOHIDAccessTypeGranted;
  return static_cast<IOHIDAccessType>(listenAccess.load());
}
