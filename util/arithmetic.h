/* Whole-number arithmetic: common divisors and ranges of addresses.
 *
 * The functions keep no state and may run on any number of threads at once. */
#ifndef TARVEN_UTIL_ARITHMETIC_H_
#define TARVEN_UTIL_ARITHMETIC_H_

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Returns the greatest common divisor, found by repeated remainder (Euclid's algorithm); 0 when
 * either value is 0. */
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
