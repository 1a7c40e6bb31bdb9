// SPDX-License-Identifier: MIT

// What the x86-64 that this runs on can do beyond the first of its kind.
#ifndef TARVEN_UTIL_PROCESSOR_X86_64_H_
#define TARVEN_UTIL_PROCESSOR_X86_64_H_

#include <atomic>
#include <cstdint>

namespace processor {

// Each includes those before it: 16 bytes, 16 bytes with a byte shuffle, 32 bytes.
enum class Vectors : uint8_t { kSse2, kSsse3, kAvx2 };

// Nobody has asked yet while it is negative.
inline constinit std::atomic<int> known_vectors = -1;

// Takes long, in a virtual machine above all.
Vectors AskForVectors();

// The widest that the processor has and the system keeps. Threads that ask at once find the same.
inline Vectors WidestVectors() {
  const int known = known_vectors.load(std::memory_order_relaxed);
  return known >= 0 ? static_cast<Vectors>(known) : AskForVectors();
}

}  // namespace processor

#endif
