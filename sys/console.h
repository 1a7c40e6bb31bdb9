/* The console: waiting keys, single characters, edited lines, unbuffered output.
 *
 * Everything here works on the process's standard streams and is meant for the main thread. */
#ifndef TARVEN_SYS_CONSOLE_H_
#define TARVEN_SYS_CONSOLE_H_

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Returns how many bytes wait on standard input; 0 also when that cannot be told.
 *
 * The first call switches a terminal there from lines to single keys (ICANON off, echo and signals
 * stay) and takes the buffer from the stream. The terminal is never switched back. */
int32_t SYS_ConsoleKbHit(void);

/* Waits for the next character of standard input and returns it as a signed 8-bit value: bytes from
 * 128 up are negative, and byte 0xFF cannot be told from the end of input, -1. */
int32_t SYS_ConsoleGetChar(void);

/* Lets the user edit a line, with the lines before it as history.
 *
 * prompt     null for none
 * buffer     gets the line without its line end, cut to capacity - 1 bytes and terminated
 * capacity   0 reads nothing and leaves the buffer alone
 *
 * Lines of which at least one byte was stored enter the history; their memory is handed over to it.
 * Returns buffer. There is no way out but a line: at the end of input the function asks again and
 * again, which keeps a processor busy until somebody ends the process. */
char* SYS_ConsoleReadLine(const char* prompt, char* buffer, uint32_t capacity);

/* Writes bytes to standard output, behind what stdio still holds for it, and loses none: as one
 * system call where the system takes them at once, else going on behind what it took. A full
 * terminal or pipe is waited for even when it is in non-blocking mode.
 *
 * Returns 0, or -1 when standard output fails for good; the rest is dropped. */
int32_t SYS_ConsoleWrite(const void* data, uint32_t length);

#ifdef __cplusplus
}
#endif

#endif
