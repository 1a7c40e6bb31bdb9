// SPDX-License-Identifier: MIT

// Searches of buffers in the widest steps that the processor has.
#ifndef TARVEN_UTIL_BYTE_SEARCH_H_
#define TARVEN_UTIL_BYTE_SEARCH_H_

#include <cstddef>
#include <cstdint>

namespace byte_search {

// Both return an index, or -1.

// Finds the first byte in which two buffers differ.
int32_t FirstDifference(const void* first, const void* second, size_t size);

// Finds the first byte that is not the given one.
int32_t FirstOther(const void* buffer, uint8_t byte, size_t size);

}  // namespace byte_search

#endif
