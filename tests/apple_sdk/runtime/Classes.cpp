// Classes, categories, protocols and selectors. All of them are known when the process starts, so
// that afterwards they are read without a lock.
#include "Runtime.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

using standin::objc::Category;
using standin::objc::Class;
using standin::objc::Implementation;
using standin::objc::Object;
using standin::objc::Protocol;
using standin::objc::ProtocolList;
using standin::objc::Selector;
using standin::objc::Super;

// The linker gives the bounds of sections whose names are identifiers.
extern "C" {
extern Class* __start_objc_classlist[] __attribute__((weak));
extern Class* __stop_objc_classlist[] __attribute__((weak));
extern Category* __start_objc_catlist[] __attribute__((weak));
extern Category* __stop_objc_catlist[] __attribute__((weak));
extern Selector __start_objc_selrefs[] __attribute__((weak));
extern Selector __stop_objc_selrefs[] __attribute__((weak));
void* _objc_empty_cache = nullptr;
}

namespace standin::objc {

namespace {

using Methods = std::unordered_map<Selector, Implementation>;

struct Known {
  Methods own;
  Methods all;  // Inherited ones too.
  std::vector<ProtocolList*> protocols;
  bool isRealised = false;
};

// Never destroyed: objects are let go of until the process ends.
std::unordered_map<const Class*, Known>& classes() {
  static auto& table = *new std::unordered_map<const Class*, Known>;
  return table;
}

std::unordered_map<std::string_view, Class*>& names() {
  static auto& table = *new std::unordered_map<std::string_view, Class*>;
  return table;
}

void add(const Class* to, MethodList* methods) {
  if (methods == nullptr) return;
  for (Method& method : *methods) {
    method.name = uniqueSelector(method.name);
    classes()[to].own[method.name] = method.implementation;
  }
}

// A superclass may have more ivars than its interface tells: those of its subclasses move.
void makeRoomForSuperclass(Class* realised) {
  ClassData& data = *realised->data;
  const std::uint32_t needed = realised->superclass->data->instanceSize;
  if (needed <= data.instanceStart) return;
  if (data.ivars == nullptr || (data.flags & ClassData::isMetaclass) != 0) {
    if (needed > data.instanceSize) data.instanceSize = needed;
    return;
  }
  constexpr std::uint32_t alignment = 16;
  const std::uint32_t by = (needed - data.instanceStart + alignment - 1) / alignment * alignment;
  for (Ivar& ivar : *data.ivars) {
    if (ivar.offset != nullptr) *ivar.offset += static_cast<std::int32_t>(by);
  }
  data.instanceStart += by;
  data.instanceSize += by;
}

void realise(Class* wanted) {
  if (classes()[wanted].isRealised) return;
  classes()[wanted].isRealised = true;
  if (wanted->superclass != nullptr) {
    realise(wanted->superclass);
    makeRoomForSuperclass(wanted);
    classes()[wanted].all = classes()[wanted->superclass].all;
  }
  Known& known = classes()[wanted];
  for (const auto& [name, implementation] : known.own) known.all[name] = implementation;
}

// Before every other initialiser, as those may send messages.
__attribute__((constructor(101))) void load() {
  for (Selector* each = __start_objc_selrefs; each < __stop_objc_selrefs; ++each) {
    *each = uniqueSelector(*each);
  }
  for (Class** each = __start_objc_classlist; each < __stop_objc_classlist; ++each) {
    Class* const loaded = *each;
    names()[loaded->data->name] = loaded;
    add(loaded, loaded->data->methods);
    add(loaded->isa, loaded->isa->data->methods);
    if (loaded->data->protocols != nullptr) {
      classes()[loaded].protocols.push_back(loaded->data->protocols);
    }
  }
  for (Category** each = __start_objc_catlist; each < __stop_objc_catlist; ++each) {
    const Category& category = **each;
    add(category.extended, category.instanceMethods);
    add(category.extended->isa, category.classMethods);
    if (category.protocols != nullptr) {
      classes()[category.extended].protocols.push_back(category.protocols);
    }
  }
  for (Class** each = __start_objc_classlist; each < __stop_objc_classlist; ++each) {
    realise((*each)->isa);
    realise(*each);
  }
}

bool adopts(ProtocolList* list, const char* name) {
  if (list == nullptr) return false;
  for (const Protocol* protocol : *list) {
    if (std::strcmp(protocol->name, name) == 0 || adopts(protocol->adopted, name)) return true;
  }
  return false;
}

Implementation findIn(const Methods& methods, Selector selector) {
  const auto found = methods.find(selector);
  return found == methods.end() ? nullptr : found->second;
}

}  // namespace

void fail(const char* what, const char* which, const char* more) {
  std::fprintf(stderr, "Objective-C stand-in: %s %s %s\n", what, which, more);
  std::abort();
}

Selector uniqueSelector(const char* name) {
  static auto& mutex = *new std::mutex;
  static auto& known = *new std::unordered_set<std::string>;
  const std::lock_guard lock(mutex);
  return known.emplace(name).first->c_str();
}

Implementation find(const Class* wanted, Selector selector) {
  const auto known = classes().find(wanted);
  return known == classes().end() ? nullptr : findIn(known->second.all, selector);
}

Implementation findOwn(const Class* wanted, Selector selector) {
  const auto known = classes().find(wanted);
  return known == classes().end() ? nullptr : findIn(known->second.own, selector);
}

}  // namespace standin::objc

extern "C" {

// What message send calls.

Implementation standin_lookUp(Object* self, Selector selector) {
  standin::objc::expectAlive(self);
  const Implementation method = standin::objc::find(self->isa, selector);
  if (method == nullptr) {
    standin::objc::fail("unrecognised selector sent to", self->isa->data->name, selector);
  }
  return method;
}

Implementation standin_lookUpSuper(Super* super, Selector selector) {
  const Implementation method = standin::objc::find(super->current->superclass, selector);
  if (method == nullptr) {
    standin::objc::fail("unrecognised selector sent to super of", super->current->data->name,
                        selector);
  }
  return method;
}

// What Foundation asks.

bool standin_isKindOf(Object* object, Class* wanted) {
  for (Class* each = object->isa; each != nullptr; each = each->superclass) {
    if (each == wanted) return true;
  }
  return false;
}

bool standin_responds(Object* object, Selector selector) {
  return standin::objc::find(object->isa, selector) != nullptr;
}

const char* standin_nameOf(Class* named) {
  return named->data->name;
}

// What the compiler calls.

Class* objc_opt_class(Object* object) {
  if (object == nullptr) return nullptr;
  const bool isClass = (object->isa->data->flags & standin::objc::ClassData::isMetaclass) != 0;
  return isClass ? reinterpret_cast<Class*>(object) : object->isa;
}

Object* objc_opt_self(Object* object) {
  return object;
}

bool objc_opt_isKindOfClass(Object* object, Class* wanted) {
  return object != nullptr && standin_isKindOf(object, wanted);
}

bool objc_opt_respondsToSelector(Object* object, Selector selector) {
  return object != nullptr && standin_responds(object, selector);
}

bool standin_conforms(Object* object, Protocol* wanted) {
  for (const Class* each = objc_opt_class(object); each != nullptr; each = each->superclass) {
    for (ProtocolList* list : standin::objc::classes()[each].protocols) {
      if (standin::objc::adopts(list, wanted->name)) return true;
    }
  }
  return false;
}

Class* objc_getClass(const char* name) {
  const auto found = standin::objc::names().find(name);
  return found == standin::objc::names().end() ? nullptr : found->second;
}

Selector sel_registerName(const char* name) {
  return standin::objc::uniqueSelector(name);
}

// An exception of C++ passes through methods of Objective-C as through any other function.
asm(R"(
  .globl __objc_personality_v0
  .type __objc_personality_v0, @function
__objc_personality_v0:
  jmp __gxx_personality_v0@PLT
)");
}
