/// @file
/// What `tessline listen` listens with.
#pragma once

#include "cli/Interrupt.h"
#include "cli/listen/LiveOutput.h"
#include "tessline/platform/Platform.h"

#include <memory>
#include <optional>
#include <string>

namespace tessline::cli {

/// One service that hears a remote, and how to tell when that is over. Main thread.
class Listener {
 public:
  virtual ~Listener() = default;

  /// Begins; a failure ends the output.
  virtual void start() = 0;
  /// Asks for the end, which may come later. Nothing is heard any more once the output is over, and
  /// everything is given back when the listener goes.
  virtual void stop() = 0;
};

/// Hears live captures: with the tool at `tool`, or the one that is found, showing `address`, or
/// the one that is detected.
std::unique_ptr<Listener> makeCaptureListener(const std::shared_ptr<platform::Platform>& platform,
                                              const std::shared_ptr<LiveOutput>& output,
                                              std::optional<std::string> tool,
                                              std::optional<std::string> address);

/// Hears the HID interfaces of a connected remote; accepts those whose product name begins with
/// `namePrefix`, too.
std::unique_ptr<Listener> makeHIDListener(const std::shared_ptr<platform::Platform>& platform,
                                          const std::shared_ptr<LiveOutput>& output,
                                          std::optional<std::string> namePrefix);

/// Finds remotes by Bluetooth LE, connects to them and hears them.
std::unique_ptr<Listener> makeBluetoothListener(const std::shared_ptr<platform::Platform>& platform,
                                                const std::shared_ptr<LiveOutput>& output);

/// Runs the main run loop, with the listener on it, until the output is over, and finishes that. A
/// signal stops the listener. The next one ends the process even if that leads nowhere, because a
/// service waits for an administrator or for somebody to read the output. Throws what
/// `LiveOutput::finish` throws.
ListenEnd listen(Listener& listener, LiveOutput& output, platform::MainRunLoop& mainRunLoop,
                 Interrupt& interrupt);

/// Turns a failed end into its exception: NotPermitted with the hint if there is one, else
/// CheckFailed.
void throwIfFailed(const ListenEnd& end);

}  // namespace tessline::cli
