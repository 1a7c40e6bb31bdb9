// SPDX-License-Identifier: MIT

// A settings file whose write ends early: the system takes a part, or the process ends in the middle.
//
// The write comes to __wrap_write. The text reaches the file with one write, in place of the old one:
// what a write leaves out is lost, and the next load starts with what is there, or with nothing.
#include <fcntl.h>
#include <sched.h>
#include <signal.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <string>

#include "tests/faults/settings_fixture.h"
#include "tests/support/child_process.h"
#include "tests/support/open_descriptors.h"

namespace {

using registry_test::kEmptyFile;
using registry_test::Key;

enum class End { kShort, kRefused, kKilled };

// Of the next write this many bytes are taken; then comes the end.
struct {
  bool is_on = false;
  size_t bytes = 0;
  End end = End::kShort;
  int calls = 0;
} plan;

enum class KilledAt { kNowhere, kBehindOpening, kBeforeClosing };
KilledAt killed_at = KilledAt::kNowhere;

}  // namespace

extern "C" {
// NOLINTBEGIN(bugprone-reserved-identifier): the linker's names.
ssize_t __real_write(int fd, const void* data, size_t size);
ssize_t __wrap_write(int fd, const void* data, size_t size);
int __real_open(const char* path, int flags, ...);
int __wrap_open(const char* path, int flags, ...);
int __real_close(int fd);
int __wrap_close(int fd);
// NOLINTEND(bugprone-reserved-identifier)
}

ssize_t __wrap_write(int fd, const void* data, size_t size) {
  if (!plan.is_on) return __real_write(fd, data, size);
  ++plan.calls;
  // Only the first write is cut: one that were repeated would be seen by its text.
  if (plan.calls > 1) return __real_write(fd, data, size);
  const ssize_t taken = plan.bytes == 0 ? 0 : __real_write(fd, data, plan.bytes);
  if (plan.end == End::kKilled) raise(SIGKILL);
  if (plan.end == End::kShort) return taken;
  errno = ENOSPC;
  return -1;
}

int __wrap_open(const char* path, int flags, ...) {
  mode_t mode = 0;
  if ((flags & O_CREAT) != 0) {
    va_list arguments;
    va_start(arguments, flags);
    mode = va_arg(arguments, mode_t);
    va_end(arguments);
  }
  const int result = __real_open(path, flags, mode);
  if (killed_at == KilledAt::kBehindOpening && (flags & O_TRUNC) != 0) raise(SIGKILL);
  return result;
}

int __wrap_close(int fd) {
  if (killed_at == KilledAt::kBeforeClosing && (fcntl(fd, F_GETFL) & O_ACCMODE) == O_WRONLY) {
    raise(SIGKILL);
  }
  return __real_close(fd);
}

namespace {

class SettingsWrites : public fault_test::SettingsFaults {
 protected:
  ~SettingsWrites() override { plan = {}; }

  // The values can be read or are gone, and the store works again.
  static void ExpectUsable() {
    {
      const Key key;
      ASSERT_NE(key.handle(), nullptr);
      const int64_t number = key.Dword("N");
      EXPECT_TRUE(number == 2 || number == 1 || number == -2) << number;
    }
    SYS_REG_Flush();
    ExpectWorks();
  }
};

TEST_F(SettingsWrites, ThatEndAtAnyByteLeaveThatManyBytes) {
  const std::string text = FileWith(2);
  for (const End end : {End::kShort, End::kRefused}) {
    for (size_t bytes = 0; bytes < text.size(); ++bytes) {
      SCOPED_TRACE(bytes);
      PutFile(FileWith(1));
      const auto descriptors = support::OpenDescriptors();
      plan = {.is_on = true, .bytes = bytes, .end = end};
      EXPECT_EQ(SetAndFlush(2), 0);
      EXPECT_EQ(plan.calls, 1);
      plan = {};
      EXPECT_EQ(support::OpenDescriptors(), descriptors);
      EXPECT_EQ(File(), text.substr(0, bytes));
      ExpectUsable();
    }
  }
}

TEST_F(SettingsWrites, ThatTheirProcessDoesNotOutliveLeaveThatManyBytes) {
  const std::string text = FileWith(2);
  for (size_t bytes = 0; bytes <= text.size(); ++bytes) {
    SCOPED_TRACE(bytes);
    PutFile(FileWith(1));
    EXPECT_EQ(support::RunInChild([&] {
                plan = {.is_on = true, .bytes = bytes, .end = End::kKilled};
                return SetAndFlush(2);
              }),
              -SIGKILL);
    EXPECT_EQ(File(), text.substr(0, bytes));
    ExpectUsable();
  }
}

TEST_F(SettingsWrites, HaveTruncatedTheFileBefore) {
  PutFile(FileWith(1));
  EXPECT_EQ(support::RunInChild([] {
              const Key key;
              key.SetDword("N", 2);
              killed_at = KilledAt::kBehindOpening;
              SYS_REG_Flush();
              return 0;
            }),
            -SIGKILL);
  EXPECT_EQ(File(), "");
  ExpectUsable();
}

TEST_F(SettingsWrites, AreCompleteBeforeTheFileIsClosed) {
  PutFile(FileWith(1));
  EXPECT_EQ(support::RunInChild([] {
              killed_at = KilledAt::kBeforeClosing;
              return SetAndFlush(2);
            }),
            -SIGKILL);
  EXPECT_EQ(File(), FileWith(2));
  ExpectUsable();
}

// A change that was never flushed dies with its process and leaves the file alone.
TEST_F(SettingsWrites, DoNotHappenBeforeTheFlush) {
  PutFile(FileWith(1));
  EXPECT_EQ(support::RunInChild([] {
              const Key key;
              key.SetDword("N", 2);
              return raise(SIGKILL);
            }),
            -SIGKILL);
  EXPECT_EQ(File(), FileWith(1));
}

// The kernel's own refusal: a file system without room for a second page, which nobody else sees.
TEST_F(SettingsWrites, OnAFullFileSystemLeaveWhatHadRoom) {
  constexpr int kNoMount = 77;
  const int result = support::RunInChild([this] {
    const std::string folder = home_.At(kFolder);
    if (unshare(CLONE_NEWNS) != 0 ||
        mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
        mount("none", folder.c_str(), "tmpfs", 0, "size=4k") != 0) {
      return kNoMount;
    }
    PutFile(FileWith(1));
    {
      const Key key;
      const std::string value(200, 'v');
      for (int i = 0; i < 30; ++i) key.SetString(("S" + std::to_string(i)).c_str(), value);
    }
    SYS_REG_Flush();
    const std::string file = File();
    if (file.size() != 4096 || file.substr(0, 60) != FileWith(1).substr(0, 60)) return 1;
    if (SetAndFlush(7) != 0 || Key().Dword("N") != 7) return 2;
    SYS_REG_Flush();
    return 0;
  });
  if (result == kNoMount) GTEST_SKIP() << "no file system can be mounted here";
  EXPECT_EQ(result, 0);
}

}  // namespace
