#include "sys/clock.h"

#include <gtest/gtest.h>
#include <time.h>

#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <thread>

#include "sys/calendar.h"

namespace {

using std::chrono::milliseconds;
using std::this_thread::sleep_for;

// Each of these tests runs in a process of its own, where nothing has asked for a tick count
// before.

TEST(SysGetTickCount, FirstCallGivesZeroAndLaterOnesTheMillisecondsSince) {
  EXPECT_EQ(SYS_GetTickCount(), 0u);
  sleep_for(milliseconds(150));
  const uint32_t later = SYS_GetTickCount();
  EXPECT_GE(later, 149u);
  EXPECT_LT(later, 10'000u);
}

TEST(SysGetTickCountUs, FirstCallGivesZeroAndLaterOnesTheMicrosecondsSince) {
  EXPECT_EQ(SYS_GetTickCountUs(), 0u);
  sleep_for(milliseconds(150));
  const uint64_t later = SYS_GetTickCountUs();
  EXPECT_GE(later, 149'000u);
  EXPECT_LT(later, 10'000'000u);
}

TEST(SysGetTickCount, HasABaseOfItsOwn) {
  SYS_GetTickCountUs();
  sleep_for(milliseconds(20));
  EXPECT_EQ(SYS_GetTickCount(), 0u);
}

TEST(SysGetTickCount, NeverRunsBackwards) {
  uint64_t last_us = SYS_GetTickCountUs();
  for (int i = 0; i < 10'000; ++i) {
    const uint64_t now_us = SYS_GetTickCountUs();
    ASSERT_GE(now_us, last_us);
    last_us = now_us;
  }
}

TEST(SysGetElapsedUs, WithoutABaseGivesMinusTheStampAndTakesTheBase) {
  EXPECT_EQ(SYS_GetElapsedUs(5), UINT64_MAX - 4);  // 0 - 5
  sleep_for(milliseconds(30));
  EXPECT_GE(SYS_GetTickCountUs(), 29'000u);  // the base is taken: not 0
}

TEST(SysGetElapsedUs, WithoutABaseAndStampGivesZero) { EXPECT_EQ(SYS_GetElapsedUs(0), 0u); }

TEST(SysGetElapsedUs, CountsFromTheStamp) {
  SYS_GetTickCountUs();
  sleep_for(milliseconds(50));
  const uint64_t stamp = SYS_GetTickCountUs();
  sleep_for(milliseconds(30));
  const uint64_t elapsed = SYS_GetElapsedUs(stamp);
  EXPECT_GE(elapsed, 29'000u);
  EXPECT_LE(elapsed, SYS_GetTickCountUs() - stamp);
}

TEST(SysGetTimeMs, IsTheMonotonicCounterWithoutABase) {
  timespec now{};
  clock_gettime(CLOCK_MONOTONIC, &now);
  const auto expected = static_cast<uint32_t>(now.tv_sec * 1000 + now.tv_nsec / 1'000'000);
  const uint32_t first = SYS_GetTimeMs();
  EXPECT_LT(first - expected, 10'000u);
  sleep_for(milliseconds(20));
  EXPECT_GE(SYS_GetTimeMs() - first, 19u);
}

// The clock may move on between two readings: the broken-down time is that of one of them.
void ExpectTimeBetween(const SYS_TIME& time, time_t before, time_t after,
                       tm* (*break_down)(const time_t*, tm*)) {
  bool is_one_of_them = false;
  for (time_t second = before; second <= after; ++second) {
    tm expected{};
    break_down(&second, &expected);
    is_one_of_them |= time.year == expected.tm_year + 1900 && time.month == expected.tm_mon + 1 &&
                      time.day == expected.tm_mday && time.hour == expected.tm_hour &&
                      time.minute == expected.tm_min && time.second == expected.tm_sec;
  }
  EXPECT_TRUE(is_one_of_them) << time.year << "-" << time.month << "-" << time.day << " "
                              << time.hour << ":" << time.minute << ":" << time.second;
  EXPECT_EQ(time.milliseconds, 0);
}

TEST(SysGetUTCTime, IsTheCurrentUniversalTimeWithoutMilliseconds) {
  setenv("TZ", "XYZ-5", 1);
  SYS_TIME now;
  memset(&now, 0xFF, sizeof now);
  const time_t before = time(nullptr);
  SYS_GetUTCTime(&now);
  ExpectTimeBetween(now, before, time(nullptr), gmtime_r);
}

TEST(SysGetLocalTime, IsTheCurrentTimeOfTheTimeZone) {
  setenv("TZ", "XYZ-5", 1);  // five hours east
  tzset();
  SYS_TIME now;
  memset(&now, 0xFF, sizeof now);
  const time_t before = time(nullptr);
  SYS_GetLocalTime(&now);
  const time_t after = time(nullptr);
  ExpectTimeBetween(now, before, after, localtime_r);
  ExpectTimeBetween(now, before + 5 * 3600, after + 5 * 3600, gmtime_r);
}

TEST(SysGetLocalTime, NullPlaceIsIgnored) {
  SYS_GetLocalTime(nullptr);
  SYS_GetUTCTime(nullptr);
}

TEST(SysTime, FieldsCountAsPeopleDo) {
  tm time{};
  time.tm_year = 126;
  time.tm_mon = 0;
  time.tm_mday = 31;
  time.tm_hour = 23;
  time.tm_min = 59;
  time.tm_sec = 60;
  const SYS_TIME result = calendar::FromBrokenDown(time);
  EXPECT_EQ(result.year, 2026);
  EXPECT_EQ(result.month, 1);
  EXPECT_EQ(result.day, 31);
  EXPECT_EQ(result.hour, 23);
  EXPECT_EQ(result.minute, 59);
  EXPECT_EQ(result.second, 60);
  EXPECT_EQ(result.milliseconds, 0);
}

TEST(SysTime, IsSevenFieldsOf16Bits) {
  EXPECT_EQ(sizeof(SYS_TIME), 14u);
  EXPECT_EQ(offsetof(SYS_TIME, year), 0u);
  EXPECT_EQ(offsetof(SYS_TIME, month), 2u);
  EXPECT_EQ(offsetof(SYS_TIME, milliseconds), 12u);
}

std::string Stamp(const char* date, const char* time) { return std::string(date) + '\0' + time; }

TEST(SysParseBuildDateTime, GivesDateAndTimeAsDecimalNumbers) {
  const struct {
    const char* date;
    const char* time;
    uint32_t yymmdd;
    uint32_t hhmmss;
  } rows[] = {
      {"Nov 16 2026", "17:43:41", 261116, 174341}, {"Feb  3 2021", "09:07:05", 210203, 90705},
      {"Jan 01 2000", "00:00:00", 101, 0},         {"Dec 31 1999", "23:59:59", 991231, 235959},
      {"Jun  5 2020", " 7:43:41", 200605, 74341},  // a space for the hour's leading zero
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.date);
    uint32_t date = 1;
    uint32_t time = 1;
    EXPECT_EQ(SYS_ParseBuildDateTime(Stamp(row.date, row.time).c_str(), &date, &time), 0);
    EXPECT_EQ(date, row.yymmdd);
    EXPECT_EQ(time, row.hhmmss);
  }
}

TEST(SysParseBuildDateTime, KnowsTheTwelveMonths) {
  const char* const months[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
  for (uint32_t i = 0; i < 12; ++i) {
    uint32_t date = 0;
    const std::string stamp = Stamp((months[i] + std::string(" 15 2024")).c_str(), "01:02:03");
    EXPECT_EQ(SYS_ParseBuildDateTime(stamp.c_str(), &date, nullptr), 0);
    EXPECT_EQ(date, 240015 + (i + 1) * 100);
  }
}

TEST(SysParseBuildDateTime, UnknownMonthGivesMinusOneAndStoresNothing) {
  // The last one spells two months' halves.
  for (const char* const month : {"jan", "JAN", "Foo", "   ", "anF"}) {
    uint32_t date = 7;
    uint32_t time = 8;
    const std::string stamp = Stamp((month + std::string(" 15 2024")).c_str(), "01:02:03");
    EXPECT_EQ(SYS_ParseBuildDateTime(stamp.c_str(), &date, &time), -1) << month;
    EXPECT_EQ(date, 7u);
    EXPECT_EQ(time, 8u);
  }
}

TEST(SysParseBuildDateTime, MonthIsNotLookedAtForTheTimeAlone) {
  uint32_t time = 0;
  EXPECT_EQ(SYS_ParseBuildDateTime(Stamp("Foo 15 2024", "01:02:03").c_str(), nullptr, &time), 0);
  EXPECT_EQ(time, 10203u);
}

TEST(SysParseBuildDateTime, BothPlacesMayBeNull) {
  EXPECT_EQ(SYS_ParseBuildDateTime(Stamp("Foo 15 2024", "01:02:03").c_str(), nullptr, nullptr), 0);
}

TEST(SysParseBuildDateTime, DigitsAreNotChecked) {
  uint32_t time = 0;
  EXPECT_EQ(SYS_ParseBuildDateTime(Stamp("Jan 15 2024", "99:88:77").c_str(), nullptr, &time), 0);
  EXPECT_EQ(time, 998877u);
}

milliseconds TimeOfSleep(uint32_t requested_ms) {
  const auto start = std::chrono::steady_clock::now();
  SYS_Sleep(requested_ms);
  return std::chrono::duration_cast<milliseconds>(std::chrono::steady_clock::now() - start);
}

TEST(SysSleep, LastsAtLeastTheRequestedTime) {
  EXPECT_GE(TimeOfSleep(50).count(), 50);
  EXPECT_GE(TimeOfSleep(1100).count(), 1100);  // beyond a million microseconds
}

TEST(SysSleep, MicrosecondsWrapAt32Bits) {
  // 4,294,968 ms are 4,294,968,000 us, which is 704 us more than 2^32.
  EXPECT_LT(TimeOfSleep(4'294'968).count(), 10'000);
  EXPECT_LT(TimeOfSleep(0).count(), 10'000);
}

}  // namespace
