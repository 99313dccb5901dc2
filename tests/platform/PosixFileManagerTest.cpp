#include "tests/platform/FileManagerContract.h"
#include "tests/support/Needs.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <iterator>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace tessline::test {
namespace {

namespace fs = std::filesystem;

using platform::FileAttributes;

class PosixFileManager : public FileManagerFixture {
 protected:
  std::size_t countOfFiles() {
    return static_cast<std::size_t>(
        std::distance(fs::directory_iterator(backend->directory()), fs::directory_iterator()));
  }
  // In a process of its own, with the rights of an account that owns nothing; in this one's if it
  // has none to give up.
  void asNobody(const std::function<void()>& work) {
    constexpr id_t nobody = 65534;
    constexpr int failed = 1;
    fs::permissions(backend->directory(),
                    fs::perms::owner_all | fs::perms::group_exec | fs::perms::others_exec);
    const pid_t child = ::fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
      if (::geteuid() == 0 && (::setgid(nobody) != 0 || ::setuid(nobody) != 0)) ::_exit(failed);
      work();
      std::fflush(nullptr);
      ::_exit(HasFailure() ? failed : 0);
    }
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
  }
};

// A reader would see a mixture, a part or nothing otherwise.
TEST_P(PosixFileManager, ReaderNeverSeesHalfOfAFile) {
  const std::array contents = {std::string(700000, 'a'), std::string(300000, 'b')};
  const std::string path = file("data", contents[0]);
  std::atomic<bool> isDone{false};
  std::thread writer([&] {
    for (std::size_t count = 1; count <= 100; ++count) {
      files->writeAtomically(path, bytesOf(contents[count % 2]));
    }
    isDone = true;
  });
  int torn = 0;
  while (!isDone) {
    const std::string seen = contentOf(path);
    if (seen != contents[0] && seen != contents[1]) ++torn;
  }
  writer.join();
  EXPECT_EQ(torn, 0);
}

TEST_P(PosixFileManager, WritersDoNotMix) {
  const std::array contents = {std::string(70000, 'a'), std::string(30000, 'b')};
  std::vector<std::thread> writers;
  for (const std::string& content : contents) {
    writers.emplace_back([&] {
      for (int count = 0; count < 50; ++count) files->writeAtomically(at("data"), bytesOf(content));
    });
  }
  for (std::thread& writer : writers) writer.join();
  const std::string seen = contentOf(at("data"));
  EXPECT_TRUE(seen == contents[0] || seen == contents[1]);
  EXPECT_EQ(countOfFiles(), 1U);
}

TEST_P(PosixFileManager, FailedWritingLeavesTheOldFileAndNoOther) {
  const std::string path = file("data", "old");
  rlimit before{};
  ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &before), 0);
  const auto ignored = std::signal(SIGXFSZ, SIG_IGN);
  rlimit limit = before;
  limit.rlim_cur = 1000;
  ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &limit), 0);
  const std::string large(2000, 'x');
  expectError(EFBIG, path, [&] { files->writeAtomically(path, bytesOf(large)); });
  ::setrlimit(RLIMIT_FSIZE, &before);
  std::signal(SIGXFSZ, ignored);
  EXPECT_EQ(contentOf(path), "old");
  EXPECT_EQ(countOfFiles(), 1U);
  expectNotWritten(EISDIR, folder("folder"));
  EXPECT_EQ(countOfFiles(), 2U);
}

TEST_P(PosixFileManager, LongestNameCanBeWritten) {
  const std::string path = at(std::string(255, 'n'));
  files->writeAtomically(path, bytesOf("x"));
  EXPECT_EQ(contentOf(path), "x");
  expectNotWritten(ENAMETOOLONG, path + "n");
}

TEST_P(PosixFileManager, DescriptorsAreClosed) {
  const auto countOfDescriptors = [] {
    return std::distance(fs::directory_iterator("/dev/fd"), fs::directory_iterator());
  };
  const auto before = countOfDescriptors();
  const std::string path = file("data", "x");
  contentOf(path);
  expectNoContents(EISDIR, folder("folder"));
  expectNotWritten(EISDIR, at("folder"));
  files->removeItem(at("folder"));
  EXPECT_EQ(countOfDescriptors(), before);
}

TEST_P(PosixFileManager, OwnerIsTheFilesNotTheReaders) {
  file("data", "x", 0604);
  const auto owner = backend->account();
  asNobody([&] {
    EXPECT_EQ(files->attributes(at("data")),
              (FileAttributes{.ownerAccountID = owner, .posixPermissions = 0604}));
  });
}

TEST_P(PosixFileManager, ExecutableForOthersIsNotForMe) {
  TESSLINE_NEEDS_ROOT();
  file("for-owner", "x", 0700);
  file("for-all", "x", 0755);
  asNobody([&] {
    EXPECT_FALSE(files->isExecutableFile(at("for-owner")));
    EXPECT_TRUE(files->isExecutableFile(at("for-all")));
  });
}

TEST_P(PosixFileManager, WhatIsDeniedIsAnError) {
  file("closed", "x", 0);
  folder("folder");
  file("folder/data", "x", 0644);
  files->setPosixPermissions(at("folder"), 0555);
  asNobody([&] {
    expectNoContents(EACCES, at("closed"));
    expectNotWritten(EACCES, at("folder/data"));
    expectNotWritten(EACCES, at("folder/new"));
    expectNotCreated(EACCES, at("folder/new"));
    expectNotRemoved(EACCES, at("folder/data"));
  });
  files->setPosixPermissions(at("folder"), 0755);
  EXPECT_EQ(contentOf(at("folder/data")), "x");
}

TEST_P(PosixFileManager, PermissionsOfAnothersFileAreDenied) {
  TESSLINE_NEEDS_ROOT();
  file("data", "x", 0644);
  asNobody([&] { expectNotPermitted(EPERM, at("data")); });
  EXPECT_EQ(permissionsOf(at("data")), 0644U);
}

TEST_P(PosixFileManager, WhatCannotBeLookedAtIsNotThere) {
  folder("folder");
  file("folder/data", "x", 0755);
  files->setPosixPermissions(at("folder"), 0);
  asNobody([&] {
    EXPECT_FALSE(files->fileExists(at("folder/data")));
    EXPECT_FALSE(files->isExecutableFile(at("folder/data")));
    EXPECT_EQ(files->attributes(at("folder/data")), std::nullopt);
    expectNotRemoved(EACCES, at("folder/data"));
  });
  files->setPosixPermissions(at("folder"), 0755);
}

INSTANTIATE_TEST_SUITE_P(On, PosixFileManager, hostFilesAlone, backendName);

}  // namespace
}  // namespace tessline::test
