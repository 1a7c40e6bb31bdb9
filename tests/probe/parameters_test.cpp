// SPDX-License-Identifier: MIT

#include "probe/parameters.h"

#include <gtest/gtest.h>

namespace {

#define TEXT_OF_EXPANDED(...) #__VA_ARGS__
#define TEXT_OF(list) TEXT_OF_EXPANDED(list)

TEST(ProbeParameters, StandInOrder) {
  EXPECT_STREQ(TEXT_OF(PARAMETERS_0), "");
  EXPECT_STREQ(TEXT_OF(PARAMETERS_1), "uintptr_t a");
  EXPECT_STREQ(TEXT_OF(PARAMETERS_2), "uintptr_t a, uintptr_t b");
  EXPECT_STREQ(TEXT_OF(PARAMETERS_3), "uintptr_t a, uintptr_t b, uintptr_t c");
  EXPECT_STREQ(TEXT_OF(PARAMETERS_4), "uintptr_t a, uintptr_t b, uintptr_t c, uintptr_t d");
  EXPECT_STREQ(TEXT_OF(PARAMETERS_5),
               "uintptr_t a, uintptr_t b, uintptr_t c, uintptr_t d, uintptr_t e");
  EXPECT_STREQ(TEXT_OF(PARAMETERS_6),
               "uintptr_t a, uintptr_t b, uintptr_t c, uintptr_t d, uintptr_t e, uintptr_t f");
}

TEST(ProbeParameters, ArePassedOnInOrder) {
  EXPECT_STREQ(TEXT_OF(ARGUMENTS_0), "");
  EXPECT_STREQ(TEXT_OF(ARGUMENTS_1), "a");
  EXPECT_STREQ(TEXT_OF(ARGUMENTS_2), "a, b");
  EXPECT_STREQ(TEXT_OF(ARGUMENTS_3), "a, b, c");
  EXPECT_STREQ(TEXT_OF(ARGUMENTS_4), "a, b, c, d");
  EXPECT_STREQ(TEXT_OF(ARGUMENTS_5), "a, b, c, d, e");
  EXPECT_STREQ(TEXT_OF(ARGUMENTS_6), "a, b, c, d, e, f");
}

}  // namespace
