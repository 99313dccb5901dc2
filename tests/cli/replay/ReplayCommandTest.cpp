#include "tests/cli/support/Command.h"
#include "tests/support/Files.h"

#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

namespace tessline::test {
namespace {

const std::string recordingHeader = R"({"recording":"tessline","version":1})"
                                    "\n";

CommandResult replay(const std::string& recording) {
  return runCommand({"replay", "-"}, recording);
}

TEST(ReplayCommand, SameRecordingGivesTheSameOutput) {
  const std::string file =
      std::string(TESSLINE_SOURCE_DIR) + "/tests/recordings/hid-voice-session.jsonl";
  const std::string first = runCommand({"replay", file}).output;
  EXPECT_NE(first, "");
  EXPECT_EQ(runCommand({"replay", file}).output, first);
}

TEST(ReplayCommand, TakesBlankLinesAndCarriageReturns) {
  const CommandResult result = replay("\r\n" + recordingHeader +
                                      "\n{\"time\":0,\"type\":\"hid.create\"}\r\n\r\n"
                                      "{\"time\":1.5,\"type\":\"hid.startListening\"}");
  EXPECT_EQ(result.exitCode, 0) << result.errors;
  EXPECT_NE(result.output.find(R"({"time":1.5,"output":"hid.snapshot",)"), std::string::npos);
}

TEST(ReplayCommand, MalformedRecordIsNamedByItsLineWithWhatWasExpected) {
  const std::string create = R"({"time":1,"type":"hid.create"})"
                             "\n";
  const std::vector<std::pair<std::string, std::string>> cases = {
      {"",
       R"(standard input:0: the recording is empty; expected {"recording":"tessline","version":1})"},
      {"{}\n",
       R"(standard input:1: this is no header of a recording; expected {"recording":"tessline","version":1})"},
      {R"({"recording":"tessline","version":2})",
       R"(standard input:1: version 2 is not known; expected {"recording":"tessline","version":1})"},
      {recordingHeader + "nonsense\n",
       "standard input:2: this is no JSON object; expected one a line"},
      {recordingHeader + "\n[1]\n",
       "standard input:3: this is no JSON object; expected one a line"},
      {recordingHeader + R"({"type":"hid.create"})",
       R"(standard input:2: the "time" is missing or no time; expected seconds since the start, 0 to 1000000000)"},
      {recordingHeader + R"({"time":-1,"type":"hid.create"})",
       R"(standard input:2: the "time" is missing or no time; expected seconds since the start, 0 to 1000000000)"},
      {recordingHeader + R"({"time":0})",
       R"(standard input:2: the "type" is missing or no text; expected a type of record)"},
      {recordingHeader + create + R"({"time":0.5,"type":"hid.release"})",
       "standard input:3: the time 0.5 lies before that of the record in front of it; expected 1 "
       "or later"},
      {recordingHeader + R"({"time":0,"type":"hid.deviceGone"})",
       R"(standard input:2: hid.deviceGone lacks "device"; expected text)"},
      {recordingHeader + R"({"time":0,"type":"hid.host","openResult":"x"})",
       R"(standard input:2: "openResult" of hid.host is "x"; expected an integer)"},
      {recordingHeader +
           R"({"time":0,"type":"hid.report","device":"a","reportID":0,"bytes":"abc"})",
       R"(standard input:2: "bytes" of hid.report is "abc"; expected bytes as hex text, two digits each)"},
      {recordingHeader + R"({"time":0,"type":"hid.host","canCopyDevices":1})",
       R"(standard input:2: "canCopyDevices" of hid.host is 1; expected true or false)"},
      {recordingHeader +
           R"({"time":0,"type":"hid.deviceAppeared","device":"a","properties":{"x":[1]}})",
       R"(standard input:2: "properties" of hid.deviceAppeared is {"x":[1]}; expected an object of text, numbers, true, false or {"other":true})"},
      {recordingHeader + R"({"time":0,"type":"hid.startListening","more":1})",
       R"(standard input:2: hid.startListening has no "more"; expected no more members)"},
      {recordingHeader + R"({"time":0,"type":"hid.startListening"})",
       "standard input:2: there is no HID service; expected hid.create before"},
      {recordingHeader + create + create,
       "standard input:3: there is a HID service already; expected hid.release before"},
      {recordingHeader + R"({"time":0,"type":"hid.deviceGone","device":"a"})",
       R"(standard input:2: there is no device "a"; expected one that has appeared)"},
      {recordingHeader + R"({"time":0,"type":"hid.deviceAppeared","device":"a","properties":{}})"
                         "\n"
                         R"({"time":0,"type":"hid.deviceAppeared","device":"a","properties":{}})",
       R"(standard input:3: the device "a" is there already; expected another name)"},
  };
  for (const auto& [recording, message] : cases) {
    const CommandResult result = replay(recording);
    EXPECT_EQ(result.exitCode, 1) << recording;
    EXPECT_EQ(result.errors, "tessline: " + message + "\n");
  }
}

TEST(ReplayCommand, MalformedTouchRecordIsNamedByItsLineWithWhatWasExpected) {
  const std::string create = R"({"time":0,"type":"touch.create"})"
                             "\n";
  const std::string surface = R"({"time":0,"type":"touch.surfaceAppeared","surface":"s"})"
                              "\n";
  const std::vector<std::pair<std::string, std::string>> cases = {
      {create + create, "3: there is a gesture controller already; expected touch.release before"},
      {R"({"time":0,"type":"touch.create","selectDownSafetyTimeout":-1})",
       "2: the selectDownSafetyTimeout of -1 is no duration; expected seconds from 0"},
      {R"({"time":0,"type":"touch.create","selectDownSafetyTimeout":"long"})",
       R"(2: "selectDownSafetyTimeout" of touch.create is "long"; expected a number)"},
      {R"({"time":0,"type":"touch.start"})",
       "2: there is no gesture controller; expected touch.create before"},
      {R"({"time":0,"type":"touch.reset"})",
       "2: there is no gesture controller; expected touch.create before"},
      {R"({"time":0,"type":"touch.release"})",
       "2: there is no gesture controller; expected touch.create before"},
      {R"({"time":0,"type":"touch.button","command":"select","phase":"pressed"})",
       "2: there is no gesture controller; expected touch.create before"},
      {create + R"({"time":0,"type":"touch.button","command":"jump","phase":"pressed"})",
       "3: there is no command \"jump\"; expected one of up down left right select back home "
       "playPause volumeUp volumeDown voice mute power"},
      {create + R"({"time":0,"type":"touch.button","command":"select","phase":"held"})",
       "3: there is no phase \"held\"; expected pressed or released"},
      {surface + surface, "3: the surface \"s\" is there already; expected another name"},
      {R"({"time":0,"type":"touch.surfaceGone","surface":"s"})",
       "2: there is no surface \"s\"; expected one that has appeared"},
      {R"({"time":0,"type":"touch.surfaceAppeared","surface":"s","sensorRows":5000000000})",
       "2: the sensorRows 5000000000 does not fit 32 bits; expected -2147483648 to 2147483647"},
      {surface + R"({"time":0,"type":"touch.frame","surface":"s","contacts":[[1,3,0.5,0.5]]})",
       R"(3: "contacts" of touch.frame is [[1,3,0.5,0.5]]; expected a list of [identifier, state, x, y, velocity x, velocity y])"},
      {surface + R"({"time":0,"type":"touch.frame","surface":"s","contacts":[[1.5,3,0,0,0,0]]})",
       R"(3: "contacts" of touch.frame is [[1.5,3,0,0,0,0]]; expected a list of [identifier, state, x, y, velocity x, velocity y])"},
      {surface + R"({"time":0,"type":"touch.frame","surface":"s","contacts":[[1,3,1e7,0,0,0]]})",
       "3: the contact's 10000000 is far off the surface; expected 0 to 1"},
      {surface +
           R"({"time":0,"type":"touch.frame","surface":"s","contacts":[[3000000000,3,0,0,0,0]]})",
       "3: the identifier 3000000000 does not fit 32 bits; expected -2147483648 to 2147483647"},
      {R"({"time":0,"type":"touch.host","missingFunctions":["MTDeviceStop",1]})",
       R"(2: "missingFunctions" of touch.host is ["MTDeviceStop",1]; expected a list of texts)"},
      {R"({"time":0,"type":"desktop.screens","frames":[[0,0,100]]})",
       R"(2: "frames" of desktop.screens is [[0,0,100]]; expected a list of [x, y, width, height])"},
      {R"({"time":0,"type":"desktop.pointer","location":[1]})",
       R"(2: "location" of desktop.pointer is [1]; expected [x, y])"},
      {R"({"time":0,"type":"desktop.window","window":"w","frame":[1,2,3,"4"]})",
       R"(2: "frame" of desktop.window is [1,2,3,"4"]; expected [x, y, width, height])"},
      {R"({"time":0,"type":"touch.host","missingFunctions":["MTDeviceStrat"]})",
       "2: there is no function \"MTDeviceStrat\"; expected one of MTDeviceCreateList "
       "MTDeviceGetDeviceID MTDeviceStart MTDeviceStop MTDeviceIsBuiltIn "
       "MTDeviceGetSensorSurfaceDimensions MTDeviceGetSensorDimensions "
       "MTRegisterContactFrameCallbackWithRefcon MTUnregisterContactFrameCallback"},
      {R"({"time":0,"type":"desktop.window","window":"w","frame":[1,2,3,4],"failingAttributes":["AXPositon"]})",
       "2: there is no attribute \"AXPositon\"; expected one of AXRole AXParent AXPosition AXSize"},
      {R"({"time":0,"type":"desktop.window","window":"w","frame":[1,2,3,4],"depth":-1})",
       "2: the depth -1 is no depth; expected 0 or more"},
      {R"({"time":0,"type":"desktop.pointer","location":[1e300,0]})",
       "2: the number 1e+300 is out of all range; expected at most 1000000000 either way"},
      {R"({"time":0,"type":"touch.cursorSpeed","speed":1e10})",
       "2: the number 10000000000.0 is out of all range; expected at most 1000000000 either way"},
      {R"({"time":0,"type":"desktop.windowGone","window":"w"})",
       "2: there is no window \"w\"; expected one that has appeared"},
  };
  for (const auto& [records, message] : cases) {
    const CommandResult result = replay(recordingHeader + records);
    EXPECT_EQ(result.exitCode, 1) << records;
    EXPECT_EQ(result.errors, "tessline: standard input:" + message + "\n");
  }
}

TEST(ReplayCommand, UnknownTypeIsAnsweredWithTheKnownOnes) {
  const CommandResult result = replay(recordingHeader + R"({"time":0,"type":"hid.jump"})");
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_TRUE(result.errors.starts_with(
      R"(tessline: standard input:2: there is no type "hid.jump"; expected one of hid.create )"))
      << result.errors;
}

TEST(ReplayCommand, OutputInFrontOfAnErrorStays) {
  const CommandResult result = replay(recordingHeader + R"({"time":0,"type":"hid.create"})"
                                                        "\n"
                                                        R"({"time":0,"type":"hid.startListening"})"
                                                        "\nbroken\n");
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_NE(result.output.find("hid.snapshot"), std::string::npos);
}

TEST(ReplayCommand, MissingFileAndDirectoryAreErrorsWithTheSystemsReason) {
  EXPECT_EQ(runCommand({"replay", "/no/such/file"}).errors,
            "tessline: could not open /no/such/file: No such file or directory\n");
  EXPECT_EQ(runCommand({"replay", "/"}).errors, "tessline: could not read /: Is a directory\n");
  EXPECT_EQ(runCommand({"replay"}).exitCode, 2);
}

}  // namespace
}  // namespace tessline::test
