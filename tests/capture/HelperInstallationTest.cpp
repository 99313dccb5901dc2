#include "tests/capture/InstallationFixture.h"

namespace tessline::test {
namespace {

class HelperInstallation : public PacketLoggerInstallationTest {
 protected:
  HelperInstallation() {
    putInstalledRuntime();
    environment.mainResources["siri-remote-helper"] = "/Applications/A.app/siri-remote-helper";
  }
  // A program that asks the administrator in the place of the system's.
  Thrown installingWhileOsascriptRuns(const std::string& command) {
    host.processes->redirect(osascript, command);
    return installingHelper();
  }
};

TEST_F(HelperInstallation, AsksWithAScript) {
  EXPECT_EQ(installingWhileOsascriptRuns("exit 0"), nothing);
  ASSERT_EQ(host.launched.size(), 1U);
  EXPECT_EQ(host.launched[0].executable, osascript);
  EXPECT_EQ(host.launched[0].arguments,
            (std::vector<std::string>{
                "-e",
                "do shell script \"mkdir -p /Library/PrivilegedHelperTools && cp "
                "'/Applications/A.app/siri-remote-helper' "
                "'/Library/PrivilegedHelperTools/com.morvane.helper' && chown root:wheel "
                "'/Library/PrivilegedHelperTools/com.morvane.helper' && chmod 4755 "
                "'/Library/PrivilegedHelperTools/com.morvane.helper'\" with administrator "
                "privileges"}));
}

TEST_F(HelperInstallation, TakesTheHelperOfTheApplicationBeforeTheLibrarys) {
  environment.libraryResources["siri-remote-helper"] = "/library/helper";
  installingWhileOsascriptRuns("exit 0");
  EXPECT_NE(host.launched.back().arguments[1].find("'/Applications/A.app/siri-remote-helper'"),
            std::string::npos);
  environment.mainResources.clear();
  installingHelper();
  EXPECT_NE(host.launched.back().arguments[1].find("'/library/helper'"), std::string::npos);
}

TEST_F(HelperInstallation, InstallsTheRuntimeFirst) {
  put(marker(), "0");
  bundleGoodRuntime();
  EXPECT_EQ(installingWhileOsascriptRuns("exit 0"), nothing);
  EXPECT_EQ(host.runs(unzip), 1);
  EXPECT_EQ(host.launched.back().executable, osascript);
  EXPECT_TRUE(Install::isRuntimeInstalled(host));
}

TEST_F(HelperInstallation, DoesNotInstallTheRuntimeAgain) {
  bundleGoodRuntime();
  EXPECT_EQ(installingWhileOsascriptRuns("exit 0"), nothing);
  EXPECT_EQ(host.runs(unzip), 0);
  EXPECT_EQ(readText(tool()), "old tool");
}

TEST_F(HelperInstallation, FailsAsTheRuntimesDoes) {
  put(marker(), "0");
  environment.mainResources.clear();
  EXPECT_EQ(
      installingHelper(),
      (Thrown{"Morvane", 404, "PacketLoggerRuntime.payload not found in the application bundle."}));
  EXPECT_EQ(host.runs(osascript), 0);
}

TEST_F(HelperInstallation, NeedsTheHelperButInstallsTheRuntimeWithoutIt) {
  put(marker(), "0");
  environment.mainResources.clear();
  bundleGoodRuntime();
  EXPECT_EQ(installingHelper(),
            (Thrown{"Morvane", 404, "siri-remote-helper binary not found in application bundle."}));
  EXPECT_TRUE(Install::isRuntimeInstalled(host));
  EXPECT_EQ(host.runs(osascript), 0);
}

TEST_F(HelperInstallation, FailsWithWhatTheScriptRunnerSays) {
  EXPECT_EQ(
      installingWhileOsascriptRuns("printf '\\n 0:9: User canceled. (-128) \\n' >&2; exit 1"),
      (Thrown{"Morvane", 1, "Failed to install privileged helper: 0:9: User canceled. (-128)"}));
  EXPECT_EQ(installingWhileOsascriptRuns("exit 77"),
            (Thrown{"Morvane", 77, "Failed to install privileged helper: "}));
}

TEST_F(HelperInstallation, FailsWithAnUnknownErrorIfThatCannotBeRead) {
  EXPECT_EQ(installingWhileOsascriptRuns("printf 'no\\377' >&2; exit 2"),
            (Thrown{"Morvane", 2, "Failed to install privileged helper: Unknown error"}));
}

TEST_F(HelperInstallation, ComplaintsOfAScriptThatSucceedsDoNotMatter) {
  EXPECT_EQ(installingWhileOsascriptRuns("echo warning >&2"), nothing);
}

TEST_F(HelperInstallation, PassesOnThatTheScriptRunnerCannotBeStarted) {
  host.processes->onLaunch = [](const auto& description) {
    throw TesslineError("POSIX", ENOENT, description.executable + ": gone");
  };
  EXPECT_EQ(installingHelper(), (Thrown{"POSIX", ENOENT, "/usr/bin/osascript: gone"}));
}

// The command of the script, run by a real shell that has harmless functions in the place of the
// commands. They write their words, each between brackets.
class HelperInstallationCommand : public testing::Test {
 protected:
  static std::string commandFor(const std::string& source) {
    const std::string script = Install::helperInstallationScript(source);
    const std::string begin = "do shell script \"";
    const std::string end = "\" with administrator privileges";
    EXPECT_TRUE(script.starts_with(begin) && script.ends_with(end)) << script;
    return script.substr(begin.size(), script.size() - begin.size() - end.size());
  }
  // What the command says that it does.
  std::string words(const std::string& source, const std::string& moreFunctions = "") {
    const std::string functions =
        "say() { printf '[%s]' \"$@\"; echo; }\n"
        "mkdir() { say mkdir \"$@\"; }\ncp() { say cp \"$@\"; }\n"
        "chown() { say chown \"$@\"; }\nchmod() { say chmod \"$@\"; }\n";
    const auto processes = platform::hostPlatform()->childProcesses();
    const auto output = processes->makePipe();
    const auto process =
        processes->makeProcess({.executable = "/bin/sh",
                                .arguments = {"-c", functions + moreFunctions + commandFor(source)},
                                .standardOutput = output,
                                .standardError = nullptr});
    process->launch();
    const auto data = output->readDataToEndOfFile();
    status = process->waitUntilExit();
    return {data.begin(), data.end()};
  }
  static std::string expectedWords(const std::string& source) {
    return "[mkdir][-p][/Library/PrivilegedHelperTools]\n[cp][" + source + "][" + helper +
           "]\n[chown][root:wheel][" + helper + "]\n[chmod][4755][" + helper + "]\n";
  }
  std::int32_t status = -1;
};

TEST_F(HelperInstallationCommand, CopiesTheHelperAndGivesItToRoot) {
  EXPECT_EQ(words("/A/helper"), expectedWords("/A/helper"));
  EXPECT_EQ(status, 0);
}

TEST_F(HelperInstallationCommand, QuotesAsAShellWantsIt) {
  EXPECT_NE(commandFor("/It's/'here'").find(R"(cp '/It'\''s/'\''here'\''' ')"), std::string::npos);
}

TEST_F(HelperInstallationCommand, HandsOverTheVeryPath) {
  for (const std::string path :
       {"/Applications/My Remote.app/helper", "/It's mine/helper", "/'", "/''", "/a'b'c/''d''/e'",
        "/two  blanks/ end ", "/$HOME/${PATH}/$(date)/`date`", "/a;b&c|d>e<f", "/*?[a-z]~#!",
        "/back\\slash\\", "/new\nline", "/tab\there", "/caf\xC3\xA9", "/double\"quote"}) {
    EXPECT_EQ(words(path), expectedWords(path)) << path;
    EXPECT_EQ(status, 0) << path;
  }
}

TEST_F(HelperInstallationCommand, EndsAtTheFirstStepThatFails) {
  EXPECT_EQ(words("/A", "mkdir() { return 5; }\n"), "");
  EXPECT_EQ(status, 5);
  EXPECT_EQ(words("/A", "cp() { return 6; }\n"), "[mkdir][-p][/Library/PrivilegedHelperTools]\n");
  EXPECT_EQ(status, 6);
  EXPECT_EQ(words("/A", "chown() { return 7; }\n").find("chmod"), std::string::npos);
  EXPECT_EQ(status, 7);
}

// The script language has rules of its own, which are left alone.
TEST_F(HelperInstallationCommand, IsNotQuotedForTheScriptLanguage) {
  EXPECT_NE(Install::helperInstallationScript("/a\"b\\c").find("cp '/a\"b\\c' "),
            std::string::npos);
}

}  // namespace
}  // namespace tessline::test
