// SPDX-License-Identifier: MIT

#include "util/bits.h"

#include <bit>
#include <cstring>
#include <span>

#include "util/byte_order.h"

uint16_t UTIL_aBitReverse16[65536];

namespace {

using byte_order::LoadLittle;
using byte_order::StoreLittle;

// ---- The table of reversed numbers ----

constexpr uint32_t kLastEntry = 0xFFFF;

// No lock guards the table on purpose: threads that race here store the same values. Entries are
// read and stored as atomics, and the last one is stored behind all others, since it is the mark.

uint16_t Entry(uint32_t index) {
  return __atomic_load_n(&UTIL_aBitReverse16[index], __ATOMIC_RELAXED);
}

bool IsTableFilled() {
  return __atomic_load_n(&UTIL_aBitReverse16[kLastEntry], __ATOMIC_ACQUIRE) == 0xFFFF;
}

// Swaps neighbouring bits, then pairs, then groups of four and of eight.
constexpr uint16_t Reversed(uint32_t value) {
  value = ((value >> 1) & 0x5555) | ((value & 0x5555) << 1);
  value = ((value >> 2) & 0x3333) | ((value & 0x3333) << 2);
  value = ((value >> 4) & 0x0F0F) | ((value & 0x0F0F) << 4);
  return static_cast<uint16_t>((value >> 8) | (value << 8));
}

void FillTable() {
  for (uint32_t i = 0; i < kLastEntry; ++i) {
    __atomic_store_n(&UTIL_aBitReverse16[i], Reversed(i), __ATOMIC_RELAXED);
  }
  __atomic_store_n(&UTIL_aBitReverse16[kLastEntry], Reversed(kLastEntry), __ATOMIC_RELEASE);
}

void EnsureTableIsFilled() {
  if (!IsTableFilled()) FillTable();
}

// ---- Streams ----

// Stores the 32 bits of value from a bit of the first byte on, 0 to 7, and keeps those around them.
void StoreBits32(uint8_t* bytes, uint32_t value, uint32_t first_bit) {
  const uint64_t replaced = uint64_t{0xFFFFFFFF} << first_bit;
  const uint64_t bits = uint64_t{value} << first_bit;
  const auto kept = static_cast<uint32_t>(LoadLittle<uint32_t>(bytes) & ~replaced);
  StoreLittle(bytes, kept | static_cast<uint32_t>(bits));
  if (first_bit == 0) return;
  bytes[4] = static_cast<uint8_t>((bytes[4] & ~(replaced >> 32)) | (bits >> 32));
}

void WriteAt(uint8_t* buffer, uint32_t value, uint64_t bit_position) {
  StoreBits32(buffer + bit_position / 8, value, bit_position % 8);
}

// Values that begin more than 32 bits apart, of which none touches another.
void WriteApart(uint8_t* buffer, std::span<const uint32_t> values, uint32_t start_bit,
                uint32_t bits_per_value) {
  uint64_t bit_position = start_bit;
  for (const uint32_t value : values) {
    WriteAt(buffer, value, bit_position);
    bit_position += bits_per_value;
  }
}

// Packs the low bits of each value, at most 32, and keeps those in front. Of the last byte the rest is
// for the next value, and 0 so far.
void PackLowBits(uint8_t* buffer, std::span<const uint32_t> values, uint32_t start_bit,
                 uint32_t bits_per_value) {
  uint8_t* bytes = buffer + start_bit / 8;
  const uint64_t mask = (uint64_t{1} << bits_per_value) - 1;
  // These wait for a whole word, so that no load has to wait for the stores before it.
  uint32_t waiting = start_bit % 8;
  uint64_t bits = waiting == 0 ? 0 : *bytes & ((1U << waiting) - 1);
  for (const uint32_t value : values) {
    bits |= (value & mask) << waiting;
    waiting += bits_per_value;
    if (waiting < 32) continue;
    StoreLittle(bytes, static_cast<uint32_t>(bits));
    bytes += 4;
    bits >>= 32;
    waiting -= 32;
  }
  for (uint32_t i = 0; i < waiting; i += 8) *bytes++ = static_cast<uint8_t>(bits >> i);
}

// The mask's bits of a byte take the value's.
void StoreMasked(uint8_t& byte, uint8_t value, uint32_t mask) {
  byte = static_cast<uint8_t>((byte & ~mask) | (value & mask));
}

// Fills one word to two, which may overlap.
template <typename Word>
void FillEnds(uint8_t* bytes, size_t size, uint64_t repeated) {
  StoreLittle(bytes, static_cast<Word>(repeated));
  StoreLittle(bytes + size - sizeof(Word), static_cast<Word>(repeated));
}

void FillFew(uint8_t* bytes, size_t size, uint64_t repeated) {
  if (size >= 8) return FillEnds<uint64_t>(bytes, size, repeated);
  if (size >= 4) return FillEnds<uint32_t>(bytes, size, repeated);
  if (size >= 2) return FillEnds<uint16_t>(bytes, size, repeated);
  if (size == 1) *bytes = static_cast<uint8_t>(repeated);
}

// Runs are short as a rule, and a call takes longer than they do.
void Fill(uint8_t* bytes, size_t size, uint8_t fill) {
  constexpr size_t kShort = 64;
  using Block [[gnu::vector_size(16)]] = uint8_t;
  if (size >= kShort) {
    memset(bytes, fill, size);
    return;
  }
  if (size < sizeof(Block)) return FillFew(bytes, size, fill * uint64_t{0x0101010101010101});
  const Block block = Block{} + fill;
  const size_t last = size - sizeof(Block);
  for (size_t i = 0; i < last; i += sizeof(Block)) StoreLittle(bytes + i, block);
  StoreLittle(bytes + last, block);
}

// Gives a run of bits those of fill, which is 0x00 or 0xFF. Positions are counted in 64 bits, since
// the end of a run may lie behind the last one that 32 bits can say.
void FillBits(uint8_t* buffer, uint32_t first_bit, uint32_t count, uint8_t fill) {
  if (buffer == nullptr || count == 0) return;
  const uint64_t last_bit = uint64_t{first_bit} + count - 1;
  uint8_t* const first = buffer + first_bit / 8;
  uint8_t* const last = buffer + last_bit / 8;
  const uint32_t from_first = 0xFFU << (first_bit % 8);
  const uint32_t up_to_last = 0xFFU >> (7 - last_bit % 8);
  if (first == last) return StoreMasked(*first, fill, from_first & up_to_last);
  StoreMasked(*first, fill, from_first);
  StoreMasked(*last, fill, up_to_last);
  Fill(first + 1, static_cast<size_t>(last - first - 1), fill);
}

}  // namespace

uint16_t UTIL_BitReverse16(uint32_t value) {
  EnsureTableIsFilled();
  return Entry(value & 0xFFFF);
}

uint32_t UTIL_BitReverse32(uint32_t value) {
  EnsureTableIsFilled();
  return (uint32_t{Entry(value & 0xFFFF)} << 16) | Entry(value >> 16);
}

uint32_t UTIL_ReadBits(const uint8_t* buffer, uint32_t bit_position, uint32_t count) {
  if (count == 0 || count > 16) return 0;
  const uint8_t* const bytes = buffer + bit_position / 8;
  const uint32_t skipped = bit_position % 8;
  // The bits stand in one, two or three bytes. With fewer than three, one is taken more than once,
  // which changes nothing.
  const uint32_t last = (skipped + count - 1) / 8;
  const uint32_t middle = last / 2;
  const uint32_t bits =
      bytes[0] | uint32_t{bytes[middle]} << (middle * 8) | uint32_t{bytes[last]} << (last * 8);
  return (bits >> skipped) & ((1U << count) - 1);
}

uint32_t UTIL_ReadBits32(const uint8_t* buffer, uint32_t bit_position) {
  const uint8_t* const bytes = buffer + bit_position / 8;
  const uint32_t skipped = bit_position % 8;
  uint64_t bits = LoadLittle<uint32_t>(bytes);
  if (skipped != 0) bits |= uint64_t{bytes[4]} << 32;
  return static_cast<uint32_t>(bits >> skipped);
}

void UTIL_WriteBits32(uint8_t* buffer, uint32_t value, uint32_t bit_position) {
  WriteAt(buffer, value, bit_position);
}

void UTIL_WriteBitsArray(uint8_t* buffer, const uint32_t* values, uint32_t start_bit,
                         uint32_t bits_per_value, uint32_t count) {
  if (count == 0) return;
  // Each value but the last loses its excess to the next one, unless there is a gap between them.
  const uint32_t last = count - 1;
  const auto write_others = bits_per_value <= 32 ? PackLowBits : WriteApart;
  write_others(buffer, {values, last}, start_bit, bits_per_value);
  WriteAt(buffer, values[last], start_bit + uint64_t{last} * bits_per_value);
}

void UTIL_SetBitRange(uint8_t* buffer, uint32_t first_bit, uint32_t count) {
  FillBits(buffer, first_bit, count, 0xFF);
}

void UTIL_ClearBitRange(uint8_t* buffer, uint32_t first_bit, uint32_t count) {
  FillBits(buffer, first_bit, count, 0x00);
}

uint32_t UTIL_CountBits(uint32_t value) {
  // Sums of neighbouring bits, pairs and groups of four; where std::popcount is a call, this is not.
  value -= (value >> 1) & 0x55555555;
  value = (value & 0x33333333) + ((value >> 2) & 0x33333333);
  value = (value + (value >> 4)) & 0x0F0F0F0F;
  return (value * 0x01010101) >> 24;
}

uint32_t UTIL_Parity(uint32_t value) { return static_cast<uint32_t>(__builtin_parity(value)); }

uint32_t UTIL_HighestBit(uint32_t value) { return UTIL_HighestBit64(value); }

uint32_t UTIL_HighestBit64(uint64_t value) {
  // One below the width of 0, which is 0, is 0xFFFFFFFF.
  return static_cast<uint32_t>(std::bit_width(value)) - 1;
}

int32_t UTIL_HighestBitPos(int32_t value) {
  // 0 counts as a negative value here, unlike above: its index is that of the sign.
  return value > 0 ? 31 - std::countl_zero(static_cast<uint32_t>(value)) : 31;
}

int32_t UTIL_LowestBit(uint32_t value) { return value == 0 ? -1 : std::countr_zero(value); }
