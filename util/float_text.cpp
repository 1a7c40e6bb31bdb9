// SPDX-License-Identifier: MIT

#include "util/float_text.h"

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <span>

#include "util/decimal.h"
#include "util/format.h"
#include "util/text.h"

namespace {

constexpr uint32_t kMantissaBits = 23;
constexpr uint32_t kImplicitBit = 1U << kMantissaBits;
constexpr uint32_t kQuietBit = 1U << (kMantissaBits - 1);
constexpr uint32_t kLargestExponent = 0xFF;

// ---- Exact decimal expansion ----

constexpr uint32_t kDigitsPerWord = 9;
constexpr uint32_t kWordLimit = 1'000'000'000;

// All powers that are below kWordLimit.
constexpr auto kPowersOfTwo = decimal::PowersOf<30>(2);
constexpr auto kPowersOfFive = decimal::PowersOf<13>(5);

// A whole number in words of nine decimal digits, the lowest first.
class WholeNumber {
 public:
  // value is below kWordLimit.
  explicit WholeNumber(uint32_t value) { words_[0] = value; }

  // Multiplies by a power of the number whose first powers these are.
  void MultiplyByPower(std::span<const uint64_t> powers, uint32_t exponent) {
    const auto last = static_cast<uint32_t>(powers.size() - 1);
    for (; exponent > last; exponent -= last) MultiplyBy(powers[last]);
    MultiplyBy(powers[exponent]);
  }

  uint32_t Length() const {
    return decimal::Length(words_[count_ - 1]) + kDigitsPerWord * (count_ - 1);
  }

  // The leading 10 to 18 digits; a number of one word counts as having zeros behind it.
  uint64_t Head() const {
    const uint32_t second = count_ >= 2 ? words_[count_ - 2] : 0;
    return uint64_t{words_[count_ - 1]} * kWordLimit + second;
  }

  // Whether a digit behind those of Head is not zero.
  bool HasTail() const {
    const auto is_set = [](uint32_t word) { return word != 0; };
    return count_ > 2 && std::any_of(&words_[0], &words_[count_ - 2], is_set);
  }

 private:
  // factor is below kWordLimit, so that a word takes what is carried behind the last one.
  void MultiplyBy(uint64_t factor) {
    uint64_t carried = 0;
    for (uint32_t i = 0; i < count_; ++i) {
      carried += words_[i] * factor;
      words_[i] = static_cast<uint32_t>(carried % kWordLimit);
      carried /= kWordLimit;
    }
    if (carried != 0) words_[count_++] = static_cast<uint32_t>(carried);
  }

  // The longest number is a mantissa of 24 bits times 5^149, which has 112 digits.
  uint32_t words_[13];
  uint32_t count_ = 1;
};

// ---- Six digits ----

constexpr uint32_t kPrecision = 6;
constexpr uint64_t kOneDigitMore = decimal::kPowersOfTen[kPrecision];

// d.ddddd * 10^exponent, with the digits as a whole number.
struct Rounded {
  uint64_t digits;
  int32_t exponent;
};

// Rounds number * 10^scale, halves to even.
Rounded Round(const WholeNumber& number, int32_t scale) {
  const uint64_t head = number.Head();
  const uint64_t unit = decimal::kPowersOfTen[decimal::Length(head) - kPrecision];
  Rounded rounded = {head / unit, static_cast<int32_t>(number.Length()) - 1 + scale};
  const uint64_t rest = head % unit;
  const uint64_t half = unit / 2;
  const bool is_odd_or_more = rounded.digits % 2 != 0 || number.HasTail();
  if (rest > half || (rest == half && is_odd_or_more)) ++rounded.digits;
  if (rounded.digits == kOneDigitMore) rounded = {kOneDigitMore / 10, rounded.exponent + 1};
  return rounded;
}

// mantissa * 2^exponent; a negative power of two is that power of five, over a power of ten.
Rounded RoundedValue(uint32_t mantissa, int32_t exponent) {
  WholeNumber number(mantissa);
  if (exponent >= 0) {
    number.MultiplyByPower(kPowersOfTwo, static_cast<uint32_t>(exponent));
    return Round(number, 0);
  }
  number.MultiplyByPower(kPowersOfFive, static_cast<uint32_t>(-exponent));
  return Round(number, exponent);
}

// ---- Text ----

constexpr size_t kLongestText = sizeof "-1.23457E-45";

// Stores digits with a point behind the first whole_digits of them, but no zeros at the end of the
// fraction, and no point without one. Returns the end.
char* PutDigits(char* text, const char* digits, size_t count, size_t whole_digits) {
  while (count > whole_digits && digits[count - 1] == '0') --count;
  text = std::copy_n(digits, whole_digits, text);
  if (count == whole_digits) return text;
  *text++ = '.';
  return std::copy(digits + whole_digits, digits + count, text);
}

// As "%.6G" does: values from 0.0001 on are written out as far as six digits reach, others take an
// exponent.
void PutRounded(char* text, uint32_t size, const Rounded& value) {
  constexpr int32_t kLowest = -4;
  char digits[-kLowest + kPrecision + 1];
  UTIL_snprintf(digits, sizeof digits, "0000%u", static_cast<uint32_t>(value.digits));
  const char* const first = digits - kLowest;

  const int32_t exponent = value.exponent;
  if (exponent >= kLowest && exponent < static_cast<int32_t>(kPrecision)) {
    const auto zeros = static_cast<size_t>(std::max(-exponent, 0));
    const auto whole_digits = static_cast<size_t>(std::max(exponent, 0)) + 1;
    *PutDigits(text, first - zeros, zeros + kPrecision, whole_digits) = '\0';
    return;
  }
  char* const end = PutDigits(text, first, kPrecision, 1);
  UTIL_snprintf(end, static_cast<int32_t>(text + size - end), "E%c%.2d", exponent < 0 ? '-' : '+',
                std::abs(exponent));
}

void PutMagnitude(char* text, uint32_t size, uint32_t exponent, uint32_t mantissa) {
  if (exponent == kLargestExponent) return UTIL_CopyString(text, "Infinite", size);
  if (exponent == 0 && mantissa == 0) return UTIL_CopyString(text, "0.0", size);
  // Without the implicit bit a value stands at the place of the lowest exponent.
  if (exponent == 0) return PutRounded(text, size, RoundedValue(mantissa, -149));
  PutRounded(text, size,
             RoundedValue(mantissa | kImplicitBit, static_cast<int32_t>(exponent) - 150));
}

}  // namespace

int32_t UTIL_FormatFloatBits(char* buffer, uint32_t size, uint32_t bits) {
  const uint32_t exponent = (bits >> kMantissaBits) & kLargestExponent;
  const uint32_t mantissa = bits & (kImplicitBit - 1);
  if (exponent == kLargestExponent && mantissa != 0) {
    UTIL_CopyString(buffer, (mantissa & kQuietBit) != 0 ? "NaNq" : "NaNs", size);
    return 0;
  }
  char text[kLongestText] = "-";
  PutMagnitude(text + 1, sizeof text - 1, exponent, mantissa);
  const bool is_negative = bits >> 31 != 0;
  UTIL_CopyString(buffer, is_negative ? text : text + 1, size);
  return 0;
}
