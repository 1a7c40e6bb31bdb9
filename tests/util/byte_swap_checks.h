// SPDX-License-Identifier: MIT

// What every way of swapping runs must do.
#ifndef TARVEN_TESTS_UTIL_BYTE_SWAP_CHECKS_H_
#define TARVEN_TESTS_UTIL_BYTE_SWAP_CHECKS_H_

#include <gtest/gtest.h>

#include "tests/support/guarded_bytes.h"
#include "util/byte_swap.h"

namespace byte_swap_checks {

// The bytes were counting before their elements were reversed.
inline void ExpectReversed(const uint8_t* bytes, size_t size, size_t element_size) {
  for (size_t i = 0; i < size; ++i) {
    const size_t in_element = i % element_size;
    EXPECT_EQ(bytes[i], i - in_element + (element_size - 1 - in_element)) << "byte " << i;
  }
}

inline void ExpectWholeRunsSwapped(byte_swap::Shuffle shuffle) {
  for (const size_t element_size : {2U, 4U, 8U}) {
    for (size_t size = 0; size <= 128; size += element_size) {
      SCOPED_TRACE(testing::Message() << size << " bytes in elements of " << element_size);
      const size_t whole_runs = size / 32 * 32;
      support::GuardedBytes source(support::Counting(size));
      support::GuardedBuffer destination(size);
      EXPECT_EQ(
          byte_swap::SwapRuns(destination.bytes(), source.bytes(), size, element_size, shuffle),
          whole_runs);
      ExpectReversed(destination.bytes(), whole_runs, element_size);
      EXPECT_TRUE(destination.IsUntouched(whole_runs, size));
    }
  }
}

inline void ExpectSwappedInPlace(byte_swap::Shuffle shuffle) {
  for (const size_t element_size : {2U, 4U, 8U}) {
    support::GuardedBytes array(support::Counting(96));
    EXPECT_EQ(byte_swap::SwapRuns(array.bytes(), array.bytes(), 96, element_size, shuffle), 96U);
    ExpectReversed(array.bytes(), 96, element_size);
  }
}

inline void ExpectNothingDoneWithoutShuffle() {
  support::GuardedBytes source(support::Counting(64));
  support::GuardedBuffer destination(64);
  EXPECT_EQ(
      byte_swap::SwapRuns(destination.bytes(), source.bytes(), 64, 2, byte_swap::Shuffle::kNone),
      0U);
  EXPECT_TRUE(destination.IsUntouched(0, 64));
}

}  // namespace byte_swap_checks

#endif
