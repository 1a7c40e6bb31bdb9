// SPDX-License-Identifier: MIT

// Large blocks of memory, kept from run to run.
#ifndef TARVEN_TESTS_SUPPORT_LARGE_BLOCKS_H_
#define TARVEN_TESTS_SUPPORT_LARGE_BLOCKS_H_

#include <cstddef>

namespace support::large_blocks {

// A document starts with a block of 4 MiB, which costs a sanitizer's allocator more than all the rest
// of a run. A test that links tarven_large_blocks gets what it asks SYS_MEM_Alloc for from
// 1 MiB on out of a few blocks that stay. Behind the size that was asked for lies poison; what fails
// by FailingAllocation fails here too.

// How many are in use: 0 when all were given back.
size_t InUse();

}  // namespace support::large_blocks

#endif
