/// @file
/// Porting contract: the system's multitouch library.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string_view>
#include <variant>
#include <vector>

namespace tessline::platform {

/// A touch surface. The object's address is its identity within one list, and holding it keeps the
/// surface usable.
class MultitouchDevice {
 public:
  virtual ~MultitouchDevice() = default;
};

/// The surfaces that are there, in the host's order.
using MultitouchDeviceList = std::vector<std::shared_ptr<MultitouchDevice>>;

/// Called for each frame of a surface, on a thread of the library's own. `touches` points to
/// `numTouches` contact records, one behind the other, of any alignment, valid during the call; it
/// may be null if there are none. A library that counts in fewer bits is widened by the backend.
using ContactFrameCallback = std::function<void(const std::byte* touches, std::int64_t numTouches)>;

/// `MTDeviceCreateList`: none if the library gives no list.
using DeviceListFunction = std::function<std::optional<MultitouchDeviceList>()>;
/// `MTDeviceGetDeviceID`: fills the number and returns a status, 0 for success.
using DeviceIDFunction = std::function<std::int32_t(MultitouchDevice&, std::uint64_t&)>;
/// `MTDeviceStart`: takes a mode and returns a status, 0 for success.
using DeviceStartFunction = std::function<std::int32_t(MultitouchDevice&, std::int32_t)>;
/// `MTDeviceStop`: returns a status, 0 for success.
using DeviceStopFunction = std::function<std::int32_t(MultitouchDevice&)>;
/// `MTDeviceIsBuiltIn`.
using DeviceTruthFunction = std::function<bool(MultitouchDevice&)>;
/// `MTDeviceGetSensorDimensions` (rows, columns) and `MTDeviceGetSensorSurfaceDimensions` (width,
/// height, in hundredths of a millimetre): fills both numbers and returns a status, 0 for success.
using DeviceDimensionsFunction =
    std::function<std::int32_t(MultitouchDevice&, std::int32_t&, std::int32_t&)>;
/// `MTRegisterContactFrameCallbackWithRefcon`: frames go to the callback while the surface is
/// started, instead of to an earlier one.
using RegisterCallbackFunction = std::function<void(MultitouchDevice&, ContactFrameCallback)>;
/// `MTUnregisterContactFrameCallback`: when it returns no callback of the surface runs, but one
/// that it was called from, and none will.
using UnregisterCallbackFunction = std::function<void(MultitouchDevice&)>;

/// A function of the library; `std::monostate` for one that it lacks. Functions may be called from
/// any thread, and only while the library is open.
using MultitouchFunction =
    std::variant<std::monostate, DeviceListFunction, DeviceIDFunction, DeviceStartFunction,
                 DeviceStopFunction, DeviceTruthFunction, DeviceDimensionsFunction,
                 RegisterCallbackFunction, UnregisterCallbackFunction>;

/// The library, open. Destroying it closes it, after which no callback runs. Any thread. Of several
/// that are open in one process only one at a time may have callbacks registered for a surface.
class MultitouchLibrary {
 public:
  virtual ~MultitouchLibrary() = default;

  /// Looks a function up by its name, as given above, in the type given there.
  virtual MultitouchFunction symbol(std::string_view name) = 0;
};

}  // namespace tessline::platform
