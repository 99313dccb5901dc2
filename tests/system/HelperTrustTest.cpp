#include "tests/system/HelperMachine.h"

#include <csignal>
#include <cstdint>
#include <cstdlib>

#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <sys/xattr.h>
#include <unistd.h>

namespace tessline::test {
namespace {

void expectUntrusted(const std::string& tool, std::string_view word) {
  expectRefusal(runHelper(tool), HelperExit::untrusted, word);
}

/// Puts a symbolic link where another one is, in one step.
bool replaceLink(const std::string& target, const std::string& path) {
  const std::string next = path + ".next";
  return symlink(target.c_str(), next.c_str()) == 0 && rename(next.c_str(), path.c_str()) == 0;
}

/// A symbolic link that a process of `user` points now here, now there, while the object lives.
class SwappedLink {
 public:
  SwappedLink(uid_t user, const std::string& path, const std::string& here,
              const std::string& there) {
    EXPECT_EQ(callAs(user, [&] { return replaceLink(here, path) ? 0 : 1; }), 0);
    swapper_ = fork();
    if (swapper_ != 0) return;
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (setresuid(user, user, user) != 0) _exit(EXIT_FAILURE);
    while (replaceLink(there, path) && replaceLink(here, path)) {
    }
    _exit(EXIT_FAILURE);
  }
  SwappedLink(const SwappedLink&) = delete;
  SwappedLink& operator=(const SwappedLink&) = delete;
  ~SwappedLink() {
    kill(swapper_, SIGKILL);
    int status = 0;
    waitpid(swapper_, &status, 0);
    EXPECT_TRUE(WIFSIGNALED(status)) << "The link could not be swapped.";
  }

 private:
  pid_t swapper_ = -1;
};

/// How often the tool ran and how often it was refused, over at least this many runs and until both
/// have been seen if both are to be seen.
struct Tally {
  int runs = 0;
  int refusals = 0;
};

Tally runWhileSwapped(const std::string& tool, bool untilBoth) {
  constexpr int atLeast = 300;
  Tally tally;
  while (tally.runs + tally.refusals < atLeast ||
         (untilBoth && (tally.runs == 0 || tally.refusals == 0))) {
    const Outcome outcome = runHelper(tool);
    if (outcome.exitCode == 0) {
      expectRun(outcome);
      ++tally.runs;
    } else {
      expectRefusal(outcome, HelperExit::untrusted, "does not belong to root");
      ++tally.refusals;
    }
    if (::testing::Test::HasFailure()) break;
  }
  return tally;
}

/// Lets nobody write the directory by its access control list.
void grantNobody(const char* directory) {
  struct [[gnu::packed]] Entry {
    std::uint16_t tag, permissions;
    std::uint32_t user;
  };
  constexpr std::uint32_t undefined = 0xFFFFFFFF;
  const struct [[gnu::packed]] {
    std::uint32_t version = 2;
    Entry entries[5] = {{0x01, 7, undefined},
                        {0x02, 7, nobody},
                        {0x04, 5, undefined},
                        {0x10, 7, undefined},
                        {0x20, 5, undefined}};
  } list;
  ASSERT_EQ(setxattr(directory, "system.posix_acl_access", &list, sizeof list, 0), 0);
}

TEST(HelperTrust, RunsAToolThatRootAloneCanChange) {
  HelperMachine::run([](HelperMachine&) {
    const Outcome outcome = runHelper();
    expectRun(outcome);
    EXPECT_EQ(outcome.errors, "said on standard error\n");
  });
}

TEST(HelperTrust, PassesExactlyTheFourArguments) {
  HelperMachine::run([](HelperMachine&) {
    EXPECT_TRUE(runHelper().output.starts_with(
        "argument 0: /opt/tool/packetlogger\nargument 1: convert\nargument 2: -s\n"
        "argument 3: -f\nargument 4: nhdr\nvariable: "));
  });
}

TEST(HelperTrust, RefusesAToolInAUsersFolder) {
  HelperMachine::run([](HelperMachine& machine) {
    machine.installTool("/home/someone/packetlogger");
    expectUntrusted("/home/someone/packetlogger", "/home/someone does not belong to root");
  });
}

TEST(HelperTrust, RefusesAToolInRootsFolderBelowAUsersFolder) {
  HelperMachine::run([](HelperMachine& machine) {
    machine.installTool("/home/someone/Library/packetlogger");
    expectUntrusted("/home/someone/Library/packetlogger", "/home/someone does not belong to root");
  });
}

TEST(HelperTrust, RefusesAToolOfTheUser) {
  HelperMachine::run([](HelperMachine& machine) {
    machine.installTool(goodTool, nobody);
    expectUntrusted(goodTool, "/opt/tool/packetlogger does not belong to root");
  });
}

TEST(HelperTrust, RefusesAToolThatAGroupCanWrite) {
  HelperMachine::run([](HelperMachine& machine) {
    machine.installTool(goodTool, 0, 0775);
    expectUntrusted(goodTool, "can be changed by a group");
  });
}

TEST(HelperTrust, RefusesAToolThatEveryoneCanWrite) {
  HelperMachine::run([](HelperMachine& machine) {
    machine.installTool(goodTool, 0, 0757);
    expectUntrusted(goodTool, "can be changed by everyone");
  });
}

TEST(HelperTrust, RefusesAFolderThatAGroupCanWrite) {
  HelperMachine::run([](HelperMachine& machine) {
    machine.directory("/opt", 0, 0775);
    expectUntrusted(goodTool, "/opt can be changed by a group");
  });
}

TEST(HelperTrust, RefusesAFolderWhereEveryoneMayPutFiles) {
  HelperMachine::run([](HelperMachine& machine) {
    machine.directory("/opt/tool", 0, 01777);
    expectUntrusted(goodTool, "/opt/tool can be changed by everyone");
  });
}

TEST(HelperTrust, RefusesAFolderThatAUserMayWriteByItsAccessControlList) {
  HelperMachine::run([](HelperMachine&) {
    grantNobody("/opt/tool");
    ASSERT_EQ(callAs(nobody, [] { return access("/opt/tool", W_OK); }), 0);
    expectUntrusted(goodTool, "/opt/tool can be changed by a group");
  });
}

TEST(HelperTrust, RefusesAFileSystemWhoseMakerIsNotTrusted) {
  HelperMachine::run([](HelperMachine& machine) {
    machine.mountMemory("/media/stick", MS_NOSUID);
    machine.installTool("/media/stick/packetlogger");
    expectUntrusted("/media/stick/packetlogger", "/media/stick is on a file system");
  });
}

TEST(HelperTrust, RunsAToolOnAFileSystemOfItsOwn) {
  HelperMachine::run([](HelperMachine& machine) {
    machine.mountMemory("/media/disk", 0);
    machine.installTool("/media/disk/packetlogger");
    expectRun(runHelper("/media/disk/packetlogger"));
  });
}

TEST(HelperTrust, FollowsRootsLinks) {
  HelperMachine::run([](HelperMachine& machine) {
    machine.installTool("/opt/versions/1.2/tool-1.2");
    machine.link("tool-1.2", "/opt/versions/1.2/current");
    machine.link("versions/./1.2", "/opt/latest");
    machine.link("/opt/latest", "/opt/folder/latest");
    machine.link("..//folder/latest/current", "/opt/links/packetlogger");
    const Outcome outcome = runHelper("/opt/links/packetlogger");
    expectRun(outcome);
    EXPECT_TRUE(hasLine(outcome.output, "argument 0: /opt/links/packetlogger"));
  });
}

TEST(HelperTrust, RefusesALinkInAUsersFolderToAGoodTool) {
  HelperMachine::run([](HelperMachine& machine) {
    machine.link(goodTool, "/home/someone/packetlogger", nobody);
    expectUntrusted("/home/someone/packetlogger", "/home/someone does not belong to root");
  });
}

TEST(HelperTrust, RefusesAUsersLinkInRootsFolder) {
  HelperMachine::run([](HelperMachine& machine) {
    machine.link(goodTool, "/opt/links/packetlogger", nobody);
    expectUntrusted("/opt/links/packetlogger", "/opt/links/packetlogger does not belong to root");
  });
}

TEST(HelperTrust, RefusesRootsLinkThroughAUsersFolder) {
  HelperMachine::run([](HelperMachine& machine) {
    machine.link("/opt", "/home/someone/there", nobody);
    machine.link("/home/someone/there/tool/packetlogger", "/opt/links/packetlogger");
    expectUntrusted("/opt/links/packetlogger", "/home/someone does not belong to root");
  });
}

TEST(HelperTrust, RefusesRootsLinkThatPassesAUsersFolderAndGoesBack) {
  HelperMachine::run([](HelperMachine& machine) {
    machine.link("/home/someone/../../opt/tool/packetlogger", "/opt/links/packetlogger");
    expectUntrusted("/opt/links/packetlogger", "/home/someone does not belong to root");
  });
}

TEST(HelperTrust, FollowsFortyLinksAndNoMore) {
  HelperMachine::run([](HelperMachine& machine) {
    machine.link(goodTool, "/opt/links/1");
    for (int number = 2; number <= 39; ++number) {
      machine.link(std::to_string(number - 1), "/opt/links/" + std::to_string(number));
    }
    machine.link("39", "/opt/links/packetlogger");
    machine.link("../links/packetlogger", "/opt/more/packetlogger");
    machine.link("packetlogger", "/opt/circle/packetlogger");
    expectRun(runHelper("/opt/links/packetlogger"));
    for (const char* tool : {"/opt/more/packetlogger", "/opt/circle/packetlogger"}) {
      expectRefusal(runHelper(tool), HelperExit::notFound, "one symbolic link too many");
    }
  });
}

TEST(HelperTrust, RefusesWhateverTheUserSwapsOnTheWay) {
  HelperMachine::run([](HelperMachine& machine) {
    machine.install("/usr/bin/id", "/home/someone/bad/packetlogger", nobody);
    const SwappedLink link(nobody, "/home/someone/tools", "/opt/tool", "/home/someone/bad");
    const Tally tally = runWhileSwapped("/home/someone/tools/packetlogger", false);
    EXPECT_EQ(tally.runs, 0);
  });
}

TEST(HelperTrust, ExecutesWhatItHasCheckedAlthoughALinkIsSwapped) {
  HelperMachine::run([](HelperMachine& machine) {
    machine.install("/usr/bin/id", "/home/someone/bad/packetlogger", nobody);
    const SwappedLink link(0, "/opt/current", "/opt/tool", "/home/someone/bad");
    const Tally tally = runWhileSwapped("/opt/current/packetlogger", true);
    EXPECT_GT(tally.runs, 0);
    EXPECT_GT(tally.refusals, 0);
  });
}

TEST(HelperTrust, SaysNothingOfFoldersThatTheCallerCannotEnter) {
  HelperMachine::run([](HelperMachine& machine) {
    machine.directory("/opt/closed", 0, 0700);
    machine.installTool("/opt/closed/packetlogger");
    machine.directory("/opt/closed/folder");
    for (const char* tool : {"/opt/closed/packetlogger", "/opt/closed/folder/packetlogger",
                             "/opt/closed/missing/packetlogger"}) {
      expectRefusal(runHelper(tool), HelperExit::notFound, "cannot be reached: Permission denied");
    }
  });
}

}  // namespace
}  // namespace tessline::test
