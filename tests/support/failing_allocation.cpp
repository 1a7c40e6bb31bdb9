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

void* __wrap_malloc(size_t size) { return MustFail() ? nullptr : __real_malloc(size); }

void* __wrap_realloc(void* memory, size_t size) {
  return MustFail() ? nullptr : __real_realloc(memory, size);
}

}  // extern "C"

namespace support {

FailingAllocation::FailingAllocation(uint32_t nth, Extent extent) {
  calls = 0;
  first_failing = nth;
  last_failing = extent == Extent::kOnce ? nth : UINT32_MAX;
}

FailingAllocation::~FailingAllocation() { last_failing = 0; }

uint32_t FailingAllocation::Calls() { return calls; }

}  // namespace support
