/* Threads, mutexes and events.
 *
 * Mutexes and events live in two tables of 64 slots and are handed out as pointers to their slots.
 * A null handle, a handle to a freed slot and a pointer that is no slot are invalid: every
 * operation gives its failure value for them, and those without a result do nothing. A handle to a
 * freed slot may later stand for a new object.
 *
 * The tables have no lock: create and destroy from one thread only, at start-up and shut-down.
 * Lock, unlock, set and wait are for any number of threads at once. */
#ifndef TARVEN_SYS_THREADS_H_
#define TARVEN_SYS_THREADS_H_

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* A time-out without a limit. */
#define SYS_INFINITE 0xFFFFFFFFu

/* What a timed wait returns when its time ran out. */
#define SYS_WAIT_TIMEOUT 258

/* What SYS_GetThreadExitCode stores. */
#define SYS_THREAD_STILL_ACTIVE 259

/* ---- Threads ---- */

typedef int32_t (*SYS_THREAD_FUNC)(void);
typedef void* (*SYS_THREAD_FUNC_EX)(void* argument);

/* Holds a pthread_t. */
typedef uintptr_t SYS_THREAD_HANDLE;

/* Starts a detached thread with the default stack size. Nobody can wait for its end or collect its
 * result.
 *
 * handle   null, or gets the handle
 *
 * Returns the handle. A failed start is not reported: the handle is what the failed call left, 0
 * here. */
SYS_THREAD_HANDLE SYS_CreateThread(SYS_THREAD_FUNC function, SYS_THREAD_HANDLE* handle);

/* SYS_CreateThread for a function with an argument. */
SYS_THREAD_HANDLE SYS_CreateThreadEx(SYS_THREAD_FUNC_EX function, void* argument,
                                     SYS_THREAD_HANDLE* handle);

/* Asks a running thread to end at its next cancellation point, as pthread_cancel does, and returns
 * that call's result: 0, or an error number, ESRCH for the handle 0. */
int32_t SYS_CancelThread(SYS_THREAD_HANDLE thread);

/* Stores SYS_THREAD_STILL_ACTIVE into code, which must not be null, and returns 1: the end of a
 * detached thread cannot be seen. */
int32_t SYS_GetThreadExitCode(SYS_THREAD_HANDLE thread, uint32_t* code);

/* Returns the calling thread's handle. */
SYS_THREAD_HANDLE SYS_GetCurrentThreadId(void);

/* Returns its argument: a thread's handle is its id. */
SYS_THREAD_HANDLE SYS_GetThreadId(SYS_THREAD_HANDLE thread);

int32_t SYS_GetCurrentProcessId(void);

/* Do nothing; their places in the interface are kept. */
void SYS_ThreadReserved1(SYS_THREAD_HANDLE thread);
void SYS_ThreadReserved2(SYS_THREAD_HANDLE thread);
void SYS_ThreadReserved3(SYS_THREAD_HANDLE thread);

/* ---- Mutexes ----
 *
 * All are recursive: the owner may lock again and must unlock as often. */

typedef struct SYS_MUTEX SYS_MUTEX;

/* Returns a new mutex, or null when all 64 slots are taken or the system has none. */
SYS_MUTEX* SYS_MUTEX_Create(void);

/* SYS_MUTEX_Create with a name, which may be null and is kept up to 31 characters. The name is for
 * people with a debugger; two mutexes may share one. */
SYS_MUTEX* SYS_MUTEX_CreateNamed(const char* name);

/* Frees a mutex that nobody holds. */
void SYS_MUTEX_Destroy(SYS_MUTEX* mutex);

/* Frees the mutex that a variable holds and sets the variable to null; an invalid handle stays in
 * it. The address must not be null. */
void SYS_MUTEX_Delete(SYS_MUTEX** mutex);

/* Waits for the mutex without a limit. */
void SYS_MUTEX_Lock(SYS_MUTEX* mutex);

void SYS_MUTEX_Unlock(SYS_MUTEX* mutex);

/* Unlocks and tells: 0, or 1 for an invalid handle or a failed unlock, such as one by a thread that
 * is not the owner. */
int32_t SYS_MUTEX_Release(SYS_MUTEX* mutex);

/* Waits for the mutex, trying once a millisecond on the wall clock.
 *
 * timeout_ms   0 makes one attempt, sleeps a millisecond and gives up; SYS_INFINITE waits without
 *              a limit and without trying
 *
 * Returns 0 when locked, SYS_WAIT_TIMEOUT (258) when the time ran out, -1 for an invalid handle or
 * an error. */
int32_t SYS_MUTEX_LockTimed(SYS_MUTEX* mutex, uint32_t timeout_ms);

/* ---- Events ----
 *
 * An event is set or reset. It stays set until one wait takes it: all are auto-reset. */

typedef struct SYS_EVENT SYS_EVENT;

/* What a failed SYS_EVENT_Create returns: all bits set. */
#define SYS_EVENT_INVALID ((SYS_EVENT*)(intptr_t)-1)

/* Creates an event.
 *
 * manual_reset    must be 0
 * initial_state   1 = set, 0 = reset; stored as given, and any other value waits like 0
 *
 * Returns the event, or SYS_EVENT_INVALID for another manual_reset, when all 64 slots are taken or
 * the system has none. */
SYS_EVENT* SYS_EVENT_Create(uint32_t manual_reset, uint32_t initial_state);

/* Frees an event. Threads that still wait for it are not woken: their time runs out, or the slot's
 * next event ends their wait. */
void SYS_EVENT_Destroy(SYS_EVENT* event);

/* Sets the event and wakes at most one waiting thread. */
void SYS_EVENT_Set(SYS_EVENT* event);

/* Waits until the event is set, and resets it.
 *
 * timeout_ms   SYS_INFINITE waits without a limit. The whole time starts again whenever the system
 *              wakes the thread without cause.
 *
 * Returns 0 when the event was set, SYS_WAIT_TIMEOUT (258) when the time ran out, -1 for an invalid
 * handle or an error. */
int32_t SYS_EVENT_Wait(SYS_EVENT* event, uint32_t timeout_ms);

/* Do nothing; their places in the interface are kept. */
void SYS_EVENT_Reserved1(SYS_EVENT* event);
void SYS_EVENT_Reserved2(SYS_EVENT* event);

#ifdef __cplusplus
}
#endif

#endif
