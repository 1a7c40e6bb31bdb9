#include <gtest/gtest.h>

#include "tests/examples/example_run.h"

namespace {

using example_test::Result;
using example_test::RunExample;

TEST(ExampleFormatValues, ShowsEachNumberInItsForms) {
  EXPECT_EQ(RunExample({"305419896", "0xff", "-1", "0"}),
            (Result{" 305419896  0x12345678  big-endian 12 34 56 78  little-endian 78 56 34 12\n"
                    "       255  0x000000FF  big-endian 00 00 00 FF  little-endian FF 00 00 00\n"
                    "4294967295  0xFFFFFFFF  big-endian FF FF FF FF  little-endian FF FF FF FF\n"
                    "         0  0x00000000  big-endian 00 00 00 00  little-endian 00 00 00 00\n",
                    0}));
}

TEST(ExampleFormatValues, SaysWhatIsNoNumberAndGoesOn) {
  EXPECT_EQ(RunExample({"abc", "12x", "7", ""}),
            (Result{"\"abc\" is no number.\n"
                    "\"12x\" is no number.\n"
                    "         7  0x00000007  big-endian 00 00 00 07  little-endian 07 00 00 00\n"
                    "\"\" is no number.\n",
                    1}));
}

TEST(ExampleFormatValues, NothingToShowShowsNothing) { EXPECT_EQ(RunExample(), (Result{"", 0})); }

}  // namespace
