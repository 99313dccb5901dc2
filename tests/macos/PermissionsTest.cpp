#include "tessline/platform/macos/MacPermissions.h"

#include <cstdint>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>
#include <standin/accessibility.h>
#include <standin/corebluetooth.h>
#include <standin/objc.h>
#include <standin/permissions.h>

namespace tessline::test {
namespace {

using platform::Permission;
using platform::PermissionState;
using Calls = std::vector<std::string>;
using States = std::vector<PermissionState>;
using enum PermissionState;

// The numbers are the system's; one that it does not have yet allows nothing.
class PermissionsTest : public testing::Test {
 protected:
  PermissionsTest() {
    standin::accessibility::reset();
    standin::bluetooth::reset();
    standin::permissions::setListenAccess(0);
    standin::permissions::clearCalls();
  }

  const std::shared_ptr<platform::Permissions> permissions = platform::makeMacPermissions();
};

TEST_F(PermissionsTest, InputMonitoringIsTheRightToListen) {
  States states;
  for (const std::uint32_t access : {0U, 1U, 2U, 3U}) {
    standin::permissions::setListenAccess(access);
    states.push_back(permissions->state(Permission::inputMonitoring));
  }
  EXPECT_EQ(states, (States{granted, denied, undetermined, denied}));
  EXPECT_EQ(standin::permissions::calls(), Calls(4, "IOHIDCheckAccess 1"));
}

TEST_F(PermissionsTest, AccessibilityIsTrust) {
  EXPECT_EQ(permissions->state(Permission::accessibility), granted);
  standin::accessibility::setTrusted(false);
  EXPECT_EQ(permissions->state(Permission::accessibility), denied);
  EXPECT_EQ(standin::accessibility::calls(), Calls(2, "AXIsProcessTrusted"));
}

TEST_F(PermissionsTest, BluetoothIsWhatManagersAreAuthorisedTo) {
  States states;
  for (const long authorization : {0, 1, 2, 3, 4}) {
    standin::bluetooth::setAuthorization(authorization);
    states.push_back(permissions->state(Permission::bluetooth));
  }
  EXPECT_EQ(states, (States{undetermined, denied, denied, granted, denied}));
}

TEST_F(PermissionsTest, EachIsAskedForAloneOnAnyThread) {
  standin::bluetooth::setAuthorization(0);
  PermissionState state = granted;
  std::thread([&] { state = permissions->state(Permission::bluetooth); }).join();
  EXPECT_EQ(state, undetermined);
  EXPECT_EQ(standin::permissions::calls(), Calls());
  EXPECT_EQ(standin::accessibility::calls(), Calls());
}

// A manager would ask the user.
TEST_F(PermissionsTest, NobodyIsAsked) {
  const long objectsBefore = standin::objc::liveObjects();
  standin::bluetooth::setAuthorization(0);
  for (const auto permission :
       {Permission::inputMonitoring, Permission::accessibility, Permission::bluetooth}) {
    permissions->state(permission);
  }
  EXPECT_EQ(standin::bluetooth::calls(), Calls());
  EXPECT_EQ(standin::objc::liveObjects(), objectsBefore);
}

}  // namespace
}  // namespace tessline::test
