// SPDX-License-Identifier: MIT

#include "util/bytes.h"

#include <bit>
#include <cstddef>

#include "util/byte_order.h"
#include "util/byte_swap.h"

namespace {

using byte_order::LoadBig;
using byte_order::LoadLittle;
using byte_order::StoreBig;
using byte_order::StoreLittle;
using byte_order::Swapped;

template <typename Value>
Value Load(const void* address, bool is_big_endian) {
  return is_big_endian ? LoadBig<Value>(address) : LoadLittle<Value>(address);
}

template <typename Value>
void Store(void* address, Value value, bool is_big_endian) {
  is_big_endian ? StoreBig(address, value) : StoreLittle(address, value);
}

// Whether whole runs may be loaded before any of their elements is stored: a destination that
// begins inside a run of the source would have to see the elements written before.
bool MaySwapRuns(const uint8_t* destination, const uint8_t* source) {
  const uintptr_t distance =
      reinterpret_cast<uintptr_t>(destination) - reinterpret_cast<uintptr_t>(source);
  return distance == 0 || distance >= byte_swap::kRunSize;
}

template <typename Element>
void SwapArray(void* destination, const void* source, uint32_t count) {
  auto* const to = static_cast<uint8_t*>(destination);
  const auto* const from = static_cast<const uint8_t*>(source);
  const size_t size = size_t{count} * sizeof(Element);
  size_t done = 0;
  if (MaySwapRuns(to, from)) {
    done = byte_swap::SwapRuns(to, from, size, sizeof(Element), byte_swap::WidestShuffle());
  }
  for (; done < size; done += sizeof(Element)) {
    StoreLittle(to + done, LoadBig<Element>(from + done));
  }
}

}  // namespace

// ---- Loads ----

uint8_t UTIL_Load8(const void* address) { return LoadLittle<uint8_t>(address); }

uint16_t UTIL_Load16BE(const void* address) { return LoadBig<uint16_t>(address); }

uint16_t UTIL_Load16LE(const void* address) { return LoadLittle<uint16_t>(address); }

uint32_t UTIL_Load32BE(const void* address) { return LoadBig<uint32_t>(address); }

uint32_t UTIL_Load32LE(const void* address) { return LoadLittle<uint32_t>(address); }

uint64_t UTIL_Load64LE(const void* address) { return LoadLittle<uint64_t>(address); }

uint64_t UTIL_Load64Words(const void* address) {
  return std::rotl(LoadLittle<uint64_t>(address), 32);
}

uint16_t UTIL_Load16(const void* address, int32_t is_big_endian) {
  return Load<uint16_t>(address, is_big_endian != 0);
}

uint32_t UTIL_Load32(const void* address, int32_t is_big_endian) {
  return Load<uint32_t>(address, is_big_endian != 0);
}

uint64_t UTIL_Load64(const void* address, int32_t is_big_endian) {
  return Load<uint64_t>(address, is_big_endian != 0);
}

// ---- Stores ----

void UTIL_Store16BE(void* address, uint16_t value) { StoreBig(address, value); }

void UTIL_Store16LE(void* address, uint16_t value) { StoreLittle(address, value); }

void UTIL_Store32BE(void* address, uint32_t value) { StoreBig(address, value); }

void UTIL_Store32LE(void* address, uint32_t value) { StoreLittle(address, value); }

void UTIL_Store64BE(void* address, uint64_t value) { StoreBig(address, value); }

void UTIL_Store64LE(void* address, uint64_t value) { StoreLittle(address, value); }

void UTIL_Store32LEInc(uint8_t** cursor, uint32_t value) {
  StoreLittle(*cursor, value);
  *cursor += sizeof value;
}

void UTIL_Store16(void* address, uint16_t value, int32_t is_big_endian) {
  Store(address, value, is_big_endian != 0);
}

void UTIL_Store32(void* address, uint32_t value, int32_t is_big_endian) {
  Store(address, value, is_big_endian != 0);
}

void UTIL_Store64(void* address, uint64_t value, int32_t is_big_endian) {
  Store(address, value, is_big_endian != 0);
}

// ---- Swaps ----

uint16_t UTIL_Swap16(uint16_t value) { return Swapped(value); }

uint32_t UTIL_Swap32(uint32_t value) { return Swapped(value); }

uint64_t UTIL_Swap64(uint64_t value) { return Swapped(value); }

void UTIL_SwapArray16(void* destination, const void* source, uint32_t count) {
  SwapArray<uint16_t>(destination, source, count);
}

void UTIL_SwapArray32(void* destination, const void* source, uint32_t count) {
  SwapArray<uint32_t>(destination, source, count);
}

void UTIL_SwapArray64(void* destination, const void* source, uint32_t count) {
  SwapArray<uint64_t>(destination, source, count);
}

// ---- Integers of variable length ----

uint32_t UTIL_ReadVarU32(const uint8_t** cursor) {
  const uint8_t* next = *cursor;
  uint8_t byte = *next++;
  // Most numbers take one byte, which needs no shift.
  uint32_t value = byte & 0x7FU;
  for (uint32_t shift = 7; (byte & 0x80) != 0; shift += 7) {
    byte = *next++;
    // Too long an encoding starts over at bit 0 rather than shift out of the number.
    value |= (byte & 0x7FU) << (shift % 32);
  }
  *cursor = next;
  return value;
}

uint8_t* UTIL_WriteVarU32(uint8_t* cursor, uint32_t value) {
  for (; value > 0x7F; value >>= 7) *cursor++ = static_cast<uint8_t>(value | 0x80);
  *cursor++ = static_cast<uint8_t>(value);
  return cursor;
}
