// SPDX-License-Identifier: MIT

// Runs sys/clock.cpp on a counter, a clock and a sleep that the test steers: the linker puts the
// functions named __wrap_ below in place of the system's.
#include <gtest/gtest.h>
#include <stdlib.h>
#include <time.h>

#include <cstdint>
#include <vector>

#include "sys/calendar.h"
#include "sys/clock.h"

namespace {

uint64_t counter_ns = 0;
time_t present = 0;
std::vector<uint32_t> sleeps_us;

constexpr uint64_t kMs = 1'000'000;
constexpr uint64_t kUs = 1000;

}  // namespace

// NOLINTBEGIN(bugprone-reserved-identifier): the linker chose these names.
extern "C" {
uint64_t __wrap__ZN8platform20MonotonicNanosecondsEv();
time_t __wrap_time(time_t* place);
int __wrap_usleep(useconds_t microseconds);
}

uint64_t __wrap__ZN8platform20MonotonicNanosecondsEv() { return counter_ns; }

time_t __wrap_time(time_t* place) {
  if (place != nullptr) *place = present;
  return present;
}

int __wrap_usleep(useconds_t microseconds) {
  sleeps_us.push_back(microseconds);
  return 0;
}
// NOLINTEND(bugprone-reserved-identifier)

namespace {

// ---- Tick counts ----

TEST(SysGetTickCountSteered, IsTheDifferenceOfWholeMilliseconds) {
  counter_ns = 5 * kMs + 999'999;
  EXPECT_EQ(SYS_GetTickCount(), 0u);
  counter_ns = 6 * kMs;
  EXPECT_EQ(SYS_GetTickCount(), 1u);
  counter_ns = 1505 * kMs + 999'999;
  EXPECT_EQ(SYS_GetTickCount(), 1500u);
}

TEST(SysGetTickCountSteered, WrapsAtThirtyTwoBits) {
  counter_ns = 10 * kMs;
  EXPECT_EQ(SYS_GetTickCount(), 0u);
  counter_ns = (10 + 0xFFFFFFFFu) * kMs;
  EXPECT_EQ(SYS_GetTickCount(), 0xFFFFFFFFu);
  counter_ns += 3 * kMs;
  EXPECT_EQ(SYS_GetTickCount(), 2u);
}

TEST(SysGetTickCountSteered, CounterItselfMayWrapBehindTheBase) {
  counter_ns = 0xFFFFFFF0u * kMs;
  EXPECT_EQ(SYS_GetTickCount(), 0u);
  counter_ns += 0x20 * kMs;
  EXPECT_EQ(SYS_GetTickCount(), 0x20u);
}

TEST(SysGetTickCountSteered, BaseThatHappensToBeZeroCountsAsNotTaken) {
  counter_ns = 0x100000000u * kMs;
  EXPECT_EQ(SYS_GetTickCount(), 0u);
  counter_ns += 7 * kMs;
  EXPECT_EQ(SYS_GetTickCount(), 0u);
  counter_ns += 5 * kMs;
  EXPECT_EQ(SYS_GetTickCount(), 5u);
}

TEST(SysGetTickCountUsSteered, IsTheDifferenceOfWholeMicroseconds) {
  counter_ns = 5 * kUs + 999;
  EXPECT_EQ(SYS_GetTickCountUs(), 0u);
  counter_ns = 6 * kUs;
  EXPECT_EQ(SYS_GetTickCountUs(), 1u);
}

TEST(SysGetTickCountUsSteered, HasSixtyFourBits) {
  counter_ns = 5 * kUs;
  SYS_GetTickCountUs();
  counter_ns += 0x123456789u * kUs;
  EXPECT_EQ(SYS_GetTickCountUs(), 0x123456789u);
}

TEST(SysGetElapsedUsSteered, IsNowMinusStampMinusBase) {
  counter_ns = 1000 * kUs;
  SYS_GetTickCountUs();
  counter_ns = 1300 * kUs + 999;
  EXPECT_EQ(SYS_GetElapsedUs(100), 200u);
}

TEST(SysGetElapsedUsSteered, TakesTheBaseThatTickCountsThenUse) {
  counter_ns = 1000 * kUs;
  EXPECT_EQ(SYS_GetElapsedUs(1), 0xFFFFFFFFFFFFFFFFu);
  counter_ns = 1300 * kUs;
  EXPECT_EQ(SYS_GetTickCountUs(), 300u);
}

TEST(SysGetElapsedUsSteered, StampAheadOfNowWraps) {
  counter_ns = 1000 * kUs;
  SYS_GetTickCountUs();
  counter_ns = 1300 * kUs;
  EXPECT_EQ(SYS_GetElapsedUs(301), 0xFFFFFFFFFFFFFFFFu);
}

TEST(SysGetTimeMsSteered, IsTheCounterCutToThirtyTwoBits) {
  counter_ns = 0x100000005u * kMs + 999'999;
  EXPECT_EQ(SYS_GetTimeMs(), 5u);
}

// ---- Calendar ----

void SetTimeZone(const char* zone) {
  setenv("TZ", zone, 1);
  tzset();
}

void ExpectTime(const SYS_TIME& time, uint16_t year, uint16_t month, uint16_t day, uint16_t hour,
                uint16_t minute, uint16_t second) {
  EXPECT_EQ(time.year, year);
  EXPECT_EQ(time.month, month);
  EXPECT_EQ(time.day, day);
  EXPECT_EQ(time.hour, hour);
  EXPECT_EQ(time.minute, minute);
  EXPECT_EQ(time.second, second);
  EXPECT_EQ(time.milliseconds, 0);
}

TEST(SysGetUTCTimeSteered, FillsEveryField) {
  SetTimeZone("TST-3");
  present = 1'000'000'000;
  SYS_TIME time{};
  SYS_GetUTCTime(&time);
  ExpectTime(time, 2001, 9, 9, 1, 46, 40);
}

TEST(SysGetLocalTimeSteered, FillsEveryField) {
  SetTimeZone("TST5");  // five hours west of Greenwich
  present = 1'000'000'000;
  SYS_TIME time{};
  SYS_GetLocalTime(&time);
  ExpectTime(time, 2001, 9, 8, 20, 46, 40);
}

TEST(SysGetLocalTimeSteered, FollowsDaylightSavingTime) {
  SetTimeZone("CET-1CEST,M3.5.0,M10.5.0/3");
  SYS_TIME time{};
  present = 1'735'689'600;  // 2025-01-01 00:00:00 in Greenwich
  SYS_GetLocalTime(&time);
  ExpectTime(time, 2025, 1, 1, 1, 0, 0);
  present = 1'751'328'000;  // 2025-07-01 00:00:00 in Greenwich
  SYS_GetLocalTime(&time);
  ExpectTime(time, 2025, 7, 1, 2, 0, 0);
}

TEST(Calendar, BreaksDownAnyInstant) {
  SetTimeZone("TST-3");
  ExpectTime(calendar::Utc(0), 1970, 1, 1, 0, 0, 0);
  ExpectTime(calendar::Local(0), 1970, 1, 1, 3, 0, 0);
  ExpectTime(calendar::Utc(951'868'799), 2000, 2, 29, 23, 59, 59);
  ExpectTime(calendar::Local(951'868'799), 2000, 3, 1, 2, 59, 59);
  ExpectTime(calendar::Utc(-1), 1969, 12, 31, 23, 59, 59);
}

// ---- Sleeping ----

TEST(SysSleepSteered, ProductIsTakenInThirtyTwoBits) {
  const struct {
    uint32_t milliseconds;
    uint32_t expected_us;
  } cases[] = {
      {0, 0},
      {1, 1000},
      {1500, 1'500'000},
      {4'294'967, 4'294'967'000},   // the longest that fits
      {4'294'968, 704},             // 4,294,968,000 - 4,294,967,296
      {0xFFFFFFFF, 4'294'966'296},  // 2^32 - 1000
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.milliseconds);
    SYS_Sleep(c.milliseconds);
    EXPECT_EQ(sleeps_us.back(), c.expected_us);
  }
  EXPECT_EQ(sleeps_us.size(), 6u);
}

}  // namespace
