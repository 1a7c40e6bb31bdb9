// SPDX-License-Identifier: MIT

// Memory of exactly the size asked for, so that the sanitizers see every access outside it.
#ifndef TARVEN_FUZZ_SUPPORT_EXACT_BUFFER_H_
#define TARVEN_FUZZ_SUPPORT_EXACT_BUFFER_H_

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <memory>
#include <string_view>

#include "fuzz/support/check.h"

namespace fuzz {

// Filled with kFill, which tells untouched bytes from stored ones.
class ExactBuffer {
 public:
  static constexpr char kFill = '\xA5';

  explicit ExactBuffer(size_t size) : size_(size), data_(new char[size]) {
    std::fill_n(data_.get(), size, kFill);
  }

  char* data() { return data_.get(); }
  size_t size() const { return size_; }
  std::string_view contents() const { return {data_.get(), size_}; }

  // States that the buffer holds this text, its terminator, and nothing else that was stored.
  void RequireText(std::string_view text, const char* rule) const {
    Require(contents().substr(0, text.size()) == text, rule);
    Require(contents().substr(text.size(), 1) == std::string_view("", 1), rule);
    RequireUntouchedFrom(text.size() + 1, rule);
  }
  void RequireUntouchedFrom(size_t first, const char* rule) const {
    Require(contents().find_first_not_of(kFill, std::min(first, size_)) == std::string_view::npos,
            rule);
  }

 private:
  size_t size_;
  std::unique_ptr<char[]> data_;
};

// A text with its terminating zero, and nothing behind.
class ExactText {
 public:
  explicit ExactText(std::string_view text) : buffer_(text.size() + 1) {
    text.copy(buffer_.data(), text.size());
    buffer_.data()[text.size()] = '\0';
  }

  char* data() { return buffer_.data(); }
  const char* begin() { return buffer_.data(); }
  // Of the terminator.
  const char* end() { return buffer_.data() + buffer_.size() - 1; }

 private:
  ExactBuffer buffer_;
};

}  // namespace fuzz

#endif
