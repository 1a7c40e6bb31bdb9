// SPDX-License-Identifier: MIT

// What names consist of and when two are the same.
#ifndef TARVEN_SETTINGS_XML_NAME_H_
#define TARVEN_SETTINGS_XML_NAME_H_

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstring>
#include <string_view>

#include "settings/xml_bytes.h"
#include "util/byte_order.h"
#include "util/character_word.h"
#include "util/text.h"

namespace xml_name {

// A mask of the bytes that names may hold: 0-9, A-Z, a-z, "_", "!" and "-".
inline xml_bytes::Bytes NameBytes(xml_bytes::Bytes bytes) {
  const auto letters = ((bytes | 0x20) - 'a') <= 'z' - 'a';
  const auto digits = (bytes - '0') <= 9;
  return std::bit_cast<xml_bytes::Bytes>(letters | digits | (bytes == '_') | (bytes == '!') |
                                         (bytes == '-'));
}

inline bool IsNameByte(char byte) {
  const xml_bytes::Bytes bytes = xml_bytes::Bytes{} + static_cast<uint8_t>(byte);
  return NameBytes(bytes)[0] != 0;
}

// Whether so many bytes, 32 at most, consist of what names do. Reads 32.
inline bool AreNameBytes(const char* bytes, uint32_t length) {
  constexpr uint32_t kStep = xml_bytes::kPadding;
  const xml_bytes::Bytes first = ~NameBytes(xml_bytes::Load(bytes));
  if (length <= kStep) return xml_bytes::AreZero(first & xml_bytes::FirstBytes(length));
  const xml_bytes::Bytes second = ~NameBytes(xml_bytes::Load(bytes + kStep));
  return xml_bytes::AreZero(first | (second & xml_bytes::FirstBytes(length - kStep)));
}

// The first byte from here on that no name holds, in a padded text.
inline const char* NameEnd(const char* at) {
  return xml_bytes::FindFirst(at, [](xml_bytes::Bytes bytes) { return ~NameBytes(bytes); });
}

// How many bytes are compared at once.
constexpr size_t kStep = sizeof(uint64_t);

inline bool AreSameOneByOne(const char* bytes, const char* others, size_t count) {
  for (size_t i = 0; i < count; ++i) {
    if (UTIL_aToLower[static_cast<uint8_t>(bytes[i])] !=
        UTIL_aToLower[static_cast<uint8_t>(others[i])]) {
      return false;
    }
  }
  return true;
}

// Most that are the same are so without regard to case, too.
inline bool IsSameStep(const char* bytes, const char* others) {
  return memcmp(bytes, others, kStep) == 0 || AreSameOneByOne(bytes, others, kStep);
}

// Compares bytes without regard to case.
inline bool AreSameBytes(const char* bytes, const char* others, size_t count) {
  if (count < kStep) return AreSameOneByOne(bytes, others, count);
  for (size_t i = 0; i < count - kStep; i += kStep) {
    if (!IsSameStep(bytes + i, others + i)) return false;
  }
  return IsSameStep(bytes + count - kStep, others + count - kStep);
}

// Compares the lengths first, then the bytes without regard to case.
inline bool AreSame(std::string_view name, const char* other, size_t other_length) {
  return name.size() == other_length && AreSameBytes(name.data(), other, other_length);
}

// A name that is looked for among those of a document. All that is asked of another name may go beyond
// it: a step of it is read.
class Wanted {
 public:
  explicit Wanted(std::string_view name)
      : name_(name),
        beginning_(Beginning(name)),
        mask_(name.size() < kStep ? (uint64_t{1} << name.size() * 8) - 1 : ~uint64_t{0}) {}

  // A glance at the first bytes tells most names apart, whatever their lengths.
  bool MayBegin(const char* other) const { return (Difference(other) & kWithoutCase) == 0; }

  // Whether another name, which is not shorter, begins with this one.
  bool Begins(const char* other) const {
    if (Difference(other) == 0 && name_.size() <= kStep) return true;
    return AreSameBytes(name_.data(), other, name_.size());
  }

  // Looks at the lengths and at the first bytes without a jump in between, which would be hard to
  // foresee.
  bool Is(const char* other, uint32_t other_length) const {
    const uint64_t difference = Difference(other) & kWithoutCase;
    return (difference | (other_length ^ name_.size())) == 0 && Begins(other);
  }

 private:
  // Without the bit that tells upper from lower case, and some other bytes from each other.
  static constexpr uint64_t kWithoutCase = ~uint64_t{0x2020202020202020};

  static uint64_t Beginning(std::string_view name) {
    if (name.size() >= kStep) return byte_order::LoadLittle<uint64_t>(name.data());
    return name.empty() ? 0 : character_word::Load(name.data(), name.size());
  }
  uint64_t Difference(const char* other) const {
    return (beginning_ ^ byte_order::LoadLittle<uint64_t>(other)) & mask_;
  }

  std::string_view name_;
  uint64_t beginning_;
  uint64_t mask_;
};

}  // namespace xml_name

#endif
