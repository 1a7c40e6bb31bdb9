// SPDX-License-Identifier: MIT

// The memory of a document: blocks from which records and strings are carved.
#ifndef TARVEN_SETTINGS_XML_ARENA_H_
#define TARVEN_SETTINGS_XML_ARENA_H_

#include <cstdint>

#include "settings/xml.h"

// A block. The first block of a chain stands for the whole arena.
struct XML_ARENA {
  uint8_t* data;  // behind this header
  XML_ARENA* next;
  uint32_t used;
  uint32_t capacity;
};

namespace xml_arena {

constexpr uint32_t kBlockCapacity = 0x400000;

// Gives an arena of one empty block, or null without memory.
XML_ARENA* Create();

// Releases every block.
void Free(XML_ARENA* arena);

// Whether a block may give size bytes. What is as large as a block gets one of its own.
inline bool HasRoom(const XML_ARENA* block, uint64_t size) {
  return size < kBlockCapacity && size <= block->capacity - block->used;
}

// Takes the next bytes of a block that has room for them.
inline void* CarveFrom(XML_ARENA* block, uint32_t size) {
  void* const place = block->data + block->used;
  block->used += size;
  return place;
}

// Carves from the first block with room, or from a new one.
void* CarveFromAnyBlock(XML_ARENA* arena, uint64_t size);

// Gives size bytes, not cleared, from the first block that has room. They follow directly on what
// that block gave before: there are no gaps, whatever the alignment. Null without memory.
inline void* Carve(XML_ARENA* arena, uint64_t size) {
  if (!HasRoom(arena, size)) return CarveFromAnyBlock(arena, size);
  return CarveFrom(arena, static_cast<uint32_t>(size));
}

}  // namespace xml_arena

#endif
