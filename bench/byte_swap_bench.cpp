// SPDX-License-Identifier: MIT

// Byte-swapped copies of arrays, beside the plain copy that no swap can beat and the loop that the
// compiler turns into vectors. In place the limit is a move of the bytes by one line of the cache,
// which loads and stores as much where it stands.
#include <cstdlib>
#include <cstring>
#include <string>

#include "bench/rows.h"
#include "bench/swap_loops.h"
#include "util/bytes.h"

namespace {

constexpr size_t kLine = 64;
constexpr size_t kLargest = 4 << 20;

alignas(4096) uint8_t source[kLargest];
alignas(4096) uint8_t destination[kLargest + kLine];

using Swap = void (*)(void*, const void*, uint32_t);

struct Element {
  const char* name;
  uint32_t size;
  Swap swap;
  Swap loop;
};

constexpr Element kElements[] = {
    {"16 bit", 2, UTIL_SwapArray16, swap_loops::Swap16},
    {"32 bit", 4, UTIL_SwapArray32, swap_loops::Swap32},
    {"64 bit", 8, UTIL_SwapArray64, swap_loops::Swap64},
};

struct Size {
  const char* name;
  uint32_t bytes;
  double target;  // in times of a copy's
};

constexpr Size kSizes[] = {
    {"4 KiB", 4 << 10, 1.4},
    {"64 KiB", 64 << 10, 1.08},
    {"1 MiB", 1 << 20, 1.08},
    {"4 MiB", 4 << 20, 1.08},
};

void ExpectSameSwaps(const Element& element) {
  constexpr uint32_t kBytes = 4096 - 8;
  static uint8_t expected[kBytes];
  for (uint32_t i = 0; i < kBytes; ++i) source[i] = static_cast<uint8_t>(i * 7 % 251);
  element.loop(expected, source, kBytes / element.size);
  element.swap(destination, source, kBytes / element.size);
  if (memcmp(destination, expected, kBytes) != 0) abort();
  element.swap(source, source, kBytes / element.size);
  if (memcmp(source, expected, kBytes) != 0) abort();
}

void AddCopy(const Element& element, const Size& size) {
  const uint32_t count = size.bytes / element.size;
  bench::Row("byte-swapped copies", std::string(element.name) + ", " + size.name)
      .Project([=] { element.swap(destination, source, count); })
      .Peer("vectorised loop", 1.0, [=] { element.loop(destination, source, count); })
      .Limit("memcpy", size.target, [=] { memcpy(destination, source, size.bytes); });
}

void AddInPlace(const Element& element, const Size& size) {
  const uint32_t count = size.bytes / element.size;
  bench::Row("byte swaps in place", std::string(element.name) + ", " + size.name)
      .Project([=] { element.swap(destination, destination, count); })
      .Peer("vectorised loop", 1.0, [=] { element.loop(destination, destination, count); })
      .Limit("memmove by a line", size.target,
             [=] { memmove(destination, destination + kLine, size.bytes); });
}

}  // namespace

void bench::AddRows() {
  for (const Element& element : kElements) {
    ExpectSameSwaps(element);
    for (const Size& size : kSizes) {
      AddCopy(element, size);
      AddInPlace(element, size);
    }
  }
}
