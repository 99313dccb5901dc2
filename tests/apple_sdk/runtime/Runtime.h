/// @file
/// The parts of the runtime, to each other.
#pragma once

#include "ABI.h"

namespace standin::objc {

/// Ends the process with a line on standard error.
[[noreturn]] void fail(const char* what, const char* which = "", const char* more = "");

/// The one address of that name. Any thread.
Selector uniqueSelector(const char* name);
/// The method that instances of `wanted` have; null if they have none.
Implementation find(const Class* wanted, Selector selector);
/// The method that `wanted` itself defines; null if it does not.
Implementation findOwn(const Class* wanted, Selector selector);
/// Fails for a message to an object that is gone.
void expectAlive(const Object* object);

/// Sends a message.
template <class Result, class... Arguments>
Result send(Object* object, Selector selector, Arguments... arguments) {
  expectAlive(object);
  const Implementation method = find(object->isa, selector);
  if (method == nullptr) fail("unrecognised selector", object->isa->data->name, selector);
  return reinterpret_cast<Result (*)(Object*, Selector, Arguments...)>(method)(object, selector,
                                                                               arguments...);
}

}  // namespace standin::objc
