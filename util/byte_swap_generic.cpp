// SPDX-License-Identifier: MIT

// For processors whose every model shuffles 16 bytes.
#include <cstring>
#include <utility>

#include "util/byte_swap.h"

namespace {

using byte_swap::kRunSize;
using byte_swap::Shuffle;

using Vector [[gnu::vector_size(16)]] = uint8_t;

// kPlaces is 0 to 15. Each byte changes places with the mirrored one of its element.
template <size_t kElementSize, size_t... kPlaces>
void SwapBy16(uint8_t* destination, const uint8_t* source, size_t size,
              std::index_sequence<kPlaces...>) {
  for (size_t i = 0; i < size; i += sizeof(Vector)) {
    Vector bytes;
    memcpy(&bytes, source + i, sizeof bytes);
    bytes = __builtin_shufflevector(bytes, bytes, (kPlaces ^ (kElementSize - 1))...);
    memcpy(destination + i, &bytes, sizeof bytes);
  }
}

template <size_t kElementSize>
void SwapAll(uint8_t* destination, const uint8_t* source, size_t size) {
  SwapBy16<kElementSize>(destination, source, size, std::make_index_sequence<sizeof(Vector)>());
}

}  // namespace

Shuffle byte_swap::WidestShuffle() { return Shuffle::k16Bytes; }

size_t byte_swap::SwapRuns(uint8_t* destination, const uint8_t* source, size_t size,
                           size_t element_size, Shuffle shuffle) {
  if (shuffle == Shuffle::kNone) return 0;
  constexpr decltype(&SwapAll<2>) kSwapFunctions[] = {SwapAll<2>, SwapAll<4>, SwapAll<8>};
  const size_t swapped = size - size % kRunSize;
  kSwapFunctions[element_size / 4](destination, source, swapped);
  return swapped;
}
