// SPDX-License-Identifier: MIT

// Bytes before a forbidden page.
#ifndef TARVEN_TESTS_SUPPORT_GUARDED_BYTES_H_
#define TARVEN_TESTS_SUPPORT_GUARDED_BYTES_H_

#include <algorithm>
#include <cstdint>
#include <vector>

#include "tests/support/guarded_buffer.h"

namespace support {

using Bytes = std::vector<uint8_t>;

// A guarded buffer that starts with contents of its own.
class GuardedBytes : public GuardedBuffer {
 public:
  explicit GuardedBytes(const Bytes& contents) : GuardedBuffer(contents.size()) {
    std::copy(contents.begin(), contents.end(), bytes());
  }
};

inline Bytes Contents(GuardedBuffer& buffer) {
  return {buffer.bytes(), buffer.bytes() + buffer.size()};
}

// The numbers 0, 1, 2 and so on.
inline Bytes Counting(size_t size) {
  Bytes bytes(size);
  for (size_t i = 0; i < size; ++i) bytes[i] = static_cast<uint8_t>(i);
  return bytes;
}

}  // namespace support

#endif
