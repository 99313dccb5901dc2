// Captures of an application that root runs, which starts the tool itself.
#include "tests/system/CaptureMachine.h"

#include <csignal>

namespace tessline::test {
namespace {

constexpr uid_t root = 0;

TEST(CaptureAsRoot, StartsTheToolItself) {
  CaptureMachine::run([](CaptureMachine& machine) {
    std::filesystem::remove(helperPath);
    machine.script("await\nintroduce\npause\n");
    CaptureApplication application(root);
    application.start();
    application.waitForStatus(1);
    machine.goOn();
    application.waitForStatus(2);
    application.stop();
    application.waitForStatus(3);
    application.waitForNoChildren();
    application.expectAll(
        {capturing(runsDirectly),
         capturing("PacketLogger: user 0 /opt/tool/packetlogger convert -s -f nhdr"),
         notCapturing(stopped)});
  });
}

TEST(CaptureAsRoot, TellsTheToolsEnd) {
  CaptureMachine::run([](CaptureMachine& machine) {
    for (const auto& [end, text] : {std::pair{"exit 0", ended},
                                    {"exit 7", exited(7)},
                                    {"die 9", exited(SIGKILL)},
                                    {"die 15", exited(SIGTERM)}}) {
      machine.script("await\n" + std::string(end) + "\n");
      CaptureApplication application(root);
      application.start();
      application.waitForStatus(1);
      machine.goOn();
      application.waitForStatus(2);
      application.expectAll({capturing(runsDirectly), notCapturing(text)});
    }
  });
}

TEST(CaptureAsRoot, TellsWhyAToolCannotBeStarted) {
  CaptureMachine::run([](CaptureMachine& machine) {
    machine.write("/opt/tool/readme", "no program");
    CaptureApplication application(root);
    application.start("/opt/none/packetlogger");
    application.start("/opt/tool/readme");
    application.waitForStatus(2);
    application.waitForNoChildren();
    application.expectAll({notCapturing("Could not start PacketLogger: /opt/none/packetlogger: No "
                                        "such file or directory"),
                           notCapturing("Could not start PacketLogger: /opt/tool/readme: "
                                        "Permission denied")});
  });
}

TEST(CaptureAsRoot, KeepsItsLinesInOrderInAFlood) {
  CaptureMachine::run([](CaptureMachine& machine) {
    machine.script("await\nflood 20000\nexit 0\n");
    CaptureApplication application(root);
    application.start();
    application.waitForStatus(1);
    machine.goOn();
    application.waitForStatus(2);
    application.expectAll({capturing(runsDirectly), notCapturing(ended)});
    EXPECT_TRUE(application.payloads() == floodPayloads(20000));
  });
}

TEST(CaptureAsRoot, LeavesAToolAloneThatIgnoresAStop) {
  CaptureMachine::run([](CaptureMachine& machine) {
    machine.script("ignore\nline " + packet("1B 23 00 03 00") + "\nawait\nexit 0\n");
    CaptureApplication application(root);
    application.start();
    application.waitForPayload(1);
    application.stop();
    application.waitForStatus(2);
    machine.waitUntilAsked();
    // It still runs: somebody has to let it go on.
    machine.goOn();
    application.waitForNoChildren();
    application.expectAll({capturing(runsDirectly), notCapturing(stopped)});
  });
}

TEST(CaptureAsRoot, EndsTheToolWithItsService) {
  CaptureMachine::run([](CaptureMachine&) {
    CaptureApplication application(root);
    application.start();
    application.waitForStatus(1);
    application.release();
    application.waitForNoChildren();
    application.expectAll({capturing(runsDirectly)});
  });
}

}  // namespace
}  // namespace tessline::test
