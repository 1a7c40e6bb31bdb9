// SPDX-License-Identifier: MIT

#include "util/float_text.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdio>
#include <random>
#include <string>
#include <vector>

#include "tests/support/comma_locale.h"
#include "tests/support/guarded_buffer.h"

namespace {

using support::GuardedBuffer;

std::string FloatText(uint32_t bits) {
  SCOPED_TRACE(testing::Message() << "bits 0x" << std::hex << bits);
  GuardedBuffer text(32);
  EXPECT_EQ(UTIL_FormatFloatBits(text.data(), 32, bits), 0);
  const std::string result = text.data();
  EXPECT_TRUE(text.IsUntouched(result.size() + 1, 32));
  return result;
}

std::string TextOf(float value) { return FloatText(std::bit_cast<uint32_t>(value)); }

// ---- Special values ----

TEST(UtilFormatFloatBits, InfinityShowsItsSign) {
  EXPECT_EQ(FloatText(0x7F800000), "Infinite");
  EXPECT_EQ(FloatText(0xFF800000), "-Infinite");
}

TEST(UtilFormatFloatBits, NotANumberIsQuietOrSignallingByBit22) {
  EXPECT_EQ(FloatText(0x7FC00000), "NaNq");
  EXPECT_EQ(FloatText(0x7FC00001), "NaNq");
  EXPECT_EQ(FloatText(0x7FFFFFFF), "NaNq");
  EXPECT_EQ(FloatText(0x7F800001), "NaNs");
  EXPECT_EQ(FloatText(0x7FA00000), "NaNs");
  EXPECT_EQ(FloatText(0x7FBFFFFF), "NaNs");
}

TEST(UtilFormatFloatBits, NotANumberShowsNoSign) {
  EXPECT_EQ(FloatText(0xFFC00000), "NaNq");
  EXPECT_EQ(FloatText(0xFF800001), "NaNs");
  EXPECT_EQ(FloatText(0xFFFFFFFF), "NaNq");
}

TEST(UtilFormatFloatBits, ZeroHasAFractionAndItsSign) {
  EXPECT_EQ(FloatText(0x00000000), "0.0");
  EXPECT_EQ(FloatText(0x80000000), "-0.0");
}

// ---- Numbers ----

TEST(UtilFormatFloatBits, PrintsWithoutZerosAtTheEndOfTheFraction) {
  EXPECT_EQ(FloatText(0x3F800000), "1");
  EXPECT_EQ(TextOf(2.0F), "2");
  EXPECT_EQ(TextOf(1.5F), "1.5");
  EXPECT_EQ(TextOf(10.0F), "10");
  EXPECT_EQ(TextOf(100000.0F), "100000");
  EXPECT_EQ(TextOf(100.25F), "100.25");
  EXPECT_EQ(TextOf(0.5F), "0.5");
  EXPECT_EQ(TextOf(0.1F), "0.1");
  EXPECT_EQ(TextOf(1024.0F), "1024");
}

TEST(UtilFormatFloatBits, NegativeValuesHaveAMinus) {
  EXPECT_EQ(FloatText(0xBF800000), "-1");
  EXPECT_EQ(TextOf(-0.25F), "-0.25");
  EXPECT_EQ(TextOf(-1e10F), "-1E+10");
  EXPECT_EQ(FloatText(0x80000001), "-1.4013E-45");
}

TEST(UtilFormatFloatBits, ShowsSixSignificantDigits) {
  EXPECT_EQ(TextOf(3.14159265F), "3.14159");
  EXPECT_EQ(TextOf(123456.7F), "123457");
  EXPECT_EQ(TextOf(12345.67F), "12345.7");
  EXPECT_EQ(TextOf(1.0F / 3), "0.333333");
  EXPECT_EQ(TextOf(0.000123456789F), "0.000123457");
}

TEST(UtilFormatFloatBits, LargeValuesTakeAnExponentFromAMillionOn) {
  EXPECT_EQ(TextOf(999999.0F), "999999");
  EXPECT_EQ(TextOf(1000000.0F), "1E+06");
  EXPECT_EQ(TextOf(1234567.0F), "1.23457E+06");
  EXPECT_EQ(TextOf(16777216.0F), "1.67772E+07");
  EXPECT_EQ(TextOf(1e10F), "1E+10");
  EXPECT_EQ(TextOf(1.5e20F), "1.5E+20");
}

TEST(UtilFormatFloatBits, SmallValuesTakeAnExponentBelowATenThousandth) {
  EXPECT_EQ(TextOf(0.01F), "0.01");
  EXPECT_EQ(TextOf(0.001F), "0.001");
  EXPECT_EQ(TextOf(0.0001F), "0.0001");
  EXPECT_EQ(TextOf(0.00012F), "0.00012");
  EXPECT_EQ(TextOf(0.00009F), "9E-05");
  EXPECT_EQ(TextOf(0.00001F), "1E-05");
  EXPECT_EQ(TextOf(1e-7F), "1E-07");
  EXPECT_EQ(TextOf(1.25e-10F), "1.25E-10");
}

TEST(UtilFormatFloatBits, TheExponentIsThatOfTheRoundedValue) {
  EXPECT_EQ(FloatText(0x411FFFFA), "9.99999");  // 9.99999427...
  EXPECT_EQ(FloatText(0x411FFFFB), "10");       // 9.99999523...
  EXPECT_EQ(TextOf(999999.4375F), "999999");
  EXPECT_EQ(TextOf(999999.5F), "1E+06");
  EXPECT_EQ(FloatText(0x38D1B716), "0.0001");       // 0.0000999999901...
  EXPECT_EQ(TextOf(0.0000999999F), "9.99999E-05");  // a digit less does not reach it
  EXPECT_EQ(TextOf(9999999.0F), "1E+07");
}

TEST(UtilFormatFloatBits, HalvesAreRoundedToEven) {
  EXPECT_EQ(TextOf(100000.5F), "100000");
  EXPECT_EQ(TextOf(100001.5F), "100002");
  EXPECT_EQ(TextOf(100002.5F), "100002");
  EXPECT_EQ(TextOf(1000005.0F), "1E+06");
  EXPECT_EQ(TextOf(1000015.0F), "1.00002E+06");
  EXPECT_EQ(TextOf(1000025.0F), "1.00002E+06");
  EXPECT_EQ(TextOf(2.015625F), "2.01562");
  EXPECT_EQ(TextOf(2.046875F), "2.04688");
}

TEST(UtilFormatFloatBits, WhatLiesBeyondAHalfCountsHoweverFarBehindItStands) {
  EXPECT_EQ(TextOf(100000.5078125F), "100001");
  EXPECT_EQ(FloatText(0x5FBFD540), "2.76461E+19");  // 27646050000055566336
  EXPECT_EQ(FloatText(0x7E8014FA), "8.51251E+37");  // 85125050000020420600931950227645005824
  EXPECT_EQ(FloatText(0x28A3C56A), "1.81823E-14");  // 1.818225000356672726...E-14
  EXPECT_EQ(FloatText(0x28E2ADE2), "2.51665E-14");  // 2.516645000575669366...E-14
}

TEST(UtilFormatFloatBits, ReachesFromTheSmallestToTheLargest) {
  EXPECT_EQ(FloatText(0x00000001), "1.4013E-45");
  EXPECT_EQ(FloatText(0x00000002), "2.8026E-45");
  EXPECT_EQ(FloatText(0x00000003), "4.2039E-45");
  EXPECT_EQ(FloatText(0x00400000), "5.87747E-39");  // 2^-127, subnormal
  EXPECT_EQ(FloatText(0x007FFFFF), "1.17549E-38");  // the largest subnormal
  EXPECT_EQ(FloatText(0x00800000), "1.17549E-38");  // 2^-126, the smallest normal
  EXPECT_EQ(FloatText(0x01000000), "2.35099E-38");  // 2^-125
  EXPECT_EQ(FloatText(0x7F000000), "1.70141E+38");  // 2^127
  EXPECT_EQ(FloatText(0x7F7FFFFF), "3.40282E+38");
  EXPECT_EQ(FloatText(0xFF7FFFFF), "-3.40282E+38");
}

// ---- Against the C library ----

// All that "%.6G" and this have in common: finite values but the zeros.
bool IsComparable(uint32_t bits) {
  const float value = std::bit_cast<float>(bits);
  return std::isfinite(value) && value != 0;
}

std::string LibraryText(uint32_t bits) {
  char text[32];
  snprintf(text, sizeof text, "%.6G", static_cast<double>(std::bit_cast<float>(bits)));
  return text;
}

TEST(UtilFormatFloatBits, EveryPowerOfTwoAndItsNeighboursAreAsTheCLibraryPrintsThem) {
  for (uint32_t exponent = 0; exponent < 255; ++exponent) {
    for (const uint32_t mantissa : {0U, 1U, 0x3FFFFFU, 0x400000U, 0x7FFFFFU}) {
      const uint32_t bits = (exponent << 23) | mantissa;
      if (!IsComparable(bits)) continue;
      EXPECT_EQ(FloatText(bits), LibraryText(bits));
    }
  }
}

// The program check_all_floats goes on from here, to ten million patterns or to all of them.
TEST(UtilFormatFloatBits, RandomPatternsAreAsTheCLibraryPrintsThem) {
  std::mt19937 patterns(1);
  for (int i = 0; i < 100'000; ++i) {
    const auto bits = static_cast<uint32_t>(patterns());
    if (!IsComparable(bits)) continue;
    char text[32];
    UTIL_FormatFloatBits(text, sizeof text, bits);
    ASSERT_EQ(text, LibraryText(bits)) << "bits 0x" << std::hex << bits;
  }
}

TEST(UtilFormatFloatBits, LocaleMakesNoDifference) {
  std::mt19937 patterns(2);
  std::vector<uint32_t> all_bits = {0x3FC00000, 0x80000000, 0x00000001, 0x7F7FFFFF, 0x49742408};
  for (int i = 0; i < 10'000; ++i) all_bits.push_back(static_cast<uint32_t>(patterns()));
  std::vector<std::string> texts;
  for (const uint32_t bits : all_bits) texts.push_back(FloatText(bits));

  const support::CommaLocale locale;
  if (!locale.is_set()) GTEST_SKIP() << "no locale with a decimal comma, nor localedef's sources";
  ASSERT_EQ(LibraryText(0x3FC00000), "1,5");
  EXPECT_EQ(FloatText(0x3FC00000), "1.5");
  for (size_t i = 0; i < all_bits.size(); ++i) ASSERT_EQ(FloatText(all_bits[i]), texts[i]);
}

// ---- Buffers ----

TEST(UtilFormatFloatBits, IsCutToTheBuffer) {
  const struct {
    uint32_t bits;
    std::string text;
  } cases[] = {{0x80800000, "-1.17549E-38"},
               {0xFF800000, "-Infinite"},
               {0x7FC00000, "NaNq"},
               {0x80000000, "-0.0"},
               {0x3FC00000, "1.5"}};
  for (const auto& c : cases) {
    for (uint32_t size = 1; size <= c.text.size() + 2; ++size) {
      SCOPED_TRACE(testing::Message() << c.text << " in " << size);
      GuardedBuffer text(size);
      EXPECT_EQ(UTIL_FormatFloatBits(text.data(), size, c.bits), 0);
      EXPECT_EQ(text.data(), c.text.substr(0, size - 1));
    }
  }
}

TEST(UtilFormatFloatBits, SizeZeroStoresNothing) {
  for (const uint32_t bits : {0x80800000U, 0x7FC00000U, 0U}) {
    GuardedBuffer text(8);
    EXPECT_EQ(UTIL_FormatFloatBits(text.data(), 0, bits), 0);
    EXPECT_TRUE(text.IsUntouched(0, 8));
  }
}

TEST(UtilFormatFloatBits, LargestSizeStoresNoMoreThanTheText) {
  GuardedBuffer text(4);
  EXPECT_EQ(UTIL_FormatFloatBits(text.data(), 0xFFFFFFFF, 0x3FC00000), 0);
  EXPECT_STREQ(text.data(), "1.5");
}

}  // namespace
