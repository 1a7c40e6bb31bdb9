// SPDX-License-Identifier: MIT

// What every way of searching must do.
#ifndef TARVEN_TESTS_UTIL_BYTE_SEARCH_CHECKS_H_
#define TARVEN_TESTS_UTIL_BYTE_SEARCH_CHECKS_H_

#include <gtest/gtest.h>

#include <cstdint>

#include "tests/support/guarded_bytes.h"
#include "util/byte_search.h"

namespace byte_search_checks {

// More than two groups of the widest steps, and a rest.
inline constexpr size_t kLongest = 2 * 128 + 40;

inline void ExpectFirstDifferenceFoundAtEveryPlaceInEveryLength() {
  for (size_t length = 0; length <= kLongest; ++length) {
    support::GuardedBytes first(support::Counting(length));
    support::GuardedBytes second(support::Counting(length));
    EXPECT_EQ(byte_search::FirstDifference(first.bytes(), second.bytes(), length), -1) << length;
    for (size_t i = length; i-- > 0;) {
      second.bytes()[i] ^= 0x80;  // those behind it stay different
      EXPECT_EQ(byte_search::FirstDifference(first.bytes(), second.bytes(), length),
                static_cast<int32_t>(i))
          << length;
    }
  }
}

inline void ExpectFirstOtherFoundAtEveryPlaceInEveryLength() {
  for (size_t length = 0; length <= kLongest; ++length) {
    support::GuardedBytes buffer(support::Bytes(length, 0x01));
    EXPECT_EQ(byte_search::FirstOther(buffer.bytes(), 0x01, length), -1) << length;
    for (size_t i = length; i-- > 0;) {
      buffer.bytes()[i] = 0x81;  // those behind it stay so
      EXPECT_EQ(byte_search::FirstOther(buffer.bytes(), 0x01, length), static_cast<int32_t>(i))
          << length;
    }
  }
}

// A single difference that has equal bytes on either side, bit by bit.
inline void ExpectEverySingleBitSeen() {
  for (size_t i = 0; i < kLongest; ++i) {
    for (int bit = 0; bit < 8; ++bit) {
      support::GuardedBuffer first(kLongest);
      support::GuardedBuffer second(kLongest);
      second.bytes()[i] ^= static_cast<uint8_t>(1 << bit);
      ASSERT_EQ(byte_search::FirstDifference(first.bytes(), second.bytes(), kLongest),
                static_cast<int32_t>(i))
          << "bit " << bit;
      ASSERT_EQ(byte_search::FirstOther(second.bytes(), support::GuardedBuffer::kFill, kLongest),
                static_cast<int32_t>(i))
          << "bit " << bit;
    }
  }
}

inline void ExpectEveryAlignmentTaken() {
  support::GuardedBytes first(support::Bytes(kLongest, 'x'));
  support::GuardedBytes second(support::Bytes(kLongest, 'x'));
  second.bytes()[kLongest - 1] = 'y';
  for (size_t offset = 0; offset < 64; ++offset) {
    const size_t length = kLongest - 64;
    EXPECT_EQ(byte_search::FirstDifference(first.bytes() + offset, second.bytes() + 64, length),
              static_cast<int32_t>(length - 1))
        << offset;
    EXPECT_EQ(byte_search::FirstOther(second.bytes() + offset, 'x', kLongest - offset),
              static_cast<int32_t>(kLongest - offset - 1))
        << offset;
  }
}

}  // namespace byte_search_checks

#endif
