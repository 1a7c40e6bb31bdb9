/* SPDX-License-Identifier: MIT */

/* String helpers: trimming, case, bounded comparison, search, appending, replacing, and questions
 * about characters and texts.
 *
 * Strings are zero-terminated bytes. Letters are "A" to "Z" and "a" to "z"; no locale is asked. A
 * character given as an int counts by its low byte unless said otherwise.
 *
 * Unless said otherwise no pointer may be null. The functions allocate nothing, keep no state and
 * may run on any number of threads at once. */
#ifndef TARVEN_UTIL_STRINGS_H_
#define TARVEN_UTIL_STRINGS_H_

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Changes in place ---- */

/* Removes spaces and the characters 0x09 to 0x0D from the ends of a string.
 *
 * trim_left, trim_right   non-zero: trim this end
 *
 * The right end alone is trimmed down to the first character, which stays whatever it is: three
 * spaces become one. Trim both ends where a blank string must become empty. */
void UTIL_Trim(char* text, int32_t trim_left, int32_t trim_right);

/* Turns "A" to "Z" into "a" to "z". Returns the terminating character, which is 0. */
char UTIL_ToLower(char* text);

/* Turns "a" to "z" into "A" to "Z". */
void UTIL_ToUpper(char* text);

/* Replaces every old_character by new_character. A new character of zero cuts the string at the first
 * of them. */
void UTIL_ReplaceChar(char* text, char old_character, char new_character);

/* ---- Copying and appending ---- */

/* The same as UTIL_CopyString; the third argument is ignored. */
void UTIL_CopyStringEx(char* destination, const char* source, uint32_t ignored, uint32_t capacity);

/* Appends at most maximum characters of source, as many as fit, and terminates the result.
 *
 * capacity   size of the destination, terminator included. A string in it that leaves no room for
 *            more, or is too long already, is left alone. */
void UTIL_strncat(char* destination, const char* source, uint32_t maximum, uint32_t capacity);

/* ---- Comparing and searching ---- */

/* UTIL_stricmp over at most maximum characters; 0 when they are equal.
 *
 * REQUIRES: each string has a terminator or maximum characters. */
int32_t UTIL_strnicmp(const char* first, const char* second, uint32_t maximum);

/* Returns the index of the first such character, or -1; a zero is never found. */
int32_t UTIL_strchrIndex(const char* text, int character);

/* Returns the length of a string, at most maximum; nothing behind maximum characters is read. */
uint32_t UTIL_strnlen(const char* text, uint32_t maximum);

/* Returns 1 if no character is a double quote or above 0x7F, also for the empty string, else 0. */
int32_t UTIL_IsPlainText(const char* text);

/* UTIL_IsPlainText, but 0 for the empty string. */
int32_t UTIL_IsPlainTextNonEmpty(const char* text);

/* ---- Characters ---- */

/* Return the character, letters of the other case converted, as a signed number: 0x80 gives -128. */
int8_t UTIL_CharToUpper(int character);
int8_t UTIL_CharToLower(int character);

/* Returns 1 for the codes 0x20 to 0x7E, and 0 for every other int. */
int32_t UTIL_IsPrint(int character);

/* Returns the upper-case hexadecimal digit of a value's low four bits. */
char UTIL_HexDigit(uint32_t value);

#ifdef __cplusplus
}
#endif

#endif
