#include "util/byte_swap.h"

#include <gtest/gtest.h>

#include <vector>

#include "tests/util/byte_swap_checks.h"

namespace {

using byte_swap::Shuffle;
using byte_swap::WidestShuffle;

// The shuffles that this processor has.
std::vector<Shuffle> Shuffles() {
  std::vector<Shuffle> shuffles;
  if (WidestShuffle() >= Shuffle::k16Bytes) shuffles.push_back(Shuffle::k16Bytes);
  if (WidestShuffle() >= Shuffle::k32Bytes) shuffles.push_back(Shuffle::k32Bytes);
  return shuffles;
}

TEST(ByteSwap, TheProcessorShufflesSixteenBytesAtLeast) {
  EXPECT_GE(WidestShuffle(), Shuffle::k16Bytes);
}

TEST(ByteSwap, TheProcessorAlwaysAnswersTheSame) {
  const Shuffle first = WidestShuffle();
  EXPECT_EQ(WidestShuffle(), first);
}

TEST(ByteSwap, EveryShuffleSwapsWholeRunsAndLeavesTheRest) {
  for (const Shuffle shuffle : Shuffles()) {
    SCOPED_TRACE(static_cast<int>(shuffle));
    byte_swap_checks::ExpectWholeRunsSwapped(shuffle);
  }
}

TEST(ByteSwap, EveryShuffleSwapsInPlace) {
  for (const Shuffle shuffle : Shuffles()) {
    SCOPED_TRACE(static_cast<int>(shuffle));
    byte_swap_checks::ExpectSwappedInPlace(shuffle);
  }
}

TEST(ByteSwap, WithoutAShuffleNothingIsDone) {
  byte_swap_checks::ExpectNothingDoneWithoutShuffle();
}

}  // namespace
