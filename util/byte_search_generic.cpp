// SPDX-License-Identifier: MIT

// For processors whose every model has vectors of 16 bytes, and none has wider ones.
#include "util/byte_blocks.h"
#include "util/byte_search.h"

int32_t byte_search::FirstDifference(const void* first, const void* second, size_t size) {
  return static_cast<int32_t>(
      byte_blocks::FirstDifference(byte_blocks::Pair<byte_blocks::Exact>(first, second), size));
}

int32_t byte_search::FirstOther(const void* buffer, uint8_t byte, size_t size) {
  return static_cast<int32_t>(
      byte_blocks::FirstDifference(byte_blocks::Repeated(buffer, byte), size));
}
