#pragma once

#include "tests/system/HelperMachine.h"

#include <array>
#include <filesystem>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace tessline::test {

inline constexpr const char* osascript = "/usr/bin/osascript";
inline constexpr const char* systemProfiler = "/usr/sbin/system_profiler";
inline constexpr const char* runtimeTool =
    "/home/someone/.local/share/com.morvane/PacketLoggerHost/Resources/packetlogger";

/// A machine with an application that captures, the privileged helper installed, and a stand-in for
/// the capture tool at `goodTool`.
class CaptureMachine : public HelperMachine {
 public:
  explicit CaptureMachine(const PrivateMounts& mounts);
  CaptureMachine(const CaptureMachine&) = delete;
  CaptureMachine& operator=(const CaptureMachine&) = delete;
  ~CaptureMachine();

  /// Calls `body` on such a machine.
  static void run(const std::function<void(CaptureMachine& machine)>& body);

  /// What the good tool does when it is started; see CaptureTool.cpp.
  void script(std::string_view text) { write("/opt/tool/packetlogger.script", text); }
  /// Lets it go on behind "await".
  void goOn();
  /// Waits until it has been asked to end and has ignored that.
  void waitUntilAsked();

  /// A program at `path` that does what `script` says.
  void standIn(const std::filesystem::path& path, std::string_view script, mode_t mode = 0755);
  /// A script runner whose administrator agrees.
  void letAdministratorAgree() { standIn(osascript, "approve\n", 04755); }
  /// A stand-in tool in the user's Application Support folder, as an installation leaves it.
  void installRuntime(std::string_view script);
  /// A file that came with the application.
  void addResource(const std::string& name, std::string_view content);

 private:
  int gate_;
  int asked_;
};

/// The statuses that a capture has published, in words.
using Statuses = std::vector<std::string>;

/// The application, running as `user`. Its programs inherit `environment`.
class CaptureApplication {
 public:
  explicit CaptureApplication(uid_t user = nobody,
                              const std::vector<std::string>& environment = {});
  CaptureApplication(const CaptureApplication&) = delete;
  CaptureApplication& operator=(const CaptureApplication&) = delete;
  ~CaptureApplication();

  pid_t pid() const { return running_.pid(); }

  /// Without an address, "-", or a tool, "-", the service has to look for them.
  void start(const std::string& tool = goodTool, const std::string& address = "-");
  void stop() { say("stop"); }
  void release() { say("release"); }

  void waitForStatus(int number) { waitFor("status", number); }
  void waitForPayload(int number) { waitFor("payload", number); }
  /// That all programs it has started end.
  void waitForNoChildren();

  /// Of the snapshot, like "2 parsed, 1 accepted, 0 voice, 1 events; PATH".
  std::string counts();
  /// The bytes of each payload.
  std::vector<std::string> payloads() const { return lines("payload"); }
  std::vector<std::string> payloadsBeforeStatus(int number) const;
  std::size_t eventCount() const { return lines("event").size(); }

  /// Ends it, which lets go of its service and then waits for its programs, and expects these to be
  /// all it has published from first to last, each made by `capturing` or `notCapturing`.
  void expectAll(const Statuses& statuses);
  /// The same whether or not the tool still runs as it is said that it does, for one that ends by
  /// itself at once.
  void expectAllTexts(const Statuses& texts);

 private:
  CaptureApplication(uid_t user, const std::vector<std::string>& environment,
                     const std::array<int, 2>& ends);

  void say(const std::string& command);
  void waitFor(const std::string& kind, int number);
  const std::string& output() const { return output_.empty() ? running_.output() : output_; }
  std::vector<std::string> lines(const std::string& kind) const { return lines(kind, output()); }
  static std::vector<std::string> lines(const std::string& kind, const std::string& output);
  void finish();

  int input_;
  RunningCommand running_;
  std::string output_;  ///< Once it has ended.
  int countsAsked_ = 0;
  int childrenAsked_ = 0;
};

std::string capturing(const std::string& text);
std::string notCapturing(const std::string& text);

// Texts.
std::string exited(int code);
inline const std::string runsDirectly = "PacketLogger capture running for all remotes";
inline const std::string runs = runsDirectly + " using privileged helper";
inline const std::string stopped = "PacketLogger capture stopped";
inline const std::string ended = "PacketLogger capture ended";

/// A line of the tool's: a packet of these bytes.
std::string packet(const std::string& bytes);

/// The payloads of a flood of so many packets.
std::vector<std::string> floodPayloads(int count);

}  // namespace tessline::test
