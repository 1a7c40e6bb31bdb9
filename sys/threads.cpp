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

struct SYS_MUTEX {
  std::atomic<uint32_t> in_use = 0;
  char name[32] = {};
  pthread_mutex_t mutex{};
  pthread_mutexattr_t attributes{};  // kept beside the mutex and destroyed with it
};

struct SYS_EVENT {
  std::atomic<uint32_t> in_use = 0;
  std::atomic<uint32_t> waiters = 0;
  // Read and written with the mutex held, but for creation and destruction.
  std::atomic<uint32_t> signalled = 0;
  pthread_mutex_t mutex{};
  pthread_cond_t condition{};
};

namespace {

// The table that one kind of object lives in. Which slots are in use is not locked, on purpose:
// objects are created and destroyed on one thread.
template <typename Slot>
class SlotTable {
 public:
  // Null when all are in use.
  Slot* FindFree() {
    for (Slot& slot : slots_) {
      if (slot.in_use.load(std::memory_order_relaxed) == 0) return &slot;
    }
    return nullptr;
  }

  // Returns the slot that a handle stands for, or null when it stands for no live object.
  Slot* Find(Slot* handle) {
    const uintptr_t offset =
        reinterpret_cast<uintptr_t>(handle) - reinterpret_cast<uintptr_t>(slots_.data());
    if (offset >= sizeof slots_ || offset % sizeof(Slot) != 0) return nullptr;
    return handle->in_use.load(std::memory_order_acquire) != 0 ? handle : nullptr;
  }

  static Slot* Publish(Slot* slot) {
    slot->in_use.store(1, std::memory_order_release);
    return slot;
  }

  static void Free(Slot* slot) { slot->in_use.store(0, std::memory_order_release); }

 private:
  std::array<Slot, 64> slots_{};
};

constinit SlotTable<SYS_MUTEX> mutexes;
constinit SlotTable<SYS_EVENT> events;

// ---- Threads ----

static_assert(sizeof(pthread_t) == sizeof(SYS_THREAD_HANDLE));

// The thread's argument is the caller's function; its result nobody collects.
void* RunWithoutArgument(void* function) {
  const intptr_t result = reinterpret_cast<SYS_THREAD_FUNC>(function)();
  return reinterpret_cast<void*>(result);
}

// ---- Time-outs ----

// The time-outs count on the wall clock. False when it cannot be read.
bool ReadWallClock(timeval& now) { return gettimeofday(&now, nullptr) == 0; }

timeval DeadlineAfter(const timeval& now, uint32_t timeout_ms) {
  timeval deadline = now;
  deadline.tv_sec += static_cast<time_t>(timeout_ms / 1000);
  deadline.tv_usec += static_cast<suseconds_t>(timeout_ms % 1000 * 1000);
  if (deadline.tv_usec >= 1'000'000) {
    deadline.tv_usec -= 1'000'000;
    ++deadline.tv_sec;
  }
  return deadline;
}

bool IsPast(const timeval& now, const timeval& deadline) {
  if (now.tv_sec != deadline.tv_sec) return now.tv_sec > deadline.tv_sec;
  return now.tv_usec > deadline.tv_usec;
}

// ---- Mutexes ----

bool InitRecursive(SYS_MUTEX& slot) {
  if (pthread_mutexattr_init(&slot.attributes) != 0) return false;
  if (pthread_mutexattr_settype(&slot.attributes, PTHREAD_MUTEX_RECURSIVE) == 0 &&
      pthread_mutex_init(&slot.mutex, &slot.attributes) == 0) {
    return true;
  }
  pthread_mutexattr_destroy(&slot.attributes);
  return false;
}

// Polling is what both systems can do: one of them has no timed lock.
int32_t PollForLock(pthread_mutex_t& mutex, uint32_t timeout_ms) {
  timeval now{};
  const bool has_deadline = ReadWallClock(now);
  const timeval deadline = DeadlineAfter(now, timeout_ms);
  for (;;) {
    const int result = pthread_mutex_trylock(&mutex);
    if (result == 0) return 0;
    if (result != EBUSY) return -1;
    const timespec one_millisecond{.tv_sec = 0, .tv_nsec = 1'000'000};
    nanosleep(&one_millisecond, nullptr);
    if (!has_deadline || !ReadWallClock(now) || IsPast(now, deadline)) return SYS_WAIT_TIMEOUT;
  }
}

// ---- Events ----

// Threads may still wait for an event that was destroyed. They keep its slot's objects alive, since
// destroying a condition with waiters would wait for them, and the slot's next event takes both
// over.
bool InitEvent(SYS_EVENT& slot) {
  if (slot.waiters.load() > 0) return true;
  return pthread_mutex_init(&slot.mutex, nullptr) == 0 &&
         pthread_cond_init(&slot.condition, nullptr) == 0;
}

void ReleaseEvent(SYS_EVENT& slot) {
  if (slot.waiters.load() > 0) return;
  pthread_mutex_destroy(&slot.mutex);
  pthread_cond_destroy(&slot.condition);
}

int32_t WaitForever(SYS_EVENT& event) {
  while (event.signalled != 1) {
    if (pthread_cond_wait(&event.condition, &event.mutex) != 0) return -1;
  }
  return 0;
}

// A wake-up without cause starts the whole time again, on purpose.
int32_t WaitTimed(SYS_EVENT& event, uint32_t timeout_ms) {
  while (event.signalled != 1) {
    timeval now{};
    if (!ReadWallClock(now)) return -1;
    const timeval deadline = DeadlineAfter(now, timeout_ms);
    const timespec until{.tv_sec = deadline.tv_sec, .tv_nsec = deadline.tv_usec * 1000};
    const int result = pthread_cond_timedwait(&event.condition, &event.mutex, &until);
    if (result == ETIMEDOUT) return SYS_WAIT_TIMEOUT;
    if (result != 0) return -1;
  }
  return 0;
}

}  // namespace

// A failed start leaves the handle as it is, which nobody is told. The attribute object owns
// nothing on either system and is not destroyed.
SYS_THREAD_HANDLE SYS_CreateThreadEx(SYS_THREAD_FUNC_EX function, void* argument,
                                     SYS_THREAD_HANDLE* handle) {
  pthread_attr_t attributes;
  pthread_attr_init(&attributes);
  pthread_attr_setdetachstate(&attributes, PTHREAD_CREATE_DETACHED);
  pthread_t thread{};
  pthread_create(&thread, &attributes, function, argument);
  const auto result = std::bit_cast<SYS_THREAD_HANDLE>(thread);
  if (handle != nullptr) *handle = result;
  return result;
}

SYS_THREAD_HANDLE SYS_CreateThread(SYS_THREAD_FUNC function, SYS_THREAD_HANDLE* handle) {
  return SYS_CreateThreadEx(RunWithoutArgument, reinterpret_cast<void*>(function), handle);
}

int32_t SYS_CancelThread(SYS_THREAD_HANDLE thread) {
  if (thread == 0) return ESRCH;  // what a failed start gave
  return pthread_cancel(std::bit_cast<pthread_t>(thread));
}

int32_t SYS_GetThreadExitCode(SYS_THREAD_HANDLE, uint32_t* code) {
  *code = SYS_THREAD_STILL_ACTIVE;
  return 1;
}

SYS_THREAD_HANDLE SYS_GetCurrentThreadId() {
  return std::bit_cast<SYS_THREAD_HANDLE>(pthread_self());
}

SYS_THREAD_HANDLE SYS_GetThreadId(SYS_THREAD_HANDLE thread) { return thread; }

int32_t SYS_GetCurrentProcessId() { return getpid(); }

void SYS_ThreadReserved1(SYS_THREAD_HANDLE) {}
void SYS_ThreadReserved2(SYS_THREAD_HANDLE) {}
void SYS_ThreadReserved3(SYS_THREAD_HANDLE) {}

SYS_MUTEX* SYS_MUTEX_Create() { return SYS_MUTEX_CreateNamed(nullptr); }

SYS_MUTEX* SYS_MUTEX_CreateNamed(const char* name) {
  SYS_MUTEX* const slot = mutexes.FindFree();
  if (slot == nullptr || !InitRecursive(*slot)) return nullptr;
  memset(slot->name, 0, sizeof slot->name);
  if (name != nullptr) strncpy(slot->name, name, sizeof slot->name - 1);
  return mutexes.Publish(slot);
}

void SYS_MUTEX_Destroy(SYS_MUTEX* mutex) { SYS_MUTEX_Delete(&mutex); }

void SYS_MUTEX_Delete(SYS_MUTEX** mutex) {
  SYS_MUTEX* const slot = mutexes.Find(*mutex);
  if (slot == nullptr) return;
  mutexes.Free(slot);
  pthread_mutex_destroy(&slot->mutex);
  pthread_mutexattr_destroy(&slot->attributes);
  *mutex = nullptr;
}

void SYS_MUTEX_Lock(SYS_MUTEX* mutex) { SYS_MUTEX_LockTimed(mutex, SYS_INFINITE); }

void SYS_MUTEX_Unlock(SYS_MUTEX* mutex) { SYS_MUTEX_Release(mutex); }

int32_t SYS_MUTEX_Release(SYS_MUTEX* mutex) {
  SYS_MUTEX* const slot = mutexes.Find(mutex);
  if (slot == nullptr) return 1;
  return pthread_mutex_unlock(&slot->mutex) == 0 ? 0 : 1;
}

int32_t SYS_MUTEX_LockTimed(SYS_MUTEX* mutex, uint32_t timeout_ms) {
  SYS_MUTEX* const slot = mutexes.Find(mutex);
  if (slot == nullptr) return -1;
  if (timeout_ms == SYS_INFINITE) return pthread_mutex_lock(&slot->mutex) == 0 ? 0 : -1;
  return PollForLock(slot->mutex, timeout_ms);
}

SYS_EVENT* SYS_EVENT_Create(uint32_t manual_reset, uint32_t initial_state) {
  if (manual_reset != 0) return SYS_EVENT_INVALID;
  SYS_EVENT* const slot = events.FindFree();
  if (slot == nullptr || !InitEvent(*slot)) return SYS_EVENT_INVALID;
  slot->signalled = initial_state;
  return events.Publish(slot);
}

void SYS_EVENT_Destroy(SYS_EVENT* event) {
  SYS_EVENT* const slot = events.Find(event);
  if (slot == nullptr) return;
  ReleaseEvent(*slot);
  events.Free(slot);
  slot->signalled = 0;
}

// The signal goes out after the unlock, so that the woken thread finds the mutex free.
void SYS_EVENT_Set(SYS_EVENT* event) {
  SYS_EVENT* const slot = events.Find(event);
  if (slot == nullptr || pthread_mutex_lock(&slot->mutex) != 0) return;
  slot->signalled = 1;
  if (pthread_mutex_unlock(&slot->mutex) != 0) return;
  pthread_cond_signal(&slot->condition);
}

int32_t SYS_EVENT_Wait(SYS_EVENT* event, uint32_t timeout_ms) {
  SYS_EVENT* const slot = events.Find(event);
  if (slot == nullptr || pthread_mutex_lock(&slot->mutex) != 0) return -1;
  ++slot->waiters;
  const int32_t result =
      timeout_ms == SYS_INFINITE ? WaitForever(*slot) : WaitTimed(*slot, timeout_ms);
  --slot->waiters;
  if (result == 0) slot->signalled = 0;
  return pthread_mutex_unlock(&slot->mutex) == 0 ? result : -1;
}

void SYS_EVENT_Reserved1(SYS_EVENT*) {}
void SYS_EVENT_Reserved2(SYS_EVENT*) {}
