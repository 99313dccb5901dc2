// Elements, found where their window is. Each copy is a reference of its own.
#include "CFObjects.h"
#include "CallLog.h"

#include <functional>
#include <map>
#include <mutex>
#include <optional>

#include <standin/accessibility.h>

namespace standin::accessibility {

namespace {

struct ElementState {
  std::map<std::string, Attribute, std::less<>> attributes;
  bool isGone = false;
};

struct Shown {
  Element window;
  Element hit;
};

struct World {
  std::mutex mutex;
  bool isTrusted = true;
  bool canCreateValues = true;
  std::vector<ElementState> elements;
  std::optional<Shown> shown;
  long references = 0;
  CallLog calls;
};

using Lock = std::lock_guard<std::mutex>;

World& world() {
  static auto& all = *new World;
  return all;
}

void note(std::string call) {
  world().calls.note(std::move(call));
}

// The element that stands for all that is shown.
constexpr std::size_t systemWide = 0;

class Reference : public CFObject {
 public:
  static constexpr CFType classType = CFType::accessibilityElement;

  explicit Reference(std::size_t number) : CFObject(classType), number(number) {
    const Lock lock(world().mutex);
    ++world().references;
  }
  ~Reference() override {
    const Lock lock(world().mutex);
    --world().references;
  }

  bool isEqual(const CFObject& other) const override {
    return number == static_cast<const Reference&>(other).number;
  }
  CFHashCode hash() const override { return number; }
  std::string name() const { return number == systemWide ? "system" : std::to_string(number); }

  const std::size_t number;
};

class Structure : public CFObject {
 public:
  static constexpr CFType classType = CFType::accessibilityValue;
  using Held = std::variant<CGPoint, CGSize, CGRect, CFRange>;

  explicit Structure(Held held) : CFObject(classType), held(held) {}

  AXValueType valueType() const {
    constexpr auto first = static_cast<std::size_t>(kAXValueTypeCGPoint);
    return static_cast<AXValueType>(first + held.index());
  }

  const Held held;
};

CFTypeRef made(const Value& value) {
  struct Maker {
    CFTypeRef operator()(std::monostate) const { return nullptr; }
    CFTypeRef operator()(const CFValue& object) const { return makeCFObject(object); }
    CFTypeRef operator()(CGPoint point) const { return (new Structure(point))->reference(); }
    CFTypeRef operator()(CGSize size) const { return (new Structure(size))->reference(); }
    CFTypeRef operator()(CGRect rect) const { return (new Structure(rect))->reference(); }
    CFTypeRef operator()(CFRange range) const { return (new Structure(range))->reference(); }
    CFTypeRef operator()(Element element) const {
      return (new Reference(element.number))->reference();
    }
  };
  return std::visit(Maker(), value);
}

// Null for one that there is no more. The lock is held.
ElementState* find(std::size_t number) {
  if (number == systemWide || number > world().elements.size()) return nullptr;
  ElementState& found = world().elements[number - 1];
  return found.isGone ? nullptr : &found;
}

ElementState& at(Element element, const char* function) {
  ElementState* const found = find(element.number);
  if (found == nullptr) fail(function, "was given an element that there is not");
  return *found;
}

template <class Type>
Type valueOf(const ElementState& element, std::string_view attribute) {
  const auto found = element.attributes.find(attribute);
  if (found == element.attributes.end()) fail("show", "was given a window without a place");
  return std::get<Type>(found->second.value);
}

bool isIn(const ElementState& window, float x, float y) {
  const auto origin = valueOf<CGPoint>(window, "AXPosition");
  const auto size = valueOf<CGSize>(window, "AXSize");
  return x >= origin.x && x < origin.x + size.width && y >= origin.y && y < origin.y + size.height;
}

// What a failure leaves is nobody's business, and no object.
constexpr char poison = 0;

template <class Result>
AXError failed(AXError error, Result* result) {
  *result = static_cast<Result>(static_cast<const void*>(&poison));
  return error;
}

}  // namespace

void reset() {
  const Lock lock(world().mutex);
  if (world().references != 0) fail("reset", "was called while elements are held");
  world().isTrusted = true;
  world().canCreateValues = true;
  world().elements.clear();
  world().shown.reset();
  world().calls.clear();
}

void setTrusted(bool isTrusted) {
  const Lock lock(world().mutex);
  world().isTrusted = isTrusted;
}

bool isTrusted() {
  const Lock lock(world().mutex);
  return world().isTrusted;
}

void setValuesCanBeCreated(bool can) {
  const Lock lock(world().mutex);
  world().canCreateValues = can;
}

Element makeElement() {
  const Lock lock(world().mutex);
  world().elements.emplace_back();
  return {world().elements.size()};
}

void setAttribute(Element element, const std::string& name, const Attribute& attribute) {
  const Lock lock(world().mutex);
  at(element, "setAttribute").attributes[name] = attribute;
}

Attribute attribute(Element element, const std::string& name) {
  const Lock lock(world().mutex);
  const auto& attributes = at(element, "attribute").attributes;
  const auto found = attributes.find(name);
  return found == attributes.end() ? Attribute() : found->second;
}

void show(Element window, Element hit) {
  const Lock lock(world().mutex);
  world().shown = {window, hit};
}

void hide() {
  const Lock lock(world().mutex);
  world().shown.reset();
}

void destroy(Element element) {
  const Lock lock(world().mutex);
  at(element, "destroy").isGone = true;
}

std::vector<std::string> calls() {
  return world().calls.calls();
}

void clearCalls() {
  world().calls.clear();
}

}  // namespace standin::accessibility

using namespace standin;
using namespace standin::accessibility;

extern "C" {

Boolean AXIsProcessTrusted() {
  note("AXIsProcessTrusted");
  return isTrusted();
}

CFTypeID AXUIElementGetTypeID() {
  return static_cast<CFTypeID>(CFType::accessibilityElement);
}

AXUIElementRef AXUIElementCreateSystemWide() {
  note("AXUIElementCreateSystemWide");
  return referenceTo<AXUIElementRef>(*new Reference(systemWide));
}

AXError AXUIElementCopyElementAtPosition(AXUIElementRef application, float x, float y,
                                         AXUIElementRef* element) {
  constexpr auto function = "AXUIElementCopyElementAtPosition";
  const auto& asked = objectOf<Reference>(application, function);
  if (element == nullptr) fail(function, "was given no place for the result");
  note(std::string(function) + ' ' + asked.name() + ' ' + shown(CGPoint{x, y}));
  if (asked.number != systemWide) fail(function, "was asked of less than the whole system");
  std::optional<Element> hit;
  {
    const Lock lock(world().mutex);
    if (!world().isTrusted) return failed(kAXErrorAPIDisabled, element);
    if (!world().shown) return failed(kAXErrorNoValue, element);
    const ElementState* const window = find(world().shown->window.number);
    if (window == nullptr || !isIn(*window, x, y)) return failed(kAXErrorNoValue, element);
    hit = world().shown->hit;
  }
  // Found, and nevertheless nothing.
  *element = hit->number == 0 ? nullptr : static_cast<AXUIElementRef>(made(*hit));
  return kAXErrorSuccess;
}

AXError AXUIElementCopyAttributeValue(AXUIElementRef reference, CFStringRef attribute,
                                      CFTypeRef* value) {
  constexpr auto function = "AXUIElementCopyAttributeValue";
  const auto& element = objectOf<Reference>(reference, function);
  const std::string name = utf8(attribute, function);
  if (value == nullptr) fail(function, "was given no place for the result");
  note(std::string(function) + ' ' + element.name() + ' ' + name);
  Value found;
  {
    const Lock lock(world().mutex);
    if (!world().isTrusted) return failed(kAXErrorAPIDisabled, value);
    const ElementState* const state = find(element.number);
    if (state == nullptr) return failed(kAXErrorInvalidUIElement, value);
    const auto entry = state->attributes.find(name);
    if (entry == state->attributes.end()) return failed(kAXErrorAttributeUnsupported, value);
    if (entry->second.copyError != kAXErrorSuccess) return failed(entry->second.copyError, value);
    found = entry->second.value;
  }
  *value = made(found);
  return kAXErrorSuccess;
}

AXError AXUIElementSetAttributeValue(AXUIElementRef reference, CFStringRef attribute,
                                     CFTypeRef value) {
  constexpr auto function = "AXUIElementSetAttributeValue";
  const auto& element = objectOf<Reference>(reference, function);
  const std::string name = utf8(attribute, function);
  const auto& structure = objectOf<Structure>(value, function);
  note(std::string(function) + ' ' + element.name() + ' ' + name + ' ' +
       std::to_string(structure.valueType()));
  const Lock lock(world().mutex);
  if (!world().isTrusted) return kAXErrorAPIDisabled;
  ElementState* const state = find(element.number);
  if (state == nullptr) return kAXErrorInvalidUIElement;
  const auto entry = state->attributes.find(name);
  if (entry == state->attributes.end()) return kAXErrorAttributeUnsupported;
  if (entry->second.setError != kAXErrorSuccess) return entry->second.setError;
  const auto* const point = std::get_if<CGPoint>(&structure.held);
  // Of all attributes that elements have, only points are set here.
  if (point == nullptr || !std::holds_alternative<CGPoint>(entry->second.value)) {
    return kAXErrorIllegalArgument;
  }
  entry->second.value = *point;
  return kAXErrorSuccess;
}

CFTypeID AXValueGetTypeID() {
  return static_cast<CFTypeID>(CFType::accessibilityValue);
}

AXValueRef AXValueCreate(AXValueType type, const void* value) {
  constexpr auto function = "AXValueCreate";
  if (value == nullptr) fail(function, "was given NULL");
  note(std::string(function) + ' ' + std::to_string(type));
  {
    const Lock lock(world().mutex);
    if (!world().canCreateValues) return nullptr;
  }
  const auto structure = [&]() -> Structure::Held {
    switch (type) {
      case kAXValueTypeCGPoint:
        return *static_cast<const CGPoint*>(value);
      case kAXValueTypeCGSize:
        return *static_cast<const CGSize*>(value);
      case kAXValueTypeCGRect:
        return *static_cast<const CGRect*>(value);
      case kAXValueTypeCFRange:
        return *static_cast<const CFRange*>(value);
      case kAXValueTypeIllegal:
      case kAXValueTypeAXError:
        break;
    }
    fail(function, "was given a type that it does not make");
  };
  return referenceTo<AXValueRef>(*new Structure(structure()));
}

AXValueType AXValueGetType(AXValueRef value) {
  return objectOf<Structure>(value, "AXValueGetType").valueType();
}

Boolean AXValueGetValue(AXValueRef value, AXValueType type, void* filled) {
  const auto& structure = objectOf<Structure>(value, "AXValueGetValue");
  if (filled == nullptr) fail("AXValueGetValue", "was given no place for the result");
  if (structure.valueType() != type) return false;
  std::visit([&](auto held) { *static_cast<decltype(held)*>(filled) = held; }, structure.held);
  return true;
}
}
