/* SPDX-License-Identifier: MIT */

/* Value formatting: machine values as the short texts that people read.
 *
 * Buffers.  A size counts the terminating zero. Every text is cut to its buffer and terminated; a
 * buffer of size 0 is left alone. Nobody is told that a text was cut.
 *
 * "The terminator" is the address of the terminating zero, as UTIL_snprintf returns it.
 *
 * Unless said otherwise no pointer may be null. The functions allocate nothing, follow no locale,
 * keep no state and may run on any number of threads at once. */
#ifndef TARVEN_UTIL_VALUES_H_
#define TARVEN_UTIL_VALUES_H_

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Sizes and durations ---- */

/* Formats a number of bytes in the greatest unit that needs no rounding.
 *
 *   "0 Bytes"             a count of 0
 *   "3 GB" "3 MB" "3 KB"  multiples of 1024^3, else of 1024^2, else of 1024
 *   "1.5 GB" ...          from one unit on, multiples of half that unit; positive counts alone
 *   "1 Byte" "2 Bytes"    all others. Only 1 and -1 are singular.
 *
 * So 1536 gives "1.5 KB", 1280 gives "1280 Bytes", -1024 gives "-1 KB" and -1536 "-1536 Bytes". Whole
 * units and bytes are printed as 32-bit numbers: of a count of units or bytes beyond, the low 32 bits
 * show. */
void UTIL_FormatSize(int64_t count, char* buffer, uint32_t size);

/* Formats a duration as hours, minutes, seconds, milliseconds and microseconds, without the hours and
 * then the minutes when they are 0: "1:00:00.000 000", "1:01.234 567", "0.000 005". Hours count modulo
 * 2^32 and are shown as a signed number.
 *
 * Returns the terminator. */
char* UTIL_FormatDuration(uint64_t microseconds, char* buffer, uint32_t size);

/* A run of memory blocks of one size. */
typedef struct UTIL_SIZE_BLOCK {
  uint32_t count;     /* how many blocks; 0 ends a list, and nothing else of that record is read */
  uint32_t unit_size; /* bytes of each */
  uint32_t reserved;  /* not read */
} UTIL_SIZE_BLOCK;

/* Formats the sizes of lists of blocks, each as by UTIL_FormatSize, with " + " between them: "32 KB +
 * 192 KB"; "-" for no lists at all.
 *
 * lists   one pointer for each list; a null one counts as a list of size 0
 *
 * Returns the size of all lists together, modulo 2^32. */
uint32_t UTIL_FormatSizeList(const UTIL_SIZE_BLOCK* const* lists, uint32_t list_count, char* buffer,
                             uint32_t size);

/* ---- Addresses ---- */

/* Formats an IPv4 address, its first number in the lowest byte: 0x0100007F gives "127.0.0.1".
 *
 * Returns the terminator. */
char* UTIL_FormatIPAddr(uint32_t address, char* buffer, uint32_t size);

/* Reads an IPv4 address, the inverse of UTIL_FormatIPAddr: four numbers as UTIL_ParseNumber64 takes
 * them, with "." directly behind the first three. What follows the fourth is not looked at.
 *
 * address   may be null: the text is only checked
 *
 * A number above 255 is not refused: it spills into the bytes above its own, so "256.0.0.0" reads as
 * "0.1.0.0".
 *
 * Returns 0, or -1 and leaves *address alone when a number or a "." is missing. */
int32_t UTIL_ParseIPAddr(const char* text, uint32_t* address);

/* Formats six bytes in upper-case hexadecimal with a separator between them: "00:1A:2B:3C:4D:5E".
 *
 * Returns the terminator. */
char* UTIL_FormatMACAddr(const uint8_t* address, char separator, char* buffer, uint32_t size);

/* ---- Names and versions ---- */

/* Returns the constant name of an operating system, "macOS" for 0x3000; "Unknown" for a code that is
 * none. SYS_GetOSType gives the code of this one. */
const char* UTIL_GetOSName(uint32_t code);

/* A version number, taken apart. */
typedef struct UTIL_VERSION {
  char revision[4]; /* l of 6.94l: "", "a" to "z", then "z01" to "z73" */
  uint32_t major;   /* 6 of 6.94l */
  uint32_t minor;   /* 0 to 99; 94 of 6.94l */
} UTIL_VERSION;

/* Takes a version number apart: major * 10000 + minor * 100 + revision, where 0 is no revision, 1 to
 * 26 are the letters and 27 to 99 go on from "z01". 69412 is 6.94l.
 *
 * version   may be null: nothing is done */
void UTIL_SplitVersion(UTIL_VERSION* version, uint32_t number);

/* Returns the maker's name. */
const char* UTIL_GetCompanyName(void);

/* Returns the maker's web address. */
const char* UTIL_GetCompanyURL(void);

#ifdef __cplusplus
}
#endif

#endif
