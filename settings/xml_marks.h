// SPDX-License-Identifier: MIT

// Where the double quotes of a text are: a bit for each byte. With it a reader finds the ends of
// values without looking at them, and the next without waiting for the last.
#ifndef TARVEN_SETTINGS_XML_MARKS_H_
#define TARVEN_SETTINGS_XML_MARKS_H_

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace xml_marks {

// How many bytes share a number. The first of them has the lowest bit.
constexpr uint32_t kGroup = 64;

// How many numbers the marks of a text take: one for each group that begins, and one more without a
// mark.
constexpr size_t Count(size_t length) { return length / kGroup + 2; }

// Marks the double quotes of a text. No more of them stand in the kGroup bytes behind it, which are
// read as well.
void Mark(const char* text, size_t length, uint64_t* marks);

// The marks of the bytes from a position on, from the lowest bit on: of 57 at least. REQUIRES: the
// position is at most the length.
inline uint64_t At(const uint64_t* marks, size_t position) {
  uint64_t bits;
  memcpy(&bits, reinterpret_cast<const uint8_t*>(marks) + position / 8, sizeof bits);
  return bits >> position % 8;
}

}  // namespace xml_marks

#endif
