// SPDX-License-Identifier: MIT

// The bytes of an input, taken apart from the front.
#ifndef TARVEN_FUZZ_SUPPORT_BYTE_SOURCE_H_
#define TARVEN_FUZZ_SUPPORT_BYTE_SOURCE_H_

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>

namespace fuzz {

// Behind the last byte there are zeros without end.
class ByteSource {
 public:
  ByteSource(const uint8_t* data, size_t size) : data_(data), size_(size) {}

  bool is_empty() const { return size_ == 0; }
  size_t size() const { return size_; }

  uint8_t Byte() { return Number<uint8_t>(); }

  // Its low byte comes first.
  template <typename Unsigned>
  Unsigned Number() {
    Unsigned number = 0;
    const size_t taken = std::min(sizeof number, size_);
    if (taken != 0) memcpy(&number, data_, taken);
    Skip(taken);
    return number;
  }

  // As many bytes, or as many as there are, whatever they hold.
  std::string_view Bytes(size_t count) {
    const std::string_view bytes(reinterpret_cast<const char*>(data_), std::min(count, size_));
    Skip(bytes.size());
    return bytes;
  }

  // What stands before the next zero, or all there is; the zero is taken as well.
  std::string Text() {
    const std::string_view rest(reinterpret_cast<const char*>(data_), size_);
    const std::string text(rest.substr(0, rest.find('\0')));
    Skip(std::min(text.size() + 1, size_));
    return text;
  }

 private:
  void Skip(size_t count) {
    data_ += count;
    size_ -= count;
  }

  const uint8_t* data_;
  size_t size_;
};

}  // namespace fuzz

#endif
