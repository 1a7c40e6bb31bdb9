// SPDX-License-Identifier: MIT

#include "util/memory.h"

#include <algorithm>
#include <cstddef>
#include <cstring>

#include "util/byte_blocks.h"
#include "util/byte_order.h"
#include "util/byte_search.h"
#include "util/format.h"
#include "util/text.h"

namespace {

using byte_order::LoadLittle;
using byte_order::StoreBig;

// ---- Comparison ----

int64_t FirstDifferenceWithoutCase(const void* first, const void* second, size_t size) {
  return byte_blocks::FirstDifference(byte_blocks::Pair<byte_blocks::WithoutCase>(first, second),
                                      size);
}

size_t NotNegative(int32_t count) { return static_cast<size_t>(std::max(count, 0)); }

uint8_t ByteAt(const void* buffer, int64_t index) {
  return static_cast<const uint8_t*>(buffer)[index];
}

int8_t FoldedByteAt(const void* buffer, int64_t index) {
  return static_cast<int8_t>(UTIL_aToLower[ByteAt(buffer, index)]);
}

// ---- Records ----

// Copies the smaller of the two sizes and fills up the destination with zeros.
void CopyRecord(uint8_t* destination, size_t destination_size, const uint8_t* source,
                size_t source_size) {
  const size_t copied = std::min(destination_size, source_size);
  memcpy(destination, source, copied);
  memset(destination + copied, 0, destination_size - copied);
}

// Apart, so that records of equal sizes cost no more than their copy.
[[gnu::noinline]] void CopyResized(uint8_t* destination, uint32_t destination_size,
                                   const uint8_t* source, uint32_t source_size, uint32_t count) {
  for (uint32_t i = 0; i < count; ++i) {
    CopyRecord(destination, destination_size, source, source_size);
    destination += destination_size;
    source += source_size;
  }
}

constexpr uint32_t kSizeField = 4;
constexpr uint32_t kLargestPayload = 4096;

// The number of bytes behind the size field. A size below 4 wraps to a huge one.
uint32_t PayloadSize(const void* structure) { return LoadLittle<uint32_t>(structure) - kSizeField; }

// The place where a report would be hooked in. The text goes nowhere on purpose: an illegal size is
// refused in silence.
void ReportIllegalSize(const char* name, uint32_t payload_size) {
  char message[256];
  UTIL_snprintf(message, sizeof message,
                "UTIL_CopyAPIStruct(): Illegal size of struct %s: %d bytes.", name, payload_size);
}

}  // namespace

int32_t UTIL_FindFirstDiff(const void* first, const void* second, int32_t count) {
  return byte_search::FirstDifference(first, second, NotNegative(count));
}

int32_t UTIL_FindFirstDiffNoCase(const void* first, const void* second, int32_t count) {
  return static_cast<int32_t>(FirstDifferenceWithoutCase(first, second, NotNegative(count)));
}

int32_t UTIL_memcmp(const void* first, const void* second, int32_t count) {
  const int32_t i = byte_search::FirstDifference(first, second, NotNegative(count));
  return i < 0 ? 0 : ByteAt(first, i) - ByteAt(second, i);
}

int32_t UTIL_memicmp(const void* first, const void* second, uint32_t count) {
  const int64_t i = FirstDifferenceWithoutCase(first, second, count);
  return i < 0 ? 0 : FoldedByteAt(first, i) - FoldedByteAt(second, i);
}

int32_t UTIL_FindNotByte(const void* buffer, uint8_t byte, uint32_t count) {
  return byte_search::FirstOther(buffer, byte, count);
}

void UTIL_Reverse(void* buffer, uint32_t length) {
  auto* first = static_cast<uint8_t*>(buffer);
  auto* last = first + length;
  // Eight bytes from either end change places while there are that many.
  for (; last - first >= 16; first += 8) {
    last -= 8;
    const uint64_t head = LoadLittle<uint64_t>(first);
    StoreBig(first, LoadLittle<uint64_t>(last));
    StoreBig(last, head);
  }
  std::reverse(first, last);
}

void UTIL_CopyRecords(void* destination, uint32_t destination_size, const void* source,
                      uint32_t source_size, uint32_t count) {
  if (destination == nullptr || source == nullptr || destination_size == 0 || count == 0) return;
  auto* const to = static_cast<uint8_t*>(destination);
  const auto* const from = static_cast<const uint8_t*>(source);
  if (source_size != destination_size) {
    CopyResized(to, destination_size, from, source_size, count);
    return;
  }
  memcpy(to, from, size_t{count} * destination_size);
}

void UTIL_CopyAPIStruct(void* destination, const void* source, const char* name) {
  const uint32_t payload_size = PayloadSize(destination);
  if (payload_size > kLargestPayload || payload_size % 4 != 0) {
    ReportIllegalSize(name, payload_size);
    return;
  }
  CopyRecord(static_cast<uint8_t*>(destination) + kSizeField, payload_size,
             static_cast<const uint8_t*>(source) + kSizeField, PayloadSize(source));
}
