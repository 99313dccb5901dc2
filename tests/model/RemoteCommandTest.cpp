#include "tessline/model/RemoteCommand.h"

#include <optional>
#include <set>
#include <string_view>

#include <gtest/gtest.h>

namespace tessline::test {
namespace {

TEST(RemoteCommand, HasThirteenCases) {
  EXPECT_EQ(remoteCommandCount, 13u);
}

TEST(RemoteCommand, KeepsItsDeclarationOrder) {
  EXPECT_EQ(ordinal(RemoteCommand::up), 0);
  EXPECT_EQ(ordinal(RemoteCommand::down), 1);
  EXPECT_EQ(ordinal(RemoteCommand::left), 2);
  EXPECT_EQ(ordinal(RemoteCommand::right), 3);
  EXPECT_EQ(ordinal(RemoteCommand::select), 4);
  EXPECT_EQ(ordinal(RemoteCommand::back), 5);
  EXPECT_EQ(ordinal(RemoteCommand::home), 6);
  EXPECT_EQ(ordinal(RemoteCommand::playPause), 7);
  EXPECT_EQ(ordinal(RemoteCommand::volumeUp), 8);
  EXPECT_EQ(ordinal(RemoteCommand::volumeDown), 9);
  EXPECT_EQ(ordinal(RemoteCommand::voice), 10);
  EXPECT_EQ(ordinal(RemoteCommand::mute), 11);
  EXPECT_EQ(ordinal(RemoteCommand::power), 12);
}

TEST(RemoteCommand, ComesBackFromItsOrdinal) {
  for (std::size_t index = 0; index < remoteCommandCount; ++index) {
    const auto command = remoteCommandWithOrdinal(index);
    ASSERT_TRUE(command) << index;
    EXPECT_EQ(ordinal(*command), index);
  }
}

TEST(RemoteCommand, HasNoOrdinalBeyondTwelve) {
  EXPECT_EQ(remoteCommandWithOrdinal(13), std::nullopt);
  EXPECT_EQ(remoteCommandWithOrdinal(255), std::nullopt);
  EXPECT_EQ(remoteCommandWithOrdinal(256), std::nullopt);
  EXPECT_EQ(remoteCommandWithOrdinal(static_cast<std::size_t>(-1)), std::nullopt);
}

TEST(RemoteCommand, IsCalledWhatItsCaseIsCalled) {
  EXPECT_EQ(name(RemoteCommand::up), "up");
  EXPECT_EQ(name(RemoteCommand::select), "select");
  EXPECT_EQ(name(RemoteCommand::playPause), "playPause");
  EXPECT_EQ(name(RemoteCommand::volumeDown), "volumeDown");
  EXPECT_EQ(name(RemoteCommand::voice), "voice");
  EXPECT_EQ(name(RemoteCommand::power), "power");
}

TEST(RemoteCommand, SharesItsNameWithNoOther) {
  const std::set<std::string_view> names(remoteCommandNames.begin(), remoteCommandNames.end());
  EXPECT_EQ(names.size(), remoteCommandCount);
  EXPECT_FALSE(names.contains(""));
}

}  // namespace
}  // namespace tessline::test
