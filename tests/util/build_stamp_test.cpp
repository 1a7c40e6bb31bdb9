#include "util/build_stamp.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using testing::MatchesRegex;

TEST(UtilBuildStamp, DateHasElevenCharactersWithASpaceForALeadingZero) {
  EXPECT_THAT(UTIL_GetBuildDate(), MatchesRegex("[A-Z][a-z][a-z] [ 1-3][0-9] [12][09][0-9][0-9]"));
}

TEST(UtilBuildStamp, TimeHasHoursMinutesAndSeconds) {
  EXPECT_THAT(UTIL_GetBuildTime(), MatchesRegex("[0-2][0-9]:[0-5][0-9]:[0-6][0-9]"));
}

}  // namespace
