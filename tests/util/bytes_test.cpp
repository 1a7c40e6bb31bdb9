// SPDX-License-Identifier: MIT

#include "util/bytes.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <span>
#include <type_traits>

#include "tests/support/guarded_bytes.h"

namespace {

using support::Bytes;
using support::Contents;
using support::Counting;
using support::GuardedBuffer;
using support::GuardedBytes;
using testing::ElementsAre;
using testing::ElementsAreArray;

// ---- Loads ----

const Bytes kEightBytes = {0x81, 0x92, 0xA3, 0xB4, 0xC5, 0xD6, 0xE7, 0xF8};

// Calls a load at every place relative to a boundary of 8 bytes, with nothing behind its bytes.
template <typename Load, typename Value>
void ExpectLoad(Load load, size_t size, Value expected) {
  static_assert(std::is_same_v<decltype(load(nullptr)), Value>);
  for (size_t offset = 0; offset < 8; ++offset) {
    SCOPED_TRACE(testing::Message() << size << " bytes, offset " << offset);
    GuardedBuffer buffer(size + offset);
    std::copy_n(kEightBytes.begin(), size, buffer.bytes());
    EXPECT_EQ(load(buffer.bytes()), expected);
  }
}

TEST(UtilLoad, Loads8Bits) { ExpectLoad(UTIL_Load8, 1, uint8_t{0x81}); }

TEST(UtilLoad, BigEndianTakesTheMostSignificantByteFirst) {
  ExpectLoad(UTIL_Load16BE, 2, uint16_t{0x8192});
  ExpectLoad(UTIL_Load32BE, 4, 0x8192A3B4U);
}

TEST(UtilLoad, LittleEndianTakesTheLeastSignificantByteFirst) {
  ExpectLoad(UTIL_Load16LE, 2, uint16_t{0x9281});
  ExpectLoad(UTIL_Load32LE, 4, 0xB4A39281U);
  ExpectLoad(UTIL_Load64LE, 8, uint64_t{0xF8E7D6C5B4A39281});
}

TEST(UtilLoad64Words, TakesTheUpperWordFirst) {
  ExpectLoad(UTIL_Load64Words, 8, uint64_t{0xB4A39281F8E7D6C5});
}

TEST(UtilLoad, FlagZeroIsLittleEndian) {
  ExpectLoad([](const void* at) { return UTIL_Load16(at, 0); }, 2, uint16_t{0x9281});
  ExpectLoad([](const void* at) { return UTIL_Load32(at, 0); }, 4, 0xB4A39281U);
  ExpectLoad([](const void* at) { return UTIL_Load64(at, 0); }, 8, uint64_t{0xF8E7D6C5B4A39281});
}

TEST(UtilLoad, AnyOtherFlagIsBigEndian) {
  for (const int32_t flag : {1, 2, 0x100, -1}) {
    SCOPED_TRACE(flag);
    ExpectLoad([=](const void* at) { return UTIL_Load16(at, flag); }, 2, uint16_t{0x8192});
    ExpectLoad([=](const void* at) { return UTIL_Load32(at, flag); }, 4, 0x8192A3B4U);
    ExpectLoad([=](const void* at) { return UTIL_Load64(at, flag); }, 8,
               uint64_t{0x8192A3B4C5D6E7F8});
  }
}

// ---- Stores ----

// Calls a store at every place relative to a boundary of 8 bytes.
template <typename Store>
void ExpectStore(Store store, const Bytes& expected) {
  for (size_t offset = 0; offset < 8; ++offset) {
    SCOPED_TRACE(testing::Message() << expected.size() << " bytes, offset " << offset);
    const size_t end = offset + expected.size();
    GuardedBuffer buffer(16);
    store(buffer.bytes() + offset);
    EXPECT_THAT(Bytes(buffer.bytes() + offset, buffer.bytes() + end), ElementsAreArray(expected));
    EXPECT_TRUE(buffer.IsUntouched(0, offset));
    EXPECT_TRUE(buffer.IsUntouched(end, buffer.size()));
  }
}

TEST(UtilStore, BigEndianPutsTheMostSignificantByteFirst) {
  ExpectStore([](void* at) { UTIL_Store16BE(at, 0x8192); }, {0x81, 0x92});
  ExpectStore([](void* at) { UTIL_Store32BE(at, 0x8192A3B4); }, {0x81, 0x92, 0xA3, 0xB4});
  ExpectStore([](void* at) { UTIL_Store64BE(at, 0x8192A3B4C5D6E7F8); }, kEightBytes);
}

TEST(UtilStore, LittleEndianPutsTheLeastSignificantByteFirst) {
  ExpectStore([](void* at) { UTIL_Store16LE(at, 0x9281); }, {0x81, 0x92});
  ExpectStore([](void* at) { UTIL_Store32LE(at, 0xB4A39281); }, {0x81, 0x92, 0xA3, 0xB4});
  ExpectStore([](void* at) { UTIL_Store64LE(at, 0xF8E7D6C5B4A39281); }, kEightBytes);
}

TEST(UtilStore, FlagZeroIsLittleEndian) {
  ExpectStore([](void* at) { UTIL_Store16(at, 0x9281, 0); }, {0x81, 0x92});
  ExpectStore([](void* at) { UTIL_Store32(at, 0xB4A39281, 0); }, {0x81, 0x92, 0xA3, 0xB4});
  ExpectStore([](void* at) { UTIL_Store64(at, 0xF8E7D6C5B4A39281, 0); }, kEightBytes);
}

TEST(UtilStore, AnyOtherFlagIsBigEndian) {
  for (const int32_t flag : {1, 2, 0x100, -1}) {
    SCOPED_TRACE(flag);
    ExpectStore([=](void* at) { UTIL_Store16(at, 0x8192, flag); }, {0x81, 0x92});
    ExpectStore([=](void* at) { UTIL_Store32(at, 0x8192A3B4, flag); }, {0x81, 0x92, 0xA3, 0xB4});
    ExpectStore([=](void* at) { UTIL_Store64(at, 0x8192A3B4C5D6E7F8, flag); }, kEightBytes);
  }
}

TEST(UtilStore32LEInc, StoresLittleEndianAndMovesTheCursorByFour) {
  GuardedBuffer buffer(9);
  uint8_t* cursor = buffer.bytes() + 1;
  UTIL_Store32LEInc(&cursor, 0xB4A39281);
  EXPECT_EQ(cursor, buffer.bytes() + 5);
  UTIL_Store32LEInc(&cursor, 0x00000001);
  EXPECT_EQ(cursor, buffer.bytes() + 9);
  EXPECT_THAT(Contents(buffer),
              ElementsAre(GuardedBuffer::kFill, 0x81, 0x92, 0xA3, 0xB4, 0x01, 0, 0, 0));
}

// ---- Swaps ----

TEST(UtilSwap, ReversesTheBytesOfAValue) {
  EXPECT_EQ(UTIL_Swap16(0x8192), 0x9281);
  EXPECT_EQ(UTIL_Swap16(0x0001), 0x0100);
  EXPECT_EQ(UTIL_Swap32(0x8192A3B4), 0xB4A39281U);
  EXPECT_EQ(UTIL_Swap64(0x8192A3B4C5D6E7F8), 0xF8E7D6C5B4A39281U);
}

struct ArraySwap {
  void (*swap)(void* destination, const void* source, uint32_t count);
  size_t element_size;
};

constexpr ArraySwap kArraySwaps[] = {
    {UTIL_SwapArray16, 2}, {UTIL_SwapArray32, 4}, {UTIL_SwapArray64, 8}};

TEST(UtilSwapArray, ReversesTheBytesOfEachElement) {
  GuardedBytes source({1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16});
  GuardedBuffer destination(16);
  UTIL_SwapArray16(destination.bytes(), source.bytes(), 8);
  EXPECT_THAT(Contents(destination),
              ElementsAre(2, 1, 4, 3, 6, 5, 8, 7, 10, 9, 12, 11, 14, 13, 16, 15));
  UTIL_SwapArray32(destination.bytes(), source.bytes(), 4);
  EXPECT_THAT(Contents(destination),
              ElementsAre(4, 3, 2, 1, 8, 7, 6, 5, 12, 11, 10, 9, 16, 15, 14, 13));
  UTIL_SwapArray64(destination.bytes(), source.bytes(), 2);
  EXPECT_THAT(Contents(destination),
              ElementsAre(8, 7, 6, 5, 4, 3, 2, 1, 16, 15, 14, 13, 12, 11, 10, 9));
}

// Byte i of the result is the one at the mirrored place of its element.
Bytes Mirrored(const Bytes& bytes, size_t element_size) {
  Bytes mirrored(bytes.size());
  for (size_t i = 0; i < bytes.size(); ++i) {
    const size_t in_element = i % element_size;
    mirrored[i] = bytes[i - in_element + (element_size - 1 - in_element)];
  }
  return mirrored;
}

TEST(UtilSwapArray, SwapsEveryCountAtAnyAlignment) {
  for (const ArraySwap& c : kArraySwaps) {
    for (size_t count = 0; count <= 50; ++count) {
      for (size_t offset = 0; offset < 4; ++offset) {
        SCOPED_TRACE(testing::Message()
                     << count << " elements of " << c.element_size << " bytes, offset " << offset);
        const size_t size = count * c.element_size;
        GuardedBytes source(Counting(size));
        GuardedBuffer destination(size + offset);
        c.swap(destination.bytes(), source.bytes(), static_cast<uint32_t>(count));
        EXPECT_TRUE(std::ranges::equal(Mirrored(Counting(size), c.element_size),
                                       std::span(destination.bytes(), size)));
        EXPECT_TRUE(destination.IsUntouched(size, size + offset));
      }
    }
  }
}

TEST(UtilSwapArray, LeavesTheSourceAsItIs) {
  for (const ArraySwap& c : kArraySwaps) {
    GuardedBytes source(Counting(80));
    GuardedBuffer destination(80);
    c.swap(destination.bytes(), source.bytes(), static_cast<uint32_t>(80 / c.element_size));
    EXPECT_EQ(Contents(source), Counting(80));
  }
}

TEST(UtilSwapArray, SwapsInPlace) {
  for (const ArraySwap& c : kArraySwaps) {
    for (size_t count = 0; count <= 50; ++count) {
      SCOPED_TRACE(testing::Message() << count << " elements of " << c.element_size << " bytes");
      const size_t size = count * c.element_size;
      GuardedBytes array(Counting(size));
      c.swap(array.bytes(), array.bytes(), static_cast<uint32_t>(count));
      EXPECT_EQ(Contents(array), Mirrored(Counting(size), c.element_size));
    }
  }
}

TEST(UtilSwapArray, ReadsWhatItWroteWhenTheDestinationBeginsInsideTheSource) {
  GuardedBytes array({1, 2, 3, 4, 5, 6});
  UTIL_SwapArray16(array.bytes() + 2, array.bytes(), 2);
  EXPECT_THAT(Contents(array), ElementsAre(1, 2, 2, 1, 1, 2));

  GuardedBytes odd({1, 2, 3, 4, 5});
  UTIL_SwapArray16(odd.bytes() + 1, odd.bytes(), 2);
  EXPECT_THAT(Contents(odd), ElementsAre(1, 2, 1, 4, 1));
}

TEST(UtilSwapArray, ReadsWhatWasThereWhenTheDestinationBeginsBeforeTheSource) {
  GuardedBytes array({1, 2, 3, 4, 5, 6});
  UTIL_SwapArray16(array.bytes(), array.bytes() + 2, 2);
  EXPECT_THAT(Contents(array), ElementsAre(4, 3, 6, 5, 5, 6));
}

// One element after the other, from the first to the last.
void SwapOneByOne(uint8_t* destination, const uint8_t* source, size_t count, size_t element_size) {
  for (size_t i = 0; i < count; ++i) {
    const uint8_t* const element = source + i * element_size;
    Bytes reversed(element, element + element_size);
    std::ranges::reverse(reversed);
    std::ranges::copy(reversed, destination + i * element_size);
  }
}

TEST(UtilSwapArray, OverlapsLikeALoopOverTheElements) {
  constexpr size_t kSize = 160;     // several runs
  constexpr size_t kFarthest = 72;  // beyond two runs either way
  for (const ArraySwap& c : kArraySwaps) {
    for (size_t place = 0; place <= 2 * kFarthest; ++place) {
      SCOPED_TRACE(testing::Message() << "elements of " << c.element_size << " bytes, destination "
                                      << place << ", source " << kFarthest);
      const size_t count = kSize / c.element_size;
      GuardedBytes expected(Counting(kSize + 2 * kFarthest));
      SwapOneByOne(expected.bytes() + place, expected.bytes() + kFarthest, count, c.element_size);
      GuardedBytes array(Counting(kSize + 2 * kFarthest));
      c.swap(array.bytes() + place, array.bytes() + kFarthest, static_cast<uint32_t>(count));
      EXPECT_EQ(Contents(array), Contents(expected));
    }
  }
}

TEST(UtilSwapArray, CountZeroAccessesNothing) {
  for (const ArraySwap& c : kArraySwaps) c.swap(nullptr, nullptr, 0);
}

// ---- Integers of variable length ----

struct Encoding {
  uint32_t value;
  Bytes bytes;
};

const Encoding kEncodings[] = {
    {0, {0x00}},
    {1, {0x01}},
    {127, {0x7F}},
    {128, {0x80, 0x01}},
    {300, {0xAC, 0x02}},
    {16383, {0xFF, 0x7F}},
    {16384, {0x80, 0x80, 0x01}},
    {624485, {0xE5, 0x8E, 0x26}},
    {2097151, {0xFF, 0xFF, 0x7F}},
    {2097152, {0x80, 0x80, 0x80, 0x01}},
    {268435455, {0xFF, 0xFF, 0xFF, 0x7F}},
    {268435456, {0x80, 0x80, 0x80, 0x80, 0x01}},
    {0x80000000, {0x80, 0x80, 0x80, 0x80, 0x08}},
    {0xFFFFFFFF, {0xFF, 0xFF, 0xFF, 0xFF, 0x0F}},
};

TEST(UtilWriteVarU32, WritesGroupsOfSevenBitsLowestFirst) {
  for (const Encoding& c : kEncodings) {
    SCOPED_TRACE(c.value);
    GuardedBuffer buffer(c.bytes.size());
    EXPECT_EQ(UTIL_WriteVarU32(buffer.bytes(), c.value), buffer.bytes() + c.bytes.size());
    EXPECT_THAT(Contents(buffer), ElementsAreArray(c.bytes));
  }
}

uint32_t ReadAll(const Bytes& bytes) {
  GuardedBytes buffer(bytes);
  const uint8_t* cursor = buffer.bytes();
  const uint32_t value = UTIL_ReadVarU32(&cursor);
  EXPECT_EQ(cursor, buffer.bytes() + bytes.size());
  return value;
}

TEST(UtilReadVarU32, ReadsWhatTheWriterWritesAndMovesBehindIt) {
  for (const Encoding& c : kEncodings) EXPECT_EQ(ReadAll(c.bytes), c.value);
}

TEST(UtilReadVarU32, LeavesWhatFollows) {
  GuardedBytes buffer({0xAC, 0x02, 0x05});
  const uint8_t* cursor = buffer.bytes();
  EXPECT_EQ(UTIL_ReadVarU32(&cursor), 300U);
  EXPECT_EQ(cursor, buffer.bytes() + 2);
  EXPECT_EQ(UTIL_ReadVarU32(&cursor), 5U);
  EXPECT_EQ(cursor, buffer.bytes() + 3);
}

TEST(UtilReadVarU32, TakesEncodingsLongerThanNeedBe) {
  EXPECT_EQ(ReadAll({0x80, 0x00}), 0U);
  EXPECT_EQ(ReadAll({0xAC, 0x82, 0x80, 0x80, 0x00}), 300U);
}

TEST(UtilReadVarU32, DropsBitsAbove31OfTheFifthByte) {
  EXPECT_EQ(ReadAll({0xFF, 0xFF, 0xFF, 0xFF, 0x7F}), 0xFFFFFFFFU);
  EXPECT_EQ(ReadAll({0x80, 0x80, 0x80, 0x80, 0x70}), 0U);
}

TEST(UtilReadVarU32, ShiftsTheSixthGroupModulo32) {
  EXPECT_EQ(ReadAll({0x80, 0x80, 0x80, 0x80, 0x80, 0x01}), 8U);  // 35 modulo 32 is 3
}

}  // namespace
