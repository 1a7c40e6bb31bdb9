// SPDX-License-Identifier: MIT

// Hexadecimal digits of whole numbers.
#ifndef TARVEN_UTIL_HEXADECIMAL_H_
#define TARVEN_UTIL_HEXADECIMAL_H_

#include <bit>
#include <cstdint>

#include "util/byte_order.h"

namespace hexadecimal {

// From the character behind "9" to the first letter.
inline constexpr uint64_t kToUpperLetters = 'A' - '9' - 1;
inline constexpr uint64_t kToLowerLetters = 'a' - '9' - 1;

// How many digits a number has; 0 has one.
inline uint32_t Length(uint64_t value) {
  return (static_cast<uint32_t>(std::bit_width(value | 1)) + 3) / 4;
}

// The eight digits of a number as characters, the leading one in the lowest byte.
inline uint64_t EightDigits(uint32_t value, uint64_t to_letters) {
  const uint64_t bytes = byte_order::Swapped(value);
  const uint64_t halves = (bytes | bytes << 16) & 0x0000'FFFF'0000'FFFF;
  const uint64_t pairs = (halves | halves << 8) & 0x00FF'00FF'00FF'00FF;
  const uint64_t digits = ((pairs >> 4) | pairs << 8) & 0x0F0F'0F0F'0F0F'0F0F;
  // Only 10 and more reach bit 4 with 6 added.
  const uint64_t is_letter = ((digits + 0x0606'0606'0606'0606) >> 4) & 0x0101'0101'0101'0101;
  return digits + 0x3030'3030'3030'3030 + is_letter * to_letters;
}

}  // namespace hexadecimal

#endif
