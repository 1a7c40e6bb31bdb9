#include "tests/support/failing_allocation.h"

#include <cstddef>

namespace {

uint32_t countdown = 0;  // 0 = no allocation fails
bool fails_from_then_on = false;
bool has_failed = false;

bool FailsNow() {
  if (has_failed && fails_from_then_on) return true;
  if (countdown == 0 || --countdown > 0) return false;
  has_failed = true;
  return true;
}

}  // namespace

// The linker's names for the functions behind --wrap and for those in front.
extern "C" {
void* __real_malloc(size_t size);
void* __real_realloc(void* memory, size_t size);
void* __wrap_malloc(size_t size);
void* __wrap_realloc(void* memory, size_t size);
}

void* __wrap_malloc(size_t size) { return FailsNow() ? nullptr : __real_malloc(size); }

void* __wrap_realloc(void* memory, size_t size) {
  return FailsNow() ? nullptr : __real_realloc(memory, size);
}

namespace support {

FailingAllocation::FailingAllocation(uint32_t nth, Extent extent) {
  countdown = nth;
  fails_from_then_on = extent == Extent::kFromThenOn;
  has_failed = false;
}

FailingAllocation::~FailingAllocation() {
  countdown = 0;
  fails_from_then_on = false;
}

bool FailingAllocation::HasFailed() { return has_failed; }

}  // namespace support
