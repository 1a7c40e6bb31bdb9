// SPDX-License-Identifier: MIT

// Sets of characters, tested with one shift.
#ifndef TARVEN_UTIL_CHARACTER_SET_H_
#define TARVEN_UTIL_CHARACTER_SET_H_

#include <bit>
#include <cstdint>
#include <initializer_list>

namespace character_set {

// Any characters with codes below 64, one bit each.
class Set {
 public:
  constexpr Set(std::initializer_list<char> members) {
    for (const char member : members) mask_ |= uint64_t{1} << static_cast<uint8_t>(member);
  }

  // The set with one member more.
  constexpr Set With(char member) const {
    Set set = *this;
    set.mask_ |= Set{member}.mask_;
    return set;
  }

  constexpr bool Contains(char character) const {
    const auto code = static_cast<uint8_t>(character);
    return code < std::bit_width(mask_) && ((mask_ >> code) & 1) != 0;
  }

 private:
  uint64_t mask_ = 0;
};

}  // namespace character_set

#endif
