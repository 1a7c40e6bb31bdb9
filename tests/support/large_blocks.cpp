// SPDX-License-Identifier: MIT

#include "tests/support/large_blocks.h"

#include <sanitizer/asan_interface.h>

#include <algorithm>
#include <cstdint>
#include <iterator>

namespace {

constexpr size_t kSmallest = 0x100000;
constexpr size_t kLargest = 0x400000 + 0x1000;
constexpr size_t kPoison = 0x1000;

struct Block {
  alignas(64) char memory[kLargest + kPoison];
  uint32_t size;  // 0 while it is free
};
Block blocks[12];

Block* FreeBlock() {
  Block* const found = std::find_if(std::begin(blocks), std::end(blocks),
                                    [](const Block& block) { return block.size == 0; });
  return found != std::end(blocks) ? found : nullptr;
}

Block* BlockAt(const void* memory) {
  Block* const found = std::find_if(std::begin(blocks), std::end(blocks), [=](const Block& block) {
    return static_cast<const void*>(block.memory) == memory;
  });
  return found != std::end(blocks) ? found : nullptr;
}

}  // namespace

extern "C" {

void* __real_SYS_MEM_Alloc(uint32_t size);
void __real_SYS_MEM_Free(void* memory);

void* __wrap_SYS_MEM_Alloc(uint32_t size) {
  Block* const block = size >= kSmallest && size <= kLargest ? FreeBlock() : nullptr;
  if (block == nullptr) return __real_SYS_MEM_Alloc(size);
  // It is an allocation like any other for whoever counts them or lets them fail.
  void* const token = __real_SYS_MEM_Alloc(1);
  if (token == nullptr) return nullptr;
  __real_SYS_MEM_Free(token);
  ASAN_POISON_MEMORY_REGION(block->memory + size, kPoison);
  block->size = size;
  return block->memory;
}

void __wrap_SYS_MEM_Free(void* memory) {
  Block* const block = BlockAt(memory);
  if (block == nullptr) return __real_SYS_MEM_Free(memory);
  ASAN_UNPOISON_MEMORY_REGION(block->memory + block->size, kPoison);
  block->size = 0;
}

}  // extern "C"

size_t support::large_blocks::InUse() {
  return static_cast<size_t>(std::count_if(std::begin(blocks), std::end(blocks),
                                           [](const Block& block) { return block.size != 0; }));
}
