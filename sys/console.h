/* SPDX-License-Identifier: MIT */

/* Console: keys and lines from standard input, bytes to standard output.
 *
 * The functions keep a flag of their own and share the state of stdio, editline and the terminal,
 * all without a lock: they are for the main thread. */
#ifndef TARVEN_SYS_CONSOLE_H_
#define TARVEN_SYS_CONSOLE_H_

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Returns the number of bytes that wait on standard input; 0 when there are none, at the end of
 * input and where the system does not tell.
 *
 * The first call in a process switches the terminal to single keys (ICANON off; echo and signal
 * keys stay as they were) and makes stdin unbuffered. Nobody switches the terminal back, not even
 * at exit. */
int32_t SYS_ConsoleKbHit(void);

/* Waits for the next character of standard input and returns it as a signed 8-bit value: bytes 128
 * to 255 are negative. The end of input is -1, as is byte 0xFF. */
int32_t SYS_ConsoleGetChar(void);

/* Lets the user edit one line, with a history of the lines before it, and copies it.
 *
 * prompt     shown in front of the line; may be null
 * buffer     gets the line without its end, cut to capacity - 1 bytes and terminated
 * capacity   size of the buffer; 0 stores nothing, reads no line and returns at once
 *
 * Returns buffer. A line of which at least one byte was copied enters the history; its memory is
 * the history's from then on and never freed.
 *
 * There is no result for the end of input: the function asks again until a line comes. Where the
 * input has ended for good it never returns and keeps a processor busy. */
char* SYS_ConsoleReadLine(const char* prompt, char* buffer, uint32_t capacity);

/* Writes all bytes to standard output, with one system call where the system takes them at once.
 *
 * What stdio holds for standard output goes out first, by stdio's own rules. A write that is
 * interrupted or takes a part goes on behind that part. Where standard output is in non-blocking
 * mode and full, the function waits until it takes more, so that a slow terminal loses nothing.
 *
 * Returns 0, or -1 when standard output refuses for good, e.g. because it is closed; what it has
 * not taken by then is dropped. As with write(2), a pipe or socket without a reader also raises
 * SIGPIPE. */
int32_t SYS_ConsoleWrite(const void* data, uint32_t length);

#ifdef __cplusplus
}
#endif

#endif
