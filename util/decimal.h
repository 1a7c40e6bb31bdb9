// Decimal digits of whole numbers.
#ifndef TARVEN_UTIL_DECIMAL_H_
#define TARVEN_UTIL_DECIMAL_H_

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>

namespace decimal {

// The powers of a base from 0 up, as many as count.
template <size_t count>
constexpr std::array<uint64_t, count> PowersOf(uint64_t base) {
  std::array<uint64_t, count> powers{};
  uint64_t power = 1;
  for (uint64_t& entry : powers) {
    entry = power;
    power *= base;
  }
  return powers;
}

inline constexpr std::array<uint64_t, 20> kPowersOfTen = PowersOf<20>(10);

// How many digits a number has; 0 has one. 1233 / 4096 is log10(2) from just below, which makes the
// estimate right or one too low for every bit width up to 64 (Hacker's Delight, "Integer Log Base
// 10").
inline uint32_t Length(uint64_t value) {
  const uint64_t non_zero = value | 1;  // as many digits as value, and 1 for 0
  const uint32_t estimate = (static_cast<uint32_t>(std::bit_width(non_zero)) * 1233) >> 12;
  return estimate + (non_zero >= kPowersOfTen[estimate] ? 1 : 0);
}

}  // namespace decimal

#endif
