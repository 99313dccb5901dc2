/// @file
/// What the sources of the stand-in's Foundation share.
#pragma once

#include <string>

#include <Foundation/Foundation.h>

namespace standin::foundation {

/// Says what is wrong, and aborts.
[[noreturn]] void fail(const std::string& what);
/// All of it.
std::string textOf(NSString* text);

}  // namespace standin::foundation
