#include "cli/replay/Replay.h"

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <fmt/format.h>

namespace tessline::cli {

namespace {

using nlohmann::json;
using platform::simulated::SimulatedFile;
using platform::simulated::SimulatedProgram;

std::optional<std::string> optionalText(const json& members, const char* name) {
  if (!members.contains(name)) return std::nullopt;
  return members[name].get<std::string>();
}

// Text, or bytes where it is no text; nothing if there is neither.
std::vector<std::uint8_t> content(const json& members, const char* textName,
                                  const char* bytesName) {
  if (members.contains(bytesName)) return memberBytes(members[bytesName]);
  const auto text = optionalText(members, textName).value_or("");
  return {text.begin(), text.end()};
}

void createCapture(Replay& replay, const json&) {
  auto& service = replay.capture().service;
  if (service) {
    throw RecordingError("there is a capture service already; expected capture.release before");
  }
  service = PacketLoggerCaptureService::create(replay.host());
  service->onSnapshotChanged = [&replay](const PacketLoggerCaptureSnapshot& snapshot) {
    replay.observe(snapshot);
  };
  service->onRawPayload = [&replay](const std::vector<std::uint8_t>& bytes) {
    replay.observe(CaptureRawPayload{bytes});
  };
  service->onTransportEvents = [&replay](const std::vector<TesslineEvent>& events) {
    replay.observe(CaptureEvents{events});
    passButtons(replay, events);
  };
  replay.observe(CaptureCreated{});
}

void releaseCapture(Replay& replay, const json&) {
  replay.capture().requireService();
  replay.capture().service.reset();
  replay.observe(CaptureReleased{});
}

void startCapture(Replay& replay, const json& members) {
  replay.capture().requireService().startCapture(optionalText(members, "remoteAddress"),
                                                 optionalText(members, "packetLoggerPath"));
}
void stopCapture(Replay& replay, const json&) {
  replay.capture().requireService().stopCapture();
}
void look(Replay& replay, const json&) {
  replay.observe(replay.capture().requireService().snapshot());
}

void configureCaptureHost(Replay& replay, const json& members) {
  auto& surroundings = replay.host()->surroundings();
  if (members.contains("userID")) {
    surroundings.userID = static_cast<std::uint32_t>(memberInt32(members["userID"], "userID"));
  }
  if (members.contains("identifier")) surroundings.identifier = members["identifier"];
  if (members.contains("packetLoggerVariable")) {
    surroundings.environmentVariables["PACKETLOGGER_PATH"] = members["packetLoggerVariable"];
  }
}

void setResource(Replay& replay, const json& members) {
  replay.host()->surroundings().resources[{platform::Bundle::main, members["name"]}] =
      members["path"];
}

void setFile(Replay& replay, const json& members) {
  SimulatedFile file;
  file.contents = content(members, "text", "bytes");
  if (members.contains("owner")) file.ownerAccountID = members["owner"];
  if (members.contains("permissions")) {
    file.permissions =
        static_cast<std::uint32_t>(memberInt32(members["permissions"], "permissions"));
  }
  replay.host()->files().setFile(members["path"], std::move(file));
}

void removeFile(Replay& replay, const json& members) {
  replay.host()->files().removeFile(members["path"]);
}

void setProgram(Replay& replay, const json& members) {
  SimulatedProgram program;
  program.launchError = optionalText(members, "launchError");
  program.standardOutput = content(members, "output", "outputBytes");
  program.standardError = content(members, "errors", "errorBytes");
  if (members.contains("status")) program.status = memberInt32(members["status"], "status");
  program.endsWhenAsked = members.value("endsWhenAsked", true);
  replay.host()->processes().setProgram(members["path"], std::move(program));
}

std::int64_t runningProcess(Replay& replay, const json& members) {
  const auto number = members["process"].get<std::int64_t>();
  if (!replay.host()->processes().isRunning(number)) {
    throw RecordingError(
        fmt::format("the process {} does not run; expected one that was started", number));
  }
  return number;
}

void writeOutput(Replay& replay, const json& members) {
  replay.host()->processes().write(runningProcess(replay, members),
                                   content(members, "text", "bytes"));
}
void writeError(Replay& replay, const json& members) {
  replay.host()->processes().writeError(runningProcess(replay, members),
                                        content(members, "text", "bytes"));
}
void endProcess(Replay& replay, const json& members) {
  replay.host()->processes().exit(runningProcess(replay, members),
                                  memberInt32(members["status"], "status"));
}

const std::vector<RecordType> captureTypes = {
    {"capture.create", {}, createCapture},
    {"capture.release", {}, releaseCapture},
    {"capture.start",
     {{"remoteAddress", MemberKind::text, false}, {"packetLoggerPath", MemberKind::text, false}},
     startCapture},
    {"capture.stop", {}, stopCapture},
    {"capture.look", {}, look},
    {"capture.host",
     {{"userID", MemberKind::integer, false},
      {"identifier", MemberKind::text, false},
      {"packetLoggerVariable", MemberKind::text, false}},
     configureCaptureHost},
    {"capture.resource",
     {{"name", MemberKind::text, true}, {"path", MemberKind::text, true}},
     setResource},
    {"capture.file",
     {{"path", MemberKind::text, true},
      {"text", MemberKind::text, false},
      {"bytes", MemberKind::bytes, false},
      {"owner", MemberKind::integer, false},
      {"permissions", MemberKind::integer, false}},
     setFile},
    {"capture.fileGone", {{"path", MemberKind::text, true}}, removeFile},
    {"capture.program",
     {{"path", MemberKind::text, true},
      {"launchError", MemberKind::text, false},
      {"output", MemberKind::text, false},
      {"outputBytes", MemberKind::bytes, false},
      {"errors", MemberKind::text, false},
      {"errorBytes", MemberKind::bytes, false},
      {"status", MemberKind::integer, false},
      {"endsWhenAsked", MemberKind::truth, false}},
     setProgram},
    {"capture.output",
     {{"process", MemberKind::integer, true},
      {"text", MemberKind::text, false},
      {"bytes", MemberKind::bytes, false}},
     writeOutput},
    {"capture.errorOutput",
     {{"process", MemberKind::integer, true},
      {"text", MemberKind::text, false},
      {"bytes", MemberKind::bytes, false}},
     writeError},
    {"capture.exit",
     {{"process", MemberKind::integer, true}, {"status", MemberKind::integer, true}},
     endProcess},
};

}  // namespace

std::span<const RecordType> captureRecordTypes() {
  return captureTypes;
}

}  // namespace tessline::cli
