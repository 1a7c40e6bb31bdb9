// SPDX-License-Identifier: MIT

// Eight bytes at a time, with what every processor has.
#include <bit>

#include "settings/xml_marks.h"

namespace {

constexpr uint64_t Repeated(uint8_t byte) { return 0x0101010101010101 * byte; }

uint64_t MarksOf8(const char* text) {
  // The first byte in memory has to be the lowest of a number.
  static_assert(std::endian::native == std::endian::little);
  uint64_t bytes;
  memcpy(&bytes, text, sizeof bytes);
  const uint64_t differences = bytes ^ Repeated('"');
  // A byte's highest bit is set unless the byte is 0; no sum reaches the next byte.
  const uint64_t others = ((differences & Repeated(0x7F)) + Repeated(0x7F)) | differences;
  const uint64_t quotes = ~others >> 7 & Repeated(1);
  // Bit 8 * i goes to bit 56 + i.
  return quotes * 0x0102040810204080 >> 56;
}

}  // namespace

void xml_marks::Mark(const char* text, size_t length, uint64_t* marks) {
  for (size_t i = 0; i <= length; i += kGroup) {
    uint64_t quotes = 0;
    for (uint32_t j = 0; j < kGroup; j += 8) quotes |= MarksOf8(text + i + j) << j;
    *marks++ = quotes;
  }
  *marks = 0;
}
