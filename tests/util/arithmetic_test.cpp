#include "util/arithmetic.h"

#include <gtest/gtest.h>

namespace {

constexpr uint64_t kHighestAddress = 0xFFFFFFFFFFFFFFFF;

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
