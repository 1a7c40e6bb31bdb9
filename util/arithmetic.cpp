// SPDX-License-Identifier: MIT

#include "util/arithmetic.h"

#include <bit>

#include "util/truncation.h"

namespace {

// Shifts the divisor up to below the dividend and comes back bit by bit.
struct Division {
  uint32_t quotient = 0;
  uint32_t remainder;

  Division(uint32_t dividend, uint32_t divisor) : remainder(dividend) {
    uint32_t steps = 1;
    for (; (divisor >> 31) == 0 && divisor * 2 <= dividend; divisor *= 2) ++steps;
    for (; steps > 0; --steps) {
      const bool fits = remainder >= divisor;
      if (fits) remainder -= divisor;
      quotient = quotient * 2 + (fits ? 1 : 0);
      divisor /= 2;
    }
  }
};

}  // namespace

uint32_t UTIL_AbsDiff32(int32_t first, int32_t second) {
  const uint32_t difference = static_cast<uint32_t>(first) - static_cast<uint32_t>(second);
  return first < second ? 0 - difference : difference;
}

uint64_t UTIL_AbsDiff64(uint64_t first, uint64_t second) {
  const uint64_t difference = first - second;
  return static_cast<int64_t>(difference) < 0 ? 0 - difference : difference;
}

uint64_t UTIL_MulDivRound(uint64_t first, uint64_t second, uint64_t divisor) {
  const uint64_t half = divisor >> 1;
  // Two factors of together 63 bits have a product below 2^63, which leaves room for the half.
  if (std::bit_width(first) + std::bit_width(second) < 64) return (first * second + half) / divisor;
  const double product = static_cast<double>(second) * static_cast<double>(first);
  return truncation::ToUnsigned((static_cast<double>(half) + product) /
                                static_cast<double>(divisor));
}

uint32_t UTIL_udivmod(uint32_t dividend, uint32_t divisor, uint32_t* remainder) {
  const Division division(dividend, divisor);
  if (remainder != nullptr) *remainder = division.remainder;
  return division.quotient;
}

uint32_t UTIL_udiv(uint32_t dividend, uint32_t divisor) {
  return Division(dividend, divisor).quotient;
}

uint32_t UTIL_umod(uint32_t dividend, uint32_t divisor) {
  return Division(dividend, divisor).remainder;
}

// The sign of the divisor is not looked at on purpose: callers pass positive ones.
int32_t UTIL_sdiv(int32_t dividend, int32_t divisor) {
  const auto unsigned_dividend = static_cast<uint32_t>(dividend);
  const auto unsigned_divisor = static_cast<uint32_t>(divisor);
  const uint32_t quotient = dividend < 0 ? 0 - UTIL_udiv(0 - unsigned_dividend, unsigned_divisor)
                                         : UTIL_udiv(unsigned_dividend, unsigned_divisor);
  return static_cast<int32_t>(quotient);
}

uint64_t UTIL_gcd(uint64_t first, uint64_t second) {
  if (first == 0 || second == 0) return 0;
  // Shifts and differences take less time than divisions. Twos that both values have are in the
  // divisor; no others are, so they may leave a value, or the difference, which the divisor divides.
  const int twos = std::countr_zero(first | second);
  first >>= std::countr_zero(first);
  second >>= std::countr_zero(second);
  while (first != second) {
    // Both differences, to choose from without a branch: which value is less is anyone's guess.
    const uint64_t difference = first - second;
    const uint64_t opposite = second - first;
    const bool is_less = first < second;
    const uint64_t magnitude = is_less ? opposite : difference;
    second = is_less ? first : second;
    first = magnitude >> std::countr_zero(difference);
  }
  return first << twos;
}

int32_t UTIL_IsInRange(uint64_t address, uint64_t start, uint32_t length) {
  return address >= start && address - start < length;
}

int32_t UTIL_RangesOverlap(uint64_t first_start, uint32_t first_length, uint64_t second_start,
                           uint32_t second_length) {
  if (first_length == 0 || second_length == 0) return 0;
  // The later of the two starts lies in the other range, or no address does.
  return UTIL_IsInRange(first_start, second_start, second_length) |
         UTIL_IsInRange(second_start, first_start, first_length);
}
