// SPDX-License-Identifier: MIT

#include "util/format.h"

#include <algorithm>
#include <cstdarg>
#include <cstdint>
#include <cstring>

#include "util/byte_order.h"
#include "util/character_word.h"
#include "util/decimal.h"
#include "util/hexadecimal.h"

namespace {

// ---- Output ----

using character_word::kWordSize;
using Block = uint8_t __attribute__((vector_size(2 * kWordSize)));
using BlockHalves = uint64_t __attribute__((vector_size(2 * kWordSize)));

bool Contains(Block block, char character) {
  const auto matches = reinterpret_cast<BlockHalves>(block == static_cast<uint8_t>(character));
  return (matches[0] | matches[1]) != 0;
}

// Copies a text up to a character, or all of it. Returns how many characters that is; nothing behind
// them is stored, and nothing behind the text is loaded.
size_t CopyUntil(char character, char* destination, const char* text, size_t length) {
  using byte_order::LoadLittle;
  using byte_order::StoreLittle;
  size_t done = 0;
  for (; length - done >= sizeof(Block); done += sizeof(Block)) {
    const auto block = LoadLittle<Block>(text + done);
    if (Contains(block, character)) break;
    StoreLittle(destination + done, block);
  }
  for (; length - done >= kWordSize; done += kWordSize) {
    const auto word = LoadLittle<uint64_t>(text + done);
    if (const uint64_t matches = character_word::Matches(word, character); matches != 0) {
      const size_t count = character_word::First(matches);
      character_word::Store(destination + done, word, count);
      return done + count;
    }
    StoreLittle(destination + done, word);
  }
  if (done == length) return done;
  if (length >= kWordSize) {
    // The last word reaches back into what is copied already.
    const auto word = LoadLittle<uint64_t>(text + length - kWordSize);
    if (character_word::Matches(word, character) == 0) {
      StoreLittle(destination + length - kWordSize, word);
      return length;
    }
  }
  const uint64_t word = character_word::Load(text + done, length - done);
  const uint64_t matches = character_word::Matches(word, character);
  const size_t count = std::min(character_word::First(matches), length - done);
  character_word::Store(destination + done, word, count);
  return done + count;
}

// Where the text goes. Every store passes through here, so nothing lands behind the capacity. What
// takes an output by reference has to be inlined: only then does the output stay in registers.
class Output {
 public:
  Output(char* buffer, int32_t capacity)
      : next_(buffer), end_(buffer + (capacity > 1 ? capacity - 1 : 0)) {}

  // Once it is, nothing that follows can change the text.
  bool IsFull() const { return next_ == end_; }

  void Put(char character) {
    if (next_ < end_) *next_++ = character;
  }

  // Puts the first count characters of a word.
  void PutWord(uint64_t word, size_t count) {
    const size_t stored = std::min(count, room());
    character_word::Store(next_, word, stored);
    next_ += stored;
  }

  // Puts the last count characters, 9 to 16, of two words.
  void PutTwoWords(uint64_t first, uint64_t second, size_t count) {
    const size_t left_out = 2 * kWordSize - count;
    const uint64_t rest = first >> (8 * left_out);
    if (room() < count) {
      PutWord(rest, kWordSize - left_out);
      PutWord(second, kWordSize);
      return;
    }
    // Two stores that overlap. The shift is in two steps, as none of 64 bits is defined.
    const uint64_t filled = rest | (second << 1) << (63 - 8 * left_out);
    byte_order::StoreLittle(next_, filled);
    byte_order::StoreLittle(next_ + count - kWordSize, second);
    next_ += count;
  }

  void PutString(const char* text) {
    // What does not fit is not even looked at.
    const void* const terminator = memchr(text, '\0', room());
    const size_t length =
        terminator ? static_cast<size_t>(static_cast<const char*>(terminator) - text) : room();
    memcpy(next_, text, length);
    next_ += length;
  }

  // Puts a text up to a character, or all of it, or what fits of it. Returns how many characters
  // that is.
  size_t PutUntil(char character, const char* text, size_t length) {
    const size_t copied = CopyUntil(character, next_, text, std::min(length, room()));
    next_ += copied;
    return copied;
  }

  [[gnu::always_inline]] void Fill(char character, size_t count) {
    if (count <= kWordSize) return PutWord(character_word::Of(character), count);
    const size_t stored = std::min(count, room());
    memset(next_, character, stored);
    next_ += stored;
  }

  char* Terminate() {
    *next_ = '\0';
    return next_;
  }

 private:
  size_t room() const { return static_cast<size_t>(end_ - next_); }

  char* next_;
  char* end_;  // where the terminator stands at the latest
};

// ---- Directives ----

struct Directive {
  uint32_t width = 0;
  uint32_t precision = 0;
  bool is_64_bit = false;
  char conversion = '\0';
};

// An argument list that functions can share; va_list itself may be an array type.
struct Arguments {
  va_list list;
};

// ---- Numbers ----

// Digits are made eight at a time, in a register. A base knows how.
struct Decimal {
  static constexpr int32_t kMostDigits = 20;
  static constexpr uint64_t kEightDigits = decimal::kPowersOfTen[8];

  uint32_t Length(uint64_t value) const { return decimal::Length(value); }
  uint64_t EightDigits(uint32_t value) const { return decimal::EightDigits(value); }
};

struct Hexadecimal {
  static constexpr int32_t kMostDigits = 16;
  static constexpr uint64_t kEightDigits = uint64_t{1} << 32;

  uint32_t Length(uint64_t value) const { return hexadecimal::Length(value); }
  uint64_t EightDigits(uint32_t value) const { return hexadecimal::EightDigits(value, to_letters); }

  uint64_t to_letters;
};

// Puts the last digits, at most eight, of a number that has no more.
template <typename Base>
[[gnu::always_inline]] inline void PutGroup(Output& output, Base base, uint64_t value,
                                            int32_t digits) {
  const auto count = static_cast<uint32_t>(digits);
  const uint64_t group = base.EightDigits(static_cast<uint32_t>(value));
  output.PutWord(group >> (8 * (kWordSize - count)), count);
}

// Puts the digits in front of the last sixteen. The output travels by value here: where its address
// is taken it cannot stay in registers.
template <typename Base>
Output PutLeadingDigits(Output output, Base base, uint64_t value, int32_t digits) {
  constexpr int32_t kMostLeading = Base::kMostDigits - 16;
  if (digits > kMostLeading) output.Fill('0', static_cast<uint32_t>(digits - kMostLeading));
  if constexpr (kMostLeading > 0) PutGroup(output, base, value, std::min(digits, kMostLeading));
  return output;
}

// Puts the last digits, 9 to 16, of a number.
template <typename Base>
[[gnu::always_inline]] inline void PutTwoGroups(Output& output, Base base, uint64_t value,
                                                int32_t digits) {
  const auto high = static_cast<uint32_t>(value / Base::kEightDigits);
  const auto low = static_cast<uint32_t>(value % Base::kEightDigits);
  output.PutTwoWords(base.EightDigits(high), base.EightDigits(low), static_cast<uint32_t>(digits));
}

// Widths and precisions beyond the signed range count as none.
template <typename Base>
void PutNumber(Output& output, Base base, const Directive& directive, uint64_t value) {
  const auto width = static_cast<int32_t>(directive.width);
  const auto precision = static_cast<int32_t>(directive.precision);
  const int32_t digits = std::max(precision, static_cast<int32_t>(base.Length(value)));
  if (width > digits) output.Fill(' ', static_cast<uint32_t>(width - digits));
  if (digits <= 8) return PutGroup(output, base, value, digits);
  if (digits > 16) {
    const uint64_t leading = value / Base::kEightDigits / Base::kEightDigits;
    output = PutLeadingDigits(output, base, leading, digits - 16);
    value -= leading * Base::kEightDigits * Base::kEightDigits;
  }
  PutTwoGroups(output, base, value, std::min(digits, 16));
}

uint64_t NextUnsigned(const Directive& directive, Arguments& arguments) {
  return directive.is_64_bit ? va_arg(arguments.list, unsigned long long)
                             : va_arg(arguments.list, unsigned);
}

// Puts the sign of the next argument and returns its magnitude.
uint64_t PutSign(Output& output, const Directive& directive, Arguments& arguments) {
  int64_t value = 0;
  if (directive.is_64_bit) {
    value = va_arg(arguments.list, long long);
    // The smallest 64-bit number has no positive counterpart and prints as 0, without a sign: its
    // magnitude counts as a small one, and its low half is 0. Kept on purpose.
    if (value == INT64_MIN) value = 0;
  } else {
    value = va_arg(arguments.list, int);
  }
  if (value < 0) {
    output.Put('-');
    value = -value;
  }
  return static_cast<uint64_t>(value);
}

// The low half alone, whatever the "l" count.
uint64_t NextPointer(Arguments& arguments) {
  return static_cast<uint32_t>(reinterpret_cast<uintptr_t>(va_arg(arguments.list, void*)));
}

void PutDecimal(Output& output, const Directive& directive, Arguments& arguments) {
  const uint64_t value = directive.conversion == 'u' ? NextUnsigned(directive, arguments)
                                                     : PutSign(output, directive, arguments);
  PutNumber(output, Decimal{}, directive, value);
}

void PutHex(Output& output, Directive directive, Arguments& arguments) {
  if (directive.conversion == 'p') directive.width = 8;
  const uint64_t value =
      directive.conversion == 'p' ? NextPointer(arguments) : NextUnsigned(directive, arguments);
  const Hexadecimal base{directive.conversion == 'X' ? hexadecimal::kToUpperLetters
                                                     : hexadecimal::kToLowerLetters};
  PutNumber(output, base, directive, value);
}

uint32_t ReadNumber(const char*& format) {
  uint32_t value = 0;
  for (; *format >= '0' && *format <= '9'; ++format) {
    value = value * 10 + static_cast<uint32_t>(*format - '0');
  }
  return value;
}

// Reads what follows the "%". The format stops at its terminator, which then is the conversion.
Directive ReadDirective(const char*& format) {
  Directive directive;
  directive.width = ReadNumber(format);
  if (*format == '.') directive.precision = ReadNumber(++format);
  const char* const lengths = format;
  while (*format == 'l') ++format;
  directive.is_64_bit = format - lengths >= 2;
  directive.conversion = *format;
  if (*format != '\0') ++format;
  return directive;
}

void PutConversion(Output& output, const Directive& directive, Arguments& arguments) {
  switch (directive.conversion) {
    case 'd':
    case 'i':
    case 'u':
      return PutDecimal(output, directive, arguments);
    case 'x':
    case 'X':
    case 'p':
      return PutHex(output, directive, arguments);
    case 'c':
      return output.Put(static_cast<char>(va_arg(arguments.list, int)));
    case 's':
      return output.PutString(va_arg(arguments.list, const char*));
    default:
      return;  // Unknown conversions produce nothing and take no argument.
  }
}

// ---- Formats ----

// Looking for the end of the format pays for longer runs than this.
constexpr size_t kShortRun = 4;

// Puts what stands in front of the next "%" or the end of the format. end is that end once it has
// been looked for, and null before. Returns where the "%" or the end is, or any place when the output
// is full.
const char* PutRun(Output& output, const char* format, const char*& end) {
  for (size_t i = 0; *format != '%' && *format != '\0'; ++i) {
    if (i == kShortRun) {
      if (end == nullptr) end = format + strlen(format);
      return format + output.PutUntil('%', format, static_cast<size_t>(end - format));
    }
    output.Put(*format++);
  }
  return format;
}

char* Format(Output output, const char* format, Arguments& arguments) {
  const char* end = nullptr;
  while (!output.IsFull()) {
    format = PutRun(output, format, end);
    if (*format != '%') break;
    ++format;
    if (*format == '%') {
      output.Put(*format++);
    } else {
      PutConversion(output, ReadDirective(format), arguments);
    }
  }
  return output.Terminate();
}

}  // namespace

char* UTIL_vsnprintf(char* buffer, int32_t capacity, const char* format, va_list arguments) {
  Arguments shared;
  va_copy(shared.list, arguments);
  char* const terminator = Format({buffer, capacity}, format, shared);
  va_end(shared.list);
  return terminator;
}

char* UTIL_snprintf(char* buffer, int32_t capacity, const char* format, ...) {
  Arguments arguments;
  va_start(arguments.list, format);
  char* const terminator = Format({buffer, capacity}, format, arguments);
  va_end(arguments.list);
  return terminator;
}
