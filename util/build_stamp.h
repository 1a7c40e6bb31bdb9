/* SPDX-License-Identifier: MIT */

/* When this program was built, as the compiler stamps it (C11, 6.10.8.1).
 *
 * The texts are constant, in English whatever the locale, and follow SOURCE_DATE_EPOCH where the
 * compiler does. */
#ifndef TARVEN_UTIL_BUILD_STAMP_H_
#define TARVEN_UTIL_BUILD_STAMP_H_

#ifdef __cplusplus
extern "C" {
#endif

/* Returns the date in 11 characters, a space instead of a leading zero: "Jun  5 2020". */
const char* UTIL_GetBuildDate(void);

/* Returns the time in 8 characters: "17:43:41". */
const char* UTIL_GetBuildTime(void);

/* Returns the year of UTIL_GetBuildDate in 4 characters: "2020". */
const char* UTIL_GetReleaseYear(void);

#ifdef __cplusplus
}
#endif

#endif
