/* SPDX-License-Identifier: MIT */

/* Days between calendar dates that are written as decimal numbers. */
#ifndef TARVEN_UTIL_CALENDAR_DAYS_H_
#define TARVEN_UTIL_CALENDAR_DAYS_H_

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Returns how many days the first date lies behind the second one: 2 for 20240301 and 20240228.
 *
 * A date is year * 10000 + month * 100 + day; below 10000000 its year counts from 2000, so that 240301
 * is 20240301. The month has to be 1 to 12; the day is added as it is.
 *
 * Days are counted from the start of 2001 for dates from then on. For an earlier date they are counted
 * from the start of its own year, whichever that is, so only dates of one such year compare.
 *
 * May run on any number of threads at once. */
int32_t UTIL_DaysBetween(uint32_t first_date, uint32_t second_date);

#ifdef __cplusplus
}
#endif

#endif
