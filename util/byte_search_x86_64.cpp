// SPDX-License-Identifier: MIT

// For x86-64, whose younger models look at 32 bytes a step.
#include <immintrin.h>

#include <algorithm>
#include <atomic>
#include <bit>

#include "util/byte_blocks.h"
#include "util/byte_search.h"
#include "util/processor_x86_64.h"

namespace {

constexpr size_t kStep = sizeof(__m256i);
constexpr size_t kGroup = 4 * kStep;
constexpr uint32_t kAllSame = 0xFFFFFFFF;

[[gnu::target("avx2")]] __m256i Load(const void* buffer, size_t index) {
  const auto* const bytes = static_cast<const uint8_t*>(buffer) + index;
  return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(bytes));
}

// The bytes that are the same are 0xFF.
struct Pair {
  const void* first;
  const void* second;

  [[gnu::target("avx2")]] __m256i Same(size_t index) const {
    return _mm256_cmpeq_epi8(Load(first, index), Load(second, index));
  }
};

struct Repeated {
  const void* buffer;
  uint8_t byte;

  [[gnu::target("avx2")]] __m256i Same(size_t index) const {
    return _mm256_cmpeq_epi8(Load(buffer, index), _mm256_set1_epi8(static_cast<char>(byte)));
  }
};

// One bit a byte.
[[gnu::target("avx2")]] uint32_t Bits(__m256i bytes) {
  return static_cast<uint32_t>(_mm256_movemask_epi8(bytes));
}

[[gnu::target("avx2")]] uint64_t Bits(__m256i low, __m256i high) {
  return Bits(low) | uint64_t{Bits(high)} << 32;
}

int32_t IndexAt(size_t start, int distance) {
  return static_cast<int32_t>(start + static_cast<size_t>(distance));
}

// Both searches end with what may overlap what has been seen.

// REQUIRES: size is at least 32.
template <typename Source>
[[gnu::target("avx2")]] int32_t FirstDifferenceInSteps(Source source, size_t size) {
  const size_t last = size - kStep;
  for (size_t i = 0;; i += kStep) {
    i = std::min(i, last);
    const uint32_t same = Bits(source.Same(i));
    if (same != kAllSame) return IndexAt(i, std::countr_one(same));
    if (i == last) return -1;
  }
}

// Asking what a comparison gave takes longer than making it, so many are asked together.
template <typename Source>
[[gnu::target("avx2")]] bool IsGroupSame(Source source, size_t index) {
  const __m256i low = _mm256_and_si256(source.Same(index), source.Same(index + 32));
  const __m256i high = _mm256_and_si256(source.Same(index + 64), source.Same(index + 96));
  return Bits(_mm256_and_si256(low, high)) == kAllSame;
}

// REQUIRES: size is at least 128.
template <typename Source>
[[gnu::target("avx2")]] int32_t FirstDifferenceInGroups(Source source, size_t size) {
  const size_t last = size - kGroup;
  size_t i = 0;
  while (i < last && IsGroupSame(source, i)) i += kGroup;
  i = std::min(i, last);
  const int same = std::countr_one(Bits(source.Same(i), source.Same(i + 32)));
  if (same < 64) return IndexAt(i, same);
  const int same_behind = std::countr_one(Bits(source.Same(i + 64), source.Same(i + 96)));
  return same_behind < 64 ? IndexAt(i + 64, same_behind) : -1;
}

template <typename Source>
[[gnu::target("avx2")]] int32_t FirstDifferenceOf(Source source, size_t size) {
  return size < kGroup ? FirstDifferenceInSteps(source, size)
                       : FirstDifferenceInGroups(source, size);
}

// ---- The ways to search ----

int32_t FirstDifferenceInBlocks(const void* first, const void* second, size_t size) {
  const byte_blocks::Pair<byte_blocks::Exact> pair(first, second);
  return static_cast<int32_t>(byte_blocks::FirstDifference(pair, size));
}

int32_t FirstOtherInBlocks(const void* buffer, uint8_t byte, size_t size) {
  const byte_blocks::Repeated repeated(buffer, byte);
  return static_cast<int32_t>(byte_blocks::FirstDifference(repeated, size));
}

// REQUIRES: size is at least 32.

[[gnu::target("avx2")]] int32_t FirstDifferenceBy32(const void* first, const void* second,
                                                    size_t size) {
  return FirstDifferenceOf(Pair{first, second}, size);
}

[[gnu::target("avx2")]] int32_t FirstOtherBy32(const void* buffer, uint8_t byte, size_t size) {
  return FirstDifferenceOf(Repeated{buffer, byte}, size);
}

// ---- The choice ----

// A slot holds the way for 32 bytes and more that was chosen, and before that the choice itself. Threads
// that choose at once find the same.

bool HasWideVectors() { return processor::WidestVectors() == processor::Vectors::kAvx2; }

int32_t ChooseFirstDifference(const void* first, const void* second, size_t size);
int32_t ChooseFirstOther(const void* buffer, uint8_t byte, size_t size);

constinit std::atomic first_difference = ChooseFirstDifference;
constinit std::atomic first_other = ChooseFirstOther;

int32_t ChooseFirstDifference(const void* first, const void* second, size_t size) {
  const auto chosen = HasWideVectors() ? FirstDifferenceBy32 : FirstDifferenceInBlocks;
  first_difference.store(chosen, std::memory_order_relaxed);
  return chosen(first, second, size);
}

int32_t ChooseFirstOther(const void* buffer, uint8_t byte, size_t size) {
  const auto chosen = HasWideVectors() ? FirstOtherBy32 : FirstOtherInBlocks;
  first_other.store(chosen, std::memory_order_relaxed);
  return chosen(buffer, byte, size);
}

}  // namespace

int32_t byte_search::FirstDifference(const void* first, const void* second, size_t size) {
  if (size < kStep) return FirstDifferenceInBlocks(first, second, size);
  return first_difference.load(std::memory_order_relaxed)(first, second, size);
}

int32_t byte_search::FirstOther(const void* buffer, uint8_t byte, size_t size) {
  if (size < kStep) return FirstOtherInBlocks(buffer, byte, size);
  return first_other.load(std::memory_order_relaxed)(buffer, byte, size);
}
