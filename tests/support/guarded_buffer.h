// SPDX-License-Identifier: MIT

// Buffers and strings that catch every access outside themselves.
#ifndef TARVEN_TESTS_SUPPORT_GUARDED_BUFFER_H_
#define TARVEN_TESTS_SUPPORT_GUARDED_BUFFER_H_

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace support {

// The last byte stands directly before a forbidden page, so that a store (or a load) behind the end
// stops the test at once. The bytes in front hold a pattern that the destructor checks. The buffer
// itself is filled with kFill, which tells untouched bytes from stored zeros.
class GuardedBuffer {
 public:
  static constexpr uint8_t kFill = 0xA5;

  explicit GuardedBuffer(size_t size);
  ~GuardedBuffer();
  GuardedBuffer(const GuardedBuffer&) = delete;
  GuardedBuffer& operator=(const GuardedBuffer&) = delete;

  char* data() { return reinterpret_cast<char*>(bytes()); }
  uint8_t* bytes() { return end_ - size_; }
  size_t size() const { return size_; }

  // True when the bytes from first up to (not including) last still hold kFill.
  bool IsUntouched(size_t first, size_t last);

 private:
  size_t size_;
  size_t mapped_size_;
  uint8_t* mapping_;
  uint8_t* end_;
};

// A string whose terminator stands directly before a forbidden page.
class GuardedString {
 public:
  explicit GuardedString(std::string_view text);

  char* text() { return buffer_.data(); }

 private:
  GuardedBuffer buffer_;
};

}  // namespace support

#endif
