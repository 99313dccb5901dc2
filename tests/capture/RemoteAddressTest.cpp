#include "tessline/capture/RemoteAddress.h"
#include "tessline/platform/Platform.h"
#include "tests/capture/FakeChildProcesses.h"

#include <array>
#include <cstddef>
#include <initializer_list>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

namespace tessline::test {
namespace {

using Found = std::optional<std::string>;

// All of it, one after the other.
std::string together(std::initializer_list<std::string_view> parts) {
  std::string whole;
  for (const std::string_view part : parts) whole += part;
  return whole;
}

Found addressIn(std::string_view text) {
  return detectConnectedSiriRemoteAddress(text);
}

constexpr std::string_view profilerReport = R"(Bluetooth:

      Bluetooth Controller:
          Address: 10:20:30:40:50:60
          State: On
          Chipset: BCM_4387
          Discoverable: Off
          Firmware Version: 22.1.33.7
          Product ID: 0x4A21
          Vendor ID: 0x004C (Apple)
      Connected:
          Desk Keyboard:
              Address: 0A:1B:2C:3D:4E:5F
              Vendor ID: 0x004C
              Product ID: 0x029C
              Minor Type: Keyboard
              RSSI: -48
          Living room remote:
              Address: C0:FF:EE:00:00:01
              Vendor ID: 0x004C
              Product ID: 0x0315
              Firmware Version: 0x0083
              Minor Type: AppleTVRemote
              RSSI: -61
      Not Connected:
          Bedroom remote:
              Address: C0:FF:EE:00:00:02
              Vendor ID: 0x004C
              Product ID: 0x0315
          Headphones:
              Address: 99:88:77:66:55:44
              Product ID: 0x200F
)";

TEST(RemoteAddress, IsFoundInAReport) {
  EXPECT_EQ(addressIn(profilerReport), "C0:FF:EE:00:00:01");
}

TEST(RemoteAddress, IsFoundAmongTheDevicesThatAreNotConnected) {
  std::string text(profilerReport);
  text.replace(text.find("0x0315"), 6, "0x0266");
  EXPECT_EQ(addressIn(text), "C0:FF:EE:00:00:02");
}

TEST(RemoteAddress, IsNotFoundInAReportWithoutARemote) {
  EXPECT_EQ(addressIn(profilerReport.substr(0, profilerReport.find("Living room"))), std::nullopt);
  EXPECT_EQ(addressIn(""), std::nullopt);
  EXPECT_EQ(addressIn("\n\n\n"), std::nullopt);
  EXPECT_EQ(addressIn("Bluetooth:\n"), std::nullopt);
}

TEST(RemoteAddress, OfTheFirstDeviceWinsAtTheNextHeading) {
  EXPECT_EQ(addressIn("One:\nAddress: AA:BB:CC:DD:EE:FF\nProduct ID: 0x0315\n"
                      "Two:\nAddress: 11:22:33:44:55:66\nProduct ID: 0x0315\n"),
            "AA:BB:CC:DD:EE:FF");
}

TEST(RemoteAddress, OfTheLastDeviceIsFoundAtTheEnd) {
  EXPECT_EQ(addressIn("One:\nAddress: AA:BB:CC:DD:EE:FF\nProduct ID: 0x0315\n"),
            "AA:BB:CC:DD:EE:FF");
  EXPECT_EQ(addressIn("One:\nAddress: AA:BB:CC:DD:EE:FF\nProduct ID: 0x0315"), "AA:BB:CC:DD:EE:FF");
}

TEST(RemoteAddress, MayFollowTheProduct) {
  EXPECT_EQ(addressIn("One:\nProduct ID: 0x0315\nAddress: AA\nTwo:\n"), "AA");
}

TEST(RemoteAddress, NeedsNoHeading) {
  EXPECT_EQ(addressIn("Address: AA\nProduct ID: 0x0315"), "AA");
}

TEST(RemoteAddress, DeviceWithoutOneIsPassedOver) {
  EXPECT_EQ(addressIn("One:\nProduct ID: 0x0315\nTwo:\nAddress: BB\nProduct ID: 0x0315"), "BB");
  EXPECT_EQ(addressIn("One:\nProduct ID: 0x0315\nTwo:\nAddress: BB\n"), std::nullopt);
  EXPECT_EQ(addressIn("One:\nProduct ID: 0x0315\n"), std::nullopt);
}

TEST(RemoteAddress, DeviceOfAnotherProductIsPassedOverWhateverItsName) {
  EXPECT_EQ(addressIn("Siri Remote:\nAddress: AA\nProduct ID: 0x0314\n"
                      "Toaster:\nAddress: BB\nProduct ID: 0x0315\n"),
            "BB");
  EXPECT_EQ(addressIn("Siri Remote 0x0315:\nAddress: AA\nVendor ID: 0x0315\n"), std::nullopt);
  EXPECT_EQ(addressIn("Siri Remote:\nAddress: AA\nProduct ID: 0x315\n"), std::nullopt);
}

TEST(RemoteAddress, OfAnEarlierDeviceIsForgotten) {
  EXPECT_EQ(addressIn("One:\nAddress: AA\nTwo:\nProduct ID: 0x0315\n"), std::nullopt);
  EXPECT_EQ(addressIn("One:\nProduct ID: 0x0315\nTwo:\nAddress: AA\n"), std::nullopt);
}

TEST(RemoteAddress, ProductIsToldByContainmentInAnyCase) {
  for (const std::string product : {"0x0315", "0X0315", "0X0315 (Siri Remote)", "0x03150",
                                    "ID 0x0315", "0x0266, 0x0315", "0x0315:"}) {
    EXPECT_EQ(addressIn("One:\nAddress: AA\nProduct ID: " + product + "\n"), "AA") << product;
  }
}

TEST(RemoteAddress, GroupHeadingsChangeNothing) {
  for (const std::string heading :
       {"Bluetooth:", "Connected:", "Not Connected:", "Bluetooth Controller:"}) {
    EXPECT_EQ(addressIn("Address: AA\n" + heading + "\nProduct ID: 0x0315\n"), "AA") << heading;
    EXPECT_EQ(addressIn("Product ID: 0x0315\n  " + heading + " \nAddress: AA\n"), "AA") << heading;
  }
}

TEST(RemoteAddress, OtherSpellingsOfGroupHeadingsAreDevices) {
  for (const std::string heading : {"bluetooth:", "CONNECTED:", "Not connected:", "Not  Connected:",
                                    "Bluetooth controller:", "Connected::", "Connected :", ":"}) {
    EXPECT_EQ(addressIn("Address: AA\n" + heading + "\nProduct ID: 0x0315\n"), std::nullopt)
        << heading;
  }
}

TEST(RemoteAddress, GroupHeadingDoesNotEndASearch) {
  EXPECT_EQ(addressIn("One:\nAddress: AA\nProduct ID: 0x0315\nNot Connected:\nAddress: BB\nTwo:\n"),
            "BB");
}

TEST(RemoteAddress, LinesWithAValueAreNoHeadings) {
  EXPECT_EQ(addressIn("One:\nAddress: AA\nServices: HID < ACL >\nProduct ID: 0x0315"), "AA");
  EXPECT_EQ(addressIn("Address: AA\nwords\n\n   \nProduct ID: 0x0315"), "AA");
}

TEST(RemoteAddress, LabelledLinesAreNoHeadingsEvenIfTheyEndLikeOne) {
  EXPECT_EQ(addressIn("Address: AA:\nProduct ID: 0x0315:\n"), "AA:");
  EXPECT_EQ(addressIn("Address: AA\nProduct ID: 0x0315\nAddress:\n"), "");
  EXPECT_EQ(addressIn("Address: AA\nProduct ID: 0x0315\nProduct ID:\n"), std::nullopt);
}

TEST(RemoteAddress, LaterLinesOfADeviceReplaceEarlierOnes) {
  EXPECT_EQ(addressIn("One:\nAddress: AA\nProduct ID: 0x0315\nAddress: BB\n"), "BB");
  EXPECT_EQ(addressIn("One:\nAddress: AA\nProduct ID: 0x0315\nProduct ID: 0x0001\n"), std::nullopt);
  EXPECT_EQ(addressIn("One:\nAddress: AA\nProduct ID: 0x0001\nProduct ID: 0x0315\n"), "AA");
}

TEST(RemoteAddress, LabelsAreExact) {
  for (const std::string line :
       {"address: AA", "Address : AA", "ADDRESS: AA", "MAC Address: AA", "Address AA"}) {
    EXPECT_EQ(addressIn(line + "\nProduct ID: 0x0315\n"), std::nullopt) << line;
  }
  for (const std::string line :
       {"product id: 0x0315", "ProductID: 0x0315", "Product ID 0x0315", "My Product ID: 0x0315"}) {
    EXPECT_EQ(addressIn("Address: AA\n" + line + "\n"), std::nullopt) << line;
  }
}

TEST(RemoteAddress, IsGivenAsItIsPrinted) {
  for (const std::string address :
       {"aa-bb-cc", "AA:bb", "not an address", "\xC3\xA9", "AA:BB  CC"}) {
    EXPECT_EQ(addressIn("Address:" + address + "\nProduct ID:0x0315"), address);
  }
}

TEST(RemoteAddress, BlanksAroundLinesAndValuesAreTrimmed) {
  constexpr std::array<std::string_view, 7> blanks = {" ",
                                                      "\t",
                                                      " \t  ",
                                                      "\xC2\xA0" /* U+00A0 */,
                                                      "\xE2\x80\x8B" /* U+200B */,
                                                      "\xE3\x80\x80" /* U+3000 */,
                                                      ""};
  for (const std::string_view each : blanks) {
    const std::string blank(each);
    const auto padded = [&](const std::string& line) {
      return together({blank, line, blank, "\n"});
    };
    const std::string device = padded("One:") + padded("Address:" + blank + "AA BB") +
                               padded("Product ID:" + blank + "0x0315");
    EXPECT_EQ(addressIn(device), "AA BB");
    EXPECT_EQ(addressIn(device + padded("Two:") + padded("Address: CC")), "AA BB");
    EXPECT_EQ(addressIn(padded("Address: AA") + padded("Connected:") + "Product ID: 0x0315"), "AA");
  }
}

TEST(RemoteAddress, EveryKindOfNewlineEndsALine) {
  for (const std::string newline :
       {"\n", "\r", "\r\n", "\v", "\f", "\xC2\x85", "\xE2\x80\xA8", "\xE2\x80\xA9", "\n\n"}) {
    const std::string first =
        together({"One:", newline, "Address: AA", newline, "Product ID: 0x0315"});
    EXPECT_EQ(addressIn(first), "AA");
    EXPECT_EQ(addressIn(together({first, newline, "Two:", newline, "Address: BB"})), "AA");
  }
}

TEST(RemoteAddress, OtherControlCharactersEndNoLine) {
  for (const std::string other : {"\x1C", "\x1E", "\x08"}) {
    EXPECT_EQ(addressIn("Address: AA" + other + "Product ID: 0x0315"), std::nullopt);
  }
}

TEST(RemoteAddress, LabelIsReadAsWholeCharacters) {
  // The colon carries an accent and is another character.
  EXPECT_EQ(addressIn("Address:\xCC\x81 AA\nProduct ID: 0x0315"), std::nullopt);
}

TEST(RemoteAddress, HeadingEndsInAColonThatIsAWholeCharacter) {
  // The sign of a number takes the character behind it along.
  EXPECT_EQ(addressIn("Address: AA\nTwo\xD8\x80:\nProduct ID: 0x0315"), "AA");
  EXPECT_EQ(addressIn("Address: AA\nTwo\xD8\x80::\nProduct ID: 0x0315"), std::nullopt);
  EXPECT_EQ(addressIn("Address: AA\nTw\xC3\xB6:\nProduct ID: 0x0315"), std::nullopt);
}

class RemoteAddressDetection : public testing::Test {
 protected:
  Found detected() { return detectConnectedSiriRemoteAddress(processes); }
  FakeChildProcesses processes;
};

TEST_F(RemoteAddressDetection, SearchesTheReportOfTheSystem) {
  processes.output = profilerReport;
  EXPECT_EQ(detected(), "C0:FF:EE:00:00:01");
  ASSERT_EQ(processes.launched.size(), 1U);
  EXPECT_EQ(processes.launched[0].executable, "/usr/sbin/system_profiler");
  EXPECT_EQ(processes.launched[0].arguments, std::vector<std::string>{"SPBluetoothDataType"});
}

TEST_F(RemoteAddressDetection, ReadsTheOutputItselfAndDrainsTheErrors) {
  detected();
  ASSERT_EQ(processes.launched.size(), 1U);
  EXPECT_NE(processes.launched[0].standardOutput, processes.launched[0].standardError);
  EXPECT_TRUE(processes.areErrorsDrained());
  EXPECT_FALSE(processes.isOutputHandled());
}

TEST_F(RemoteAddressDetection, DoesNotLookAtTheStatus) {
  processes.output = profilerReport;
  processes.status = 1;
  EXPECT_EQ(detected(), "C0:FF:EE:00:00:01");
}

TEST_F(RemoteAddressDetection, IsNothingWithoutTheTool) {
  processes.output = profilerReport;
  processes.launchFailure = TesslineError("POSIX", 2, "no such tool");
  EXPECT_EQ(detected(), std::nullopt);
}

TEST_F(RemoteAddressDetection, IsNothingWithoutAPipe) {
  processes.output = profilerReport;
  processes.pipeFailure = TesslineError("POSIX", 24, "too many open files");
  EXPECT_EQ(detected(), std::nullopt);
  EXPECT_TRUE(processes.launched.empty());
}

TEST_F(RemoteAddressDetection, IsNothingInAReportThatIsNotUtf8) {
  processes.output = std::string(profilerReport) + "\xFF";
  EXPECT_EQ(detected(), std::nullopt);
  processes.output = std::string(profilerReport) + "\xC3\xA9";
  EXPECT_EQ(detected(), "C0:FF:EE:00:00:01");
}

TEST_F(RemoteAddressDetection, IsNothingInAnEmptyReport) {
  EXPECT_EQ(detected(), std::nullopt);
}

class RealRemoteAddressDetection : public testing::Test {
 protected:
  Found detectedWhileTheToolRuns(const std::string& command) {
    RedirectedChildProcesses processes(platform::hostPlatform()->childProcesses());
    processes.redirect("/usr/sbin/system_profiler", command);
    return detectConnectedSiriRemoteAddress(processes);
  }
};

// Far more than a pipe holds, on both streams.
TEST_F(RealRemoteAddressDetection, OutlivesAToolThatFloodsBothStreams) {
  EXPECT_EQ(detectedWhileTheToolRuns("yes complaint | head -c 1000000 >&2;"
                                     "yes words | head -c 1000000;"
                                     "printf 'One:\\nAddress: AA:BB\\nProduct ID: 0x0315\\n';"
                                     "yes trouble | head -c 1000000 >&2"),
            "AA:BB");
}

TEST_F(RealRemoteAddressDetection, PassesTheReportTypeOn) {
  EXPECT_EQ(detectedWhileTheToolRuns("printf 'Address: %s %s\\nProduct ID: 0x0315\\n' $# \"$1\""),
            "1 SPBluetoothDataType");
}

TEST_F(RealRemoteAddressDetection, TakesTheReportOfAToolThatFails) {
  EXPECT_EQ(detectedWhileTheToolRuns("printf 'Address: AA\\nProduct ID: 0x0315\\n'; exit 3"), "AA");
  EXPECT_EQ(detectedWhileTheToolRuns("printf 'Address: AA\\nProduct ID: 0x0315\\n'; kill -9 $$"),
            "AA");
}

TEST_F(RealRemoteAddressDetection, IsNothingWhereThereIsNoSuchTool) {
  class Missing : public RedirectedChildProcesses {
   public:
    using RedirectedChildProcesses::RedirectedChildProcesses;
    std::shared_ptr<platform::ChildProcess> makeProcess(
        platform::ProcessDescription description) override {
      description.executable = "/nowhere" + description.executable;
      return RedirectedChildProcesses::makeProcess(std::move(description));
    }
  };
  Missing processes(platform::hostPlatform()->childProcesses());
  EXPECT_EQ(detectConnectedSiriRemoteAddress(processes), std::nullopt);
}

}  // namespace
}  // namespace tessline::test
