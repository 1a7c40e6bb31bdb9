/* SPDX-License-Identifier: MIT */

/* Core strings: bounded copy, comparison without regard to case, length.
 *
 * Strings are zero-terminated bytes. Case folding is 7-bit ASCII alone, "A" to "Z"; no locale is
 * asked. The functions keep no state and may run on any number of threads at once. */
#ifndef TARVEN_UTIL_TEXT_H_
#define TARVEN_UTIL_TEXT_H_

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Folds a character to lower case: entry i is i, but "A" to "Z" give "a" to "z". */
extern const uint8_t UTIL_aToLower[256];

/* Copies source, cut to capacity - 1 characters, and terminates the copy.
 *
 * A null destination, a null source or a capacity of 0 leave everything untouched. The two strings
 * must not overlap. */
void UTIL_CopyString(char* destination, const char* source, uint32_t capacity);

/* Compares two strings, neither null, without regard to case.
 *
 * Returns 0 when they are equal, else the first differing folded character of first minus that of
 * second, as signed 8-bit numbers, not clamped: "abc" against "ABD" gives -1, "ab" against "abc"
 * gives -99. Bytes above 0x7F are compared as they are. */
int32_t UTIL_stricmp(const char* first, const char* second);

/* Returns the number of characters before the terminating zero; text must not be null. */
uint64_t UTIL_strlen(const char* text);

#ifdef __cplusplus
}
#endif

#endif
