#include "cli/doctor/ToolTrust.h"
#include "tests/cli/doctor/FakeMachine.h"

#include <array>
#include <optional>
#include <string>

#include <gtest/gtest.h>

namespace tessline::test {
namespace {

using cli::HelperRefusal;
using Code = HelperRefusal::Code;
using Refused = std::optional<HelperRefusal>;

class ToolTrust : public testing::Test {
 protected:
  ToolTrust() { machine.put(tool, {}); }
  Refused refusal() { return refusalOf(tool); }
  Refused refusalOf(const std::string& path) { return cli::helperRefusalOf(path, machine.files()); }

  const std::string tool = "/opt/pl/packetlogger";
  FakeMachine machine;
};

TEST_F(ToolTrust, GoesToAToolThatRootAloneCanChange) {
  EXPECT_EQ(refusal(), std::nullopt);
}

TEST_F(ToolTrust, EndsWithAnyPlaceOfAnotherOwner) {
  for (const std::string& place :
       {std::string("/"), std::string("/opt"), std::string("/opt/pl"), tool}) {
    machine.entry(place).owner = 1000;
    EXPECT_EQ(refusal(),
              (HelperRefusal{Code::untrusted, place + " belongs to account 1000 and not to root"}));
    machine.entry(place).owner = 0;
  }
}

TEST_F(ToolTrust, EndsWithAnyPlaceThatOthersCanWrite) {
  for (const std::string& place :
       {std::string("/"), std::string("/opt"), std::string("/opt/pl"), tool}) {
    machine.entry(place).mode = 0775;
    EXPECT_EQ(refusal(),
              (HelperRefusal{Code::untrusted, place + " can be changed by a group (mode 0775)"}));
    machine.entry(place).mode = 01757;
    EXPECT_EQ(refusal(),
              (HelperRefusal{Code::untrusted, place + " can be changed by everyone (mode 1757)"}));
    machine.entry(place).mode = 0755;
  }
}

TEST_F(ToolTrust, NamesTheFirstSuchPlace) {
  machine.entry("/opt").mode = 0777;
  machine.entry(tool).owner = 1000;
  EXPECT_EQ(refusal()->reason, "/opt can be changed by everyone (mode 0777)");
}

TEST_F(ToolTrust, NeedsAPlainPath) {
  for (const char* path :
       {"", "/", "packetlogger", "./packetlogger", "/opt//packetlogger", "/opt/./packetlogger",
        "/opt/pl/../packetlogger", "/opt/pl/packetlogger/", "/opt/pl/tool"}) {
    ASSERT_TRUE(refusalOf(path)) << path;
    EXPECT_EQ(refusalOf(path)->code, Code::path) << path;
    EXPECT_TRUE(refusalOf(path)->reason.starts_with(path)) << path;
  }
}

TEST_F(ToolTrust, IsUnknownOfWhatCannotBeLookedAt) {
  machine.remove("/opt/pl");
  EXPECT_EQ(refusal(), (HelperRefusal{Code::notFound, "/opt/pl cannot be looked at"}));
}

TEST_F(ToolTrust, DoesNotGoToSetUidAndSetGidTools) {
  for (const std::uint32_t mode : {04755U, 02755U}) {
    machine.entry(tool).mode = mode;
    ASSERT_TRUE(refusal());
    EXPECT_EQ(refusal()->code, Code::notAProgram);
  }
}

TEST_F(ToolTrust, DoesNotGoToScripts) {
  machine.entry(tool).contents = "#!/bin/sh\n";
  EXPECT_EQ(refusal(), (HelperRefusal{Code::script, tool + " is a script"}));
  machine.entry(tool).contents = "#";
  EXPECT_EQ(refusal(), std::nullopt);
}

TEST_F(ToolTrust, GoesToToolsThatCannotBeRead) {
  machine.entry(tool).isReadable = false;
  EXPECT_EQ(refusal(), std::nullopt);
}

}  // namespace
}  // namespace tessline::test
