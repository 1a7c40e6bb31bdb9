// SPDX-License-Identifier: MIT

#include "sys/clock.h"

#include <gtest/gtest.h>
#include <stdlib.h>
#include <string.h>
#include <time.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <tuple>

#include "sys/platform/platform.h"
#include "tests/support/guarded_buffer.h"
#include "tests/support/stream_reader.h"

namespace {

using namespace std::chrono_literals;
using std::chrono::steady_clock;

constexpr auto kPatienceMs = static_cast<uint32_t>(support::kPatience.count());

// ---- Tick counts ----

TEST(SysGetTickCount, FirstCallReturnsZero) { EXPECT_EQ(SYS_GetTickCount(), 0u); }

TEST(SysGetTickCount, CountsMillisecondsFromTheFirstCall) {
  SYS_GetTickCount();
  SYS_Sleep(1500);
  const uint32_t ticks = SYS_GetTickCount();
  EXPECT_GE(ticks, 1500u);
  EXPECT_LT(ticks, 1500u + kPatienceMs);
}

TEST(SysGetTickCount, BaseStaysWithTheFirstCall) {
  SYS_GetTickCount();
  SYS_Sleep(20);
  const uint32_t second = SYS_GetTickCount();
  SYS_Sleep(20);
  EXPECT_GE(second, 20u);
  EXPECT_GE(SYS_GetTickCount(), second + 20);
}

TEST(SysGetTickCountUs, FirstCallReturnsZero) { EXPECT_EQ(SYS_GetTickCountUs(), 0u); }

TEST(SysGetTickCountUs, CountsMicrosecondsFromTheFirstCall) {
  SYS_GetTickCountUs();
  SYS_Sleep(20);
  const uint64_t ticks = SYS_GetTickCountUs();
  EXPECT_GE(ticks, 20'000u);
  EXPECT_LT(ticks, 20'000u + 1000u * kPatienceMs);
}

TEST(SysGetTickCountUs, HasABaseOfItsOwn) {
  SYS_GetTickCount();
  SYS_Sleep(5);
  EXPECT_EQ(SYS_GetTickCountUs(), 0u);
}

TEST(SysGetTickCount, HasABaseOfItsOwn) {
  SYS_GetTickCountUs();
  SYS_Sleep(5);
  EXPECT_EQ(SYS_GetTickCount(), 0u);
}

TEST(SysGetElapsedUs, GivesTheTimeSinceTheStamp) {
  SYS_GetTickCountUs();
  SYS_Sleep(100);
  const uint64_t stamp = SYS_GetTickCountUs();
  SYS_Sleep(20);
  const uint64_t elapsed = SYS_GetElapsedUs(stamp);
  EXPECT_GE(elapsed, 20'000u);
  EXPECT_LE(elapsed, SYS_GetTickCountUs() - stamp);
}

TEST(SysGetElapsedUs, FirstCallReturnsZeroMinusTheStamp) {
  EXPECT_EQ(SYS_GetElapsedUs(1000), 0xFFFFFFFFFFFFFC18u);
}

TEST(SysGetElapsedUs, FirstCallTakesTheBase) {
  SYS_GetElapsedUs(1000);
  SYS_Sleep(5);
  EXPECT_GE(SYS_GetTickCountUs(), 5000u);
}

TEST(SysGetTimeMs, IsTheMonotonicCounterWithoutABase) {
  const uint64_t before = platform::MonotonicNanoseconds() / 1'000'000;
  const uint32_t time = SYS_GetTimeMs();
  const uint64_t after = platform::MonotonicNanoseconds() / 1'000'000;
  EXPECT_LE(time - static_cast<uint32_t>(before), after - before);
}

TEST(SysGetTimeMs, TakesNoBase) {
  SYS_GetTimeMs();
  SYS_Sleep(5);
  EXPECT_EQ(SYS_GetTickCount(), 0u);
  EXPECT_EQ(SYS_GetTickCountUs(), 0u);
}

// ---- Calendar ----

static_assert(sizeof(SYS_TIME) == 14);
static_assert(offsetof(SYS_TIME, year) == 0);
static_assert(offsetof(SYS_TIME, month) == 2);
static_assert(offsetof(SYS_TIME, day) == 4);
static_assert(offsetof(SYS_TIME, hour) == 6);
static_assert(offsetof(SYS_TIME, minute) == 8);
static_assert(offsetof(SYS_TIME, second) == 10);
static_assert(offsetof(SYS_TIME, milliseconds) == 12);

void SetTimeZone(const char* zone) {
  setenv("TZ", zone, 1);
  tzset();
}

// The seconds since 1970 that a calendar time in Coordinated Universal Time stands for.
time_t Seconds(const SYS_TIME& time) {
  tm fields{};
  fields.tm_year = time.year - 1900;
  fields.tm_mon = time.month - 1;
  fields.tm_mday = time.day;
  fields.tm_hour = time.hour;
  fields.tm_min = time.minute;
  fields.tm_sec = time.second;
  return timegm(&fields);
}

TEST(SysGetUTCTime, IsThePresentTimeWhateverTheZone) {
  SetTimeZone("TST-3");
  SYS_TIME time{};
  const time_t before = ::time(nullptr);
  SYS_GetUTCTime(&time);
  const time_t after = ::time(nullptr);
  EXPECT_GE(Seconds(time), before);
  EXPECT_LE(Seconds(time), after);
}

TEST(SysGetLocalTime, IsThePresentTimeInTheZoneOfTheProcess) {
  SetTimeZone("TST-3");  // three hours east of Greenwich
  SYS_TIME time{};
  const time_t before = ::time(nullptr);
  SYS_GetLocalTime(&time);
  const time_t after = ::time(nullptr);
  EXPECT_GE(Seconds(time), before + 10'800);
  EXPECT_LE(Seconds(time), after + 10'800);
}

TEST(SysGetLocalTime, MillisecondsAreAlwaysZero) {
  SYS_TIME time{};
  time.milliseconds = 7;
  SYS_GetLocalTime(&time);
  EXPECT_EQ(time.milliseconds, 0);
}

TEST(SysGetUTCTime, MillisecondsAreAlwaysZero) {
  SYS_TIME time{};
  time.milliseconds = 7;
  SYS_GetUTCTime(&time);
  EXPECT_EQ(time.milliseconds, 0);
}

TEST(SysGetLocalTime, IgnoresANullPlace) { SYS_GetLocalTime(nullptr); }

TEST(SysGetUTCTime, IgnoresANullPlace) { SYS_GetUTCTime(nullptr); }

// ---- Build stamp ----

// The date, a zero byte and the time, ending at a forbidden page: 20 characters and not one more.
class Stamp {
 public:
  Stamp(const char* date, const char* time) : buffer_(20) {
    memcpy(buffer_.data(), date, 11);
    buffer_.data()[11] = '\0';
    memcpy(buffer_.data() + 12, time, 8);
  }

  const char* text() { return buffer_.data(); }

 private:
  support::GuardedBuffer buffer_;
};

// Result, date and time, with 7 where nothing was stored.
std::tuple<int32_t, uint32_t, uint32_t> Parse(const char* date_text, const char* time_text) {
  uint32_t date = 7;
  uint32_t time = 7;
  const int32_t result = SYS_ParseBuildDateTime(Stamp(date_text, time_text).text(), &date, &time);
  return {result, date, time};
}

TEST(SysParseBuildDateTime, GivesYearMonthDayAndHourMinuteSecond) {
  EXPECT_EQ(Parse("Nov 16 2026", "17:43:41"), std::tuple(0, 261116u, 174341u));
}

TEST(SysParseBuildDateTime, DayMayHaveASpaceForItsLeadingZero) {
  EXPECT_EQ(Parse("Feb  3 2021", "09:07:05"), std::tuple(0, 210203u, 90705u));
}

TEST(SysParseBuildDateTime, HourMayHaveASpaceForItsLeadingZero) {
  EXPECT_EQ(Parse("Feb 03 2021", " 9:07:05"), std::tuple(0, 210203u, 90705u));
}

TEST(SysParseBuildDateTime, KnowsEveryMonth) {
  const struct {
    const char* date;
    uint32_t expected;
  } cases[] = {
      {"Jan 01 2030", 300101}, {"Feb 01 2030", 300201}, {"Mar 01 2030", 300301},
      {"Apr 01 2030", 300401}, {"May 01 2030", 300501}, {"Jun 01 2030", 300601},
      {"Jul 01 2030", 300701}, {"Aug 01 2030", 300801}, {"Sep 01 2030", 300901},
      {"Oct 01 2030", 301001}, {"Nov 01 2030", 301101}, {"Dec 01 2030", 301201},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.date);
    EXPECT_EQ(Parse(c.date, "00:00:00"), std::tuple(0, c.expected, 0u));
  }
}

TEST(SysParseBuildDateTime, OnlyTheLastTwoDigitsOfTheYearCount) {
  EXPECT_EQ(Parse("Dec 31 1999", "23:59:60"), std::tuple(0, 991231u, 235960u));
  EXPECT_EQ(Parse("Jan  1 2000", "00:00:01"), std::tuple(0, 101u, 1u));
}

TEST(SysParseBuildDateTime, UnknownMonthGivesMinusOneAndStoresNothing) {
  for (const char* const date : {"Feq  3 2021", "FEB  3 2021", "feb  3 2021", "Fe   3 2021",
                                 "    3 2021 ", "\0eb  3 2021", "02  03 2021"}) {
    SCOPED_TRACE(date);
    EXPECT_EQ(Parse(date, "09:07:05"), std::tuple(-1, 7u, 7u));
  }
}

TEST(SysParseBuildDateTime, MonthIsNotLookedAtWithoutAPlaceForTheDate) {
  uint32_t time = 7;
  EXPECT_EQ(SYS_ParseBuildDateTime(Stamp("???  3 2021", "09:07:05").text(), nullptr, &time), 0);
  EXPECT_EQ(time, 90705u);
}

TEST(SysParseBuildDateTime, DateAloneReadsNothingBehindTheDate) {
  support::GuardedBuffer text(11);
  memcpy(text.data(), "Nov 16 2026", 11);
  uint32_t date = 7;
  EXPECT_EQ(SYS_ParseBuildDateTime(text.data(), &date, nullptr), 0);
  EXPECT_EQ(date, 261116u);
}

TEST(SysParseBuildDateTime, BothPlacesMayBeNull) {
  EXPECT_EQ(SYS_ParseBuildDateTime(Stamp("???  3 2021", "09:07:05").text(), nullptr, nullptr), 0);
}

TEST(SysParseBuildDateTime, SeparatorsAreNotLookedAt) {
  EXPECT_EQ(Parse("Nov-16-2026", "17.43.41"), std::tuple(0, 261116u, 174341u));
}

TEST(SysParseBuildDateTime, DigitsAreNotValidated) {
  // ":" follows "9" and counts as ten.
  EXPECT_EQ(Parse("Jan 0: 200:", ":0:0::00"), std::tuple(0, 100110u, 1001000u));
}

// ---- Sleeping ----

TEST(SysSleep, LastsAtLeastTheTime) {
  const auto start = steady_clock::now();
  SYS_Sleep(50);
  EXPECT_GE(steady_clock::now() - start, 50ms);
}

TEST(SysSleep, SleepsForASecondAndMore) {
  const auto start = steady_clock::now();
  SYS_Sleep(1001);
  EXPECT_GE(steady_clock::now() - start, 1001ms);
}

TEST(SysSleep, ZeroReturnsAtOnce) {
  const auto start = steady_clock::now();
  SYS_Sleep(0);
  EXPECT_LT(steady_clock::now() - start, support::kPatience);
}

TEST(SysSleep, TimesFrom4294968MillisecondsOnWrap) {
  const auto start = steady_clock::now();
  SYS_Sleep(4'294'968);  // 4,294,968,000 microseconds are 2^32 + 704
  const auto elapsed = steady_clock::now() - start;
  EXPECT_GE(elapsed, 704us);
  EXPECT_LT(elapsed, support::kPatience);
}

}  // namespace
