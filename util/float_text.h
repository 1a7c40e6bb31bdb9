/* SPDX-License-Identifier: MIT */

/* Floating-point values as text, from their bits. */
#ifndef TARVEN_UTIL_FLOAT_TEXT_H_
#define TARVEN_UTIL_FLOAT_TEXT_H_

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Formats an IEEE 754 single-precision value, given as its bits, with six significant digits.
 *
 *   "NaNq" "NaNs"           not a number, bit 22 set or clear; the sign is not shown
 *   "Infinite" "-Infinite"
 *   "0.0" "-0.0"
 *   "1" "0.1" "1E-07"       all others as C's "%.6G" prints them in the C locale (C11, 7.21.6.1)
 *
 * Digits come from the exact decimal expansion, to nearest, halves to even. Whole-number arithmetic
 * alone is used, so neither the state of the floating-point unit nor a locale is asked or touched.
 *
 * size   of the buffer, terminator included; the text is cut to it. A size of 0 stores nothing. No
 *        text has more than 12 characters.
 *
 * Returns 0 always. May run on any number of threads at once. */
int32_t UTIL_FormatFloatBits(char* buffer, uint32_t size, uint32_t bits);

#ifdef __cplusplus
}
#endif

#endif
