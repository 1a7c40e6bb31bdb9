// SPDX-License-Identifier: MIT

// Handles that are open, and files by name. files_open_test.cpp opens, files_map_test.cpp maps.
#include "sys/files.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <time.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "tests/support/child_process.h"
#include "tests/support/guarded_buffer.h"
#include "tests/support/open_descriptors.h"
#include "tests/support/socket_state.h"
#include "tests/support/temporary_home.h"

namespace {

using support::ClosedDescriptor;
using support::GuardedBuffer;
using support::Handle;
using support::OpenDescriptors;
using support::TemporaryHome;

off_t PositionOf(int32_t handle) { return lseek(handle, 0, SEEK_CUR); }

// A file of given content in a folder of its own, opened for reading and writing.
class SysFile : public testing::Test {
 protected:
  int32_t OpenFile(const std::string& content) {
    home_.Write("file", content);
    handle_.emplace(open(path_.c_str(), O_RDWR | O_CLOEXEC));
    return handle_->get();
  }

  TemporaryHome home_;
  std::string path_ = home_.At("file");
  std::optional<Handle> handle_;
};

using SysFileClose = SysFile;
using SysFileRead = SysFile;
using SysFileReadLine = SysFile;
using SysFileWrite = SysFile;
using SysFileSeek = SysFile;
using SysFileGetSize = SysFile;
using SysFileTruncate = SysFile;
using SysFileDelete = SysFile;
using SysFileExists = SysFile;
using SysFileIsReadOnly = SysFile;

// ---- Closing ----

TEST_F(SysFileClose, ReleasesTheDescriptor) {
  const std::vector<int> before = OpenDescriptors();
  const int32_t handle = SYS_FILE_Open(home_.Write("file", "").c_str(), SYS_FILE_FLAG_READ);
  ASSERT_GE(handle, 0);
  SYS_FILE_Close(handle);
  EXPECT_EQ(OpenDescriptors(), before);
}

TEST_F(SysFileClose, HandlesThatAreNotOpenAreIgnored) {
  const std::vector<int> before = OpenDescriptors();
  SYS_FILE_Close(-1);
  SYS_FILE_Close(ClosedDescriptor());
  EXPECT_EQ(OpenDescriptors(), before);
}

// ---- Reading ----

TEST_F(SysFileRead, FillsTheBufferFromThePosition) {
  const int32_t handle = OpenFile("abcdefgh");
  GuardedBuffer buffer(3);
  SYS_FILE_Read(handle, buffer.data(), 3);
  EXPECT_EQ(std::string(buffer.data(), 3), "abc");
  SYS_FILE_Read(handle, buffer.data(), 3);
  EXPECT_EQ(std::string(buffer.data(), 3), "def");
  EXPECT_EQ(PositionOf(handle), 6);
}

TEST_F(SysFileRead, LeavesWhatTheFileDoesNotFill) {
  const int32_t handle = OpenFile("abc");
  GuardedBuffer buffer(8);
  SYS_FILE_Read(handle, buffer.data(), 8);
  EXPECT_EQ(std::string(buffer.data(), 3), "abc");
  EXPECT_TRUE(buffer.IsUntouched(3, 8));
  SYS_FILE_Read(handle, buffer.data() + 3, 5);
  EXPECT_TRUE(buffer.IsUntouched(3, 8));
}

TEST_F(SysFileRead, BadHandlesAndBuffersStoreNothing) {
  GuardedBuffer buffer(8);
  SYS_FILE_Read(-1, buffer.data(), 8);
  SYS_FILE_Read(ClosedDescriptor(), buffer.data(), 8);
  const Handle write_only(open(home_.Write("file", "abc").c_str(), O_WRONLY));
  SYS_FILE_Read(write_only.get(), buffer.data(), 8);
  EXPECT_TRUE(buffer.IsUntouched(0, 8));
  SYS_FILE_Read(OpenFile("abc"), nullptr, 3);
}

TEST_F(SysFileRead, TakesWhatIsThereOnceAndDoesNotWaitForMore) {
  const support::Pipe pipe = support::MakePipe();
  const Handle reading(pipe.reading);
  const Handle writing(pipe.writing);
  ASSERT_EQ(write(writing.get(), "ab", 2), 2);
  GuardedBuffer buffer(8);
  SYS_FILE_Read(reading.get(), buffer.data(), 8);
  EXPECT_EQ(std::string(buffer.data(), 2), "ab");
  EXPECT_TRUE(buffer.IsUntouched(2, 8));
}

// ---- Lines ----

TEST_F(SysFileReadLine, GivesALineWithItsLineFeedAndNotALastOneWithout) {
  const int32_t handle = OpenFile("ab\ncd");
  GuardedBuffer buffer(10);
  EXPECT_EQ(SYS_FILE_ReadLine(handle, buffer.data(), 10), 3);
  EXPECT_STREQ(buffer.data(), "ab\n");
  EXPECT_TRUE(buffer.IsUntouched(4, 10));
  EXPECT_EQ(PositionOf(handle), 3);
  EXPECT_EQ(SYS_FILE_ReadLine(handle, buffer.data(), 10), -1);
  EXPECT_EQ(PositionOf(handle), 5) << "the last line is read all the same";
}

TEST_F(SysFileReadLine, EmptyLineIsOneByteLong) {
  const int32_t handle = OpenFile("\n\n");
  GuardedBuffer buffer(10);
  for (int i = 0; i < 2; ++i) {
    EXPECT_EQ(SYS_FILE_ReadLine(handle, buffer.data(), 10), 1);
    EXPECT_STREQ(buffer.data(), "\n");
  }
  EXPECT_EQ(SYS_FILE_ReadLine(handle, buffer.data(), 10), -1);
}

TEST_F(SysFileReadLine, StopsBehindAByteFFAndKeepsIt) {
  const int32_t handle = OpenFile(
      "ab\xFF"
      "cd\xFE\n");
  GuardedBuffer buffer(10);
  EXPECT_EQ(SYS_FILE_ReadLine(handle, buffer.data(), 10), 3);
  EXPECT_STREQ(buffer.data(), "ab\xFF");
  EXPECT_EQ(SYS_FILE_ReadLine(handle, buffer.data(), 10), 4);
  EXPECT_STREQ(buffer.data(), "cd\xFE\n");
}

TEST_F(SysFileReadLine, OtherControlCharactersAreText) {
  const int32_t handle = OpenFile(std::string("a\r\0b\n", 5));
  GuardedBuffer buffer(10);
  EXPECT_EQ(SYS_FILE_ReadLine(handle, buffer.data(), 10), 5);
  EXPECT_EQ(std::string(buffer.data(), 6), std::string("a\r\0b\n\0", 6));
}

TEST_F(SysFileReadLine, LongLineComesInPiecesOfCapacityLessOne) {
  const int32_t handle = OpenFile("abcdef\n");
  GuardedBuffer buffer(4);
  EXPECT_EQ(SYS_FILE_ReadLine(handle, buffer.data(), 4), 3);
  EXPECT_STREQ(buffer.data(), "abc");
  EXPECT_EQ(SYS_FILE_ReadLine(handle, buffer.data(), 4), 3);
  EXPECT_STREQ(buffer.data(), "def");
  EXPECT_EQ(SYS_FILE_ReadLine(handle, buffer.data(), 4), 1);
  EXPECT_STREQ(buffer.data(), "\n");
}

TEST_F(SysFileReadLine, PieceThatFillsTheBufferNeedsNoLineFeed) {
  const int32_t handle = OpenFile("abc");
  GuardedBuffer buffer(4);
  EXPECT_EQ(SYS_FILE_ReadLine(handle, buffer.data(), 4), 3);
  EXPECT_STREQ(buffer.data(), "abc");
}

TEST_F(SysFileReadLine, CapacityOfTwoGivesSingleBytes) {
  const int32_t handle = OpenFile("ab");
  GuardedBuffer buffer(2);
  EXPECT_EQ(SYS_FILE_ReadLine(handle, buffer.data(), 2), 1);
  EXPECT_STREQ(buffer.data(), "a");
}

TEST_F(SysFileReadLine, CapacityBelowTwoReadsNothing) {
  const int32_t handle = OpenFile("ab\n");
  GuardedBuffer buffer(2);
  EXPECT_EQ(SYS_FILE_ReadLine(handle, buffer.data(), 0), 0);
  EXPECT_TRUE(buffer.IsUntouched(0, 2));
  EXPECT_EQ(SYS_FILE_ReadLine(handle, nullptr, 0), 0);
  EXPECT_EQ(SYS_FILE_ReadLine(handle, buffer.data(), 1), 0);
  EXPECT_STREQ(buffer.data(), "");
  EXPECT_TRUE(buffer.IsUntouched(1, 2));
  EXPECT_EQ(PositionOf(handle), 0);
}

TEST_F(SysFileReadLine, BadHandleGivesMinusOne) {
  GuardedBuffer buffer(8);
  EXPECT_EQ(SYS_FILE_ReadLine(-1, buffer.data(), 8), -1);
  EXPECT_EQ(SYS_FILE_ReadLine(ClosedDescriptor(), buffer.data(), 8), -1);
  EXPECT_TRUE(buffer.IsUntouched(0, 8));
  EXPECT_EQ(SYS_FILE_ReadLine(-1, buffer.data(), 1), 0) << "the handle is not asked";
}

// ---- Writing ----

TEST_F(SysFileWrite, WritesAtThePosition) {
  const int32_t handle = OpenFile("abcdef");
  EXPECT_EQ(SYS_FILE_Write(handle, "XY", 2), 2);
  EXPECT_EQ(SYS_FILE_Write(handle, "Z\0", 2), 2);
  EXPECT_EQ(home_.Read("file"), std::string("XYZ\0ef", 6));
}

TEST_F(SysFileWrite, WritesNothingForACountOfZero) {
  const int32_t handle = OpenFile("abc");
  EXPECT_EQ(SYS_FILE_Write(handle, "X", 0), 0);
  EXPECT_EQ(home_.Read("file"), "abc");
}

TEST_F(SysFileWrite, BadHandlesAndDataGiveMinusOne) {
  EXPECT_EQ(SYS_FILE_Write(-1, "X", 1), -1);
  EXPECT_EQ(SYS_FILE_Write(ClosedDescriptor(), "X", 1), -1);
  const Handle read_only(open(home_.Write("file", "abc").c_str(), O_RDONLY));
  EXPECT_EQ(SYS_FILE_Write(read_only.get(), "X", 1), -1);
  EXPECT_EQ(SYS_FILE_Write(OpenFile("abc"), nullptr, 1), -1);
}

TEST_F(SysFileWrite, FullDiskTakesAPartAndThenGivesMinusOne) {
  home_.Write("file", "");
  const int result = support::RunInChild([this] {
    signal(SIGXFSZ, SIG_IGN);
    const rlimit ten_bytes{.rlim_cur = 10, .rlim_max = 10};
    setrlimit(RLIMIT_FSIZE, &ten_bytes);
    const Handle handle(open(path_.c_str(), O_WRONLY));
    if (SYS_FILE_Write(handle.get(), "abcdef", 6) != 6) return 1;
    if (SYS_FILE_Write(handle.get(), "ghijkl", 6) != 4) return 2;
    return SYS_FILE_Write(handle.get(), "kl", 2) == -1 ? 0 : 3;
  });
  EXPECT_EQ(result, 0);
  EXPECT_EQ(home_.Read("file"), "abcdefghij");
}

// ---- Position and size ----

TEST_F(SysFileSeek, CountsFromTheOrigin) {
  const int32_t handle = OpenFile("0123456789");
  const struct {
    int32_t offset;
    int32_t origin;
    int32_t position;
  } cases[] = {
      {4, 0, 4},  {3, 1, 7},  {-5, 1, 2},        {-1, 2, 9},
      {0, 2, 10}, {5, 2, 15},  // behind the end
      {3, 7, 3},               // an unknown origin is the start
      {2, -1, 2}, {6, 3, 6},  {1, INT32_MIN, 1}, {INT32_MAX, 0, INT32_MAX},
      {0, 0, 0},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << c.offset << " from " << c.origin);
    EXPECT_EQ(SYS_FILE_Seek(handle, c.offset, c.origin), c.position);
    EXPECT_EQ(PositionOf(handle), c.position);
  }
}

TEST_F(SysFileSeek, PositionBeforeTheStartGivesMinusOneAndMovesNothing) {
  const int32_t handle = OpenFile("0123456789");
  EXPECT_EQ(SYS_FILE_Seek(handle, 4, 0), 4);
  EXPECT_EQ(SYS_FILE_Seek(handle, -1, 0), -1);
  EXPECT_EQ(SYS_FILE_Seek(handle, -5, 1), -1);
  EXPECT_EQ(SYS_FILE_Seek(handle, -11, 2), -1);
  EXPECT_EQ(SYS_FILE_Seek(handle, -1, 7), -1);
  EXPECT_EQ(PositionOf(handle), 4);
}

TEST_F(SysFileSeek, HandleWithoutAPositionGivesMinusOne) {
  const support::Pipe pipe = support::MakePipe();
  const Handle reading(pipe.reading);
  const Handle writing(pipe.writing);
  EXPECT_EQ(SYS_FILE_Seek(reading.get(), 0, 0), -1);
  EXPECT_EQ(SYS_FILE_Seek(-1, 0, 0), -1);
  EXPECT_EQ(SYS_FILE_Seek(ClosedDescriptor(), 0, 2), -1);
}

TEST_F(SysFileGetSize, CountsBytesAndLeavesThePosition) {
  const int32_t handle = OpenFile("0123456789");
  ASSERT_EQ(lseek(handle, 4, SEEK_SET), 4);
  EXPECT_EQ(SYS_FILE_GetSize(handle), 10);
  EXPECT_EQ(PositionOf(handle), 4);
  ASSERT_EQ(lseek(handle, 40, SEEK_SET), 40);
  EXPECT_EQ(SYS_FILE_GetSize(handle), 10);
  EXPECT_EQ(PositionOf(handle), 40);
}

TEST_F(SysFileGetSize, EmptyFileHasNone) { EXPECT_EQ(SYS_FILE_GetSize(OpenFile("")), 0); }

TEST_F(SysFileGetSize, FileBeyondTwoGibibytesIsCutTo32Bits) {
  const int32_t handle = OpenFile("");
  ASSERT_EQ(ftruncate(handle, 0x7FFFFFFF), 0);
  EXPECT_EQ(SYS_FILE_GetSize(handle), 0x7FFFFFFF);
  ASSERT_EQ(ftruncate(handle, 0x1'8000'0005), 0);
  EXPECT_EQ(SYS_FILE_GetSize(handle), -0x7FFFFFFB);
}

TEST_F(SysFileGetSize, HandleWithoutASizeGivesMinusOne) {
  const support::Pipe pipe = support::MakePipe();
  const Handle reading(pipe.reading);
  const Handle writing(pipe.writing);
  EXPECT_EQ(SYS_FILE_GetSize(reading.get()), -1);
  EXPECT_EQ(SYS_FILE_GetSize(-1), -1);
  EXPECT_EQ(SYS_FILE_GetSize(ClosedDescriptor()), -1);
}

TEST_F(SysFileTruncate, CutsAndFillsUpWithZeros) {
  const int32_t handle = OpenFile("abcdef");
  ASSERT_EQ(lseek(handle, 5, SEEK_SET), 5);
  EXPECT_EQ(SYS_FILE_Truncate(handle, 2), 0);
  EXPECT_EQ(home_.Read("file"), "ab");
  EXPECT_EQ(SYS_FILE_Truncate(handle, 4), 0);
  EXPECT_EQ(home_.Read("file"), std::string("ab\0\0", 4));
  EXPECT_EQ(SYS_FILE_Truncate(handle, 0), 0);
  EXPECT_EQ(home_.Read("file"), "");
  EXPECT_EQ(PositionOf(handle), 5);
}

TEST_F(SysFileTruncate, BadHandlesAndLengthsGiveMinusOne) {
  EXPECT_EQ(SYS_FILE_Truncate(-1, 0), -1);
  EXPECT_EQ(SYS_FILE_Truncate(ClosedDescriptor(), 0), -1);
  EXPECT_EQ(SYS_FILE_Truncate(OpenFile("abc"), -1), -1);
  const Handle read_only(open(path_.c_str(), O_RDONLY));
  EXPECT_EQ(SYS_FILE_Truncate(read_only.get(), 1), -1);
  EXPECT_EQ(home_.Read("file"), "abc");
}

// ---- Files by name ----

TEST_F(SysFileDelete, RemovesAFile) {
  home_.Write("file", "abc");
  EXPECT_EQ(SYS_FILE_Delete(path_.c_str()), 0);
  EXPECT_FALSE(std::filesystem::exists(path_));
}

TEST_F(SysFileDelete, GivesZeroAlsoWhenNothingIsRemoved) {
  EXPECT_EQ(SYS_FILE_Delete(path_.c_str()), 0);
  EXPECT_EQ(SYS_FILE_Delete(home_.path().c_str()), 0);
  EXPECT_TRUE(std::filesystem::exists(home_.path()));
  EXPECT_EQ(SYS_FILE_Delete(""), 0);
  EXPECT_EQ(SYS_FILE_Delete(nullptr), 0);
}

TEST_F(SysFileExists, TellsWhatCanBeOpenedForReading) {
  EXPECT_EQ(SYS_FILE_Exists(path_.c_str()), 0);
  home_.Write("file", "");
  EXPECT_EQ(SYS_FILE_Exists(path_.c_str()), 1);
  EXPECT_EQ(SYS_FILE_Exists(home_.path().c_str()), 1) << "a folder";
  EXPECT_EQ(SYS_FILE_Exists(home_.At("file/x").c_str()), 0);
  EXPECT_EQ(SYS_FILE_Exists(home_.At(std::string(5000, 'n')).c_str()), 0);
  EXPECT_EQ(SYS_FILE_Exists(""), 0);
  EXPECT_EQ(SYS_FILE_Exists(nullptr), 0);
}

TEST_F(SysFileExists, LinkCountsAsWhatItLeadsTo) {
  std::filesystem::create_symlink("file", home_.At("link"));
  EXPECT_EQ(SYS_FILE_Exists(home_.At("link").c_str()), 0);
  home_.Write("file", "");
  EXPECT_EQ(SYS_FILE_Exists(home_.At("link").c_str()), 1);
}

TEST_F(SysFileExists, LeavesNoDescriptor) {
  home_.Write("file", "");
  const std::vector<int> before = OpenDescriptors();
  EXPECT_EQ(SYS_FILE_Exists(path_.c_str()), 1);
  EXPECT_EQ(OpenDescriptors(), before);
}

TEST_F(SysFileExists, FileThatMayNotBeReadGivesZero) {
  home_.Write("file", "");
  ASSERT_EQ(chmod(path_.c_str(), 0222), 0);
  ASSERT_EQ(chmod(home_.path().c_str(), 0777), 0);
  const int result = support::RunInChild([this] {
    // The superuser may read it all the same.
    if (geteuid() == 0 && setuid(65534) != 0) return 2;
    return SYS_FILE_Exists(path_.c_str());
  });
  EXPECT_EQ(result, 0);
}

TEST_F(SysFileIsReadOnly, AsksForAllThreeWritePermissions) {
  home_.Write("file", "");
  const struct {
    mode_t permissions;
    int32_t expected;
  } cases[] = {
      {0444, 1}, {0000, 1}, {0555, 1}, {0644, 0}, {0464, 0},  {0446, 0},
      {0200, 0}, {0020, 0}, {0002, 0}, {0666, 0}, {07444, 1},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.permissions);
    ASSERT_EQ(chmod(path_.c_str(), c.permissions), 0);
    EXPECT_EQ(SYS_FILE_IsReadOnly(path_.c_str()), c.expected);
  }
}

TEST_F(SysFileIsReadOnly, OnlyRegularFilesAreReadOnly) {
  const std::string folder = home_.At("folder");
  ASSERT_EQ(mkdir(folder.c_str(), 0555), 0);
  EXPECT_EQ(SYS_FILE_IsReadOnly(folder.c_str()), 0);
  ASSERT_EQ(mkfifo(path_.c_str(), 0444), 0);
  EXPECT_EQ(SYS_FILE_IsReadOnly(path_.c_str()), 0);
}

TEST_F(SysFileIsReadOnly, LinkCountsAsWhatItLeadsTo) {
  std::filesystem::create_symlink("file", home_.At("link"));
  EXPECT_EQ(SYS_FILE_IsReadOnly(home_.At("link").c_str()), -1);
  home_.Write("file", "");
  ASSERT_EQ(chmod(path_.c_str(), 0444), 0);
  EXPECT_EQ(SYS_FILE_IsReadOnly(home_.At("link").c_str()), 1);
}

TEST_F(SysFileIsReadOnly, NullGivesZeroAndWhatIsNotThereMinusOne) {
  EXPECT_EQ(SYS_FILE_IsReadOnly(nullptr), 0);
  EXPECT_EQ(SYS_FILE_IsReadOnly(""), -1);
  EXPECT_EQ(SYS_FILE_IsReadOnly(path_.c_str()), -1);
  EXPECT_EQ(SYS_FILE_IsReadOnly(home_.At(std::string(5000, 'n')).c_str()), -1);
}

// ---- Time stamps ----

// Three hours east of Greenwich, and a file read and written at known times.
class SysFileGetTime : public SysFile {
 protected:
  SysFileGetTime() {
    setenv("TZ", "XYZ-3", 1);
    tzset();
    handle_.emplace(open(home_.Write("file", "abc").c_str(), O_RDONLY));
    // 2001-09-09 01:46:40.9 and 2024-02-29 21:59:59.5 in Coordinated Universal Time.
    const timeval times[2] = {{.tv_sec = 1000000000, .tv_usec = 900000},
                              {.tv_sec = 1709243999, .tv_usec = 500000}};
    EXPECT_EQ(utimes(path_.c_str(), times), 0);
  }
  ~SysFileGetTime() override {
    unsetenv("TZ");
    tzset();
  }

  static std::string Text(const SYS_TIME& time) {
    char text[64];
    snprintf(text, sizeof text, "%d-%d-%d %d:%d:%d.%d", time.year, time.month, time.day, time.hour,
             time.minute, time.second, time.milliseconds);
    return text;
  }
};

TEST_F(SysFileGetTime, GivesBothTimesInTheTimeZoneOfTheProcessWithoutParts) {
  SYS_TIME accessed{};
  SYS_TIME modified{};
  accessed.milliseconds = modified.milliseconds = 7;
  EXPECT_EQ(SYS_FILE_GetTime(handle_->get(), &accessed, &modified), 0);
  EXPECT_EQ(Text(accessed), "2001-9-9 4:46:40.0");
  EXPECT_EQ(Text(modified), "2024-3-1 0:59:59.0");
}

TEST_F(SysFileGetTime, EitherRecordMayBeNull) {
  SYS_TIME time{};
  EXPECT_EQ(SYS_FILE_GetTime(handle_->get(), &time, nullptr), 0);
  EXPECT_EQ(Text(time), "2001-9-9 4:46:40.0");
  EXPECT_EQ(SYS_FILE_GetTime(handle_->get(), nullptr, &time), 0);
  EXPECT_EQ(Text(time), "2024-3-1 0:59:59.0");
  EXPECT_EQ(SYS_FILE_GetTime(handle_->get(), nullptr, nullptr), 0);
}

TEST_F(SysFileGetTime, BadHandleGivesMinusOneAndLeavesTheRecords) {
  SYS_TIME time{1, 2, 3, 4, 5, 6, 7};
  EXPECT_EQ(SYS_FILE_GetTime(-1, &time, &time), -1);
  EXPECT_EQ(SYS_FILE_GetTime(ClosedDescriptor(), &time, &time), -1);
  EXPECT_EQ(SYS_FILE_GetTime(-1, nullptr, nullptr), -1);
  EXPECT_EQ(Text(time), "1-2-3 4:5:6.7");
}

// ---- Without a purpose of their own ----

TEST(SysFileReserved, OneGivesItsArgumentAndOneMinusOne) {
  for (const int32_t handle : {-1, 0, 7, INT32_MAX, INT32_MIN}) {
    EXPECT_EQ(SYS_FILE_Reserved1(handle), handle);
  }
  EXPECT_EQ(SYS_FILE_Reserved2(), -1);
}

}  // namespace
