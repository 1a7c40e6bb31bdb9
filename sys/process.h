/* SPDX-License-Identifier: MIT */

/* Process and host: idle sleep, random bytes, starting programs, what the machine is, the log.
 *
 * The functions print nothing. The two of idle sleep share a flag without a lock and are for the
 * main thread; the others keep no state and may run on any number of threads at once. */
#ifndef TARVEN_SYS_PROCESS_H_
#define TARVEN_SYS_PROCESS_H_

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Keeps the machine from going to sleep by itself until SYS_AllowIdleSleep or the end of the
 * process. A second call in between does nothing; the calls are not counted. Whether the system
 * granted it is not told. On Linux nothing is asked of the system. */
void SYS_PreventIdleSleep(void);

/* Lets the machine go to sleep again; does nothing when it was not kept from it. */
void SYS_AllowIdleSleep(void);

/* Reads length bytes from the system's random device with one read.
 *
 * Returns the result of closing the device, which is 0, or -1 when it could not be opened; the
 * buffer is untouched then. That the device gave fewer bytes than asked for is not told. */
int32_t SYS_GetRandomBytes(void* buffer, uint32_t length);

/* Starts the executable at path with the path as its only argument and this process's environment.
 *
 * unused   not read; may be null
 *
 * Returns 0, or a non-zero error value when it could not be started. The program starts without
 * any open descriptor: standard input, output and error are closed as well. Nobody waits for it;
 * after its end it stays a zombie until this process ends, or waits for children by itself. */
int32_t SYS_StartProcess(const void* unused, const char* path);

/* Returns the number of logical processors that may run now; 0 when the system does not tell. */
int32_t SYS_GetNumCPUs(void);

/* Returns 0x3000, the code of macOS, on every system. */
uint32_t SYS_GetOSType(void);

/* Sends message, not null, to the system log as a debug message of a user program. A message of
 * fewer than 128 bytes is padded with spaces on the left to 128; a longer one goes out whole. */
void SYS_SysLog(const char* message);

/* Returns the calling thread's errno. */
int32_t SYS_GetLastError(void);

#ifdef __cplusplus
}
#endif

#endif
