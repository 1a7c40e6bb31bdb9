// SPDX-License-Identifier: MIT

#include "util/dynbuffer.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include "tests/support/failing_allocation.h"

namespace {

using support::FailingAllocation;

std::vector<std::string> messages;
std::vector<std::string> tags;

void* FilledWithZ(void* memory, uint32_t size) {
  return memory == nullptr ? nullptr : memset(memory, 'Z', size);
}

}  // namespace

// The two functions themselves, with a known content in what they give.
extern "C" {

void* __real_SYS_MEM_Alloc(uint32_t size);
void* __real_SYS_MEM_AllocNamed(uint32_t size, const char* tag);

void* __wrap_SYS_MEM_Alloc(uint32_t size) { return FilledWithZ(__real_SYS_MEM_Alloc(size), size); }

void* __wrap_SYS_MEM_AllocNamed(uint32_t size, const char* tag) {
  tags.emplace_back(tag);
  return FilledWithZ(__real_SYS_MEM_AllocNamed(size, tag), size);
}

}  // extern "C"

namespace {

void Keep(const char* message) { messages.emplace_back(message); }

// A buffer that is released at the end. The record holds rubbish before it is set up.
class Buffer {
 public:
  Buffer(uint32_t limit, uint32_t initial_size, int32_t fill,
         DYNBUFFER_ERROR_FUNC callback = nullptr) {
    messages.clear();
    tags.clear();
    memset(&record_, 0xA5, sizeof record_);
    result_ = DYNBUFFER_Init(&record_, callback, limit, initial_size, fill);
  }
  ~Buffer() { DYNBUFFER_Free(&record_); }
  Buffer(const Buffer&) = delete;
  Buffer& operator=(const Buffer&) = delete;

  DYNBUFFER* record() { return &record_; }
  DYNBUFFER* operator->() { return &record_; }
  int32_t init_result() const { return result_; }

  int32_t Append(std::string_view text) {
    return DYNBUFFER_Append(&record_, text.data(), static_cast<uint32_t>(text.size()));
  }
  int32_t Write(uint32_t offset, std::string_view text) {
    return DYNBUFFER_Write(&record_, offset, text.data(), static_cast<uint32_t>(text.size()));
  }

  // The bytes from first up to, not including, last.
  std::string Bytes(uint32_t first, uint32_t last) const {
    return {reinterpret_cast<const char*>(record_.data) + first, last - first};
  }

 private:
  DYNBUFFER record_;
  int32_t result_;
};

// ---- Record ----

TEST(DynbufferRecord, HoldsItsFieldsInTheirOrder) {
  EXPECT_EQ(offsetof(DYNBUFFER, data), 0U);
  EXPECT_EQ(offsetof(DYNBUFFER, limit), 8U);
  EXPECT_EQ(offsetof(DYNBUFFER, size), 12U);
  EXPECT_EQ(offsetof(DYNBUFFER, highest), 16U);
  EXPECT_EQ(offsetof(DYNBUFFER, written), 20U);
  EXPECT_EQ(offsetof(DYNBUFFER, fill), 24U);
  EXPECT_EQ(offsetof(DYNBUFFER, error_callback), 32U);
  EXPECT_EQ(sizeof(DYNBUFFER), 40U);
}

// ---- Init ----

TEST(DynbufferInit, StoresItsArgumentsAndNothingWritten) {
  Buffer buffer(1000, 16, 7, Keep);
  EXPECT_EQ(buffer.init_result(), 0);
  EXPECT_NE(buffer->data, nullptr);
  EXPECT_EQ(buffer->limit, 1000U);
  EXPECT_EQ(buffer->size, 16U);
  EXPECT_EQ(buffer->highest, 0U);
  EXPECT_EQ(buffer->written, 0U);
  EXPECT_EQ(buffer->fill, 7);
  EXPECT_EQ(buffer->error_callback, &Keep);
  EXPECT_TRUE(messages.empty());
}

TEST(DynbufferInit, FillsTheWholeArray) {
  for (const int32_t fill : {0, 0x41, 255}) {
    SCOPED_TRACE(fill);
    Buffer buffer(1000, 64, fill);
    EXPECT_EQ(buffer.Bytes(0, 64), std::string(64, static_cast<char>(fill)));
  }
}

TEST(DynbufferInit, TakesAnInitialSizeOfZero) {
  Buffer buffer(1000, 0, 0x2E);
  EXPECT_EQ(buffer.init_result(), 0);
  EXPECT_EQ(buffer->size, 0U);
  EXPECT_EQ(buffer.Append("x"), 0);
  EXPECT_EQ(buffer->size, 1U);
  EXPECT_EQ(buffer.Bytes(0, 1), "x");
}

TEST(DynbufferInit, MakesOneAllocationWithItsTag) {
  const FailingAllocation counted(UINT32_MAX);
  Buffer buffer(1000, 16, 0);
  EXPECT_EQ(FailingAllocation::Calls(), 1U);
  ASSERT_EQ(tags.size(), 1U);
  EXPECT_EQ(tags[0], "DYNBUFFER: dynamic buffer");
}

TEST(DynbufferInit, TellsWithMinusTwoThatThereIsNoMemory) {
  const FailingAllocation failing(1);
  Buffer buffer(1000, 4096, 0, Keep);
  EXPECT_EQ(buffer.init_result(), -2);
  ASSERT_EQ(messages.size(), 1U);
  EXPECT_EQ(messages[0], "Cannot allocate 4096 bytes of memory for dynamic buffer");
}

TEST(DynbufferInit, FailsSilentlyWithoutACallback) {
  const FailingAllocation failing(1);
  Buffer buffer(1000, 4096, 0);
  EXPECT_EQ(buffer.init_result(), -2);
  EXPECT_TRUE(messages.empty());
}

TEST(DynbufferInit, LeavesNoArrayAfterAFailure) {
  const FailingAllocation failing(1);
  Buffer buffer(1000, 4096, 0x41, Keep);
  EXPECT_EQ(buffer->data, nullptr);
  EXPECT_EQ(buffer->limit, 0U);
  EXPECT_EQ(buffer->size, 0U);
  EXPECT_EQ(buffer.Append("x"), -3);
  EXPECT_EQ(DYNBUFFER_Free(buffer.record()), 0);
}

// The directive of the message is signed.
TEST(DynbufferInit, ShowsSizesFromTwoGibibytesOnAsNegative) {
  const FailingAllocation failing(1);
  Buffer buffer(0xFFFFFFFF, 0x80000000, -1, Keep);
  ASSERT_EQ(messages.size(), 1U);
  EXPECT_EQ(messages[0], "Cannot allocate -2147483648 bytes of memory for dynamic buffer");
}

// ---- Free ----

TEST(DynbufferFree, ClearsTheRecord) {
  DYNBUFFER record;
  ASSERT_EQ(DYNBUFFER_Init(&record, Keep, 1000, 16, 7), 0);
  ASSERT_EQ(DYNBUFFER_Append(&record, "abc", 3), 0);
  EXPECT_EQ(DYNBUFFER_Free(&record), 0);
  EXPECT_EQ(record.data, nullptr);
  EXPECT_EQ(record.limit, 0U);
  EXPECT_EQ(record.size, 0U);
  EXPECT_EQ(record.highest, 0U);
  EXPECT_EQ(record.written, 0U);
  EXPECT_EQ(record.fill, 0);
  EXPECT_EQ(record.error_callback, nullptr);
}

TEST(DynbufferFree, MayBeRepeated) {
  DYNBUFFER record;
  ASSERT_EQ(DYNBUFFER_Init(&record, nullptr, 1000, 16, 7), 0);
  EXPECT_EQ(DYNBUFFER_Free(&record), 0);
  EXPECT_EQ(DYNBUFFER_Free(&record), 0);
}

TEST(DynbufferFree, LeavesARecordWithoutAnArrayAsItIs) {
  DYNBUFFER record = {.data = nullptr,
                      .limit = 1,
                      .size = 2,
                      .highest = 3,
                      .written = 4,
                      .fill = 5,
                      .error_callback = Keep};
  EXPECT_EQ(DYNBUFFER_Free(&record), 0);
  EXPECT_EQ(record.limit, 1U);
  EXPECT_EQ(record.size, 2U);
  EXPECT_EQ(record.highest, 3U);
  EXPECT_EQ(record.written, 4U);
  EXPECT_EQ(record.fill, 5);
  EXPECT_EQ(record.error_callback, &Keep);
}

// ---- Ensure ----

TEST(DynbufferEnsure, DoesNothingForAnIndexInside) {
  Buffer buffer(1000, 16, 0);
  const uint8_t* const data = buffer->data;
  const FailingAllocation counted(UINT32_MAX);
  EXPECT_EQ(DYNBUFFER_Ensure(buffer.record(), 0), 0);
  EXPECT_EQ(DYNBUFFER_Ensure(buffer.record(), 15), 0);
  EXPECT_EQ(FailingAllocation::Calls(), 0U);
  EXPECT_EQ(buffer->data, data);
  EXPECT_EQ(buffer->size, 16U);
}

TEST(DynbufferEnsure, GrowsToTheLargestOfIndexAndTwiceTheSizeWithinTheLimit) {
  const struct {
    uint32_t limit, initial_size, index, size;
  } cases[] = {
      {1000, 16, 16, 32},      // twice the size
      {1000, 16, 31, 32},      // both the same
      {1000, 16, 32, 33},      // index + 1
      {1000, 16, 999, 1000},   // the last index that is allowed
      {1000, 600, 600, 1000},  // twice the size would cross the limit
      {0x100000, 4096, 10000, 10001},
      {0x100000, 4096, 4096, 8192},
      {1000, 0, 0, 1},  // twice nothing
      {1, 0, 0, 1},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << c.initial_size << " to " << c.index);
    Buffer buffer(c.limit, c.initial_size, 0);
    EXPECT_EQ(DYNBUFFER_Ensure(buffer.record(), c.index), 0);
    EXPECT_EQ(buffer->size, c.size);
  }
}

TEST(DynbufferEnsure, KeepsTheOldBytesAndFillsTheNewOnes) {
  Buffer buffer(1000, 4, 0x2E);
  ASSERT_EQ(buffer.Write(0, "abcd"), 0);
  EXPECT_EQ(DYNBUFFER_Ensure(buffer.record(), 9), 0);
  EXPECT_EQ(buffer.Bytes(0, 10), "abcd......");
}

TEST(DynbufferEnsure, ChangesNothingThatWasWritten) {
  Buffer buffer(1000, 4, 0);
  ASSERT_EQ(buffer.Write(1, "b"), 0);
  EXPECT_EQ(DYNBUFFER_Ensure(buffer.record(), 500), 0);
  EXPECT_EQ(buffer->highest, 1U);
  EXPECT_EQ(buffer->written, 1U);
}

TEST(DynbufferEnsure, LeavesNewSpaceAsItComesWhenTheFillIsNegative) {
  for (const int32_t fill : {-1, INT32_MIN}) {
    Buffer buffer(1000, 4, fill);
    EXPECT_EQ(buffer->fill, fill);
    EXPECT_EQ(buffer.Bytes(0, 4), "ZZZZ");
    EXPECT_EQ(buffer.Write(0, "abcde"), 0);
    EXPECT_EQ(buffer.Bytes(0, 8), "abcdeZZZ");
  }
}

TEST(DynbufferEnsure, RefusesAnIndexAtOrBeyondTheLimit) {
  Buffer buffer(0x1000, 16, 0, Keep);
  EXPECT_EQ(DYNBUFFER_Ensure(buffer.record(), 0xFFF), 0);
  EXPECT_TRUE(messages.empty());
  EXPECT_EQ(DYNBUFFER_Ensure(buffer.record(), 0x1000), -3);
  EXPECT_EQ(DYNBUFFER_Ensure(buffer.record(), 0xABCDEF01), -3);
  ASSERT_EQ(messages.size(), 2U);
  EXPECT_EQ(messages[0],
            "Debugger accesses memory in dynamic buffer at offset 0x00001000 which is out of array "
            "bounds.");
  EXPECT_EQ(messages[1],
            "Debugger accesses memory in dynamic buffer at offset 0xABCDEF01 which is out of array "
            "bounds.");
}

TEST(DynbufferEnsure, RefusesSilentlyWithoutACallback) {
  Buffer buffer(16, 16, 0);
  EXPECT_EQ(DYNBUFFER_Ensure(buffer.record(), 16), -3);
  EXPECT_TRUE(messages.empty());
}

// The array counts before the limit does.
TEST(DynbufferEnsure, TakesEveryIndexOfAnArrayThatIsLargerThanTheLimit) {
  Buffer buffer(4, 8, 0);
  EXPECT_EQ(DYNBUFFER_Ensure(buffer.record(), 7), 0);
  EXPECT_EQ(DYNBUFFER_Ensure(buffer.record(), 8), -3);
  EXPECT_EQ(buffer->size, 8U);
}

TEST(DynbufferEnsure, LeavesTheBufferAsItWasWithoutMemory) {
  Buffer buffer(1000, 4, 0, Keep);
  ASSERT_EQ(buffer.Append("abcd"), 0);
  const uint8_t* const data = buffer->data;
  {
    const FailingAllocation failing(1);
    EXPECT_EQ(DYNBUFFER_Ensure(buffer.record(), 99), -2);
  }
  ASSERT_EQ(messages.size(), 1U);
  EXPECT_EQ(messages[0], "Cannot allocate 100 bytes of memory for dynamic buffer");
  EXPECT_EQ(buffer->data, data);
  EXPECT_EQ(buffer->size, 4U);
  EXPECT_EQ(buffer->highest, 3U);
  EXPECT_EQ(buffer.Bytes(0, 4), "abcd");
}

TEST(DynbufferEnsure, LacksMemorySilentlyWithoutACallback) {
  Buffer buffer(1000, 4, 0);
  const FailingAllocation failing(1);
  EXPECT_EQ(DYNBUFFER_Ensure(buffer.record(), 99), -2);
  EXPECT_TRUE(messages.empty());
}

// Growing is refused here, so the sizes show in the message alone and no memory is touched.
TEST(DynbufferEnsure, ComputesSizesNearThe32BitLimitWithoutOverflow) {
  const struct {
    uint32_t limit, size, index;
    const char* message;
  } cases[] = {
      // Twice 0x80000000 is 2^32 and gives way to the limit, 0xFFFFFFFF.
      {0xFFFFFFFF, 0x80000000, 0x80000000, "Cannot allocate -1 bytes"},
      {0xFFFFFFFF, 0xC0000000, 0xC0000000, "Cannot allocate -1 bytes"},
      {0xFFFFFFFF, 0x10, 0xFFFFFFFE, "Cannot allocate -1 bytes"},
      {0xF0000000, 0xE0000000, 0xE0000000, "Cannot allocate -268435456 bytes"},
      {0xFFFFFFFF, 0x40000000, 0x40000000, "Cannot allocate -2147483648 bytes"},
      {0xFFFFFFFF, 0x3FFFFFFF, 0x3FFFFFFF, "Cannot allocate 2147483646 bytes"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.message);
    Buffer buffer(c.limit, 16, 0, Keep);
    buffer->size = c.size;
    {
      const FailingAllocation failing(1);
      EXPECT_EQ(DYNBUFFER_Ensure(buffer.record(), c.index), -2);
    }
    ASSERT_EQ(messages.size(), 1U);
    EXPECT_EQ(messages[0], std::string(c.message) + " of memory for dynamic buffer");
    buffer->size = 16;
  }
}

TEST(DynbufferEnsure, HoldsTheLastIndexOfNoLimit) {
  Buffer buffer(0xFFFFFFFF, 16, 0, Keep);
  EXPECT_EQ(DYNBUFFER_Ensure(buffer.record(), 0xFFFFFFFF), -3);
}

// ---- Write ----

TEST(DynbufferWrite, CopiesToTheOffset) {
  Buffer buffer(1000, 8, 0x2E);
  EXPECT_EQ(buffer.Write(2, "abc"), 0);
  EXPECT_EQ(buffer.Bytes(0, 8), "..abc...");
  EXPECT_EQ(buffer->highest, 4U);
  EXPECT_EQ(buffer->written, 1U);
}

TEST(DynbufferWrite, RaisesTheHighestIndexAndNeverLowersIt) {
  Buffer buffer(1000, 16, 0x2E);
  EXPECT_EQ(buffer.Write(8, "xy"), 0);
  EXPECT_EQ(buffer->highest, 9U);
  EXPECT_EQ(buffer.Write(0, "abc"), 0);
  EXPECT_EQ(buffer->highest, 9U);
  EXPECT_EQ(buffer.Write(9, "z"), 0);
  EXPECT_EQ(buffer->highest, 9U);
  EXPECT_EQ(buffer.Bytes(0, 11), "abc.....xz.");
}

TEST(DynbufferWrite, GrowsToItsLastByte) {
  Buffer buffer(1000, 8, 0x2E);
  EXPECT_EQ(buffer.Write(6, "ab"), 0);
  EXPECT_EQ(buffer->size, 8U);
  EXPECT_EQ(buffer.Write(7, "cd"), 0);
  EXPECT_EQ(buffer->size, 16U);
  EXPECT_EQ(buffer.Bytes(0, 16), "......acd.......");
}

TEST(DynbufferWrite, ReachesTheLimitAndNotBeyond) {
  Buffer buffer(10, 4, 0x2E, Keep);
  EXPECT_EQ(buffer.Write(8, "ab"), 0);
  EXPECT_EQ(buffer->size, 10U);
  EXPECT_EQ(buffer.Write(9, "cd"), -3);
  EXPECT_EQ(buffer.Bytes(0, 10), "........ab");
  EXPECT_EQ(buffer->highest, 9U);
  ASSERT_EQ(messages.size(), 1U);
  EXPECT_EQ(messages[0],
            "Debugger accesses memory in dynamic buffer at offset 0x0000000A which is out of array "
            "bounds.");
}

TEST(DynbufferWrite, LeavesAFreshBufferFreshWhenItFails) {
  Buffer buffer(10, 4, 0x2E);
  EXPECT_EQ(buffer.Write(10, "a"), -3);
  {
    const FailingAllocation failing(1);
    EXPECT_EQ(buffer.Write(4, "a"), -2);
  }
  EXPECT_EQ(buffer->written, 0U);
  EXPECT_EQ(buffer->highest, 0U);
  EXPECT_EQ(buffer->size, 4U);
  EXPECT_EQ(buffer.Bytes(0, 4), "....");
}

TEST(DynbufferWrite, OfLengthZeroAtOffsetZeroIsOutOfBounds) {
  Buffer buffer(0x100000, 4096, 0, Keep);
  EXPECT_EQ(DYNBUFFER_Write(buffer.record(), 0, "x", 0), -3);
  EXPECT_EQ(DYNBUFFER_Write(buffer.record(), 0, nullptr, 0), -3);
  EXPECT_EQ(buffer->written, 0U);
  ASSERT_EQ(messages.size(), 2U);
  EXPECT_EQ(messages[0],
            "Debugger accesses memory in dynamic buffer at offset 0xFFFFFFFF which is out of array "
            "bounds.");
  EXPECT_EQ(messages[1], messages[0]);
}

TEST(DynbufferWrite, OfLengthZeroAtOffsetZeroIsOutOfBoundsUnderTheHighestLimit) {
  Buffer buffer(0xFFFFFFFF, 16, 0);
  EXPECT_EQ(DYNBUFFER_Write(buffer.record(), 0, nullptr, 0), -3);
}

TEST(DynbufferWrite, OfLengthZeroElsewhereTakesTheIndexBeforeItAsWritten) {
  Buffer buffer(1000, 8, 0x2E);
  EXPECT_EQ(DYNBUFFER_Write(buffer.record(), 6, nullptr, 0), 0);
  EXPECT_EQ(buffer->highest, 5U);
  EXPECT_EQ(buffer->written, 1U);
  EXPECT_EQ(buffer.Bytes(0, 8), "........");
  EXPECT_EQ(buffer.Append("a"), 0);
  EXPECT_EQ(buffer.Bytes(0, 8), "......a.");
}

TEST(DynbufferWrite, OfLengthZeroGrowsToTheIndexBeforeIt) {
  Buffer buffer(100, 8, 0x2E);
  EXPECT_EQ(DYNBUFFER_Write(buffer.record(), 8, nullptr, 0), 0);
  EXPECT_EQ(buffer->size, 8U);
  EXPECT_EQ(DYNBUFFER_Write(buffer.record(), 100, nullptr, 0), 0);
  EXPECT_EQ(buffer->size, 100U);
  EXPECT_EQ(DYNBUFFER_Write(buffer.record(), 101, nullptr, 0), -3);
}

// 8 + 0xFFFFFFFF - 1 is 6 in 32 bits, which lies inside.
TEST(DynbufferWrite, WhoseEndPasses32BitsStaysInsideTheArray) {
  constexpr uint32_t kLength = 0xFFFFFFFF;
  Buffer buffer(1000, 16, 0x2E);
  const std::string data(16, 'x');
  EXPECT_EQ(DYNBUFFER_Write(buffer.record(), 8, data.data(), kLength), 0);
  EXPECT_EQ(buffer->size, 16U);
  EXPECT_EQ(buffer->highest, 6U);
  EXPECT_EQ(buffer.Bytes(0, 16), "........xxxxxxxx");
}

// 0xFFFFFFF0 + 0x18 - 1 is 7 in 32 bits; the array ends long before the offset.
TEST(DynbufferWrite, BehindTheArrayWhoseEndPasses32BitsCopiesNothing) {
  Buffer buffer(1000, 16, 0x2E);
  const std::string data(0x18, 'x');
  EXPECT_EQ(buffer.Write(0xFFFFFFF0, data), 0);
  EXPECT_EQ(buffer->highest, 7U);
  EXPECT_EQ(buffer.Bytes(0, 16), "................");
}

TEST(DynbufferWrite, TakesEveryByteValue) {
  std::string all;
  for (int i = 0; i <= 255; ++i) all += static_cast<char>(i);
  Buffer buffer(1000, 1, 0);
  EXPECT_EQ(buffer.Write(0, all), 0);
  EXPECT_EQ(buffer.Bytes(0, 256), all);
}

// ---- Append ----

TEST(DynbufferAppend, BeginsAtOffsetZero) {
  Buffer buffer(1000, 8, 0x2E);
  EXPECT_EQ(buffer.Append("a"), 0);
  EXPECT_EQ(buffer->highest, 0U);
  EXPECT_EQ(buffer->written, 1U);
  EXPECT_EQ(buffer.Append("bc"), 0);
  EXPECT_EQ(buffer->highest, 2U);
  EXPECT_EQ(buffer.Bytes(0, 8), "abc.....");
}

TEST(DynbufferAppend, GoesOnBehindTheHighestByteOfAWrite) {
  Buffer buffer(1000, 4096, 0x2E);
  EXPECT_EQ(buffer.Write(100, "abc"), 0);
  EXPECT_EQ(buffer->highest, 102U);
  EXPECT_EQ(buffer.Append("de"), 0);
  EXPECT_EQ(buffer->highest, 104U);
  EXPECT_EQ(buffer.Bytes(98, 106), "..abcde.");
}

TEST(DynbufferAppend, DoublesTheMarkupWritersBufferFor5000Bytes) {
  Buffer buffer(0x100000, 4096, 0);
  const std::string text(5000, 'x');
  EXPECT_EQ(buffer.Append(text), 0);
  EXPECT_EQ(buffer->size, 8192U);
  EXPECT_EQ(buffer.Bytes(0, 5000), text);
  EXPECT_EQ(buffer.Bytes(5000, 8192), std::string(3192, '\0'));
}

TEST(DynbufferAppend, FillsTheMarkupWritersBufferToItsLimit) {
  Buffer buffer(0x100000, 4096, 0);
  EXPECT_EQ(buffer.Append(std::string(0xFFFFF, 'x')), 0);
  EXPECT_EQ(buffer.Append("yz"), -3);  // index 0x100000
  EXPECT_EQ(buffer->highest, 0xFFFFEU);
  EXPECT_EQ(buffer.Append("y"), 0);
  EXPECT_EQ(buffer->highest, 0xFFFFFU);
  EXPECT_EQ(buffer->size, 0x100000U);
  EXPECT_EQ(buffer.Append("z"), -3);
  EXPECT_EQ(buffer.Bytes(0xFFFFE, 0x100000), "xy");
}

TEST(DynbufferAppend, LosesExactlyThePiecesThatDoNotFit) {
  Buffer buffer(6, 2, 0);
  EXPECT_EQ(buffer.Append("abc"), 0);
  EXPECT_EQ(buffer.Append("defg"), -3);
  EXPECT_EQ(buffer.Append("hi"), 0);
  EXPECT_EQ(buffer.Append("jk"), -3);
  EXPECT_EQ(buffer.Append("l"), 0);
  EXPECT_EQ(buffer.Bytes(0, 6), "abchil");
}

TEST(DynbufferAppend, GoesOnAfterAFailedAllocation) {
  Buffer buffer(100, 2, 0);
  EXPECT_EQ(buffer.Append("ab"), 0);
  {
    const FailingAllocation failing(1);
    EXPECT_EQ(buffer.Append("lost"), -2);
  }
  EXPECT_EQ(buffer->highest, 1U);
  EXPECT_EQ(buffer.Append("cd"), 0);
  EXPECT_EQ(buffer.Bytes(0, 4), "abcd");
}

TEST(DynbufferAppend, OfLengthZeroToAFreshBufferIsOutOfBounds) {
  Buffer buffer(0x100000, 4096, 0, Keep);
  EXPECT_EQ(buffer.Append(""), -3);
  EXPECT_EQ(DYNBUFFER_Append(buffer.record(), nullptr, 0), -3);
  EXPECT_EQ(buffer->written, 0U);
  ASSERT_EQ(messages.size(), 2U);
  EXPECT_EQ(messages[0],
            "Debugger accesses memory in dynamic buffer at offset 0xFFFFFFFF which is out of array "
            "bounds.");
}

TEST(DynbufferAppend, OfLengthZeroLaterChangesNothing) {
  Buffer buffer(3, 3, 0x2E);
  EXPECT_EQ(buffer.Append("abc"), 0);
  EXPECT_EQ(buffer.Append(""), 0);
  EXPECT_EQ(DYNBUFFER_Append(buffer.record(), nullptr, 0), 0);
  EXPECT_EQ(buffer->highest, 2U);
  EXPECT_EQ(buffer.Bytes(0, 3), "abc");
}

}  // namespace
