// SPDX-License-Identifier: MIT

// The plain loops over arrays, as a compiler that optimises for speed alone turns them into vectors.
#ifndef TARVEN_BENCH_SWAP_LOOPS_H_
#define TARVEN_BENCH_SWAP_LOOPS_H_

#include <cstddef>
#include <cstdint>

namespace swap_loops {

// The arrays are the same or do not overlap.
void Swap16(void* destination, const void* source, uint32_t count);
void Swap32(void* destination, const void* source, uint32_t count);
void Swap64(void* destination, const void* source, uint32_t count);

}  // namespace swap_loops

#endif
