/* SPDX-License-Identifier: MIT */

/* Bytes: loads, stores and swaps in a named byte order, and integers of variable length.
 *
 * Big-endian (BE) means that the most significant byte comes first, little-endian (LE) that the
 * least significant one does. Addresses need no alignment and must not be null.
 *
 * The functions keep no state and may run on any number of threads at once. */
#ifndef TARVEN_UTIL_BYTES_H_
#define TARVEN_UTIL_BYTES_H_

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Loads ---- */

/* Return the number of the named width that stands at an address, in the named order. */
uint8_t UTIL_Load8(const void* address);
uint16_t UTIL_Load16BE(const void* address);
uint16_t UTIL_Load16LE(const void* address);
uint32_t UTIL_Load32BE(const void* address);
uint32_t UTIL_Load32LE(const void* address);
uint64_t UTIL_Load64LE(const void* address);

/* Loads two little-endian 32-bit words, of which the first one is the upper half. */
uint64_t UTIL_Load64Words(const void* address);

/* Load in the order that a flag names: 0 is little-endian, anything else big-endian. */
uint16_t UTIL_Load16(const void* address, int32_t is_big_endian);
uint32_t UTIL_Load32(const void* address, int32_t is_big_endian);
uint64_t UTIL_Load64(const void* address, int32_t is_big_endian);

/* ---- Stores ---- */

/* Store a number of the named width at an address, in the named order. */
void UTIL_Store16BE(void* address, uint16_t value);
void UTIL_Store16LE(void* address, uint16_t value);
void UTIL_Store32BE(void* address, uint32_t value);
void UTIL_Store32LE(void* address, uint32_t value);
void UTIL_Store64BE(void* address, uint64_t value);
void UTIL_Store64LE(void* address, uint64_t value);

/* Stores little-endian at *cursor and moves *cursor by 4. */
void UTIL_Store32LEInc(uint8_t** cursor, uint32_t value);

/* Store in the order that a flag names: 0 is little-endian, anything else big-endian. */
void UTIL_Store16(void* address, uint16_t value, int32_t is_big_endian);
void UTIL_Store32(void* address, uint32_t value, int32_t is_big_endian);
void UTIL_Store64(void* address, uint64_t value, int32_t is_big_endian);

/* ---- Swaps ---- */

/* Return the value with its bytes in reverse order. */
uint16_t UTIL_Swap16(uint16_t value);
uint32_t UTIL_Swap32(uint32_t value);
uint64_t UTIL_Swap64(uint64_t value);

/* Write count elements, each with its bytes in reverse order.
 *
 * The arrays need no alignment and may be the same one. They may also overlap in part: the result
 * is then the one of a loop from the first element to the last, which reads what it has written
 * before where the destination begins inside the source. With a count of 0 nothing is accessed. */
void UTIL_SwapArray16(void* destination, const void* source, uint32_t count);
void UTIL_SwapArray32(void* destination, const void* source, uint32_t count);
void UTIL_SwapArray64(void* destination, const void* source, uint32_t count);

/* ---- Integers of variable length ---- */

/* Unsigned LEB128: groups of 7 bits, least significant group first, one group a byte. Bit 7 of a
 * byte is set when another byte follows: 300 is 0xAC 0x02, and 0 is 0x00. */

/* Reads the integer at *cursor and moves *cursor behind it.
 *
 * The encoding must be complete. In its fifth byte only the lowest 4 bits count; more than 5 bytes
 * are read to their end, but give a number that means nothing. */
uint32_t UTIL_ReadVarU32(const uint8_t** cursor);

/* Writes value in the fewest bytes, 1 to 5, and returns the address behind them. */
uint8_t* UTIL_WriteVarU32(uint8_t* cursor, uint32_t value);

#ifdef __cplusplus
}
#endif

#endif
