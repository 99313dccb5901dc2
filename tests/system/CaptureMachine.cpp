#include "tests/system/CaptureMachine.h"

#include <array>
#include <fstream>
#include <iterator>
#include <sstream>
#include <utility>

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace tessline::test {

namespace {

constexpr const char* application = "/opt/Remote Application/bin/remote";
constexpr const char* resources = "/opt/Remote Application/share/remote/";
constexpr const char* gatePath = "/opt/tool/packetlogger.gate";
constexpr const char* askedPath = "/opt/tool/packetlogger.asked";
constexpr int millisecondsToAsk = 20000;

/// With both ends, so that neither this nor the other side waits for anybody to open it.
int openFifo(const char* path) {
  const int descriptor = open(path, O_RDWR | O_CLOEXEC);
  EXPECT_GE(descriptor, 0) << path;
  return descriptor;
}

std::string contentsOf(const char* path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

std::array<int, 2> makeInput() {
  int ends[2] = {-1, -1};
  EXPECT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends), 0);
  return {ends[0], ends[1]};
}

Command applicationCommand(uid_t user, const std::vector<std::string>& environment, int input) {
  Command command{.program = application, .user = user, .environment = environment};
  command.environment.push_back(std::string("HOME=") + usersFolder);
  command.environment.emplace_back("PATH=/usr/bin:/bin");
  command.prepare = [input] { dup2(input, STDIN_FILENO); };
  return command;
}

}  // namespace

CaptureMachine::CaptureMachine(const PrivateMounts& mounts) : HelperMachine(mounts) {
  install(TESSLINE_CAPTURE_DRIVER, application);
  addResource("siri-remote-helper", contentsOf(TESSLINE_HELPER));
  standIn(goodTool, "pause\n");
  fifo(gatePath);
  fifo(askedPath);
  gate_ = openFifo(gatePath);
  asked_ = openFifo(askedPath);
}

CaptureMachine::~CaptureMachine() {
  close(gate_);
  close(asked_);
}

void CaptureMachine::run(const std::function<void(CaptureMachine& machine)>& body) {
  PrivateMounts::run([&body](PrivateMounts& mounts) {
    CaptureMachine machine(mounts);
    body(machine);
  });
}

void CaptureMachine::goOn() {
  EXPECT_EQ(::write(gate_, "", 1), 1);
}

void CaptureMachine::waitUntilAsked() {
  pollfd watched = {asked_, POLLIN, 0};
  ASSERT_EQ(poll(&watched, 1, millisecondsToAsk), 1) << "the tool was never asked to end";
  char byte = 0;
  EXPECT_EQ(read(asked_, &byte, 1), 1);
}

void CaptureMachine::standIn(const std::filesystem::path& path, std::string_view script,
                             mode_t mode) {
  install(TESSLINE_CAPTURE_TOOL, path, 0, mode);
  write(path.native() + ".script", script);
}

void CaptureMachine::installRuntime(std::string_view script) {
  standIn(runtimeTool, script);
  const std::filesystem::path folder = std::filesystem::path(runtimeTool).parent_path();
  write(folder.parent_path() / ".install-version", "1");
}

void CaptureMachine::addResource(const std::string& name, std::string_view content) {
  write(resources + name, content);
}

CaptureApplication::CaptureApplication(uid_t user, const std::vector<std::string>& environment)
    : CaptureApplication(user, environment, makeInput()) {}

CaptureApplication::CaptureApplication(uid_t user, const std::vector<std::string>& environment,
                                       const std::array<int, 2>& ends)
    : input_(ends[0]), running_(applicationCommand(user, environment, ends[1])) {
  close(ends[1]);
  EXPECT_TRUE(running_.readUntil("ready\n")) << running_.wait().errors;
}

CaptureApplication::~CaptureApplication() {
  if (input_ >= 0) close(input_);
}

void CaptureApplication::start(const std::string& tool, const std::string& address) {
  say("start " + address + ' ' + tool);
}

void CaptureApplication::say(const std::string& command) {
  const std::string line = command + '\n';
  EXPECT_EQ(send(input_, line.data(), line.size(), MSG_NOSIGNAL),
            static_cast<ssize_t>(line.size()));
}

void CaptureApplication::waitFor(const std::string& kind, int number) {
  const std::string beginning = '\n' + kind + ' ' + std::to_string(number) + ": ";
  ASSERT_TRUE(running_.readUntil(beginning)) << beginning << " is missing in " << running_.output();
}

void CaptureApplication::waitForNoChildren() {
  say("children");
  waitFor("children", ++childrenAsked_);
}

std::string CaptureApplication::counts() {
  // Where the second answer begins the first one is whole.
  say("counts");
  say("counts");
  countsAsked_ += 2;
  waitFor("counts", countsAsked_);
  return lines("counts")[static_cast<std::size_t>(countsAsked_) - 2];
}

std::vector<std::string> CaptureApplication::payloadsBeforeStatus(int number) const {
  const std::size_t end = output().find("\nstatus " + std::to_string(number) + ": ");
  EXPECT_NE(end, std::string::npos) << output();
  return lines("payload", output().substr(0, end));
}

std::vector<std::string> CaptureApplication::lines(const std::string& kind,
                                                   const std::string& output) {
  std::vector<std::string> result;
  std::istringstream text(output);
  for (std::string line; std::getline(text, line);) {
    if (line.starts_with(kind + ' ')) result.push_back(line.substr(line.find(": ") + 2));
  }
  return result;
}

void CaptureApplication::finish() {
  close(std::exchange(input_, -1));
  const Outcome outcome = running_.wait();
  EXPECT_EQ(outcome.exitCode, 0) << "signal " << outcome.signal;
  EXPECT_EQ(outcome.errors, "");
  output_ = outcome.output;
}

void CaptureApplication::expectAll(const Statuses& statuses) {
  finish();
  EXPECT_EQ(lines("status"), statuses);
}

void CaptureApplication::expectAllTexts(const Statuses& texts) {
  finish();
  Statuses published = lines("status");
  for (std::string& status : published) status.erase(0, status.find(": ") + 2);
  EXPECT_EQ(published, texts);
}

std::string capturing(const std::string& text) {
  return "capturing: " + text;
}

std::string notCapturing(const std::string& text) {
  return "not capturing: " + text;
}

std::string exited(int code) {
  return "PacketLogger stopped with exit code " + std::to_string(code) +
         ". Administrator approval may have been cancelled or PacketLogger could not start.";
}

std::string packet(const std::string& bytes) {
  constexpr std::size_t bytesColumn = 54;
  return std::string(bytesColumn, ' ').replace(0, 4, "RECV") + bytes;
}

std::vector<std::string> floodPayloads(int count) {
  std::vector<std::string> payloads;
  for (int number = 0; number < count; ++number) {
    std::string bytes;
    for (int power = 10000; power > 0; power /= 10) {
      bytes += '0' + std::to_string(number / power % 10) + ' ';
    }
    payloads.push_back(bytes + "1B 23 00 03 00");
  }
  return payloads;
}

}  // namespace tessline::test
