// SPDX-License-Identifier: MIT

#include "sys/threads.h"

#include <pthread.h>
#include <sys/time.h>
#include <time.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <bit>
#include <cerrno>
#include <cstring>

#include "sys/thread_objects.h"
#include "util/text.h"

namespace {

constexpr int32_t kDone = 0;
constexpr int32_t kFailed = -1;

// ---- Slots ----

// Hands out the addresses of its slots as handles. Slot is a record with an atomic in_use.
template <typename Slot>
class SlotTable {
 public:
  // The first free slot, or null. It stays free until its in_use is set: there is no lock round
  // search and use, so two creators at once may get the same one.
  Slot* FindFree() {
    for (Slot& slot : slots_) {
      if (slot.in_use.load(std::memory_order_acquire) == 0) return &slot;
    }
    return nullptr;
  }

  // The slot that a handle stands for, or null for a free slot, null, and any address that is not a
  // slot's.
  Slot* Live(Slot* handle) {
    // Below the table the difference wraps and is far too large.
    const uintptr_t distance =
        reinterpret_cast<uintptr_t>(handle) - reinterpret_cast<uintptr_t>(slots_.data());
    if (distance >= sizeof slots_ || distance % sizeof(Slot) != 0) return nullptr;
    return handle->in_use.load(std::memory_order_acquire) != 0 ? handle : nullptr;
  }

 private:
  std::array<Slot, 64> slots_{};
};

constinit SlotTable<SYS_MUTEX> mutexes;
constinit SlotTable<SYS_EVENT> events;

// ---- Threads ----

// pthread_t is an integer on one system and a pointer on another.
SYS_THREAD_HANDLE ToHandle(pthread_t thread) { return std::bit_cast<SYS_THREAD_HANDLE>(thread); }

void* CallWithoutArgument(void* function) {
  const intptr_t result = std::bit_cast<SYS_THREAD_FUNC>(function)();
  return reinterpret_cast<void*>(result);
}

// ---- Time-outs ----

// Stores the wall-clock time at which a time-out runs out; false when the clock cannot be read.
bool FindDeadline(uint32_t timeout_ms, timeval& deadline) {
  if (gettimeofday(&deadline, nullptr) != 0) return false;
  deadline.tv_sec += timeout_ms / 1000;
  deadline.tv_usec += static_cast<suseconds_t>(timeout_ms % 1000 * 1000);
  if (deadline.tv_usec >= 1'000'000) {
    deadline.tv_usec -= 1'000'000;
    ++deadline.tv_sec;
  }
  return true;
}

bool IsPast(const timeval& deadline, const timeval& now) {
  if (now.tv_sec != deadline.tv_sec) return now.tv_sec > deadline.tv_sec;
  return now.tv_usec > deadline.tv_usec;
}

// ---- Mutexes ----

SYS_MUTEX* CreateMutex(const char* name) {
  SYS_MUTEX* const mutex = mutexes.FindFree();
  if (mutex == nullptr || pthread_mutexattr_init(&mutex->attributes) != 0) return nullptr;
  if (pthread_mutexattr_settype(&mutex->attributes, PTHREAD_MUTEX_RECURSIVE) != 0 ||
      pthread_mutex_init(&mutex->mutex, &mutex->attributes) != 0) {
    pthread_mutexattr_destroy(&mutex->attributes);
    return nullptr;
  }
  memset(mutex->name, 0, sizeof mutex->name);
  UTIL_CopyString(mutex->name, name, sizeof mutex->name);
  mutex->in_use.store(1, std::memory_order_release);
  return mutex;
}

// Frees the slot; false when the handle is no live mutex's.
bool DestroyMutex(SYS_MUTEX* handle) {
  SYS_MUTEX* const mutex = mutexes.Live(handle);
  if (mutex == nullptr) return false;
  mutex->in_use.store(0, std::memory_order_release);
  pthread_mutex_destroy(&mutex->mutex);
  pthread_mutexattr_destroy(&mutex->attributes);
  return true;
}

// Polls, because not every system has pthread_mutex_timedlock.
int32_t TryLockUntil(pthread_mutex_t& mutex, const timeval& deadline) {
  constexpr timespec kPollInterval{.tv_sec = 0, .tv_nsec = 1'000'000};
  for (;;) {
    const int result = pthread_mutex_trylock(&mutex);
    if (result == 0) return kDone;
    if (result != EBUSY) return kFailed;
    nanosleep(&kPollInterval, nullptr);
    timeval now{};
    if (gettimeofday(&now, nullptr) != 0 || IsPast(deadline, now)) return SYS_WAIT_TIMEOUT;
  }
}

// ---- Events ----

// An initial state of 2, say, was stored as given and is not a set event.
bool IsSet(const SYS_EVENT& event) { return event.signalled == 1; }

// Threads may still wait for an event that is destroyed. They keep the slot's mutex and condition
// alive, because destroying a condition would wait for them, and the slot's next event takes the
// two over.
bool InitWaitObjects(SYS_EVENT& event) {
  if (event.waiters.load() != 0) return true;
  // After a condition that fails the mutex is left as it is, on purpose: the next create that gets
  // this slot initialises it again.
  return pthread_mutex_init(&event.mutex, nullptr) == 0 &&
         pthread_cond_init(&event.condition, nullptr) == 0;
}

void DestroyWaitObjects(SYS_EVENT& event) {
  if (event.waiters.load() != 0) return;
  pthread_mutex_destroy(&event.mutex);
  pthread_cond_destroy(&event.condition);
}

// Both waits run with the event's mutex held and return kDone once the event is set.
int32_t WaitWithoutLimit(SYS_EVENT& event) {
  while (!IsSet(event)) {
    if (pthread_cond_wait(&event.condition, &event.mutex) != 0) return kFailed;
  }
  return kDone;
}

int32_t WaitTimed(SYS_EVENT& event, uint32_t timeout_ms) {
  while (!IsSet(event)) {
    // Formed anew after each wake-up without cause: the time-out restarts, on purpose.
    timeval deadline{};
    if (!FindDeadline(timeout_ms, deadline)) return kFailed;
    const timespec until{.tv_sec = deadline.tv_sec, .tv_nsec = deadline.tv_usec * 1000L};
    const int result = pthread_cond_timedwait(&event.condition, &event.mutex, &until);
    if (result == ETIMEDOUT) return SYS_WAIT_TIMEOUT;
    if (result != 0) return kFailed;
  }
  return kDone;
}

}  // namespace

SYS_THREAD_HANDLE SYS_CreateThread(SYS_THREAD_FUNC function, SYS_THREAD_HANDLE* handle) {
  return SYS_CreateThreadEx(CallWithoutArgument, std::bit_cast<void*>(function), handle);
}

// Neither the result of pthread_create is looked at nor the attribute object destroyed, on purpose:
// the handle is what the call left, and the object owns nothing.
SYS_THREAD_HANDLE SYS_CreateThreadEx(SYS_THREAD_FUNC_EX function, void* argument,
                                     SYS_THREAD_HANDLE* handle) {
  pthread_attr_t attributes;
  pthread_attr_init(&attributes);
  pthread_attr_setdetachstate(&attributes, PTHREAD_CREATE_DETACHED);
  pthread_t thread{};
  pthread_create(&thread, &attributes, function, argument);
  if (handle != nullptr) *handle = ToHandle(thread);
  return ToHandle(thread);
}

int32_t SYS_CancelThread(SYS_THREAD_HANDLE thread) {
  if (thread == 0) return ESRCH;  // Not every system's pthread_cancel survives it.
  return pthread_cancel(std::bit_cast<pthread_t>(thread));
}

int32_t SYS_GetThreadExitCode(SYS_THREAD_HANDLE, uint32_t* code) {
  *code = SYS_THREAD_STILL_ACTIVE;
  return 1;
}

SYS_THREAD_HANDLE SYS_GetCurrentThreadId() { return ToHandle(pthread_self()); }

SYS_THREAD_HANDLE SYS_GetThreadId(SYS_THREAD_HANDLE thread) { return thread; }

int32_t SYS_GetCurrentProcessId() { return getpid(); }

void SYS_ThreadReserved1(SYS_THREAD_HANDLE) {}

void SYS_ThreadReserved2(SYS_THREAD_HANDLE) {}

void SYS_ThreadReserved3(SYS_THREAD_HANDLE) {}

SYS_MUTEX* SYS_MUTEX_Create() { return CreateMutex(nullptr); }

SYS_MUTEX* SYS_MUTEX_CreateNamed(const char* name) { return CreateMutex(name); }

void SYS_MUTEX_Destroy(SYS_MUTEX* mutex) { DestroyMutex(mutex); }

void SYS_MUTEX_Delete(SYS_MUTEX** mutex) {
  if (mutex != nullptr && DestroyMutex(*mutex)) *mutex = nullptr;
}

void SYS_MUTEX_Lock(SYS_MUTEX* mutex) {
  SYS_MUTEX* const live = mutexes.Live(mutex);
  if (live != nullptr) pthread_mutex_lock(&live->mutex);
}

void SYS_MUTEX_Unlock(SYS_MUTEX* mutex) { SYS_MUTEX_Release(mutex); }

int32_t SYS_MUTEX_Release(SYS_MUTEX* mutex) {
  SYS_MUTEX* const live = mutexes.Live(mutex);
  return live != nullptr && pthread_mutex_unlock(&live->mutex) == 0 ? 0 : 1;
}

int32_t SYS_MUTEX_LockTimed(SYS_MUTEX* mutex, uint32_t timeout_ms) {
  SYS_MUTEX* const live = mutexes.Live(mutex);
  if (live == nullptr) return kFailed;
  if (timeout_ms == SYS_INFINITE) return pthread_mutex_lock(&live->mutex) == 0 ? kDone : kFailed;
  timeval deadline{};
  if (!FindDeadline(timeout_ms, deadline)) return SYS_WAIT_TIMEOUT;
  return TryLockUntil(live->mutex, deadline);
}

SYS_EVENT* SYS_EVENT_Create(uint32_t manual_reset, uint32_t initial_state) {
  if (manual_reset != 0) return SYS_EVENT_INVALID;
  SYS_EVENT* const event = events.FindFree();
  if (event == nullptr || !InitWaitObjects(*event)) return SYS_EVENT_INVALID;
  event->signalled = initial_state;
  event->in_use.store(1, std::memory_order_release);
  return event;
}

void SYS_EVENT_Destroy(SYS_EVENT* event) {
  SYS_EVENT* const live = events.Live(event);
  if (live == nullptr) return;
  DestroyWaitObjects(*live);
  live->in_use.store(0, std::memory_order_release);
  live->signalled = 0;
}

void SYS_EVENT_Set(SYS_EVENT* event) {
  SYS_EVENT* const live = events.Live(event);
  if (live == nullptr || pthread_mutex_lock(&live->mutex) != 0) return;
  live->signalled = 1;
  if (pthread_mutex_unlock(&live->mutex) == 0) pthread_cond_signal(&live->condition);
}

int32_t SYS_EVENT_Wait(SYS_EVENT* event, uint32_t timeout_ms) {
  SYS_EVENT* const live = events.Live(event);
  if (live == nullptr || pthread_mutex_lock(&live->mutex) != 0) return kFailed;
  ++live->waiters;
  const int32_t result =
      timeout_ms == SYS_INFINITE ? WaitWithoutLimit(*live) : WaitTimed(*live, timeout_ms);
  --live->waiters;
  if (result == kDone) live->signalled = 0;
  return pthread_mutex_unlock(&live->mutex) == 0 ? result : kFailed;
}

void SYS_EVENT_Reserved1(SYS_EVENT*) {}

void SYS_EVENT_Reserved2(SYS_EVENT*) {}
