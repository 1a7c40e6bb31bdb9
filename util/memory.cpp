#include "util/memory.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstring>

#include "util/byte_order.h"
#include "util/format.h"
#include "util/text.h"

namespace {

using byte_order::LoadLittle;
using byte_order::StoreBig;

// ---- Comparison ----

using Block [[gnu::vector_size(16)]] = uint8_t;

// Blocks are compared in groups, since asking what a comparison gave takes longer than making it.
constexpr size_t kGroupSize = 4 * sizeof(Block);

// What a comparison calls different. A block's difference is not 0 in the bytes that differ.
struct Exact {
  static Block Difference(Block first, Block second) { return first ^ second; }
  static bool Differ(uint8_t first, uint8_t second) { return first != second; }
};

struct WithoutCase {
  // The one bit in which "A" to "Z" and "a" to "z" differ makes no difference in letters.
  static Block Difference(Block first, Block second) {
    constexpr uint8_t kCaseBit = 'a' - 'A';
    const auto is_letter = static_cast<Block>((first | kCaseBit) - 'a' <= 'z' - 'a');
    return (first ^ second) & ~(is_letter & kCaseBit);
  }
  static bool Differ(uint8_t first, uint8_t second) {
    return UTIL_aToLower[first] != UTIL_aToLower[second];
  }
};

// Two buffers of the same size.
template <typename Rule>
class Pair {
 public:
  Pair(const void* first, const void* second)
      : first_(static_cast<const uint8_t*>(first)), second_(static_cast<const uint8_t*>(second)) {}

  // The index of the first of count bytes that differs, or -1.
  int64_t FirstDifference(size_t count) const {
    size_t i = 0;
    while (count - i >= kGroupSize && !IsAnySet(GroupDifference(i))) i += kGroupSize;
    while (count - i >= sizeof(Block) && !IsAnySet(BlockDifference(i))) i += sizeof(Block);
    while (i < count && !Rule::Differ(first_[i], second_[i])) ++i;
    return i < count ? static_cast<int64_t>(i) : -1;
  }

 private:
  Block BlockDifference(size_t index) const {
    return Rule::Difference(LoadLittle<Block>(first_ + index), LoadLittle<Block>(second_ + index));
  }

  Block GroupDifference(size_t index) const {
    return BlockDifference(index) | BlockDifference(index + 16) | BlockDifference(index + 32) |
           BlockDifference(index + 48);
  }

  static bool IsAnySet(Block block) {
    struct Halves {
      uint64_t low;
      uint64_t high;
    };
    const auto halves = std::bit_cast<Halves>(block);
    return (halves.low | halves.high) != 0;
  }

  const uint8_t* first_;
  const uint8_t* second_;
};

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
  return static_cast<int32_t>(Pair<Exact>(first, second).FirstDifference(NotNegative(count)));
}

int32_t UTIL_FindFirstDiffNoCase(const void* first, const void* second, int32_t count) {
  return static_cast<int32_t>(Pair<WithoutCase>(first, second).FirstDifference(NotNegative(count)));
}

int32_t UTIL_memcmp(const void* first, const void* second, int32_t count) {
  const int32_t index = UTIL_FindFirstDiff(first, second, count);
  if (index < 0) return 0;
  return static_cast<const uint8_t*>(first)[index] - static_cast<const uint8_t*>(second)[index];
}

int32_t UTIL_memicmp(const void* first, const void* second, uint32_t count) {
  const int64_t index = Pair<WithoutCase>(first, second).FirstDifference(count);
  return index < 0 ? 0 : FoldedByte(first, index) - FoldedByte(second, index);
}

int32_t UTIL_FindNotByte(const void* buffer, uint8_t byte, uint32_t count) {
  const auto* const bytes = static_cast<const uint8_t*>(buffer);
  if (count == 0) return -1;
  if (bytes[0] != byte) return 0;
  // All bytes are equal when each equals its neighbour.
  const int64_t index = Pair<Exact>(bytes, bytes + 1).FirstDifference(count - 1);
  return index < 0 ? -1 : static_cast<int32_t>(index + 1);
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
  auto* to = static_cast<uint8_t*>(destination);
  const auto* from = static_cast<const uint8_t*>(source);
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
