/* Process and host services. */
#ifndef TARVEN_SYS_PROCESS_H_
#define TARVEN_SYS_PROCESS_H_

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Keeps the machine from going to sleep by itself until SYS_AllowIdleSleep; a second call while
 * held does nothing, and calls do not count up. Whether the system complied is not looked at. On
 * Linux both only keep their state. For the main thread. */
void SYS_PreventIdleSleep(void);
void SYS_AllowIdleSleep(void);

/* Fills buffer with length random bytes of the system's generator, "/dev/random". The bytes are
 * read once; whether all came is not told, which systems guarantee only up to 256.
 *
 * Returns the result of closing the device, or -1 with the buffer untouched when it cannot be
 * opened. */
int32_t SYS_GetRandomBytes(void* buffer, uint32_t length);

/* Starts the executable at path with the path as its only argument, this process's environment and
 * no open descriptors: not even 0, 1 and 2. Nobody waits for it.
 *
 * unused   not read
 *
 * Returns 0, or an error value: the error numbers of the steps, OR-ed. */
int32_t SYS_StartProcess(const void* unused, const char* path);

/* Returns the number of logical processors; 0 when the system does not tell. */
int32_t SYS_GetNumCPUs(void);

/* Returns 0x3000, the code of macOS, on every system. */
uint32_t SYS_GetOSType(void);

/* Writes a message to the system log at level debug. Messages under 128 characters are padded with
 * spaces on the left to 128; longer ones are written whole. */
void SYS_SysLog(const char* message);

/* Returns errno of the calling thread, whose numbers differ between systems. */
int32_t SYS_GetLastError(void);

#ifdef __cplusplus
}
#endif

#endif
