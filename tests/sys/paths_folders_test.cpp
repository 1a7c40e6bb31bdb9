// SPDX-License-Identifier: MIT

// Folders: whether they are there, and making them.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include "sys/paths.h"
#include "tests/support/child_process.h"
#include "tests/support/failing_allocation.h"
#include "tests/support/guarded_buffer.h"
#include "tests/support/open_descriptors.h"
#include "tests/support/temporary_home.h"

namespace {

using support::FailingAllocation;
using support::GuardedBuffer;
using support::OpenDescriptors;
using support::TemporaryHome;

namespace fs = std::filesystem;

mode_t PermissionsOf(const std::string& path) {
  struct stat status {};
  EXPECT_EQ(stat(path.c_str(), &status), 0) << path;
  return status.st_mode & 07777;
}

// Works in a home directory of its own.
class Folders : public testing::Test {
 protected:
  Folders() { fs::current_path(home_.path()); }

  TemporaryHome home_;
};

using SysDirOfPathExists = Folders;
using SysCreateDirRecursive = Folders;
using SysGetAppSupportDir = Folders;

// ---- SYS_DirOfPathExists ----

TEST_F(SysDirOfPathExists, AsksForTheDirectoryPartAlone) {
  fs::create_directory("sub");
  home_.Write("file", "");
  const struct {
    const char* path;
    int32_t expected;
  } cases[] = {
      {"sub/missing.txt", 1},
      {"sub/", 1},
      {"sub//x", 1},  // the second slash goes with the first
      {"./x", 1},
      {"/dev/x", 1},
      {"missing/x", 0},
      {"sub/missing/x", 0},
      {"file/x", 1},  // a file can be opened as well
      {"file/y/x", 0},
      {"sub", 0},  // no directory part
      {"", 0},
      {"/x", 0},  // nor here
      {"//x", 0},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.path);
    EXPECT_EQ(SYS_DirOfPathExists(c.path), c.expected);
  }
  EXPECT_EQ(SYS_DirOfPathExists(home_.At("sub/x").c_str()), 1);
}

TEST_F(SysDirOfPathExists, NullAndLongPathsGiveZero) {
  const std::string n(5000, 'n');
  EXPECT_EQ(SYS_DirOfPathExists(nullptr), 0);
  EXPECT_EQ(SYS_DirOfPathExists(n.c_str()), 0);
  EXPECT_EQ(SYS_DirOfPathExists((n + "/x").c_str()), 0);
  EXPECT_EQ(SYS_DirOfPathExists((home_.path() + "/" + n).c_str()), 1);
}

TEST_F(SysDirOfPathExists, NoMemoryGivesZero) {
  const FailingAllocation failing(1);
  EXPECT_EQ(SYS_DirOfPathExists("./x"), 0);
}

TEST_F(SysDirOfPathExists, LeavesNoDescriptor) {
  const std::vector<int> before = OpenDescriptors();
  EXPECT_EQ(SYS_DirOfPathExists("./x"), 1);
  EXPECT_EQ(OpenDescriptors(), before);
}

// ---- SYS_CreateDirRecursive ----

TEST_F(SysCreateDirRecursive, MakesAFolderAndAllInFrontOfIt) {
  EXPECT_EQ(SYS_CreateDirRecursive("x/y/z"), 0);
  EXPECT_TRUE(fs::is_directory("x/y/z"));
  EXPECT_EQ(SYS_CreateDirRecursive(home_.At("x/y/z2/w.d").c_str()), 0);
  EXPECT_TRUE(fs::is_directory("x/y/z2/w.d"));
  EXPECT_EQ(SYS_CreateDirRecursive("plain"), 0);
  EXPECT_TRUE(fs::is_directory("plain"));
}

TEST_F(SysCreateDirRecursive, FolderThatIsThereIsSuccess) {
  fs::create_directories("x/y");
  EXPECT_EQ(SYS_CreateDirRecursive("x/y"), 0);
  EXPECT_EQ(SYS_CreateDirRecursive("x/y/"), 0);
  EXPECT_EQ(SYS_CreateDirRecursive("x//y"), 0);
  EXPECT_EQ(SYS_CreateDirRecursive("."), 0);
  EXPECT_EQ(SYS_CreateDirRecursive("/"), 0);
}

TEST_F(SysCreateDirRecursive, FileInThePlaceOfAFolderGivesMinusOne) {
  home_.Write("file", "content");
  EXPECT_EQ(SYS_CreateDirRecursive("file"), -1);
  EXPECT_EQ(SYS_CreateDirRecursive("file/x"), -1);
  EXPECT_EQ(SYS_CreateDirRecursive("file/x/y"), -1);
  EXPECT_EQ(home_.Read("file"), "content");
}

TEST_F(SysCreateDirRecursive, LinkCountsAsWhatItLeadsTo) {
  fs::create_directory("folder");
  home_.Write("file", "");
  fs::create_symlink("folder", "to_folder");
  fs::create_symlink("file", "to_file");
  fs::create_symlink("missing", "to_nothing");
  fs::create_symlink("circle", "circle");
  EXPECT_EQ(SYS_CreateDirRecursive("to_folder"), 0);
  EXPECT_EQ(SYS_CreateDirRecursive("to_folder/x"), 0);
  EXPECT_TRUE(fs::is_directory("folder/x"));
  EXPECT_EQ(SYS_CreateDirRecursive("to_file"), -1);
  EXPECT_EQ(SYS_CreateDirRecursive("to_nothing"), -1);
  EXPECT_EQ(SYS_CreateDirRecursive("to_nothing/x"), -1);
  EXPECT_EQ(SYS_CreateDirRecursive("circle"), -1);
  EXPECT_FALSE(fs::exists("missing"));
}

// The folder of "x/" is "x", which is made first; then "x/" is there and cannot be made.
TEST_F(SysCreateDirRecursive, SlashAtTheEndOfAMissingFolderGivesMinusOneAndMakesIt) {
  EXPECT_EQ(SYS_CreateDirRecursive("x/"), -1);
  EXPECT_TRUE(fs::is_directory("x"));
  EXPECT_EQ(SYS_CreateDirRecursive("x/"), 0);
  EXPECT_EQ(SYS_CreateDirRecursive("p//q"), -1);
  EXPECT_TRUE(fs::is_directory("p"));
  EXPECT_FALSE(fs::exists("p/q"));
}

TEST_F(SysCreateDirRecursive, NullAndEmptyPathsGiveMinusOne) {
  EXPECT_EQ(SYS_CreateDirRecursive(nullptr), -1);
  EXPECT_EQ(SYS_CreateDirRecursive(""), -1);
}

TEST_F(SysCreateDirRecursive, PermissionsAreAllButThoseOfTheMask) {
  const mode_t mask = umask(0);
  EXPECT_EQ(SYS_CreateDirRecursive("open/to/all"), 0);
  umask(027);
  EXPECT_EQ(SYS_CreateDirRecursive("masked/twice"), 0);
  umask(mask);
  EXPECT_EQ(PermissionsOf("open"), 0777U);
  EXPECT_EQ(PermissionsOf("open/to/all"), 0777U);
  EXPECT_EQ(PermissionsOf("masked"), 0750U);
  EXPECT_EQ(PermissionsOf("masked/twice"), 0750U);
}

TEST_F(SysCreateDirRecursive, FolderThatMayNotBeMadeGivesMinusOne) {
  fs::create_directory("closed");
  ASSERT_EQ(chmod("closed", 0555), 0);
  ASSERT_EQ(chmod(".", 0777), 0);
  const int result = support::RunInChild([] {
    // The superuser may make it all the same.
    if (geteuid() == 0 && setuid(65534) != 0) return 2;
    return SYS_CreateDirRecursive("closed/x/y") == -1 ? 0 : 1;
  });
  EXPECT_EQ(result, 0);
  EXPECT_FALSE(fs::exists("closed/x"));
}

std::string Chain(int folders) {
  std::string path = "x";
  for (int i = 1; i < folders; ++i) path += "/x";
  return path;
}

TEST_F(SysCreateDirRecursive, ChainOf128FoldersIsTheLongest) {
  EXPECT_EQ(SYS_CreateDirRecursive(Chain(129).c_str()), -1);
  EXPECT_FALSE(fs::exists("x"));
  EXPECT_EQ(SYS_CreateDirRecursive(Chain(128).c_str()), 0);
  EXPECT_TRUE(fs::is_directory(Chain(128)));
}

TEST_F(SysCreateDirRecursive, ExistingFolderInFrontCountsIntoTheChain) {
  EXPECT_EQ(SYS_CreateDirRecursive(("./" + Chain(128)).c_str()), -1);
  EXPECT_EQ(SYS_CreateDirRecursive(("./" + Chain(127)).c_str()), 0);
}

TEST_F(SysCreateDirRecursive, EveryExitTakesItsCountBack) {
  home_.Write("file", "");
  for (int i = 0; i < 200; ++i) {
    EXPECT_EQ(SYS_CreateDirRecursive(nullptr), -1);
    EXPECT_EQ(SYS_CreateDirRecursive("file"), -1);
    EXPECT_EQ(SYS_CreateDirRecursive("file/x"), -1);
    EXPECT_EQ(SYS_CreateDirRecursive("."), 0);
  }
  EXPECT_EQ(SYS_CreateDirRecursive(Chain(128).c_str()), 0);
}

TEST_F(SysCreateDirRecursive, PathOfFiveThousandCharactersGivesMinusOne) {
  const std::string n(5000, 'n');
  EXPECT_EQ(SYS_CreateDirRecursive(n.c_str()), -1);
  EXPECT_EQ(SYS_CreateDirRecursive(home_.At(n).c_str()), -1);
  EXPECT_EQ(SYS_CreateDirRecursive((n + "/x").c_str()), -1);
  EXPECT_EQ(SYS_CreateDirRecursive(("new/folder/" + n).c_str()), -1);
  EXPECT_EQ(SYS_CreateDirRecursive(Chain(2500).c_str()), -1);
  EXPECT_TRUE(fs::is_empty("."));
}

// What is made then is the folder that the cut path names.
TEST_F(SysCreateDirRecursive, FolderInFrontIsCutAt511Characters) {
  const std::string in_front =
      std::string(200, 'a') + "/" + std::string(200, 'b') + "/" + std::string(200, 'c');
  EXPECT_EQ(SYS_CreateDirRecursive((in_front + "/new").c_str()), -1);
  EXPECT_TRUE(fs::is_directory(in_front.substr(0, 511)));
  EXPECT_FALSE(fs::exists(in_front));
}

TEST_F(SysCreateDirRecursive, NoMemoryGivesMinusOne) {
  {
    const FailingAllocation failing(1);
    EXPECT_EQ(SYS_CreateDirRecursive("x"), -1);
  }
  EXPECT_EQ(SYS_CreateDirRecursive("x"), 0);
}

TEST_F(SysCreateDirRecursive, ThreadsMakeTheirFoldersSideBySide) {
  std::atomic<int> failures = 0;
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([i, &failures] {
      for (int round = 0; round < 10; ++round) {
        const std::string path = "t" + std::to_string(i) + "/" + std::to_string(round) + "/x/y";
        if (SYS_CreateDirRecursive(path.c_str()) != 0) ++failures;
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(failures, 0);
  EXPECT_EQ(SYS_CreateDirRecursive(Chain(128).c_str()), 0) << "no count was lost";
}

// ---- SYS_GetAppSupportDir ----

TEST_F(SysGetAppSupportDir, StoresAndMakesTheFolder) {
  const std::string expected = home_.At("Library/Application Support/TARVEN");
  for (int i = 0; i < 2; ++i) {
    GuardedBuffer output(512);
    EXPECT_EQ(SYS_GetAppSupportDir(output.data(), 512), 0);
    EXPECT_EQ(output.data(), expected);
    EXPECT_TRUE(fs::is_directory(expected));
  }
}

TEST_F(SysGetAppSupportDir, WithoutOutputOrCapacityGivesMinusOne) {
  GuardedBuffer output(8);
  EXPECT_EQ(SYS_GetAppSupportDir(nullptr, 512), -1);
  EXPECT_EQ(SYS_GetAppSupportDir(output.data(), 0), -1);
  EXPECT_EQ(SYS_GetAppSupportDir(nullptr, 0), -1);
  EXPECT_TRUE(output.IsUntouched(0, 8));
  EXPECT_TRUE(fs::is_empty("."));
}

TEST_F(SysGetAppSupportDir, WithoutHomeGivesMinusOne) {
  unsetenv("HOME");
  GuardedBuffer output(512);
  EXPECT_EQ(SYS_GetAppSupportDir(output.data(), 512), -1);
  EXPECT_TRUE(output.IsUntouched(0, 512));
}

TEST_F(SysGetAppSupportDir, HomeThatIsAFileGivesMinusOne) {
  setenv("HOME", home_.Write("file", "").c_str(), 1);
  GuardedBuffer output(512);
  EXPECT_EQ(SYS_GetAppSupportDir(output.data(), 512), -1);
  EXPECT_TRUE(output.IsUntouched(0, 512));
}

TEST_F(SysGetAppSupportDir, FileInTheWayGivesMinusOne) {
  fs::create_directory("Library");
  home_.Write("Library/Application Support", "");
  GuardedBuffer output(512);
  EXPECT_EQ(SYS_GetAppSupportDir(output.data(), 512), -1);
}

TEST_F(SysGetAppSupportDir, MissingHomeIsMade) {
  setenv("HOME", home_.At("new/home").c_str(), 1);
  GuardedBuffer output(512);
  EXPECT_EQ(SYS_GetAppSupportDir(output.data(), 512), 0);
  EXPECT_TRUE(fs::is_directory("new/home/Library/Application Support/TARVEN"));
}

TEST_F(SysGetAppSupportDir, SmallCapacityCutsTheFolderItself) {
  const std::string expected = home_.At("Library/App");
  const auto capacity = static_cast<uint32_t>(expected.size() + 1);
  GuardedBuffer output(capacity);
  EXPECT_EQ(SYS_GetAppSupportDir(output.data(), capacity), 0);
  EXPECT_EQ(output.data(), expected);
  EXPECT_TRUE(fs::is_directory(expected));
  EXPECT_FALSE(fs::exists("Library/Application Support"));
}

TEST_F(SysGetAppSupportDir, CapacityOfOneLeavesNothingToMake) {
  GuardedBuffer output(1);
  EXPECT_EQ(SYS_GetAppSupportDir(output.data(), 1), -1);
}

TEST_F(SysGetAppSupportDir, FolderIsCutAt511CharactersWhateverTheCapacity) {
  std::string long_home = home_.path();
  long_home.resize(504, '/');
  setenv("HOME", long_home.c_str(), 1);
  for (const uint32_t capacity : {512U, 513U, 4096U, UINT32_MAX}) {
    SCOPED_TRACE(capacity);
    GuardedBuffer output(512);
    EXPECT_EQ(SYS_GetAppSupportDir(output.data(), capacity), 0);
    EXPECT_EQ(output.data(), long_home + "/Librar");
  }
  EXPECT_TRUE(fs::is_directory("Librar"));
  EXPECT_FALSE(fs::exists("Library"));
}

TEST_F(SysGetAppSupportDir, HomeOfFiveThousandCharactersGivesMinusOne) {
  setenv("HOME", home_.At(std::string(5000, 'n')).c_str(), 1);
  GuardedBuffer output(512);
  EXPECT_EQ(SYS_GetAppSupportDir(output.data(), 512), -1);
}

}  // namespace
