// SPDX-License-Identifier: MIT

#include "sys/memory.h"

#include <atomic>
#include <cstdlib>
#include <cstring>

#include "util/format.h"

namespace {

std::atomic<int32_t> spin_flag = 0;
std::atomic<uint64_t> user_value = 0;

// The place where a report would be hooked in. The text goes nowhere on purpose: callers see a
// failed allocation by its null result alone.
void ReportFailedAllocation(uint32_t size) {
  char message[64];
  UTIL_snprintf(message, sizeof message, "Failed to allocate 0x%.8X bytes of memory!", size);
}

}  // namespace

void* SYS_MEM_Alloc(uint32_t size) {
  void* const memory = malloc(size);
  if (memory == nullptr) ReportFailedAllocation(size);
  return memory;
}

void* SYS_MEM_AllocNamed(uint32_t size, const char*) { return SYS_MEM_Alloc(size); }

void* SYS_MEM_AllocBlock(uint32_t size) { return SYS_MEM_Alloc(size); }

void* SYS_MEM_Realloc(void* memory, uint32_t size) { return realloc(memory, size); }

void SYS_MEM_Free(void* memory) { free(memory); }

void SYS_MEM_FreeAndClear(void* address_of_pointer) {
  if (address_of_pointer == nullptr) return;
  void* memory = nullptr;
  memcpy(&memory, address_of_pointer, sizeof memory);
  SYS_MEM_Free(memory);
  memset(address_of_pointer, 0, sizeof memory);
}

int32_t SYS_SpinSync() {
  int32_t expected = 0;
  while (!spin_flag.compare_exchange_weak(expected, 1)) expected = 0;
  expected = 1;
  spin_flag.compare_exchange_strong(expected, 0);
  return 0;
}

void SYS_SetUserValue(uint64_t value) { user_value.store(value, std::memory_order_relaxed); }

uint64_t SYS_GetUserValue() { return user_value.load(std::memory_order_relaxed); }
