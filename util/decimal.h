// SPDX-License-Identifier: MIT

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

// The eight digits of a number below 10^8 as characters, the leading one in the lowest byte. Each step
// halves all groups of digits at once: a group's quotient stays in the low half of its bits, and the
// remainder goes to the high half.
inline uint64_t EightDigits(uint32_t value) {
  const uint64_t quotient = value / 10'000;
  const uint64_t fours = quotient | uint64_t{value - quotient * 10'000} << 32;
  // 10486 / 2^20 and 103 / 2^10 divide exactly enough for numbers below 10^4 and 10^2.
  const uint64_t hundreds = (fours * 10'486 >> 20) & 0x0000'007F'0000'007F;
  const uint64_t pairs = hundreds | (fours - hundreds * 100) << 16;
  const uint64_t tens = (pairs * 103 >> 10) & 0x000F'000F'000F'000F;
  const uint64_t digits = tens | (pairs - tens * 10) << 8;
  return digits | 0x3030'3030'3030'3030;
}

}  // namespace decimal

#endif
