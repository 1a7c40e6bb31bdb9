// SPDX-License-Identifier: MIT

#include "util/parse.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "tests/support/guarded_buffer.h"

namespace {

using std::string_view_literals::operator""sv;
using support::GuardedBuffer;
using support::GuardedString;

// Stands in an output before the call.
constexpr uint64_t kUnset = 0xA5A5A5A5A5A5A5A5;
constexpr uint32_t kUnset32 = 0xA5A5A5A5;

bool IsOneOf(char character, std::string_view set) {
  return set.find(character) != std::string_view::npos;
}

// A text that ends before a forbidden page, and a cursor that starts at its first character.
class Text {
 public:
  explicit Text(std::string_view text) : string_(text), cursor_(string_.text()) {}

  const char** cursor() { return &cursor_; }
  const char* text() { return string_.text(); }

  // What the cursor has not passed yet.
  std::string Rest() const { return cursor_; }
  // How many characters it has passed.
  ptrdiff_t Position() { return cursor_ - string_.text(); }

 private:
  GuardedString string_;
  const char* cursor_;
};

// ---- UTIL_ParseUnsigned ----

int32_t ParseUnsigned(std::string_view text, uint32_t* value) {
  return UTIL_ParseUnsigned(GuardedString(text).text(), value);
}

void ExpectUnsigned(uint32_t expected, std::string_view text) {
  SCOPED_TRACE(std::string(text));
  uint32_t value = kUnset32;
  EXPECT_EQ(ParseUnsigned(text, &value), 0);
  EXPECT_EQ(value, expected);
}

void ExpectNotUnsigned(std::string_view text) {
  SCOPED_TRACE(std::string(text));
  uint32_t value = kUnset32;
  EXPECT_EQ(ParseUnsigned(text, &value), -1);
  EXPECT_EQ(value, kUnset32);
}

TEST(UtilParseUnsigned, ReadsDecimalDigits) {
  ExpectUnsigned(0, "0");
  ExpectUnsigned(5, "5");
  ExpectUnsigned(19021, "19021");
  ExpectUnsigned(4294967295, "4294967295");
}

TEST(UtilParseUnsigned, ALeadingZeroIsADecimalDigit) {
  ExpectUnsigned(12, "012");
  ExpectUnsigned(0, "000");
}

TEST(UtilParseUnsigned, ReadsHexadecimalDigitsBehindThePrefix) {
  ExpectUnsigned(0x10, "0x10");
  ExpectUnsigned(0xABCDEF, "0xabcdef");
  ExpectUnsigned(0xABCDEF, "0XABCDEF");
  ExpectUnsigned(0xFFFFFFFF, "0xFFFFFFFF");
  ExpectUnsigned(0, "0x0");
}

TEST(UtilParseUnsigned, StopsAtTheFirstOtherCharacter) {
  ExpectUnsigned(12, "12a");
  ExpectUnsigned(12, "12 3");
  ExpectUnsigned(0x1F, "0x1Fg");
  ExpectUnsigned(0, "0y1");
  ExpectUnsigned(1, "1x2");
}

TEST(UtilParseUnsigned, SkipsNoBlanks) {
  ExpectNotUnsigned(" 5");
  ExpectNotUnsigned("\t5");
}

TEST(UtilParseUnsigned, TakesNoSign) {
  ExpectNotUnsigned("-5");
  ExpectNotUnsigned("+5");
  ExpectNotUnsigned("0x-5");
}

TEST(UtilParseUnsigned, GivesMinusOneWhereNoNumberStarts) {
  ExpectNotUnsigned("");
  ExpectNotUnsigned("ff");
  ExpectNotUnsigned("x10");
  ExpectNotUnsigned(".5");
}

TEST(UtilParseUnsigned, ThePrefixNeedsADigit) {
  ExpectNotUnsigned("0x");
  ExpectNotUnsigned("0X");
  ExpectNotUnsigned("0xg");
  ExpectNotUnsigned("0x 1");
}

TEST(UtilParseUnsigned, WrapsModulo32Bits) {
  ExpectUnsigned(0, "4294967296");
  ExpectUnsigned(1, "4294967297");
  ExpectUnsigned(0x23456789, "0x123456789");
  ExpectUnsigned(0xFFFFFFFF, "0xFFFFFFFFFFFFFFFFFFFFFFFF");
}

// ---- UTIL_ParseNumber64 ----

void ExpectNumber(uint64_t expected, std::string_view text, std::string_view rest,
                  int32_t force_hex = 0) {
  SCOPED_TRACE(std::string(text));
  Text scanned(text);
  uint64_t value = kUnset;
  EXPECT_EQ(UTIL_ParseNumber64(scanned.cursor(), &value, force_hex), 0);
  EXPECT_EQ(value, expected);
  EXPECT_EQ(scanned.Rest(), rest);
}

void ExpectNoNumber(std::string_view text, int32_t force_hex = 0) {
  SCOPED_TRACE(std::string(text));
  Text scanned(text);
  uint64_t value = kUnset;
  EXPECT_EQ(UTIL_ParseNumber64(scanned.cursor(), &value, force_hex), -1);
  EXPECT_EQ(value, kUnset);
  EXPECT_EQ(scanned.Position(), 0);
}

TEST(UtilParseNumber64, ReadsDecimalDigits) {
  ExpectNumber(0, "0", "");
  ExpectNumber(42, "42,43", ",43");
  ExpectNumber(1234567890123456789, "1234567890123456789", "");
  ExpectNumber(18446744073709551615U, "18446744073709551615", "");
}

TEST(UtilParseNumber64, ALeadingZeroIsADecimalDigit) { ExpectNumber(12, "012", ""); }

TEST(UtilParseNumber64, ReadsHexadecimalDigitsBehindThePrefix) {
  ExpectNumber(0x10, "0x10", "");
  ExpectNumber(0x123456789ABCDEF0, "0X123456789abcDEF0h", "h");
  ExpectNumber(0xFFFFFFFFFFFFFFFF, "0xFFFFFFFFFFFFFFFF", "");
}

TEST(UtilParseNumber64, LettersAreDigitsWhenForcedToHexadecimal) {
  ExpectNoNumber("ff");
  ExpectNumber(255, "ff", "", 1);
  ExpectNumber(255, "0xff", "", 1);
  ExpectNumber(0x12, "12", "", 1);
  ExpectNumber(12, "12", "", 0);
}

TEST(UtilParseNumber64, AnyNonZeroFlagForcesToHexadecimal) {
  ExpectNumber(255, "ff", "", -1);
  ExpectNumber(255, "ff", "", 256);
}

TEST(UtilParseNumber64, DecimalDigitsEndAtALetter) {
  ExpectNumber(12, "12ab", "ab");
  ExpectNumber(0, "0b1", "b1");
}

TEST(UtilParseNumber64, NegatesInTwosComplement) {
  ExpectNumber(static_cast<uint64_t>(-16), " -0x10,", ",");
  ExpectNumber(static_cast<uint64_t>(-1), "-1", "");
  ExpectNumber(static_cast<uint64_t>(-255), "-ff", "", 1);
  ExpectNumber(0, "-0", "");
  ExpectNumber(0x8000000000000000, "-9223372036854775808", "");
  ExpectNumber(1, "-0xFFFFFFFFFFFFFFFF", "");
}

TEST(UtilParseNumber64, SkipsBlanksInFrontAlone) {
  ExpectNumber(7, "\t\n\r 7 8", " 8");
  ExpectNoNumber("- 7");
  ExpectNoNumber("0x 7");
}

TEST(UtilParseNumber64, SkipsNoOtherWhiteSpace) {
  ExpectNoNumber("\v7");
  ExpectNoNumber("\f7");
}

TEST(UtilParseNumber64, TakesOneMinusAndNoPlus) {
  ExpectNoNumber("+7");
  ExpectNoNumber("--7");
  ExpectNoNumber("-+7");
  ExpectNoNumber("0x-7");
}

TEST(UtilParseNumber64, ThePrefixNeedsADigit) {
  ExpectNoNumber("0x ");
  ExpectNoNumber("0x");
  ExpectNoNumber("0xg");
  ExpectNoNumber("-0x");
  ExpectNoNumber("0x", 1);
}

TEST(UtilParseNumber64, ThePrefixCountsOnce) {
  ExpectNumber(0, "0x0x1", "x1");
  ExpectNumber(0, "00x1", "x1");
}

TEST(UtilParseNumber64, LeavesAllAloneWithoutADigit) {
  ExpectNoNumber("");
  ExpectNoNumber("  ");
  ExpectNoNumber("-");
  ExpectNoNumber("  -");
  ExpectNoNumber("x10");
  ExpectNoNumber("g", 1);
}

TEST(UtilParseNumber64, WrapsModulo64Bits) {
  ExpectNumber(0, "18446744073709551616", "");
  ExpectNumber(5, "18446744073709551621", "");
  ExpectNumber(0x23456789ABCDEF01, "0x123456789ABCDEF01", "");
}

TEST(UtilParseNumber64, CanBeChained) {
  Text text(" 1 0x2 -3");
  uint64_t value = kUnset;
  EXPECT_EQ(UTIL_ParseNumber64(text.cursor(), &value, 0), 0);
  EXPECT_EQ(value, 1U);
  EXPECT_EQ(UTIL_ParseNumber64(text.cursor(), &value, 0), 0);
  EXPECT_EQ(value, 2U);
  EXPECT_EQ(UTIL_ParseNumber64(text.cursor(), &value, 0), 0);
  EXPECT_EQ(value, 0xFFFFFFFFFFFFFFFD);
  EXPECT_EQ(UTIL_ParseNumber64(text.cursor(), &value, 0), -1);
  EXPECT_EQ(text.Rest(), "");
}

TEST(UtilParseNumber64, DecimalDigitsAreZeroToNineAndNothingElse) {
  constexpr std::string_view kDigits = "0123456789";
  for (int code = 0; code < 256; ++code) {
    SCOPED_TRACE(code);
    const char c = static_cast<char>(code);
    Text text(std::string{'1', c});
    uint64_t value = kUnset;
    EXPECT_EQ(UTIL_ParseNumber64(text.cursor(), &value, 0), 0);
    EXPECT_EQ(value, IsOneOf(c, kDigits) ? 10 + kDigits.find(c) : 1);
    EXPECT_EQ(text.Position(), IsOneOf(c, kDigits) ? 2 : 1);
  }
}

TEST(UtilParseNumber64, HexadecimalDigitsGoToFInBothCasesAndNothingElse) {
  constexpr std::string_view kDigits = "0123456789abcdef0123456789ABCDEF";  // at the value, or + 16
  for (int code = 0; code < 256; ++code) {
    SCOPED_TRACE(code);
    const char c = static_cast<char>(code);
    Text text(std::string{'1', c});
    uint64_t value = kUnset;
    EXPECT_EQ(UTIL_ParseNumber64(text.cursor(), &value, 1), 0);
    EXPECT_EQ(value, IsOneOf(c, kDigits) ? 16 + kDigits.find(c) % 16 : 1);
    EXPECT_EQ(text.Position(), IsOneOf(c, kDigits) ? 2 : 1);
  }
}

// Digit by digit, modulo 2^64.
uint64_t ValueOf(std::string_view digits, uint64_t base) {
  constexpr std::string_view kDigits = "0123456789abcdef0123456789ABCDEF";
  uint64_t value = 0;
  for (const char digit : digits) value = value * base + kDigits.find(digit) % 16;
  return value;
}

TEST(UtilParseNumber64, TakesAnyNumberOfDigits) {
  const std::string decimal = "918273645509182736455564738291076543210987";
  const std::string hexadecimal = "f1E2d3C4b5A69788796a5B4c3D2e1F0098badCFE";
  for (size_t count = 1; count <= 40; ++count) {
    SCOPED_TRACE(count);
    const std::string tens = decimal.substr(0, count);
    const std::string sixteens = hexadecimal.substr(0, count);
    for (const std::string rest : {"", ",7", " 7", "-7"}) {
      ExpectNumber(ValueOf(tens, 10), tens + rest, rest);
      ExpectNumber(0 - ValueOf(tens, 10), "-" + tens + rest, rest);
      ExpectNumber(ValueOf(sixteens, 16), sixteens + rest, rest, 1);
      ExpectNumber(ValueOf(sixteens, 16), "0x" + sixteens + rest, rest);
      ExpectNumber(0 - ValueOf(sixteens, 16), " -0X" + sixteens + rest, rest, 1);
    }
    ExpectNumber(ValueOf(tens, 10), tens + "a", "a");
    ExpectNumber(ValueOf(sixteens, 16), sixteens + "g", "g", 1);
  }
}

TEST(UtilParseNumber64, DigitsEndAtEveryOtherCharacterInEveryPlace) {
  constexpr std::string_view kDigits = "0123456789ABCDEFabcdef";
  for (const std::string digits : {"12", "123", "1234"}) {
    for (int code = 1; code < 256; ++code) {
      const char c = static_cast<char>(code);
      const std::string rest = std::string{c} + "5";
      if (!IsOneOf(c, kDigits)) ExpectNumber(ValueOf(digits, 16), digits + rest, rest, 1);
      if (!IsOneOf(c, kDigits.substr(0, 10)))
        ExpectNumber(ValueOf(digits, 10), digits + rest, rest);
    }
  }
}

// ---- UTIL_ParseHex64, UTIL_ParseHex32, UTIL_ReadU32 ----

TEST(UtilParseHex64, IsAlwaysHexadecimal) {
  const struct {
    const char* text;
    uint64_t value;
    const char* rest;
  } cases[] = {
      {"10", 0x10, ""},
      {"0x10", 0x10, ""},
      {" \t0Xff;", 0xFF, ";"},
      {"0", 0, ""},
      {"0y", 0, "y"},  // without an "x" behind it the zero is the first digit
      {"0123456789abcdef", 0x0123456789ABCDEF, ""},
      {"FFFFFFFFFFFFFFFFg", 0xFFFFFFFFFFFFFFFF, "g"},
      {"-1", 0xFFFFFFFFFFFFFFFF, ""},
      {" -0x10,", 0xFFFFFFFFFFFFFFF0, ","},
      {"1FFFFFFFFFFFFFFFF", 0xFFFFFFFFFFFFFFFF, ""},  // wraps
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.text);
    Text text(c.text);
    uint64_t value = kUnset;
    EXPECT_EQ(UTIL_ParseHex64(text.cursor(), &value), 0);
    EXPECT_EQ(value, c.value);
    EXPECT_EQ(text.Rest(), c.rest);
  }
}

TEST(UtilParseHex64, StoresNothingOnFailure) {
  for (const char* const no_number : {"", "  ", "0x", " -", "-0xg", "g", "+1", "- 1"}) {
    SCOPED_TRACE(no_number);
    Text text(no_number);
    uint64_t value = kUnset;
    EXPECT_EQ(UTIL_ParseHex64(text.cursor(), &value), -1);
    EXPECT_EQ(value, kUnset);
    EXPECT_EQ(text.Position(), 0);
  }
}

TEST(UtilParseHex32, IsAlwaysHexadecimal) {
  const struct {
    const char* text;
    uint32_t value;
    const char* rest;
  } cases[] = {
      {"10", 16, ""},
      {"0x10", 16, ""},
      {"\r\nfF,", 0xFF, ","},
      {"0 1", 0, " 1"},
      {"FFFFFFFF", 0xFFFFFFFF, ""},
      {"-1", 0xFFFFFFFF, ""},
      {"-0x10", 0xFFFFFFF0, ""},
      {"123456789", 0x23456789, ""},  // wraps
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.text);
    Text text(c.text);
    uint32_t value = kUnset32;
    EXPECT_EQ(UTIL_ParseHex32(text.cursor(), &value), 0);
    EXPECT_EQ(value, c.value);
    EXPECT_EQ(text.Rest(), c.rest);
  }
}

TEST(UtilParseHex32, StoresZeroOnFailure) {
  for (const char* const no_number : {"0x", "", "  ", "-", "xyz"}) {
    SCOPED_TRACE(no_number);
    Text text(no_number);
    uint32_t value = kUnset32;
    EXPECT_EQ(UTIL_ParseHex32(text.cursor(), &value), -1);
    EXPECT_EQ(value, 0U);
    EXPECT_EQ(text.Position(), 0);
  }
}

TEST(UtilReadU32, ReadsDecimalOrPrefixedHexadecimal) {
  const struct {
    const char* text;
    uint32_t value;
    const char* rest;
  } cases[] = {
      {" 10.", 10, "."},
      {"0x10", 16, ""},
      {"12ab", 12, "ab"},
      {"-2", 0xFFFFFFFE, ""},
      {"4294967295", 0xFFFFFFFF, ""},
      {"4294967298", 2, ""},  // the low 32 bits
      {"0x100000003", 3, ""},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.text);
    Text text(c.text);
    uint32_t value = kUnset32;
    EXPECT_EQ(UTIL_ReadU32(text.cursor(), &value), 0);
    EXPECT_EQ(value, c.value);
    EXPECT_EQ(text.Rest(), c.rest);
  }
}

TEST(UtilReadU32, StoresZeroOnFailure) {
  for (const char* const no_number : {"", " ", "ff", "0x", "-"}) {
    SCOPED_TRACE(no_number);
    Text text(no_number);
    uint32_t value = kUnset32;
    EXPECT_EQ(UTIL_ReadU32(text.cursor(), &value), -1);
    EXPECT_EQ(value, 0U);
    EXPECT_EQ(text.Position(), 0);
  }
}

// ---- UTIL_CheckDottedQuad ----

void ExpectQuad(int32_t expected, std::string_view text, std::string_view rest) {
  SCOPED_TRACE(std::string(text));
  Text scanned(text);
  EXPECT_EQ(UTIL_CheckDottedQuad(scanned.cursor()), expected);
  EXPECT_EQ(scanned.Rest(), rest);
}

TEST(UtilCheckDottedQuad, AcceptsFourNumbersEachWithADot) {
  ExpectQuad(0, "127.0.0.1.", "");
  ExpectQuad(0, "1.2.3.4.5", "5");
  ExpectQuad(0, "1.2.3.4. x", " x");
}

TEST(UtilCheckDottedQuad, TheFourthNumberNeedsItsDotToo) {
  ExpectQuad(-1, "127.0.0.1", "");
  ExpectQuad(-1, "127.0.0.1 ", " ");
}

TEST(UtilCheckDottedQuad, TakesTheNumbersOfTheNumberScanner) {
  ExpectQuad(0, " 0x7F.-1.\t 999.99999999999999999999.", "");
}

TEST(UtilCheckDottedQuad, LettersAreDigitsBehindThePrefixAlone) {
  ExpectQuad(0, "0xa.0XB.1.1.", "");
  ExpectQuad(-1, "a.1.1.1.", "a.1.1.1.");
}

TEST(UtilCheckDottedQuad, SkipsNoBlanksInFrontOfADot) { ExpectQuad(-1, "1 .2.3.4.", " .2.3.4."); }

TEST(UtilCheckDottedQuad, AMissingNumberFailsButItsDotIsTaken) {
  ExpectQuad(-1, "1..3.4.", "");
  ExpectQuad(-1, "....5", "5");
}

TEST(UtilCheckDottedQuad, AMissingDotFailsAndTheNextNumberIsRead) {
  ExpectQuad(-1, "1 2.3.4.", "");
  ExpectQuad(-1, "1.2.3,4.5.", ",4.5.");
}

TEST(UtilCheckDottedQuad, CarriesOutAllStepsAfterAFailure) {
  ExpectQuad(-1, "x1.2.3.4.", "x1.2.3.4.");
  ExpectQuad(-1, "1-2-3-4.5.", "5.");
  ExpectQuad(-1, "", "");
  ExpectQuad(-1, "1.2.3.", "");
}

// ---- UTIL_ParseVersion ----

struct Version {
  uint32_t major;
  uint32_t minor;
  uint32_t letter;
};

void ExpectVersion(int32_t expected_result, const Version& expected, std::string_view text,
                   std::string_view rest) {
  SCOPED_TRACE(std::string(text));
  Text scanned(text);
  Version version{kUnset32, kUnset32, kUnset32};
  EXPECT_EQ(UTIL_ParseVersion(scanned.cursor(), &version.major, &version.minor, &version.letter),
            expected_result);
  EXPECT_EQ(version.major, expected.major);
  EXPECT_EQ(version.minor, expected.minor);
  EXPECT_EQ(version.letter, expected.letter);
  EXPECT_EQ(scanned.Rest(), rest);
}

TEST(UtilParseVersion, ReadsMajorMinorAndLetter) {
  ExpectVersion(0, {6, 12, 3}, "V6.12c", "");
  ExpectVersion(0, {6, 12, 3}, "6.12c", "");
  ExpectVersion(0, {1, 0, 1}, " \t\r\nV1.00a", "");
  ExpectVersion(0, {1, 0, 26}, "V1.00z beta", " beta");
}

TEST(UtilParseVersion, TheLetterMayBeMissing) {
  ExpectVersion(0, {6, 12, 0}, "V6.12", "");
  ExpectVersion(0, {0, 0, 0}, "0.0", "");
}

TEST(UtilParseVersion, TakesTheNumbersOfTheNumberScanner) {
  ExpectVersion(0, {16, 0xFFFFFFFE, 2}, "V 0x10. -2b", "");
  ExpectVersion(0, {1, 2, 0}, "4294967297.4294967298", "");
}

TEST(UtilParseVersion, AnyOtherLastCharacterFailsAndIsSteppedOver) {
  ExpectVersion(-1, {1, 2, 'A'}, "1.2A", "");
  ExpectVersion(-1, {1, 2, ' '}, "1.2 a", "a");
  ExpectVersion(-1, {1, 2, '`'}, "1.2`", "");
  ExpectVersion(-1, {1, 2, '{'}, "1.2{x", "x");
  ExpectVersion(-1, {1, 2, '.'}, "1.2.3", "3");
  ExpectVersion(-1, {1, 2, 0xFF}, "1.2\xFF", "");
}

TEST(UtilParseVersion, AMissingDotFailsAndTheLetterIsTheCharacterThere) {
  ExpectVersion(-1, {1, 0, 'x'}, "1x2c", "x2c");
  ExpectVersion(-1, {1, 2, 'c'}, "1 2c", "c");
  ExpectVersion(-1, {12, 0, 0}, "12", "");
}

TEST(UtilParseVersion, AMissingNumberFailsAndCountsAsZero) {
  ExpectVersion(-1, {0, 5, 'a'}, "V.5a", "a");
  ExpectVersion(-1, {1, 0, 'a'}, "V1.a", "a");
  ExpectVersion(-1, {1, 0, 0}, "V1.", "");
  ExpectVersion(-1, {0, 0, 0}, "", "");
  ExpectVersion(-1, {0, 0, 0}, "  ", "");
}

TEST(UtilParseVersion, SkipsOneCapitalVAlone) {
  ExpectVersion(-1, {0, 0, 'v'}, "v1.2", "v1.2");
  ExpectVersion(-1, {0, 0, 'V'}, "VV1.2", "V1.2");
}

TEST(UtilParseVersion, EachOutputMayBeNull) {
  for (int left_out = 0; left_out < 8; ++left_out) {
    SCOPED_TRACE(left_out);
    Text text("V6.12c,");
    Version version{kUnset32, kUnset32, kUnset32};
    EXPECT_EQ(UTIL_ParseVersion(text.cursor(), (left_out & 1) != 0 ? nullptr : &version.major,
                                (left_out & 2) != 0 ? nullptr : &version.minor,
                                (left_out & 4) != 0 ? nullptr : &version.letter),
              0);
    EXPECT_EQ(version.major, (left_out & 1) != 0 ? kUnset32 : 6);
    EXPECT_EQ(version.minor, (left_out & 2) != 0 ? kUnset32 : 12);
    EXPECT_EQ(version.letter, (left_out & 4) != 0 ? kUnset32 : 3);
    EXPECT_EQ(text.Rest(), ",");
  }
}

// ---- UTIL_ParseWord ----

// Expects the word in a guarded buffer of exactly the capacity, and nothing behind it.
void ExpectWord(int32_t expected_result, std::string_view expected, std::string_view text,
                std::string_view rest, int32_t capacity, char delimiter = ',') {
  SCOPED_TRACE(std::string(text));
  Text scanned(text);
  GuardedBuffer word(static_cast<size_t>(capacity));
  EXPECT_EQ(UTIL_ParseWord(scanned.cursor(), word.data(), capacity, delimiter), expected_result);
  EXPECT_STREQ(word.data(), std::string(expected).c_str());
  EXPECT_TRUE(word.IsUntouched(expected.size() + 1, word.size()));
  EXPECT_EQ(scanned.Rest(), rest);
}

TEST(UtilParseWord, CopiesUpToTheDelimiterAndStepsOverIt) {
  ExpectWord(0, "abc def", "  abc def,rest", "rest", 16);
  ExpectWord(0, "a", "a,,b", ",b", 16);
  ExpectWord(0, "a b", "a b;c", "c", 16, ';');
  ExpectWord(0, "ab", "abxcd", "cd", 16, 'x');
  ExpectWord(0, "a",
             "a\xFF"
             "b",
             "b", 16, '\xFF');
}

TEST(UtilParseWord, CopiesUpToTheEndOfTheText) {
  ExpectWord(0, "abc", "abc", "", 16);
  ExpectWord(0, "", "", "", 16);
  ExpectWord(0, "", "  ", "", 16);
}

TEST(UtilParseWord, AnEmptyWordIsAWord) { ExpectWord(0, "", " ,rest", "rest", 16); }

TEST(UtilParseWord, KeepsBlanksInsideAndBehindTheWord) {
  ExpectWord(0, "a\tb\r\n c ", "\t\n\r a\tb\r\n c ,d", "d", 16);
}

TEST(UtilParseWord, SkipsNoOtherWhiteSpace) { ExpectWord(0, "\va", "\va,", "", 16); }

TEST(UtilParseWord, SkipsBlanksAlsoWhenTheDelimiterIsOne) {
  ExpectWord(0, "a", "  a  b", " b", 16, ' ');
}

TEST(UtilParseWord, TheDelimiterZeroIsTheEndOfTheText) {
  ExpectWord(0, "a,b", "a,b", "", 16, '\0');
}

TEST(UtilParseWord, CutsWhatDoesNotFitAndScansOn) {
  ExpectWord(1, "abc", "abcd,rest", "rest", 4);
  ExpectWord(1, "abc", "abcdefgh", "", 4);
  ExpectWord(0, "abc", "abc,rest", "rest", 4);
  ExpectWord(1, "", "a,rest", "rest", 1);
  ExpectWord(0, "", ",rest", "rest", 1);
}

TEST(UtilParseWord, SkippedBlanksDoNotCount) { ExpectWord(0, "abc", "    abc,", "", 4); }

TEST(UtilParseWord, CapacitiesOfZeroAndLessStoreNothing) {
  for (const int32_t capacity : {0, -1, INT32_MIN}) {
    SCOPED_TRACE(capacity);
    Text text(" ab,rest");
    GuardedBuffer word(4);
    EXPECT_EQ(UTIL_ParseWord(text.cursor(), word.data(), capacity, ','), 1);
    EXPECT_TRUE(word.IsUntouched(0, 4));
    EXPECT_EQ(text.Rest(), "rest");
    Text empty("");
    EXPECT_EQ(UTIL_ParseWord(empty.cursor(), word.data(), capacity, ','), 1);
    EXPECT_TRUE(word.IsUntouched(0, 4));
  }
}

// ---- UTIL_ParseString ----

// A null message is success.
void ExpectString(const char* expected_message, std::string_view expected, std::string_view text,
                  std::string_view rest, int32_t capacity, char delimiter = ',') {
  SCOPED_TRACE(std::string(text));
  Text scanned(text);
  GuardedBuffer word(static_cast<size_t>(capacity));
  EXPECT_STREQ(UTIL_ParseString(scanned.cursor(), word.data(), capacity, delimiter),
               expected_message);
  EXPECT_STREQ(word.data(), std::string(expected).c_str());
  EXPECT_TRUE(word.IsUntouched(expected.size() + 1, word.size()));
  EXPECT_EQ(scanned.Rest(), rest);
}

TEST(UtilParseString, CopiesUpToTheDelimiterAndStaysOnIt) {
  ExpectString(nullptr, "abc", "abc,def", ",def", 16);
  ExpectString(nullptr, "abc", " \t\r\nabc;", ";", 16, ';');
  ExpectString(nullptr, "ab", "abxcd", "xcd", 16, 'x');
  ExpectString(nullptr, "a",
               "a\xFF"
               "b",
               "\xFF"
               "b",
               16, '\xFF');
}

TEST(UtilParseString, CopiesUpToTheEndOfTheWordAndStaysThere) {
  ExpectString(nullptr, "abc", "abc", "", 16);
  ExpectString(nullptr, "abc", "abc def", " def", 16);
  ExpectString(nullptr, "abc", "abc def", " def", 16, '\0');
}

TEST(UtilParseString, AWordEndsAtTheEndOfTheTextLfCrAndSpaceAndNothingElse) {
  for (int code = 0; code < 256; ++code) {
    SCOPED_TRACE(code);
    const char c = static_cast<char>(code);
    const bool is_end = IsOneOf(c, "\x00\x0A\x0D\x20"sv);
    Text text(std::string{'a', c, 'b'});
    GuardedBuffer word(4);
    // The delimiter zero adds nothing to the set.
    EXPECT_EQ(UTIL_ParseString(text.cursor(), word.data(), 4, '\0'), nullptr);
    EXPECT_EQ(std::string(word.data()), is_end ? "a" : (std::string{'a', c, 'b'}));
    EXPECT_EQ(text.Position(), is_end ? 1 : 3);
  }
}

TEST(UtilParseString, RefusesAWordThatDoesNotFit) {
  const char* const message = "Maximum string length exceeded";
  ExpectString(message, "", "abcd", "abcd", 4);
  ExpectString(message, "", "  abcde,f", "abcde,f", 4);
  ExpectString(message, "", "a", "a", 1);
}

TEST(UtilParseString, AcceptsAWordThatJustFits) { ExpectString(nullptr, "abc", "abc", "", 4); }

TEST(UtilParseString, RefusesAnEmptyWord) {
  const char* const message = "Expected a string";
  ExpectString(message, "", "", "", 4);
  ExpectString(message, "", "   ", "", 4);
  ExpectString(message, "", " ,b", ",b", 4);
  ExpectString(message, "", "", "", 1);
}

TEST(UtilParseString, TheLengthMessageComesFirst) {
  for (const int32_t capacity : {0, -1, INT32_MIN}) {
    SCOPED_TRACE(capacity);
    for (const char* const word : {"  ", "  ab"}) {
      Text text(word);
      GuardedBuffer destination(4);
      EXPECT_STREQ(UTIL_ParseString(text.cursor(), destination.data(), capacity, ','),
                   "Maximum string length exceeded");
      EXPECT_TRUE(destination.IsUntouched(0, 4));
      EXPECT_EQ(text.Position(), 2);
    }
  }
}

// ---- UTIL_ParseListItem ----

void ExpectItem(std::string_view expected, std::string_view text, std::string_view rest,
                uint32_t capacity = 16) {
  SCOPED_TRACE(std::string(text));
  Text scanned(text);
  GuardedBuffer item(capacity);
  UTIL_ParseListItem(scanned.cursor(), item.data(), capacity);
  EXPECT_STREQ(item.data(), std::string(expected).c_str());
  EXPECT_TRUE(item.IsUntouched(expected.size() + 1, capacity));
  EXPECT_EQ(scanned.Rest(), rest);
}

TEST(UtilParseListItem, ReadsAQuotedItemWithItsCommas) {
  ExpectItem("a,b", "\"a,b\",rest", "rest");
  ExpectItem("a b", " \"a b\" , rest", " rest");
  ExpectItem("", "\"\",rest", "rest");
  ExpectItem(" a\t", "\" a\t\"", "");
}

TEST(UtilParseListItem, ReadsAnUnquotedItemUpToTheEndOfTheWord) {
  ExpectItem("abc", "abc ,def", "def");
  ExpectItem("abc", "\t\n\r abc\r\n,def", "def");
  ExpectItem("abc", "abc", "");
}

TEST(UtilParseListItem, ACommaDoesNotEndAnUnquotedItem) {
  ExpectItem("a,b", "a,b c", "c");
  ExpectItem(",a", ",a", "");
  ExpectItem("a,", "a, b", "b");
}

TEST(UtilParseListItem, StepsOverBlanksAndOneCommaBehindTheItem) {
  ExpectItem("a", "a \t\n\r,,b", ",b");
  ExpectItem("a", "a  b", "b");
  ExpectItem("a", "a , ", " ");
}

TEST(UtilParseListItem, NothingIsAnEmptyItem) {
  ExpectItem("", "", "");
  ExpectItem("", "  ", "");
}

TEST(UtilParseListItem, AQuoteThatEndsAnUnquotedItemIsConsumed) {
  ExpectItem("a", "a\"b", "b");
  ExpectItem("a", "a\",b", "b");
  ExpectItem("a", "a\"\"b", "\"b");
}

TEST(UtilParseListItem, AQuotedItemWithoutItsSecondQuoteEndsWithTheLine) {
  ExpectItem("a b", "\"a b\n,c", "c");
  ExpectItem("a b", "\"a b", "");
}

TEST(UtilParseListItem, AnUnquotedItemEndsAtTheEndOfTheTextLfCrSpaceAndQuoteAndNothingElse) {
  for (int code = 0; code < 256; ++code) {
    SCOPED_TRACE(code);
    const char c = static_cast<char>(code);
    Text text(std::string{'a', c, 'b'});
    GuardedBuffer item(8);
    UTIL_ParseListItem(text.cursor(), item.data(), 8);
    const bool is_end = IsOneOf(c, "\x00\x0A\x0D\x20\x22"sv);
    EXPECT_EQ(std::string(item.data()), is_end ? "a" : (std::string{'a', c, 'b'}));
  }
}

TEST(UtilParseListItem, AQuotedItemEndsAtTheEndOfTheTextLfCrAndQuoteAndNothingElse) {
  for (int code = 0; code < 256; ++code) {
    SCOPED_TRACE(code);
    const char c = static_cast<char>(code);
    Text text(std::string{'"', 'a', c, 'b', '"'});
    GuardedBuffer item(8);
    UTIL_ParseListItem(text.cursor(), item.data(), 8);
    const bool is_end = IsOneOf(c, "\x00\x0A\x0D\x22"sv);
    EXPECT_EQ(std::string(item.data()), is_end ? "a" : (std::string{'a', c, 'b'}));
  }
}

TEST(UtilParseListItem, AnOverlongItemGoesOnInTheNextCall) {
  Text text("abcdefgh ,x");
  GuardedBuffer item(4);
  for (const char* const expected : {"abc", "def", "gh", "x", ""}) {
    UTIL_ParseListItem(text.cursor(), item.data(), 4);
    EXPECT_STREQ(item.data(), expected);
  }
  EXPECT_EQ(text.Rest(), "");
}

TEST(UtilParseListItem, AFullDestinationLeavesTheClosingQuote) {
  ExpectItem("abc", "\"abcd\",x", "d\",x", 4);
  ExpectItem("abc", "\"abc\",x", "\",x", 4);
  ExpectItem("abc", "abc\",x", "\",x", 4);
  ExpectItem("ab", "\"ab\",x", "x", 4);
}

TEST(UtilParseListItem, AFullDestinationStillStepsOverBlanksAndAComma) {
  ExpectItem("abc", "abc ,x", "x", 4);
  ExpectItem("abc", "\"abc , d\"", " d\"", 4);
  ExpectItem("abc", "abc,d", "d", 4);
}

TEST(UtilParseListItem, CapacityOneStoresTheEmptyString) {
  ExpectItem("", "  abc", "abc", 1);
  ExpectItem("", " \"abc\"", "abc\"", 1);
  ExpectItem("", " ,abc", "abc", 1);
}

TEST(UtilParseListItem, WithoutADestinationNothingHappens) {
  Text text(" a,");
  GuardedBuffer item(4);
  UTIL_ParseListItem(text.cursor(), item.data(), 0);
  UTIL_ParseListItem(text.cursor(), nullptr, 4);
  EXPECT_TRUE(item.IsUntouched(0, 4));
  EXPECT_EQ(text.Position(), 0);
}

TEST(UtilParseListItem, LargestCapacityStoresNoMoreThanTheItem) {
  Text text("\"abc\",x");
  GuardedBuffer item(4);
  UTIL_ParseListItem(text.cursor(), item.data(), 0xFFFFFFFF);
  EXPECT_STREQ(item.data(), "abc");
  EXPECT_EQ(text.Rest(), "x");
}

// ---- UTIL_ParseToken ----

void ExpectToken(std::string_view expected, std::string_view text, std::string_view rest,
                 uint32_t capacity = 16) {
  SCOPED_TRACE(std::string(text));
  Text scanned(text);
  GuardedBuffer token(capacity);
  EXPECT_EQ(UTIL_ParseToken(scanned.cursor(), token.data(), capacity), 0);
  EXPECT_STREQ(token.data(), std::string(expected).c_str());
  EXPECT_TRUE(token.IsUntouched(expected.size() + 1, capacity));
  EXPECT_EQ(scanned.Rest(), rest);
}

TEST(UtilParseToken, ReadsUpToATokenEndAndStaysOnIt) {
  ExpectToken("key", "key:value", ":value");
  ExpectToken("key", " \t\r\nkey value", " value");
  ExpectToken("key", "key", "");
}

TEST(UtilParseToken, EndsAtTheEndOfTheTextLfCrSpaceAndColonAndNothingElse) {
  for (int code = 0; code < 256; ++code) {
    SCOPED_TRACE(code);
    const char c = static_cast<char>(code);
    Text text(std::string{'a', c, 'b'});
    GuardedBuffer token(8);
    EXPECT_EQ(UTIL_ParseToken(text.cursor(), token.data(), 8), 0);
    const bool is_end = IsOneOf(c, "\x00\x0A\x0D\x20\x3A"sv);
    EXPECT_EQ(std::string(token.data()), is_end ? "a" : (std::string{'a', c, 'b'}));
    EXPECT_EQ(text.Position(), is_end ? 1 : 3);
  }
}

TEST(UtilParseToken, AQuoteInsideAnUnquotedTokenIsAnOrdinaryCharacter) {
  ExpectToken("a\"b\"", "a\"b\" c", " c");
}

TEST(UtilParseToken, ReadsAQuotedTokenAndStepsOverTheSecondQuote) {
  ExpectToken("a b:c", " \"a b:c\":d", ":d");
  ExpectToken("", "\"\"x", "x");
  ExpectToken("a\r\n\tb", "\"a\r\n\tb\"", "");
}

TEST(UtilParseToken, NothingIsAnEmptyTokenAndMovesTheCursorNotEvenOverBlanks) {
  ExpectToken("", "", "");
  ExpectToken("", ":value", ":value");
  ExpectToken("", "  :value", "  :value");
  ExpectToken("", "\t\n\r ", "\t\n\r ");
}

TEST(UtilParseToken, CutsWhatDoesNotFitAndScansOn) {
  ExpectToken("abc", "abcdef:x", ":x", 4);
  ExpectToken("abc", "abc:x", ":x", 4);
  ExpectToken("abc", "\"abcdef\":x", ":x", 4);
  ExpectToken("abc", "\"abc\":x", ":x", 4);
  ExpectToken("", "abc:x", ":x", 1);
  ExpectToken("", "\"abc\":x", ":x", 1);
}

TEST(UtilParseToken, AQuotedTokenNeedsItsSecondQuote) {
  Text text("  \"abc def");
  GuardedBuffer token(16);
  EXPECT_EQ(UTIL_ParseToken(text.cursor(), token.data(), 16), -1);
  EXPECT_EQ(text.Position(), 0);
}

TEST(UtilParseToken, LeavesAnUnfinishedTokenWithoutATerminator) {
  Text text("\"abc");
  GuardedBuffer token(8);
  EXPECT_EQ(UTIL_ParseToken(text.cursor(), token.data(), 8), -1);
  EXPECT_EQ(std::string_view(token.data(), 3), "abc");
  EXPECT_TRUE(token.IsUntouched(3, 8));
}

TEST(UtilParseToken, KeepsNoMoreOfAnUnfinishedTokenThanFits) {
  Text text("\"abcdef");
  GuardedBuffer token(4);
  EXPECT_EQ(UTIL_ParseToken(text.cursor(), token.data(), 4), -1);
  EXPECT_EQ(std::string_view(token.data(), 3), "abc");
  EXPECT_TRUE(token.IsUntouched(3, 4));
}

TEST(UtilParseToken, AQuoteAloneLeavesTheDestinationCleared) {
  Text text("\"");
  GuardedBuffer token(4);
  EXPECT_EQ(UTIL_ParseToken(text.cursor(), token.data(), 4), -1);
  EXPECT_STREQ(token.data(), "");
  EXPECT_TRUE(token.IsUntouched(1, 4));
  EXPECT_EQ(text.Position(), 0);
}

TEST(UtilParseToken, WithoutADestinationNothingHappens) {
  Text text(" a:");
  GuardedBuffer token(4);
  EXPECT_EQ(UTIL_ParseToken(text.cursor(), token.data(), 0), -1);
  EXPECT_EQ(UTIL_ParseToken(text.cursor(), nullptr, 4), -1);
  EXPECT_TRUE(token.IsUntouched(0, 4));
  EXPECT_EQ(text.Position(), 0);
}

TEST(UtilParseToken, LargestCapacityStoresNoMoreThanTheToken) {
  for (const char* const key : {"abc:x", "\"abc\":x"}) {
    Text text(key);
    GuardedBuffer token(4);
    EXPECT_EQ(UTIL_ParseToken(text.cursor(), token.data(), 0xFFFFFFFF), 0);
    EXPECT_STREQ(token.data(), "abc");
    EXPECT_EQ(text.Rest(), ":x");
  }
}

// ---- Single characters ----

TEST(UtilIsBlank, AcceptsTabLfCrAndSpaceAndNothingElse) {
  for (uint32_t code = 0; code < 256; ++code) {
    const bool is_blank = IsOneOf(static_cast<char>(code), "\x09\x0A\x0D\x20"sv);
    EXPECT_EQ(UTIL_IsBlank(code), is_blank ? 1 : 0) << code;
  }
}

TEST(UtilIsBlank, LooksAtTheWholeCode) {
  for (const uint32_t code : {0x49U, 0x109U, 0x120U, 0x1000AU, 0x80000020U, 0xFFFFFF0DU}) {
    EXPECT_EQ(UTIL_IsBlank(code), 0) << code;
  }
}

TEST(UtilSkipBlanks, SkipsTabLfCrAndSpaceAndNothingElse) {
  for (int code = 0; code < 256; ++code) {
    SCOPED_TRACE(code);
    const char c = static_cast<char>(code);
    Text text(std::string{c, c, 'x'});
    UTIL_SkipBlanks(text.cursor());
    EXPECT_EQ(text.Position(), IsOneOf(c, "\x09\x0A\x0D\x20"sv) ? 2 : 0);
  }
}

TEST(UtilSkipBlanks, StopsAtTheEndOfTheText) {
  Text text(" \t");
  UTIL_SkipBlanks(text.cursor());
  EXPECT_EQ(text.Position(), 2);
  UTIL_SkipBlanks(text.cursor());
  EXPECT_EQ(text.Position(), 2);
}

TEST(UtilExpectChar, StepsOverTheExpectedCharacter) {
  Text text("..x");
  EXPECT_EQ(UTIL_ExpectChar(text.cursor(), '.'), 0);
  EXPECT_EQ(text.Rest(), ".x");
  EXPECT_EQ(UTIL_ExpectChar(text.cursor(), '.'), 0);
  EXPECT_EQ(UTIL_ExpectChar(text.cursor(), '.'), -1);
  EXPECT_EQ(text.Rest(), "x");
}

TEST(UtilExpectChar, ComparesTheCharacterThereAlone) {
  for (const char* const other : {"", " .", "a", "\xAE"}) {
    SCOPED_TRACE(other);
    Text text(other);
    EXPECT_EQ(UTIL_ExpectChar(text.cursor(), '.'), -1);
    EXPECT_EQ(text.Position(), 0);
  }
  Text high("\xFF.");
  EXPECT_EQ(UTIL_ExpectChar(high.cursor(), '\xFF'), 0);
  EXPECT_EQ(high.Rest(), ".");
}

TEST(UtilExpectChar, TakesAZeroForACharacterLikeAnyOther) {
  Text text("ab");
  EXPECT_EQ(UTIL_ExpectChar(text.cursor(), '\0'), -1);
  *text.cursor() += 2;
  EXPECT_EQ(UTIL_ExpectChar(text.cursor(), '\0'), 0);
  EXPECT_EQ(text.Position(), 3);
}

}  // namespace
