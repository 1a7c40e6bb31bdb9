// SPDX-License-Identifier: MIT

// Searches that look at 16 bytes a step, on any processor. They load the bytes that they are given and
// no others.
#ifndef TARVEN_UTIL_BYTE_BLOCKS_H_
#define TARVEN_UTIL_BYTE_BLOCKS_H_

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>

#include "util/byte_order.h"

namespace byte_blocks {

using Block [[gnu::vector_size(16)]] = uint8_t;

// ---- What counts as a difference ----

// The difference of two blocks is not 0 in the bytes that differ.

struct Exact {
  static Block Difference(Block first, Block second) { return first ^ second; }
};

struct WithoutCase {
  // The one bit in which "A" to "Z" and "a" to "z" differ makes no difference in letters.
  static Block Difference(Block first, Block second) {
    constexpr uint8_t kCaseBit = 'a' - 'A';
    const auto is_letter = static_cast<Block>((first | kCaseBit) - 'a' <= 'z' - 'a');
    return (first ^ second) & ~(is_letter & kCaseBit);
  }
};

// ---- What is searched ----

// Each gives the difference in the block that a function loads from a buffer.

// Two buffers.
template <typename Rule>
class Pair {
 public:
  Pair(const void* first, const void* second)
      : first_(static_cast<const uint8_t*>(first)), second_(static_cast<const uint8_t*>(second)) {}

  template <typename Load>
  Block Difference(Load load) const {
    return Rule::Difference(load(first_), load(second_));
  }

 private:
  const uint8_t* first_;
  const uint8_t* second_;
};

// One buffer, and a byte that each of its bytes is compared with.
class Repeated {
 public:
  Repeated(const void* buffer, uint8_t byte)
      : buffer_(static_cast<const uint8_t*>(buffer)), repeated_(Block{} + byte) {}

  template <typename Load>
  Block Difference(Load load) const {
    return load(buffer_) ^ repeated_;
  }

 private:
  const uint8_t* buffer_;
  Block repeated_;
};

// ---- The search ----

using Halves [[gnu::vector_size(16)]] = uint64_t;

inline bool IsAnySet(Block block) {
  const auto halves = std::bit_cast<Halves>(block);
  return (halves[0] | halves[1]) != 0;
}

// The index of the first byte that is not 0; there is one.
inline int64_t FirstSet(uint64_t bytes) { return std::countr_zero(bytes) / 8; }

inline int64_t FirstSet(Block block) {
  const auto halves = std::bit_cast<Halves>(block);
  return halves[0] != 0 ? FirstSet(halves[0]) : 8 + FirstSet(halves[1]);
}

// Looks at the first word and the last one, which are all that there is.
template <typename Word, typename Source>
int64_t FirstDifferenceInEnds(Source source, size_t size) {
  const size_t last = size - sizeof(Word);
  const auto ends = std::bit_cast<Halves>(source.Difference([=](const uint8_t* buffer) {
    // A narrow word is repeated, so that nothing else stands in its half.
    constexpr uint64_t kOnceInEachWord = ~uint64_t{0} / static_cast<Word>(~Word{0});
    return std::bit_cast<Block>(
        Halves{byte_order::LoadLittle<Word>(buffer) * kOnceInEachWord,
               byte_order::LoadLittle<Word>(buffer + last) * kOnceInEachWord});
  }));
  if (ends[0] != 0) return FirstSet(ends[0]);
  return ends[1] != 0 ? static_cast<int64_t>(last) + FirstSet(ends[1]) : -1;
}

template <typename Source>
int64_t FirstDifferenceInFew(Source source, size_t size) {
  if (size >= 8) return FirstDifferenceInEnds<uint64_t>(source, size);
  if (size >= 4) return FirstDifferenceInEnds<uint32_t>(source, size);
  if (size >= 2) return FirstDifferenceInEnds<uint16_t>(source, size);
  return size == 1 ? FirstDifferenceInEnds<uint8_t>(source, size) : -1;
}

// Returns the index of the first byte that differs, or -1. A call would take as long as a short search.
template <typename Source>
[[gnu::always_inline]] inline int64_t FirstDifference(Source source, size_t size) {
  // Blocks are looked at in groups, since asking what a comparison gave takes longer than making it.
  constexpr size_t kGroup = 4 * sizeof(Block);

  if (size < sizeof(Block)) return FirstDifferenceInFew(source, size);
  const auto block = [&](size_t index) {
    return source.Difference(
        [=](const uint8_t* buffer) { return byte_order::LoadLittle<Block>(buffer + index); });
  };
  const auto group = [&](size_t index) {
    return block(index) | block(index + 16) | block(index + 32) | block(index + 48);
  };
  size_t i = 0;
  while (size - i > kGroup && !IsAnySet(group(i))) i += kGroup;
  const size_t last = size - sizeof(Block);
  while (i < last && !IsAnySet(block(i))) i += sizeof(Block);
  // The last block overlaps the one before where less than a block is left.
  i = std::min(i, last);
  const Block difference = block(i);
  return IsAnySet(difference) ? static_cast<int64_t>(i) + FirstSet(difference) : -1;
}

}  // namespace byte_blocks

#endif
