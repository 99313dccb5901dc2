/// @file
/// How tests control what the stand-in's accessibility functions find.
#pragma once

#include <cstddef>
#include <string>
#include <variant>
#include <vector>

#include <ApplicationServices/ApplicationServices.h>
#include <standin/corefoundation.h>

namespace standin::accessibility {

/// An element, which anyone may hold any number of references to.
struct Element {
  std::size_t number = 0;
};

/// What an attribute is copied as; NULL, in spite of the success, for none.
using Value = std::variant<std::monostate, CFValue, CGPoint, CGSize, CGRect, CFRange, Element>;

struct Attribute {
  Value value;
  AXError copyError = kAXErrorSuccess;
  AXError setError = kAXErrorAttributeUnsupported;
};

// All of these from any thread.

/// A trusted process, no elements, no calls. Nothing may be left of what was copied.
void reset();
void setTrusted(bool isTrusted);
bool isTrusted();
/// Whether values can be made from now on.
void setValuesCanBeCreated(bool can);

/// Without attributes. Elements are counted from 1.
Element makeElement();
void setAttribute(Element element, const std::string& name, const Attribute& attribute);
/// As it is now; one that holds nothing if the element does not have it.
Attribute attribute(Element element, const std::string& name);
/// Within the AXPosition and AXSize of `window`, `hit` is found from now on, instead of what was.
/// An element without a number is found, too, but as NULL.
void show(Element window, Element hit);
/// Nothing is found any more.
void hide();
/// It fails from now on in all that is asked of it.
void destroy(Element element);

/// The calls so far with their arguments, elements by their number and "system" for all of it.
std::vector<std::string> calls();
/// Forgets them.
void clearCalls();

}  // namespace standin::accessibility
