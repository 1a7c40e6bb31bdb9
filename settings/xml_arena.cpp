// SPDX-License-Identifier: MIT

#include "settings/xml_arena.h"

#include <algorithm>

#include "settings/xml_bytes.h"
#include "sys/memory.h"

namespace {

XML_ARENA* NewBlock(uint64_t capacity) {
  const uint64_t size = sizeof(XML_ARENA) + capacity + xml_bytes::kPadding;
  if (size > UINT32_MAX) return nullptr;
  auto* const block = static_cast<XML_ARENA*>(SYS_MEM_Alloc(static_cast<uint32_t>(size)));
  if (block == nullptr) return nullptr;
  *block = {.data = reinterpret_cast<uint8_t*>(block + 1),
            .next = nullptr,
            .used = 0,
            .capacity = static_cast<uint32_t>(capacity)};
  return block;
}

}  // namespace

XML_ARENA* xml_arena::Create() { return NewBlock(kBlockCapacity); }

void xml_arena::Free(XML_ARENA* arena) {
  while (arena != nullptr) {
    XML_ARENA* const next = arena->next;
    SYS_MEM_Free(arena);
    arena = next;
  }
}

void* xml_arena::CarveFromAnyBlock(XML_ARENA* arena, uint64_t size) {
  XML_ARENA* block = arena;
  while (!HasRoom(block, size) && block->next != nullptr) block = block->next;
  if (!HasRoom(block, size)) {
    block->next = NewBlock(std::max(size, uint64_t{kBlockCapacity}));
    block = block->next;
    if (block == nullptr) return nullptr;
  }
  return CarveFrom(block, static_cast<uint32_t>(size));
}
