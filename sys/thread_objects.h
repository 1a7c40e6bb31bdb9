// SPDX-License-Identifier: MIT

// What a mutex and an event are made of. Callers of the layer see their addresses alone.
#ifndef TARVEN_SYS_THREAD_OBJECTS_H_
#define TARVEN_SYS_THREAD_OBJECTS_H_

#include <pthread.h>

#include <atomic>
#include <cstdint>

#include "sys/threads.h"

// Both records start with the slot's state, which has no lock on purpose: non-zero while the slot
// holds a live object. Storing it publishes the other fields.
struct SYS_MUTEX {
  std::atomic<uint32_t> in_use;
  char name[32];
  pthread_mutex_t mutex;
  pthread_mutexattr_t attributes;  // lives as long as the mutex
};

struct SYS_EVENT {
  std::atomic<uint32_t> in_use;
  std::atomic<uint32_t> signalled;  // 1 when set; waited for and set with the mutex held
  pthread_mutex_t mutex;
  pthread_cond_t condition;
  std::atomic<uint32_t> waiters;  // threads inside SYS_EVENT_Wait
};

#endif
