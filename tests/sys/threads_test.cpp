#include "sys/threads.h"

#include <gtest/gtest.h>
#include <pthread.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <thread>
#include <vector>

#include "tests/support/stream_reader.h"

namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

// Waits until a condition holds; false when it does not in time.
template <typename Condition>
bool Eventually(Condition condition) {
  const auto deadline = steady_clock::now() + support::kPatience;
  while (!condition()) {
    if (steady_clock::now() > deadline) return false;
    std::this_thread::sleep_for(milliseconds(1));
  }
  return true;
}

template <typename Action>
milliseconds TimeOf(Action action) {
  const auto start = steady_clock::now();
  action();
  return std::chrono::duration_cast<milliseconds>(steady_clock::now() - start);
}

// ---- Threads ----

std::atomic<uintptr_t> thread_seen = 0;
std::atomic<bool> may_end = false;
std::atomic<uint32_t> beats = 0;

int32_t NoteThread() {
  thread_seen = SYS_GetCurrentThreadId();
  Eventually([] { return may_end.load(); });
  return -5;
}

void* NoteArgument(void* argument) {
  thread_seen = reinterpret_cast<uintptr_t>(argument);
  return nullptr;
}

int32_t BeatForever() {
  for (;;) {
    ++beats;
    usleep(1000);  // a cancellation point
  }
}

TEST(SysCreateThread, RunsTheFunctionOnAThreadOfItsOwn) {
  SYS_THREAD_HANDLE stored = 0;
  const SYS_THREAD_HANDLE handle = SYS_CreateThread(NoteThread, &stored);
  EXPECT_NE(handle, 0u);
  EXPECT_EQ(stored, handle);
  ASSERT_TRUE(Eventually([] { return thread_seen != 0; }));
  EXPECT_EQ(thread_seen, handle);
  EXPECT_NE(thread_seen, SYS_GetCurrentThreadId());
  may_end = true;
}

TEST(SysCreateThread, PlaceForTheHandleMayBeNull) {
  may_end = true;
  EXPECT_NE(SYS_CreateThread(NoteThread, nullptr), 0u);
  EXPECT_TRUE(Eventually([] { return thread_seen != 0; }));
}

TEST(SysCreateThread, ThreadIsDetached) {
  const SYS_THREAD_HANDLE handle = SYS_CreateThread(NoteThread, nullptr);
  ASSERT_TRUE(Eventually([] { return thread_seen != 0; }));
  pthread_attr_t attributes;
  ASSERT_EQ(pthread_getattr_np(handle, &attributes), 0);
  int state = 0;
  pthread_attr_getdetachstate(&attributes, &state);
  EXPECT_EQ(state, PTHREAD_CREATE_DETACHED);
  pthread_attr_destroy(&attributes);
  may_end = true;
}

TEST(SysCreateThreadEx, PassesTheArgument) {
  int value = 0;
  SYS_THREAD_HANDLE stored = 0;
  EXPECT_EQ(SYS_CreateThreadEx(NoteArgument, &value, &stored), stored);
  EXPECT_TRUE(Eventually([&] { return thread_seen == reinterpret_cast<uintptr_t>(&value); }));
  thread_seen = 1;
  SYS_CreateThreadEx(NoteArgument, nullptr, nullptr);
  EXPECT_TRUE(Eventually([] { return thread_seen == 0; }));
}

TEST(SysCancelThread, EndsARunningThread) {
  const SYS_THREAD_HANDLE handle = SYS_CreateThread(BeatForever, nullptr);
  ASSERT_TRUE(Eventually([] { return beats > 3; }));
  EXPECT_EQ(SYS_CancelThread(handle), 0);
  EXPECT_TRUE(Eventually([] {
    const uint32_t before = beats;
    std::this_thread::sleep_for(milliseconds(50));
    return beats == before;
  }));
}

TEST(SysCancelThread, HandleOfAFailedStartGivesAnError) { EXPECT_EQ(SYS_CancelThread(0), ESRCH); }

TEST(SysGetThreadExitCode, IsAlwaysStillActive) {
  for (const SYS_THREAD_HANDLE handle : {SYS_GetCurrentThreadId(), SYS_THREAD_HANDLE{0}}) {
    uint32_t code = 0;
    EXPECT_EQ(SYS_GetThreadExitCode(handle, &code), 1);
    EXPECT_EQ(code, 259u);
  }
}

TEST(SysThreadIds, AreTheSystemsOwn) {
  EXPECT_EQ(SYS_GetCurrentThreadId(), static_cast<SYS_THREAD_HANDLE>(pthread_self()));
  EXPECT_EQ(SYS_GetThreadId(12345), 12345u);
  EXPECT_EQ(SYS_GetCurrentProcessId(), getpid());
}

TEST(SysThreadReserved, DoNothing) {
  SYS_ThreadReserved1(0);
  SYS_ThreadReserved2(0);
  SYS_ThreadReserved3(0);
  SYS_EVENT_Reserved1(nullptr);
  SYS_EVENT_Reserved2(nullptr);
}

// ---- Mutexes ----

// Holds a mutex on a thread of its own until it is told to let go.
class Holder {
 public:
  explicit Holder(SYS_MUTEX* mutex) {
    thread_ = std::thread([this, mutex] {
      SYS_MUTEX_Lock(mutex);
      holds_ = true;
      Eventually([this] { return may_let_go_.load(); });
      SYS_MUTEX_Unlock(mutex);
    });
    Eventually([this] { return holds_.load(); });
  }
  ~Holder() { LetGo(); }

  void LetGo() {
    may_let_go_ = true;
    if (thread_.joinable()) thread_.join();
  }

 private:
  std::atomic<bool> holds_ = false;
  std::atomic<bool> may_let_go_ = false;
  std::thread thread_;
};

TEST(SysMutexCreate, GivesSixtyFourAndNoMore) {
  std::vector<SYS_MUTEX*> mutexes;
  for (int i = 0; i < 64; ++i) {
    mutexes.push_back(i % 2 == 0 ? SYS_MUTEX_Create() : SYS_MUTEX_CreateNamed("odd"));
    ASSERT_NE(mutexes.back(), nullptr) << i;
  }
  std::sort(mutexes.begin(), mutexes.end());
  EXPECT_EQ(std::unique(mutexes.begin(), mutexes.end()), mutexes.end());
  EXPECT_EQ(SYS_MUTEX_Create(), nullptr);
  EXPECT_EQ(SYS_MUTEX_CreateNamed("one more"), nullptr);
  SYS_MUTEX_Destroy(mutexes[17]);
  EXPECT_EQ(SYS_MUTEX_Create(), mutexes[17]);  // the freed slot is the one that is free
  EXPECT_EQ(SYS_MUTEX_Create(), nullptr);
}

TEST(SysMutexCreate, TakesTheFirstFreeSlot) {
  SYS_MUTEX* const first = SYS_MUTEX_Create();
  SYS_MUTEX* const second = SYS_MUTEX_Create();
  SYS_MUTEX_Destroy(second);
  SYS_MUTEX_Destroy(first);
  EXPECT_EQ(SYS_MUTEX_Create(), first);
  EXPECT_EQ(SYS_MUTEX_Create(), second);
}

// The slot's name follows its 32-bit flag.
const char* NameOf(const SYS_MUTEX* mutex) { return reinterpret_cast<const char*>(mutex) + 4; }

TEST(SysMutexCreateNamed, KeepsAtMost31CharactersOfTheName) {
  EXPECT_STREQ(NameOf(SYS_MUTEX_CreateNamed("short")), "short");
  EXPECT_STREQ(NameOf(SYS_MUTEX_CreateNamed("0123456789012345678901234567890123456789")),
               "0123456789012345678901234567890");
  EXPECT_STREQ(NameOf(SYS_MUTEX_CreateNamed(nullptr)), "");
  EXPECT_STREQ(NameOf(SYS_MUTEX_CreateNamed("")), "");
}

TEST(SysMutexCreateNamed, NameOfAnEarlierMutexIsGone) {
  SYS_MUTEX* const named = SYS_MUTEX_CreateNamed("a long name");
  SYS_MUTEX_Destroy(named);
  ASSERT_EQ(SYS_MUTEX_Create(), named);
  EXPECT_STREQ(NameOf(named), "");
}

TEST(SysMutexLock, KeepsOtherThreadsOut) {
  SYS_MUTEX* const mutex = SYS_MUTEX_Create();
  int counter = 0;
  std::vector<std::thread> threads;
  for (int thread = 0; thread < 4; ++thread) {
    threads.emplace_back([&] {
      for (int i = 0; i < 1000; ++i) {
        SYS_MUTEX_Lock(mutex);
        ++counter;
        SYS_MUTEX_Unlock(mutex);
      }
    });
  }
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(counter, 4000);
}

TEST(SysMutexLock, OwnerLocksAgainAndUnlocksAsOften) {
  for (SYS_MUTEX* const mutex : {SYS_MUTEX_Create(), SYS_MUTEX_CreateNamed("named")}) {
    SYS_MUTEX_Lock(mutex);
    SYS_MUTEX_Lock(mutex);
    EXPECT_EQ(SYS_MUTEX_LockTimed(mutex, 0), 0);
    EXPECT_EQ(SYS_MUTEX_LockTimed(mutex, SYS_INFINITE), 0);
    EXPECT_EQ(SYS_MUTEX_Release(mutex), 0);
    EXPECT_EQ(SYS_MUTEX_Release(mutex), 0);
    EXPECT_EQ(SYS_MUTEX_Release(mutex), 0);
    std::thread([&] { EXPECT_EQ(SYS_MUTEX_LockTimed(mutex, 0), 258); }).join();
    SYS_MUTEX_Unlock(mutex);
    std::thread([&] {
      EXPECT_EQ(SYS_MUTEX_LockTimed(mutex, 0), 0);
      SYS_MUTEX_Unlock(mutex);
    }).join();
  }
}

TEST(SysMutexRelease, GivesOneWhenTheUnlockFails) {
  SYS_MUTEX* const mutex = SYS_MUTEX_Create();
  EXPECT_EQ(SYS_MUTEX_Release(nullptr), 1);
  EXPECT_EQ(SYS_MUTEX_Release(mutex), 1);  // nobody holds it
  const Holder holder(mutex);
  EXPECT_EQ(SYS_MUTEX_Release(mutex), 1);  // another thread holds it
}

TEST(SysMutexLockTimed, GivesUpAfterTheTime) {
  SYS_MUTEX* const mutex = SYS_MUTEX_Create();
  const Holder holder(mutex);
  int32_t result = 0;
  EXPECT_GE(TimeOf([&] { result = SYS_MUTEX_LockTimed(mutex, 120); }).count(), 119);
  EXPECT_EQ(result, 258);
}

TEST(SysMutexLockTimed, TimeBeyondASecondCarriesOver) {
  SYS_MUTEX* const mutex = SYS_MUTEX_Create();
  const Holder holder(mutex);
  int32_t result = 0;
  EXPECT_GE(TimeOf([&] { result = SYS_MUTEX_LockTimed(mutex, 1999); }).count(), 1998);
  EXPECT_EQ(result, 258);
}

TEST(SysMutexLockTimed, TimeZeroTriesOnceAndSleepsAMillisecond) {
  SYS_MUTEX* const mutex = SYS_MUTEX_Create();
  const Holder holder(mutex);
  int32_t result = 0;
  EXPECT_GE(TimeOf([&] { result = SYS_MUTEX_LockTimed(mutex, 0); }).count(), 1);
  EXPECT_EQ(result, 258);
}

TEST(SysMutexLockTimed, GetsAMutexThatBecomesFreeInTime) {
  SYS_MUTEX* const mutex = SYS_MUTEX_Create();
  Holder holder(mutex);
  std::thread letting_go([&] {
    std::this_thread::sleep_for(milliseconds(30));
    holder.LetGo();
  });
  EXPECT_EQ(SYS_MUTEX_LockTimed(mutex, 20'000), 0);
  letting_go.join();
  SYS_MUTEX_Unlock(mutex);
}

TEST(SysMutexLockTimed, WithoutALimitWaitsUntilTheMutexIsFree) {
  SYS_MUTEX* const mutex = SYS_MUTEX_Create();
  Holder holder(mutex);
  std::thread letting_go([&] {
    std::this_thread::sleep_for(milliseconds(30));
    holder.LetGo();
  });
  EXPECT_EQ(SYS_MUTEX_LockTimed(mutex, SYS_INFINITE), 0);
  letting_go.join();
  SYS_MUTEX_Unlock(mutex);
}

TEST(SysMutexHandles, NullFreedAndForeignOnesFail) {
  SYS_MUTEX* const freed = SYS_MUTEX_Create();
  SYS_MUTEX_Destroy(freed);
  int elsewhere = 0;
  const auto handle_at = [](const void* address) {
    return reinterpret_cast<SYS_MUTEX*>(const_cast<void*>(address));
  };
  SYS_MUTEX* const handles[] = {
      nullptr,
      freed,
      handle_at(&elsewhere),
      handle_at(reinterpret_cast<char*>(freed) + 4),  // within a slot, but not its start
      handle_at(reinterpret_cast<void*>(UINTPTR_MAX)),
  };
  for (SYS_MUTEX* handle : handles) {
    SYS_MUTEX_Lock(handle);
    SYS_MUTEX_Unlock(handle);
    EXPECT_EQ(SYS_MUTEX_LockTimed(handle, 0), -1);
    EXPECT_EQ(SYS_MUTEX_LockTimed(handle, SYS_INFINITE), -1);
    EXPECT_EQ(SYS_MUTEX_Release(handle), 1);
    SYS_MUTEX_Destroy(handle);
    SYS_MUTEX* variable = handle;
    SYS_MUTEX_Delete(&variable);
    EXPECT_EQ(variable, handle);  // written only when a mutex was freed
  }
}

TEST(SysMutexDelete, FreesTheSlotAndClearsTheVariable) {
  SYS_MUTEX* variable = SYS_MUTEX_Create();
  SYS_MUTEX* const slot = variable;
  SYS_MUTEX_Delete(&variable);
  EXPECT_EQ(variable, nullptr);
  EXPECT_EQ(SYS_MUTEX_LockTimed(slot, 0), -1);
  EXPECT_EQ(SYS_MUTEX_Create(), slot);
}

// ---- Events ----

TEST(SysEventCreate, ManualResetIsRefused) {
  EXPECT_EQ(SYS_EVENT_Create(1, 0), SYS_EVENT_INVALID);
  EXPECT_EQ(SYS_EVENT_Create(0xFFFFFFFF, 1), SYS_EVENT_INVALID);
  EXPECT_EQ(reinterpret_cast<intptr_t>(SYS_EVENT_INVALID), -1);
}

TEST(SysEventCreate, GivesSixtyFourAndNoMore) {
  std::vector<SYS_EVENT*> events;
  for (int i = 0; i < 64; ++i) {
    events.push_back(SYS_EVENT_Create(0, 0));
    ASSERT_NE(events.back(), SYS_EVENT_INVALID) << i;
  }
  EXPECT_EQ(SYS_EVENT_Create(0, 0), SYS_EVENT_INVALID);
  SYS_EVENT_Destroy(events[63]);
  EXPECT_EQ(SYS_EVENT_Create(0, 0), events[63]);
}

TEST(SysEventWait, InitiallySetEventIsTakenOnce) {
  SYS_EVENT* const event = SYS_EVENT_Create(0, 1);
  EXPECT_EQ(SYS_EVENT_Wait(event, 0), 0);
  int32_t result = 0;
  EXPECT_GE(TimeOf([&] { result = SYS_EVENT_Wait(event, 10); }).count(), 9);
  EXPECT_EQ(result, 258);
}

TEST(SysEventWait, InitialStateOtherThanOneIsNotSet) {
  EXPECT_EQ(SYS_EVENT_Wait(SYS_EVENT_Create(0, 0), 0), 258);
  EXPECT_EQ(SYS_EVENT_Wait(SYS_EVENT_Create(0, 2), 0), 258);
}

TEST(SysEventWait, TwoSetsAreTakenByOneWait) {
  SYS_EVENT* const event = SYS_EVENT_Create(0, 0);
  SYS_EVENT_Set(event);
  SYS_EVENT_Set(event);
  EXPECT_EQ(SYS_EVENT_Wait(event, 0), 0);
  EXPECT_EQ(SYS_EVENT_Wait(event, 0), 258);
}

TEST(SysEventWait, EventStaysSetUntilAWaitTakesIt) {
  SYS_EVENT* const event = SYS_EVENT_Create(0, 0);
  SYS_EVENT_Set(event);
  std::this_thread::sleep_for(milliseconds(20));
  EXPECT_EQ(SYS_EVENT_Wait(event, SYS_INFINITE), 0);
}

TEST(SysEventWait, GivesUpAfterTheTimeAcrossASecond) {
  SYS_EVENT* const event = SYS_EVENT_Create(0, 0);
  int32_t result = 0;
  EXPECT_GE(TimeOf([&] { result = SYS_EVENT_Wait(event, 1250); }).count(), 1249);
  EXPECT_EQ(result, 258);
}

TEST(SysEventWait, IsWokenByASetOnAnotherThread) {
  for (const uint32_t timeout_ms : {uint32_t{20'000}, SYS_INFINITE}) {
    SYS_EVENT* const event = SYS_EVENT_Create(0, 0);
    std::thread setter([&] {
      std::this_thread::sleep_for(milliseconds(30));
      SYS_EVENT_Set(event);
    });
    EXPECT_EQ(SYS_EVENT_Wait(event, timeout_ms), 0);
    setter.join();
    EXPECT_EQ(SYS_EVENT_Wait(event, 0), 258);  // taken
  }
}

TEST(SysEventWait, EachSetWakesOneOfManyWaiters) {
  SYS_EVENT* const event = SYS_EVENT_Create(0, 0);
  std::atomic<int> woken = 0;
  std::vector<std::thread> waiters;
  for (int i = 0; i < 4; ++i) {
    waiters.emplace_back([&] {
      EXPECT_EQ(SYS_EVENT_Wait(event, SYS_INFINITE), 0);
      ++woken;
    });
  }
  for (int i = 1; i <= 4; ++i) {
    SYS_EVENT_Set(event);
    EXPECT_TRUE(Eventually([&] { return woken == i; }));
    std::this_thread::sleep_for(milliseconds(20));
    EXPECT_EQ(woken, i);
  }
  for (auto& waiter : waiters) waiter.join();
}

TEST(SysEventHandles, NullFreedAndForeignOnesFail) {
  SYS_EVENT* const freed = SYS_EVENT_Create(0, 1);
  SYS_EVENT_Destroy(freed);
  int elsewhere = 0;
  for (SYS_EVENT* const handle : {static_cast<SYS_EVENT*>(nullptr), freed, SYS_EVENT_INVALID,
                                  reinterpret_cast<SYS_EVENT*>(&elsewhere)}) {
    EXPECT_EQ(SYS_EVENT_Wait(handle, 0), -1);
    EXPECT_EQ(SYS_EVENT_Wait(handle, SYS_INFINITE), -1);
    SYS_EVENT_Set(handle);
    SYS_EVENT_Destroy(handle);
  }
}

TEST(SysEventDestroy, NeitherWakesWaitingThreadsNorWaitsForThem) {
  SYS_EVENT* const event = SYS_EVENT_Create(0, 0);
  std::atomic<bool> is_waiting = false;
  int32_t result = 0;
  std::thread waiter([&] {
    is_waiting = true;
    result = SYS_EVENT_Wait(event, 400);
  });
  ASSERT_TRUE(Eventually([&] { return is_waiting.load(); }));
  std::this_thread::sleep_for(milliseconds(50));
  EXPECT_LT(TimeOf([&] { SYS_EVENT_Destroy(event); }).count(), 300);
  EXPECT_EQ(SYS_EVENT_Wait(event, 0), -1);
  waiter.join();
  EXPECT_EQ(result, 258);
  EXPECT_EQ(SYS_EVENT_Create(0, 1), event);
  EXPECT_EQ(SYS_EVENT_Wait(event, 0), 0);
}

TEST(SysEventDestroy, FreesTheSlotForAnEventOfItsOwnState) {
  SYS_EVENT* const event = SYS_EVENT_Create(0, 1);
  SYS_EVENT_Destroy(event);
  EXPECT_EQ(SYS_EVENT_Create(0, 0), event);
  EXPECT_EQ(SYS_EVENT_Wait(event, 0), 258);
}

}  // namespace
