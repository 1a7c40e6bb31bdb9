// SPDX-License-Identifier: MIT

#include "util/bits.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/mman.h>

#include <algorithm>
#include <atomic>
#include <cstring>
#include <iterator>
#include <thread>
#include <vector>

#include "tests/support/guarded_bytes.h"

namespace {

using support::Bytes;
using support::Contents;
using support::GuardedBuffer;
using support::GuardedBytes;
using testing::ElementsAre;
using testing::ElementsAreArray;

// ---- Reversal ----

void EmptyTable() { memset(UTIL_aBitReverse16, 0, sizeof UTIL_aBitReverse16); }

// Whether every bit of every entry is the opposite bit of the index.
bool IsTableRight() {
  for (uint32_t i = 0; i < 65536; ++i) {
    for (uint32_t bit = 0; bit < 16; ++bit) {
      if (((UTIL_aBitReverse16[i] >> bit) & 1) != ((i >> (15 - bit)) & 1)) return false;
    }
  }
  return true;
}

TEST(UtilBitReverse16, ReversesSixteenBits) {
  const struct {
    uint32_t value;
    uint16_t expected;
  } cases[] = {{0, 0},           {1, 0x8000},      {2, 0x4000},      {0x8000, 1},
               {0x1234, 0x2C48}, {0xFFFF, 0xFFFF}, {0x00FF, 0xFF00}, {0x0F0F, 0xF0F0},
               {0xAAAA, 0x5555}, {0xCCCC, 0x3333}, {0xFFFE, 0x7FFF}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.value);
    EXPECT_EQ(UTIL_BitReverse16(c.value), c.expected);
  }
}

TEST(UtilBitReverse16, LooksAtTheLowSixteenBitsAlone) {
  EXPECT_EQ(UTIL_BitReverse16(0xFFFF0001), 0x8000);
  EXPECT_EQ(UTIL_BitReverse16(0x10000), 0);
}

TEST(UtilBitReverse32, ReversesThirtyTwoBits) {
  const struct {
    uint32_t value;
    uint32_t expected;
  } cases[] = {{0, 0},
               {1, 0x80000000},
               {0x80000000, 1},
               {0x00010000, 0x00008000},
               {0x12345678, 0x1E6A2C48},
               {0xFFFFFFFF, 0xFFFFFFFF},
               {0x0000FFFF, 0xFFFF0000}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.value);
    EXPECT_EQ(UTIL_BitReverse32(c.value), c.expected);
  }
}

TEST(UtilBitReverse, FirstCallFillsTheWholeTable) {
  EmptyTable();
  EXPECT_EQ(UTIL_BitReverse16(1), 0x8000);
  EXPECT_TRUE(IsTableRight());

  EmptyTable();
  EXPECT_EQ(UTIL_BitReverse32(1), 0x80000000);
  EXPECT_TRUE(IsTableRight());
}

// Looked at before any test runs.
const bool table_started_empty =
    std::all_of(std::begin(UTIL_aBitReverse16), std::end(UTIL_aBitReverse16),
                [](uint16_t entry) { return entry == 0; });

TEST(UtilBitReverse, TableIsEmptyUntilTheFirstCall) {
  static_assert(sizeof UTIL_aBitReverse16 == 65536 * 2);
  static_assert(sizeof UTIL_aBitReverse16[0] == 2);
  EXPECT_TRUE(table_started_empty);
}

TEST(UtilBitReverse, TheLastEntryMarksTheTableAsFilled) {
  EmptyTable();
  UTIL_aBitReverse16[65535] = 0xFFFF;
  UTIL_aBitReverse16[5] = 0x1234;
  EXPECT_EQ(UTIL_BitReverse16(5), 0x1234);
  EXPECT_EQ(UTIL_BitReverse16(1), 0);
  EXPECT_EQ(UTIL_BitReverse32(0x00050005), 0x12341234U);
  EXPECT_EQ(UTIL_BitReverse32(0x00010005), 0x12340000U);
}

TEST(UtilBitReverse, AnyOtherLastEntryHasTheTableFilledAgain) {
  for (const uint16_t last : {uint16_t{0}, uint16_t{1}, uint16_t{0x7FFF}, uint16_t{0xFFFE}}) {
    SCOPED_TRACE(last);
    EmptyTable();
    UTIL_aBitReverse16[5] = 0x1234;
    UTIL_aBitReverse16[65535] = last;
    EXPECT_EQ(UTIL_BitReverse16(5), 0xA000);
    EXPECT_TRUE(IsTableRight());
  }
}

TEST(UtilBitReverse, ThreadsMayRaceForTheFirstCall) {
  constexpr int kThreads = 4;
  for (int round = 0; round < 20; ++round) {
    EmptyTable();
    std::atomic<int> waiting = kThreads;
    std::atomic<int> wrong = 0;
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i) {
      threads.emplace_back([&] {
        --waiting;
        while (waiting != 0) std::this_thread::yield();
        if (UTIL_BitReverse16(0x1234) != 0x2C48) ++wrong;
        if (UTIL_BitReverse32(0x12345678) != 0x1E6A2C48) ++wrong;
        if (UTIL_BitReverse16(0xFFFE) != 0x7FFF) ++wrong;
      });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(wrong, 0);
    EXPECT_TRUE(IsTableRight());
  }
}

// ---- Reading ----

TEST(UtilReadBits, TakesBitsFromTheLowestUp) {
  // As one number 0xF16CB4: 1111 0001 0110 1100 1011 0100.
  GuardedBytes stream({0xB4, 0x6C, 0xF1});
  const struct {
    uint32_t bit_position;
    uint32_t count;
    uint32_t expected;
  } cases[] = {
      {0, 8, 0xB4}, {0, 16, 0x6CB4}, {0, 4, 0x4},     {0, 1, 0},       {2, 1, 1},
      {3, 5, 0x16}, {4, 8, 0xCB},    {5, 16, 0x8B65}, {7, 16, 0xE2D9}, {8, 16, 0xF16C},
      {8, 8, 0x6C}, {16, 8, 0xF1},   {1, 16, 0xB65A}, {9, 15, 0x78B6}, {23, 1, 1},
      {20, 4, 0xF}, {17, 3, 0},      {6, 3, 0x2},     {15, 9, 0x1E2},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << c.count << " at " << c.bit_position);
    EXPECT_EQ(UTIL_ReadBits(stream.bytes(), c.bit_position, c.count), c.expected);
  }
}

TEST(UtilReadBits, MoreThanSixteenBitsGiveZero) {
  GuardedBytes stream({0xFF, 0xFF, 0xFF, 0xFF});
  EXPECT_EQ(UTIL_ReadBits(stream.bytes(), 0, 16), 0xFFFFU);
  EXPECT_EQ(UTIL_ReadBits(stream.bytes(), 0, 17), 0U);
  EXPECT_EQ(UTIL_ReadBits(stream.bytes(), 3, 17), 0U);
  EXPECT_EQ(UTIL_ReadBits(stream.bytes(), 0, 0xFFFFFFFF), 0U);
}

TEST(UtilReadBits, NoBitsGiveZero) {
  GuardedBytes stream({0xFF});
  EXPECT_EQ(UTIL_ReadBits(stream.bytes(), 0, 0), 0U);
  EXPECT_EQ(UTIL_ReadBits(stream.bytes(), 8, 0), 0U);  // no byte is there
  EXPECT_EQ(UTIL_ReadBits(stream.bytes(), 12, 0), 0U);
}

TEST(UtilReadBits, NeedsNoByteBehindItsLastBit) {
  const Bytes all = {0xB4, 0x6C, 0xF1, 0x3A};
  for (uint32_t position = 0; position < 16; ++position) {
    for (uint32_t count = 1; count <= 16; ++count) {
      SCOPED_TRACE(testing::Message() << count << " at " << position);
      GuardedBytes stream(Bytes(all.begin(), all.begin() + (position + count + 7) / 8));
      const uint32_t expected = (0x3AF16CB4 >> position) & ((1U << count) - 1);
      EXPECT_EQ(UTIL_ReadBits(stream.bytes(), position, count), expected);
    }
  }
}

TEST(UtilReadBits, ReadsToTheVeryEndOfTheStream) {
  GuardedBytes one({0x80});
  EXPECT_EQ(UTIL_ReadBits(one.bytes(), 0, 8), 0x80U);
  EXPECT_EQ(UTIL_ReadBits(one.bytes(), 7, 1), 1U);
  GuardedBytes two({0x00, 0x80});
  EXPECT_EQ(UTIL_ReadBits(two.bytes(), 0, 16), 0x8000U);
  EXPECT_EQ(UTIL_ReadBits(two.bytes(), 1, 15), 0x4000U);
  EXPECT_EQ(UTIL_ReadBits(two.bytes(), 8, 8), 0x80U);
}

TEST(UtilReadBits32, TakesBitsFromTheLowestUp) {
  GuardedBytes stream({0x11, 0x22, 0x33, 0x44, 0x55});  // 0x5544332211
  EXPECT_EQ(UTIL_ReadBits32(stream.bytes(), 0), 0x44332211U);
  EXPECT_EQ(UTIL_ReadBits32(stream.bytes(), 1), 0xA2199108U);
  EXPECT_EQ(UTIL_ReadBits32(stream.bytes(), 4), 0x54433221U);
  EXPECT_EQ(UTIL_ReadBits32(stream.bytes(), 7), 0xAA886644U);
  EXPECT_EQ(UTIL_ReadBits32(stream.bytes(), 8), 0x55443322U);
}

TEST(UtilReadBits32, AlignedPositionsNeedFourBytes) {
  GuardedBytes stream({0xFF, 0x01, 0x02, 0x03, 0x84});
  EXPECT_EQ(UTIL_ReadBits32(stream.bytes() + 1, 0), 0x84030201U);
  EXPECT_EQ(UTIL_ReadBits32(stream.bytes(), 8), 0x84030201U);
}

// ---- Writing ----

TEST(UtilWriteBits32, KeepsTheBitsAroundTheValue) {
  const struct {
    const char* title;
    Bytes before;
    uint32_t value;
    uint32_t bit_position;
    Bytes after;
  } cases[] = {
      {"aligned", {0xA5, 0xA5, 0xA5, 0xA5}, 0x12345678, 0, {0x78, 0x56, 0x34, 0x12}},
      {"nothing set", {0xFF, 0xFF, 0xFF, 0xFF, 0xFF}, 0, 3, {0x07, 0x00, 0x00, 0x00, 0xF8}},
      {"all set", {0, 0, 0, 0, 0}, 0xFFFFFFFF, 3, {0xF8, 0xFF, 0xFF, 0xFF, 0x07}},
      {"bit 1", {0xFF, 0xFF, 0xFF, 0xFF, 0xFF}, 0, 1, {0x01, 0x00, 0x00, 0x00, 0xFE}},
      {"bit 7", {0xFF, 0xFF, 0xFF, 0xFF, 0xFF}, 0, 7, {0x7F, 0x00, 0x00, 0x00, 0x80}},
      {"half a byte", {0, 0, 0, 0, 0}, 0x12345678, 4, {0x80, 0x67, 0x45, 0x23, 0x01}},
      {"second byte",
       {0xA5, 0xA5, 0xA5, 0xA5, 0xA5, 0xA5},
       0x12345678,
       12,
       {0xA5, 0x85, 0x67, 0x45, 0x23, 0xA1}},
      {"second byte, aligned",
       {0xA5, 0xA5, 0xA5, 0xA5, 0xA5},
       0x12345678,
       8,
       {0xA5, 0x78, 0x56, 0x34, 0x12}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.title);
    GuardedBytes stream(c.before);
    UTIL_WriteBits32(stream.bytes(), c.value, c.bit_position);
    EXPECT_THAT(Contents(stream), ElementsAreArray(c.after));
  }
}

TEST(UtilWriteBits32, IsReadBackFromEveryPosition) {
  for (uint32_t position = 0; position < 40; ++position) {
    SCOPED_TRACE(position);
    GuardedBuffer stream((position + 32 + 7) / 8);
    UTIL_WriteBits32(stream.bytes(), 0xDEADBEEF, position);
    EXPECT_EQ(UTIL_ReadBits32(stream.bytes(), position), 0xDEADBEEFU);
    EXPECT_TRUE(stream.IsUntouched(0, position / 8));
  }
}

Bytes Packed(const std::vector<uint32_t>& values, uint32_t start_bit, uint32_t bits_per_value,
             size_t size) {
  GuardedBuffer stream(size);
  UTIL_WriteBitsArray(stream.bytes(), values.data(), start_bit, bits_per_value,
                      static_cast<uint32_t>(values.size()));
  return Contents(stream);
}

TEST(UtilWriteBitsArray, PacksValuesBackToBack) {
  EXPECT_THAT(Packed({1, 2, 3}, 0, 4, 5), ElementsAre(0x21, 0x03, 0x00, 0x00, 0x00));
  EXPECT_THAT(Packed({0x11223344, 0x55667788}, 0, 32, 8),
              ElementsAre(0x44, 0x33, 0x22, 0x11, 0x88, 0x77, 0x66, 0x55));
  EXPECT_THAT(Packed({1, 0, 1, 1}, 0, 1, 5), ElementsAre(0x0D, 0x00, 0x00, 0x00, 0xA0));
}

// 0xABC at bit 5 and 0xDEF at bit 17; the buffer holds 0xA5 before.
TEST(UtilWriteBitsArray, KeepsTheBitsBelowTheStartBitAndBehindTheLastValue) {
  EXPECT_THAT(Packed({0xABC, 0xDEF}, 5, 12, 7),
              ElementsAre(0x85, 0x57, 0xDF, 0x1B, 0x00, 0x00, 0xA4));
  EXPECT_THAT(Packed({0}, 7, 12, 5), ElementsAre(0x25, 0x00, 0x00, 0x00, 0x80));
}

TEST(UtilWriteBitsArray, TheNextValueOverwritesTheExcess) {
  EXPECT_THAT(Packed({0xFFFFFFFF, 0}, 0, 4, 5), ElementsAre(0x0F, 0x00, 0x00, 0x00, 0xA0));
  EXPECT_THAT(Packed({0xFFFFFFFF, 0, 0xFFFFFFFF, 0}, 0, 4, 6),
              ElementsAre(0x0F, 0x0F, 0x00, 0x00, 0x00, 0xA0));
}

TEST(UtilWriteBitsArray, TheLastValueIsWrittenWithAllItsBits) {
  EXPECT_THAT(Packed({0x12345678}, 0, 4, 4), ElementsAre(0x78, 0x56, 0x34, 0x12));
  EXPECT_THAT(Packed({0, 0x12345678}, 0, 4, 5), ElementsAre(0x80, 0x67, 0x45, 0x23, 0xA1));
}

TEST(UtilWriteBitsArray, StepsAboveTheWidthOfAValueLeaveTheBitsBetween) {
  EXPECT_THAT(Packed({0, 0}, 0, 40, 9),
              ElementsAre(0x00, 0x00, 0x00, 0x00, 0xA5, 0x00, 0x00, 0x00, 0x00));
}

TEST(UtilWriteBitsArray, StaysInsideTheBytesItNames) {
  for (uint32_t start_bit = 0; start_bit < 8; ++start_bit) {
    for (uint32_t bits = 1; bits <= 32; ++bits) {
      SCOPED_TRACE(testing::Message() << bits << " bits from " << start_bit);
      const std::vector<uint32_t> values(9, 0xFFFFFFFF);
      const uint32_t end = start_bit + 8 * bits + 32;
      const Bytes stream = Packed(values, start_bit, bits, (end + 7) / 8);
      for (uint32_t bit = 0; bit < stream.size() * 8; ++bit) {
        const bool was_set = ((0xA5 >> (bit % 8)) & 1) != 0;
        const bool is_set = ((stream[bit / 8] >> (bit % 8)) & 1) != 0;
        EXPECT_EQ(is_set, was_set || (bit >= start_bit && bit < end)) << "bit " << bit;
      }
    }
  }
}

// What the values leave when they are written one after another, bit by bit.
Bytes PackedBitByBit(const std::vector<uint32_t>& values, uint32_t start_bit,
                     uint32_t bits_per_value, size_t size) {
  Bytes stream(size, GuardedBuffer::kFill);
  for (uint32_t i = 0; i < values.size(); ++i) {
    for (uint32_t bit = 0; bit < 32; ++bit) {
      const uint32_t position = start_bit + i * bits_per_value + bit;
      const auto mask = static_cast<uint8_t>(1 << (position % 8));
      uint8_t& byte = stream[position / 8];
      byte = static_cast<uint8_t>(((values[i] >> bit) & 1) != 0 ? byte | mask : byte & ~mask);
    }
  }
  return stream;
}

TEST(UtilWriteBitsArray, LeavesWhatOneValueAfterAnotherLeaves) {
  std::vector<uint32_t> values;
  for (uint32_t count = 1; count <= 20; ++count) {
    values.push_back(count * 0x9E3779B1);
    for (uint32_t start_bit = 0; start_bit < 18; ++start_bit) {
      for (uint32_t bits = 0; bits <= 42; ++bits) {
        SCOPED_TRACE(testing::Message() << count << " of " << bits << " from " << start_bit);
        const size_t size = (start_bit + (count - 1) * bits + 32 + 7) / 8;
        EXPECT_EQ(Packed(values, start_bit, bits, size),
                  PackedBitByBit(values, start_bit, bits, size));
      }
    }
  }
}

TEST(UtilWriteBitsArray, NoValuesLeaveTheStream) {
  EXPECT_THAT(Packed({}, 3, 4, 2), ElementsAre(0xA5, 0xA5));
}

// ---- Runs ----

TEST(UtilSetBitRange, SetsTheBitsAlone) {
  GuardedBytes buffer({0, 0, 0, 0});
  UTIL_SetBitRange(buffer.bytes(), 4, 12);
  EXPECT_THAT(Contents(buffer), ElementsAre(0xF0, 0xFF, 0x00, 0x00));
}

TEST(UtilClearBitRange, ClearsTheBitsAlone) {
  GuardedBytes buffer({0xFF, 0xFF, 0xFF, 0xFF});
  UTIL_ClearBitRange(buffer.bytes(), 4, 12);
  EXPECT_THAT(Contents(buffer), ElementsAre(0x0F, 0x00, 0xFF, 0xFF));
}

TEST(UtilSetBitRange, MayLieWithinOneByte) {
  GuardedBytes buffer({0x81, 0x00});
  UTIL_SetBitRange(buffer.bytes(), 2, 3);
  EXPECT_THAT(Contents(buffer), ElementsAre(0x9D, 0x00));
  UTIL_SetBitRange(buffer.bytes(), 15, 1);
  EXPECT_THAT(Contents(buffer), ElementsAre(0x9D, 0x80));
}

TEST(UtilClearBitRange, MayLieWithinOneByte) {
  GuardedBytes buffer({0xFF, 0xFF});
  UTIL_ClearBitRange(buffer.bytes(), 2, 3);
  EXPECT_THAT(Contents(buffer), ElementsAre(0xE3, 0xFF));
}

// Bits counted one by one. The bits around the run start as the opposite of what is stored.
Bytes WithRun(size_t size, uint32_t first, uint32_t count, bool is_set) {
  Bytes bytes(size, is_set ? 0x00 : 0xFF);
  for (uint32_t i = first; i < first + count; ++i) {
    bytes[i / 8] = static_cast<uint8_t>(bytes[i / 8] ^ (1 << (i % 8)));
  }
  return bytes;
}

TEST(UtilSetBitRange, TakesAnyRunInTheLastBytesOfABuffer) {
  constexpr uint32_t kSize = 5;
  for (uint32_t first = 0; first < kSize * 8; ++first) {
    for (uint32_t count = 0; first + count <= kSize * 8; ++count) {
      SCOPED_TRACE(testing::Message() << count << " from " << first);
      GuardedBytes set(Bytes(kSize, 0x00));
      UTIL_SetBitRange(set.bytes(), first, count);
      EXPECT_EQ(Contents(set), WithRun(kSize, first, count, true));
      GuardedBytes cleared(Bytes(kSize, 0xFF));
      UTIL_ClearBitRange(cleared.bytes(), first, count);
      EXPECT_EQ(Contents(cleared), WithRun(kSize, first, count, false));
    }
  }
}

// Runs of every number of bytes that are stored in another way, from any bit of the first byte to any
// of the last one.
TEST(UtilSetBitRange, TakesRunsOfManyBytes) {
  for (uint32_t size = 2; size <= 140; ++size) {
    for (uint32_t before = 0; before < 8; ++before) {
      const uint32_t behind = (before * 3 + size) % 8;
      const uint32_t count = size * 8 - before - behind;
      SCOPED_TRACE(testing::Message() << count << " from " << before);
      GuardedBytes set(Bytes(size, 0x00));
      UTIL_SetBitRange(set.bytes(), before, count);
      ASSERT_EQ(Contents(set), WithRun(size, before, count, true));
      GuardedBytes cleared(Bytes(size, 0xFF));
      UTIL_ClearBitRange(cleared.bytes(), before, count);
      ASSERT_EQ(Contents(cleared), WithRun(size, before, count, false));
    }
  }
}

TEST(UtilSetBitRange, NoBitsAndNoBufferDoNothing) {
  GuardedBytes buffer({0x55});
  UTIL_SetBitRange(buffer.bytes(), 3, 0);
  UTIL_ClearBitRange(buffer.bytes(), 3, 0);
  EXPECT_THAT(Contents(buffer), ElementsAre(0x55));
  GuardedBuffer empty(0);
  UTIL_SetBitRange(empty.bytes(), 0, 0);
  UTIL_SetBitRange(nullptr, 3, 5);
  UTIL_ClearBitRange(nullptr, 3, 5);
}

TEST(UtilSetBitRange, MayEndBeyondPositionsOf32Bits) {
  constexpr size_t kSize = (size_t{1} << 29) + 1;  // of which two bytes are touched
  void* const mapping = mmap(nullptr, kSize, PROT_READ | PROT_WRITE,
                             MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
  ASSERT_NE(mapping, MAP_FAILED);
  auto* const bytes = static_cast<uint8_t*>(mapping);
  UTIL_SetBitRange(bytes, 0xFFFFFFFC, 8);
  EXPECT_EQ(bytes[0], 0x00);
  EXPECT_EQ(bytes[kSize - 2], 0xF0);
  EXPECT_EQ(bytes[kSize - 1], 0x0F);
  munmap(mapping, kSize);
}

// ---- Counting and searching ----

TEST(UtilCountBits, CountsSetBits) {
  EXPECT_EQ(UTIL_CountBits(0), 0U);
  EXPECT_EQ(UTIL_CountBits(1), 1U);
  EXPECT_EQ(UTIL_CountBits(0x80000001), 2U);
  EXPECT_EQ(UTIL_CountBits(0x12345678), 13U);
  EXPECT_EQ(UTIL_CountBits(0xFFFFFFFF), 32U);
}

TEST(UtilCountBits, CountsEachBitOfEveryPlaceAndNumber) {
  for (uint32_t first = 0; first < 32; ++first) {
    for (uint32_t count = 1; first + count <= 32; ++count) {
      SCOPED_TRACE(testing::Message() << count << " from " << first);
      const auto run = static_cast<uint32_t>(((uint64_t{1} << count) - 1) << first);
      EXPECT_EQ(UTIL_CountBits(run), count);
      EXPECT_EQ(UTIL_CountBits(~run), 32 - count);
      EXPECT_EQ(UTIL_Parity(run), count % 2);
      EXPECT_EQ(UTIL_Parity(~run), count % 2);
    }
  }
}

TEST(UtilParity, IsOneForAnOddNumberOfSetBits) {
  EXPECT_EQ(UTIL_Parity(0), 0U);
  EXPECT_EQ(UTIL_Parity(1), 1U);
  EXPECT_EQ(UTIL_Parity(3), 0U);
  EXPECT_EQ(UTIL_Parity(7), 1U);
  EXPECT_EQ(UTIL_Parity(0x80000000), 1U);
  EXPECT_EQ(UTIL_Parity(0x12345678), 1U);
  EXPECT_EQ(UTIL_Parity(0xFFFFFFFF), 0U);
}

TEST(UtilHighestBit, GivesTheIndex) {
  EXPECT_EQ(UTIL_HighestBit(1), 0U);
  EXPECT_EQ(UTIL_HighestBit(2), 1U);
  EXPECT_EQ(UTIL_HighestBit(3), 1U);
  EXPECT_EQ(UTIL_HighestBit(0x0001FFFF), 16U);
  EXPECT_EQ(UTIL_HighestBit(0x80000000), 31U);
  EXPECT_EQ(UTIL_HighestBit(0xFFFFFFFF), 31U);
}

TEST(UtilHighestBit64, GivesTheIndex) {
  EXPECT_EQ(UTIL_HighestBit64(1), 0U);
  EXPECT_EQ(UTIL_HighestBit64(0xFFFFFFFF), 31U);
  EXPECT_EQ(UTIL_HighestBit64(0x100000000), 32U);
  EXPECT_EQ(UTIL_HighestBit64(0x8000000000000000), 63U);
  EXPECT_EQ(UTIL_HighestBit64(0xFFFFFFFFFFFFFFFF), 63U);
}

TEST(UtilHighestBit, NoBitSetGivesAllBitsSet) {
  EXPECT_EQ(UTIL_HighestBit(0), 0xFFFFFFFF);
  EXPECT_EQ(UTIL_HighestBit64(0), 0xFFFFFFFF);
}

TEST(UtilHighestBitPos, GivesTheIndexForPositiveValues) {
  EXPECT_EQ(UTIL_HighestBitPos(1), 0);
  EXPECT_EQ(UTIL_HighestBitPos(2), 1);
  EXPECT_EQ(UTIL_HighestBitPos(3), 1);
  EXPECT_EQ(UTIL_HighestBitPos(0x100), 8);
  EXPECT_EQ(UTIL_HighestBitPos(0x40000000), 30);
  EXPECT_EQ(UTIL_HighestBitPos(0x7FFFFFFF), 30);
}

TEST(UtilHighestBitPos, Is31ForZeroAndNegativeValues) {
  EXPECT_EQ(UTIL_HighestBitPos(0), 31);
  EXPECT_EQ(UTIL_HighestBitPos(-1), 31);
  EXPECT_EQ(UTIL_HighestBitPos(INT32_MIN), 31);
}

TEST(UtilLowestBit, GivesTheIndex) {
  EXPECT_EQ(UTIL_LowestBit(1), 0);
  EXPECT_EQ(UTIL_LowestBit(8), 3);
  EXPECT_EQ(UTIL_LowestBit(0xFFFFFFF0), 4);
  EXPECT_EQ(UTIL_LowestBit(0x80000000), 31);
}

TEST(UtilLowestBit, NoBitSetGivesMinusOne) { EXPECT_EQ(UTIL_LowestBit(0), -1); }

}  // namespace
