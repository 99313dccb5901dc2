#include "cli/Commands.h"
#include "cli/Interrupt.h"
#include "cli/Output.h"
#include "cli/listen/Listener.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include <CLI/CLI.hpp>

namespace tessline::cli {

namespace {

struct ListenOptions {
  OutputFormat format = OutputFormat::text;
  std::optional<std::string> voiceDirectory;
  bool wav = false;
  // Of a capture.
  std::optional<std::string> tool;
  std::optional<std::string> address;
  // Of HID interfaces.
  std::optional<std::string> namePrefix;
};

using MakeListener = std::function<std::unique_ptr<Listener>(
    const ListenOptions& options, const std::shared_ptr<platform::Platform>& platform,
    const std::shared_ptr<LiveOutput>& output)>;

void run(const ListenOptions& options, const MakeListener& makeListener) {
  LiveOptions live{.format = options.format, .voiceFiles = {}};
  if (options.voiceDirectory) live.voiceFiles = {*options.voiceDirectory, options.wav};
  Interrupt interrupt;
  const auto output = std::make_shared<LiveOutput>(Output::standard(), live);
  const auto host = platform::hostPlatform();
  auto listener = makeListener(options, host, output);
  const ListenEnd end = listen(*listener, *output, *host->mainRunLoop(), interrupt);
  // What it holds of the host is given back before the process ends by the signal.
  listener.reset();
  interrupt.raisePending();
  throwIfFailed(end);
}

// With the options that all ways of listening share.
CLI::App& addWay(CLI::App& listen, const std::string& name, const std::string& description,
                 const std::shared_ptr<ListenOptions>& options, MakeListener makeListener) {
  CLI::App* const command = listen.add_subcommand(name, description);
  addFormatOption(*command, options->format);
  auto* const voice = command->add_option(
      "--voice", options->voiceDirectory,
      "Write each voice session to DIR, as voice-001.opus and so on (Ogg Opus)");
  voice->type_name("DIR");
  command->add_flag("--wav", options->wav, "With --voice: a .wav of each session, too")
      ->needs(voice);
  command->callback(
      [options, makeListener = std::move(makeListener)] { run(*options, makeListener); });
  return *command;
}

}  // namespace

void addListenCommand(CLI::App& application) {
  auto options = std::make_shared<ListenOptions>();
  CLI::App* const listen =
      application.add_subcommand("listen", "Show what a remote does, live, until Ctrl-C");
  listen->require_subcommand(1);

  CLI::App& capture =
      addWay(*listen, "capture",
             "Through the packetlogger tool: directly as root, else through the helper", options,
             [](const ListenOptions& chosen, const auto& platform, const auto& output) {
               return makeCaptureListener(platform, output, chosen.tool, chosen.address);
             });
  capture.add_option("--tool", options->tool, "The tool; looked for if not given")
      ->type_name("PATH");
  capture
      .add_option("--address", options->address,
                  "The remote's address, to be shown; asked of the system if not given")
      ->type_name("A");

  CLI::App& hid =
      addWay(*listen, "hid", "Through the HID interfaces of a remote that the system has connected",
             options, [](const ListenOptions& chosen, const auto& platform, const auto& output) {
               return makeHIDListener(platform, output, chosen.namePrefix);
             });
  hid.add_option("--name-prefix", options->namePrefix,
                 "Accept Apple's interfaces whose product name begins so, too, in any letter case")
      ->type_name("TEXT");

  addWay(*listen, "bluetooth",
         "Through Bluetooth LE: finds remotes, connects to them, and again when they drop", options,
         [](const ListenOptions&, const auto& platform, const auto& output) {
           return makeBluetoothListener(platform, output);
         });
}

}  // namespace tessline::cli
