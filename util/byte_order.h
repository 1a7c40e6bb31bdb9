// SPDX-License-Identifier: MIT

// Loads and stores in a named byte order, for any address, where a call for each would cost too much.
#ifndef TARVEN_UTIL_BYTE_ORDER_H_
#define TARVEN_UTIL_BYTE_ORDER_H_

#include <bit>
#include <cstdint>
#include <cstring>

namespace byte_order {

static_assert(std::endian::native == std::endian::little);

inline uint16_t Swapped(uint16_t value) { return __builtin_bswap16(value); }
inline uint32_t Swapped(uint32_t value) { return __builtin_bswap32(value); }
inline uint64_t Swapped(uint64_t value) { return __builtin_bswap64(value); }

template <typename Value>
Value LoadLittle(const void* address) {
  Value value;
  memcpy(&value, address, sizeof value);
  return value;
}

template <typename Value>
Value LoadBig(const void* address) {
  return Swapped(LoadLittle<Value>(address));
}

template <typename Value>
void StoreLittle(void* address, Value value) {
  memcpy(address, &value, sizeof value);
}

template <typename Value>
void StoreBig(void* address, Value value) {
  StoreLittle(address, Swapped(value));
}

}  // namespace byte_order

#endif
