/* SPDX-License-Identifier: MIT */

/* Time: tick counts, the calendar, the compiler's build stamp, and sleeping.
 *
 * Tick counts run on a monotonic counter, so nobody setting the clock disturbs them. They are small
 * numbers on purpose: they count from their own first call in the process, which returns 0. Take
 * the first tick count on one thread; first calls on two threads at once may each set the base.
 * Apart from that the functions may run on any number of threads at once. */
#ifndef TARVEN_SYS_CLOCK_H_
#define TARVEN_SYS_CLOCK_H_

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* A calendar time. */
typedef struct SYS_TIME {
  uint16_t year;         /* in full, e.g. 2026 */
  uint16_t month;        /* 1 to 12 */
  uint16_t day;          /* 1 to 31 */
  uint16_t hour;         /* 0 to 23 */
  uint16_t minute;       /* 0 to 59 */
  uint16_t second;       /* 0 to 60; 60 in a leap second */
  uint16_t milliseconds; /* always 0: no function here gives parts of a second */
} SYS_TIME;

/* Returns the milliseconds since the first call, which returns 0. Wraps after about 49.7 days. */
uint32_t SYS_GetTickCount(void);

/* Returns the microseconds since the first call of this function or of SYS_GetElapsedUs, which
 * share their base; the first call returns 0. */
uint64_t SYS_GetTickCountUs(void);

/* Returns the microseconds from a stamp of SYS_GetTickCountUs to now.
 *
 * As the first call of the two it takes the base and returns 0 - stamp in unsigned arithmetic. */
uint64_t SYS_GetElapsedUs(uint64_t stamp);

/* Returns the monotonic counter in milliseconds, cut to 32 bits. It counts from an origin of the
 * system's choice and neither takes nor uses a base. */
uint32_t SYS_GetTimeMs(void);

/* Stores the present time in the time zone of the process, in whole seconds. Null is ignored. */
void SYS_GetLocalTime(SYS_TIME* time);

/* Stores the present time in Coordinated Universal Time, in whole seconds. Null is ignored. */
void SYS_GetUTCTime(SYS_TIME* time);

/* Turns a compiler's build stamp into numbers.
 *
 * text   20 characters: the date as in "Feb  3 2021", a zero byte, the time as in "09:07:05"
 * date   gets YYMMDD, 210203 for that date; may be null, and then the date is not looked at
 * time   gets HHMMSS, 90705 for that time; may be null, and then the time is not looked at
 *
 * A space may stand for the leading zero of the day and of the hour.
 *
 * Returns 0; or -1 when the text does not start with the name of a month in that spelling, and then
 * stores nothing. Digits are taken as they come: other characters in their places give numbers
 * without a meaning. */
int32_t SYS_ParseBuildDateTime(const char* text, uint32_t* date, uint32_t* time);

/* Lets the calling thread sleep for at least that many milliseconds, or until a signal was handled.
 *
 * The time is counted in 32-bit microseconds: from 4294968 ms (about 71 minutes) on it wraps, and
 * 4294968 sleeps for 704 microseconds. */
void SYS_Sleep(uint32_t milliseconds);

#ifdef __cplusplus
}
#endif

#endif
