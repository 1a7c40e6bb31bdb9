// SPDX-License-Identifier: MIT

#include "util/calendar_days.h"

#include <algorithm>

namespace {

constexpr uint32_t kMonthLengths[12] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};

bool IsLeapYear(uint32_t year) { return year % 4 == 0 && (year % 400 == 0 || year % 100 != 0); }

// From the year 1 to the given one.
uint32_t LeapYearsUpTo(uint32_t year) { return year / 4 - year / 100 + year / 400; }

uint32_t DaysBeforeMonth(uint32_t year, uint32_t month) {
  uint32_t days = IsLeapYear(year) && month >= 3 ? 1 : 0;
  for (uint32_t i = 1; i < std::min(month, 13U); ++i) days += kMonthLengths[i - 1];
  return days;
}

// Years before 2001 have no days on purpose: a date then counts within its own year alone.
uint32_t DaysBeforeYear(uint32_t year) {
  if (year <= 2001) return 0;
  return 365 * (year - 2001) + LeapYearsUpTo(year - 1) - LeapYearsUpTo(2000);
}

uint32_t DayNumber(uint32_t date) {
  // Short years count from 2000, be they of three digits: 240301 is 20240301, 9990101 is 29990101.
  if (date < 10'000'000) date += 20'000'000;
  const uint32_t year = date / 10'000;
  return DaysBeforeYear(year) + DaysBeforeMonth(year, date / 100 % 100) + date % 100;
}

}  // namespace

int32_t UTIL_DaysBetween(uint32_t first_date, uint32_t second_date) {
  return static_cast<int32_t>(DayNumber(first_date) - DayNumber(second_date));
}
