// SPDX-License-Identifier: MIT

// Up to eight characters in a word, the first one in the lowest byte.
#ifndef TARVEN_UTIL_CHARACTER_WORD_H_
#define TARVEN_UTIL_CHARACTER_WORD_H_

#include <bit>
#include <cstddef>
#include <cstdint>

#include "util/byte_order.h"

namespace character_word {

inline constexpr size_t kWordSize = sizeof(uint64_t);

// A word of the same character.
constexpr uint64_t Of(char character) {
  return static_cast<uint8_t>(character) * UINT64_C(0x0101'0101'0101'0101);
}

// Loads 1 to 8 characters and nothing behind them; zeros follow in the word.
inline uint64_t Load(const char* source, size_t count) {
  using byte_order::LoadLittle;
  // Two loads that overlap are quicker than one of each size.
  if (count >= 4) {
    const uint64_t last = LoadLittle<uint32_t>(source + count - 4);
    return LoadLittle<uint32_t>(source) | last << (8 * (count - 4));
  }
  if (count >= 2) {
    const uint64_t last = LoadLittle<uint16_t>(source + count - 2);
    return LoadLittle<uint16_t>(source) | last << (8 * (count - 2));
  }
  return static_cast<uint8_t>(*source);
}

// Stores the first characters of a word, 0 to 8, and nothing behind them.
inline void Store(char* destination, uint64_t word, size_t count) {
  using byte_order::StoreLittle;
  if (count >= 4) {
    StoreLittle(destination, static_cast<uint32_t>(word));
    StoreLittle(destination + count - 4, static_cast<uint32_t>(word >> (8 * (count - 4))));
  } else if (count >= 2) {
    StoreLittle(destination, static_cast<uint16_t>(word));
    StoreLittle(destination + count - 2, static_cast<uint16_t>(word >> (8 * (count - 2))));
  } else if (count == 1) {
    *destination = static_cast<char>(word);
  }
}

// Marks where a character stands in a word: the lowest bit that is set lies in the first such byte.
// The bits above may be false (Hacker's Delight, "Find First 0-Byte").
inline uint64_t Matches(uint64_t word, char character) {
  const uint64_t difference = word ^ Of(character);
  return (difference - Of(1)) & ~difference & Of('\x80');
}

// The place of the first mark; 8 without one.
inline size_t First(uint64_t matches) { return static_cast<size_t>(std::countr_zero(matches)) / 8; }

}  // namespace character_word

#endif
