/// @file
/// How tests control the stand-in's multitouch library and its surfaces.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <set>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace standin::multitouch {

/// Where the library stands.
inline constexpr std::string_view libraryPath =
    "/System/Library/PrivateFrameworks/MultitouchSupport.framework/MultitouchSupport";

/// A surface.
struct Surface {
  bool isBuiltIn = false;
  std::uint64_t identifier = 0;
  std::int32_t rows = 0;
  std::int32_t columns = 0;
  std::int32_t width = 0;        ///< In hundredths of a millimetre.
  std::int32_t height = 0;       ///< In hundredths of a millimetre.
  std::int32_t status = 0;       ///< What questions about it return; they fill nothing unless 0.
  std::int32_t startStatus = 0;  ///< What starting it returns; it does not start unless 0.
};

/// All as it is at first: a library with every function, without surfaces and calls. Nothing may be
/// left of what was there.
void reset();

/// The functions that the library lacks.
void setMissingFunctions(std::set<std::string, std::less<>> names);
/// Whether there is a list.
void setGivesList(bool gives);
/// A surface appears behind the others. Its index counts all that ever were.
std::size_t connect(const Surface& surface);
/// It goes. Whoever holds a list that names it can use it still.
void disconnect(std::size_t index);

/// Delivers a frame on the library's own thread to who is registered, if the surface is there and
/// started. Returns when that has returned.
void sendFrame(std::size_t index, std::span<const std::byte> records, std::int32_t count);
/// As `sendFrame`, to the latest that was ever registered for the surface: a frame that was under
/// way when it was unregistered.
void sendLateFrame(std::size_t index, std::span<const std::byte> records, std::int32_t count);
/// Frames that are being delivered.
std::size_t framesUnderWay();

/// How often the library has been opened and not closed.
std::size_t openHandles();
/// Surfaces that are there or in a list that is.
std::size_t liveSurfaces();
/// Lists that nobody has let go of.
std::size_t liveLists();
/// Callbacks that are registered.
std::size_t registrations();

/// The calls so far with their arguments, surfaces by their index.
std::vector<std::string> calls();
/// Forgets them.
void clearCalls();

}  // namespace standin::multitouch
