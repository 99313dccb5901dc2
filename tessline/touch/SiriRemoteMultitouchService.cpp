#include "tessline/touch/SiriRemoteMultitouchService.h"

#include "tessline/touch/ContactRecord.h"

#include <algorithm>
#include <array>
#include <string>
#include <utility>
#include <variant>

#include <fmt/format.h>

namespace tessline {

namespace {

constexpr std::string_view libraryPath =
    "/System/Library/PrivateFrameworks/MultitouchSupport.framework/MultitouchSupport";

// What a remote's surface measures. Either of the two tells it apart.
constexpr std::int32_t longSensorSide = 12;
constexpr std::int32_t shortSensorSide = 6;
constexpr std::int32_t surfaceSide = 2775;
// The only mode there is use for.
constexpr std::int32_t startMode = 0;

namespace line {
constexpr std::string_view cannotOpen = "Morvane: Failed to dlopen MultitouchSupport";
constexpr std::string_view notTrusted =
    "Morvane: Cannot start MultitouchService because Accessibility permission is not authorized.";
constexpr std::string_view notLoaded = "Morvane: MultitouchSupport API is not loaded";
constexpr std::string_view noList = "Morvane: MTDeviceCreateList returned nil";
constexpr std::string_view noSurfaces =
    "Morvane: No connected Siri Remote touch surfaces found in MultitouchSupport";
constexpr std::string_view startFailed = "Morvane: Failed to start multitouch device (status: {})";
constexpr std::string_view started =
    "Morvane: Started listening to {} Siri Remote touch surface(s)";
constexpr std::string_view stopped = "Morvane: Stopped listening to Siri Remote touch surface(s)";
constexpr std::string_view touchEnded = "Morvane Clickpad Touch Ended: ID={}";
constexpr std::string_view touchBegan = "Morvane Clickpad Touch Began: ID={}, X={:.4f}, Y={:.4f}";
constexpr std::string_view touchMoved =
    "Morvane Clickpad Moved: ID={}, X={:.4f}, Y={:.4f}, dx={:.4f}, dy={:.4f}, "
    "velocity=({:.2f}, {:.2f})";
}  // namespace line

// Numbers are widened first: what stands in the log is the exact value, rounded once. A line that
// does not fit, for numbers of dozens of digits, takes the longer way.
template <class... Arguments>
void logLine(platform::LogSink& log, std::string_view format, const Arguments&... arguments) {
  std::array<char, 256> text;
  const auto written =
      fmt::format_to_n(text.data(), text.size(), fmt::runtime(format), arguments...);
  if (written.size <= text.size()) {
    log.log({text.data(), written.size});
  } else {
    log.log(fmt::format(fmt::runtime(format), arguments...));
  }
}

double wide(float number) {
  return number;
}

}  // namespace

std::shared_ptr<SiriRemoteMultitouchService> SiriRemoteMultitouchService::create(
    const std::shared_ptr<platform::Platform>& platform) {
  return std::shared_ptr<SiriRemoteMultitouchService>(new SiriRemoteMultitouchService(platform));
}

SiriRemoteMultitouchService::SiriRemoteMultitouchService(
    const std::shared_ptr<platform::Platform>& platform)
    : log_(platform->logSink()), accessibility_(platform->accessibility()) {
  loadFramework(*platform);
}

SiriRemoteMultitouchService::~SiriRemoteMultitouchService() {
  stop();
}

void SiriRemoteMultitouchService::loadFramework(platform::Platform& platform) {
  handle_ = platform.openMultitouchLibrary(libraryPath);
  if (!handle_) return log_->log(line::cannotOpen);
  const auto look = [this]<class Function>(std::string_view name, Function& field) {
    auto symbol = handle_->symbol(name);
    if (auto* const function = std::get_if<Function>(&symbol)) field = std::move(*function);
  };
  look("MTDeviceCreateList", MTDeviceCreateList_);
  look("MTDeviceGetDeviceID", MTDeviceGetDeviceID_);
  look("MTDeviceStart", MTDeviceStart_);
  look("MTDeviceStop", MTDeviceStop_);
  look("MTDeviceGetSensorSurfaceDimensions", MTDeviceGetSensorSurfaceDimensions_);
  look("MTDeviceGetSensorDimensions", MTDeviceGetSensorDimensions_);
  look("MTDeviceIsBuiltIn", MTDeviceIsBuiltIn_);
  look("MTRegisterContactFrameCallbackWithRefcon", MTRegisterContactFrameCallbackWithRefcon_);
  look("MTUnregisterContactFrameCallback", MTUnregisterContactFrameCallback_);
}

void SiriRemoteMultitouchService::start() {
  if (isListening_) return;
  if (!accessibility_->isProcessTrusted()) return log_->log(line::notTrusted);
  if (!MTDeviceCreateList_ || !MTDeviceGetSensorSurfaceDimensions_ ||
      !MTRegisterContactFrameCallbackWithRefcon_ || !MTDeviceStart_) {
    return log_->log(line::notLoaded);
  }
  const auto list = MTDeviceCreateList_();
  if (!list) return log_->log(line::noList);

  int startedCount = 0;
  for (const auto& device : *list) {
    if (!isRemoteSurface(*device)) continue;
    // Kept even if it does not start, so that stopping ends its registration, too.
    devices_.push_back(device);
    MTRegisterContactFrameCallbackWithRefcon_(
        *device, [weak = weak_from_this()](const std::byte* touches, std::int64_t numTouches) {
          if (const auto self = weak.lock()) self->handleFrame(touches, numTouches);
        });
    const std::int32_t status = MTDeviceStart_(*device, startMode);
    if (status == 0) {
      ++startedCount;
    } else {
      logLine(*log_, line::startFailed, status);
    }
  }
  if (startedCount == 0) return log_->log(line::noSurfaces);
  isListening_ = true;
  logLine(*log_, line::started, startedCount);
}

void SiriRemoteMultitouchService::stop() {
  if (!isListening_ || !MTDeviceStop_ || !MTUnregisterContactFrameCallback_) return;
  for (const auto& device : devices_) {
    MTDeviceStop_(*device);
    MTUnregisterContactFrameCallback_(*device);
  }
  devices_.clear();
  lastPositions_.clear();
  isListening_ = false;
  if (onTouchesChanged) onTouchesChanged({});
  log_->log(line::stopped);
}

bool SiriRemoteMultitouchService::isRemoteSurface(platform::MultitouchDevice& device) const {
  std::int32_t rows = 0;
  std::int32_t columns = 0;
  if (MTDeviceGetSensorDimensions_) MTDeviceGetSensorDimensions_(device, rows, columns);
  std::int32_t width = 0;
  std::int32_t height = 0;
  MTDeviceGetSensorSurfaceDimensions_(device, width, height);
  if (MTDeviceIsBuiltIn_ && MTDeviceIsBuiltIn_(device)) return false;
  return (rows == longSensorSide && columns == shortSensorSide) ||
         (rows == shortSensorSide && columns == longSensorSide) ||
         (width == surfaceSide && height == surfaceSide);
}

void SiriRemoteMultitouchService::handleFrame(const std::byte* touches, std::int64_t numTouches) {
  touchPoints_.clear();
  for (std::int64_t index = 0; index < numTouches; ++index) {
    const ContactRecord contact = contactRecordAt(touches, index);
    const std::int32_t identifier = contact.identifier;
    if (contact.state == contactEnded) {
      logLine(*log_, line::touchEnded, identifier);
      std::erase_if(lastPositions_,
                    [&](const auto& last) { return last.identifier == identifier; });
    } else if (contact.state == contactMoved) {
      if (const LastPosition* const last = lastPosition(identifier)) {
        logLine(*log_, line::touchMoved, identifier, wide(contact.x), wide(contact.y),
                wide(contact.x - last->x), wide(contact.y - last->y), wide(contact.velocityX),
                wide(contact.velocityY));
      }
      setLastPosition(identifier, contact.x, contact.y);
      touchPoints_.push_back({identifier, contact.x, contact.y, contactMoved});
    } else if (contact.state == contactBegan) {
      setLastPosition(identifier, contact.x, contact.y);
      logLine(*log_, line::touchBegan, identifier, wide(contact.x), wide(contact.y));
      touchPoints_.push_back({identifier, contact.x, contact.y, contactBegan});
    }
  }
  // A contact of any state keeps its position while it is in the frames.
  std::erase_if(lastPositions_, [&](const LastPosition& last) {
    for (std::int64_t index = 0; index < numTouches; ++index) {
      if (contactRecordAt(touches, index).identifier == last.identifier) return false;
    }
    return true;
  });
  if (onTouchesChanged) onTouchesChanged(touchPoints_);
}

SiriRemoteMultitouchService::LastPosition* SiriRemoteMultitouchService::lastPosition(
    std::int32_t identifier) {
  const auto found = std::ranges::find(lastPositions_, identifier, &LastPosition::identifier);
  return found == lastPositions_.end() ? nullptr : &*found;
}

void SiriRemoteMultitouchService::setLastPosition(std::int32_t identifier, float x, float y) {
  if (LastPosition* const last = lastPosition(identifier)) {
    *last = {identifier, x, y};
  } else {
    lastPositions_.push_back({identifier, x, y});
  }
}

}  // namespace tessline
