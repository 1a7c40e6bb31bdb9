// SPDX-License-Identifier: MIT

#include "util/calendar_days.h"

#include <gtest/gtest.h>

namespace {

TEST(UtilDaysBetween, KnowsLeapDays) {
  EXPECT_EQ(UTIL_DaysBetween(20240301, 20240228), 2);
  EXPECT_EQ(UTIL_DaysBetween(20250301, 20250228), 1);
  EXPECT_EQ(UTIL_DaysBetween(20000301, 20000228), 2);  // divisible by 400
  EXPECT_EQ(UTIL_DaysBetween(21000301, 21000228), 1);  // divisible by 100
  EXPECT_EQ(UTIL_DaysBetween(24000301, 24000228), 2);
  EXPECT_EQ(UTIL_DaysBetween(20240229, 20240228), 1);
}

TEST(UtilDaysBetween, CrossesTheEndsOfYears) {
  EXPECT_EQ(UTIL_DaysBetween(20020101, 20011231), 1);
  EXPECT_EQ(UTIL_DaysBetween(20030101, 20020101), 365);
  EXPECT_EQ(UTIL_DaysBetween(20050101, 20040101), 366);
  EXPECT_EQ(UTIL_DaysBetween(20050101, 20041231), 1);
}

TEST(UtilDaysBetween, IsNegativeForAnEarlierFirstDate) {
  EXPECT_EQ(UTIL_DaysBetween(20240228, 20240301), -2);
  EXPECT_EQ(UTIL_DaysBetween(20010101, 20020101), -365);
  EXPECT_EQ(UTIL_DaysBetween(20240301, 20240301), 0);
}

// ---- All days of a century, counted one by one ----

struct Date {
  uint32_t year = 2001;
  uint32_t month = 1;
  uint32_t day = 1;

  uint32_t AsNumber() const { return year * 10'000 + month * 100 + day; }

  uint32_t DaysOfMonth() const {
    switch (month) {
      case 2:
        return year % 4 == 0 && year != 2100 ? 29 : 28;
      case 4:
      case 6:
      case 9:
      case 11:
        return 30;
      default:
        return 31;
    }
  }

  void Advance() {
    if (++day <= DaysOfMonth()) return;
    day = 1;
    if (++month <= 12) return;
    month = 1;
    ++year;
  }
};

TEST(UtilDaysBetween, CountsEveryDayFrom2001To2100) {
  constexpr uint32_t kMillennium = 20010101;
  constexpr uint32_t kMiddle = 20500615;
  const int32_t middle = UTIL_DaysBetween(kMiddle, kMillennium);
  EXPECT_EQ(middle, 49 * 365 + 12 + 165);  // 12 leap years; 14 days and five months in 2050
  int32_t days = 0;
  for (Date date; date.year <= 2100; date.Advance(), ++days) {
    ASSERT_EQ(UTIL_DaysBetween(date.AsNumber(), kMillennium), days) << date.AsNumber();
    ASSERT_EQ(UTIL_DaysBetween(kMillennium, date.AsNumber()), -days) << date.AsNumber();
    ASSERT_EQ(UTIL_DaysBetween(date.AsNumber(), kMiddle), days - middle) << date.AsNumber();
  }
  EXPECT_EQ(days, 36524);  // 100 years with 24 leap days
}

// ---- Oddities ----

TEST(UtilDaysBetween, ShortYearsCountFrom2000) {
  EXPECT_EQ(UTIL_DaysBetween(240101, 20240101), 0);
  EXPECT_EQ(UTIL_DaysBetween(20240101, 240101), 0);
  EXPECT_EQ(UTIL_DaysBetween(101, 20000101), 0);      // year 0
  EXPECT_EQ(UTIL_DaysBetween(11231, 20011231), 0);    // year 1
  EXPECT_EQ(UTIL_DaysBetween(301, 228), 2);           // 2000 is a leap year, 0 is none of its own
  EXPECT_EQ(UTIL_DaysBetween(9991231, 29991231), 0);  // years of three digits, too
  EXPECT_EQ(UTIL_DaysBetween(9991231, 20010101), 998 * 365 + 242 + 364);
}

TEST(UtilDaysBetween, YearsFrom1000OnAreWhatTheyAre) {
  // 1000 would be far ahead as 3000.
  EXPECT_EQ(UTIL_DaysBetween(10000101, 20010101), 0);
  EXPECT_EQ(UTIL_DaysBetween(10000000, 20010101), -1);
}

TEST(UtilDaysBetween, YearsBefore2001HaveNoDaysOfTheirOwn) {
  EXPECT_EQ(UTIL_DaysBetween(20001231, 20000101), 365);
  EXPECT_EQ(UTIL_DaysBetween(20000101, 19990101), 0);
  EXPECT_EQ(UTIL_DaysBetween(20001231, 19991231), 1);  // the leap day alone
  EXPECT_EQ(UTIL_DaysBetween(20010101, 20001231), -365);
  EXPECT_EQ(UTIL_DaysBetween(20020101, 19700101), 365);
  EXPECT_EQ(UTIL_DaysBetween(19991231, 20011231), 0);
}

TEST(UtilDaysBetween, DaysAreAddedAsTheyAre) {
  EXPECT_EQ(UTIL_DaysBetween(20230199, 20230101), 98);
  EXPECT_EQ(UTIL_DaysBetween(20230100, 20230101), -1);
}

TEST(UtilDaysBetween, MonthsOutsideTheYearAddNoDaysOfTheirOwn) {
  EXPECT_EQ(UTIL_DaysBetween(20239901, 20230101), 365);
  EXPECT_EQ(UTIL_DaysBetween(20231301, 20230101), 365);
  EXPECT_EQ(UTIL_DaysBetween(20230001, 20230101), 0);
}

TEST(UtilDaysBetween, GoesOnToTheLastYearThatFits) {
  // 4294967295 is the year 429496: 427495 years behind 2001, and 365 days in all its months.
  const int64_t leap_days = 107'373 - 4'294 + 1'073 - 485;
  EXPECT_EQ(UTIL_DaysBetween(4294960101, 20010101), 427'495 * int64_t{365} + leap_days);
}

}  // namespace
