// SPDX-License-Identifier: MIT

// From double precision back to whole numbers.
#ifndef TARVEN_UTIL_TRUNCATION_H_
#define TARVEN_UTIL_TRUNCATION_H_

#include <cstdint>

namespace truncation {

// The whole part of a value that is not negative. Values of 2^64 and above, which have none in 64
// bits, give 2^63.
inline uint64_t ToUnsigned(double value) {
  constexpr uint64_t kHighestBit = uint64_t{1} << 63;
  return value < 0x1p64 ? static_cast<uint64_t>(value) : kHighestBit;
}

}  // namespace truncation

#endif
