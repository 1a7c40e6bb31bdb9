// SPDX-License-Identifier: MIT

#include <gtest/gtest.h>

#include "tests/examples/example_run.h"

namespace {

using example_test::Result;
using example_test::RunExample;

TEST(ExampleFormatValues, ShowsEachNumberInItsForms) {
  EXPECT_EQ(RunExample({"305419896", "0xff", "-1", "0", "1536", "0x3F800000"}),
            (Result{" 305419896  0x12345678  305419896 Bytes  120.86.52.18  5.69046E-28\n"
                    "       255  0x000000FF  255 Bytes  255.0.0.0  3.57331E-43\n"
                    "4294967295  0xFFFFFFFF  4294967295 Bytes  255.255.255.255  NaNq\n"
                    "         0  0x00000000  0 Bytes  0.0.0.0  0.0\n"
                    "      1536  0x00000600  1.5 KB  0.6.0.0  2.15239E-42\n"
                    "1065353216  0x3F800000  1016 MB  0.0.128.63  1\n",
                    0}));
}

TEST(ExampleFormatValues, SaysWhatIsNoNumberAndGoesOn) {
  EXPECT_EQ(RunExample({"abc", "12x", "7", ""}),
            (Result{"\"abc\" is no number.\n"
                    "\"12x\" is no number.\n"
                    "         7  0x00000007  7 Bytes  7.0.0.0  9.80909E-45\n"
                    "\"\" is no number.\n",
                    1}));
}

TEST(ExampleFormatValues, NothingToShowShowsNothing) { EXPECT_EQ(RunExample(), (Result{"", 0})); }

}  // namespace
