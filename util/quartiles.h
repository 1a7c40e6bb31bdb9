/* SPDX-License-Identifier: MIT */

/* Quartiles of a set of samples, estimated by counting. */
#ifndef TARVEN_UTIL_QUARTILES_H_
#define TARVEN_UTIL_QUARTILES_H_

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Estimates quartiles without sorting: counts the samples into buckets over a range and takes the
 * middle of the bucket in which the running count reaches the quartile. Where that bucket is wider
 * than the resolution, or where the quartile lies outside the range, the samples are counted again
 * over the range in question, in 800 buckets, up to 11 times.
 *
 * low, high        the range where the samples are expected, both ends included
 * buckets          overwritten with the first count
 * resolution       how wide a bucket may be whose middle is taken; no bucket is narrow enough for 0
 * first_quartile, median, third_quartile
 *                  each may be null and is then left out. They are reached by count / 4, count / 2 and
 *                  count - count / 4 samples, rounded down.
 *
 * A bucket's width counts rounded down for the resolution and for the range of the next count, which
 * therefore may miss the quartile and has to follow it outside again.
 *
 * Returns 0, or -1 when a quartile cannot be located; those behind it are then not stored. A quartile
 * that 0 samples reach never is: neither the first one of fewer than four, nor the median of one.
 * Without a bucket nothing is located either.
 *
 * Counting again takes place in one table for all callers: not on two threads at once. */
int32_t UTIL_GetQuartiles(uint64_t low, uint64_t high, const uint64_t* samples, uint32_t count,
                          uint64_t* buckets, uint32_t bucket_count, uint64_t resolution,
                          uint64_t* first_quartile, uint64_t* median, uint64_t* third_quartile);

#ifdef __cplusplus
}
#endif

#endif
