#include "util/memory.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstring>

#include "util/bytes.h"
#include "util/format.h"
#include "util/text.h"

namespace {

// ---- Comparison ----

// Buffers are compared 16 bytes at a time.
using Block [[gnu::vector_size(16)]] = uint8_t;

Block LoadBlock(const uint8_t* bytes) {
  Block block;
  memcpy(&block, bytes, sizeof block);
  return block;
}

// The index of the first byte that is not 0, or -1.
int64_t FirstSetByte(Block block) {
  struct Halves {
    uint64_t low;
    uint64_t high;
  };
  const auto [low, high] = std::bit_cast<Halves>(block);
  if (low != 0) return std::countr_zero(low) / 8;
  if (high != 0) return 8 + std::countr_zero(high) / 8;
  return -1;
}

// What a comparison makes of the bytes before it compares them.
struct AsTheyAre {
  static Block Of(Block block) { return block; }
  static uint8_t Of(uint8_t byte) { return byte; }
};

struct InLowerCase {
  static Block Of(Block block) {
    const Block is_capital = static_cast<Block>(block - 'A' <= 'Z' - 'A');
    return block + (is_capital & ('a' - 'A'));
  }
  static uint8_t Of(uint8_t byte) { return UTIL_aToLower[byte]; }
};

// The index of the first differing byte, or -1.
template <typename Form>
int64_t FirstDifference(const void* first, const void* second, size_t count) {
  const auto* const a = static_cast<const uint8_t*>(first);
  const auto* const b = static_cast<const uint8_t*>(second);
  size_t i = 0;
  for (; count - i >= sizeof(Block); i += sizeof(Block)) {
    const int64_t index = FirstSetByte(Form::Of(LoadBlock(a + i)) ^ Form::Of(LoadBlock(b + i)));
    if (index >= 0) return static_cast<int64_t>(i) + index;
  }
  for (; i < count; ++i) {
    if (Form::Of(a[i]) != Form::Of(b[i])) return static_cast<int64_t>(i);
  }
  return -1;
}

size_t NotNegative(int32_t count) { return static_cast<size_t>(std::max(count, 0)); }

int8_t FoldedByte(const void* buffer, int64_t index) {
  return static_cast<int8_t>(UTIL_aToLower[static_cast<const uint8_t*>(buffer)[index]]);
}

// ---- Records ----

// Copies the smaller of the two sizes and fills up the destination with zeros.
void CopyRecord(uint8_t* destination, size_t destination_size, const uint8_t* source,
                size_t source_size) {
  const size_t copied = std::min(destination_size, source_size);
  memcpy(destination, source, copied);
  memset(destination + copied, 0, destination_size - copied);
}

constexpr uint32_t kSizeField = 4;
constexpr uint32_t kLargestPayload = 4096;

// The number of bytes behind the size field. A size below 4 wraps to a huge one.
uint32_t PayloadSize(const void* structure) { return UTIL_Load32LE(structure) - kSizeField; }

// The place where a report would be hooked in. The text goes nowhere on purpose: an illegal size is
// refused in silence.
void ReportIllegalSize(const char* name, uint32_t payload_size) {
  char message[256];
  UTIL_snprintf(message, sizeof message,
                "UTIL_CopyAPIStruct(): Illegal size of struct %s: %d bytes.", name, payload_size);
}

}  // namespace

int32_t UTIL_FindFirstDiff(const void* first, const void* second, int32_t count) {
  return static_cast<int32_t>(FirstDifference<AsTheyAre>(first, second, NotNegative(count)));
}

int32_t UTIL_FindFirstDiffNoCase(const void* first, const void* second, int32_t count) {
  return static_cast<int32_t>(FirstDifference<InLowerCase>(first, second, NotNegative(count)));
}

int32_t UTIL_memcmp(const void* first, const void* second, int32_t count) {
  const int32_t index = UTIL_FindFirstDiff(first, second, count);
  if (index < 0) return 0;
  return static_cast<const uint8_t*>(first)[index] - static_cast<const uint8_t*>(second)[index];
}

int32_t UTIL_memicmp(const void* first, const void* second, uint32_t count) {
  const int64_t index = FirstDifference<InLowerCase>(first, second, count);
  return index < 0 ? 0 : FoldedByte(first, index) - FoldedByte(second, index);
}

int32_t UTIL_FindNotByte(const void* buffer, uint8_t byte, uint32_t count) {
  const auto* const bytes = static_cast<const uint8_t*>(buffer);
  if (count == 0) return -1;
  if (bytes[0] != byte) return 0;
  // All bytes are equal when each equals its neighbour.
  const int64_t index = FirstDifference<AsTheyAre>(bytes, bytes + 1, count - 1);
  return index < 0 ? -1 : static_cast<int32_t>(index + 1);
}

void UTIL_Reverse(void* buffer, uint32_t length) {
  auto* first = static_cast<uint8_t*>(buffer);
  auto* last = first + length;
  // Eight bytes from either end change places while there are that many.
  for (; last - first >= 16; first += 8) {
    last -= 8;
    const uint64_t head = UTIL_Load64LE(first);
    UTIL_Store64BE(first, UTIL_Load64LE(last));
    UTIL_Store64BE(last, head);
  }
  std::reverse(first, last);
}

void UTIL_CopyRecords(void* destination, uint32_t destination_size, const void* source,
                      uint32_t source_size, uint32_t count) {
  if (destination == nullptr || source == nullptr || destination_size == 0 || count == 0) return;
  auto* to = static_cast<uint8_t*>(destination);
  const auto* from = static_cast<const uint8_t*>(source);
  if (source_size == 0) {
    memset(to, 0, size_t{count} * destination_size);
    return;
  }
  if (source_size == destination_size) {
    memcpy(to, from, size_t{count} * destination_size);
    return;
  }
  for (uint32_t i = 0; i < count; ++i) {
    CopyRecord(to, destination_size, from, source_size);
    to += destination_size;
    from += source_size;
  }
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
