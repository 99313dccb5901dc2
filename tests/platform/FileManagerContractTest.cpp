#include "tests/platform/FileManagerContract.h"

#include <cerrno>
#include <optional>
#include <string>

#include <gtest/gtest.h>

namespace tessline::test {
namespace {

using platform::FileAttributes;

using FileManagerContract = FileManagerFixture;

TEST_P(FileManagerContract, ExecutableIsAFileThatMayBeExecuted) {
  EXPECT_TRUE(files->isExecutableFile(file("program", "x", 0755)));
  EXPECT_FALSE(files->isExecutableFile(file("data", "x", 0644)));
  EXPECT_FALSE(files->isExecutableFile(folder("folder")));
  EXPECT_FALSE(files->isExecutableFile(at("nothing")));
  EXPECT_FALSE(files->isExecutableFile(at("data") + "/below"));
  EXPECT_FALSE(files->isExecutableFile(""));
}

TEST_P(FileManagerContract, LinkIsExecutableAsWhatItLeadsTo) {
  file("program", "x", 0755);
  file("data", "x", 0644);
  EXPECT_TRUE(files->isExecutableFile(link("to-program", "program")));
  EXPECT_TRUE(files->isExecutableFile(link("to-link", "to-program")));
  EXPECT_FALSE(files->isExecutableFile(link("to-data", "data")));
  EXPECT_FALSE(files->isExecutableFile(link("to-nothing", "nothing")));
}

TEST_P(FileManagerContract, LinksLeadOnFromWhereTheyStand) {
  folder("folder/deep");
  const std::string data = file("folder/data", "x");
  link("folder/deep/up", "../data");
  link("to-deep", "folder/deep");
  link("to-data", data);
  EXPECT_EQ(contentOf(at("to-deep/up")), "x");
  EXPECT_EQ(contentOf(at("to-deep/../data")), "x");
  EXPECT_EQ(contentOf(at("to-data")), "x");
  files->writeAtomically(at("to-deep/new"), bytesOf("y"));
  EXPECT_EQ(contentOf(at("folder/deep/new")), "y");
  expectNoContents(ELOOP, link("to-itself", "to-itself"));
}

TEST_P(FileManagerContract, FilesFoldersAndLinksToThemExist) {
  EXPECT_TRUE(files->fileExists(file("data", "")));
  EXPECT_TRUE(files->fileExists(folder("folder")));
  EXPECT_TRUE(files->fileExists(link("to-folder", "folder")));
  EXPECT_FALSE(files->fileExists(link("to-nothing", "nothing")));
  EXPECT_FALSE(files->fileExists(link("to-itself", "to-itself")));
  EXPECT_FALSE(files->fileExists(at("nothing")));
  EXPECT_FALSE(files->fileExists(""));
}

TEST_P(FileManagerContract, AttributesAreOwnerAndPermissions) {
  const auto expected = [&](std::uint32_t permissions) {
    return FileAttributes{.ownerAccountID = backend->account(), .posixPermissions = permissions};
  };
  EXPECT_EQ(files->attributes(file("data", "", 0640)), expected(0640));
  EXPECT_EQ(files->attributes(file("set-uid", "", 04755)), expected(04755));
  EXPECT_EQ(files->attributes(file("closed", "", 0)), expected(0));
  EXPECT_EQ(files->attributes(link("to-data", "data")), expected(0640));
  files->setPosixPermissions(folder("folder"), 01711);
  EXPECT_EQ(files->attributes(at("folder")), expected(01711));
}

TEST_P(FileManagerContract, AttributesOfNothingAreNone) {
  EXPECT_EQ(files->attributes(at("nothing")), std::nullopt);
  EXPECT_EQ(files->attributes(link("to-nothing", "nothing")), std::nullopt);
}

TEST_P(FileManagerContract, ContentsAreEveryByte) {
  const std::string bytes("a\0\r\n\xFF", 5);
  EXPECT_EQ(contentOf(file("data", bytes)), bytes);
  EXPECT_EQ(contentOf(link("to-data", "data")), bytes);
  EXPECT_EQ(contentOf(file("empty", "")), "");
  const std::string large(3000000, 'x');
  EXPECT_TRUE(contentOf(file("large", large)) == large);
}

TEST_P(FileManagerContract, ContentsOfNoFileAreAnError) {
  expectNoContents(ENOENT, at("nothing"));
  expectNoContents(ENOENT, link("to-nothing", "nothing"));
  expectNoContents(EISDIR, folder("folder"));
  expectNoContents(ENOTDIR, file("data", "x") + "/below");
}

TEST_P(FileManagerContract, WritingReplacesAllOfAFile) {
  file("data", "a long content");
  files->writeAtomically(at("data"), bytesOf("short"));
  EXPECT_EQ(contentOf(at("data")), "short");
  files->writeAtomically(at("data"), {});
  EXPECT_EQ(contentOf(at("data")), "");
}

TEST_P(FileManagerContract, WrittenFileIsForAllToReadAndItsOwnerToWrite) {
  files->writeAtomically(at("data"), bytesOf("x"));
  EXPECT_EQ(permissionsOf(at("data")), 0644U);
}

TEST_P(FileManagerContract, WritingToALinkLeavesWhatItLedTo) {
  const std::string data = file("data", "old");
  files->writeAtomically(link("to-data", "data"), bytesOf("new"));
  EXPECT_EQ(contentOf(at("to-data")), "new");
  EXPECT_EQ(contentOf(data), "old");
}

TEST_P(FileManagerContract, WritingWhereItCannotBeIsAnError) {
  expectNotWritten(ENOENT, at("nothing/data"));
  expectNotWritten(ENOTDIR, file("data", "x") + "/below");
  expectNotWritten(EISDIR, folder("folder"));
  EXPECT_EQ(contentOf(at("data")), "x");
}

TEST_P(FileManagerContract, DirectoryIsMadeWithThoseItStandsIn) {
  const std::string path = at("a/b/c");
  files->createDirectory(path);
  files->writeAtomically(path + "/data", bytesOf("x"));
  EXPECT_EQ(contentOf(path + "/data"), "x");
}

TEST_P(FileManagerContract, DirectoryThatIsThereStaysAsItIs) {
  folder("folder");
  file("folder/data", "x");
  files->setPosixPermissions(at("folder"), 0700);
  files->createDirectory(at("folder"));
  files->createDirectory(link("to-folder", "folder"));
  EXPECT_EQ(contentOf(at("folder/data")), "x");
  EXPECT_EQ(permissionsOf(at("folder")), 0700U);
}

TEST_P(FileManagerContract, DirectoryInPlaceOfAFileIsAnError) {
  expectNotCreated(ENOTDIR, file("data", "x"));
  expectNotCreated(ENOTDIR, at("data/below"));
  EXPECT_EQ(contentOf(at("data")), "x");
}

TEST_P(FileManagerContract, RemovalTakesFilesAndDirectoriesWithAllTheyHold) {
  files->removeItem(file("data", "x"));
  EXPECT_FALSE(files->fileExists(at("data")));
  folder("folder/deep/deeper");
  file("folder/deep/data", "x");
  files->removeItem(at("folder"));
  EXPECT_FALSE(files->fileExists(at("folder")));
  EXPECT_FALSE(files->fileExists(folder("folder") + "/deep"));
}

TEST_P(FileManagerContract, RemovalDoesNotFollowLinks) {
  folder("kept");
  file("kept/data", "x");
  folder("folder");
  link("folder/to-kept", "../kept");
  files->removeItem(at("folder"));
  EXPECT_FALSE(files->fileExists(at("folder")));
  files->removeItem(link("to-kept", "kept"));
  EXPECT_FALSE(files->fileExists(at("to-kept")));
  EXPECT_EQ(contentOf(at("kept/data")), "x");
}

TEST_P(FileManagerContract, RemovalTakesALinkThatLeadsNowhere) {
  files->removeItem(link("to-nothing", "nothing"));
  expectNotRemoved(ENOENT, at("to-nothing"));
}

TEST_P(FileManagerContract, RemovalLeavesWhatIsOnlyCalledAlike) {
  folder("folder");
  file("folder-2", "x");
  files->removeItem(at("folder"));
  EXPECT_EQ(contentOf(at("folder-2")), "x");
}

TEST_P(FileManagerContract, RemovalOfNothingIsAnError) {
  expectNotRemoved(ENOENT, at("nothing"));
  expectNotRemoved(ENOENT, at("nothing/below"));
  expectNotRemoved(ENOTDIR, file("data", "x") + "/below");
}

TEST_P(FileManagerContract, PermissionsAreSetOnWhatALinkLeadsTo) {
  file("data", "x", 0600);
  files->setPosixPermissions(link("to-data", "data"), 0755);
  EXPECT_EQ(permissionsOf(at("data")), 0755U);
}

TEST_P(FileManagerContract, PermissionsOfNothingAreAnError) {
  expectNotPermitted(ENOENT, at("nothing"));
  expectNotPermitted(ENOENT, link("to-nothing", "nothing"));
  expectNotPermitted(ENOTDIR, file("data", "x") + "/below");
}

INSTANTIATE_TEST_SUITE_P(On, FileManagerContract, everyFileBackend, backendName);

}  // namespace
}  // namespace tessline::test
