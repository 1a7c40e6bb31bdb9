// SPDX-License-Identifier: MIT

// For x86-64. The first of these processors have no byte shuffle and the younger ones one of 32 bytes,
// so the processor is asked.
#include <immintrin.h>

#include "util/byte_swap.h"
#include "util/processor_x86_64.h"

namespace {

using byte_swap::kRunSize;
using byte_swap::Shuffle;

// Which byte of a vector comes to each place of it. The shuffles count within 16 bytes.
struct alignas(kRunSize) Order {
  uint8_t index[kRunSize];
};

constexpr Order OrderFor(size_t element_size) {
  Order order{};
  for (size_t i = 0; i < kRunSize; ++i) {
    order.index[i] = static_cast<uint8_t>((i ^ (element_size - 1)) % 16);
  }
  return order;
}

constexpr Order kOrders[] = {OrderFor(2), OrderFor(4), OrderFor(8)};

const Order& KnownOrder(size_t element_size) { return kOrders[element_size / 4]; }

// The loops are unrolled: each round of so short a one takes twice as long where the code happens to
// lie across two lines of the cache.

[[gnu::target("ssse3")]] void SwapBy16(uint8_t* destination, const uint8_t* source, size_t size,
                                       const Order& order) {
  const __m128i indices = _mm_load_si128(reinterpret_cast<const __m128i*>(order.index));
#pragma GCC unroll 4
  for (size_t i = 0; i < size; i += sizeof indices) {
    const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(source + i));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(destination + i), _mm_shuffle_epi8(bytes, indices));
  }
}

[[gnu::target("avx2")]] void SwapBy32(uint8_t* destination, const uint8_t* source, size_t size,
                                      const Order& order) {
  const __m256i indices = _mm256_load_si256(reinterpret_cast<const __m256i*>(order.index));
#pragma GCC unroll 4
  for (size_t i = 0; i < size; i += sizeof indices) {
    const __m256i bytes = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(source + i));
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(destination + i),
                        _mm256_shuffle_epi8(bytes, indices));
  }
}

}  // namespace

Shuffle byte_swap::WidestShuffle() {
  switch (processor::WidestVectors()) {
    case processor::Vectors::kAvx2:
      return Shuffle::k32Bytes;
    case processor::Vectors::kSsse3:
      return Shuffle::k16Bytes;
    default:
      return Shuffle::kNone;
  }
}

size_t byte_swap::SwapRuns(uint8_t* destination, const uint8_t* source, size_t size,
                           size_t element_size, Shuffle shuffle) {
  if (shuffle == Shuffle::kNone) return 0;
  const size_t swapped = size - size % kRunSize;
  const Order& order = KnownOrder(element_size);
  const auto swap = shuffle == Shuffle::k16Bytes ? SwapBy16 : SwapBy32;
  swap(destination, source, swapped, order);
  return swapped;
}
