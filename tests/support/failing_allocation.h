// Memory that runs out on demand.
//
// Works in test programs that are linked with the options of tarven_failing_allocation: what their
// own objects and the product's take through malloc and realloc passes through here. Libraries of
// the system are not touched.
#ifndef TARVEN_TESTS_SUPPORT_FAILING_ALLOCATION_H_
#define TARVEN_TESTS_SUPPORT_FAILING_ALLOCATION_H_

#include <cstdint>

namespace support {

// While it lives, the nth allocation from now on fails (counted from 1), and with kFromThenOn every
// later one, too. One at a time; for one thread.
class FailingAllocation {
 public:
  enum class Extent { kOnce, kFromThenOn };

  explicit FailingAllocation(uint32_t nth, Extent extent = Extent::kOnce);
  ~FailingAllocation();
  FailingAllocation(const FailingAllocation&) = delete;
  FailingAllocation& operator=(const FailingAllocation&) = delete;

  // Whether the nth allocation was asked for.
  static bool HasFailed();
};

}  // namespace support

#endif
