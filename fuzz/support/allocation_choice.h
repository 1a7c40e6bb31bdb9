// SPDX-License-Identifier: MIT

// Which allocation is to fail, as one byte of an input says.
#ifndef TARVEN_FUZZ_SUPPORT_ALLOCATION_CHOICE_H_
#define TARVEN_FUZZ_SUPPORT_ALLOCATION_CHOICE_H_

#include <cstdint>
#include <optional>

#include "tests/support/failing_allocation.h"

namespace fuzz {

// While the object lives, the nth allocation fails, n being the byte's upper seven bits; with its
// lowest bit set, all behind it as well. 0 and 1 let none fail.
class AllocationChoice {
 public:
  explicit AllocationChoice(uint8_t byte) {
    using Extent = support::FailingAllocation::Extent;
    const uint32_t nth = byte / 2;
    if (nth != 0) failing_.emplace(nth, byte % 2 == 0 ? Extent::kOnce : Extent::kFromThenOn);
  }

  bool fails() const { return failing_.has_value(); }

 private:
  std::optional<support::FailingAllocation> failing_;
};

}  // namespace fuzz

#endif
