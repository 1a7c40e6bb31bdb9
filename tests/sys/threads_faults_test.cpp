// SPDX-License-Identifier: MIT

// Runs sys/threads.cpp on a system whose calls fail, and whose clock runs, as the test plans: the
// linker puts the functions named __wrap_ below in place of the system's.
#include <gtest/gtest.h>
#include <pthread.h>
#include <sys/time.h>
#include <time.h>

#include <bit>
#include <cerrno>
#include <cstdint>
#include <deque>
#include <vector>

#include "sys/thread_objects.h"
#include "sys/threads.h"

namespace {

enum Call {
  kCreate,
  kThreadAttrDestroy,
  kAttrInit,
  kAttrSetType,
  kAttrDestroy,
  kMutexInit,
  kMutexDestroy,
  kLock,
  kTryLock,
  kUnlock,
  kCondInit,
  kCondDestroy,
  kSignal,
  kBroadcast,
  kCondWait,
  kCondTimedWait,
  kClock,
  kSleep,
  kCallKinds,
};

bool is_recording = false;
std::vector<Call> calls;

// The error that a call gives each time instead of doing its work; 0 lets it work.
int errors[kCallKinds] = {};

struct Reading {
  int64_t seconds;  // kNoClock for a failing call
  int64_t microseconds;
};
constexpr int64_t kNoClock = -1;

// What the clock shows, one reading per call.
std::deque<Reading> readings;

// What the waits on a condition return, one result per call.
std::deque<int> wait_results;
bool wait_sets_event = false;

std::vector<timespec> deadlines;
std::vector<timespec> sleeps;

struct {
  SYS_THREAD_FUNC_EX function;
  void* argument;
  int detach_state;
  size_t stack_size;
} created;
const void* mutex_attributes = nullptr;
const void* condition_attributes = nullptr;

// Runs an action with its calls recorded and with the planned errors, and returns its result.
template <typename Action>
auto Record(Action action) {
  calls.clear();
  deadlines.clear();
  sleeps.clear();
  is_recording = true;
  const auto result = action();
  is_recording = false;
  return result;
}

template <typename Real, typename... Arguments>
int Pass(Call call, Real real, Arguments... arguments) {
  if (!is_recording) return real(arguments...);
  calls.push_back(call);
  return errors[call] != 0 ? errors[call] : real(arguments...);
}

}  // namespace

// NOLINTBEGIN(bugprone-reserved-identifier): the linker chose these names.
extern "C" {
int __real_pthread_create(pthread_t*, const pthread_attr_t*, SYS_THREAD_FUNC_EX, void*);
int __wrap_pthread_create(pthread_t*, const pthread_attr_t*, SYS_THREAD_FUNC_EX, void*);
int __real_pthread_attr_destroy(pthread_attr_t*);
int __wrap_pthread_attr_destroy(pthread_attr_t*);
int __real_pthread_mutexattr_init(pthread_mutexattr_t*);
int __wrap_pthread_mutexattr_init(pthread_mutexattr_t*);
int __real_pthread_mutexattr_settype(pthread_mutexattr_t*, int);
int __wrap_pthread_mutexattr_settype(pthread_mutexattr_t*, int);
int __real_pthread_mutexattr_destroy(pthread_mutexattr_t*);
int __wrap_pthread_mutexattr_destroy(pthread_mutexattr_t*);
int __real_pthread_mutex_init(pthread_mutex_t*, const pthread_mutexattr_t*);
int __wrap_pthread_mutex_init(pthread_mutex_t*, const pthread_mutexattr_t*);
int __real_pthread_mutex_destroy(pthread_mutex_t*);
int __wrap_pthread_mutex_destroy(pthread_mutex_t*);
int __real_pthread_mutex_lock(pthread_mutex_t*);
int __wrap_pthread_mutex_lock(pthread_mutex_t*);
int __real_pthread_mutex_trylock(pthread_mutex_t*);
int __wrap_pthread_mutex_trylock(pthread_mutex_t*);
int __real_pthread_mutex_unlock(pthread_mutex_t*);
int __wrap_pthread_mutex_unlock(pthread_mutex_t*);
int __real_pthread_cond_init(pthread_cond_t*, const pthread_condattr_t*);
int __wrap_pthread_cond_init(pthread_cond_t*, const pthread_condattr_t*);
int __real_pthread_cond_destroy(pthread_cond_t*);
int __wrap_pthread_cond_destroy(pthread_cond_t*);
int __real_pthread_cond_signal(pthread_cond_t*);
int __wrap_pthread_cond_signal(pthread_cond_t*);
int __real_pthread_cond_broadcast(pthread_cond_t*);
int __wrap_pthread_cond_broadcast(pthread_cond_t*);
int __real_pthread_cond_wait(pthread_cond_t*, pthread_mutex_t*);
int __wrap_pthread_cond_wait(pthread_cond_t*, pthread_mutex_t*);
int __real_pthread_cond_timedwait(pthread_cond_t*, pthread_mutex_t*, const timespec*);
int __wrap_pthread_cond_timedwait(pthread_cond_t*, pthread_mutex_t*, const timespec*);
int __real_gettimeofday(timeval*, void*);
int __wrap_gettimeofday(timeval*, void*);
int __real_nanosleep(const timespec*, timespec*);
int __wrap_nanosleep(const timespec*, timespec*);
}

// Starts nothing while recording; a failing call leaves a handle of its own choice.
int __wrap_pthread_create(pthread_t* thread, const pthread_attr_t* attributes,
                          SYS_THREAD_FUNC_EX function, void* argument) {
  if (!is_recording) return __real_pthread_create(thread, attributes, function, argument);
  calls.push_back(kCreate);
  created.function = function;
  created.argument = argument;
  pthread_attr_getdetachstate(attributes, &created.detach_state);
  pthread_attr_getstacksize(attributes, &created.stack_size);
  *thread = std::bit_cast<pthread_t>(uintptr_t{0x12345678});
  return errors[kCreate];
}

int __wrap_pthread_attr_destroy(pthread_attr_t* attributes) {
  return Pass(kThreadAttrDestroy, __real_pthread_attr_destroy, attributes);
}

int __wrap_pthread_mutexattr_init(pthread_mutexattr_t* attributes) {
  return Pass(kAttrInit, __real_pthread_mutexattr_init, attributes);
}

int __wrap_pthread_mutexattr_settype(pthread_mutexattr_t* attributes, int type) {
  return Pass(kAttrSetType, __real_pthread_mutexattr_settype, attributes, type);
}

int __wrap_pthread_mutexattr_destroy(pthread_mutexattr_t* attributes) {
  return Pass(kAttrDestroy, __real_pthread_mutexattr_destroy, attributes);
}

int __wrap_pthread_mutex_init(pthread_mutex_t* mutex, const pthread_mutexattr_t* attributes) {
  if (is_recording) mutex_attributes = attributes;
  return Pass(kMutexInit, __real_pthread_mutex_init, mutex, attributes);
}

int __wrap_pthread_mutex_destroy(pthread_mutex_t* mutex) {
  return Pass(kMutexDestroy, __real_pthread_mutex_destroy, mutex);
}

int __wrap_pthread_mutex_lock(pthread_mutex_t* mutex) {
  return Pass(kLock, __real_pthread_mutex_lock, mutex);
}

int __wrap_pthread_mutex_trylock(pthread_mutex_t* mutex) {
  return Pass(kTryLock, __real_pthread_mutex_trylock, mutex);
}

int __wrap_pthread_mutex_unlock(pthread_mutex_t* mutex) {
  return Pass(kUnlock, __real_pthread_mutex_unlock, mutex);
}

int __wrap_pthread_cond_init(pthread_cond_t* condition, const pthread_condattr_t* attributes) {
  if (is_recording) condition_attributes = attributes;
  return Pass(kCondInit, __real_pthread_cond_init, condition, attributes);
}

int __wrap_pthread_cond_destroy(pthread_cond_t* condition) {
  return Pass(kCondDestroy, __real_pthread_cond_destroy, condition);
}

int __wrap_pthread_cond_signal(pthread_cond_t* condition) {
  return Pass(kSignal, __real_pthread_cond_signal, condition);
}

int __wrap_pthread_cond_broadcast(pthread_cond_t* condition) {
  return Pass(kBroadcast, __real_pthread_cond_broadcast, condition);
}

namespace {

SYS_EVENT* waited_event = nullptr;

int NextWaitResult() {
  if (wait_results.empty()) return EDEADLK;  // more waits than planned must not hang the test
  const int result = wait_results.front();
  wait_results.pop_front();
  if (wait_results.empty() && wait_sets_event) waited_event->signalled = 1;
  return result;
}

}  // namespace

int __wrap_pthread_cond_wait(pthread_cond_t* condition, pthread_mutex_t* mutex) {
  if (!is_recording) return __real_pthread_cond_wait(condition, mutex);
  calls.push_back(kCondWait);
  return NextWaitResult();
}

int __wrap_pthread_cond_timedwait(pthread_cond_t* condition, pthread_mutex_t* mutex,
                                  const timespec* deadline) {
  if (!is_recording) return __real_pthread_cond_timedwait(condition, mutex, deadline);
  calls.push_back(kCondTimedWait);
  deadlines.push_back(*deadline);
  return NextWaitResult();
}

int __wrap_gettimeofday(timeval* now, void* zone) {
  if (!is_recording) return __real_gettimeofday(now, zone);
  calls.push_back(kClock);
  const Reading reading = readings.empty() ? Reading{kNoClock, 0} : readings.front();
  if (!readings.empty()) readings.pop_front();
  if (reading.seconds == kNoClock) return -1;
  now->tv_sec = reading.seconds;
  now->tv_usec = static_cast<suseconds_t>(reading.microseconds);
  return 0;
}

int __wrap_nanosleep(const timespec* time, timespec* rest) {
  if (!is_recording) return __real_nanosleep(time, rest);
  calls.push_back(kSleep);
  sleeps.push_back(*time);
  return 0;
}
// NOLINTEND(bugprone-reserved-identifier)

namespace {

using Calls = std::vector<Call>;

// ---- Threads ----

int32_t MinusFive() { return -5; }

int32_t Largest() { return 0x7FFFFFFF; }

void* Nothing(void*) { return nullptr; }

size_t DefaultStackSize() {
  pthread_attr_t attributes;
  pthread_attr_init(&attributes);
  size_t size = 0;
  pthread_attr_getstacksize(&attributes, &size);
  pthread_attr_destroy(&attributes);
  return size;
}

TEST(SysCreateThreadFaults, ThreadIsDetachedAndHasTheDefaultStackSize) {
  Record([] { return SYS_CreateThread(MinusFive, nullptr); });
  EXPECT_EQ(created.detach_state, PTHREAD_CREATE_DETACHED);
  EXPECT_EQ(created.stack_size, DefaultStackSize());
}

TEST(SysCreateThreadExFaults, ThreadIsDetachedAndHasTheDefaultStackSize) {
  Record([] { return SYS_CreateThreadEx(Nothing, nullptr, nullptr); });
  EXPECT_EQ(created.detach_state, PTHREAD_CREATE_DETACHED);
  EXPECT_EQ(created.stack_size, DefaultStackSize());
}

TEST(SysCreateThreadFaults, AttributeObjectIsNotDestroyed) {
  Record([] { return SYS_CreateThread(MinusFive, nullptr); });
  EXPECT_EQ(calls, Calls{kCreate});
  Record([] { return SYS_CreateThreadEx(Nothing, nullptr, nullptr); });
  EXPECT_EQ(calls, Calls{kCreate});
}

TEST(SysCreateThreadFaults, ResultOfTheFunctionIsSignExtended) {
  Record([] { return SYS_CreateThread(MinusFive, nullptr); });
  EXPECT_EQ(reinterpret_cast<uintptr_t>(created.function(created.argument)), 0xFFFFFFFFFFFFFFFBu);
  Record([] { return SYS_CreateThread(Largest, nullptr); });
  EXPECT_EQ(reinterpret_cast<uintptr_t>(created.function(created.argument)), 0x7FFFFFFFu);
}

TEST(SysCreateThreadExFaults, SystemGetsTheCallersFunctionAndArgument) {
  int something = 0;
  Record([&] { return SYS_CreateThreadEx(Nothing, &something, nullptr); });
  EXPECT_EQ(created.function, Nothing);
  EXPECT_EQ(created.argument, &something);
}

TEST(SysCreateThreadFaults, FailureGivesTheHandleAsTheSystemLeftIt) {
  errors[kCreate] = EAGAIN;
  SYS_THREAD_HANDLE stored = 0;
  EXPECT_EQ(Record([&] { return SYS_CreateThread(MinusFive, &stored); }), 0x12345678u);
  EXPECT_EQ(stored, 0x12345678u);
  stored = 0;
  EXPECT_EQ(Record([&] { return SYS_CreateThreadEx(Nothing, nullptr, &stored); }), 0x12345678u);
  EXPECT_EQ(stored, 0x12345678u);
}

// ---- Creating and destroying mutexes ----

TEST(SysMutexCreateFaults, FailingAttributeObjectGivesNullAndLeavesTheSlotFree) {
  SYS_MUTEX* const probe = SYS_MUTEX_Create();
  SYS_MUTEX_Destroy(probe);
  errors[kAttrInit] = ENOMEM;
  EXPECT_EQ(Record(SYS_MUTEX_Create), nullptr);
  EXPECT_EQ(calls, Calls{kAttrInit});
  EXPECT_EQ(SYS_MUTEX_Create(), probe);
}

TEST(SysMutexCreateFaults, FailingTypeDestroysTheAttributeObjectAndGivesNull) {
  SYS_MUTEX* const probe = SYS_MUTEX_Create();
  SYS_MUTEX_Destroy(probe);
  errors[kAttrSetType] = EINVAL;
  EXPECT_EQ(Record(SYS_MUTEX_Create), nullptr);
  EXPECT_EQ(calls, (Calls{kAttrInit, kAttrSetType, kAttrDestroy}));
  EXPECT_EQ(SYS_MUTEX_Create(), probe);
}

TEST(SysMutexCreateFaults, FailingMutexDestroysTheAttributeObjectAndGivesNull) {
  SYS_MUTEX* const probe = SYS_MUTEX_Create();
  SYS_MUTEX_Destroy(probe);
  errors[kMutexInit] = EAGAIN;
  EXPECT_EQ(Record([] { return SYS_MUTEX_CreateNamed("name"); }), nullptr);
  EXPECT_EQ(calls, (Calls{kAttrInit, kAttrSetType, kMutexInit, kAttrDestroy}));
  EXPECT_EQ(SYS_MUTEX_Create(), probe);
}

TEST(SysMutexCreateFaults, AttributeObjectStaysAliveBesideTheMutex) {
  SYS_MUTEX* const mutex = Record(SYS_MUTEX_Create);
  EXPECT_EQ(calls, (Calls{kAttrInit, kAttrSetType, kMutexInit}));
  EXPECT_EQ(mutex_attributes, &mutex->attributes);
}

TEST(SysMutexDestroyFaults, DestroysTheMutexAndThenItsAttributeObject) {
  SYS_MUTEX* mutex = SYS_MUTEX_Create();
  Record([&] {
    SYS_MUTEX_Destroy(mutex);
    return 0;
  });
  EXPECT_EQ(calls, (Calls{kMutexDestroy, kAttrDestroy}));
  mutex = SYS_MUTEX_Create();
  Record([&] {
    SYS_MUTEX_Delete(&mutex);
    return 0;
  });
  EXPECT_EQ(calls, (Calls{kMutexDestroy, kAttrDestroy}));
}

TEST(SysMutexFaults, HandleOfAFreeSlotReachesNoSystemCall) {
  SYS_MUTEX* const mutex = SYS_MUTEX_Create();
  SYS_MUTEX_Destroy(mutex);
  Record([&] {
    SYS_MUTEX_Lock(mutex);
    SYS_MUTEX_LockTimed(mutex, 0);
    SYS_MUTEX_LockTimed(mutex, SYS_INFINITE);
    SYS_MUTEX_Unlock(mutex);
    SYS_MUTEX_Release(mutex);
    SYS_MUTEX_Destroy(mutex);
    return 0;
  });
  EXPECT_EQ(calls, Calls{});
}

// ---- Timed lock ----

int32_t RecordLockTimed(uint32_t timeout_ms) {
  SYS_MUTEX* const mutex = SYS_MUTEX_Create();
  return Record([&] { return SYS_MUTEX_LockTimed(mutex, timeout_ms); });
}

TEST(SysMutexLockTimedFaults, WithoutLimitItIsABlockingLock) {
  EXPECT_EQ(RecordLockTimed(0xFFFFFFFF), 0);
  EXPECT_EQ(calls, Calls{kLock});
}

TEST(SysMutexLockTimedFaults, FailingLockWithoutLimitGivesMinusOne) {
  errors[kLock] = EAGAIN;
  EXPECT_EQ(RecordLockTimed(0xFFFFFFFF), -1);
}

TEST(SysMutexLockTimedFaults, AnyErrorButBusyGivesMinusOneAtOnce) {
  for (const int error : {EINVAL, EAGAIN, EDEADLK}) {
    SCOPED_TRACE(error);
    errors[kTryLock] = error;
    readings = {{100, 0}};
    EXPECT_EQ(RecordLockTimed(1000), -1);
    EXPECT_EQ(calls, (Calls{kClock, kTryLock}));
  }
}

TEST(SysMutexLockTimedFaults, ClockThatCannotBeReadAtTheStartGivesATimeOut) {
  readings = {{kNoClock, 0}};
  EXPECT_EQ(RecordLockTimed(1000), 258);
}

TEST(SysMutexLockTimedFaults, ClockThatCannotBeReadLaterGivesATimeOut) {
  errors[kTryLock] = EBUSY;
  readings = {{100, 0}, {100, 1000}, {kNoClock, 0}};
  EXPECT_EQ(RecordLockTimed(1000), 258);
  EXPECT_EQ(calls, (Calls{kClock, kTryLock, kSleep, kClock, kTryLock, kSleep, kClock}));
}

TEST(SysMutexLockTimedFaults, SleepsAMillisecondBetweenTwoAttempts) {
  errors[kTryLock] = EBUSY;
  readings = {{100, 0}, {100, 1000}, {200, 0}};
  EXPECT_EQ(RecordLockTimed(5000), 258);
  ASSERT_EQ(sleeps.size(), 2u);
  for (const timespec& sleep : sleeps) {
    EXPECT_EQ(sleep.tv_sec, 0);
    EXPECT_EQ(sleep.tv_nsec, 1'000'000);
  }
}

TEST(SysMutexLockTimedFaults, TimeOutOfZeroTriesOnceSleepsOnceAndGivesUp) {
  errors[kTryLock] = EBUSY;
  readings = {{100, 0}, {100, 1100}};
  EXPECT_EQ(RecordLockTimed(0), 258);
  EXPECT_EQ(calls, (Calls{kClock, kTryLock, kSleep, kClock}));
}

TEST(SysMutexLockTimedFaults, GivesUpOnlyWhenNowIsBehindTheDeadline) {
  const struct {
    uint32_t timeout_ms;
    Reading start;
    Reading last_in_time;
    Reading first_behind;
  } cases[] = {
      {0, {100, 0}, {100, 0}, {100, 1}},
      {1, {100, 0}, {100, 1000}, {100, 1001}},
      {1, {100, 998'999}, {100, 999'999}, {101, 0}},
      {1, {100, 999'000}, {101, 0}, {101, 1}},  // the microseconds reach a full second
      {1, {100, 999'999}, {101, 999}, {101, 1000}},
      {999, {100, 1000}, {101, 0}, {101, 1}},
      {1000, {100, 500'000}, {101, 500'000}, {101, 500'001}},
      {2500, {100, 250'000}, {102, 750'000}, {102, 750'001}},
      {2500, {100, 750'000}, {103, 250'000}, {103, 250'001}},
      {2500, {100, 750'000}, {102, 999'999}, {104, 0}},  // later second, earlier part
      {0xFFFFFFFE, {100, 0}, {4'295'067, 294'000}, {4'295'067, 294'001}},  // 4,294,967.294 s
      {1000, {100, 500'000}, {50, 999'999}, {101, 500'001}},               // the clock was set back
  };
  errors[kTryLock] = EBUSY;
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << c.timeout_ms << " ms from " << c.start.microseconds);
    readings = {c.start, c.last_in_time, c.first_behind};
    EXPECT_EQ(RecordLockTimed(c.timeout_ms), 258);
    EXPECT_EQ(calls, (Calls{kClock, kTryLock, kSleep, kClock, kTryLock, kSleep, kClock}));
  }
}

// ---- Creating, destroying and setting events ----

TEST(SysEventCreateFaults, FailingMutexGivesMinusOneAndLeavesTheSlotFree) {
  SYS_EVENT* const probe = SYS_EVENT_Create(0, 0);
  SYS_EVENT_Destroy(probe);
  errors[kMutexInit] = EAGAIN;
  EXPECT_EQ(Record([] { return SYS_EVENT_Create(0, 0); }), SYS_EVENT_INVALID);
  EXPECT_EQ(calls, Calls{kMutexInit});
  EXPECT_EQ(SYS_EVENT_Create(0, 0), probe);
}

TEST(SysEventCreateFaults, FailingConditionGivesMinusOneAndDoesNotDestroyTheMutex) {
  SYS_EVENT* const probe = SYS_EVENT_Create(0, 0);
  SYS_EVENT_Destroy(probe);
  errors[kCondInit] = EAGAIN;
  EXPECT_EQ(Record([] { return SYS_EVENT_Create(0, 0); }), SYS_EVENT_INVALID);
  EXPECT_EQ(calls, (Calls{kMutexInit, kCondInit}));
  EXPECT_EQ(SYS_EVENT_Create(0, 0), probe);
}

TEST(SysEventCreateFaults, MutexAndConditionHaveDefaultAttributes) {
  mutex_attributes = condition_attributes = &calls;
  Record([] { return SYS_EVENT_Create(0, 0); });
  EXPECT_EQ(mutex_attributes, nullptr);
  EXPECT_EQ(condition_attributes, nullptr);
}

TEST(SysEventDestroyFaults, DestroysTheMutexAndTheConditionAndWakesNobody) {
  SYS_EVENT* const event = SYS_EVENT_Create(0, 0);
  Record([&] {
    SYS_EVENT_Destroy(event);
    return 0;
  });
  EXPECT_EQ(calls, (Calls{kMutexDestroy, kCondDestroy}));
}

TEST(SysEventFaults, HandleOfAFreeSlotReachesNoSystemCall) {
  SYS_EVENT* const event = SYS_EVENT_Create(0, 1);
  SYS_EVENT_Destroy(event);
  Record([&] {
    SYS_EVENT_Set(event);
    SYS_EVENT_Wait(event, 0);
    SYS_EVENT_Wait(event, SYS_INFINITE);
    SYS_EVENT_Destroy(event);
    return 0;
  });
  EXPECT_EQ(calls, Calls{});
}

int RecordSet(SYS_EVENT* event) {
  return Record([&] {
    SYS_EVENT_Set(event);
    return 0;
  });
}

TEST(SysEventSetFaults, SignalsOnceAfterTheUnlock) {
  SYS_EVENT* const event = SYS_EVENT_Create(0, 0);
  RecordSet(event);
  EXPECT_EQ(calls, (Calls{kLock, kUnlock, kSignal}));
  EXPECT_EQ(event->signalled, 1u);
}

TEST(SysEventSetFaults, FailingLockLeavesTheEventAsItIs) {
  SYS_EVENT* const event = SYS_EVENT_Create(0, 0);
  errors[kLock] = EINVAL;
  RecordSet(event);
  EXPECT_EQ(calls, Calls{kLock});
  EXPECT_EQ(event->signalled, 0u);
}

TEST(SysEventSetFaults, FailingUnlockSignalsNobody) {
  SYS_EVENT* const event = SYS_EVENT_Create(0, 0);
  errors[kUnlock] = EPERM;
  RecordSet(event);
  EXPECT_EQ(calls, (Calls{kLock, kUnlock}));
  EXPECT_EQ(event->signalled, 1u);
}

// ---- Waiting for events ----

// A wait on a new event that is reset, with what the condition's waits shall return.
int32_t RecordWait(uint32_t timeout_ms, const std::deque<int>& results, bool sets_event) {
  waited_event = SYS_EVENT_Create(0, 0);
  wait_results = results;
  wait_sets_event = sets_event;
  return Record([&] { return SYS_EVENT_Wait(waited_event, timeout_ms); });
}

TEST(SysEventWaitFaults, SetEventNeedsNeitherConditionNorClock) {
  SYS_EVENT* const event = SYS_EVENT_Create(0, 0);
  for (const uint32_t timeout_ms : {0u, 1000u, 0xFFFFFFFFu}) {
    SCOPED_TRACE(timeout_ms);
    SYS_EVENT_Set(event);
    EXPECT_EQ(Record([&] { return SYS_EVENT_Wait(event, timeout_ms); }), 0);
    EXPECT_EQ(calls, (Calls{kLock, kUnlock}));
    EXPECT_EQ(event->signalled, 0u);
  }
}

TEST(SysEventWaitFaults, FailingLockGivesMinusOne) {
  SYS_EVENT* const event = SYS_EVENT_Create(0, 1);
  errors[kLock] = EINVAL;
  EXPECT_EQ(Record([&] { return SYS_EVENT_Wait(event, 0); }), -1);
  EXPECT_EQ(calls, Calls{kLock});
  EXPECT_EQ(event->signalled, 1u);
}

TEST(SysEventWaitFaults, FailingUnlockAfterSuccessGivesMinusOneAndConsumesTheEvent) {
  SYS_EVENT* const event = SYS_EVENT_Create(0, 1);
  errors[kUnlock] = EPERM;
  EXPECT_EQ(Record([&] { return SYS_EVENT_Wait(event, 0); }), -1);
  EXPECT_EQ(event->signalled, 0u);
}

TEST(SysEventWaitFaults, WithoutLimitItWaitsUntilTheEventIsSet) {
  EXPECT_EQ(RecordWait(0xFFFFFFFF, {0, 0, 0}, true), 0);
  EXPECT_EQ(calls, (Calls{kLock, kCondWait, kCondWait, kCondWait, kUnlock}));
  EXPECT_EQ(waited_event->signalled, 0u);
}

TEST(SysEventWaitFaults, FailingWaitWithoutLimitUnlocksAndGivesMinusOne) {
  EXPECT_EQ(RecordWait(0xFFFFFFFF, {EINVAL}, false), -1);
  EXPECT_EQ(calls, (Calls{kLock, kCondWait, kUnlock}));
}

TEST(SysEventWaitFaults, ClockThatCannotBeReadUnlocksAndGivesMinusOne) {
  readings = {{kNoClock, 0}};
  EXPECT_EQ(RecordWait(1000, {}, false), -1);
  EXPECT_EQ(calls, (Calls{kLock, kClock, kUnlock}));
}

TEST(SysEventWaitFaults, WokenWaitConsumesTheEvent) {
  readings = {{100, 0}};
  EXPECT_EQ(RecordWait(1000, {0}, true), 0);
  EXPECT_EQ(calls, (Calls{kLock, kClock, kCondTimedWait, kUnlock}));
  EXPECT_EQ(waited_event->signalled, 0u);
}

TEST(SysEventWaitFaults, TimeOutUnlocksAndGives258) {
  readings = {{100, 0}};
  EXPECT_EQ(RecordWait(1000, {ETIMEDOUT}, false), 258);
  EXPECT_EQ(calls, (Calls{kLock, kClock, kCondTimedWait, kUnlock}));
}

TEST(SysEventWaitFaults, TimeOutGives258AlsoWhenTheEventIsSetJustThen) {
  readings = {{100, 0}};
  EXPECT_EQ(RecordWait(1000, {ETIMEDOUT}, true), 258);
  EXPECT_EQ(waited_event->signalled, 1u);
}

TEST(SysEventWaitFaults, FailingUnlockAfterATimeOutGivesMinusOne) {
  errors[kUnlock] = EPERM;
  readings = {{100, 0}};
  EXPECT_EQ(RecordWait(1000, {ETIMEDOUT}, false), -1);
}

TEST(SysEventWaitFaults, AnyOtherErrorUnlocksAndGivesMinusOne) {
  for (const int error : {EINVAL, EPERM}) {
    SCOPED_TRACE(error);
    readings = {{100, 0}};
    EXPECT_EQ(RecordWait(1000, {error}, false), -1);
    EXPECT_EQ(calls, (Calls{kLock, kClock, kCondTimedWait, kUnlock}));
  }
}

TEST(SysEventWaitFaults, DeadlineIsNowPlusTheTimeOut) {
  const struct {
    uint32_t timeout_ms;
    Reading now;
    int64_t seconds;
    int64_t nanoseconds;
  } cases[] = {
      {0, {100, 7}, 100, 7000},
      {1, {100, 998'999}, 100, 999'999'000},
      {1, {100, 999'000}, 101, 0},  // the microseconds reach a full second
      {1, {100, 999'999}, 101, 999'000},
      {1000, {100, 500'000}, 101, 500'000'000},
      {1500, {100, 250'000}, 101, 750'000'000},
      {1500, {100, 750'000}, 102, 250'000'000},
      {0xFFFFFFFE, {100, 0}, 4'295'067, 294'000'000},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << c.timeout_ms << " ms from " << c.now.microseconds);
    readings = {c.now};
    EXPECT_EQ(RecordWait(c.timeout_ms, {ETIMEDOUT}, false), 258);
    ASSERT_EQ(deadlines.size(), 1u);
    EXPECT_EQ(deadlines[0].tv_sec, c.seconds);
    EXPECT_EQ(deadlines[0].tv_nsec, c.nanoseconds);
  }
}

TEST(SysEventWaitFaults, WakeUpWithoutCauseStartsTheTimeOutAfresh) {
  readings = {{100, 0}, {100, 900'000}, {101, 800'000}};
  EXPECT_EQ(RecordWait(1000, {0, 0, ETIMEDOUT}, false), 258);
  ASSERT_EQ(deadlines.size(), 3u);
  EXPECT_EQ(deadlines[0].tv_sec, 101);
  EXPECT_EQ(deadlines[0].tv_nsec, 0);
  EXPECT_EQ(deadlines[1].tv_sec, 101);
  EXPECT_EQ(deadlines[1].tv_nsec, 900'000'000);
  EXPECT_EQ(deadlines[2].tv_sec, 102);
  EXPECT_EQ(deadlines[2].tv_nsec, 800'000'000);
}

}  // namespace
