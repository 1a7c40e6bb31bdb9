// SPDX-License-Identifier: MIT

#include "bench/swap_loops.h"

namespace {

uint16_t Swapped(uint16_t value) { return __builtin_bswap16(value); }
uint32_t Swapped(uint32_t value) { return __builtin_bswap32(value); }
uint64_t Swapped(uint64_t value) { return __builtin_bswap64(value); }

// Two loops, since only the one that knows of no overlap needs no test for it.
template <typename Element>
void Swap(void* destination, const void* source, uint32_t count) {
  if (destination == source) {
    auto* const elements = static_cast<Element*>(destination);
    for (uint32_t i = 0; i < count; ++i) elements[i] = Swapped(elements[i]);
    return;
  }
  auto* const __restrict to = static_cast<Element*>(destination);
  const auto* const __restrict from = static_cast<const Element*>(source);
  for (uint32_t i = 0; i < count; ++i) to[i] = Swapped(from[i]);
}

}  // namespace

void swap_loops::Swap16(void* destination, const void* source, uint32_t count) {
  Swap<uint16_t>(destination, source, count);
}

void swap_loops::Swap32(void* destination, const void* source, uint32_t count) {
  Swap<uint32_t>(destination, source, count);
}

void swap_loops::Swap64(void* destination, const void* source, uint32_t count) {
  Swap<uint64_t>(destination, source, count);
}
