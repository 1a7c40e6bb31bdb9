/* SPDX-License-Identifier: MIT */

/* Bits: reversal, streams of bit fields, runs of bits, counting and searching.
 *
 * In a stream bit n is bit n mod 8, counted from the least significant one, of byte n / 8. Streams
 * stand at any address; no function touches a byte that holds none of the bits it reads or writes.
 *
 * The functions keep no state but the table of reversed numbers and may run on any number of
 * threads at once. */
#ifndef TARVEN_UTIL_BITS_H_
#define TARVEN_UTIL_BITS_H_

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Reversal ---- */

/* Entry i is i with its 16 bits in reverse order. All entries are 0 until the first call of
 * UTIL_BitReverse16 or UTIL_BitReverse32 fills them; from then on the table may be read directly,
 * and stays as it is.
 *
 * Its last entry, 0xFFFF once filled, is the only mark of that. Threads that make the first call at
 * the same time each fill the table with the same values. */
extern uint16_t UTIL_aBitReverse16[65536];

/* Returns the low 16 bits of value in reverse order. */
uint16_t UTIL_BitReverse16(uint32_t value);

/* Returns the 32 bits of value in reverse order: 1 gives 0x80000000. */
uint32_t UTIL_BitReverse32(uint32_t value);

/* ---- Streams ---- */

/* Returns count bits of a stream from bit_position on, the first one lowest. A count of 0 and one
 * above 16 give 0. */
uint32_t UTIL_ReadBits(const uint8_t* buffer, uint32_t bit_position, uint32_t count);

/* Returns 32 bits of a stream from bit_position on, the first one lowest. */
uint32_t UTIL_ReadBits32(const uint8_t* buffer, uint32_t bit_position);

/* Writes the 32 bits of value, lowest first, to a stream from bit_position on and keeps the bits
 * around them. */
void UTIL_WriteBits32(uint8_t* buffer, uint32_t value, uint32_t bit_position);

/* Packs the low bits of several values back to back into a stream.
 *
 * start_bit        0 to 7: where the first value begins
 * bits_per_value   how far behind it the next one begins; above 32 the bits between are kept
 * count            how many values, at least 1
 *
 * Each value is written with all its 32 bits, and the next one overwrites the excess. So the bits of
 * the last value above its bits_per_value stand in the stream as well; those before the start bit
 * and behind these 32 are kept.
 *
 * REQUIRES: the buffer has (start_bit + (count - 1) * bits_per_value + 32 + 7) / 8 bytes. */
void UTIL_WriteBitsArray(uint8_t* buffer, const uint32_t* values, uint32_t start_bit,
                         uint32_t bits_per_value, uint32_t count);

/* Set and clear count bits of a stream from first_bit on and keep the bits around them. A null buffer
 * or a count of 0 do nothing. */
void UTIL_SetBitRange(uint8_t* buffer, uint32_t first_bit, uint32_t count);
void UTIL_ClearBitRange(uint8_t* buffer, uint32_t first_bit, uint32_t count);

/* ---- Counting and searching ---- */

/* Returns how many bits of value are set. */
uint32_t UTIL_CountBits(uint32_t value);

/* Returns 1 when the number of set bits is odd, else 0. */
uint32_t UTIL_Parity(uint32_t value);

/* Return the index of the highest set bit; 0xFFFFFFFF when none is set. */
uint32_t UTIL_HighestBit(uint32_t value);
uint32_t UTIL_HighestBit64(uint64_t value);

/* Returns the index of the highest set bit of a positive value; 31 for 0 and for negative ones. */
int32_t UTIL_HighestBitPos(int32_t value);

/* Returns the index of the lowest set bit; -1 when none is set. */
int32_t UTIL_LowestBit(uint32_t value);

#ifdef __cplusplus
}
#endif

#endif
