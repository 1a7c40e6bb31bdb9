// What names consist of and when two are the same.
#ifndef TARVEN_SETTINGS_XML_NAME_H_
#define TARVEN_SETTINGS_XML_NAME_H_

#include <bit>
#include <cstdint>
#include <string_view>

#include "settings/xml_bytes.h"
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

// The first byte from here on that no name holds, in a padded text.
inline const char* NameEnd(const char* at) {
  return xml_bytes::FindFirst(at, [](xml_bytes::Bytes bytes) { return ~NameBytes(bytes); });
}

// Compares the lengths first, then the bytes without regard to case.
inline bool AreSame(std::string_view name, const char* other, uint32_t other_length) {
  if (name.size() != other_length) return false;
  for (uint32_t i = 0; i < other_length; ++i) {
    if (UTIL_aToLower[static_cast<uint8_t>(name[i])] !=
        UTIL_aToLower[static_cast<uint8_t>(other[i])]) {
      return false;
    }
  }
  return true;
}

}  // namespace xml_name

#endif
