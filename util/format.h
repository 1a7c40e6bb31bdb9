/* SPDX-License-Identifier: MIT */

/* Bounded formatted output.
 *
 * A small engine of the library's own: it allocates nothing, follows no locale, never stores
 * outside the buffer and always terminates the text.
 *
 * Directives.  "%" [width] ["." [precision]] ["l"...] conversion
 *
 *   %%       one percent sign; only a "%" directly after the first one counts
 *   d i      signed decimal; the sign stands before the padding, and the width counts digits alone
 *   u x X    unsigned decimal, lower-case and upper-case hexadecimal
 *   c        the low byte of an int, a zero byte included; width and precision are ignored
 *   s        a zero-terminated string, not null; width and precision are ignored
 *   p        the low 32 bits of a pointer in lower-case hexadecimal, always 8 columns wide, no "0x"
 *
 *   width       decimal digits; pads with spaces on the left. A leading 0 is a digit of the width.
 *   precision   smallest number of digits, filled with zeros; a lone "." means 0
 *   l           none or one: a 32-bit argument; two or more: a 64-bit argument
 *
 * There are no flags, no "*", no "h", "z", "j", "t" or "L" and no floating point. Any other
 * character in the place of the conversion produces nothing and takes no argument. A format that
 * ends within a directive ends there.
 *
 * The arguments must match the directives; buffer, format and strings must not be null. Both
 * functions keep no state and may run on any number of threads at once. */
#ifndef TARVEN_UTIL_FORMAT_H_
#define TARVEN_UTIL_FORMAT_H_

#include <stdarg.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Formats into buffer and cuts what does not fit, in the middle of a number if need be.
 *
 * capacity   size of the buffer, terminator included. At most capacity - 1 characters are stored;
 *            0 and below store the terminator at position 0 all the same.
 *
 * Returns the address of the terminating zero, where a caller may go on appending; the length is
 * that address minus buffer. */
char* UTIL_snprintf(char* buffer, int32_t capacity, const char* format, ...);

/* UTIL_snprintf with the arguments in a list. Where the list stands afterwards is not defined; the
 * caller ends it with va_end. */
char* UTIL_vsnprintf(char* buffer, int32_t capacity, const char* format, va_list arguments);

#ifdef __cplusplus
}
#endif

#endif
