#include "util/float_text.h"

#include <gtest/gtest.h>

TEST(UtilFormatFloatBits, X) {}
