/* SPDX-License-Identifier: MIT */

/* Threads, mutexes and events.
 *
 * Mutexes and events live in two tables of 64 slots and are handed out as the addresses of their
 * slots. Every function takes a null handle, a free slot's handle and a value that never was a
 * handle for what they are, and gives its failure result or does nothing. The handle of a destroyed
 * object is free until a later create uses that slot again, and then means the new object.
 *
 * Time-outs count milliseconds; SYS_INFINITE means no limit. Timed waits return 0 on success,
 * SYS_WAIT_TIMEOUT when the time ran out and -1 on errors. They follow the system's wall clock, so
 * setting that clock makes them longer or shorter.
 *
 * Lock, unlock, set and wait may run on any number of threads at once. Create, destroy and delete
 * have no lock: call them from one thread, at start-up and shut-down, and destroy nothing that is
 * locked. */
#ifndef TARVEN_SYS_THREADS_H_
#define TARVEN_SYS_THREADS_H_

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* The time-out that never runs out. */
#define SYS_INFINITE 0xFFFFFFFFu

/* The result of a timed wait whose time ran out. */
#define SYS_WAIT_TIMEOUT 258

/* What SYS_GetThreadExitCode stores. */
#define SYS_THREAD_STILL_ACTIVE 259

/* What a thread runs. */
typedef int32_t (*SYS_THREAD_FUNC)(void);
typedef void* (*SYS_THREAD_FUNC_EX)(void* argument);

/* Names a thread; also a thread's id. */
typedef uintptr_t SYS_THREAD_HANDLE;

/* A recursive mutex: its owner may lock it again and unlocks it as often. */
typedef struct SYS_MUTEX SYS_MUTEX;

/* An auto-reset event: it stays set until one wait consumes it. */
typedef struct SYS_EVENT SYS_EVENT;

/* What SYS_EVENT_Create returns on failure: all bits set. */
#define SYS_EVENT_INVALID ((SYS_EVENT*)(intptr_t)-1)

/* ---- Threads ---- */

/* Starts a detached thread with the default stack size that calls function and then ends.
 *
 * function   must not be null; nobody collects its result
 * handle     gets the new thread's handle, may be null
 *
 * Returns the handle as well. A thread that could not be started is not reported: the handle then
 * is whatever the system left in its place, and must not be used. */
SYS_THREAD_HANDLE SYS_CreateThread(SYS_THREAD_FUNC function, SYS_THREAD_HANDLE* handle);

/* SYS_CreateThread for a function that takes an argument. */
SYS_THREAD_HANDLE SYS_CreateThreadEx(SYS_THREAD_FUNC_EX function, void* argument,
                                     SYS_THREAD_HANDLE* handle);

/* Asks a thread to end at its next cancellation point (POSIX.1-2017, 2.9.5); sleeping is one.
 *
 * REQUIRES: the thread has not ended, and is not inside a call on a mutex or event, which would
 * stay locked.
 *
 * Returns 0 or an error number of the system; ESRCH for a handle of 0. */
int32_t SYS_CancelThread(SYS_THREAD_HANDLE thread);

/* Stores SYS_THREAD_STILL_ACTIVE in code, which must not be null, whatever the handle: nobody can
 * see a detached thread's end. Always returns 1, for success. */
int32_t SYS_GetThreadExitCode(SYS_THREAD_HANDLE thread, uint32_t* code);

/* Returns the caller's own handle. */
SYS_THREAD_HANDLE SYS_GetCurrentThreadId(void);

/* Returns the handle unchanged: handle and id are the same. */
SYS_THREAD_HANDLE SYS_GetThreadId(SYS_THREAD_HANDLE thread);

/* Returns the system's number for this process. */
int32_t SYS_GetCurrentProcessId(void);

/* These do nothing. */
void SYS_ThreadReserved1(SYS_THREAD_HANDLE thread);
void SYS_ThreadReserved2(SYS_THREAD_HANDLE thread);
void SYS_ThreadReserved3(SYS_THREAD_HANDLE thread);

/* ---- Mutexes ---- */

/* Returns an unlocked mutex without a name, or null when all slots are taken or the system
 * refuses. */
SYS_MUTEX* SYS_MUTEX_Create(void);

/* SYS_MUTEX_Create with a name that helps in a debugger. The first 31 characters are copied; null
 * means no name. Nothing is found by its name, and two mutexes may share one. */
SYS_MUTEX* SYS_MUTEX_CreateNamed(const char* name);

/* Frees a mutex that nobody holds. */
void SYS_MUTEX_Destroy(SYS_MUTEX* mutex);

/* SYS_MUTEX_Destroy for the mutex in a variable, which becomes null. A variable that holds no live
 * mutex keeps its value; a null address is ignored. */
void SYS_MUTEX_Delete(SYS_MUTEX** mutex);

/* Waits until the caller owns the mutex. */
void SYS_MUTEX_Lock(SYS_MUTEX* mutex);

/* Takes back one lock of the caller. A mutex that another thread owns stays locked. */
void SYS_MUTEX_Unlock(SYS_MUTEX* mutex);

/* SYS_MUTEX_Unlock with a result: 0, or 1 when the handle is bad or the caller does not own the
 * mutex. */
int32_t SYS_MUTEX_Release(SYS_MUTEX* mutex);

/* Waits until the caller owns the mutex or the time runs out.
 *
 * A busy mutex is tried again every millisecond. A time-out of 0 tries once, and gives up a
 * millisecond later.
 *
 * Returns 0 when it is locked, SYS_WAIT_TIMEOUT when the time ran out or the clock cannot be read,
 * -1 on a bad handle or an error. */
int32_t SYS_MUTEX_LockTimed(SYS_MUTEX* mutex, uint32_t timeout_ms);

/* ---- Events ---- */

/* Returns a new event, or SYS_EVENT_INVALID when all slots are taken or the system refuses.
 *
 * manual_reset    must be 0, all else fails: only auto-reset events exist
 * initial_state   1 is set, 0 is reset; any other value is stored as given and counts as reset */
SYS_EVENT* SYS_EVENT_Create(uint32_t manual_reset, uint32_t initial_state);

/* Frees an event. Threads that still wait for it are not woken: their time runs out, or the next
 * event of the slot ends their wait. */
void SYS_EVENT_Destroy(SYS_EVENT* event);

/* Sets the event and wakes at most one waiting thread. Setting it twice before a wait is the same
 * as setting it once. */
void SYS_EVENT_Set(SYS_EVENT* event);

/* Waits until the event is set or the time runs out; a successful wait resets the event.
 *
 * A wake-up without cause starts the time-out afresh, so a wait may last longer than asked.
 *
 * Returns 0 when the event was set, SYS_WAIT_TIMEOUT when the time ran out, -1 on a bad handle or
 * an error. */
int32_t SYS_EVENT_Wait(SYS_EVENT* event, uint32_t timeout_ms);

/* These do nothing. */
void SYS_EVENT_Reserved1(SYS_EVENT* event);
void SYS_EVENT_Reserved2(SYS_EVENT* event);

#ifdef __cplusplus
}
#endif

#endif
