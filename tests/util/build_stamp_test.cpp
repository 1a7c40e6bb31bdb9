// SPDX-License-Identifier: MIT

#include "util/build_stamp.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string_view>

namespace {

using testing::MatchesRegex;

TEST(UtilBuildStamp, DateHasElevenCharactersWithASpaceForALeadingZero) {
  EXPECT_THAT(UTIL_GetBuildDate(), MatchesRegex("[A-Z][a-z][a-z] [ 1-3][0-9] [12][09][0-9][0-9]"));
}

TEST(UtilBuildStamp, TimeHasHoursMinutesAndSeconds) {
  EXPECT_THAT(UTIL_GetBuildTime(), MatchesRegex("[0-2][0-9]:[0-5][0-9]:[0-6][0-9]"));
}

TEST(UtilBuildStamp, ReleaseYearIsTheYearOfTheDate) {
  EXPECT_THAT(UTIL_GetReleaseYear(), MatchesRegex("[12][09][0-9][0-9]"));
  EXPECT_EQ(UTIL_GetBuildDate() + std::string_view("Jun  5 ").size(),
            std::string_view(UTIL_GetReleaseYear()));
}

}  // namespace
