#include "sys/memory.h"

#include <gtest/gtest.h>
#include <sys/resource.h>

#include <atomic>
#include <cstring>
#include <thread>
#include <vector>

#include "tests/support/failing_allocation.h"

namespace {

using support::FailingAllocation;
using testing::internal::CaptureStderr;
using testing::internal::CaptureStdout;
using testing::internal::GetCapturedStderr;
using testing::internal::GetCapturedStdout;

// All that promise to be the same allocation.
using Allocate = void* (*)(uint32_t size);
constexpr Allocate kAllocations[] = {
    SYS_MEM_Alloc,
    [](uint32_t size) { return SYS_MEM_AllocNamed(size, "DYNBUFFER: dynamic buffer"); },
    [](uint32_t size) { return SYS_MEM_AllocNamed(size, nullptr); },
    SYS_MEM_AllocBlock,
};

TEST(SysMemAlloc, GivesBytesToWriteOn) {
  for (const Allocate allocate : kAllocations) {
    void* const memory = allocate(1000);
    ASSERT_NE(memory, nullptr);
    memset(memory, 0x5A, 1000);
    SYS_MEM_Free(memory);
  }
}

TEST(SysMemAlloc, SizeZeroIsNoFailure) {
  for (const Allocate allocate : kAllocations) {
    void* const memory = allocate(0);
    EXPECT_NE(memory, nullptr);
    SYS_MEM_Free(memory);
  }
}

TEST(SysMemAlloc, FailureGivesNullAndPrintsNothing) {
  for (const Allocate allocate : kAllocations) {
    CaptureStdout();
    CaptureStderr();
    void* memory = nullptr;
    {
      const FailingAllocation no_memory(1);
      memory = allocate(16);
      EXPECT_TRUE(FailingAllocation::HasFailed());
    }
    EXPECT_EQ(GetCapturedStdout(), "");
    EXPECT_EQ(GetCapturedStderr(), "");
    EXPECT_EQ(memory, nullptr);
  }
}

TEST(SysMemAlloc, LargestSizeIsAskedForAsItIs) {
  // Four gibibytes less one byte: there, or null; never a small block from a wrapped size.
  void* const memory = SYS_MEM_Alloc(0xFFFFFFFF);
  if (memory != nullptr) static_cast<volatile char*>(memory)[0xFFFFFFFE] = 1;
  SYS_MEM_Free(memory);
}

TEST(SysMemRealloc, KeepsTheContents) {
  auto* memory = static_cast<char*>(SYS_MEM_Alloc(4));
  memcpy(memory, "abc", 4);
  memory = static_cast<char*>(SYS_MEM_Realloc(memory, 4000));
  ASSERT_NE(memory, nullptr);
  EXPECT_STREQ(memory, "abc");
  SYS_MEM_Free(memory);
}

TEST(SysMemRealloc, OfNullAllocates) {
  void* const memory = SYS_MEM_Realloc(nullptr, 10);
  EXPECT_NE(memory, nullptr);
  SYS_MEM_Free(memory);
}

TEST(SysMemRealloc, FailureGivesNullAndKeepsTheOldMemory) {
  auto* const memory = static_cast<char*>(SYS_MEM_Alloc(4));
  memcpy(memory, "abc", 4);
  {
    const FailingAllocation no_memory(1);
    EXPECT_EQ(SYS_MEM_Realloc(memory, 4000), nullptr);
  }
  EXPECT_STREQ(memory, "abc");
  SYS_MEM_Free(memory);
}

TEST(SysMemFree, IgnoresNull) { SYS_MEM_Free(nullptr); }

TEST(SysMemFreeAndClear, FreesAndSetsTheVariableToNull) {
  void* memory = SYS_MEM_Alloc(10);
  SYS_MEM_FreeAndClear(&memory);  // the leak check sees that it is free
  EXPECT_EQ(memory, nullptr);
  SYS_MEM_FreeAndClear(&memory);
  EXPECT_EQ(memory, nullptr);
}

TEST(SysMemFreeAndClear, TakesVariablesOfAnyPointerType) {
  auto* number = static_cast<int*>(SYS_MEM_Alloc(sizeof(int)));
  SYS_MEM_FreeAndClear(&number);
  EXPECT_EQ(number, nullptr);
}

TEST(SysMemFreeAndClear, IgnoresANullAddress) { SYS_MEM_FreeAndClear(nullptr); }

TEST(SysUserValue, IsZeroBeforeTheFirstStoreAndThenTheLastOne) {
  EXPECT_EQ(SYS_GetUserValue(), 0u);
  SYS_SetUserValue(0xFEDCBA9876543210);
  EXPECT_EQ(SYS_GetUserValue(), 0xFEDCBA9876543210u);
  SYS_SetUserValue(0);
  EXPECT_EQ(SYS_GetUserValue(), 0u);
}

TEST(SysSpinSync, GivesZeroOnManyThreadsAtOnce) {
  std::atomic<int> zeros = 0;
  std::vector<std::thread> threads;
  for (int thread = 0; thread < 4; ++thread) {
    threads.emplace_back([&] {
      for (int i = 0; i < 1000; ++i) zeros += SYS_SpinSync() == 0 ? 1 : 0;
    });
  }
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(zeros, 4000);
}

}  // namespace
