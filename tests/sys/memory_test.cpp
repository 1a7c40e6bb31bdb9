// SPDX-License-Identifier: MIT

#include "sys/memory.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstdarg>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <ostream>
#include <string>
#include <thread>
#include <vector>

#include "tests/support/child_process.h"
#include "tests/support/failing_allocation.h"
#include "tests/support/replaced_descriptor.h"
#include "tests/support/stream_reader.h"
#include "util/format.h"

namespace {

using support::FailingAllocation;
using support::ReplacedDescriptor;
using support::StreamReader;

struct FormattedText {
  std::string text;
  int32_t capacity = 0;
};
std::vector<FormattedText> formatted_texts;

// What the function leaves on standard output and standard error together.
template <typename Function>
std::string PrintedBy(Function function) {
  int ends[2];
  EXPECT_EQ(pipe(ends), 0);
  {
    const ReplacedDescriptor output(STDOUT_FILENO, ends[1]);
    const ReplacedDescriptor error(STDERR_FILENO, ends[1]);
    function();
  }
  close(ends[1]);
  StreamReader reader(ends[0]);
  EXPECT_TRUE(reader.WaitForEnd());
  close(ends[0]);
  return reader.text();
}

}  // namespace

// There when a sanitizer is linked, null otherwise.
extern "C" void __sanitizer_set_report_fd(void* descriptor) __attribute__((weak));

// Takes the place of UTIL_snprintf and does the same, with a record of it.
extern "C" char* __wrap_UTIL_snprintf(char* buffer, int32_t capacity, const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  char* const end = UTIL_vsnprintf(buffer, capacity, format, arguments);
  va_end(arguments);
  formatted_texts.push_back({buffer, capacity});
  return end;
}

namespace {

// ---- Allocation ----

void* AllocateNamed(uint32_t size) { return SYS_MEM_AllocNamed(size, "DYNBUFFER: dynamic buffer"); }

struct AllocateOperation {
  const char* name;
  void* (*function)(uint32_t);
};

void PrintTo(const AllocateOperation& operation, std::ostream* output) {
  *output << operation.name;
}

// The three are the same in everything.
class SysMemAlloc : public testing::TestWithParam<AllocateOperation> {
 protected:
  static void* Allocate(uint32_t size) { return GetParam().function(size); }
};

constexpr AllocateOperation kOperations[] = {
    {"Plain", SYS_MEM_Alloc},
    {"Named", AllocateNamed},
    {"Block", SYS_MEM_AllocBlock},
};
INSTANTIATE_TEST_SUITE_P(AllThree, SysMemAlloc, testing::ValuesIn(kOperations),
                         [](const auto& operation) { return operation.param.name; });

TEST_P(SysMemAlloc, GivesAsManyBytesAsAskedFor) {
  for (const uint32_t size : {1U, 24U, 1000U, 5'000'000U}) {
    SCOPED_TRACE(size);
    auto* const memory = static_cast<uint8_t*>(Allocate(size));
    ASSERT_NE(memory, nullptr);
    memset(memory, 0xE7, size);
    EXPECT_EQ(memory[size - 1], 0xE7);
    SYS_MEM_Free(memory);
  }
}

TEST_P(SysMemAlloc, GivesDistinctMemoryForEachCall) {
  void* const first = Allocate(16);
  void* const second = Allocate(16);
  EXPECT_NE(first, second);
  SYS_MEM_Free(first);
  SYS_MEM_Free(second);
}

TEST_P(SysMemAlloc, SizeZeroIsNoFailure) {
  void* const memory = Allocate(0);
  EXPECT_NE(memory, nullptr);
  EXPECT_TRUE(formatted_texts.empty());
  SYS_MEM_Free(memory);
}

TEST_P(SysMemAlloc, FailureGivesNullAndPrintsNothing) {
  void* memory = &memory;
  const std::string printed = PrintedBy([&] {
    const FailingAllocation failing(1);
    memory = Allocate(0xFFFFFFFF);
  });
  EXPECT_EQ(memory, nullptr);
  EXPECT_EQ(printed, "");
}

TEST_P(SysMemAlloc, FailureFormatsItsMessageIntoSixtyFourBytes) {
  const struct {
    uint32_t size;
    const char* text;
  } cases[] = {
      {0xFFFFFFFF, "Failed to allocate 0xFFFFFFFF bytes of memory!"},
      {0x1A2B, "Failed to allocate 0x00001A2B bytes of memory!"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.text);
    formatted_texts.clear();
    {
      const FailingAllocation failing(1);
      EXPECT_EQ(Allocate(c.size), nullptr);
    }
    ASSERT_EQ(formatted_texts.size(), 1U);
    EXPECT_EQ(formatted_texts[0].text, c.text);
    EXPECT_EQ(formatted_texts[0].capacity, 64);
  }
}

TEST_P(SysMemAlloc, SuccessFormatsNothing) {
  SYS_MEM_Free(Allocate(100));
  EXPECT_TRUE(formatted_texts.empty());
}

TEST_P(SysMemAlloc, FailureLeavesTheNextCallAsItWas) {
  const FailingAllocation failing(1);
  EXPECT_EQ(Allocate(100), nullptr);
  void* const memory = Allocate(100);
  EXPECT_NE(memory, nullptr);
  SYS_MEM_Free(memory);
}

// Here the memory really is not there, because the process may not have that much. A sanitizer does
// not live with such a limit; it has one of its own in the tests' environment, and its own remark
// about it goes elsewhere.
TEST_P(SysMemAlloc, NoRoomForFourGibibytesGivesNullAndPrintsNothing) {
  int result = -1;
  const std::string printed = PrintedBy([&] {
    result = support::RunInChild([] {
      if (__sanitizer_set_report_fd != nullptr) {
        const intptr_t nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
        __sanitizer_set_report_fd(reinterpret_cast<void*>(nowhere));
      } else {
        const rlimit two_gibibytes{.rlim_cur = 1U << 31, .rlim_max = 1U << 31};
        setrlimit(RLIMIT_AS, &two_gibibytes);
      }
      return Allocate(0xFFFFFFFF) == nullptr ? 0 : 1;
    });
  });
  EXPECT_EQ(result, 0);
  EXPECT_EQ(printed, "");
}

TEST(SysMemAllocNamed, TagMayBeNull) {
  void* const memory = SYS_MEM_AllocNamed(8, nullptr);
  EXPECT_NE(memory, nullptr);
  SYS_MEM_Free(memory);
}

// ---- Another size ----

TEST(SysMemRealloc, KeepsWhatBothSizesHold) {
  auto* memory = static_cast<char*>(SYS_MEM_Alloc(6));
  memcpy(memory, "abcdef", 6);
  memory = static_cast<char*>(SYS_MEM_Realloc(memory, 100'000));
  ASSERT_NE(memory, nullptr);
  EXPECT_EQ(std::string(memory, 6), "abcdef");
  memory[99'999] = 'x';
  memory = static_cast<char*>(SYS_MEM_Realloc(memory, 3));
  ASSERT_NE(memory, nullptr);
  EXPECT_EQ(std::string(memory, 3), "abc");
  SYS_MEM_Free(memory);
}

TEST(SysMemRealloc, NullAllocates) {
  void* const memory = SYS_MEM_Realloc(nullptr, 10);
  ASSERT_NE(memory, nullptr);
  memset(memory, 1, 10);
  SYS_MEM_Free(memory);
}

TEST(SysMemRealloc, SizeZeroGivesWhatTheSystemGives) {
  void* const expected = realloc(malloc(10), 0);
  void* const memory = SYS_MEM_Realloc(SYS_MEM_Alloc(10), 0);
  EXPECT_EQ(memory == nullptr, expected == nullptr);
  SYS_MEM_Free(memory);
  free(expected);
}

TEST(SysMemRealloc, FailureGivesNullAndLeavesTheOldMemory) {
  auto* const memory = static_cast<char*>(SYS_MEM_Alloc(6));
  memcpy(memory, "abcdef", 6);
  {
    const FailingAllocation failing(1);
    EXPECT_EQ(SYS_MEM_Realloc(memory, 100), nullptr);
  }
  EXPECT_EQ(std::string(memory, 6), "abcdef");
  SYS_MEM_Free(memory);
}

TEST(SysMemRealloc, FailureFormatsAndPrintsNothing) {
  void* const memory = SYS_MEM_Alloc(6);
  const std::string printed = PrintedBy([&] {
    const FailingAllocation failing(1);
    SYS_MEM_Realloc(memory, 100);
  });
  EXPECT_EQ(printed, "");
  EXPECT_TRUE(formatted_texts.empty());
  SYS_MEM_Free(memory);
}

// ---- Release ----

TEST(SysMemFree, NullIsIgnored) { SYS_MEM_Free(nullptr); }

// What is not freed here is a leak, which fails the program under AddressSanitizer.
TEST(SysMemFreeAndClear, FreesTheHeldMemoryAndClearsTheVariable) {
  void* memory = SYS_MEM_Alloc(32);
  SYS_MEM_FreeAndClear(&memory);
  EXPECT_EQ(memory, nullptr);
}

TEST(SysMemFreeAndClear, VariableMayBeOfAnyPointerType) {
  struct Pair {
    char* text = static_cast<char*>(SYS_MEM_Alloc(32));
    uint64_t neighbour = 0x1122334455667788;
  } pair;
  SYS_MEM_FreeAndClear(&pair.text);
  EXPECT_EQ(pair.text, nullptr);
  EXPECT_EQ(pair.neighbour, 0x1122334455667788U);
}

TEST(SysMemFreeAndClear, VariableThatHoldsNullStaysNull) {
  void* memory = nullptr;
  SYS_MEM_FreeAndClear(&memory);
  EXPECT_EQ(memory, nullptr);
}

TEST(SysMemFreeAndClear, NullAddressIsIgnored) { SYS_MEM_FreeAndClear(nullptr); }

// ---- SYS_SpinSync ----

TEST(SysSpinSync, ReturnsZeroEveryTime) {
  for (int i = 0; i < 3; ++i) EXPECT_EQ(SYS_SpinSync(), 0);
}

TEST(SysSpinSync, ThreadsGetPastEachOther) {
  std::atomic<int> wrong_results = 0;
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([&] {
      for (int round = 0; round < 5'000; ++round) {
        if (SYS_SpinSync() != 0) ++wrong_results;
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(wrong_results, 0);
}

// The data are no atomics: ThreadSanitizer sees whether the two calls order the accesses.
TEST(SysSpinSync, PublishesWhatStandsInFrontOfIt) {
  int data = 0;
  std::atomic<bool> is_published = false;
  std::thread publisher([&] {
    data = 42;
    SYS_SpinSync();
    is_published.store(true, std::memory_order_relaxed);
  });
  while (!is_published.load(std::memory_order_relaxed)) std::this_thread::yield();
  SYS_SpinSync();
  EXPECT_EQ(data, 42);
  publisher.join();
}

// Each of two threads stores into its own variable and then loads the other's. With a full barrier
// in between, at least one of them sees the other's store, in every round. Without one, a processor
// breaks that in some runs; ThreadSanitizer reports the test above in each.
TEST(SysSpinSync, KeepsALaterLoadBehindAnEarlierStore) {
  constexpr int kRounds = 10'000;
  struct Side {
    // Apart from each other, so that a store to one does not hurry the other along.
    alignas(64) std::atomic<int> stored = 0;
    alignas(64) std::atomic<int> finished_rounds = 0;
    std::vector<int> seen = std::vector<int>(kRounds);
  } sides[2];
  auto run = [&](Side& own, Side& other) {
    for (int round = 0; round < kRounds; ++round) {
      own.stored.store(round + 1, std::memory_order_relaxed);
      SYS_SpinSync();
      own.seen[static_cast<size_t>(round)] = other.stored.load(std::memory_order_relaxed);
      own.finished_rounds.store(round + 1);
      // Gives the processor away seldom, so that both start the next round at about the same time.
      for (int i = 1; other.finished_rounds.load() <= round; ++i) {
        if (i % 1000 == 0) std::this_thread::yield();
      }
    }
  };
  std::thread second([&] { run(sides[1], sides[0]); });
  run(sides[0], sides[1]);
  second.join();
  for (int round = 0; round < kRounds; ++round) {
    const auto index = static_cast<size_t>(round);
    ASSERT_GT(std::max(sides[0].seen[index], sides[1].seen[index]), round);
  }
}

// ---- The user value ----

TEST(SysUserValue, IsZeroBeforeTheFirstStore) { EXPECT_EQ(SYS_GetUserValue(), 0U); }

TEST(SysUserValue, IsTheValueLastStored) {
  for (const uint64_t value :
       {uint64_t{1}, uint64_t{0x0123456789ABCDEF}, UINT64_MAX, uint64_t{0}}) {
    SYS_SetUserValue(value);
    EXPECT_EQ(SYS_GetUserValue(), value);
  }
}

TEST(SysUserValue, IsTheSameForAllThreads) {
  std::thread([] { SYS_SetUserValue(77); }).join();
  EXPECT_EQ(SYS_GetUserValue(), 77U);
}

}  // namespace
