// SPDX-License-Identifier: MIT

// UTIL_snprintf beside a formatter that is as plain and slow as can be, for random formats at every
// capacity.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <memory>
#include <random>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "tests/support/guarded_buffer.h"
#include "util/format.h"

namespace {

using support::GuardedBuffer;
using support::GuardedString;

using Argument = std::variant<int, long long, const char*>;

// ---- The plain formatter ----

std::string Digits(uint64_t value, unsigned base, const char* digits) {
  std::string text;
  do {
    text.insert(text.begin(), digits[value % base]);
    value /= base;
  } while (value != 0);
  return text;
}

class PlainFormatter {
 public:
  PlainFormatter(const std::string& format, const std::vector<Argument>& arguments)
      : format_(format.c_str()), argument_(arguments.data()) {}

  // The text as it is when everything fits.
  std::string Print() {
    while (*format_ != '\0') {
      const char character = *format_++;
      if (character != '%') {
        text_ += character;
      } else if (*format_ == '%') {
        text_ += *format_++;
      } else {
        PrintDirective();
      }
    }
    return text_;
  }

 private:
  unsigned ReadNumber() {
    unsigned number = 0;
    while (*format_ >= '0' && *format_ <= '9') {
      number = number * 10 + static_cast<unsigned>(*format_++ - '0');
    }
    return number;
  }

  void PrintDirective() {
    width_ = ReadNumber();
    precision_ = 0;
    if (*format_ == '.') {
      ++format_;
      precision_ = ReadNumber();
    }
    int length = 0;
    for (; *format_ == 'l'; ++format_) ++length;
    is_64_bit_ = length >= 2;
    if (*format_ != '\0') PrintConversion(*format_++);
  }

  void PrintConversion(char conversion) {
    if (conversion == 'd' || conversion == 'i') PrintSigned();
    if (conversion == 'u') PrintNumber(Digits(NextUnsigned(), 10, "0123456789"));
    if (conversion == 'x') PrintNumber(Digits(NextUnsigned(), 16, "0123456789abcdef"));
    if (conversion == 'X') PrintNumber(Digits(NextUnsigned(), 16, "0123456789ABCDEF"));
    if (conversion == 'c') text_ += static_cast<char>(std::get<int>(*argument_++));
    if (conversion == 's') text_ += std::get<const char*>(*argument_++);
    if (conversion == 'p') PrintPointer();
  }

  void PrintNumber(std::string digits) {
    while (digits.size() < precision_) digits = '0' + digits;
    while (digits.size() < width_) digits = ' ' + digits;
    text_ += digits;
  }

  void PrintSigned() {
    const long long value =
        is_64_bit_ ? std::get<long long>(*argument_++) : std::get<int>(*argument_++);
    if (value == INT64_MIN) return PrintNumber("0");
    if (value < 0) text_ += '-';
    PrintNumber(Digits(static_cast<uint64_t>(value < 0 ? -value : value), 10, "0123456789"));
  }

  uint64_t NextUnsigned() {
    if (is_64_bit_) return static_cast<uint64_t>(std::get<long long>(*argument_++));
    return static_cast<uint32_t>(std::get<int>(*argument_++));
  }

  void PrintPointer() {
    width_ = 8;
    const auto address = reinterpret_cast<uintptr_t>(std::get<const char*>(*argument_++));
    PrintNumber(Digits(address & 0xFFFF'FFFF, 16, "0123456789abcdef"));
  }

  const char* format_;
  const Argument* argument_;
  std::string text_;
  unsigned width_ = 0;
  unsigned precision_ = 0;
  bool is_64_bit_ = false;
};

// ---- Random formats ----

struct Case {
  std::string format;
  std::vector<Argument> arguments;
};

class CaseGenerator {
 public:
  static constexpr size_t kMostArguments = 4;

  explicit CaseGenerator(uint64_t seed) : random_(seed) {
    // One string of each length, which ends before a forbidden page.
    for (size_t length = 0; length <= 40; ++length) {
      strings_.push_back(std::make_unique<GuardedString>(Literal(length)));
    }
  }

  Case Next() {
    Case made;
    for (size_t pieces = 1 + Below(5); pieces > 0; --pieces) {
      AddLiteral(made);
      AddDirective(made);
    }
    AddLiteral(made);
    if (Below(8) == 0) AddUnfinishedDirective(made);
    return made;
  }

 private:
  size_t Below(size_t limit) { return static_cast<size_t>(random_() % limit); }

  char OneOf(std::string_view characters) { return characters[Below(characters.size())]; }

  const char* OneOf(const std::vector<std::unique_ptr<GuardedString>>& strings) {
    return strings[Below(strings.size())]->text();
  }

  // Half of the characters differ from "%" in one bit.
  std::string Literal(size_t length) {
    std::string text;
    for (; length > 0; --length) {
      text +=
          Below(2) == 0 ? OneOf("$'!-5e\xA5\x05") : OneOf("abcdlsxX0123456789. \t\x01\x7F\x80\xFF");
    }
    return text;
  }

  void AddLiteral(Case& made) {
    const size_t most[] = {1, 4, 12, 40, 70};
    made.format += Literal(Below(most[Below(std::size(most))]));
  }

  void AddUnfinishedDirective(Case& made) {
    const char* const ends[] = {"%", "%5", "%.", "%5.3", "%ll", "%.2lll"};
    made.format += ends[Below(std::size(ends))];
  }

  void AddDirective(Case& made) {
    made.format += '%';
    const char conversion = Conversion(made.arguments.size());
    if (conversion == '%' && Below(2) == 0) {
      made.format += '%';
      return;
    }
    const size_t length = Below(2) == 0 ? 0 : Below(5);
    if (Below(3) == 0) made.format += std::string(Below(3), '0') + std::to_string(Below(30));
    if (Below(3) == 0) AddPrecision(made, conversion, length >= 2);
    made.format += std::string(length, 'l') + conversion;
    AddArgument(made, conversion, length >= 2);
  }

  char Conversion(size_t argument_count) {
    if (argument_count == kMostArguments || Below(6) == 0)
      return OneOf("%fgEhzjtLnqoDSP-+ #*\x7F\xFF");
    return OneOf("diuxXpcs");
  }

  // Only what the argument's width can hold is supported.
  void AddPrecision(Case& made, char conversion, bool is_64_bit) {
    const bool is_hex = conversion == 'x' || conversion == 'X' || conversion == 'p';
    const size_t digits = (is_hex ? 8 : 10) * (is_64_bit && conversion != 'p' ? 2 : 1);
    made.format += '.';
    if (Below(6) != 0) made.format += std::to_string(Below(digits + 1));
  }

  void AddArgument(Case& made, char conversion, bool is_64_bit) {
    if (conversion == 'c') made.arguments.emplace_back(static_cast<int>(random_() & 0xFFFF));
    if (conversion == 's') made.arguments.emplace_back(OneOf(strings_));
    if (conversion == 'p') made.arguments.emplace_back(reinterpret_cast<const char*>(Number(64)));
    if (strchr("diuxX", conversion) == nullptr) return;
    if (is_64_bit) {
      made.arguments.emplace_back(static_cast<long long>(Number(64)));
    } else {
      made.arguments.emplace_back(static_cast<int>(static_cast<uint32_t>(Number(32))));
    }
  }

  // Numbers of all lengths and both signs, one in four next to a power of ten or two.
  uint64_t Number(unsigned bits) {
    uint64_t number = random_() >> (64 - bits + Below(bits));
    if (Below(4) == 0) {
      const uint64_t base = Below(2) == 0 ? 10 : 2;
      number = 1;
      for (size_t exponent = Below(base == 10 ? 20 : 64); exponent > 0; --exponent) number *= base;
      number += Below(3) - 1;
    }
    return Below(2) == 0 ? number : 0 - number;
  }

  std::mt19937_64 random_;
  std::vector<std::unique_ptr<GuardedString>> strings_;
};

// ---- The comparison ----

char* Print(const Case& made, const char* format, char* buffer, int32_t capacity) {
  std::array<Argument, CaseGenerator::kMostArguments> arguments;
  std::copy(made.arguments.begin(), made.arguments.end(), arguments.begin());
  return std::visit(
      [&](auto... values) { return UTIL_snprintf(buffer, capacity, format, values...); },
      arguments[0], arguments[1], arguments[2], arguments[3]);
}

// The capacity ends before the forbidden page, and nothing else in the buffer may change.
bool PrintsCut(const Case& made, const char* format, const std::string& expected, int32_t capacity,
               GuardedBuffer& buffer) {
  memset(buffer.data(), GuardedBuffer::kFill, buffer.size());
  const auto size = static_cast<size_t>(std::max(capacity, 1));
  const size_t start = buffer.size() - size;
  const size_t length = std::min(expected.size(), size - 1);
  char* const text = buffer.data() + start;
  return Print(made, format, text, capacity) == text + length && text[length] == '\0' &&
         memcmp(text, expected.data(), length) == 0 && buffer.IsUntouched(0, start) &&
         buffer.IsUntouched(start + length + 1, buffer.size());
}

TEST(UtilSnprintf, PrintsWhatAPlainFormatterPrintsAtEveryCapacity) {
  constexpr size_t kLargestSize = 1024;
  CaseGenerator generator(20'200'605);
  GuardedBuffer buffer(kLargestSize);
  for (int i = 0; i < 3000; ++i) {
    const Case made = generator.Next();
    GuardedString format(made.format);
    const std::string expected = PlainFormatter(made.format, made.arguments).Print();
    ASSERT_LT(expected.size(), kLargestSize - 4);
    const auto largest = static_cast<int32_t>(expected.size() + 3);
    for (int32_t capacity = -1; capacity <= largest; ++capacity) {
      ASSERT_TRUE(PrintsCut(made, format.text(), expected, capacity, buffer))
          << "case " << i << ": format \"" << made.format << "\", capacity " << capacity
          << ", expected \"" << expected << "\"";
    }
  }
}

TEST(PlainFormatter, KnowsTheOddities) {
  const std::vector<Argument> arguments = {-42, static_cast<long long>(INT64_MIN), 0x1A2B};
  EXPECT_EQ(PlainFormatter("a%%%5d|%5%%.2lld|%f%08X%*", arguments).Print(), "a%-   42|00|    1A2B");
}

}  // namespace
