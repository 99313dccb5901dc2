/// @file
/// What the tests of a contract are called.
#pragma once

#include <string>

#include <gtest/gtest.h>

namespace tessline::test {

/// Names the instances of a contract after the choices of backends that they run on.
inline constexpr auto backendName = [](const auto& info) -> std::string { return info.param.name; };

}  // namespace tessline::test
