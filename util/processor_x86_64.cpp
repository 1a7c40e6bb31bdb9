// SPDX-License-Identifier: MIT

#include "util/processor_x86_64.h"

#include <cpuid.h>
#include <immintrin.h>

namespace {

using processor::Vectors;

// Whether the system keeps the registers of 32 bytes when it switches threads.
[[gnu::target("xsave")]] bool SystemKeepsWideRegisters() {
  constexpr uint64_t kSseAndAvxState = 6;
  return (_xgetbv(0) & kSseAndAvxState) == kSseAndAvxState;
}

Vectors Ask() {
  uint32_t eax = 0;
  uint32_t ebx = 0;
  uint32_t ecx = 0;
  uint32_t edx = 0;
  if (__get_cpuid(1, &eax, &ebx, &ecx, &edx) == 0 || (ecx & bit_SSSE3) == 0) return Vectors::kSse2;
  if ((ecx & bit_OSXSAVE) == 0 || !SystemKeepsWideRegisters()) return Vectors::kSsse3;
  if (__get_cpuid_count(7, 0, &eax, &ebx, &ecx, &edx) == 0) return Vectors::kSsse3;
  return (ebx & bit_AVX2) != 0 ? Vectors::kAvx2 : Vectors::kSsse3;
}

}  // namespace

Vectors processor::AskForVectors() {
  const Vectors vectors = Ask();
  known_vectors.store(static_cast<int>(vectors), std::memory_order_relaxed);
  return vectors;
}
