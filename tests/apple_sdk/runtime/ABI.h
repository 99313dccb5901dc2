/// @file
/// What the compiler emits for Objective-C with `-fobjc-runtime=macosx-11` on x86-64: the
/// structures that it writes into sections of their own, field by field.
#pragma once

#include <cstdint>

namespace standin::objc {

struct Class;
struct Protocol;

/// Any object begins with its class.
struct Object {
  Class* isa;
};

/// The address of a name that `uniqueSelector` gave; before the runtime has loaded, of any.
using Selector = const char*;
/// A method, called with the types it was defined with.
using Implementation = void (*)();

struct Method {
  Selector name;
  const char* types;
  Implementation implementation;
};

struct MethodList {
  std::uint32_t entrySize;
  std::uint32_t count;
  Method* begin() { return reinterpret_cast<Method*>(this + 1); }
  Method* end() { return begin() + count; }
};

struct Ivar {
  std::int32_t* offset;
  const char* name;
  const char* type;
  std::uint32_t alignment;
  std::uint32_t size;
};

struct IvarList {
  std::uint32_t entrySize;
  std::uint32_t count;
  Ivar* begin() { return reinterpret_cast<Ivar*>(this + 1); }
  Ivar* end() { return begin() + count; }
};

struct ProtocolList {
  std::uint64_t count;
  Protocol** begin() { return reinterpret_cast<Protocol**>(this + 1); }
  Protocol** end() { return begin() + count; }
};

struct Protocol {
  Object* isa;
  const char* name;
  ProtocolList* adopted;
};

/// What the compiler knows of a class.
struct ClassData {
  static constexpr std::uint32_t isMetaclass = 1;

  std::uint32_t flags;
  std::uint32_t instanceStart;
  std::uint32_t instanceSize;
  std::uint32_t reserved;
  const std::uint8_t* layout;
  const char* name;
  MethodList* methods;
  ProtocolList* protocols;
  IvarList* ivars;
  const std::uint8_t* weakLayout;
  void* properties;
};

struct Class {
  Class* isa;
  Class* superclass;
  void* cache;
  void* table;
  ClassData* data;
};

struct Category {
  const char* name;
  Class* extended;
  MethodList* instanceMethods;
  MethodList* classMethods;
  ProtocolList* protocols;
};

/// What `super` is called with.
struct Super {
  Object* self;
  Class* current;
};

}  // namespace standin::objc
