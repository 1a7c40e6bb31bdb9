// SPDX-License-Identifier: MIT

#include "tests/support/guarded_buffer.h"

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace support {

namespace {
constexpr uint8_t kCanary = 0x5C;
}

GuardedBuffer::GuardedBuffer(size_t size) : size_(size) {
  const auto page = static_cast<size_t>(sysconf(_SC_PAGESIZE));
  const size_t writable = (size / page + 1) * page;
  mapped_size_ = writable + page;
  void* const mapping =
      mmap(nullptr, mapped_size_, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (mapping == MAP_FAILED) abort();
  mapping_ = static_cast<uint8_t*>(mapping);
  end_ = mapping_ + writable;
  if (mprotect(end_, page, PROT_NONE) != 0) abort();
  memset(mapping_, kCanary, writable - size);
  memset(bytes(), kFill, size);
}

GuardedBuffer::~GuardedBuffer() {
  EXPECT_TRUE(std::all_of(mapping_, bytes(), [](uint8_t byte) { return byte == kCanary; }))
      << "stored in front of the buffer";
  munmap(mapping_, mapped_size_);
}

bool GuardedBuffer::IsUntouched(size_t first, size_t last) {
  return std::all_of(bytes() + first, bytes() + last, [](uint8_t byte) { return byte == kFill; });
}

GuardedString::GuardedString(std::string_view text) : buffer_(text.size() + 1) {
  text.copy(buffer_.data(), text.size());
  buffer_.data()[text.size()] = '\0';
}

}  // namespace support
