/// @file
/// What tests need of the machine. One that lacks it fails and names it: nothing is passed over.
/// `./dev test` and `./dev check` run the tests as root.
#pragma once

#include <filesystem>

#include <gtest/gtest.h>
#include <unistd.h>

/// Changing to another account, the helper's rights, mounts.
#define TESSLINE_NEEDS_ROOT() \
  ASSERT_EQ(::geteuid(), 0U) << "needs root: ./dev test runs the tests as root"

/// Linux's view of processes.
#define TESSLINE_NEEDS_PROC() \
  ASSERT_TRUE(std::filesystem::exists("/proc/self/stat")) << "needs /proc to be mounted"
