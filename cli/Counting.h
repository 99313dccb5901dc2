/// @file
/// Numbers of things, for people.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace tessline::cli {

/// In groups of three digits: "12,345".
std::string grouped(std::uint64_t count);

/// "1 frame", "2 frames", "12,345 frames".
std::string counted(std::uint64_t count, std::string_view noun, std::string_view plural = "s");

}  // namespace tessline::cli
