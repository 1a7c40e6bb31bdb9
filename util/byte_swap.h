// SPDX-License-Identifier: MIT

// Byte reversal of whole runs of an array with the processor's byte shuffle.
#ifndef TARVEN_UTIL_BYTE_SWAP_H_
#define TARVEN_UTIL_BYTE_SWAP_H_

#include <cstddef>
#include <cstdint>

namespace byte_swap {

// A run is 16 elements of 2 bytes, 8 of 4 or 4 of 8.
inline constexpr size_t kRunSize = 32;

// How many bytes of a run one operation shuffles.
enum class Shuffle : uint8_t { kNone, k16Bytes, k32Bytes };

// The widest that this processor has; others of it may be used as well.
Shuffle WidestShuffle();

// Copies elements of 2, 4 or 8 bytes, each with its bytes in reverse order, for as many whole runs
// as size bytes hold. Returns the number of bytes done, none without a shuffle.
//
// REQUIRES: destination is source, lies before it, or begins a run or more behind it.
size_t SwapRuns(uint8_t* destination, const uint8_t* source, size_t size, size_t element_size,
                Shuffle shuffle);

}  // namespace byte_swap

#endif
