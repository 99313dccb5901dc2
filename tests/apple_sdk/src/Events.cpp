// Events, and what becomes of those that are posted.
#include "CFObjects.h"
#include "CallLog.h"

#include <mutex>

#include <standin/accessibility.h>
#include <standin/events.h>

namespace standin::events {

namespace {

struct World {
  std::mutex mutex;
  std::optional<CGPoint> pointer;
  bool canBeCreated = true;
  std::function<void(const PostedEvent&)> onPost;
  std::vector<PostedEvent> posts;
  CallLog calls;
};

using Lock = std::lock_guard<std::mutex>;

World& world() {
  static auto& all = *new World;
  return all;
}

class Event : public CFObject {
 public:
  static constexpr CFType classType = CFType::event;

  explicit Event(PostedEvent event) : CFObject(classType), event(std::move(event)) {}

  PostedEvent event;
};

CGEventRef made(PostedEvent event) {
  const auto& object = *new Event(std::move(event));
  return static_cast<CGEventRef>(const_cast<void*>(object.reference()));
}

void note(const std::string& function, const std::string& arguments) {
  world().calls.note(arguments.empty() ? function : function + ' ' + arguments);
}

void refuseSource(CGEventSourceRef source, std::string_view function) {
  if (source != nullptr) fail(function, "was given a source, of which there is none");
}

bool takesPointerAlong(CGEventType type) {
  return type == kCGEventMouseMoved || type == kCGEventLeftMouseDragged ||
         type == kCGEventRightMouseDragged;
}

std::string shownNumber(std::int64_t number) {
  return std::to_string(number);
}

}  // namespace

void reset() {
  constexpr CGPoint somewhere = {100, 200};
  const Lock lock(world().mutex);
  world().pointer = somewhere;
  world().canBeCreated = true;
  world().onPost = nullptr;
  world().posts.clear();
  world().calls.clear();
}

void setPointer(std::optional<CGPoint> location) {
  const Lock lock(world().mutex);
  world().pointer = location;
}

void setCanBeCreated(bool can) {
  const Lock lock(world().mutex);
  world().canBeCreated = can;
}

void setOnPost(std::function<void(const PostedEvent&)> onPost) {
  const Lock lock(world().mutex);
  world().onPost = std::move(onPost);
}

std::vector<PostedEvent> posts() {
  const Lock lock(world().mutex);
  return world().posts;
}

std::vector<std::string> calls() {
  return world().calls.calls();
}

void clearCalls() {
  world().calls.clear();
}

}  // namespace standin::events

using namespace standin;
using namespace standin::events;

extern "C" {

CGEventRef CGEventCreate(CGEventSourceRef source) {
  constexpr auto function = "CGEventCreate";
  refuseSource(source, function);
  note(function, "");
  const Lock lock(world().mutex);
  if (!world().pointer) return nullptr;
  PostedEvent event;
  event.location = *world().pointer;
  return made(std::move(event));
}

CGEventRef CGEventCreateMouseEvent(CGEventSourceRef source, CGEventType mouseType,
                                   CGPoint mouseCursorPosition, CGMouseButton mouseButton) {
  constexpr auto function = "CGEventCreateMouseEvent";
  refuseSource(source, function);
  note(function,
       shownNumber(mouseType) + ' ' + shown(mouseCursorPosition) + ' ' + shownNumber(mouseButton));
  if (mouseType < kCGEventLeftMouseDown || mouseType > kCGEventRightMouseDragged) {
    fail(function, "was given a type that is not a mouse's");
  }
  const Lock lock(world().mutex);
  if (!world().canBeCreated) return nullptr;
  PostedEvent event;
  event.type = mouseType;
  event.location = mouseCursorPosition;
  event.button = mouseButton;
  return made(std::move(event));
}

CGEventRef CGEventCreateScrollWheelEvent2(CGEventSourceRef source, CGScrollEventUnit units,
                                          std::uint32_t wheelCount, std::int32_t wheel1,
                                          std::int32_t wheel2, std::int32_t wheel3) {
  constexpr auto function = "CGEventCreateScrollWheelEvent2";
  refuseSource(source, function);
  note(function, shownNumber(units) + ' ' + shownNumber(wheelCount) + ' ' + shownNumber(wheel1) +
                     ' ' + shownNumber(wheel2) + ' ' + shownNumber(wheel3));
  if (wheelCount < 1 || wheelCount > 3) fail(function, "was given a number of wheels beyond 3");
  const Lock lock(world().mutex);
  if (!world().canBeCreated) return nullptr;
  PostedEvent event;
  event.type = kCGEventScrollWheel;
  event.location = world().pointer.value_or(CGPoint{});
  event.unit = units;
  event.wheels = {wheel1, wheel2, wheel3};
  event.wheels.resize(wheelCount);
  return made(std::move(event));
}

CGPoint CGEventGetLocation(CGEventRef event) {
  constexpr auto function = "CGEventGetLocation";
  note(function, "");
  return event == nullptr ? CGPoint{} : objectOf<Event>(event, function).event.location;
}

void CGEventSetIntegerValueField(CGEventRef event, CGEventField field, std::int64_t value) {
  constexpr auto function = "CGEventSetIntegerValueField";
  note(function, shownNumber(field) + ' ' + shownNumber(value));
  if (event != nullptr) objectOf<Event>(event, function).event.fields[field] = value;
}

void CGEventPost(CGEventTapLocation tap, CGEventRef event) {
  constexpr auto function = "CGEventPost";
  note(function, shownNumber(tap) + (event == nullptr ? " NULL" : ""));
  if (event == nullptr) return;
  PostedEvent post = objectOf<Event>(event, function).event;
  post.tap = tap;
  if (!accessibility::isTrusted()) return;
  std::function<void(const PostedEvent&)> onPost;
  {
    const Lock lock(world().mutex);
    if (takesPointerAlong(post.type)) world().pointer = post.location;
    world().posts.push_back(post);
    onPost = world().onPost;
  }
  if (onPost) onPost(post);
}
}
