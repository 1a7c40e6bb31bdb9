#include "util/arithmetic.h"

#include <utility>

uint64_t UTIL_gcd(uint64_t first, uint64_t second) {
  if (first == 0 || second == 0) return 0;
  while (second != 0) first = std::exchange(second, first % second);
  return first;
}

int32_t UTIL_IsInRange(uint64_t address, uint64_t start, uint32_t length) {
  return address >= start && address - start < length;
}

int32_t UTIL_RangesOverlap(uint64_t first_start, uint32_t first_length, uint64_t second_start,
                           uint32_t second_length) {
  if (first_length == 0 || second_length == 0) return 0;
  // The later of the two starts lies in the other range, or no address does.
  return UTIL_IsInRange(first_start, second_start, second_length) |
         UTIL_IsInRange(second_start, first_start, first_length);
}
