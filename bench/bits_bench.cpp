// SPDX-License-Identifier: MIT

// Single numbers and their bits, beside what a user would write in place of the calls. What is written
// by hand is in functions of its own, like ours: compared is the work, not the call.
#include <array>
#include <bit>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <numeric>
#include <random>
#include <string>
#include <vector>

#include "bench/rows.h"
#include "util/arithmetic.h"
#include "util/bits.h"
#include "util/bytes.h"

namespace {

constexpr int kNumbers = 1000;

template <typename Number>
std::vector<Number> RandomNumbers() {
  std::mt19937_64 random(20240229);
  std::vector<Number> numbers(kNumbers);
  for (Number& number : numbers) number = static_cast<Number>(random());
  return numbers;
}

// ---- Functions of one number ----

// Swaps neighbouring bits, then pairs and groups of four, then the bytes.
[[gnu::noinline]] uint32_t ReversedBySwaps(uint32_t value) {
  value = ((value >> 1) & 0x55555555) | ((value & 0x55555555) << 1);
  value = ((value >> 2) & 0x33333333) | ((value & 0x33333333) << 2);
  value = ((value >> 4) & 0x0F0F0F0F) | ((value & 0x0F0F0F0F) << 4);
  return __builtin_bswap32(value);
}

template <typename Number, typename Function>
auto OfEach(const std::vector<Number>& numbers, Function function) {
  return [numbers, function](benchmark::State& state) {
    for (auto _ : state) {
      for (const Number number : numbers) {
        auto result = function(number);
        benchmark::DoNotOptimize(result);
      }
    }
  };
}

// Each number is made of the result before.
template <typename Function>
auto InAChain(const std::vector<uint32_t>& numbers, Function function) {
  return [numbers, function](benchmark::State& state) {
    uint32_t result = 0;
    for (auto _ : state) {
      for (const uint32_t number : numbers) {
        result = function(result ^ number);
        benchmark::DoNotOptimize(result);
      }
    }
  };
}

template <typename Number, typename Function, typename OtherFunction>
void ExpectSame(const std::vector<Number>& numbers, Function function, OtherFunction other) {
  for (const Number number : numbers) {
    if (function(number) != other(number)) std::abort();
  }
}

template <typename Number, typename Function, typename OtherFunction>
void AddFunctionRow(const std::string& workload, Function project, const std::string& who,
                    OtherFunction peer) {
  const auto numbers = RandomNumbers<Number>();
  ExpectSame(numbers, project, peer);
  bench::Row("bits", workload)
      .Project(OfEach(numbers, project))
      .Peer(who, 1.10, OfEach(numbers, peer));
}

void AddReversalRows() {
  const auto numbers = RandomNumbers<uint32_t>();
  const auto project = [](uint32_t number) { return UTIL_BitReverse32(number); };
  ExpectSame(numbers, project, ReversedBySwaps);
  const auto swaps = [](uint32_t number) { return ReversedBySwaps(number); };
  bench::Row("bits", "1000 reversals, independent")
      .Project(OfEach(numbers, project))
      .Peer("swaps", 1.10, OfEach(numbers, swaps));
  bench::Row("bits", "1000 reversals, each of the one before")
      .Project(InAChain(numbers, project))
      .Peer("swaps", 1.75, InAChain(numbers, swaps));
}

void AddCountRow() {
  AddFunctionRow<uint32_t>(
      "1000 bit counts", [](uint32_t number) { return UTIL_CountBits(number); }, "std::popcount",
      [](uint32_t number) { return static_cast<uint32_t>(std::popcount(number)); });
}

// ---- Greatest common divisors ----

void AddDivisorRow() {
  struct Pair {
    uint64_t first;
    uint64_t second;
  };
  std::mt19937_64 random(20240229);
  // So many that no processor learns which of two values is less.
  std::vector<Pair> pairs(100'000);
  for (Pair& pair : pairs) {
    const auto width = [&random] { return random() % 64; };
    pair = {random() >> width() | 1, random() >> width() | 1};
  }
  const auto project = [](Pair pair) { return UTIL_gcd(pair.first, pair.second); };
  const auto peer = [](Pair pair) { return std::gcd(pair.first, pair.second); };
  ExpectSame(pairs, project, peer);
  bench::Row("bits", "100,000 greatest common divisors, 1 to 64 bits")
      .Project(OfEach(pairs, project))
      .Peer("std::gcd", 1.10, OfEach(pairs, peer));
}

// ---- Integers of variable length ----

[[gnu::noinline]] uint8_t* WriteByLoop(uint8_t* to, uint32_t value) {
  while (value >= 0x80) {
    *to++ = static_cast<uint8_t>(value | 0x80);
    value >>= 7;
  }
  *to++ = static_cast<uint8_t>(value);
  return to;
}

[[gnu::noinline]] uint32_t ReadByLoop(const uint8_t** from) {
  uint32_t value = 0;
  int shift = 0;
  uint8_t byte;
  do {
    byte = *(*from)++;
    value |= (byte & 0x7FU) << shift;
    shift += 7;
  } while (byte >= 0x80);
  return value;
}

using Bytes = std::vector<uint8_t>;

template <typename Write>
size_t WriteAll(const std::vector<uint32_t>& values, Bytes& bytes, Write write) {
  uint8_t* to = bytes.data();
  for (const uint32_t value : values) to = write(to, value);
  return static_cast<size_t>(to - bytes.data());
}

template <typename Write>
auto WriteAgain(const std::vector<uint32_t>& values, Write write) {
  return [values, write](benchmark::State& state) {
    Bytes bytes(values.size() * 5);
    for (auto _ : state) {
      size_t size = WriteAll(values, bytes, write);
      benchmark::DoNotOptimize(size);
      benchmark::ClobberMemory();
    }
  };
}

template <typename Read>
auto ReadAgain(const Bytes& bytes, Read read) {
  return [bytes, read](benchmark::State& state) {
    for (auto _ : state) {
      for (const uint8_t* from = bytes.data(); from != bytes.data() + bytes.size();) {
        uint32_t value = read(&from);
        benchmark::DoNotOptimize(value);
      }
    }
  };
}

void AddVarU32Rows(const std::string& name, const std::vector<uint32_t>& values) {
  const auto write = [](uint8_t* to, uint32_t value) { return UTIL_WriteVarU32(to, value); };
  const auto loop_write = [](uint8_t* to, uint32_t value) { return WriteByLoop(to, value); };
  const auto read = [](const uint8_t** from) { return UTIL_ReadVarU32(from); };
  const auto loop_read = [](const uint8_t** from) { return ReadByLoop(from); };
  Bytes bytes(values.size() * 5);
  Bytes loop_bytes = bytes;
  bytes.resize(WriteAll(values, bytes, write));
  loop_bytes.resize(WriteAll(values, loop_bytes, loop_write));
  if (bytes != loop_bytes) std::abort();
  const uint8_t* from = bytes.data();
  const uint8_t* loop_from = bytes.data();
  for (const uint32_t value : values) {
    if (read(&from) != value || loop_read(&loop_from) != value || from != loop_from) std::abort();
  }
  bench::Row("bits", "1000 LEB128, written, " + name)
      .Project(WriteAgain(values, write))
      .Peer("scalar loop", 1.10, WriteAgain(values, loop_write));
  bench::Row("bits", "1000 LEB128, read, " + name)
      .Project(ReadAgain(bytes, read))
      .Peer("scalar loop", 1.10, ReadAgain(bytes, loop_read));
}

void AddVarU32Rows() {
  auto values = RandomNumbers<uint32_t>();
  for (uint32_t& value : values) value %= 0x80;
  AddVarU32Rows("1 byte", values);
  std::mt19937 random(20240229);
  for (uint32_t& value : values) value = static_cast<uint32_t>(random()) >> (random() % 32);
  AddVarU32Rows("1 to 5 bytes", values);
}

// ---- Bit fields ----

// Bits of a stream, a byte at a time.
[[gnu::noinline]] uint32_t ReadBitsByLoop(const uint8_t* buffer, uint32_t bit_position,
                                          uint32_t count) {
  uint64_t bits = 0;
  const uint32_t skipped = bit_position % 8;
  const uint8_t* const bytes = buffer + bit_position / 8;
  for (uint32_t i = 0; i * 8 < skipped + count; ++i) bits |= uint64_t{bytes[i]} << (i * 8);
  return static_cast<uint32_t>((bits >> skipped) & ((uint64_t{1} << count) - 1));
}

[[gnu::noinline]] void WriteBitsByLoop(uint8_t* buffer, uint32_t value, uint32_t bit_position,
                                       uint32_t count) {
  const uint32_t skipped = bit_position % 8;
  uint8_t* const bytes = buffer + bit_position / 8;
  const uint64_t mask = ((uint64_t{1} << count) - 1) << skipped;
  const uint64_t bits = uint64_t{value} << skipped;
  for (uint32_t i = 0; i * 8 < skipped + count; ++i) {
    const auto byte_mask = static_cast<uint8_t>(mask >> (i * 8));
    bytes[i] = static_cast<uint8_t>((bytes[i] & ~byte_mask) | ((bits >> (i * 8)) & byte_mask));
  }
}

// Packs values of less than 2^bits back to back, as a user's loop would: out of a number that
// gathers bits.
[[gnu::noinline]] void PackByLoop(uint8_t* buffer, const uint32_t* values, uint32_t bits,
                                  uint32_t count) {
  uint64_t gathered = 0;
  uint32_t filled = 0;
  for (uint32_t i = 0; i < count; ++i) {
    gathered |= uint64_t{values[i]} << filled;
    for (filled += bits; filled >= 8; filled -= 8) {
      *buffer++ = static_cast<uint8_t>(gathered);
      gathered >>= 8;
    }
  }
  if (filled > 0) *buffer = static_cast<uint8_t>(gathered);
}

[[gnu::noinline]] void SetBitsByLoop(uint8_t* buffer, uint32_t first_bit, uint32_t count) {
  for (uint32_t bit = first_bit; bit < first_bit + count;) {
    if (bit % 8 == 0 && first_bit + count - bit >= 8) {
      buffer[bit / 8] = 0xFF;
      bit += 8;
    } else {
      buffer[bit / 8] = static_cast<uint8_t>(buffer[bit / 8] | 1U << (bit % 8));
      ++bit;
    }
  }
}

struct Field {
  uint32_t position;
  uint32_t count;
};

// Anywhere in a stream of 1024 bytes.
std::vector<Field> Fields(uint32_t fewest, uint32_t most) {
  std::mt19937 random(20240229);
  std::vector<Field> fields(kNumbers);
  for (Field& field : fields) {
    field.count = fewest + static_cast<uint32_t>(random()) % (most - fewest + 1);
    field.position = static_cast<uint32_t>(random()) % (1024 * 8 - field.count);
  }
  return fields;
}

Bytes Stream() {
  Bytes bytes;
  for (const uint32_t number : RandomNumbers<uint32_t>()) {
    bytes.push_back(static_cast<uint8_t>(number));
  }
  bytes.resize(1024);
  return bytes;
}

template <typename Use>
auto UseAll(const std::vector<Field>& fields, Use use) {
  return [fields, use, stream = Stream()](benchmark::State& state) {
    Bytes bytes = stream;
    for (auto _ : state) {
      for (const Field field : fields) use(bytes.data(), field);
      benchmark::ClobberMemory();
    }
  };
}

template <typename Use, typename OtherUse>
void AddFieldRow(const std::string& workload, const std::vector<Field>& fields, Use project,
                 OtherUse peer) {
  Bytes bytes = Stream();
  Bytes other_bytes = Stream();
  for (const Field field : fields) {
    project(bytes.data(), field);
    peer(other_bytes.data(), field);
    if (bytes != other_bytes) std::abort();
  }
  bench::Row("bits", workload)
      .Project(UseAll(fields, project))
      .Peer("scalar loop", 1.10, UseAll(fields, peer));
}

void AddFieldRows() {
  const auto narrow = Fields(1, 16);
  for (const Field field : narrow) {
    const Bytes stream = Stream();
    if (UTIL_ReadBits(stream.data(), field.position, field.count) !=
        ReadBitsByLoop(stream.data(), field.position, field.count)) {
      std::abort();
    }
  }
  AddFieldRow(
      "1000 fields of 1 to 16 bits, read", narrow,
      [](uint8_t* bytes, Field field) {
        benchmark::DoNotOptimize(UTIL_ReadBits(bytes, field.position, field.count));
      },
      [](uint8_t* bytes, Field field) {
        benchmark::DoNotOptimize(ReadBitsByLoop(bytes, field.position, field.count));
      });
  const auto wide = Fields(32, 32);
  for (const Field field : wide) {
    const Bytes stream = Stream();
    if (UTIL_ReadBits32(stream.data(), field.position) !=
        ReadBitsByLoop(stream.data(), field.position, 32)) {
      std::abort();
    }
  }
  AddFieldRow(
      "1000 fields of 32 bits, read", wide,
      [](uint8_t* bytes, Field field) {
        benchmark::DoNotOptimize(UTIL_ReadBits32(bytes, field.position));
      },
      [](uint8_t* bytes, Field field) {
        benchmark::DoNotOptimize(ReadBitsByLoop(bytes, field.position, 32));
      });
  AddFieldRow(
      "1000 fields of 32 bits, written", wide,
      [](uint8_t* bytes, Field field) {
        UTIL_WriteBits32(bytes, field.position * 0x9E3779B1, field.position);
      },
      [](uint8_t* bytes, Field field) {
        WriteBitsByLoop(bytes, field.position * 0x9E3779B1, field.position, 32);
      });
  AddFieldRow(
      "1000 runs of 1 to 64 bits, set", Fields(1, 64),
      [](uint8_t* bytes, Field field) { UTIL_SetBitRange(bytes, field.position, field.count); },
      [](uint8_t* bytes, Field field) { SetBitsByLoop(bytes, field.position, field.count); });
}

void AddPackingRow(uint32_t bits) {
  auto values = RandomNumbers<uint32_t>();
  for (uint32_t& value : values) value >>= 32 - bits;
  Bytes bytes(values.size() * 4 + 8);
  const auto pack = [bits](uint8_t* to, const std::vector<uint32_t>& numbers) {
    UTIL_WriteBitsArray(to, numbers.data(), 0, bits, kNumbers);
  };
  const auto loop = [bits](uint8_t* to, const std::vector<uint32_t>& numbers) {
    PackByLoop(to, numbers.data(), bits, kNumbers);
  };
  Bytes other_bytes = bytes;
  pack(bytes.data(), values);
  loop(other_bytes.data(), values);
  if (bytes != other_bytes) std::abort();
  const auto again = [values, bytes](auto work) {
    return [values, bytes, work](benchmark::State& state) {
      Bytes space = bytes;
      for (auto _ : state) {
        work(space.data(), values);
        benchmark::ClobberMemory();
      }
    };
  };
  bench::Row("bits", "1000 values of " + std::to_string(bits) + " bits, packed")
      .Project(again(pack))
      .Peer("scalar loop", 1.10, again(loop));
}

}  // namespace

void bench::AddRows() {
  AddReversalRows();
  AddCountRow();
  AddDivisorRow();
  AddVarU32Rows();
  AddFieldRows();
  for (const uint32_t bits : {5, 12, 32}) AddPackingRow(bits);
}
