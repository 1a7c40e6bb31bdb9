// SPDX-License-Identifier: MIT

#include "tests/support/failing_allocation.h"

#include <atomic>
#include <cerrno>
#include <cstddef>
#include <cstdlib>

namespace {

// Both 0 while no allocation is to fail.
std::atomic<uint32_t> first_failing = 0;
std::atomic<uint32_t> last_failing = 0;
std::atomic<uint32_t> calls = 0;
std::atomic<int32_t> unfreed = 0;

bool MustFail() {
  const uint32_t last = last_failing.load();
  if (last == 0) return false;
  const uint32_t call = ++calls;
  if (call < first_failing.load() || call > last) return false;
  errno = ENOMEM;
  return true;
}

}  // namespace

// The linker sends every call of malloc to __wrap_malloc and of __real_malloc to malloc itself.
extern "C" {

void* __real_malloc(size_t size);
void* __real_realloc(void* memory, size_t size);
void __real_free(void* memory);

void* __wrap_malloc(size_t size) {
  if (MustFail()) return nullptr;
  void* const memory = __real_malloc(size);
  if (memory != nullptr) ++unfreed;
  return memory;
}

void* __wrap_realloc(void* memory, size_t size) {
  if (MustFail()) return nullptr;
  const bool is_new = memory == nullptr;
  void* const moved = __real_realloc(memory, size);
  if (is_new && moved != nullptr) ++unfreed;
  return moved;
}

void __wrap_free(void* memory);
void __wrap_free(void* memory) {
  if (memory != nullptr) --unfreed;
  __real_free(memory);
}

}  // extern "C"

namespace support {

FailingAllocation::FailingAllocation(uint32_t nth, Extent extent) {
  calls = 0;
  unfreed = 0;
  first_failing = nth;
  last_failing = extent == Extent::kOnce ? nth : UINT32_MAX;
}

FailingAllocation::~FailingAllocation() { last_failing = 0; }

uint32_t FailingAllocation::Calls() { return calls; }

int32_t FailingAllocation::Unfreed() { return unfreed; }

}  // namespace support
