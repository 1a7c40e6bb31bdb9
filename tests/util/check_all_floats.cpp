// SPDX-License-Identifier: MIT

// Compares UTIL_FormatFloatBits with the C library's "%.6G" in the C locale.
//
//   check_all_floats all          all 2^32 bit patterns; takes a quarter of an hour on two processors
//   check_all_floats COUNT SEED   as many pseudo-random patterns
//
// Prints the patterns that differ and exits with 1, or prints how many were compared and exits
// with 0.
#include <atomic>
#include <bit>
#include <cinttypes>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>
#include <thread>
#include <vector>

#include "util/float_text.h"

namespace {

constexpr uint32_t kSignBit = 0x80000000;
constexpr uint64_t kMostReports = 20;

std::atomic<uint64_t> difference_count = 0;

// What the C library says of a value without its sign, special values in this system's own words.
const char* Expected(char (&text)[32], uint32_t magnitude_bits) {
  const float magnitude = std::bit_cast<float>(magnitude_bits);
  if (std::isnan(magnitude)) return (magnitude_bits & 0x400000) != 0 ? "NaNq" : "NaNs";
  if (std::isinf(magnitude)) return "Infinite";
  if (magnitude_bits == 0) return "0.0";
  snprintf(text, sizeof text, "%.6G", static_cast<double>(magnitude));
  return text;
}

void ExpectText(uint32_t bits, const char* sign, const char* magnitude) {
  char text[32];
  const int32_t result = UTIL_FormatFloatBits(text, sizeof text, bits);
  const size_t sign_length = strlen(sign);
  if (result == 0 && strncmp(text, sign, sign_length) == 0 &&
      strcmp(text + sign_length, magnitude) == 0) {
    return;
  }
  if (++difference_count <= kMostReports) {
    printf("0x%08" PRIX32 ": \"%s\" instead of \"%s%s\"\n", bits, text, sign, magnitude);
  }
}

// Compares a pattern with either sign: the C library is slow and asked only once for both.
void CheckMagnitude(uint32_t magnitude_bits) {
  char text[32];
  const char* const expected = Expected(text, magnitude_bits);
  const bool is_nan = std::isnan(std::bit_cast<float>(magnitude_bits));
  ExpectText(magnitude_bits, "", expected);
  ExpectText(magnitude_bits | kSignBit, is_nan ? "" : "-", expected);
}

void CheckAll() {
  constexpr uint32_t kBlock = 1 << 20;
  std::atomic<uint32_t> next_block = 0;
  const auto check_blocks = [&] {
    for (uint32_t block; (block = next_block++) < kSignBit / kBlock;) {
      for (uint32_t i = 0; i < kBlock; ++i) CheckMagnitude(block * kBlock + i);
      if (block % 128 == 0) fprintf(stderr, "%" PRIu32 " of 2048 blocks\n", block);
    }
  };
  std::vector<std::thread> threads;
  for (uint32_t i = 0; i < std::thread::hardware_concurrency(); ++i) {
    threads.emplace_back(check_blocks);
  }
  for (std::thread& thread : threads) thread.join();
}

void CheckSome(uint64_t count, uint32_t seed) {
  std::mt19937 patterns(seed);
  for (uint64_t i = 0; i < count; i += 2)
    CheckMagnitude(static_cast<uint32_t>(patterns()) & ~kSignBit);
}

}  // namespace

int main(int argc, char** argv) {
  uint64_t count = uint64_t{1} << 32;
  if (argc == 2 && strcmp(argv[1], "all") == 0) {
    CheckAll();
  } else if (argc == 3) {
    count = strtoull(argv[1], nullptr, 10);
    CheckSome(count, static_cast<uint32_t>(strtoul(argv[2], nullptr, 10)));
  } else {
    fprintf(stderr, "usage: check_all_floats all | COUNT SEED\n");
    return 2;
  }
  printf("%" PRIu64 " patterns compared, %" PRIu64 " differ.\n", count, difference_count.load());
  return difference_count == 0 ? 0 : 1;
}
