// SPDX-License-Identifier: MIT

#include "util/arithmetic.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

namespace {

constexpr uint64_t kHighestAddress = 0xFFFFFFFFFFFFFFFF;

// ---- Differences ----

TEST(UtilAbsDiff32, HasNoSign) {
  EXPECT_EQ(UTIL_AbsDiff32(3, 10), 7U);
  EXPECT_EQ(UTIL_AbsDiff32(10, 3), 7U);
  EXPECT_EQ(UTIL_AbsDiff32(-3, 10), 13U);
  EXPECT_EQ(UTIL_AbsDiff32(10, -3), 13U);
  EXPECT_EQ(UTIL_AbsDiff32(-10, -3), 7U);
  EXPECT_EQ(UTIL_AbsDiff32(5, 5), 0U);
}

TEST(UtilAbsDiff32, ReachesOverAllSignedNumbers) {
  EXPECT_EQ(UTIL_AbsDiff32(INT32_MIN, INT32_MAX), 0xFFFFFFFF);
  EXPECT_EQ(UTIL_AbsDiff32(INT32_MAX, INT32_MIN), 0xFFFFFFFF);
  EXPECT_EQ(UTIL_AbsDiff32(INT32_MIN, 0), 0x80000000);
}

TEST(UtilAbsDiff64, HasNoSign) {
  EXPECT_EQ(UTIL_AbsDiff64(3, 10), 7U);
  EXPECT_EQ(UTIL_AbsDiff64(10, 3), 7U);
  EXPECT_EQ(UTIL_AbsDiff64(0x100000000, 1), 0xFFFFFFFF);
  EXPECT_EQ(UTIL_AbsDiff64(1, 0x100000000), 0xFFFFFFFF);
  EXPECT_EQ(UTIL_AbsDiff64(5, 5), 0U);
}

TEST(UtilAbsDiff64, TakesTheShorterWayRound) {
  EXPECT_EQ(UTIL_AbsDiff64(0, 0xFFFFFFFFFFFFFFFF), 1U);
  EXPECT_EQ(UTIL_AbsDiff64(0xFFFFFFFFFFFFFFFF, 0), 1U);
  EXPECT_EQ(UTIL_AbsDiff64(0x7FFFFFFFFFFFFFFF, 0), 0x7FFFFFFFFFFFFFFF);
  EXPECT_EQ(UTIL_AbsDiff64(0, 0x7FFFFFFFFFFFFFFF), 0x7FFFFFFFFFFFFFFF);
  EXPECT_EQ(UTIL_AbsDiff64(0x8000000000000000, 0), 0x8000000000000000);
  EXPECT_EQ(UTIL_AbsDiff64(0, 0x8000000000000000), 0x8000000000000000);
  EXPECT_EQ(UTIL_AbsDiff64(0x8000000000000001, 0), 0x7FFFFFFFFFFFFFFF);
}

// ---- Multiplying and dividing ----

TEST(UtilMulDivRound, RoundsToNearest) {
  EXPECT_EQ(UTIL_MulDivRound(10, 3, 4), 8U);  // 7.5
  EXPECT_EQ(UTIL_MulDivRound(1, 1, 2), 1U);
  EXPECT_EQ(UTIL_MulDivRound(7, 1, 2), 4U);
  EXPECT_EQ(UTIL_MulDivRound(10, 1, 3), 3U);  // 3.33
  EXPECT_EQ(UTIL_MulDivRound(11, 1, 3), 4U);  // 3.67
  EXPECT_EQ(UTIL_MulDivRound(2, 1, 5), 0U);
  EXPECT_EQ(UTIL_MulDivRound(3, 1, 5), 1U);
  EXPECT_EQ(UTIL_MulDivRound(6, 7, 1), 42U);
}

TEST(UtilMulDivRound, ZeroStaysZero) {
  EXPECT_EQ(UTIL_MulDivRound(0, 5, 2), 0U);
  EXPECT_EQ(UTIL_MulDivRound(5, 0, 2), 0U);
  EXPECT_EQ(UTIL_MulDivRound(0, 0, 1), 0U);
  EXPECT_EQ(UTIL_MulDivRound(0, 0xFFFFFFFFFFFFFFFF, 5), 0U);
}

TEST(UtilMulDivRound, IsExactUpToHighestBitsOf61Together) {
  // Bits 31 and 30: 2^61 + 2^31 + 2^30 + 1, which takes 62 bits.
  EXPECT_EQ(UTIL_MulDivRound(0x80000001, 0x40000001, 1), 2305843012434919425U);
  EXPECT_EQ(UTIL_MulDivRound(0x40000001, 0x80000001, 1), 2305843012434919425U);
  // (2^32 - 1) * (2^30 - 1) = 2^62 - 2^32 - 2^30 + 1, over 2.
  EXPECT_EQ(UTIL_MulDivRound(0xFFFFFFFF, 0x3FFFFFFF, 2), 2305843006529339393U);
  EXPECT_EQ(UTIL_MulDivRound(1, 0x3FFFFFFFFFFFFFFF, 1), 0x3FFFFFFFFFFFFFFF);
}

TEST(UtilMulDivRound, IsInDoublePrecisionBeyond) {
  // Bits 31 and 31: 2^62 + 2^32 + 1, of which double precision drops the 1.
  EXPECT_EQ(UTIL_MulDivRound(0x80000001, 0x80000001, 1), 4611686022722355200U);
  EXPECT_EQ(UTIL_MulDivRound(1, 0x7FFFFFFFFFFFFFFF, 1), 0x8000000000000000);
  EXPECT_EQ(UTIL_MulDivRound(0xFFFFFFFF, 0xFFFFFFFF, 1), 18446744065119617024U);  // 2^64 - 2^33
}

TEST(UtilMulDivRound, ProductsMayBeFarBeyond64Bits) {
  EXPECT_EQ(UTIL_MulDivRound(0x8000000000000000, 0x8000000000000000, 0x8000000000000000),
            0x8000000000000000);
  EXPECT_EQ(UTIL_MulDivRound(1'000'000'000'000, 1'000'000'000'000, 1'000'000'000'000),
            1'000'000'000'000U);
  EXPECT_EQ(UTIL_MulDivRound(0x100000000, 0x100000000, 0x200000000), 0x80000000);
}

TEST(UtilMulDivRound, AddsTheHalfBeyondToo) {
  // 3 * 2^62 over 2^63 is 1.5, and 2^62 over 2^63 is 0.5.
  EXPECT_EQ(UTIL_MulDivRound(3, uint64_t{1} << 62, uint64_t{1} << 63), 2U);
  EXPECT_EQ(UTIL_MulDivRound(1, uint64_t{1} << 62, uint64_t{1} << 63), 1U);
  EXPECT_EQ(UTIL_MulDivRound(1, uint64_t{1} << 62, 0xFFFFFFFFFFFFFFFF), 0U);
}

TEST(UtilMulDivRound, ResultsAbove63BitsAreWhole) {
  EXPECT_EQ(UTIL_MulDivRound(0x8000000000000000, 1, 1), 0x8000000000000000);
  EXPECT_EQ(UTIL_MulDivRound(0xC000000000000000, 1, 1), 0xC000000000000000);
  EXPECT_EQ(UTIL_MulDivRound(0xFFFFFFFFFFFFF800, 1, 1), 0xFFFFFFFFFFFFF800);
}

TEST(UtilMulDivRound, ResultsThat64BitsCannotHoldGiveTheHighestBit) {
  EXPECT_EQ(UTIL_MulDivRound(0x100000000, 0x100000000, 1), 0x8000000000000000);
  EXPECT_EQ(UTIL_MulDivRound(0x100000000, 0x300000000, 1), 0x8000000000000000);
  EXPECT_EQ(UTIL_MulDivRound(0xFFFFFFFFFFFFFFFF, 1, 1), 0x8000000000000000);  // rounds to 2^64
}

TEST(UtilUdivmod, GivesQuotientAndRemainder) {
  uint32_t remainder = 0xA5A5A5A5;
  EXPECT_EQ(UTIL_udivmod(100, 7, &remainder), 14U);
  EXPECT_EQ(remainder, 2U);
  EXPECT_EQ(UTIL_udivmod(6, 7, &remainder), 0U);
  EXPECT_EQ(remainder, 6U);
  EXPECT_EQ(UTIL_udivmod(0, 7, &remainder), 0U);
  EXPECT_EQ(remainder, 0U);
}

TEST(UtilUdivmod, TheRemainderMayBeLeftOut) { EXPECT_EQ(UTIL_udivmod(100, 7, nullptr), 14U); }

TEST(UtilUdiv, GivesTheQuotient) {
  EXPECT_EQ(UTIL_udiv(100, 7), 14U);
  EXPECT_EQ(UTIL_udiv(5, 0x80000000), 0U);
  EXPECT_EQ(UTIL_udiv(0xFFFFFFFF, 0x80000000), 1U);
}

TEST(UtilUmod, GivesTheRemainder) {
  EXPECT_EQ(UTIL_umod(100, 7), 2U);
  EXPECT_EQ(UTIL_umod(0xFFFFFFFF, 1), 0U);
  EXPECT_EQ(UTIL_umod(5, 0x80000000), 5U);
}

TEST(UtilUdivmod, DividesAsTheProcessorDoes) {
  const uint32_t numbers[] = {1,          2,          3,          7,          10,
                              255,        256,        65535,      1000000007, 0x3FFFFFFF,
                              0x40000000, 0x40000001, 0x7FFFFFFF, 0x80000000, 0x80000001,
                              0xAAAAAAAA, 0xFFFFFFFE, 0xFFFFFFFF};
  for (const uint32_t dividend : numbers) {
    for (const uint32_t divisor : numbers) {
      SCOPED_TRACE(testing::Message() << dividend << " by " << divisor);
      uint32_t remainder = 0xA5A5A5A5;
      EXPECT_EQ(UTIL_udivmod(dividend, divisor, &remainder), dividend / divisor);
      EXPECT_EQ(remainder, dividend % divisor);
      EXPECT_EQ(UTIL_udiv(dividend, divisor), dividend / divisor);
      EXPECT_EQ(UTIL_umod(dividend, divisor), dividend % divisor);
    }
  }
}

TEST(UtilSdiv, TakesTheSignOfTheDividend) {
  EXPECT_EQ(UTIL_sdiv(7, 2), 3);
  EXPECT_EQ(UTIL_sdiv(-7, 2), -3);
  EXPECT_EQ(UTIL_sdiv(-1, 2), 0);
  EXPECT_EQ(UTIL_sdiv(0, 5), 0);
  EXPECT_EQ(UTIL_sdiv(INT32_MAX, 1), INT32_MAX);
  EXPECT_EQ(UTIL_sdiv(INT32_MIN, 1), INT32_MIN);
  EXPECT_EQ(UTIL_sdiv(INT32_MIN, 2), -0x40000000);
}

TEST(UtilSdiv, NegativeDivisorsCountAsTheirBits) {
  EXPECT_EQ(UTIL_sdiv(7, -1), 0);
  EXPECT_EQ(UTIL_sdiv(-7, -1), 0);
  EXPECT_EQ(UTIL_sdiv(INT32_MIN, INT32_MIN), -1);  // 2^31 by 2^31, and the dividend's sign
  EXPECT_EQ(UTIL_sdiv(INT32_MAX, INT32_MIN), 0);
}

// ---- Greatest common divisor ----

TEST(UtilGcd, GivesTheGreatestCommonDivisor) {
  const struct {
    uint64_t first;
    uint64_t second;
    uint64_t expected;
  } cases[] = {
      {12, 18, 6},
      {18, 12, 6},
      {7, 7, 7},
      {17, 5, 1},
      {1, 1, 1},
      {1, 0xFFFFFFFFFFFFFFFF, 1},
      {100, 10, 10},
      {0xFFFFFFFFFFFFFFFF, 0xFFFFFFFF, 0xFFFFFFFF},  // 2^64 - 1 is (2^32 - 1) * (2^32 + 1)
      {0x8000000000000000, 0x300000000, 0x100000000},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << c.first << " and " << c.second);
    EXPECT_EQ(UTIL_gcd(c.first, c.second), c.expected);
  }
}

// By repeated remainder.
uint64_t DivisorByRemainders(uint64_t first, uint64_t second) {
  return second == 0 ? first : DivisorByRemainders(second, first % second);
}

TEST(UtilGcd, FindsWhatRepeatedRemaindersFind) {
  std::mt19937_64 random(20240229);
  for (int i = 0; i < 20000; ++i) {
    const uint64_t common = (random() >> (random() % 64)) | 1;
    const uint64_t first = ((random() >> (random() % 64)) * common) | (uint64_t{1} << 63);
    const uint64_t second = std::max<uint64_t>((random() >> (random() % 64)) * common, 1);
    SCOPED_TRACE(testing::Message() << first << " and " << second);
    EXPECT_EQ(UTIL_gcd(first, second), DivisorByRemainders(first, second));
    EXPECT_EQ(UTIL_gcd(second, first), DivisorByRemainders(first, second));
  }
  for (uint64_t first = 1; first <= 64; ++first) {
    for (uint64_t second = 1; second <= 64; ++second) {
      EXPECT_EQ(UTIL_gcd(first, second), DivisorByRemainders(first, second));
    }
  }
}

TEST(UtilGcd, KeepsTheTwosThatBothHave) {
  for (int twos = 0; twos < 63; ++twos) {
    EXPECT_EQ(UTIL_gcd(uint64_t{1} << twos, uint64_t{1} << 63), uint64_t{1} << twos);
    EXPECT_EQ(UTIL_gcd(uint64_t{1} << 63, uint64_t{1} << twos), uint64_t{1} << twos);
  }
  EXPECT_EQ(UTIL_gcd(uint64_t{3} << 40, uint64_t{9} << 20), uint64_t{3} << 20);
}

TEST(UtilGcd, IsZeroWhenEitherIsZero) {
  EXPECT_EQ(UTIL_gcd(0, 5), 0U);
  EXPECT_EQ(UTIL_gcd(5, 0), 0U);
  EXPECT_EQ(UTIL_gcd(0, 0), 0U);
}

// ---- Ranges ----

TEST(UtilIsInRange, HoldsFromTheStartToTheLastAddress) {
  EXPECT_EQ(UTIL_IsInRange(0x0FFF, 0x1000, 0x10), 0);
  EXPECT_EQ(UTIL_IsInRange(0x1000, 0x1000, 0x10), 1);
  EXPECT_EQ(UTIL_IsInRange(0x1008, 0x1000, 0x10), 1);
  EXPECT_EQ(UTIL_IsInRange(0x100F, 0x1000, 0x10), 1);
  EXPECT_EQ(UTIL_IsInRange(0x1010, 0x1000, 0x10), 0);
  EXPECT_EQ(UTIL_IsInRange(0, 0x1000, 0x10), 0);
}

TEST(UtilIsInRange, LengthOneHoldsTheStartAlone) {
  EXPECT_EQ(UTIL_IsInRange(4, 5, 1), 0);
  EXPECT_EQ(UTIL_IsInRange(5, 5, 1), 1);
  EXPECT_EQ(UTIL_IsInRange(6, 5, 1), 0);
}

TEST(UtilIsInRange, LengthZeroHoldsNotEvenTheStart) {
  EXPECT_EQ(UTIL_IsInRange(0x1000, 0x1000, 0), 0);
  EXPECT_EQ(UTIL_IsInRange(0, 0, 0), 0);
  EXPECT_EQ(UTIL_IsInRange(0xFFF, 0x1000, 0), 0);
}

TEST(UtilIsInRange, CompletesTheAddressSpacesOf32And64Bits) {
  EXPECT_EQ(UTIL_IsInRange(0xFFFFFFFF, 0xFFFFFFF0, 0x10), 1);
  EXPECT_EQ(UTIL_IsInRange(0, 0xFFFFFFF0, 0x10), 0);
  EXPECT_EQ(UTIL_IsInRange(0xFFFFFFFE, 0, 0xFFFFFFFF), 1);
  EXPECT_EQ(UTIL_IsInRange(0xFFFFFFFF, 0, 0xFFFFFFFF), 0);
  EXPECT_EQ(UTIL_IsInRange(0x100000005, 5, 1), 0);
  EXPECT_EQ(UTIL_IsInRange(kHighestAddress, kHighestAddress, 1), 1);
}

TEST(UtilIsInRange, DoesNotWrap) {
  EXPECT_EQ(UTIL_IsInRange(kHighestAddress, kHighestAddress - 1, 100), 1);
  EXPECT_EQ(UTIL_IsInRange(0, kHighestAddress - 1, 100), 0);
}

// Asked both ways round.
void ExpectOverlap(int32_t expected, uint64_t first_start, uint32_t first_length,
                   uint64_t second_start, uint32_t second_length) {
  SCOPED_TRACE(testing::Message() << first_start << " for " << first_length << " and "
                                  << second_start << " for " << second_length);
  EXPECT_EQ(UTIL_RangesOverlap(first_start, first_length, second_start, second_length), expected);
  EXPECT_EQ(UTIL_RangesOverlap(second_start, second_length, first_start, first_length), expected);
}

TEST(UtilRangesOverlap, SharesAnAddress) {
  ExpectOverlap(1, 10, 5, 14, 5);    // 14 alone
  ExpectOverlap(1, 10, 5, 10, 5);    // all
  ExpectOverlap(1, 10, 100, 50, 1);  // one inside the other
  ExpectOverlap(1, 10, 100, 10, 1);
  ExpectOverlap(1, 10, 100, 109, 1);
}

TEST(UtilRangesOverlap, NeighboursShareNone) {
  ExpectOverlap(0, 10, 5, 15, 5);
  ExpectOverlap(0, 10, 5, 16, 5);
  ExpectOverlap(0, 0, 1, 1, 1);
  ExpectOverlap(0, 10, 100, 9, 1);
  ExpectOverlap(0, 10, 100, 110, 1);
}

TEST(UtilRangesOverlap, EmptyRangesShareNone) {
  ExpectOverlap(0, 10, 0, 10, 0);
  ExpectOverlap(0, 10, 0, 10, 5);
  ExpectOverlap(0, 12, 0, 10, 5);  // inside the other
  ExpectOverlap(0, 0, 0, 0, 0xFFFFFFFF);
}

TEST(UtilRangesOverlap, ReachesTheHighestAddressAndDoesNotWrap) {
  ExpectOverlap(1, kHighestAddress, 1, kHighestAddress - 5, 6);
  ExpectOverlap(0, kHighestAddress, 1, kHighestAddress - 5, 5);
  ExpectOverlap(0, kHighestAddress, 10, 0, 5);
  ExpectOverlap(1, 0xFFFFFFFE, 1, 0, 0xFFFFFFFF);
  ExpectOverlap(0, 0xFFFFFFFF, 1, 0, 0xFFFFFFFF);
  ExpectOverlap(0, 0x100000005, 1, 5, 1);
}

}  // namespace
