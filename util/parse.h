/* SPDX-License-Identifier: MIT */

/* Text parsing: numbers, words, list items and tokens out of text held in memory.
 *
 * Cursor.  The address of a pointer into a zero-terminated text. A scanner skips blanks, reads, and
 * moves the pointer past what it consumed, so that calls can be chained over one line.
 *
 * Sets of characters. They differ on purpose: each scanner ends where its own set says.
 *
 *   blanks         TAB, LF, CR, space
 *   word end       the end of the text, LF, CR, space; a TAB belongs to the word
 *   quoted end     the end of the text, LF, CR; spaces and TABs belong to the item
 *   token end      the end of the text, LF, CR, space, ":"; a TAB belongs to the token
 *
 * Numbers.  Digits "0" to "9", in hexadecimal also "a" to "f" and "A" to "F"; the hexadecimal prefix
 * is "0x" or "0X". The one sign is "-", and a negative number is stored in two's complement.
 * Overflow is not noticed: values wrap modulo 2^32 or 2^64.
 *
 * Buffers.  A capacity counts the terminating zero; one of 0 or less stores nothing.
 *
 * Unless said otherwise no pointer may be null. The functions allocate nothing, keep no state and
 * may run on any number of threads at once. */
#ifndef TARVEN_UTIL_PARSE_H_
#define TARVEN_UTIL_PARSE_H_

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Numbers ---- */

/* Reads a number that starts at the first character, decimal or hexadecimal with the prefix. Blanks
 * and signs are not accepted; what follows the number is not looked at.
 *
 * Returns 0, or -1 and leaves *value alone when there is no such number. */
int32_t UTIL_ParseUnsigned(const char* text, uint32_t* value);

/* Reads a number: blanks, an optional "-", then hexadecimal digits behind the prefix, else decimal
 * ones.
 *
 * force_hex   non-zero: the digits are hexadecimal without the prefix too
 *
 * Returns 0, or -1 and leaves the cursor and *value alone when there is no digit. The prefix without
 * a digit behind it is no number. */
int32_t UTIL_ParseNumber64(const char** cursor, uint64_t* value, int32_t force_hex);

/* UTIL_ParseNumber64 that is always hexadecimal. */
int32_t UTIL_ParseHex64(const char** cursor, uint64_t* value);

/* UTIL_ParseHex64 for the low 32 bits; stores 0 on failure. */
int32_t UTIL_ParseHex32(const char** cursor, uint32_t* value);

/* UTIL_ParseNumber64, not forced to hexadecimal, for the low 32 bits; stores 0 on failure. */
int32_t UTIL_ReadU32(const char** cursor, uint32_t* value);

/* Checks the form of four numbers, each followed by ".", and moves the cursor behind what fits. The
 * numbers are as UTIL_ParseNumber64 takes them, of any size. The fourth one needs its "." as well:
 * "1.2.3.4" is refused, "1.2.3.4." passes.
 *
 * Returns 0, or -1 when a number or a "." is missing; what is behind it is scanned all the same, and
 * the cursor moves over as much as fits. */
int32_t UTIL_CheckDottedQuad(const char** cursor);

/* Reads a version such as "V6.12c": blanks, an optional "V", the major number, ".", the minor number,
 * and a revision letter if a character follows. The numbers are as UTIL_ReadU32 takes them.
 *
 * letter   1 for "a" to 26 for "z", 0 at the end of the text. After a failure it is the code of the
 *          character in question instead.
 *
 * Each output may be null, and is stored after a failure too; a missing number counts as 0.
 *
 * Returns 0, or -1
 *   - when a number or the "." is missing; the cursor then stands where the letter would be
 *   - when the character behind the minor number is none of "a" to "z"; it is stepped over */
int32_t UTIL_ParseVersion(const char** cursor, uint32_t* major, uint32_t* minor, uint32_t* letter);

/* ---- Words, list items, tokens ---- */

/* Copies what stands before a delimiter, blanks inside and at the end included, and moves the cursor
 * behind the delimiter, or to the end of the text when there is none.
 *
 * Returns 1 when the word did not fit and was cut to capacity - 1 characters, else 0. */
int32_t UTIL_ParseWord(const char** cursor, char* destination, int32_t capacity, char delimiter);

/* Copies a word up to the first character of word end or a delimiter, and moves the cursor there;
 * that character is not consumed.
 *
 * Returns null, or a constant message and then leaves the destination empty and the cursor behind the
 * skipped blanks:
 *   "Maximum string length exceeded"  the word has capacity characters or more; this comes first
 *   "Expected a string"               the word is empty */
const char* UTIL_ParseString(const char** cursor, char* destination, int32_t capacity,
                             char delimiter);

/* Copies an item of a list, then skips blanks and one "," behind it.
 *
 * An item in double quotes ends at the second quote or a character of quoted end and may hold commas.
 * Any other ends at a quote or a character of word end: a "," ends it only behind one of those. The
 * quote that ends an item is consumed in both cases.
 *
 * As soon as capacity - 1 characters are stored, the item ends without anything more of it being
 * consumed, be it the closing quote: the next call goes on there.
 *
 * A null destination or a capacity of 0 do nothing at all. */
void UTIL_ParseListItem(const char** cursor, char* destination, uint32_t capacity);

/* Copies a token, cut to capacity - 1 characters.
 *
 * A token in double quotes holds whatever stands between them, and the cursor moves behind the second
 * quote. Any other ends at a character of token end, where the cursor stays. When there is none at
 * all the result is the empty string and the cursor does not move, not even over blanks.
 *
 * Returns 0, or -1 and leaves the cursor alone
 *   - for a null destination or a capacity of 0
 *   - when the second quote is missing; the destination then is no string and must not be used */
int32_t UTIL_ParseToken(const char** cursor, char* destination, uint32_t capacity);

/* ---- Single characters ---- */

/* Returns 1 if the character with this code is a blank, else 0. */
int32_t UTIL_IsBlank(uint32_t code);

/* Moves the cursor over blanks. */
void UTIL_SkipBlanks(const char** cursor);

/* Steps over one character if it is the expected one; nothing is skipped before. A zero is expected
 * like any other character, and steps behind the end of the text.
 *
 * Returns 0, or -1 and leaves the cursor alone. */
int32_t UTIL_ExpectChar(const char** cursor, char character);

#ifdef __cplusplus
}
#endif

#endif
