#include "tests/system/HelperMachine.h"

#include <climits>
#include <csignal>

namespace tessline::test {
namespace {

using Arguments = std::vector<std::string>;

Outcome runWith(const Arguments& arguments) {
  return test::run({.program = helperPath, .arguments = arguments});
}

void expectWrongPath(const std::string& path, std::string_view word) {
  expectRefusal(runHelper(path), HelperExit::path, word);
}

void expectNoProgram(const std::string& path, std::string_view word) {
  expectRefusal(runHelper(path), HelperExit::notAProgram, word);
}

TEST(HelperUse, HasOneCommandLine) {
  HelperMachine::run([](HelperMachine&) {
    for (const Arguments& arguments : {
             Arguments{},
             {goodTool},
             {goodTool, "convert", "-s", "-f"},
             {goodTool, "convert", "-s", "-f", "nhdr", ""},
             {goodTool, "convert", "-s", "-f", "nhdr", "-o", "/etc/passwd"},
             {goodTool, "convert", "-s", "-f", "raw"},
             {goodTool, "convert", "-f", "-s", "nhdr"},
             {goodTool, "CONVERT", "-s", "-f", "nhdr"},
             {goodTool, "convert", "-s", "-f", "nhdrs"},
             {goodTool, "convert", "-s", "-f", ""},
             {"convert", "-s", "-f", "nhdr", goodTool},
         }) {
      expectRefusal(runWith(arguments), HelperExit::usage, "usage: PATH convert -s -f nhdr");
    }
  });
}

TEST(HelperUse, RefusesACommandLineWithoutAnything) {
  HelperMachine::run([](HelperMachine&) {
    const Command command{.program = helperPath, .hasArgumentZero = false};
    expectRefusal(test::run(command), HelperExit::usage, "usage");
  });
}

TEST(HelperUse, RefusesPathsThatAreNotPlain) {
  HelperMachine::run([](HelperMachine&) {
    for (const char* path : {"", "packetlogger", "opt/tool/packetlogger", "./packetlogger"}) {
      expectWrongPath(path, "is not an absolute path");
    }
    for (const char* path :
         {"/", "//opt/tool/packetlogger", "/opt//tool/packetlogger", "/opt/./tool/packetlogger",
          "/opt/tool/../tool/packetlogger", "/../opt/tool/packetlogger", "/opt/tool/packetlogger/",
          "/opt/tool/packetlogger/.", "/opt/tool/packetlogger/.."}) {
      expectWrongPath(path, "is not a plain path");
    }
  });
}

TEST(HelperUse, RunsNoOtherProgramOfTheSystem) {
  HelperMachine::run([](HelperMachine& machine) {
    machine.installTool("/opt/tool/packetlogger2");
    for (const char* path : {"/bin/sh", "/usr/bin/env", "/opt/tool/packetlogger2", "/opt/tool",
                             "/opt/tool/PacketLogger"}) {
      expectWrongPath(path, "is not named packetlogger");
    }
  });
}

TEST(HelperUse, RefusesPathsThatAreTooLong) {
  HelperMachine::run([](HelperMachine&) {
    const std::string name = "/packetlogger";
    std::string folders;
    while (folders.size() + name.size() + 2 < PATH_MAX) folders += "/a";
    std::string longest = folders + name;
    ASSERT_EQ(longest.size(), PATH_MAX - 1);
    expectRefusal(runHelper(longest), HelperExit::notFound, "/a cannot be reached");
    expectWrongPath(longest.insert(1, "a"), "the tool's path is too long");
    expectWrongPath(std::string(100'000, '/'), "the tool's path is too long");
  });
}

TEST(HelperUse, RefusesInOneLineWhateverThePath) {
  HelperMachine::run([](HelperMachine&) {
    expectRefusal(runHelper("/opt/\n\x1b[31m\x7f\r/packetlogger"), HelperExit::notFound,
                  "/opt/??[31m?? cannot be reached: No such file or directory\n");
  });
}

TEST(HelperUse, RefusesAMissingTool) {
  HelperMachine::run([](HelperMachine& machine) {
    machine.link("/opt/nothing", "/opt/links/packetlogger");
    for (const char* path : {"/opt/packetlogger", "/opt/none/packetlogger",
                             "/opt/tool/packetlogger/packetlogger", "/opt/links/packetlogger"}) {
      expectRefusal(runHelper(path), HelperExit::notFound, "cannot be reached");
    }
  });
}

TEST(HelperUse, RefusesWhatIsNoProgram) {
  HelperMachine::run([](HelperMachine& machine) {
    machine.directory("/opt/a/packetlogger");
    machine.fifo("/opt/b/packetlogger");
    machine.installTool("/opt/c/packetlogger", 0, 0644);
    machine.link("/dev/null", "/opt/d/packetlogger");
    expectNoProgram("/opt/a/packetlogger", "is not a regular file");
    expectNoProgram("/opt/b/packetlogger", "is not a regular file");
    expectNoProgram("/opt/c/packetlogger", "is not executable");
    expectRefusal(runHelper("/opt/d/packetlogger"), HelperExit::untrusted, "/dev/null");
  });
}

TEST(HelperUse, RefusesAToolThatChangesItsUserItself) {
  HelperMachine::run([](HelperMachine& machine) {
    machine.installTool("/opt/a/packetlogger", 0, 04755);
    machine.installTool("/opt/b/packetlogger", 0, 02755);
    expectNoProgram("/opt/a/packetlogger", "changes its user");
    expectNoProgram("/opt/b/packetlogger", "changes its user");
  });
}

TEST(HelperUse, RefusesAScript) {
  HelperMachine::run([](HelperMachine& machine) {
    machine.write("/opt/script/packetlogger", "#!/bin/sh\nid\n", 0, 0755);
    expectRefusal(runHelper("/opt/script/packetlogger"), HelperExit::cannotStart, "it is a script");
  });
}

TEST(HelperUse, RefusesWhatTheSystemDoesNotExecute) {
  HelperMachine::run([](HelperMachine& machine) {
    machine.write("/opt/text/packetlogger", "id\n", 0, 0755);
    expectRefusal(runHelper("/opt/text/packetlogger"), HelperExit::cannotStart,
                  "cannot be started: Exec format error");
  });
}

TEST(HelperUse, RunsAToolThatItsUserCannotRead) {
  HelperMachine::run([](HelperMachine& machine) {
    machine.installTool(goodTool, 0, 0711);
    expectRun(runHelper());
  });
}

TEST(HelperUse, IsRefusedWithoutTheSetUidBit) {
  HelperMachine::run([](HelperMachine& machine) {
    machine.install(TESSLINE_HELPER, helperPath, 0, 0755);
    expectRefusal(runHelper(), HelperExit::notRoot, "it is not set-uid root");
  });
}

TEST(HelperUse, IsRefusedWhenSetUidToSomeoneElse) {
  HelperMachine::run([](HelperMachine& machine) {
    machine.install(TESSLINE_HELPER, helperPath, 1234, 04755);
    expectRefusal(runHelper(), HelperExit::notRoot, "it is not set-uid root");
  });
}

TEST(HelperUse, ServesRootWithoutTheSetUidBit) {
  HelperMachine::run([](HelperMachine& machine) {
    machine.install(TESSLINE_HELPER, helperPath, 0, 0755);
    Command command = helperCommand();
    command.user = 0;
    expectRun(test::run(command));
  });
}

TEST(HelperUse, PassesOnTheToolsExitCode) {
  HelperMachine::run([](HelperMachine& machine) {
    for (const int code : {0, 1, 7, 255}) {
      machine.let("exit " + std::to_string(code));
      EXPECT_EQ(runHelper().exitCode, code);
    }
  });
}

TEST(HelperUse, TurnsTheSignalThatEndedTheToolIntoAnExitCode) {
  HelperMachine::run([](HelperMachine& machine) {
    for (const int signal : {SIGKILL, SIGUSR1, SIGTERM}) {
      machine.let("die " + std::to_string(signal));
      EXPECT_EQ(runHelper().exitCode, 128 + signal);
    }
  });
}

}  // namespace
}  // namespace tessline::test
