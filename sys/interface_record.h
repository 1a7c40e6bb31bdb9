// SPDX-License-Identifier: MIT

// How the fields of a SYS_SOCKET_INTERFACE are made that are more than a copy.
#ifndef TARVEN_SYS_INTERFACE_RECORD_H_
#define TARVEN_SYS_INTERFACE_RECORD_H_

#include <algorithm>
#include <cstdint>
#include <span>
#include <string_view>

#include "sys/platform/platform.h"
#include "sys/socket_services.h"

namespace interface_record {

// Copies a name into a cleared record. One character less fits than the field could hold: 63 are
// too long already and end in "..." behind the first 60.
inline void CopyName(std::span<char, 64> field, std::string_view name) {
  constexpr size_t kLongestName = 62;
  constexpr size_t kKeptOfLongerName = 60;
  constexpr std::string_view kEllipsis = "...";
  const bool is_whole = name.size() <= kLongestName;
  const std::string_view kept(name.data(), is_whole ? name.size() : kKeptOfLongerName);
  char* const end = std::copy(kept.begin(), kept.end(), field.data());
  if (!is_whole) std::copy(kEllipsis.begin(), kEllipsis.end(), end);
}

// Copies the six bytes behind length and family into a cleared record: port and address. The flag
// looks at the record's first byte, its length of 16, whose bit of value 2 is never set; it is kept
// for the callers that pass it.
inline void CopyExtraBytes(std::span<uint8_t, 6> field, const platform::BsdAddressRecord& address,
                           uint32_t flags) {
  constexpr uint32_t kFlag = SYS_SOCKET_INTERFACE_FLAG_PLAIN_EXTRA;
  if ((flags & kFlag) != 0 && (address[0] & kFlag) != 0) return;
  std::copy_n(address.begin() + 2, field.size(), field.begin());
}

}  // namespace interface_record

#endif
