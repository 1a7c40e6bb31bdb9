/* Time: tick counts, calendar time, build stamps, sleeping.
 *
 * Tick counts run on a monotonic counter that stands still while the machine sleeps. They count
 * from their first call in the process, which gives 0. The two bases are taken without a lock: when
 * the first calls run on two threads at once, each may take a base, and one of them stays.
 * Everything else may run on any number of threads at once. */
#ifndef TARVEN_SYS_CLOCK_H_
#define TARVEN_SYS_CLOCK_H_

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* A point of calendar time. */
typedef struct SYS_TIME {
  uint16_t year;         /* in full, such as 2026 */
  uint16_t month;        /* 1 to 12 */
  uint16_t day;          /* 1 to 31 */
  uint16_t hour;         /* 0 to 23 */
  uint16_t minute;       /* 0 to 59 */
  uint16_t second;       /* 0 to 60 */
  uint16_t milliseconds; /* always 0 where this layer fills it */
} SYS_TIME;

/* Returns the milliseconds since the first call, wrapping after about 49.7 days. */
uint32_t SYS_GetTickCount(void);

/* Returns the microseconds since the first call of this function or of SYS_GetElapsedUs. */
uint64_t SYS_GetTickCountUs(void);

/* Returns the microseconds from stamp, a value of SYS_GetTickCountUs, to now. As the first call of
 * the two it takes the base and returns 0 - stamp. */
uint64_t SYS_GetElapsedUs(uint64_t stamp);

/* Returns the monotonic counter in milliseconds, cut to 32 bits, from the system's own origin. */
uint32_t SYS_GetTimeMs(void);

/* Stores the current local time, or universal time; a null place is ignored. */
void SYS_GetLocalTime(SYS_TIME* time);
void SYS_GetUTCTime(SYS_TIME* time);

/* Reads a compiler's build stamp, date and time in one text: "Feb  3 2021", a zero byte or any
 * other character at position 11, "09:07:05" from position 12.
 *
 * date   null, or gets year modulo 100, month and day as YYMMDD: 210203
 * time   null, or gets HHMMSS: 90705
 *
 * A space may stand for the leading zero of the day and of the hour. Digits are not checked.
 * Returns 0, or -1 with nothing stored when date is given and the month is not one of Jan to Dec in
 * exactly this case. */
int32_t SYS_ParseBuildDateTime(const char* text, uint32_t* date, uint32_t* time);

/* Sleeps that long. The microseconds are counted in 32 bits, so 4,294,968 ms and more wrap to short
 * times. */
void SYS_Sleep(uint32_t milliseconds);

#ifdef __cplusplus
}
#endif

#endif
