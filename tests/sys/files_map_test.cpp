// SPDX-License-Identifier: MIT

// Views of files in memory.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdint>
#include <cstring>
#include <string>

#include "sys/files.h"
#include "tests/support/child_process.h"
#include "tests/support/socket_state.h"
#include "tests/support/temporary_home.h"

// ---- What the tests put between the views and the system ----

namespace {

int last_sync_flags = 0;

}  // namespace

extern "C" {

int __real_msync(void* address, size_t length, int flags);
int __wrap_msync(void* address, size_t length, int flags);

int __wrap_msync(void* address, size_t length, int flags) {
  last_sync_flags = flags;
  return __real_msync(address, length, flags);
}

}  // extern "C"

namespace {

using support::ClosedDescriptor;
using support::Handle;
using support::TemporaryHome;

constexpr uint64_t kPage = 4096;

class SysFileMap : public testing::Test {
 protected:
  void SetUp() override {
    if (sysconf(_SC_PAGESIZE) != kPage) GTEST_SKIP() << "the numbers are those of 4096-byte pages";
  }

  off_t Size() const {
    struct stat status {};
    EXPECT_EQ(fstat(handle_.get(), &status), 0);
    return status.st_size;
  }

  void Fill(size_t size) const { home_.Write("file", std::string(size, 'f')); }

  // Whether the page that holds the address is mapped.
  static bool IsMapped(const void* address) {
    const auto page = reinterpret_cast<uintptr_t>(address) / kPage * kPage;
    return msync(reinterpret_cast<void*>(page), 1, MS_ASYNC) == 0;
  }

  TemporaryHome home_;
  std::string path_ = home_.Write("file", "");
  Handle handle_{open(path_.c_str(), O_RDWR | O_CLOEXEC)};
};

using SysFileUnmap = SysFileMap;
using SysFileFlushMap = SysFileMap;

TEST_F(SysFileMap, ShowsTheFileAndCarriesStoresIntoIt) {
  home_.Write("file", "0123456789");
  auto* const view = static_cast<char*>(SYS_FILE_Map(handle_.get(), 0, 10));
  ASSERT_NE(view, nullptr);
  EXPECT_EQ(std::string(view, 10), "0123456789");
  view[3] = 'X';
  EXPECT_EQ(SYS_FILE_FlushMap(view, 10), 0);
  EXPECT_EQ(home_.Read("file"), "012X456789");
  EXPECT_EQ(SYS_FILE_Unmap(view, 0, 10), 0);
}

TEST_F(SysFileMap, AddressIsThatOfTheByteAtTheOffset) {
  std::string content(3 * kPage, '.');
  content.replace(5000, 5, "here!");
  home_.Write("file", content);
  auto* const view = static_cast<char*>(SYS_FILE_Map(handle_.get(), 5000, 5));
  ASSERT_NE(view, nullptr);
  EXPECT_EQ(std::string(view, 5), "here!");
  EXPECT_EQ(reinterpret_cast<uintptr_t>(view) % kPage, 5000U - kPage);
  memcpy(view, "there", 5);
  EXPECT_EQ(SYS_FILE_Unmap(view, 5000, 5), 0);
  EXPECT_EQ(home_.Read("file").substr(4998, 9), "..there..");
}

TEST_F(SysFileMap, ReachesOverPageLimits) {
  Fill(3 * kPage);
  auto* const view = static_cast<char*>(SYS_FILE_Map(handle_.get(), 4000, 4196));
  ASSERT_NE(view, nullptr);
  view[0] = view[4195] = 'X';
  EXPECT_EQ(SYS_FILE_Unmap(view, 4000, 4196), 0);
  EXPECT_EQ(munmap(view + 2 * kPage - 4000, kPage), 0);
  std::string expected(3 * kPage, 'f');
  expected[4000] = expected[8195] = 'X';
  EXPECT_EQ(home_.Read("file"), expected);
}

TEST_F(SysFileMap, ExtendsAShortFileToTheEndOfThePartWithASpace) {
  Fill(4096);
  auto* const view = static_cast<char*>(SYS_FILE_Map(handle_.get(), 5000, 100));
  ASSERT_NE(view, nullptr);
  EXPECT_EQ(Size(), 5100);
  EXPECT_EQ(view[99], ' ');
  EXPECT_EQ(std::string(view, 99), std::string(99, '\0'));
  EXPECT_EQ(view[-904], '\0') << "byte 4096, where the mapping starts";
  EXPECT_EQ(home_.Read("file"), std::string(4096, 'f') + std::string(1003, '\0') + ' ');
  EXPECT_EQ(lseek(handle_.get(), 0, SEEK_CUR), 5100);
  EXPECT_EQ(SYS_FILE_Unmap(view, 5000, 100), 0);
}

TEST_F(SysFileMap, ExtendsAnEmptyFile) {
  auto* const view = static_cast<char*>(SYS_FILE_Map(handle_.get(), 0, 1));
  ASSERT_NE(view, nullptr);
  EXPECT_EQ(home_.Read("file"), " ");
  EXPECT_EQ(SYS_FILE_Unmap(view, 0, 1), 0);
}

TEST_F(SysFileMap, LeavesAFileThatIsLongEnoughAsItIs) {
  Fill(100);
  ASSERT_EQ(lseek(handle_.get(), 7, SEEK_SET), 7);
  for (const uint64_t length : {uint64_t{100}, uint64_t{99}, uint64_t{1}}) {
    SCOPED_TRACE(length);
    void* const view = SYS_FILE_Map(handle_.get(), 0, length);
    ASSERT_NE(view, nullptr);
    EXPECT_EQ(SYS_FILE_Unmap(view, 0, length), 0);
  }
  EXPECT_EQ(home_.Read("file"), std::string(100, 'f'));
  EXPECT_EQ(lseek(handle_.get(), 0, SEEK_CUR), 7);
}

TEST_F(SysFileMap, ExtendsByOneByteWhereThePartEndsOneByteLater) {
  Fill(100);
  void* const view = SYS_FILE_Map(handle_.get(), 50, 51);
  ASSERT_NE(view, nullptr);
  EXPECT_EQ(home_.Read("file"), std::string(100, 'f') + ' ');
  EXPECT_EQ(SYS_FILE_Unmap(view, 50, 51), 0);
}

TEST_F(SysFileMap, TakesAFileOfThreeGibibytesForWhatItIs) {
  ASSERT_EQ(ftruncate(handle_.get(), 0xC000'0000), 0);
  void* const view = SYS_FILE_Map(handle_.get(), 0xA000'0000, 100);
  ASSERT_NE(view, nullptr);
  EXPECT_EQ(Size(), 0xC000'0000);
  EXPECT_EQ(static_cast<char*>(view)[99], '\0');
  EXPECT_EQ(SYS_FILE_Unmap(view, 0xA000'0000, 100), 0);
}

TEST_F(SysFileMap, OutlivesTheHandle) {
  home_.Write("file", "0123456789");
  Handle handle(open(path_.c_str(), O_RDWR));
  auto* const view = static_cast<char*>(SYS_FILE_Map(handle.get(), 0, 10));
  ASSERT_NE(view, nullptr);
  handle.Close();
  EXPECT_EQ(view[9], '9');
  EXPECT_EQ(SYS_FILE_Unmap(view, 0, 10), 0);
}

TEST_F(SysFileMap, BadHandlesGiveNull) {
  Fill(100);
  EXPECT_EQ(SYS_FILE_Map(-1, 0, 10), nullptr);
  EXPECT_EQ(SYS_FILE_Map(ClosedDescriptor(), 0, 10), nullptr);
  const Handle read_only(open(path_.c_str(), O_RDONLY));
  EXPECT_EQ(SYS_FILE_Map(read_only.get(), 0, 10), nullptr);
  const Handle write_only(open(path_.c_str(), O_WRONLY));
  EXPECT_EQ(SYS_FILE_Map(write_only.get(), 0, 10), nullptr);
  const support::Pipe pipe = support::MakePipe();
  const Handle reading(pipe.reading);
  const Handle writing(pipe.writing);
  EXPECT_EQ(SYS_FILE_Map(writing.get(), 0, 10), nullptr);
}

TEST_F(SysFileMap, LengthOfZeroFromAPageOnGivesNull) {
  Fill(100);
  EXPECT_EQ(SYS_FILE_Map(handle_.get(), 0, 0), nullptr);
  EXPECT_EQ(Size(), 100);
}

TEST_F(SysFileMap, PartBeyondAllFilesGivesNullAndLeavesTheFile) {
  Fill(100);
  EXPECT_EQ(SYS_FILE_Map(handle_.get(), UINT64_MAX - 50, 100), nullptr);
  EXPECT_EQ(SYS_FILE_Map(handle_.get(), UINT64_MAX - 99, 300), nullptr);
  EXPECT_EQ(SYS_FILE_Map(handle_.get(), uint64_t{1} << 63, 100), nullptr);
  EXPECT_EQ(SYS_FILE_Map(handle_.get(), 0, UINT64_MAX), nullptr);
  EXPECT_EQ(home_.Read("file"), std::string(100, 'f'));
}

TEST_F(SysFileMap, FileThatCannotBeExtendedGivesNull) {
  Fill(100);
  const int result = support::RunInChild([this] {
    signal(SIGXFSZ, SIG_IGN);
    const rlimit hundred_bytes{.rlim_cur = 100, .rlim_max = 100};
    setrlimit(RLIMIT_FSIZE, &hundred_bytes);
    if (SYS_FILE_Map(handle_.get(), 0, 101) != nullptr) return 1;
    return SYS_FILE_Map(handle_.get(), 0, 100) != nullptr ? 0 : 2;
  });
  EXPECT_EQ(result, 0);
  EXPECT_EQ(Size(), 100);
}

// ---- SYS_FILE_Unmap ----

TEST_F(SysFileUnmap, ReleasesThePagesOfTheView) {
  Fill(3 * kPage);
  auto* const view = static_cast<char*>(SYS_FILE_Map(handle_.get(), kPage, 2 * kPage));
  ASSERT_NE(view, nullptr);
  EXPECT_TRUE(IsMapped(view));
  EXPECT_TRUE(IsMapped(view + kPage));
  EXPECT_EQ(SYS_FILE_Unmap(view, kPage, 2 * kPage), 0);
  EXPECT_FALSE(IsMapped(view));
  EXPECT_FALSE(IsMapped(view + kPage));
}

TEST_F(SysFileUnmap, StartsAtThePageOfTheOffset) {
  Fill(2 * kPage);
  auto* const view = static_cast<char*>(SYS_FILE_Map(handle_.get(), 5000, 100));
  ASSERT_NE(view, nullptr);
  EXPECT_EQ(SYS_FILE_Unmap(view, 5000, 100), 0);
  EXPECT_FALSE(IsMapped(view));
}

// The view takes two pages, and its length alone but one.
TEST_F(SysFileUnmap, KeepsALastPageThatOnlyTheInPagePartNeeds) {
  Fill(2 * kPage);
  auto* const view = static_cast<char*>(SYS_FILE_Map(handle_.get(), 4000, 200));
  ASSERT_NE(view, nullptr);
  EXPECT_EQ(SYS_FILE_Unmap(view, 4000, 200), 0);
  EXPECT_FALSE(IsMapped(view));
  char* const last_page = view + (kPage - 4000);
  EXPECT_TRUE(IsMapped(last_page));
  EXPECT_EQ(munmap(last_page, kPage), 0);
}

TEST_F(SysFileUnmap, BadAddressesAndLengthsGiveMinusOne) {
  Fill(kPage);
  EXPECT_EQ(SYS_FILE_Unmap(nullptr, 0, kPage), -1);
  EXPECT_EQ(SYS_FILE_Unmap(nullptr, 5000, kPage), -1);
  auto* const view = static_cast<char*>(SYS_FILE_Map(handle_.get(), 0, kPage));
  ASSERT_NE(view, nullptr);
  EXPECT_EQ(SYS_FILE_Unmap(view, 0, 0), -1);
  EXPECT_EQ(SYS_FILE_Unmap(view, 1, kPage), -1);
  EXPECT_TRUE(IsMapped(view));
  EXPECT_EQ(SYS_FILE_Unmap(view, 0, kPage), 0);
}

// ---- SYS_FILE_FlushMap ----

TEST_F(SysFileFlushMap, TakesAnAddressWithinAPage) {
  Fill(2 * kPage);
  auto* const view = static_cast<char*>(SYS_FILE_Map(handle_.get(), 5000, 100));
  ASSERT_NE(view, nullptr);
  view[0] = 'X';
  EXPECT_EQ(SYS_FILE_FlushMap(view, 100), 0);
  EXPECT_EQ(home_.Read("file")[5000], 'X');
  EXPECT_EQ(SYS_FILE_FlushMap(view + 50, 50), 0);
  EXPECT_EQ(SYS_FILE_Unmap(view, 5000, 100), 0);
}

TEST_F(SysFileFlushMap, WaitsAndInvalidatesOtherCopies) {
  Fill(kPage);
  void* const view = SYS_FILE_Map(handle_.get(), 0, kPage);
  ASSERT_NE(view, nullptr);
  EXPECT_EQ(SYS_FILE_FlushMap(view, kPage), 0);
  EXPECT_EQ(last_sync_flags, MS_SYNC | MS_INVALIDATE);
  EXPECT_EQ(SYS_FILE_Unmap(view, 0, kPage), 0);
}

TEST_F(SysFileFlushMap, RangeThatIsNotMappedGivesMinusOne) {
  Fill(kPage);
  auto* const view = static_cast<char*>(SYS_FILE_Map(handle_.get(), 0, kPage));
  ASSERT_NE(view, nullptr);
  EXPECT_EQ(SYS_FILE_Unmap(view, 0, kPage), 0);
  EXPECT_EQ(SYS_FILE_FlushMap(view, 1), -1);
  EXPECT_EQ(SYS_FILE_FlushMap(nullptr, kPage), -1);
}

}  // namespace
