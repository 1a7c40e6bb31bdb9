// SPDX-License-Identifier: MIT

#include "util/byte_search.h"

#include <gtest/gtest.h>

#include <thread>
#include <vector>

#include "tests/util/byte_search_checks.h"

namespace {

// Before all others, so that these are the first calls of the program.
TEST(ByteSearch, TheFirstCallsMayBeMadeAtOnce) {
  constexpr size_t kSize = 200;
  const support::Bytes first(kSize, 'x');
  support::Bytes second = first;
  second[150] = 'y';
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([&] {
      EXPECT_EQ(byte_search::FirstDifference(first.data(), second.data(), kSize), 150);
      EXPECT_EQ(byte_search::FirstOther(second.data(), 'x', kSize), 150);
    });
  }
  for (std::thread& thread : threads) thread.join();
}

TEST(ByteSearch, FindsTheFirstDifferenceAtEveryPlaceInEveryLength) {
  byte_search_checks::ExpectFirstDifferenceFoundAtEveryPlaceInEveryLength();
}

TEST(ByteSearch, FindsTheFirstOtherByteAtEveryPlaceInEveryLength) {
  byte_search_checks::ExpectFirstOtherFoundAtEveryPlaceInEveryLength();
}

TEST(ByteSearch, SeesEverySingleBit) { byte_search_checks::ExpectEverySingleBitSeen(); }

TEST(ByteSearch, TakesEveryAlignment) { byte_search_checks::ExpectEveryAlignmentTaken(); }

}  // namespace
