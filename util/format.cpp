#include "util/format.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstdarg>
#include <cstdint>
#include <cstring>

#include "util/decimal.h"

namespace {

// Where the text goes. Every store passes through here, so nothing lands behind the capacity.
class Output {
 public:
  Output(char* buffer, int32_t capacity)
      : next_(buffer), end_(buffer + (capacity > 1 ? capacity - 1 : 0)) {}

  size_t room() const { return static_cast<size_t>(end_ - next_); }

  void Put(char character) {
    if (next_ < end_) *next_++ = character;
  }

  void Fill(char character, size_t count) {
    const size_t stored = std::min(count, room());
    memset(next_, character, stored);
    next_ += stored;
  }

  void PutString(const char* text) {
    void* const behind_terminator = memccpy(next_, text, '\0', room());
    next_ = behind_terminator ? static_cast<char*>(behind_terminator) - 1 : end_;
  }

  // Takes count characters of the destination; the caller stores them, and count is at most room().
  char* Take(size_t count) {
    char* const start = next_;
    next_ += count;
    return start;
  }

  char* Terminate() {
    *next_ = '\0';
    return next_;
  }

 private:
  char* next_;
  char* const end_;  // where the terminator stands at the latest
};

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

constexpr std::array<char, 200> kDecimalPairs = [] {
  std::array<char, 200> pairs{};
  for (size_t i = 0; i < 100; ++i) {
    pairs[2 * i] = static_cast<char>('0' + i / 10);
    pairs[2 * i + 1] = static_cast<char>('0' + i % 10);
  }
  return pairs;
}();

constexpr char kLowerDigits[] = "0123456789abcdef";
constexpr char kUpperDigits[] = "0123456789ABCDEF";

uint32_t HexLength(uint64_t value) {
  return (static_cast<uint32_t>(std::bit_width(value | 1)) + 3) / 4;
}

// Stores exactly length digits, the last one in front of end. Unsigned is uint32_t or uint64_t:
// values that fit in 32 bits are divided in 32-bit arithmetic.
template <typename Unsigned>
void StoreDecimal(char* end, uint32_t length, Unsigned value) {
  for (; length >= 2; length -= 2) {
    end -= 2;
    memcpy(end, &kDecimalPairs[2 * static_cast<size_t>(value % 100)], 2);
    value /= 100;
  }
  if (length == 1) end[-1] = static_cast<char>('0' + value % 10);
}

void StoreHex(char* end, uint32_t length, uint64_t value, const char* digits) {
  for (; length > 0; --length) {
    *--end = digits[value & 0xF];
    value >>= 4;
  }
}

// Pads with spaces up to the width, and with zeros up to the precision. Widths and precisions
// beyond the signed range count as none.
void PutPadding(Output& output, const Directive& directive, uint32_t length) {
  const int64_t precision = static_cast<int32_t>(directive.precision);
  const int64_t width = static_cast<int32_t>(directive.width);
  const int64_t digits = std::max<int64_t>(precision, length);
  if (width > digits) output.Fill(' ', static_cast<size_t>(width - digits));
  if (digits > length) output.Fill('0', static_cast<size_t>(digits - length));
}

void PutDecimal(Output& output, const Directive& directive, uint64_t value) {
  uint32_t length = decimal::Length(value);
  PutPadding(output, directive, length);
  if (output.room() == 0) return;
  if (length > output.room()) {
    // Only the leading digits fit: drop the others from the value.
    value /= decimal::kPowersOfTen[length - output.room()];
    length = static_cast<uint32_t>(output.room());
  }
  char* const end = output.Take(length) + length;
  if (value <= UINT32_MAX) {
    StoreDecimal(end, length, static_cast<uint32_t>(value));
  } else {
    StoreDecimal(end, length, value);
  }
}

void PutHex(Output& output, const Directive& directive, uint64_t value, const char* digits) {
  uint32_t length = HexLength(value);
  PutPadding(output, directive, length);
  if (output.room() == 0) return;
  if (length > output.room()) {
    value >>= 4 * (length - output.room());
    length = static_cast<uint32_t>(output.room());
  }
  StoreHex(output.Take(length) + length, length, value, digits);
}

void PutSigned(Output& output, const Directive& directive, Arguments& arguments) {
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
  PutDecimal(output, directive, static_cast<uint64_t>(value));
}

uint64_t NextUnsigned(const Directive& directive, Arguments& arguments) {
  return directive.is_64_bit ? va_arg(arguments.list, unsigned long long)
                             : va_arg(arguments.list, unsigned);
}

// The low half alone, whatever the "l" count, and always eight columns.
void PutPointer(Output& output, Directive directive, Arguments& arguments) {
  directive.width = 8;
  const auto address = reinterpret_cast<uintptr_t>(va_arg(arguments.list, void*));
  PutHex(output, directive, static_cast<uint32_t>(address), kLowerDigits);
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
      return PutSigned(output, directive, arguments);
    case 'u':
      return PutDecimal(output, directive, NextUnsigned(directive, arguments));
    case 'x':
      return PutHex(output, directive, NextUnsigned(directive, arguments), kLowerDigits);
    case 'X':
      return PutHex(output, directive, NextUnsigned(directive, arguments), kUpperDigits);
    case 'c':
      return output.Put(static_cast<char>(va_arg(arguments.list, int)));
    case 's':
      return output.PutString(va_arg(arguments.list, const char*));
    case 'p':
      return PutPointer(output, directive, arguments);
    default:
      return;  // Unknown conversions produce nothing and take no argument.
  }
}

}  // namespace

char* UTIL_vsnprintf(char* buffer, int32_t capacity, const char* format, va_list arguments) {
  Output output(buffer, capacity);
  Arguments shared;
  va_copy(shared.list, arguments);
  while (*format != '\0') {
    const char character = *format++;
    if (character != '%') {
      output.Put(character);
    } else if (*format == '%') {
      output.Put(*format++);
    } else {
      PutConversion(output, ReadDirective(format), shared);
    }
  }
  va_end(shared.list);
  return output.Terminate();
}

char* UTIL_snprintf(char* buffer, int32_t capacity, const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  char* const terminator = UTIL_vsnprintf(buffer, capacity, format, arguments);
  va_end(arguments);
  return terminator;
}
