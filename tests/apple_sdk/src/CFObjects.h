/// @file
/// What the stand-ins' own sources know of CoreFoundation's objects.
#pragma once

#include <atomic>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include <CoreFoundation/CoreFoundation.h>

namespace standin {

/// Says what is wrong with a call, and aborts.
[[noreturn]] void fail(std::string_view function, std::string_view what);

/// The types of objects.
enum class CFType : CFTypeID {
  string = 7,
  dictionary = 18,
  array = 19,
  data = 20,
  boolean = 21,
  number = 22,
  set = 24,
  runLoop = 40,
  runLoopSource,
  hidManager,
  hidDevice,
  accessibilityElement,
  accessibilityValue,
  event,
};

/// What every object is. It is made with one reference.
class CFObject {
 public:
  explicit CFObject(CFType type);
  CFObject(const CFObject&) = delete;
  CFObject& operator=(const CFObject&) = delete;
  virtual ~CFObject();

  CFType type() const { return type_; }
  CFTypeRef reference() const { return this; }

  /// Takes it out of what lives: nobody has to release it, and nobody can.
  void makeImmortal();
  void retain();
  void release();

  /// `other` is of the same type.
  virtual bool isEqual(const CFObject& other) const { return this == &other; }
  virtual CFHashCode hash() const { return reinterpret_cast<CFHashCode>(this); }

 private:
  const CFType type_;
  bool isImmortal_ = false;
  std::atomic<long> references_ = 1;
};

/// The object, which must live.
CFObject& object(CFTypeRef reference, std::string_view function);

/// The object, which must live and be of that class.
template <class Object>
Object& objectOf(CFTypeRef reference, std::string_view function) {
  CFObject& found = object(reference, function);
  if (found.type() != Object::classType) fail(function, "was given an object of another type");
  return static_cast<Object&>(found);
}

/// As the reference of the type that callers see.
template <class Reference>
Reference referenceTo(const CFObject& object) {
  return static_cast<Reference>(const_cast<CFObject*>(&object)->reference());
}

class CFText : public CFObject {
 public:
  static constexpr CFType classType = CFType::string;

  explicit CFText(std::u16string units) : CFObject(classType), units(std::move(units)) {}
  bool isEqual(const CFObject& other) const override;
  CFHashCode hash() const override;

  const std::u16string units;
};

class CFNumeral : public CFObject {
 public:
  static constexpr CFType classType = CFType::number;
  using Value = std::variant<std::int64_t, std::uint64_t, double>;

  explicit CFNumeral(Value value) : CFObject(classType), value(value) {}
  bool isEqual(const CFObject& other) const override;

  const Value value;
};

class CFTruth : public CFObject {
 public:
  static constexpr CFType classType = CFType::boolean;

  explicit CFTruth(bool value) : CFObject(classType), value(value) {}

  const bool value;
};

class CFByteString : public CFObject {
 public:
  static constexpr CFType classType = CFType::data;

  explicit CFByteString(std::vector<std::uint8_t> bytes)
      : CFObject(classType), bytes(std::move(bytes)) {}

  const std::vector<std::uint8_t> bytes;
};

/// An array or a set; it may retain what it holds.
class CFCollection : public CFObject {
 public:
  CFCollection(CFType type, std::vector<const void*> values, bool retains);
  ~CFCollection() override;

  const std::vector<const void*> values;

 private:
  const bool retains_;
};

class CFList : public CFCollection {
 public:
  static constexpr CFType classType = CFType::array;

  CFList(std::vector<const void*> values, bool retains)
      : CFCollection(classType, std::move(values), retains) {}
};

class CFGroup : public CFCollection {
 public:
  static constexpr CFType classType = CFType::set;

  CFGroup(std::vector<const void*> values, bool retains)
      : CFCollection(classType, std::move(values), retains) {}
};

class CFTable : public CFObject {
 public:
  static constexpr CFType classType = CFType::dictionary;
  using Entries = std::vector<std::pair<CFTypeRef, CFTypeRef>>;

  explicit CFTable(Entries entries);
  ~CFTable() override;

  const Entries entries;
};

/// None for bytes that are no UTF-8.
std::optional<std::u16string> utf16(std::string_view bytes);
/// The text of a string that is whole.
std::string utf8(CFStringRef string, std::string_view function);

/// Whether the calling thread is the main thread.
bool isMainThread();

}  // namespace standin
