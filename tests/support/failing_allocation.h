// SPDX-License-Identifier: MIT

// Allocations that fail when a test wants them to.
#ifndef TARVEN_TESTS_SUPPORT_FAILING_ALLOCATION_H_
#define TARVEN_TESTS_SUPPORT_FAILING_ALLOCATION_H_

#include <cstdint>

namespace support {

// While the object lives, the malloc and realloc calls of the objects that are linked into the test
// program (shared libraries and operator new go on undisturbed) are counted, and the nth of them,
// counted from 1, gives null with ENOMEM: only that one, or that one and all behind it. One object
// at a time.
//
// A test program asks for it with the library tarven_failing_allocation, which has the linker
// redirect these two functions and free. That works with and without sanitizers, and with linkers
// that know --wrap.
class FailingAllocation {
 public:
  enum class Extent { kOnce, kFromThenOn };

  explicit FailingAllocation(uint32_t nth, Extent extent = Extent::kOnce);
  ~FailingAllocation();
  FailingAllocation(const FailingAllocation&) = delete;
  FailingAllocation& operator=(const FailingAllocation&) = delete;

  // How many calls were made so far, failed ones included.
  static uint32_t Calls();

  // How many blocks were allocated so far and not freed again. A block of an earlier time that was
  // freed counts as -1, so that 0 means: all that was taken was given back.
  static int32_t Unfreed();
};

}  // namespace support

#endif
