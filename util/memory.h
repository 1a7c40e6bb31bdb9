/* SPDX-License-Identifier: MIT */

/* Blocks of memory: comparison, search, reversal, and copies of records between layouts.
 *
 * Buffers need no alignment; a comparison loads no more than count bytes of each. The functions
 * keep no state and may run on any number of threads at once. */
#ifndef TARVEN_UTIL_MEMORY_H_
#define TARVEN_UTIL_MEMORY_H_

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Comparison and search ---- */

/* Returns the index of the first byte in which two buffers differ; -1 when none differs or count is
 * below 1. */
int32_t UTIL_FindFirstDiff(const void* first, const void* second, int32_t count);

/* UTIL_FindFirstDiff without regard to case: "A" to "Z" count as "a" to "z". */
int32_t UTIL_FindFirstDiffNoCase(const void* first, const void* second, int32_t count);

/* Compares two buffers.
 *
 * Returns the first differing byte of first minus that of second, as unsigned numbers; 0 when none
 * differs or count is below 1. */
int32_t UTIL_memcmp(const void* first, const void* second, int32_t count);

/* Compares two buffers without regard to case. A zero byte is a byte like any other.
 *
 * Returns the first differing byte of first, folded to lower case, minus that of second, as signed
 * 8-bit numbers, not clamped; 0 when none differs. */
int32_t UTIL_memicmp(const void* first, const void* second, uint32_t count);

/* Returns the index of the first byte that is not the given one; -1 when all count bytes are, also
 * when count is 0. REQUIRES: count is at most 0x80000000, so that the index fits. */
int32_t UTIL_FindNotByte(const void* buffer, uint8_t byte, uint32_t count);

/* ---- Reversal ---- */

/* Reverses the order of length bytes in place. */
void UTIL_Reverse(void* buffer, uint32_t length);

/* ---- Records ---- */

/* Copies count records into an array whose records may have another size. Each is cut, or filled
 * up with zeros, to the size in the destination; with a source_size of 0 all bytes become zero.
 *
 * Nothing happens when destination or source is null, or when destination_size or count is 0. The
 * arrays must not overlap. */
void UTIL_CopyRecords(void* destination, uint32_t destination_size, const void* source,
                      uint32_t source_size, uint32_t count);

/* Copies between two layouts of a structure whose first field is its unsigned 32-bit size in bytes,
 * that field included.
 *
 * name   the structure's, not null
 *
 * The payload behind the size field is cut, or filled up with zeros, to what the destination
 * declares; its size field is never changed. A source size below 4 means that the source holds
 * whatever the destination takes.
 *
 * The destination's size must be 4 to 4100 and a multiple of 4. Otherwise nothing is copied, and
 * nobody is told. The structures must not overlap. */
void UTIL_CopyAPIStruct(void* destination, const void* source, const char* name);

#ifdef __cplusplus
}
#endif

#endif
