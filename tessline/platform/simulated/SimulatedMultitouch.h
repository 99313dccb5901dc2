/// @file
/// The simulated host's multitouch library and its surfaces, to be scripted.
#pragma once

#include "tessline/platform/MultitouchLibrary.h"
#include "tessline/platform/simulated/CallLog.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <set>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace tessline::platform::simulated {

/// What a touch surface says of itself.
struct SimulatedSurface {
  bool isBuiltIn = false;          ///< Whether it belongs to the computer.
  std::int32_t sensorRows = 0;     ///< How many rows of sensors it has.
  std::int32_t sensorColumns = 0;  ///< How many columns of sensors it has.
  std::int32_t surfaceWidth = 0;   ///< In hundredths of a millimetre.
  std::int32_t surfaceHeight = 0;  ///< In hundredths of a millimetre.
  std::int32_t startStatus = 0;    ///< What starting it returns.
  bool tellsDimensions = true;     ///< If not, asking for dimensions fails and fills nothing.
};

/// One contact of a frame.
struct SimulatedContact {
  std::int32_t identifier = 0;  ///< Which contact.
  std::int32_t state = 0;       ///< 3 began, 4 moved, 5 ended, or any other.
  float x = 0;                  ///< 0 to 1, to the right.
  float y = 0;                  ///< 0 to 1, upwards.
  float velocityX = 0;          ///< Surfaces a second, to the right.
  float velocityY = 0;          ///< Surfaces a second, upwards.

  bool operator==(const SimulatedContact&) const = default;
};

class SimulatedMultitouch;
class SimulatedMultitouchLibrary;

/// A surface made up by a test or a recording. Its number tells it apart in the recorded calls.
class SimulatedTouchDevice : public MultitouchDevice,
                             public std::enable_shared_from_this<SimulatedTouchDevice> {
 public:
  /// Made by `SimulatedMultitouch::connect`.
  SimulatedTouchDevice(std::int64_t number, const SimulatedSurface& about)
      : surface(about), number_(number) {}

  /// May be changed at any time.
  SimulatedSurface surface;

  /// Counts from 1, in the order of appearance.
  std::int64_t number() const { return number_; }

 private:
  friend class SimulatedMultitouch;
  friend class SimulatedMultitouchLibrary;

  std::int64_t number_;
  std::shared_ptr<const ContactFrameCallback> callback_;
  bool isStarted_ = false;
};

/// Surfaces come and go and deliver frames, from within `sendFrame`. Frames arrive while a surface
/// is started and has a callback. Not synchronised.
class SimulatedMultitouch : public std::enable_shared_from_this<SimulatedMultitouch> {
 public:
  /// A library that has every function, without surfaces. Notes what it is asked in `calls`.
  explicit SimulatedMultitouch(std::shared_ptr<CallLog> calls) : calls_(std::move(calls)) {}

  /// Whether the library can be opened from now on.
  void setCanBeOpened(bool can) { canBeOpened_ = can; }
  /// The functions that are missing when they are looked up from now on.
  void setMissingFunctions(std::set<std::string, std::less<>> names) {
    missingFunctions_ = std::move(names);
  }
  /// Whether `MTDeviceCreateList` gives a list from now on.
  void setCreatesList(bool creates) { createsList_ = creates; }

  /// A surface appears, behind the others of the list.
  std::shared_ptr<SimulatedTouchDevice> connect(const SimulatedSurface& surface);
  /// It goes, and its frames end.
  void disconnect(const std::shared_ptr<SimulatedTouchDevice>& device);

  /// Delivers a frame of these contacts.
  void sendFrame(SimulatedTouchDevice& device, std::span<const SimulatedContact> contacts);
  /// Delivers a frame whose records stand at `touches`, as they are.
  void sendRecords(SimulatedTouchDevice& device, const std::byte* touches, std::int64_t numTouches);

  /// The library, open; null if it cannot be opened.
  std::shared_ptr<MultitouchLibrary> open(std::string_view path);

 private:
  friend class SimulatedMultitouchLibrary;

  MultitouchFunction symbol(std::string_view name, SimulatedMultitouchLibrary& library);
  DeviceDimensionsFunction dimensions(std::string name, std::int32_t SimulatedSurface::*first,
                                      std::int32_t SimulatedSurface::*second);
  void add(std::string_view operation, const MultitouchDevice& device);

  std::shared_ptr<CallLog> calls_;
  std::vector<std::shared_ptr<SimulatedTouchDevice>> devices_;
  std::set<std::string, std::less<>> missingFunctions_;
  std::vector<std::byte> records_;
  std::int64_t nextNumber_ = 1;
  bool canBeOpened_ = true;
  bool createsList_ = true;
};

}  // namespace tessline::platform::simulated
