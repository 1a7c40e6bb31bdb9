// SPDX-License-Identifier: MIT

// Formatted output once more: slowly, digit by digit, as the directives are described.
#ifndef TARVEN_FUZZ_FORMAT_REFERENCE_H_
#define TARVEN_FUZZ_FORMAT_REFERENCE_H_

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace format_reference {

// What a conversion takes from the arguments.
enum class Kind { kNone, kInt, kLong, kString, kPointer };

struct Directive {
  uint32_t width = 0;
  uint32_t precision = 0;
  size_t length_letters = 0;
  char conversion = '\0';

  Kind kind() const {
    switch (conversion) {
      case 'd':
      case 'i':
      case 'u':
      case 'x':
      case 'X':
        return length_letters >= 2 ? Kind::kLong : Kind::kInt;
      case 'c':
        return Kind::kInt;
      case 's':
        return Kind::kString;
      case 'p':
        return Kind::kPointer;
      default:
        return Kind::kNone;
    }
  }
};

struct Argument {
  uint64_t number = 0;  // of an int the low half counts
  std::string string;
};

// A piece of a format: one character, or a directive.
struct Piece {
  size_t start;  // where it stands in the format
  bool is_directive = false;
  char character = '\0';
  Directive directive;
};

inline uint32_t ReadNumber(const std::string& format, size_t* position) {
  uint32_t number = 0;
  for (; *position < format.size(); ++*position) {
    const char digit = format[*position];
    if (digit < '0' || digit > '9') break;
    number = number * 10 + static_cast<uint32_t>(digit - '0');
  }
  return number;
}

inline Directive ReadDirective(const std::string& format, size_t* position) {
  Directive directive;
  directive.width = ReadNumber(format, position);
  if (*position < format.size() && format[*position] == '.') {
    ++*position;
    directive.precision = ReadNumber(format, position);
  }
  while (*position < format.size() && format[*position] == 'l') {
    ++directive.length_letters;
    ++*position;
  }
  if (*position < format.size()) directive.conversion = format[(*position)++];
  return directive;
}

// Takes a format apart.
inline std::vector<Piece> Pieces(const std::string& format) {
  std::vector<Piece> pieces;
  for (size_t position = 0; position < format.size();) {
    Piece piece = {.start = position, .character = format[position], .directive = {}};
    ++position;
    if (piece.character == '%') {
      if (position < format.size() && format[position] == '%') {
        ++position;
      } else {
        piece.is_directive = true;
        piece.directive = ReadDirective(format, &position);
      }
    }
    pieces.push_back(piece);
  }
  return pieces;
}

inline std::string Digits(uint64_t number, uint32_t base, const char* digits) {
  std::string text;
  do {
    text.insert(text.begin(), digits[number % base]);
    number /= base;
  } while (number != 0);
  return text;
}

// Puts zeros up to the precision and then spaces up to the width before digits. Of either no more
// than limit characters are of interest; one that is no signed 32-bit number counts as none.
inline std::string Padded(std::string digits, uint32_t width, uint32_t precision, size_t limit) {
  if (precision > INT32_MAX) precision = 0;
  if (width > INT32_MAX) width = 0;
  const size_t zeros = precision > digits.size() ? precision - digits.size() : 0;
  const size_t spaces = width > digits.size() + zeros ? width - digits.size() - zeros : 0;
  std::string text;
  for (size_t i = 0; i < spaces && text.size() < limit; ++i) text += ' ';
  for (size_t i = 0; i < zeros && text.size() < limit; ++i) text += '0';
  return text + digits;
}

inline std::string Signed(const Directive& directive, uint64_t number, size_t limit) {
  auto value = static_cast<int64_t>(number);
  if (directive.kind() == Kind::kInt) value = static_cast<int32_t>(number);
  // The smallest number of all has no counterpart and prints as 0.
  if (value == INT64_MIN) value = 0;
  const std::string digits =
      Digits(static_cast<uint64_t>(value < 0 ? -value : value), 10, "0123456789");
  return (value < 0 ? "-" : "") + Padded(digits, directive.width, directive.precision, limit);
}

inline std::string Converted(const Directive& directive, const Argument& argument, size_t limit) {
  uint64_t number = argument.number;
  if (directive.kind() != Kind::kLong) number = static_cast<uint32_t>(number);
  const uint32_t width = directive.width;
  const uint32_t precision = directive.precision;
  switch (directive.conversion) {
    case 'd':
    case 'i':
      return Signed(directive, number, limit);
    case 'u':
      return Padded(Digits(number, 10, "0123456789"), width, precision, limit);
    case 'x':
      return Padded(Digits(number, 16, "0123456789abcdef"), width, precision, limit);
    case 'X':
      return Padded(Digits(number, 16, "0123456789ABCDEF"), width, precision, limit);
    case 'p':
      return Padded(Digits(number, 16, "0123456789abcdef"), 8, precision, limit);
    case 'c':
      return std::string(1, static_cast<char>(number));
    case 's':
      return argument.string;
    default:
      return {};
  }
}

// The first limit characters or more of the whole text.
inline std::string Formatted(const std::vector<Piece>& pieces,
                             const std::vector<Argument>& arguments, size_t limit) {
  std::string text;
  size_t next = 0;
  for (const Piece& piece : pieces) {
    if (!piece.is_directive) {
      text += piece.character;
    } else if (piece.directive.kind() != Kind::kNone) {
      text += Converted(piece.directive, arguments[next++], limit);
    }
  }
  return text;
}

}  // namespace format_reference

#endif
