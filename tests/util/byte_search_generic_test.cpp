// SPDX-License-Identifier: MIT

// The source for all other processors, which runs on this one too.
#include "util/byte_search_generic.cpp"

#include <gtest/gtest.h>

#include "tests/util/byte_search_checks.h"

namespace {

TEST(ByteSearchGeneric, FindsTheFirstDifferenceAtEveryPlaceInEveryLength) {
  byte_search_checks::ExpectFirstDifferenceFoundAtEveryPlaceInEveryLength();
}

TEST(ByteSearchGeneric, FindsTheFirstOtherByteAtEveryPlaceInEveryLength) {
  byte_search_checks::ExpectFirstOtherFoundAtEveryPlaceInEveryLength();
}

TEST(ByteSearchGeneric, SeesEverySingleBit) { byte_search_checks::ExpectEverySingleBitSeen(); }

TEST(ByteSearchGeneric, TakesEveryAlignment) { byte_search_checks::ExpectEveryAlignmentTaken(); }

}  // namespace
