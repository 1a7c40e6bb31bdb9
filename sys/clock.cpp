// SPDX-License-Identifier: MIT

#include "sys/clock.h"

#include <time.h>
#include <unistd.h>

#include <atomic>
#include <cstddef>
#include <cstring>

#include "sys/calendar.h"
#include "sys/platform/platform.h"

// Callers keep calendar times in records of their own: order and size are part of the interface.
static_assert(offsetof(SYS_TIME, year) == 0 && offsetof(SYS_TIME, month) == 2 &&
              offsetof(SYS_TIME, day) == 4 && offsetof(SYS_TIME, hour) == 6 &&
              offsetof(SYS_TIME, minute) == 8 && offsetof(SYS_TIME, second) == 10 &&
              offsetof(SYS_TIME, milliseconds) == 12 && sizeof(SYS_TIME) == 14);

namespace {

// What the first tick count of each unit read; 0 while it is not taken. Set without a lock on
// purpose: of two first calls at once each may set it.
std::atomic<uint32_t> base_ms = 0;
std::atomic<uint64_t> base_us = 0;

uint32_t CounterMs() { return static_cast<uint32_t>(platform::MonotonicNanoseconds() / 1'000'000); }

uint64_t CounterUs() { return platform::MonotonicNanoseconds() / 1000; }

// Takes the base on first use. A counter that reads 0 just then leaves the base untaken, and the
// next call is the first one again.
template <typename Count>
Count SinceBase(std::atomic<Count>& base, Count now) {
  const Count taken = base.load(std::memory_order_relaxed);
  if (taken != 0) return now - taken;
  base.store(now, std::memory_order_relaxed);
  return 0;
}

constexpr const char* kMonths[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                   "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};

// 1 to 12, or 0 for anything else.
uint32_t MonthNumber(const char* text) {
  uint32_t number = 0;
  for (const char* const month : kMonths) {
    ++number;
    if (strncmp(text, month, strlen(month)) == 0) return number;
  }
  return 0;
}

uint32_t Digit(char character) { return static_cast<uint32_t>(character - '0'); }

uint32_t TwoDigits(const char* text) { return Digit(text[0]) * 10 + Digit(text[1]); }

// A space stands for a leading zero.
uint32_t PaddedTwoDigits(const char* text) {
  return text[0] == ' ' ? Digit(text[1]) : TwoDigits(text);
}

}  // namespace

uint32_t SYS_GetTickCount() { return SinceBase(base_ms, CounterMs()); }

uint64_t SYS_GetTickCountUs() { return SinceBase(base_us, CounterUs()); }

uint64_t SYS_GetElapsedUs(uint64_t stamp) { return SinceBase(base_us, CounterUs()) - stamp; }

uint32_t SYS_GetTimeMs() { return CounterMs(); }

void SYS_GetLocalTime(SYS_TIME* time) {
  if (time != nullptr) *time = calendar::Local(::time(nullptr));
}

void SYS_GetUTCTime(SYS_TIME* time) {
  if (time != nullptr) *time = calendar::Utc(::time(nullptr));
}

int32_t SYS_ParseBuildDateTime(const char* text, uint32_t* date, uint32_t* time) {
  if (date != nullptr) {
    const uint32_t month = MonthNumber(text);
    if (month == 0) return -1;
    *date = TwoDigits(text + 9) * 10000 + month * 100 + PaddedTwoDigits(text + 4);
  }
  if (time != nullptr) {
    *time = PaddedTwoDigits(text + 12) * 10000 + TwoDigits(text + 15) * 100 + TwoDigits(text + 18);
  }
  return 0;
}

// The product wraps at 32 bits on purpose, whatever the width of useconds_t.
void SYS_Sleep(uint32_t milliseconds) {
  const uint32_t microseconds = milliseconds * 1000;
  usleep(microseconds);
}
