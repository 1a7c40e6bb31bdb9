// SPDX-License-Identifier: MIT

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

// The compiler's own way to ask.
Shuffle WidestByTheCompiler() {
#ifdef __x86_64__
  if (!__builtin_cpu_supports("ssse3")) return Shuffle::kNone;
  return __builtin_cpu_supports("avx2") ? Shuffle::k32Bytes : Shuffle::k16Bytes;
#else
  return Shuffle::k16Bytes;
#endif
}

TEST(ByteSwap, UsesTheWidestShuffleOfTheProcessor) {
  EXPECT_EQ(WidestShuffle(), WidestByTheCompiler());
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
