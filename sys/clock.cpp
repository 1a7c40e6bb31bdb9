#include "sys/clock.h"

#include <time.h>
#include <unistd.h>

#include <atomic>
#include <cstring>
#include <string_view>

#include "sys/calendar.h"
#include "sys/platform/platform.h"

namespace {

// 0 means not yet taken; a counter that happens to stand at 0 counts as not taken, too.
std::atomic<uint32_t> base_ms = 0;
std::atomic<uint64_t> base_us = 0;

constexpr std::string_view kMonths = "JanFebMarAprMayJunJulAugSepOctNovDec";

uint64_t NowUs() { return platform::MonotonicNanoseconds() / 1000; }

// Returns the count's distance from its base, after making it the base if there is none.
template <typename Count>
Count SinceBase(std::atomic<Count>& base, Count now) {
  const Count start = base.load(std::memory_order_relaxed);
  if (start != 0) return now - start;
  base.store(now, std::memory_order_relaxed);
  return 0;
}

uint32_t Digit(char character) { return static_cast<uint32_t>(character - '0'); }

uint32_t TwoDigits(const char* text) { return Digit(text[0]) * 10 + Digit(text[1]); }

uint32_t TwoDigitsOrSpaceAndDigit(const char* text) {
  return text[0] == ' ' ? Digit(text[1]) : TwoDigits(text);
}

// Returns 1 to 12, or 0 for anything but an English abbreviation.
uint32_t MonthOfName(const char* text) {
  for (uint32_t month = 1; month <= 12; ++month) {
    if (memcmp(text, &kMonths[size_t{3} * (month - 1)], 3) == 0) return month;
  }
  return 0;
}

}  // namespace

SYS_TIME calendar::FromBrokenDown(const tm& time) {
  SYS_TIME result{};
  result.year = static_cast<uint16_t>(time.tm_year + 1900);
  result.month = static_cast<uint16_t>(time.tm_mon + 1);
  result.day = static_cast<uint16_t>(time.tm_mday);
  result.hour = static_cast<uint16_t>(time.tm_hour);
  result.minute = static_cast<uint16_t>(time.tm_min);
  result.second = static_cast<uint16_t>(time.tm_sec);
  return result;
}

uint32_t SYS_GetTickCount() { return SinceBase(base_ms, SYS_GetTimeMs()); }

uint64_t SYS_GetTickCountUs() { return SinceBase(base_us, NowUs()); }

uint64_t SYS_GetElapsedUs(uint64_t stamp) { return SinceBase(base_us, NowUs()) - stamp; }

uint32_t SYS_GetTimeMs() {
  return static_cast<uint32_t>(platform::MonotonicNanoseconds() / 1'000'000);
}

void SYS_GetLocalTime(SYS_TIME* time_place) {
  const time_t now = time(nullptr);
  tm broken_down{};
  localtime_r(&now, &broken_down);
  if (time_place != nullptr) *time_place = calendar::FromBrokenDown(broken_down);
}

void SYS_GetUTCTime(SYS_TIME* time_place) {
  const time_t now = time(nullptr);
  tm broken_down{};
  gmtime_r(&now, &broken_down);
  if (time_place != nullptr) *time_place = calendar::FromBrokenDown(broken_down);
}

int32_t SYS_ParseBuildDateTime(const char* text, uint32_t* date, uint32_t* time_place) {
  if (date != nullptr) {
    const uint32_t month = MonthOfName(text);
    if (month == 0) return -1;
    *date = TwoDigits(text + 9) * 10000 + month * 100 + TwoDigitsOrSpaceAndDigit(text + 4);
  }
  if (time_place != nullptr) {
    *time_place = TwoDigitsOrSpaceAndDigit(text + 12) * 10000 + TwoDigits(text + 15) * 100 +
                  TwoDigits(text + 18);
  }
  return 0;
}

void SYS_Sleep(uint32_t milliseconds) { usleep(milliseconds * 1000); }
