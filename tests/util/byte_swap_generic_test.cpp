// SPDX-License-Identifier: MIT

// The source for all other processors, which runs on this one too.
#include "util/byte_swap_generic.cpp"

#include <gtest/gtest.h>

#include "tests/util/byte_swap_checks.h"

namespace {

TEST(ByteSwapGeneric, ShufflesSixteenBytes) {
  EXPECT_EQ(byte_swap::WidestShuffle(), Shuffle::k16Bytes);
}

TEST(ByteSwapGeneric, SwapsWholeRunsAndLeavesTheRest) {
  byte_swap_checks::ExpectWholeRunsSwapped(Shuffle::k16Bytes);
}

TEST(ByteSwapGeneric, SwapsInPlace) { byte_swap_checks::ExpectSwappedInPlace(Shuffle::k16Bytes); }

TEST(ByteSwapGeneric, WithoutAShuffleNothingIsDone) {
  byte_swap_checks::ExpectNothingDoneWithoutShuffle();
}

}  // namespace
