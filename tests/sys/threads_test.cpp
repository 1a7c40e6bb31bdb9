// SPDX-License-Identifier: MIT

#include "sys/threads.h"

#include <gtest/gtest.h>
#include <pthread.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <set>
#include <thread>
#include <vector>

#include "sys/clock.h"
#include "sys/thread_objects.h"
#include "tests/support/child_process.h"
#include "tests/support/stream_reader.h"

// Some tests unlock what their thread does not own. The race detector holds that against any
// program; these tests are about the result it gives.
// NOLINTNEXTLINE(bugprone-reserved-identifier): the race detector looks for this name.
extern "C" [[gnu::visibility("default")]] const char* __tsan_default_suppressions();
extern "C" const char* __tsan_default_suppressions() {
  return "mutex:ReleaseWhatOthersOwn\nmutex:UnlockWhatOthersOwn\n";
}

namespace {

using namespace std::chrono_literals;
using std::chrono::steady_clock;

constexpr size_t kSlots = 64;

// A one-shot signal from one thread to another.
class Flag {
 public:
  void Raise() {
    raised_.store(true);
    raised_.notify_all();
  }

  void Await() { raised_.wait(false); }

 private:
  std::atomic<bool> raised_ = false;
};

// Runs a function on a thread of its own and returns its result.
template <typename Function>
int32_t OnAnotherThread(Function function) {
  int32_t result = 0;
  std::thread([&] { result = function(); }).join();
  return result;
}

// ---- Threads ----

// What thread functions without an argument share with their test; every test has its own process.
Flag thread_ran;
std::atomic<SYS_THREAD_HANDLE> own_id = 0;
std::atomic<void*> seen_argument = nullptr;

int32_t NoteId() {
  own_id = SYS_GetCurrentThreadId();
  thread_ran.Raise();
  return 0;
}

void* NoteArgument(void* argument) {
  own_id = SYS_GetCurrentThreadId();
  seen_argument = argument;
  thread_ran.Raise();
  return nullptr;
}

TEST(SysCreateThread, RunsTheFunctionAndReturnsItsHandle) {
  const SYS_THREAD_HANDLE handle = SYS_CreateThread(NoteId, nullptr);
  thread_ran.Await();
  EXPECT_NE(own_id, SYS_GetCurrentThreadId());
  EXPECT_EQ(handle, own_id);
}

TEST(SysCreateThread, StoresTheHandleAsWell) {
  SYS_THREAD_HANDLE stored = 0;
  const SYS_THREAD_HANDLE handle = SYS_CreateThread(NoteId, &stored);
  thread_ran.Await();
  EXPECT_EQ(stored, handle);
}

TEST(SysCreateThreadEx, RunsTheFunctionWithItsArgument) {
  int something = 0;
  const SYS_THREAD_HANDLE handle = SYS_CreateThreadEx(NoteArgument, &something, nullptr);
  thread_ran.Await();
  EXPECT_EQ(seen_argument, &something);
  EXPECT_NE(own_id, SYS_GetCurrentThreadId());
  EXPECT_EQ(handle, own_id);
}

TEST(SysCreateThreadEx, StoresTheHandleAsWell) {
  SYS_THREAD_HANDLE stored = 0;
  const SYS_THREAD_HANDLE handle = SYS_CreateThreadEx(NoteArgument, nullptr, &stored);
  thread_ran.Await();
  EXPECT_EQ(stored, handle);
  EXPECT_EQ(seen_argument, nullptr);
}

pthread_key_t farewell_key;
Flag thread_ended;
std::atomic<uint32_t> beats = 0;

int32_t BeatForever() {
  pthread_setspecific(farewell_key, &beats);
  thread_ran.Raise();
  for (;;) {
    ++beats;
    SYS_Sleep(1);
  }
}

// Starts a thread that beats until it is cancelled and raises thread_ended with its last step.
SYS_THREAD_HANDLE StartBeating() {
  pthread_key_create(&farewell_key, [](void*) { thread_ended.Raise(); });
  const SYS_THREAD_HANDLE handle = SYS_CreateThread(BeatForever, nullptr);
  thread_ran.Await();
  return handle;
}

TEST(SysCancelThread, ReturnsZeroAndEndsTheThread) {
  EXPECT_EQ(SYS_CancelThread(StartBeating()), 0);
  thread_ended.Await();
  const uint32_t beats_at_end = beats;
  SYS_Sleep(20);
  EXPECT_EQ(beats, beats_at_end);
}

TEST(SysCancelThread, RefusesANullHandle) { EXPECT_EQ(SYS_CancelThread(0), ESRCH); }

TEST(SysGetThreadExitCode, IsAlwaysStillActiveWithResultOne) {
  const SYS_THREAD_HANDLE finished = SYS_CreateThread(NoteId, nullptr);
  thread_ran.Await();
  for (const SYS_THREAD_HANDLE handle :
       {finished, SYS_GetCurrentThreadId(), SYS_THREAD_HANDLE{0}, SYS_THREAD_HANDLE{12345}}) {
    SCOPED_TRACE(handle);
    uint32_t code = 0;
    EXPECT_EQ(SYS_GetThreadExitCode(handle, &code), 1);
    EXPECT_EQ(code, 259u);
  }
}

TEST(SysThreadStillActive, Is259) { EXPECT_EQ(SYS_THREAD_STILL_ACTIVE, 259); }

TEST(SysGetCurrentThreadId, IsTheSystemsOwnHandle) {
  const pthread_t self = pthread_self();
  SYS_THREAD_HANDLE expected = 0;
  static_assert(sizeof expected == sizeof self);
  memcpy(&expected, &self, sizeof expected);
  EXPECT_EQ(SYS_GetCurrentThreadId(), expected);
}

TEST(SysGetThreadId, ReturnsTheHandleUnchanged) {
  EXPECT_EQ(SYS_GetThreadId(0), 0u);
  EXPECT_EQ(SYS_GetThreadId(0xFEDCBA9876543210u), 0xFEDCBA9876543210u);
}

TEST(SysGetCurrentProcessId, IsTheSystemsNumberForThisProcess) {
  const int32_t parent = SYS_GetCurrentProcessId();
  EXPECT_EQ(parent, getpid());
  EXPECT_EQ(support::RunInChild([parent] {
              const int32_t child = SYS_GetCurrentProcessId();
              return child == getpid() && child != parent ? 0 : 1;
            }),
            0);
}

TEST(SysThreadReserved, DoesNothing) {
  const SYS_THREAD_HANDLE handle = StartBeating();
  for (const SYS_THREAD_HANDLE any : {handle, SYS_THREAD_HANDLE{0}}) {
    SYS_ThreadReserved1(any);
    SYS_ThreadReserved2(any);
    SYS_ThreadReserved3(any);
  }
  const uint32_t beats_before = beats;
  while (beats == beats_before) SYS_Sleep(1);
  EXPECT_EQ(SYS_CancelThread(handle), 0);
  thread_ended.Await();
}

// ---- Handles of either kind ----

// Addresses that no create gave out: null, all bits set, a byte into a slot, half a slot on, and
// one slot in front of and behind the table. The first two slots of the table are taken for it.
template <typename Slot>
std::vector<Slot*> BadHandles(Slot* first, Slot* second) {
  const auto address = reinterpret_cast<uintptr_t>(first);
  const uintptr_t size = reinterpret_cast<uintptr_t>(second) - address;
  const uintptr_t bad[] = {
      0, ~uintptr_t{0}, address + 1, address + size / 2, address - size, address + kSlots * size};
  std::vector<Slot*> handles;
  for (const uintptr_t handle : bad) handles.push_back(reinterpret_cast<Slot*>(handle));
  return handles;
}

// The bad ones above and, as the last one, slot 1, which is free again; slot 0 is live.
std::vector<SYS_MUTEX*> BadMutexes() {
  SYS_MUTEX* const first = SYS_MUTEX_Create();
  SYS_MUTEX* const second = SYS_MUTEX_Create();
  std::vector<SYS_MUTEX*> handles = BadHandles(first, second);
  SYS_MUTEX_Destroy(second);
  handles.push_back(second);
  return handles;
}

std::vector<SYS_EVENT*> BadEvents() {
  SYS_EVENT* const first = SYS_EVENT_Create(0, 0);
  SYS_EVENT* const second = SYS_EVENT_Create(0, 0);
  std::vector<SYS_EVENT*> handles = BadHandles(first, second);
  SYS_EVENT_Destroy(second);
  handles.push_back(second);
  return handles;
}

// ---- Mutexes ----

// Holds a mutex on a thread of its own until told to let go, or to the end of its scope.
class Holder {
 public:
  explicit Holder(SYS_MUTEX* mutex)
      : thread_([this, mutex] {
          SYS_MUTEX_Lock(mutex);
          holds_.Raise();
          may_let_go_.Await();
          SYS_MUTEX_Unlock(mutex);
        }) {
    holds_.Await();
  }

  ~Holder() {
    LetGo();
    thread_.join();
  }

  void LetGo() { may_let_go_.Raise(); }

 private:
  Flag holds_;
  Flag may_let_go_;
  std::thread thread_;
};

// What another thread's attempt to lock gives; a lock that it got it gives back.
int32_t LockTimedElsewhere(SYS_MUTEX* mutex, uint32_t timeout_ms) {
  return OnAnotherThread([=] {
    const int32_t result = SYS_MUTEX_LockTimed(mutex, timeout_ms);
    if (result == 0) SYS_MUTEX_Unlock(mutex);
    return result;
  });
}

int32_t ReleaseWhatOthersOwn(SYS_MUTEX* mutex) { return SYS_MUTEX_Release(mutex); }

void UnlockWhatOthersOwn(SYS_MUTEX* mutex) { SYS_MUTEX_Unlock(mutex); }

static_assert(offsetof(SYS_MUTEX, in_use) == 0);
static_assert(offsetof(SYS_MUTEX, name) == 4);
static_assert(offsetof(SYS_MUTEX, mutex) == 40);
static_assert(offsetof(SYS_MUTEX, attributes) > offsetof(SYS_MUTEX, mutex));

TEST(SysMutexCreate, GivesSixtyFourMutexesAndThenNull) {
  std::set<SYS_MUTEX*> mutexes;
  for (size_t i = 0; i < kSlots; ++i) mutexes.insert(SYS_MUTEX_Create());
  EXPECT_EQ(mutexes.size(), kSlots);
  EXPECT_EQ(mutexes.count(nullptr), 0u);
  EXPECT_EQ(SYS_MUTEX_Create(), nullptr);
  EXPECT_EQ(SYS_MUTEX_CreateNamed("one too many"), nullptr);
}

TEST(SysMutexCreate, GivesTheSlotOfADestroyedMutexWhenTheTableWasFull) {
  std::vector<SYS_MUTEX*> mutexes;
  for (size_t i = 0; i < kSlots; ++i) mutexes.push_back(SYS_MUTEX_Create());
  SYS_MUTEX_Destroy(mutexes[40]);
  EXPECT_EQ(SYS_MUTEX_Create(), mutexes[40]);
  EXPECT_EQ(SYS_MUTEX_Create(), nullptr);
}

TEST(SysMutexCreate, TakesTheFirstFreeSlot) {
  SYS_MUTEX* const first = SYS_MUTEX_Create();
  SYS_MUTEX* const second = SYS_MUTEX_CreateNamed("second");
  SYS_MUTEX* const third = SYS_MUTEX_Create();
  EXPECT_EQ(second, first + 1);
  EXPECT_EQ(third, first + 2);
  SYS_MUTEX_Destroy(third);
  SYS_MUTEX_Destroy(first);
  EXPECT_EQ(SYS_MUTEX_Create(), first);
  EXPECT_EQ(SYS_MUTEX_Create(), third);
}

TEST(SysMutexCreate, MarksTheSlotAsInUseUntilItIsDestroyed) {
  SYS_MUTEX* const mutex = SYS_MUTEX_Create();
  EXPECT_NE(mutex->in_use, 0u);
  SYS_MUTEX_Destroy(mutex);
  EXPECT_EQ(mutex->in_use, 0u);
}

TEST(SysMutexCreate, GivesNoName) { EXPECT_STREQ(SYS_MUTEX_Create()->name, ""); }

TEST(SysMutexCreateNamed, StoresAtMostThirtyOneCharacters) {
  const struct {
    const char* name;
    const char* expected;
  } cases[] = {
      {"", ""},
      {"display", "display"},
      {"0123456789012345678901234567890", "0123456789012345678901234567890"},           // 31
      {"01234567890123456789012345678901", "0123456789012345678901234567890"},          // 32
      {"0123456789012345678901234567890123456789", "0123456789012345678901234567890"},  // 40
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    EXPECT_STREQ(SYS_MUTEX_CreateNamed(c.name)->name, c.expected);
  }
}

TEST(SysMutexCreateNamed, TakesNullForNoName) {
  SYS_MUTEX* const mutex = SYS_MUTEX_CreateNamed(nullptr);
  ASSERT_NE(mutex, nullptr);
  EXPECT_STREQ(mutex->name, "");
}

TEST(SysMutexCreate, ClearsTheNameOfTheSlotsFormerMutex) {
  SYS_MUTEX* const named = SYS_MUTEX_CreateNamed("0123456789012345678901234567890");
  SYS_MUTEX_Destroy(named);
  SYS_MUTEX* const unnamed = SYS_MUTEX_Create();
  ASSERT_EQ(unnamed, named);
  for (const char character : unnamed->name) EXPECT_EQ(character, '\0');
}

TEST(SysMutex, IsRecursiveAndMustBeUnlockedAsOften) {
  for (SYS_MUTEX* const mutex : {SYS_MUTEX_Create(), SYS_MUTEX_CreateNamed("named")}) {
    SCOPED_TRACE(mutex->name);
    SYS_MUTEX_Lock(mutex);
    SYS_MUTEX_Lock(mutex);
    SYS_MUTEX_Unlock(mutex);
    EXPECT_EQ(LockTimedElsewhere(mutex, 0), 258);
    SYS_MUTEX_Unlock(mutex);
    EXPECT_EQ(LockTimedElsewhere(mutex, 0), 0);
  }
}

TEST(SysMutexLock, KeepsOtherThreadsOut) {
  constexpr int kThreads = 4;
  constexpr int kRounds = 500;
  SYS_MUTEX* const mutex = SYS_MUTEX_Create();
  int unguarded_count = 0;
  std::vector<std::thread> threads;
  threads.reserve(kThreads);
  for (int i = 0; i < kThreads; ++i) {
    threads.emplace_back([&] {
      for (int round = 0; round < kRounds; ++round) {
        SYS_MUTEX_Lock(mutex);
        const int count = unguarded_count;
        if (round % 100 == 0) std::this_thread::yield();
        unguarded_count = count + 1;
        SYS_MUTEX_Unlock(mutex);
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(unguarded_count, kThreads * kRounds);
}

TEST(SysMutexLock, WaitsForTheOwner) {
  SYS_MUTEX* const mutex = SYS_MUTEX_Create();
  Holder holder(mutex);
  std::atomic<bool> has_let_go = false;
  std::thread releaser([&] {
    SYS_Sleep(30);
    has_let_go = true;
    holder.LetGo();
  });
  SYS_MUTEX_Lock(mutex);
  EXPECT_TRUE(has_let_go);
  SYS_MUTEX_Unlock(mutex);
  releaser.join();
}

TEST(SysMutexLock, DoesNothingForABadHandle) {
  for (SYS_MUTEX* const bad : BadMutexes()) SYS_MUTEX_Lock(bad);
}

TEST(SysMutexUnlock, DoesNothingForABadHandle) {
  for (SYS_MUTEX* const bad : BadMutexes()) SYS_MUTEX_Unlock(bad);
}

TEST(SysMutexUnlock, LeavesAMutexOfAnotherThreadLocked) {
  SYS_MUTEX* const mutex = SYS_MUTEX_Create();
  Holder holder(mutex);
  UnlockWhatOthersOwn(mutex);
  EXPECT_EQ(SYS_MUTEX_LockTimed(mutex, 0), 258);
}

TEST(SysMutexRelease, UnlocksAndGivesZero) {
  SYS_MUTEX* const mutex = SYS_MUTEX_Create();
  SYS_MUTEX_Lock(mutex);
  EXPECT_EQ(SYS_MUTEX_Release(mutex), 0);
  EXPECT_EQ(LockTimedElsewhere(mutex, 0), 0);
}

TEST(SysMutexRelease, GivesOneForABadHandle) {
  for (SYS_MUTEX* const bad : BadMutexes()) {
    SCOPED_TRACE(reinterpret_cast<uintptr_t>(bad));
    EXPECT_EQ(SYS_MUTEX_Release(bad), 1);
  }
}

TEST(SysMutexRelease, GivesOneForAMutexOfAnotherThread) {
  SYS_MUTEX* const mutex = SYS_MUTEX_Create();
  Holder holder(mutex);
  EXPECT_EQ(ReleaseWhatOthersOwn(mutex), 1);
}

TEST(SysMutexRelease, GivesOneForAnUnlockedMutex) {
  EXPECT_EQ(ReleaseWhatOthersOwn(SYS_MUTEX_Create()), 1);
}

TEST(SysMutexLockTimed, GivesMinusOneForABadHandle) {
  for (SYS_MUTEX* const bad : BadMutexes()) {
    SCOPED_TRACE(reinterpret_cast<uintptr_t>(bad));
    EXPECT_EQ(SYS_MUTEX_LockTimed(bad, 0), -1);
    EXPECT_EQ(SYS_MUTEX_LockTimed(bad, 10), -1);
    EXPECT_EQ(SYS_MUTEX_LockTimed(bad, SYS_INFINITE), -1);
  }
}

TEST(SysMutexLockTimed, LocksAFreeMutexWithAnyTimeOut) {
  for (const uint32_t timeout_ms : {0u, 1u, 100u, 0xFFFFFFFEu, SYS_INFINITE}) {
    SCOPED_TRACE(timeout_ms);
    SYS_MUTEX* const mutex = SYS_MUTEX_Create();
    EXPECT_EQ(SYS_MUTEX_LockTimed(mutex, timeout_ms), 0);
    EXPECT_EQ(LockTimedElsewhere(mutex, 0), 258);
    SYS_MUTEX_Unlock(mutex);
  }
}

TEST(SysMutexLockTimed, SucceedsAtOnceForTheOwner) {
  SYS_MUTEX* const mutex = SYS_MUTEX_Create();
  SYS_MUTEX_Lock(mutex);
  for (const uint32_t timeout_ms : {0u, 3'600'000u, SYS_INFINITE}) {
    SCOPED_TRACE(timeout_ms);
    EXPECT_EQ(SYS_MUTEX_LockTimed(mutex, timeout_ms), 0);
  }
  for (int i = 0; i < 4; ++i) {
    EXPECT_EQ(LockTimedElsewhere(mutex, 0), 258);
    EXPECT_EQ(SYS_MUTEX_Release(mutex), 0);
  }
  EXPECT_EQ(LockTimedElsewhere(mutex, 0), 0);
}

TEST(SysMutexLockTimed, GivesUpAfterAMillisecondWithATimeOutOfZero) {
  SYS_MUTEX* const mutex = SYS_MUTEX_Create();
  Holder holder(mutex);
  const auto start = steady_clock::now();
  EXPECT_EQ(SYS_MUTEX_LockTimed(mutex, 0), 258);
  const auto elapsed = steady_clock::now() - start;
  EXPECT_GE(elapsed, 1ms);
  EXPECT_LT(elapsed, support::kPatience);
}

TEST(SysMutexLockTimed, GivesUpWhenTheTimeIsOver) {
  SYS_MUTEX* const mutex = SYS_MUTEX_Create();
  Holder holder(mutex);
  const auto start = steady_clock::now();
  EXPECT_EQ(SYS_MUTEX_LockTimed(mutex, 60), 258);
  EXPECT_GE(steady_clock::now() - start, 59ms);  // one less: the two clocks are not the same
}

TEST(SysMutexLockTimed, GetsAMutexThatIsReleasedInTime) {
  SYS_MUTEX* const mutex = SYS_MUTEX_Create();
  for (const uint32_t timeout_ms : {60'000u, SYS_INFINITE}) {
    SCOPED_TRACE(timeout_ms);
    Holder holder(mutex);
    std::atomic<bool> has_let_go = false;
    std::thread releaser([&] {
      SYS_Sleep(20);
      has_let_go = true;
      holder.LetGo();
    });
    const auto start = steady_clock::now();
    EXPECT_EQ(SYS_MUTEX_LockTimed(mutex, timeout_ms), 0);
    EXPECT_TRUE(has_let_go);
    EXPECT_LT(steady_clock::now() - start, support::kPatience);
    SYS_MUTEX_Unlock(mutex);
    releaser.join();
  }
}

TEST(SysMutexDestroy, DoesNothingForABadHandle) {
  const std::vector<SYS_MUTEX*> bad_handles = BadMutexes();
  SYS_MUTEX* const live = bad_handles.back() - 1;
  for (SYS_MUTEX* const bad : bad_handles) SYS_MUTEX_Destroy(bad);
  EXPECT_EQ(SYS_MUTEX_LockTimed(live, 0), 0);
  EXPECT_EQ(SYS_MUTEX_Release(live), 0);
}

TEST(SysMutexDestroy, LeavesTheOtherMutexesAsTheyAre) {
  SYS_MUTEX* const first = SYS_MUTEX_Create();
  SYS_MUTEX* const second = SYS_MUTEX_CreateNamed("second");
  SYS_MUTEX_Lock(second);
  SYS_MUTEX_Destroy(first);
  EXPECT_STREQ(second->name, "second");
  EXPECT_EQ(LockTimedElsewhere(second, 0), 258);
  EXPECT_EQ(SYS_MUTEX_Release(second), 0);
}

TEST(SysMutexDestroy, HandleMeansTheNewMutexOnceTheSlotIsTakenAgain) {
  SYS_MUTEX* const old_handle = SYS_MUTEX_Create();
  SYS_MUTEX_Destroy(old_handle);
  SYS_MUTEX_Lock(SYS_MUTEX_Create());
  EXPECT_EQ(LockTimedElsewhere(old_handle, 0), 258);
  EXPECT_EQ(SYS_MUTEX_Release(old_handle), 0);
}

TEST(SysMutexDelete, DestroysAndSetsTheVariableToNull) {
  SYS_MUTEX* const mutex = SYS_MUTEX_Create();
  SYS_MUTEX* variable = mutex;
  SYS_MUTEX_Delete(&variable);
  EXPECT_EQ(variable, nullptr);
  EXPECT_EQ(SYS_MUTEX_LockTimed(mutex, 0), -1);
  EXPECT_EQ(SYS_MUTEX_Create(), mutex);
}

TEST(SysMutexDelete, LeavesABadHandleInTheVariable) {
  for (SYS_MUTEX* const bad : BadMutexes()) {
    SYS_MUTEX* variable = bad;
    SYS_MUTEX_Delete(&variable);
    EXPECT_EQ(reinterpret_cast<uintptr_t>(variable), reinterpret_cast<uintptr_t>(bad));
  }
}

TEST(SysMutexDelete, IgnoresANullAddress) { SYS_MUTEX_Delete(nullptr); }

// ---- Events ----

static_assert(offsetof(SYS_EVENT, in_use) == 0);
static_assert(offsetof(SYS_EVENT, signalled) == 4);
static_assert(offsetof(SYS_EVENT, mutex) == 8);
static_assert(offsetof(SYS_EVENT, condition) > offsetof(SYS_EVENT, mutex));

TEST(SysEventInvalid, HasAllBitsSet) {
  EXPECT_EQ(reinterpret_cast<uintptr_t>(SYS_EVENT_INVALID), ~uintptr_t{0});
}

TEST(SysWaitCodes, AreTheOnesEveryTimedWaitUses) {
  EXPECT_EQ(SYS_WAIT_TIMEOUT, 258);
  EXPECT_EQ(SYS_INFINITE, 0xFFFFFFFFu);
}

TEST(SysEventCreate, RefusesManualReset) {
  for (const uint32_t manual_reset : {1u, 2u, 0x80000000u, 0xFFFFFFFFu}) {
    SCOPED_TRACE(manual_reset);
    EXPECT_EQ(SYS_EVENT_Create(manual_reset, 0), SYS_EVENT_INVALID);
  }
}

TEST(SysEventCreate, RefusedManualResetTakesNoSlot) {
  for (size_t i = 0; i <= kSlots; ++i) SYS_EVENT_Create(1, 0);
  EXPECT_NE(SYS_EVENT_Create(0, 0), SYS_EVENT_INVALID);
}

TEST(SysEventCreate, GivesSixtyFourEventsAndThenFails) {
  std::set<SYS_EVENT*> events;
  for (size_t i = 0; i < kSlots; ++i) events.insert(SYS_EVENT_Create(0, 0));
  EXPECT_EQ(events.size(), kSlots);
  EXPECT_EQ(events.count(SYS_EVENT_INVALID), 0u);
  EXPECT_EQ(events.count(nullptr), 0u);
  EXPECT_EQ(SYS_EVENT_Create(0, 0), SYS_EVENT_INVALID);
}

TEST(SysEventCreate, GivesTheSlotOfADestroyedEventWhenTheTableWasFull) {
  std::vector<SYS_EVENT*> events;
  for (size_t i = 0; i < kSlots; ++i) events.push_back(SYS_EVENT_Create(0, 0));
  SYS_EVENT_Destroy(events[17]);
  EXPECT_EQ(SYS_EVENT_Create(0, 0), events[17]);
  EXPECT_EQ(SYS_EVENT_Create(0, 0), SYS_EVENT_INVALID);
}

TEST(SysEventCreate, TakesTheFirstFreeSlot) {
  SYS_EVENT* const first = SYS_EVENT_Create(0, 0);
  SYS_EVENT* const second = SYS_EVENT_Create(0, 0);
  SYS_EVENT* const third = SYS_EVENT_Create(0, 0);
  EXPECT_EQ(second, first + 1);
  EXPECT_EQ(third, first + 2);
  SYS_EVENT_Destroy(third);
  SYS_EVENT_Destroy(first);
  EXPECT_EQ(SYS_EVENT_Create(0, 0), first);
  EXPECT_EQ(SYS_EVENT_Create(0, 0), third);
}

TEST(SysEventCreate, HasATableOfItsOwn) {
  for (size_t i = 0; i < kSlots; ++i) SYS_MUTEX_Create();
  EXPECT_NE(SYS_EVENT_Create(0, 0), SYS_EVENT_INVALID);
}

TEST(SysEventCreate, InitialStateOfOneLetsTheFirstWaitThroughAndNotTheSecond) {
  SYS_EVENT* const event = SYS_EVENT_Create(0, 1);
  const auto start = steady_clock::now();
  EXPECT_EQ(SYS_EVENT_Wait(event, 60'000), 0);
  EXPECT_LT(steady_clock::now() - start, support::kPatience);
  EXPECT_EQ(SYS_EVENT_Wait(event, 10), 258);
}

TEST(SysEventCreate, InitialStateOfZeroIsReset) {
  EXPECT_EQ(SYS_EVENT_Wait(SYS_EVENT_Create(0, 0), 10), 258);
}

TEST(SysEventCreate, AnyOtherInitialStateIsStoredAsGivenAndCountsAsReset) {
  for (const uint32_t state : {2u, 3u, 0x101u, 0xFFFFFFFFu}) {
    SCOPED_TRACE(state);
    SYS_EVENT* const event = SYS_EVENT_Create(0, state);
    EXPECT_EQ(event->signalled, state);
    EXPECT_EQ(SYS_EVENT_Wait(event, 1), 258);
    EXPECT_EQ(event->signalled, state);
    SYS_EVENT_Set(event);
    EXPECT_EQ(event->signalled, 1u);
    EXPECT_EQ(SYS_EVENT_Wait(event, 0), 0);
    EXPECT_EQ(event->signalled, 0u);
  }
}

TEST(SysEventSet, TwoSetsBeforeAWaitAreConsumedByOneWait) {
  SYS_EVENT* const event = SYS_EVENT_Create(0, 0);
  SYS_EVENT_Set(event);
  SYS_EVENT_Set(event);
  EXPECT_EQ(SYS_EVENT_Wait(event, 0), 0);
  EXPECT_EQ(SYS_EVENT_Wait(event, 10), 258);
}

TEST(SysEventSet, StaysSetUntilAWaitConsumesIt) {
  SYS_EVENT* const event = SYS_EVENT_Create(0, 0);
  OnAnotherThread([=] {
    SYS_EVENT_Set(event);
    return 0;
  });
  SYS_Sleep(20);
  EXPECT_EQ(OnAnotherThread([=] { return SYS_EVENT_Wait(event, 0); }), 0);
}

TEST(SysEventSet, WakesAWaitingThread) {
  for (const uint32_t timeout_ms : {60'000u, SYS_INFINITE}) {
    SCOPED_TRACE(timeout_ms);
    SYS_EVENT* const event = SYS_EVENT_Create(0, 0);
    std::atomic<bool> was_set = false;
    std::thread setter([&] {
      SYS_Sleep(20);
      was_set = true;
      SYS_EVENT_Set(event);
    });
    const auto start = steady_clock::now();
    EXPECT_EQ(SYS_EVENT_Wait(event, timeout_ms), 0);
    EXPECT_TRUE(was_set);
    EXPECT_LT(steady_clock::now() - start, support::kPatience);
    setter.join();
    EXPECT_EQ(SYS_EVENT_Wait(event, 0), 258);
  }
}

TEST(SysEventSet, LetsOneOfTwoWaitersThrough) {
  SYS_EVENT* const event = SYS_EVENT_Create(0, 0);
  std::atomic<int> successes = 0;
  std::atomic<int> timeouts = 0;
  const auto wait = [&] {
    const int32_t result = SYS_EVENT_Wait(event, 300);
    if (result == 0) ++successes;
    if (result == 258) ++timeouts;
  };
  std::thread first(wait);
  std::thread second(wait);
  SYS_EVENT_Set(event);
  first.join();
  second.join();
  EXPECT_EQ(successes, 1);
  EXPECT_EQ(timeouts, 1);
}

TEST(SysEventSet, PublishesWhatWasStoredBefore) {
  SYS_EVENT* const event = SYS_EVENT_Create(0, 0);
  SYS_EVENT* const answer = SYS_EVENT_Create(0, 0);
  int unguarded = 0;
  std::thread peer([&] {
    for (int round = 0; round < 100; ++round) {
      EXPECT_EQ(SYS_EVENT_Wait(event, SYS_INFINITE), 0);
      ++unguarded;
      SYS_EVENT_Set(answer);
    }
  });
  for (int round = 0; round < 100; ++round) {
    ++unguarded;
    SYS_EVENT_Set(event);
    EXPECT_EQ(SYS_EVENT_Wait(answer, 60'000), 0);
  }
  peer.join();
  EXPECT_EQ(unguarded, 200);
}

TEST(SysEventSet, DoesNothingForABadHandle) {
  for (SYS_EVENT* const bad : BadEvents()) SYS_EVENT_Set(bad);
}

TEST(SysEventWait, GivesMinusOneForABadHandle) {
  for (SYS_EVENT* const bad : BadEvents()) {
    SCOPED_TRACE(reinterpret_cast<uintptr_t>(bad));
    EXPECT_EQ(SYS_EVENT_Wait(bad, 0), -1);
    EXPECT_EQ(SYS_EVENT_Wait(bad, 10), -1);
    EXPECT_EQ(SYS_EVENT_Wait(bad, SYS_INFINITE), -1);
  }
}

TEST(SysEventWait, GivesUpWhenTheTimeIsOver) {
  SYS_EVENT* const event = SYS_EVENT_Create(0, 0);
  const auto start = steady_clock::now();
  EXPECT_EQ(SYS_EVENT_Wait(event, 60), 258);
  const auto elapsed = steady_clock::now() - start;
  EXPECT_GE(elapsed, 59ms);  // one less: the two clocks are not the same
  EXPECT_LT(elapsed, support::kPatience);
}

TEST(SysEventWait, TimeOutOfZeroOnlyLooks) {
  SYS_EVENT* const event = SYS_EVENT_Create(0, 0);
  EXPECT_EQ(SYS_EVENT_Wait(event, 0), 258);
  SYS_EVENT_Set(event);
  EXPECT_EQ(SYS_EVENT_Wait(event, 0), 0);
}

TEST(SysEventDestroy, FreesTheSlotAndResetsTheEvent) {
  SYS_EVENT* const event = SYS_EVENT_Create(0, 1);
  EXPECT_NE(event->in_use, 0u);
  SYS_EVENT_Destroy(event);
  EXPECT_EQ(event->in_use, 0u);
  EXPECT_EQ(event->signalled, 0u);
  EXPECT_EQ(SYS_EVENT_Wait(event, 0), -1);
}

TEST(SysEventDestroy, NeitherWakesWaitingThreadsNorWaitsForThem) {
  SYS_EVENT* const event = SYS_EVENT_Create(0, 0);
  int32_t result = 0;
  std::thread waiter([&] { result = SYS_EVENT_Wait(event, 2000); });
  while (event->waiters == 0) std::this_thread::yield();
  const auto start = std::chrono::steady_clock::now();
  SYS_EVENT_Destroy(event);
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(1500));
  EXPECT_EQ(SYS_EVENT_Wait(event, 0), -1);
  waiter.join();
  EXPECT_EQ(result, SYS_WAIT_TIMEOUT);
  EXPECT_EQ(SYS_EVENT_Create(0, 1), event);
  EXPECT_EQ(SYS_EVENT_Wait(event, 0), 0);
}

TEST(SysEventDestroy, DoesNothingForABadHandle) {
  const std::vector<SYS_EVENT*> bad_handles = BadEvents();
  SYS_EVENT* const live = bad_handles.back() - 1;
  for (SYS_EVENT* const bad : bad_handles) SYS_EVENT_Destroy(bad);
  SYS_EVENT_Set(live);
  EXPECT_EQ(SYS_EVENT_Wait(live, 0), 0);
}

TEST(SysEventDestroy, LeavesTheOtherEventsAsTheyAre) {
  SYS_EVENT* const first = SYS_EVENT_Create(0, 1);
  SYS_EVENT* const second = SYS_EVENT_Create(0, 1);
  SYS_EVENT_Destroy(first);
  EXPECT_EQ(SYS_EVENT_Wait(second, 0), 0);
}

TEST(SysEventDestroy, HandleMeansTheNewEventOnceTheSlotIsTakenAgain) {
  SYS_EVENT* const old_handle = SYS_EVENT_Create(0, 0);
  SYS_EVENT_Destroy(old_handle);
  SYS_EVENT* const event = SYS_EVENT_Create(0, 1);
  ASSERT_EQ(event, old_handle);
  EXPECT_EQ(SYS_EVENT_Wait(old_handle, 0), 0);
}

TEST(SysEventReserved, DoesNothing) {
  SYS_EVENT* const event = SYS_EVENT_Create(0, 1);
  for (SYS_EVENT* const any : {event, static_cast<SYS_EVENT*>(nullptr), SYS_EVENT_INVALID}) {
    SYS_EVENT_Reserved1(any);
    SYS_EVENT_Reserved2(any);
  }
  EXPECT_EQ(SYS_EVENT_Wait(event, 0), 0);
  EXPECT_EQ(SYS_EVENT_Wait(event, 0), 258);
}

}  // namespace
