/* SPDX-License-Identifier: MIT */

/* Whole-number arithmetic: division, differences, common divisors and ranges of addresses.
 *
 * The functions keep no state and may run on any number of threads at once. */
#ifndef TARVEN_UTIL_ARITHMETIC_H_
#define TARVEN_UTIL_ARITHMETIC_H_

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Differences ---- */

/* Returns the difference of two signed numbers without its sign. */
uint32_t UTIL_AbsDiff32(int32_t first, int32_t second);

/* Returns how far two numbers lie apart, the shorter way round modulo 2^64, so that counters may have
 * wrapped between them: 0 and 2^64 - 1 lie 1 apart. */
uint64_t UTIL_AbsDiff64(uint64_t first, uint64_t second);

/* ---- Division ----
 *
 * REQUIRES: no divisor is 0. */

/* Returns (first * second + divisor / 2) / divisor, which is the product over the divisor, rounded to
 * nearest, halves upwards; but an odd divisor's half is rounded down first.
 *
 * Exact as long as the positions of the factors' highest set bits, counted from 0, add up to less than
 * 62. Beyond, the result is computed in double precision and good for 53 bits; a result of 2^64 and
 * above is given as 2^63. */
uint64_t UTIL_MulDivRound(uint64_t first, uint64_t second, uint64_t divisor);

/* Divides by shifting and subtracting, without the processor's division.
 *
 * remainder   may be null
 *
 * Returns the quotient. */
uint32_t UTIL_udivmod(uint32_t dividend, uint32_t divisor, uint32_t* remainder);

/* Returns the quotient of UTIL_udivmod. */
uint32_t UTIL_udiv(uint32_t dividend, uint32_t divisor);

/* Returns the remainder of UTIL_udivmod. */
uint32_t UTIL_umod(uint32_t dividend, uint32_t divisor);

/* Returns the quotient of a signed dividend, rounded towards 0.
 *
 * divisor   positive. Its sign is not looked at: a negative one divides as 2^32 less its magnitude, so
 *           that the quotient is 0, 1 or -1. */
int32_t UTIL_sdiv(int32_t dividend, int32_t divisor);

/* ---- Common divisors and ranges ---- */

/* Returns the greatest common divisor; 0 when either value is 0. */
uint64_t UTIL_gcd(uint64_t first, uint64_t second);

/* Returns 1 when address is one of the length addresses from start on, else 0; so length 0 always
 * gives 0. A range does not wrap: one that passes the highest address ends there. */
int32_t UTIL_IsInRange(uint64_t address, uint64_t start, uint32_t length);

/* Returns 1 when two ranges, each given as for UTIL_IsInRange, have an address in common, else 0; so
 * a length of 0 always gives 0. */
int32_t UTIL_RangesOverlap(uint64_t first_start, uint32_t first_length, uint64_t second_start,
                           uint32_t second_length);

#ifdef __cplusplus
}
#endif

#endif
