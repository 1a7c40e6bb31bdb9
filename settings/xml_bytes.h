// SPDX-License-Identifier: MIT

// Searching and copying, sixteen bytes at a time.
//
// The vectors are the compilers' own, which GCC and Clang have for every processor. The functions go
// beyond the bytes that they are asked for: a padded text has kPadding more bytes behind it that may
// be read, and where a copy goes, kPadding more may be written.
#ifndef TARVEN_SETTINGS_XML_BYTES_H_
#define TARVEN_SETTINGS_XML_BYTES_H_

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace xml_bytes {

constexpr uint32_t kPadding = 16;

using Bytes = uint8_t __attribute__((vector_size(kPadding)));
using Words = uint16_t __attribute__((vector_size(kPadding)));
using Halves = uint64_t __attribute__((vector_size(kPadding)));
using HalfBytes = uint8_t __attribute__((vector_size(kPadding / 2)));

inline Bytes Load(const char* at) {
  Bytes bytes;
  memcpy(&bytes, at, sizeof bytes);
  return bytes;
}

// A mask, whose bytes are 0 or 0xFF, as a number: four bits for each byte.
inline uint64_t Bits(Bytes mask) {
  const auto bits = __builtin_convertvector(std::bit_cast<Words>(mask) >> 4, HalfBytes);
  return std::bit_cast<uint64_t>(bits);
}

inline bool AreZero(Bytes bytes) {
  const auto halves = std::bit_cast<Halves>(bytes);
  return (halves[0] | halves[1]) == 0;
}

// A mask of so many bytes, at most kPadding.
inline Bytes FirstBytes(uint32_t count) {
  static constexpr struct {
    Bytes set = ~Bytes{};
    Bytes clear = {};
  } kMasks;
  return Load(reinterpret_cast<const char*>(&kMasks) + kPadding - count);
}

// The first byte from here on that a function from bytes to masks finds. There has to be one.
template <typename MaskFunction>
const char* FindFirst(const char* at, MaskFunction mask_of) {
  // The first byte in memory has to be the lowest of a number.
  static_assert(std::endian::native == std::endian::little);
  for (;; at += kPadding) {
    const uint64_t bits = Bits(mask_of(Load(at)));
    if (bits != 0) return at + static_cast<uint32_t>(std::countr_zero(bits)) / 4;
  }
}

inline void Copy(char* destination, const char* source, size_t length) {
  size_t done = 0;
  do {
    memcpy(destination + done, source + done, kPadding);
    done += kPadding;
  } while (done < length);
}

}  // namespace xml_bytes

#endif
