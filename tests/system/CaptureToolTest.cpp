// A user's captures through the helper: what becomes of whatever the tool does.
#include "tests/system/CaptureMachine.h"

#include <csignal>

namespace tessline::test {
namespace {

const std::string first = "00 00 01 1B 23 00 03 00";
const std::string second = "00 00 02 1B 23 00 03 00";

// For a tool that waits first and then does something that changes the status.
void startAndGoOn(CaptureMachine& machine, CaptureApplication& application) {
  application.start();
  application.waitForStatus(1);
  machine.goOn();
  application.waitForStatus(2);
}

TEST(CaptureTool, RunsAsRootWithItsFourArguments) {
  CaptureMachine::run([](CaptureMachine& machine) {
    machine.script("await\nintroduce\npause\n");
    CaptureApplication application;
    startAndGoOn(machine, application);
    application.expectAll(
        {capturing(runs),
         capturing("PacketLogger: user 0 /opt/tool/packetlogger convert -s -f nhdr")});
  });
}

TEST(CaptureTool, IsGoneAfterAStop) {
  CaptureMachine::run([](CaptureMachine&) {
    CaptureApplication application;
    application.start();
    application.stop();
    application.waitForStatus(2);
    application.waitForNoChildren();
    application.expectAll({capturing(runs), notCapturing(stopped)});
  });
}

TEST(CaptureTool, IsGoneAfterItsServiceAndNothingIsPublished) {
  CaptureMachine::run([](CaptureMachine&) {
    CaptureApplication application;
    application.start();
    application.waitForStatus(1);
    application.release();
    application.waitForNoChildren();
    application.expectAll({capturing(runs)});
  });
}

TEST(CaptureTool, IsGoneAfterItsApplicationWasKilled) {
  CaptureMachine::run([](CaptureMachine&) {
    CaptureApplication application;
    application.start();
    application.waitForStatus(1);
    EXPECT_EQ(signalAs(nobody, application.pid(), SIGKILL), 0);
    // The machine waits for all processes.
  });
}

TEST(CaptureTool, RunsOnWhenStartedASecondTime) {
  CaptureMachine::run([](CaptureMachine& machine) {
    machine.script("line " + packet(first) + "\npause\n");
    CaptureApplication application;
    application.start();
    application.waitForPayload(1);
    application.start();
    application.waitForStatus(2);
    EXPECT_EQ(application.counts(),
              "1 parsed, 1 accepted, 0 voice, 1 events; /opt/tool/packetlogger");
    application.expectAll({capturing(runs), capturing("PacketLogger capture is already running")});
  });
}

TEST(CaptureTool, MayEndByItself) {
  CaptureMachine::run([](CaptureMachine& machine) {
    machine.script("await\nline " + packet(first) + "\nexit 0\n");
    CaptureApplication application;
    startAndGoOn(machine, application);
    EXPECT_EQ(application.counts(),
              "1 parsed, 1 accepted, 0 voice, 1 events; /opt/tool/packetlogger");
    application.expectAll({capturing(runs), notCapturing(ended)});
  });
}

TEST(CaptureTool, MayFail) {
  CaptureMachine::run([](CaptureMachine& machine) {
    machine.script("await\nexit 7\n");
    CaptureApplication application;
    startAndGoOn(machine, application);
    application.expectAll({capturing(runs), notCapturing(exited(7))});
  });
}

TEST(CaptureTool, MayDieByASignal) {
  CaptureMachine::run([](CaptureMachine& machine) {
    for (const int signal : {SIGKILL, SIGSEGV, SIGTERM}) {
      machine.script("await\ndie " + std::to_string(signal) + "\n");
      CaptureApplication application;
      startAndGoOn(machine, application);
      application.expectAll({capturing(runs), notCapturing(exited(128 + signal))});
    }
  });
}

TEST(CaptureTool, IsHeardWhenItComplains) {
  CaptureMachine::run([](CaptureMachine& machine) {
    machine.script("await\ncomplain   no radio  \nawait\nline x Error: lost it\nawait\nexit 1\n");
    CaptureApplication application;
    application.start();
    for (int status = 1; status <= 3; ++status) {
      application.waitForStatus(status);
      machine.goOn();
    }
    application.waitForStatus(4);
    application.expectAll({capturing(runs), capturing("PacketLogger: no radio"),
                           capturing("PacketLogger: x Error: lost it"), notCapturing(exited(1))});
  });
}

TEST(CaptureTool, IsHeardBeforeItsEndWhenItFailsAtOnce) {
  CaptureMachine::run([](CaptureMachine& machine) {
    machine.script("complain no radio\nexit 3\n");
    CaptureApplication application;
    application.start();
    application.waitForStatus(3);
    application.expectAllTexts({runs, "PacketLogger: no radio", exited(3)});
  });
}

TEST(CaptureTool, KeepsItsLinesInOrderInAFlood) {
  CaptureMachine::run([](CaptureMachine& machine) {
    machine.script("await\nflood 20000\nexit 0\n");
    CaptureApplication application;
    startAndGoOn(machine, application);
    EXPECT_EQ(application.counts(),
              "20000 parsed, 20000 accepted, 0 voice, 20000 events; /opt/tool/packetlogger");
    application.expectAll({capturing(runs), notCapturing(ended)});
    EXPECT_TRUE(application.payloads() == floodPayloads(20000));
    EXPECT_EQ(application.eventCount(), 20000U);
  });
}

TEST(CaptureTool, IsStoppedInTheMiddleOfAFlood) {
  CaptureMachine::run([](CaptureMachine& machine) {
    machine.script("flood 100000\npause\n");
    CaptureApplication application;
    application.start();
    application.waitForPayload(1);
    application.stop();
    application.waitForStatus(2);
    application.waitForNoChildren();
    application.expectAll({capturing(runs), notCapturing(stopped)});
    // Behind the stop there may be the rest of a line whose beginning it has forgotten.
    const std::vector<std::string> payloads = application.payloadsBeforeStatus(2);
    EXPECT_TRUE(payloads == floodPayloads(static_cast<int>(payloads.size())));
  });
}

TEST(CaptureTool, MayTakeItsTimeInTheMiddleOfALine) {
  CaptureMachine::run([](CaptureMachine& machine) {
    machine.script("line " + packet(first) + "\nprint " + packet("00 00 02 1B 23") +
                   "\nawait\nline  00 03 00\npause\n");
    CaptureApplication application;
    application.start();
    application.waitForPayload(1);
    EXPECT_EQ(application.counts(),
              "1 parsed, 1 accepted, 0 voice, 1 events; /opt/tool/packetlogger");
    machine.goOn();
    application.waitForPayload(2);
    application.expectAll({capturing(runs)});
    EXPECT_EQ(application.payloads(), (std::vector{first, second}));
  });
}

TEST(CaptureTool, MayHangInTheMiddleOfALineAndTheNextOneBeginsAnew) {
  CaptureMachine::run([](CaptureMachine& machine) {
    machine.script("line " + packet(first) + "\nprint " + packet("00 00 02 1B 23 00") +
                   "\npause\n");
    CaptureApplication application;
    application.start();
    application.waitForPayload(1);
    application.stop();
    application.waitForStatus(2);
    EXPECT_EQ(application.counts(),
              "0 parsed, 0 accepted, 0 voice, 0 events; /opt/tool/packetlogger");
    application.waitForNoChildren();
    machine.script("line  03 00\nline " + packet(second) + "\npause\n");
    application.start();
    application.waitForPayload(2);
    application.expectAll({capturing(runs), notCapturing(stopped), capturing(runs)});
    EXPECT_EQ(application.payloads(), (std::vector{first, second}));
  });
}

TEST(CaptureTool, IsKilledByTheHelperWhenItIgnoresAStop) {
  CaptureMachine::run([](CaptureMachine& machine) {
    machine.script("ignore\nline " + packet(first) + "\npause\n");
    CaptureApplication application;
    application.start();
    application.waitForPayload(1);
    application.stop();
    application.waitForStatus(2);
    machine.waitUntilAsked();
    application.waitForNoChildren();
    application.expectAll({capturing(runs), notCapturing(stopped)});
  });
}

TEST(CaptureTool, IsFollowedByTheNextThoughItIgnoresAStop) {
  CaptureMachine::run([](CaptureMachine& machine) {
    machine.script("ignore\nline " + packet(first) + "\npause\n");
    CaptureApplication application;
    application.start();
    application.waitForPayload(1);
    application.stop();
    application.waitForStatus(2);
    machine.script("line " + packet(second) + "\npause\n");
    application.start();
    application.waitForPayload(2);
    application.stop();
    application.waitForStatus(4);
    application.waitForNoChildren();
    application.expectAll(
        {capturing(runs), notCapturing(stopped), capturing(runs), notCapturing(stopped)});
  });
}

}  // namespace
}  // namespace tessline::test
