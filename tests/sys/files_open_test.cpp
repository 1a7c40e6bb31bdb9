// SPDX-License-Identifier: MIT

// Opening: the flags, the further attempts, the home directory and the missing folders.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdarg>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "sys/files.h"
#include "tests/support/failing_allocation.h"
#include "tests/support/open_descriptors.h"
#include "tests/support/socket_state.h"
#include "tests/support/temporary_home.h"

// ---- What the tests put between the files and the system ----

namespace {

// What was asked for, while somebody listens.
bool is_listening = false;
std::vector<std::string> calls;
int last_flags = 0;

// After that many opens the missing file is there.
size_t opens_before_success = SIZE_MAX;
std::string late_file;

// Called instead of the look-up in the user database.
passwd* (*find_user)(uid_t user, passwd* entry) = nullptr;

}  // namespace

extern "C" {

int __real_open(const char* path, int flags, ...);
int __wrap_open(const char* path, int flags, ...);
void __real_SYS_Sleep(uint32_t milliseconds);
void __wrap_SYS_Sleep(uint32_t milliseconds);
int __real_getpwuid_r(uid_t user, passwd* entry, char* texts, size_t capacity, passwd** found);
int __wrap_getpwuid_r(uid_t user, passwd* entry, char* texts, size_t capacity, passwd** found);

int __wrap_open(const char* path, int flags, ...) {
  va_list arguments;
  va_start(arguments, flags);
  const auto mode = static_cast<mode_t>((flags & O_CREAT) != 0 ? va_arg(arguments, int) : 0);
  va_end(arguments);
  last_flags = flags;
  if (is_listening) {
    if (calls.size() == opens_before_success) close(creat(late_file.c_str(), 0600));
    calls.emplace_back("open");
  }
  return __real_open(path, flags, mode);
}

void __wrap_SYS_Sleep(uint32_t milliseconds) {
  if (is_listening) calls.push_back("sleep " + std::to_string(milliseconds));
  __real_SYS_Sleep(milliseconds);
}

int __wrap_getpwuid_r(uid_t user, passwd* entry, char* texts, size_t capacity, passwd** found) {
  if (find_user == nullptr) return __real_getpwuid_r(user, entry, texts, capacity, found);
  *found = find_user(user, entry);
  return 0;
}

}  // extern "C"

namespace {

using support::Handle;
using support::OpenDescriptors;
using support::TemporaryHome;
using testing::ElementsAre;

constexpr uint32_t kRead = SYS_FILE_FLAG_READ;
constexpr uint32_t kWrite = SYS_FILE_FLAG_WRITE;
constexpr uint32_t kCreate = SYS_FILE_FLAG_CREATE;
constexpr uint32_t kTruncate = SYS_FILE_FLAG_TRUNCATE;
constexpr uint32_t kAppend = SYS_FILE_FLAG_APPEND;
constexpr uint32_t kExclusive = SYS_FILE_FLAG_EXCLUSIVE;

int AccessOf(int32_t handle) { return fcntl(handle, F_GETFL) & O_ACCMODE; }

mode_t PermissionsOf(const std::string& path) {
  struct stat status {};
  EXPECT_EQ(stat(path.c_str(), &status), 0) << path;
  return status.st_mode & 07777;
}

bool IsSameFile(int32_t handle, const std::string& path) {
  struct stat opened {};
  struct stat named {};
  EXPECT_EQ(fstat(handle, &opened), 0);
  EXPECT_EQ(stat(path.c_str(), &named), 0);
  return opened.st_dev == named.st_dev && opened.st_ino == named.st_ino;
}

// ---- SYS_FILE_Open ----

class SysFileOpen : public testing::Test {
 protected:
  TemporaryHome home_;
  std::string missing_ = home_.At("missing");
  std::string file_ = home_.Write("file", "old text");
};

TEST_F(SysFileOpen, ReadAndWriteBitsGiveTheAccess) {
  const struct {
    uint32_t flags;
    int access;
  } cases[] = {
      {0, O_RDONLY},       {kRead, O_RDONLY}, {kWrite, O_WRONLY}, {kRead | kWrite, O_RDWR},
      {kAppend, O_RDONLY},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.flags);
    const Handle handle(SYS_FILE_Open(file_.c_str(), c.flags));
    ASSERT_GE(handle.get(), 0);
    EXPECT_EQ(AccessOf(handle.get()), c.access);
  }
  EXPECT_EQ(home_.Read("file"), "old text");
}

TEST_F(SysFileOpen, FlagsHaveTheirValues) {
  EXPECT_EQ(kRead, 0x01U);
  EXPECT_EQ(kWrite, 0x02U);
  EXPECT_EQ(kCreate, 0x10U);
  EXPECT_EQ(kTruncate, 0x20U);
  EXPECT_EQ(kAppend, 0x40U);
  EXPECT_EQ(kExclusive, 0x80U);
}

TEST_F(SysFileOpen, UnknownFlagsAreIgnored) {
  const Handle handle(SYS_FILE_Open(file_.c_str(), 0xFFFFFF0CU));
  ASSERT_GE(handle.get(), 0);
  EXPECT_EQ(AccessOf(handle.get()), O_RDONLY);
}

TEST_F(SysFileOpen, EveryDescriptorClosesOnExec) {
  for (const uint32_t flags : {kRead, kWrite | kCreate, kWrite | kCreate | kTruncate}) {
    SCOPED_TRACE(flags);
    const Handle handle(SYS_FILE_Open(file_.c_str(), flags));
    EXPECT_EQ(fcntl(handle.get(), F_GETFD), FD_CLOEXEC);
  }
  const Handle made(SYS_FILE_Open(missing_.c_str(), kCreate | kExclusive));
  EXPECT_EQ(fcntl(made.get(), F_GETFD), FD_CLOEXEC);
}

TEST_F(SysFileOpen, MissingFileGivesMinusOneWithoutCreate) {
  EXPECT_EQ(SYS_FILE_Open(missing_.c_str(), kRead), -1);
  EXPECT_EQ(SYS_FILE_Open(missing_.c_str(), kRead | kWrite | kTruncate | kAppend), -1);
  EXPECT_EQ(SYS_FILE_Open(missing_.c_str(), kWrite | kExclusive), -1);
  EXPECT_FALSE(std::filesystem::exists(missing_));
}

TEST_F(SysFileOpen, CreateMakesAFileForAllToRead) {
  const mode_t mask = umask(0);
  const Handle handle(SYS_FILE_Open(missing_.c_str(), kWrite | kCreate));
  umask(mask);
  ASSERT_GE(handle.get(), 0);
  EXPECT_EQ(PermissionsOf(missing_), 0644U);
}

TEST_F(SysFileOpen, CreateLeavesAFileThatIsThere) {
  const Handle handle(SYS_FILE_Open(file_.c_str(), kWrite | kCreate));
  EXPECT_GE(handle.get(), 0);
  EXPECT_EQ(home_.Read("file"), "old text");
}

TEST_F(SysFileOpen, CreateMakesNoFolders) {
  EXPECT_EQ(SYS_FILE_Open(home_.At("folder/file").c_str(), kWrite | kCreate), -1);
}

TEST_F(SysFileOpen, TruncateCutsAFileWithAndWithoutCreate) {
  for (const uint32_t flags : {kWrite | kTruncate, kWrite | kCreate | kTruncate}) {
    SCOPED_TRACE(flags);
    home_.Write("file", "old text");
    const Handle handle(SYS_FILE_Open(file_.c_str(), flags));
    EXPECT_GE(handle.get(), 0);
    EXPECT_EQ(home_.Read("file"), "");
  }
}

TEST_F(SysFileOpen, ExclusiveRefusesAFileThatIsThere) {
  EXPECT_EQ(SYS_FILE_Open(file_.c_str(), kWrite | kCreate | kExclusive), -1);
  EXPECT_EQ(SYS_FILE_Open(file_.c_str(), kWrite | kCreate | kExclusive | kTruncate), -1);
  EXPECT_EQ(home_.Read("file"), "old text");
  const Handle handle(SYS_FILE_Open(missing_.c_str(), kWrite | kCreate | kExclusive | kTruncate));
  EXPECT_GE(handle.get(), 0);
}

TEST_F(SysFileOpen, ExclusiveTakesThePlaceOfTruncate) {
  const Handle handle(SYS_FILE_Open(missing_.c_str(), kWrite | kCreate | kExclusive | kTruncate));
  EXPECT_EQ(last_flags, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC);
}

TEST_F(SysFileOpen, ExclusiveWithoutCreateMeansNothing) {
  const Handle handle(SYS_FILE_Open(file_.c_str(), kWrite | kExclusive));
  EXPECT_GE(handle.get(), 0);
  EXPECT_EQ(home_.Read("file"), "old text");
  const Handle cutting(SYS_FILE_Open(file_.c_str(), kWrite | kExclusive | kTruncate));
  EXPECT_GE(cutting.get(), 0);
  EXPECT_EQ(home_.Read("file"), "");
}

TEST_F(SysFileOpen, AppendStartsAtTheEndAndMayGoBack) {
  const Handle handle(SYS_FILE_Open(file_.c_str(), kWrite | kAppend));
  EXPECT_EQ(lseek(handle.get(), 0, SEEK_CUR), 8);
  EXPECT_EQ(write(handle.get(), "!", 1), 1);
  EXPECT_EQ(lseek(handle.get(), 0, SEEK_SET), 0);
  EXPECT_EQ(write(handle.get(), "OLD", 3), 3);
  EXPECT_EQ(home_.Read("file"), "OLD text!");
}

TEST_F(SysFileOpen, WithoutAppendThePositionIsTheStart) {
  const Handle handle(SYS_FILE_Open(file_.c_str(), kWrite));
  EXPECT_EQ(lseek(handle.get(), 0, SEEK_CUR), 0);
}

TEST_F(SysFileOpen, FailuresGiveMinusOneAndLeaveNoDescriptor) {
  const std::vector<int> before = OpenDescriptors();
  EXPECT_EQ(SYS_FILE_Open(nullptr, kRead), -1);
  EXPECT_EQ(SYS_FILE_Open("", kRead | kWrite | kCreate), -1);
  EXPECT_EQ(SYS_FILE_Open(home_.path().c_str(), kWrite), -1);  // a folder
  EXPECT_EQ(SYS_FILE_Open((file_ + "/x").c_str(), kRead), -1);
  EXPECT_EQ(SYS_FILE_Open(home_.At(std::string(5000, 'n')).c_str(), kWrite | kCreate), -1);
  EXPECT_EQ(OpenDescriptors(), before);
}

// ---- SYS_FILE_OpenRetry ----

class SysFileOpenRetry : public SysFileOpen {
 protected:
  int32_t OpenRetry(const std::string& path, uint32_t flags, uint32_t retry_count,
                    uint32_t delay_ms) {
    is_listening = true;
    const int32_t handle = SYS_FILE_OpenRetry(path.c_str(), flags, retry_count, delay_ms);
    is_listening = false;
    return handle;
  }
  ~SysFileOpenRetry() override {
    calls.clear();
    opens_before_success = SIZE_MAX;
  }
};

TEST_F(SysFileOpenRetry, TriesThreeTimesAndSleepsTwiceForTwoRetriesWithADelayOfTen) {
  EXPECT_EQ(OpenRetry(missing_, kRead, 2, 10), -1);
  EXPECT_THAT(calls, ElementsAre("open", "sleep 10", "open", "sleep 10", "open"));
}

TEST_F(SysFileOpenRetry, DelayOfZeroSleepsNot) {
  EXPECT_EQ(OpenRetry(missing_, kRead, 3, 0), -1);
  EXPECT_THAT(calls, ElementsAre("open", "open", "open", "open"));
}

TEST_F(SysFileOpenRetry, CountOfZeroIsASingleAttempt) {
  EXPECT_EQ(OpenRetry(missing_, kRead, 0, 10), -1);
  EXPECT_THAT(calls, ElementsAre("open"));
}

TEST_F(SysFileOpenRetry, FirstSuccessEndsIt) {
  const Handle handle(OpenRetry(file_, kRead, 5, 10));
  EXPECT_TRUE(IsSameFile(handle.get(), file_));
  EXPECT_THAT(calls, ElementsAre("open"));
}

TEST_F(SysFileOpenRetry, LaterSuccessEndsItToo) {
  late_file = missing_;
  opens_before_success = 2;  // the second open comes behind an open and a sleep
  const Handle handle(OpenRetry(missing_, kRead, 5, 1));
  EXPECT_TRUE(IsSameFile(handle.get(), missing_));
  EXPECT_THAT(calls, ElementsAre("open", "sleep 1", "open"));
}

TEST_F(SysFileOpenRetry, TakesTheSameFlagsInEveryAttempt) {
  late_file = missing_;
  opens_before_success = 2;
  const Handle handle(OpenRetry(missing_, kRead | kWrite, 5, 1));
  EXPECT_EQ(AccessOf(handle.get()), O_RDWR);
}

TEST_F(SysFileOpenRetry, AppendsInTheFirstAndInALaterAttempt) {
  const Handle at_once(OpenRetry(file_, kWrite | kAppend, 1, 0));
  EXPECT_EQ(lseek(at_once.get(), 0, SEEK_CUR), 8);
  calls.clear();
  late_file = missing_;
  opens_before_success = 1;
  const Handle later(OpenRetry(missing_, kWrite | kAppend, 1, 0));
  EXPECT_EQ(lseek(later.get(), 0, SEEK_CUR), 0);
}

TEST_F(SysFileOpenRetry, NullPathGivesMinusOne) {
  EXPECT_EQ(SYS_FILE_OpenRetry(nullptr, kRead, 2, 0), -1);
}

// ---- SYS_FILE_OpenEx ----

class SysFileOpenEx : public SysFileOpen {
 protected:
  ~SysFileOpenEx() override { find_user = nullptr; }

  // Opens "~" itself, which is a folder that may be read.
  bool HomeIs(const std::string& path) {
    const Handle handle(SYS_FILE_OpenEx("~", kRead));
    return handle.get() >= 0 && IsSameFile(handle.get(), path);
  }
};

TEST_F(SysFileOpenEx, NullPathGivesMinusOne) {
  EXPECT_EQ(SYS_FILE_OpenEx(nullptr, kRead), -1);
  EXPECT_EQ(SYS_FILE_OpenEx(nullptr, kWrite | kCreate), -1);
}

TEST_F(SysFileOpenEx, OpensAsOpenDoes) {
  const Handle handle(SYS_FILE_OpenEx(file_.c_str(), kRead | kWrite | kAppend));
  EXPECT_TRUE(IsSameFile(handle.get(), file_));
  EXPECT_EQ(AccessOf(handle.get()), O_RDWR);
  EXPECT_EQ(lseek(handle.get(), 0, SEEK_CUR), 8);
  EXPECT_EQ(SYS_FILE_OpenEx(missing_.c_str(), kRead), -1);
  EXPECT_EQ(SYS_FILE_OpenEx("", kRead), -1);
}

TEST_F(SysFileOpenEx, TildeIsTheValueOfHome) {
  const Handle handle(SYS_FILE_OpenEx("~/file", kRead));
  EXPECT_TRUE(IsSameFile(handle.get(), file_));
  EXPECT_TRUE(HomeIs(home_.path()));
}

TEST_F(SysFileOpenEx, TildeInFrontOfANameStandsDirectlyBeforeIt) {
  setenv("HOME", home_.At("fi").c_str(), 1);
  const Handle handle(SYS_FILE_OpenEx("~le", kRead));
  EXPECT_TRUE(IsSameFile(handle.get(), file_));
}

TEST_F(SysFileOpenEx, TildeElsewhereIsACharacter) {
  home_.Write("~", "");
  const Handle handle(SYS_FILE_OpenEx(home_.At("~").c_str(), kRead));
  EXPECT_TRUE(IsSameFile(handle.get(), home_.At("~")));
}

TEST_F(SysFileOpenEx, EmptyHomeIsSet) {
  setenv("HOME", "", 1);
  const Handle handle(SYS_FILE_OpenEx(("~" + file_).c_str(), kRead));
  EXPECT_TRUE(IsSameFile(handle.get(), file_));
}

TEST_F(SysFileOpenEx, WithoutHomeTheUserDatabaseTells) {
  unsetenv("HOME");
  const passwd* const user = getpwuid(getuid());
  ASSERT_NE(user, nullptr);
  EXPECT_TRUE(HomeIs(user->pw_dir));
}

TEST_F(SysFileOpenEx, UserDatabaseIsAskedForTheProcessesUser) {
  static uid_t asked_for;
  static char folder[512];
  home_.path().copy(folder, sizeof folder - 1);
  find_user = [](uid_t user, passwd* entry) {
    asked_for = user;
    entry->pw_dir = folder;
    return entry;
  };
  unsetenv("HOME");
  asked_for = getuid() + 1;
  EXPECT_TRUE(HomeIs(home_.path()));
  EXPECT_EQ(asked_for, getuid());
}

TEST_F(SysFileOpenEx, HomeGoesBeforeTheUserDatabase) {
  find_user = [](uid_t, passwd*) -> passwd* { return nullptr; };
  EXPECT_TRUE(HomeIs(home_.path()));
}

TEST_F(SysFileOpenEx, UserWithoutAnEntryOrWithoutAHomeDirectoryGivesMinusOne) {
  unsetenv("HOME");
  find_user = [](uid_t, passwd*) -> passwd* { return nullptr; };
  EXPECT_EQ(SYS_FILE_OpenEx(("~" + file_).c_str(), kRead), -1);
  find_user = [](uid_t, passwd* entry) {
    entry->pw_dir = nullptr;
    return entry;
  };
  EXPECT_EQ(SYS_FILE_OpenEx(("~" + file_).c_str(), kRead), -1);
  find_user = [](uid_t, passwd* entry) {
    static char nothing[] = "";
    entry->pw_dir = nothing;
    return entry;
  };
  EXPECT_EQ(SYS_FILE_OpenEx(("~" + file_).c_str(), kRead), -1);
  const Handle handle(SYS_FILE_OpenEx(file_.c_str(), kRead));
  EXPECT_GE(handle.get(), 0) << "a path without a tilde needs no home";
}

// The home directory is so long that only the first character of the rest is left.
TEST_F(SysFileOpenEx, ExpandedPathIsCutAt511Characters) {
  std::string folder = home_.path();
  folder.resize(509, '/');
  setenv("HOME", folder.c_str(), 1);
  const Handle made(SYS_FILE_OpenEx("~/abc", kWrite | kCreate));
  EXPECT_GE(made.get(), 0);
  EXPECT_TRUE(std::filesystem::exists(home_.At("a")));
  EXPECT_FALSE(std::filesystem::exists(home_.At("abc")));
}

TEST_F(SysFileOpenEx, Only511CharactersOfTheHomeDirectoryAreKept) {
  std::string folder = home_.path() + "/";
  folder.resize(510, '/');
  setenv("HOME", (folder + "abc").c_str(), 1);
  const Handle made(SYS_FILE_OpenEx("~/xyz", kWrite | kCreate));
  EXPECT_GE(made.get(), 0);
  EXPECT_TRUE(std::filesystem::is_regular_file(home_.At("a")));
}

TEST_F(SysFileOpenEx, HomeDirectoryOfTheUserDatabaseIsCutAsWell) {
  static char folder[1024];
  std::string text = home_.path() + "/";
  text.resize(510, '/');
  (text + "abc").copy(folder, sizeof folder - 1);
  find_user = [](uid_t, passwd* entry) {
    entry->pw_dir = folder;
    return entry;
  };
  unsetenv("HOME");
  const Handle made(SYS_FILE_OpenEx("~/xyz", kWrite | kCreate));
  EXPECT_GE(made.get(), 0);
  EXPECT_TRUE(std::filesystem::is_regular_file(home_.At("a")));
}

TEST_F(SysFileOpenEx, PathWithoutATildeIsNotCut) {
  std::string path = home_.path();
  path.resize(600, '/');
  const Handle handle(SYS_FILE_OpenEx((path + "file").c_str(), kRead));
  EXPECT_TRUE(IsSameFile(handle.get(), file_));
}

TEST_F(SysFileOpenEx, CreateMakesTheMissingFolders) {
  const Handle handle(SYS_FILE_OpenEx("~/a/b.d/c/new.txt", kWrite | kCreate));
  EXPECT_GE(handle.get(), 0);
  EXPECT_TRUE(IsSameFile(handle.get(), home_.At("a/b.d/c/new.txt")));
}

TEST_F(SysFileOpenEx, WithoutCreateNoFolderIsMade) {
  EXPECT_EQ(SYS_FILE_OpenEx("~/a/b/new.txt", kWrite), -1);
  EXPECT_FALSE(std::filesystem::exists(home_.At("a")));
}

TEST_F(SysFileOpenEx, CreateTakesANameWithoutAFolder) {
  std::filesystem::current_path(home_.path());
  const Handle handle(SYS_FILE_OpenEx("new.txt", kWrite | kCreate));
  EXPECT_TRUE(IsSameFile(handle.get(), home_.At("new.txt")));
}

TEST_F(SysFileOpenEx, CreateWithNeitherFolderNorNameGivesMinusOne) {
  EXPECT_EQ(SYS_FILE_OpenEx("", kWrite | kCreate), -1);
  EXPECT_EQ(SYS_FILE_OpenEx("/", kCreate), -1);  // without CREATE it is opened for reading
  const Handle root(SYS_FILE_OpenEx("/", kRead));
  EXPECT_GE(root.get(), 0);
}

TEST_F(SysFileOpenEx, FolderThatCannotBeMadeGivesMinusOne) {
  EXPECT_EQ(SYS_FILE_OpenEx("~/file/new.txt", kWrite | kCreate), -1);
  EXPECT_EQ(SYS_FILE_OpenEx("~/file/folder/new.txt", kWrite | kCreate), -1);
}

TEST_F(SysFileOpenEx, HomeThatIsAFileGivesMinusOne) {
  setenv("HOME", file_.c_str(), 1);
  EXPECT_EQ(SYS_FILE_OpenEx("~/new.txt", kWrite | kCreate), -1);
  EXPECT_EQ(home_.Read("file"), "old text");
}

TEST_F(SysFileOpenEx, FailuresLeaveNoDescriptor) {
  const std::vector<int> before = OpenDescriptors();
  EXPECT_EQ(SYS_FILE_OpenEx("~/missing", kRead), -1);
  EXPECT_EQ(SYS_FILE_OpenEx(("~/" + std::string(5000, 'n')).c_str(), kWrite | kCreate), -1);
  EXPECT_EQ(SYS_FILE_OpenEx(home_.At(std::string(5000, 'n')).c_str(), kWrite | kCreate), -1);
  EXPECT_EQ(SYS_FILE_OpenEx(home_.At(std::string(5000, 'n') + "/x").c_str(), kCreate), -1);
  EXPECT_EQ(OpenDescriptors(), before);
}

TEST_F(SysFileOpenEx, CreateWithoutMemoryForThePartsGivesMinusOne) {
  const support::FailingAllocation failing(1, support::FailingAllocation::Extent::kFromThenOn);
  EXPECT_EQ(SYS_FILE_OpenEx(missing_.c_str(), kWrite | kCreate), -1);
}

}  // namespace
