// SPDX-License-Identifier: MIT

#include "util/format.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <random>
#include <string>
#include <string_view>
#include <thread>
#include <variant>
#include <vector>

#include "tests/support/guarded_buffer.h"

namespace {

using std::string_view_literals::operator""sv;
using support::GuardedBuffer;

// Formats into a guarded buffer of exactly this capacity and returns what stands in front of the
// resulting pointer. A terminator must stand there, and nothing may be stored behind it.
template <typename... Arguments>
std::string Formatted(int32_t capacity, const char* format, Arguments... arguments) {
  GuardedBuffer buffer(static_cast<size_t>(std::max(capacity, 1)));
  const char* const terminator = UTIL_snprintf(buffer.data(), capacity, format, arguments...);
  const auto length = static_cast<size_t>(terminator - buffer.data());
  if (length >= buffer.size()) {
    ADD_FAILURE() << "The result points outside the buffer, at position " << length;
    return {};
  }
  EXPECT_EQ(*terminator, '\0');
  EXPECT_TRUE(buffer.IsUntouched(length + 1, buffer.size())) << "Stored behind the terminator";
  return std::string(buffer.data(), length);
}

// Expects the text at every capacity: its first capacity - 1 characters until it fits.
template <typename... Arguments>
void ExpectText(std::string_view expected, const char* format, Arguments... arguments) {
  SCOPED_TRACE(format);
  for (size_t capacity = 1; capacity <= expected.size() + 2; ++capacity) {
    EXPECT_EQ(Formatted(static_cast<int32_t>(capacity), format, arguments...),
              expected.substr(0, capacity - 1))
        << "capacity " << capacity;
  }
}

// A pointer with these bits, for printing alone.
const void* PointerTo(uintptr_t address) { return reinterpret_cast<const void*>(address); }

// ---- Text outside directives ----

TEST(UtilSnprintf, CopiesTextOutsideDirectivesAsItStands) {
  ExpectText("", "");
  ExpectText("Connection lost. Going to reconnect.\r\n",
             "Connection lost. Going to reconnect.\r\n");
  ExpectText("\t\x01\x7F\x80\xC3\xA4\xFF", "\t\x01\x7F\x80\xC3\xA4\xFF");
  ExpectText("d5.3llx-+ #*", "d5.3llx-+ #*");
}

TEST(UtilSnprintf, TwoPercentSignsGiveOne) {
  ExpectText("%", "%%");
  ExpectText("100%", "100%%");
  ExpectText("%%", "%%%%");
}

TEST(UtilSnprintf, TwoPercentSignsEndTheDirective) {
  ExpectText("%d", "%%d", 7);
  ExpectText("%7", "%%%d", 7);
  ExpectText("%5d7", "%%5d%d", 7);
}

TEST(UtilSnprintf, OnlyAPercentSignDirectlyAfterTheFirstOneGivesOne) {
  ExpectText("", "%5%");
  ExpectText("ab", "a%5%b");
  ExpectText("|", "%.3%|");
  ExpectText("|", "%l%|");
  ExpectText("|", "%5.2ll%|");
  ExpectText("d", "%5%d", 7);   // the second "%" is the conversion and starts nothing
  ExpectText("7", "%5%%d", 7);  // the third one does
  ExpectText("%", "%5%%%");     // and so do two after it
  ExpectText("7", "%.%%d", 7);  // the argument is still there
  ExpectText("7", "%ll%%d", 7);
}

// ---- Width ----

TEST(UtilSnprintf, WidthAlignsNumbersToTheRightInSpaces) {
  ExpectText("   42", "%5d", 42);
  ExpectText("   42", "%5i", 42);
  ExpectText("   42", "%5u", 42U);
  ExpectText("   2a", "%5x", 0x2AU);
  ExpectText("   2A", "%5X", 0x2AU);
  ExpectText("    1A2B", "%8X", 0x1A2BU);
  ExpectText("                  42", "%20lld", 42LL);
  ExpectText("                  42", "%20llu", 42ULL);
  ExpectText("      123456789a", "%16llx", 0x123456789AULL);
  ExpectText("      123456789A", "%16llX", 0x123456789AULL);
  ExpectText("    0", "%5d", 0);
}

TEST(UtilSnprintf, WidthOfTheDigitsOrLessAddsNothing) {
  ExpectText("123", "%3d", 123);
  ExpectText("123", "%2d", 123);
  ExpectText("123", "%1u", 123U);
  ExpectText("abc", "%3x", 0xABCU);
  ExpectText("ABC", "%2X", 0xABCU);
  ExpectText("0", "%1d", 0);
}

TEST(UtilSnprintf, WidthMayHaveSeveralDigits) {
  ExpectText("           7", "%12d", 7);
  ExpectText(std::string(99, ' ') + "7", "%100u", 7U);
}

TEST(UtilSnprintf, LeadingZeroIsADigitOfTheWidth) {
  ExpectText("    1A2B", "%08X", 0x1A2BU);
  ExpectText("    1a2b", "%08x", 0x1A2BU);
  ExpectText("   42", "%05d", 42);
  ExpectText("   42", "%005i", 42);
  ExpectText("   42", "%05u", 42U);
  ExpectText("        42", "%010u", 42U);
  ExpectText("42", "%0d", 42);
  ExpectText("-   42", "%05d", -42);
}

TEST(UtilSnprintf, WidthIsCountedIn32Bits) {
  ExpectText("   42", "%4294967301d", 42);  // 2^32 + 5
  ExpectText("42", "%4294967296d", 42);     // 2^32
  ExpectText("42", "%4294967295d", 42);     // -1 as a signed number
}

TEST(UtilSnprintf, SignStandsBeforeThePaddingAndDoesNotCount) {
  ExpectText("-   42", "%5d", -42);
  ExpectText("-   42", "%5i", -42);
  ExpectText("-   7", "%4d", -7);
  ExpectText("- 42", "%3d", -42);
  ExpectText("-42", "%2d", -42);
  ExpectText("-42", "%1d", -42);
  ExpectText("-   42", "%5lld", -42LL);
  ExpectText("-  5000000000", "%12lld", -5000000000LL);
  ExpectText("-  2147483648", "%12d", INT32_MIN);
}

// ---- Precision ----

TEST(UtilSnprintf, PrecisionIsTheSmallestNumberOfDigits) {
  ExpectText("007", "%.3d", 7);
  ExpectText("007", "%.3i", 7);
  ExpectText("007", "%.3u", 7U);
  ExpectText("00001a2b", "%.8x", 0x1A2BU);
  ExpectText("00001A2B", "%.8X", 0x1A2BU);
  ExpectText("123", "%.3d", 123);
  ExpectText("1234", "%.3d", 1234);
  ExpectText("07", "%.2lld", 7LL);
  ExpectText("05000000000", "%.11lld", 5000000000LL);
  ExpectText("0123456789a", "%.11llx", 0x123456789AULL);
  ExpectText("00", "%.02d", 0);
}

TEST(UtilSnprintf, ZerosStandBehindTheSign) {
  ExpectText("-007", "%.3d", -7);
  ExpectText("-007", "%.3lld", -7LL);
  ExpectText("-123", "%.3d", -123);
}

TEST(UtilSnprintf, LoneDotMeansPrecisionZero) {
  ExpectText("42", "%.d", 42);
  ExpectText("0", "%.d", 0);
  ExpectText("   42", "%5.d", 42);
  ExpectText("2a", "%.x", 0x2AU);
  ExpectText("42", "%.llu", 42ULL);
}

TEST(UtilSnprintf, ZeroHasAtLeastOneDigit) {
  ExpectText("0", "%d", 0);
  ExpectText("0", "%u", 0U);
  ExpectText("0", "%x", 0U);
  ExpectText("0", "%X", 0U);
  ExpectText("0", "%.0d", 0);
  ExpectText("0", "%.1d", 0);
  ExpectText("0", "%.0u", 0U);
  ExpectText("0", "%.0x", 0U);
  ExpectText("0", "%lld", 0LL);
  ExpectText("0", "%.0llX", 0ULL);
}

TEST(UtilSnprintf, WidthAlignsThePreciseDigits) {
  ExpectText("     007", "%8.3d", 7);
  ExpectText("    001A", "%08.4X", 0x1AU);
  ExpectText("00042", "%2.5u", 42U);
  ExpectText("00042", "%5.5u", 42U);
  ExpectText("-   007", "%6.3d", -7);
}

TEST(UtilSnprintf, PrecisionReachesToTheLargestNumberOfDigits) {
  ExpectText("0000000007", "%.10u", 7U);
  ExpectText("4294967295", "%.10u", UINT32_MAX);
  ExpectText("-0000000007", "%.10d", -7);
  ExpectText("0000000f", "%.8x", 0xFU);
  ExpectText("00000000000000000007", "%.20llu", 7ULL);
  ExpectText("18446744073709551615", "%.20llu", UINT64_MAX);
  ExpectText("-0009223372036854775807", "%.22lld", -INT64_MAX);
  ExpectText("000000000000000F", "%.16llX", 0xFULL);
}

TEST(UtilSnprintf, SecondDotIsAnUnknownConversion) {
  ExpectText("2d", "%5.3.2d", 7);
  ExpectText("7", "%..%d", 7);
}

// ---- Length ----

TEST(UtilSnprintf, NoOrOneLReads32Bits) {
  constexpr int64_t kFiveBelow = -INT64_C(0xFFFFFFFB);  // 0xFFFFFFFF'00000005
  ExpectText("5", "%d", kFiveBelow);
  ExpectText("5", "%ld", kFiveBelow);
  ExpectText("5", "%li", kFiveBelow);
  ExpectText("5", "%lu", kFiveBelow);
  ExpectText("-1", "%ld", 0x00000001'FFFFFFFFLL);
  ExpectText("4294967295", "%lu", 0x00000001'FFFFFFFFLL);
  ExpectText("9abcdef0", "%x", 0x12345678'9ABCDEF0LL);
  ExpectText("9abcdef0", "%lx", 0x12345678'9ABCDEF0LL);
  ExpectText("9ABCDEF0", "%lX", 0x12345678'9ABCDEF0LL);
}

TEST(UtilSnprintf, TwoOrMoreLsRead64Bits) {
  ExpectText("-4294967291", "%lld", -4294967291LL);
  ExpectText("-4294967291", "%llld", -4294967291LL);
  ExpectText("-4294967291", "%lllli", -4294967291LL);
  ExpectText("4294967296", "%llu", 4294967296ULL);
  ExpectText("4294967296", "%lllu", 4294967296ULL);
  ExpectText("123456789abcdef0", "%llx", 0x12345678'9ABCDEF0ULL);
  ExpectText("123456789abcdef0", "%lllx", 0x12345678'9ABCDEF0ULL);
  ExpectText("123456789ABCDEF0", "%llX", 0x12345678'9ABCDEF0ULL);
}

TEST(UtilSnprintf, LengthStandsBehindWidthAndPrecision) {
  ExpectText("  0005000000000", "%15.13lld", 5000000000LL);
  ExpectText("d", "%ll5d", 7);  // behind the length a digit is an unknown conversion
}

TEST(UtilSnprintf, LengthMeansNothingToCharactersAndStrings) {
  ExpectText("A", "%lc", 'A');
  ExpectText("A|7", "%llc|%d", 'A', 7);
  ExpectText("abc", "%ls", "abc");
  ExpectText("abc|7", "%lls|%d", "abc", 7);
}

// ---- Decimal ----

TEST(UtilSnprintf, DAndIPrintSignedDecimal) {
  ExpectText("42 -42 0", "%d %d %d", 42, -42, 0);
  ExpectText("42 -42 0", "%i %i %i", 42, -42, 0);
}

TEST(UtilSnprintf, Signed32BitExtremes) {
  ExpectText("2147483647", "%d", INT32_MAX);
  ExpectText("-2147483647", "%d", -INT32_MAX);
  ExpectText("-2147483648", "%d", INT32_MIN);
  ExpectText("-2147483648", "%i", INT32_MIN);
  ExpectText("-2147483648", "%.10d", INT32_MIN);
  ExpectText("-1", "%d", -1);
  ExpectText("1", "%d", 1);
}

TEST(UtilSnprintf, Unsigned32BitExtremes) {
  ExpectText("4294967295", "%u", UINT32_MAX);
  ExpectText("4294967295", "%u", -1);
  ExpectText("2147483648", "%u", 0x80000000U);
  ExpectText("ffffffff", "%x", -1);
  ExpectText("80000000", "%X", INT32_MIN);
}

TEST(UtilSnprintf, Signed64BitExtremes) {
  ExpectText("9223372036854775807", "%lld", INT64_MAX);
  ExpectText("-9223372036854775807", "%lld", -INT64_MAX);
  ExpectText("-9223372036854775807", "%lli", -INT64_MAX);
  ExpectText("-1", "%lld", -1LL);
  ExpectText("0", "%lld", 0LL);
}

TEST(UtilSnprintf, Unsigned64BitExtremes) {
  ExpectText("18446744073709551615", "%llu", UINT64_MAX);
  ExpectText("9223372036854775808", "%llu", 0x8000000000000000ULL);
  ExpectText("ffffffffffffffff", "%llx", UINT64_MAX);
  ExpectText("8000000000000000", "%llX", INT64_MIN);
}

TEST(UtilSnprintf, Signed64BitNumbersRoundTheEdgeOf32Bits) {
  ExpectText("2147483647", "%lld", 2147483647LL);
  ExpectText("2147483648", "%lld", 2147483648LL);
  ExpectText("4294967295", "%lld", 4294967295LL);
  ExpectText("4294967296", "%lld", 4294967296LL);
  ExpectText("-2147483647", "%lld", -2147483647LL);
  ExpectText("-2147483648", "%lld", -2147483648LL);
  ExpectText("-2147483649", "%lld", -2147483649LL);
  ExpectText("-4294967295", "%lld", -4294967295LL);
  ExpectText("-4294967296", "%lld", -4294967296LL);
}

TEST(UtilSnprintf, Unsigned64BitNumbersRoundTheEdgeOf32Bits) {
  ExpectText("2147483648", "%llu", 0x80000000ULL);
  ExpectText("4294967295", "%llu", 0xFFFFFFFFULL);
  ExpectText("4294967296", "%llu", 0x1'00000000ULL);
  ExpectText("ffffffff", "%llx", 0xFFFFFFFFULL);
  ExpectText("100000000", "%llx", 0x1'00000000ULL);
}

// Its magnitude does not fit a positive signed number and is taken for a small one.
TEST(UtilSnprintf, SmallestSigned64BitNumberPrintsZeroWithoutASign) {
  ExpectText("0", "%lld", INT64_MIN);
  ExpectText("0", "%lli", INT64_MIN);
  ExpectText("0", "%llld", INT64_MIN);
  ExpectText("    0", "%5lld", INT64_MIN);
  ExpectText("000", "%.3lld", INT64_MIN);
  ExpectText("   000", "%6.3lld", INT64_MIN);
}

TEST(UtilSnprintf, DecimalNumbersHaveTheirDigitsAtEveryBorder) {
  const struct {
    uint64_t value;
    const char* expected;
  } cases[] = {
      {0, "0"},
      {1, "1"},
      {9, "9"},
      {10, "10"},
      {99, "99"},
      {100, "100"},
      {999, "999"},
      {1000, "1000"},
      {9999, "9999"},
      {10000, "10000"},
      {99999, "99999"},
      {100000, "100000"},
      {999999, "999999"},
      {1000000, "1000000"},
      {9999999, "9999999"},
      {10000000, "10000000"},
      {99999999, "99999999"},
      {100000000, "100000000"},
      {999999999, "999999999"},
      {1000000000, "1000000000"},
      {9999999999, "9999999999"},
      {10000000000, "10000000000"},
      {99999999999, "99999999999"},
      {100000000000, "100000000000"},
      {999999999999, "999999999999"},
      {1000000000000, "1000000000000"},
      {9999999999999, "9999999999999"},
      {10000000000000, "10000000000000"},
      {99999999999999, "99999999999999"},
      {100000000000000, "100000000000000"},
      {999999999999999, "999999999999999"},
      {1000000000000000, "1000000000000000"},
      {9999999999999999, "9999999999999999"},
      {10000000000000000, "10000000000000000"},
      {99999999999999999, "99999999999999999"},
      {100000000000000000, "100000000000000000"},
      {999999999999999999, "999999999999999999"},
      {1000000000000000000, "1000000000000000000"},
      {9223372036854775807, "9223372036854775807"},
      {9999999999999999999U, "9999999999999999999"},
      {10000000000000000000U, "10000000000000000000"},
      {18446744073709551615U, "18446744073709551615"},
  };
  for (const auto& c : cases) {
    ExpectText(c.expected, "%llu", c.value);
    if (c.value <= UINT32_MAX) ExpectText(c.expected, "%u", static_cast<uint32_t>(c.value));
    if (c.value > INT64_MAX) continue;
    const auto value = static_cast<int64_t>(c.value);
    const std::string negative = value == 0 ? "0" : std::string("-") + c.expected;
    ExpectText(c.expected, "%lld", value);
    ExpectText(negative, "%lld", -value);
    if (value > INT32_MAX) continue;
    ExpectText(c.expected, "%d", static_cast<int32_t>(value));
    ExpectText(negative, "%d", static_cast<int32_t>(-value));
  }
}

TEST(UtilSnprintf, EveryPairOfDecimalDigits) {
  for (int tens = 0; tens <= 9; ++tens) {
    for (int ones = 0; ones <= 9; ++ones) {
      const char expected[] = {'1', static_cast<char>('0' + tens), static_cast<char>('0' + ones)};
      EXPECT_EQ(Formatted(4, "%d", 100 + 10 * tens + ones), std::string(expected, 3));
    }
  }
}

// Four digits are divided in each half of a group of eight.
TEST(UtilSnprintf, EveryFourDecimalDigitsInBothHalves) {
  for (unsigned number = 0; number <= 9999; ++number) {
    const std::string high = std::to_string(10'000 + number).substr(1);
    const std::string low = std::to_string(19'999 - number).substr(1);
    char text[9];
    UTIL_snprintf(text, 9, "%.8u", number * 10'000 + 9999 - number);
    ASSERT_EQ(text, high + low);
  }
}

// ---- Hexadecimal ----

TEST(UtilSnprintf, HexadecimalNumbersHaveTheirDigitsAtEveryBorder) {
  const struct {
    uint64_t value;
    const char* lower;
    const char* upper;
  } cases[] = {
      {0x0, "0", "0"},
      {0x1, "1", "1"},
      {0xF, "f", "F"},
      {0x10, "10", "10"},
      {0xFF, "ff", "FF"},
      {0x100, "100", "100"},
      {0xFFF, "fff", "FFF"},
      {0x1000, "1000", "1000"},
      {0xFFFF, "ffff", "FFFF"},
      {0x10000, "10000", "10000"},
      {0xFFFFF, "fffff", "FFFFF"},
      {0x100000, "100000", "100000"},
      {0xFFFFFF, "ffffff", "FFFFFF"},
      {0x1000000, "1000000", "1000000"},
      {0xFFFFFFF, "fffffff", "FFFFFFF"},
      {0x10000000, "10000000", "10000000"},
      {0xFFFFFFFF, "ffffffff", "FFFFFFFF"},
      {0x100000000, "100000000", "100000000"},
      {0xFFFFFFFFF, "fffffffff", "FFFFFFFFF"},
      {0x1000000000, "1000000000", "1000000000"},
      {0xFFFFFFFFFF, "ffffffffff", "FFFFFFFFFF"},
      {0x10000000000, "10000000000", "10000000000"},
      {0xFFFFFFFFFFF, "fffffffffff", "FFFFFFFFFFF"},
      {0x100000000000, "100000000000", "100000000000"},
      {0xFFFFFFFFFFFF, "ffffffffffff", "FFFFFFFFFFFF"},
      {0x1000000000000, "1000000000000", "1000000000000"},
      {0xFFFFFFFFFFFFF, "fffffffffffff", "FFFFFFFFFFFFF"},
      {0x10000000000000, "10000000000000", "10000000000000"},
      {0xFFFFFFFFFFFFFF, "ffffffffffffff", "FFFFFFFFFFFFFF"},
      {0x100000000000000, "100000000000000", "100000000000000"},
      {0xFFFFFFFFFFFFFFF, "fffffffffffffff", "FFFFFFFFFFFFFFF"},
      {0x1000000000000000, "1000000000000000", "1000000000000000"},
      {0xFFFFFFFFFFFFFFFF, "ffffffffffffffff", "FFFFFFFFFFFFFFFF"},
  };
  for (const auto& c : cases) {
    ExpectText(c.lower, "%llx", c.value);
    ExpectText(c.upper, "%llX", c.value);
    if (c.value > UINT32_MAX) continue;
    ExpectText(c.lower, "%x", static_cast<uint32_t>(c.value));
    ExpectText(c.upper, "%X", static_cast<uint32_t>(c.value));
  }
}

TEST(UtilSnprintf, LowerAndUpperCaseHexadecimalHaveDigitsOfTheirOwn) {
  ExpectText("1234567 89abcdef", "%x %x", 0x01234567U, 0x89ABCDEFU);
  ExpectText("1234567 89ABCDEF", "%X %X", 0x01234567U, 0x89ABCDEFU);
  ExpectText("fedcba9876543210", "%llx", 0xFEDCBA9876543210ULL);
  ExpectText("FEDCBA9876543210", "%llX", 0xFEDCBA9876543210ULL);
}

TEST(UtilSnprintf, SixBytesAndASeparatorGiveAMacAddress) {
  ExpectText("00:1A:2B:0C:D4:FF", "%.2X%c%.2X%c%.2X%c%.2X%c%.2X%c%.2X", 0x00, ':', 0x1A, ':', 0x2B,
             ':', 0x0C, ':', 0xD4, ':', 0xFF);
}

TEST(UtilSnprintf, EveryHexadecimalDigitInEveryPlace) {
  for (int place = 0; place < 16; ++place) {
    for (int digit = 0; digit <= 0xF; ++digit) {
      std::string lower(16, '0');
      std::string upper(16, '0');
      lower[static_cast<size_t>(15 - place)] = "0123456789abcdef"[digit];
      upper[static_cast<size_t>(15 - place)] = "0123456789ABCDEF"[digit];
      const uint64_t value = static_cast<uint64_t>(digit) << (4 * place);
      EXPECT_EQ(Formatted(17, "%.16llx", value), lower);
      EXPECT_EQ(Formatted(17, "%.16llX", value), upper);
    }
  }
}

// ---- Characters ----

TEST(UtilSnprintf, CharacterIsTheLowByteOfAnInt) {
  ExpectText("A", "%c", 'A');
  ExpectText("A", "%c", 0x141);
  ExpectText("A", "%c", -0xBF);  // 0xFFFFFF41
  ExpectText("\xFF", "%c", -1);
  ExpectText("\x80", "%c", 0x80);
  ExpectText("%", "%c", '%');
}

TEST(UtilSnprintf, CharacterIgnoresWidthAndPrecision) {
  ExpectText("A", "%5c", 'A');
  ExpectText("A", "%.0c", 'A');
  ExpectText("A", "%05.3c", 'A');
}

TEST(UtilSnprintf, ZeroByteThroughACharacterIsStoredAndCounted) {
  ExpectText("a\0b"sv, "a%cb", 0);
  ExpectText("\0"sv, "%c", 0);
  ExpectText("\0\0x"sv, "%c%c%s", 0, 0x100, "x");
}

// ---- Strings ----

TEST(UtilSnprintf, StringIsCopiedUpToItsZero) {
  ExpectText("abc", "%s", "abc");
  ExpectText("", "%s", "");
  ExpectText("[]", "[%s]", "");
  ExpectText("ab", "%s", "ab\0cd");
  ExpectText("one, two", "%s, %s", "one", "two");
  ExpectText("\x01\x80\xFF", "%s", "\x01\x80\xFF");
}

TEST(UtilSnprintf, StringIgnoresWidthAndPrecision) {
  ExpectText("abc", "%6s", "abc");
  ExpectText("abc", "%.2s", "abc");
  ExpectText("abc", "%.0s", "abc");
  ExpectText("abc", "%06.1s", "abc");
}

TEST(UtilSnprintf, DirectivesInsideAStringAreText) { ExpectText("%d %% %s", "%s", "%d %% %s"); }

TEST(UtilSnprintf, StringIsNotReadBehindItsZero) {
  GuardedBuffer string(4);
  memcpy(string.data(), "abc", 4);
  ExpectText("<abc>", "<%s>", string.data());
}

// ---- Pointers ----

TEST(UtilSnprintf, PointerIsEightColumnsOfLowerCaseHexadecimal) {
  ExpectText("    1234", "%p", PointerTo(0x1234));
  ExpectText("abcdef00", "%p", PointerTo(0xABCDEF00));
  ExpectText("       0", "%p", PointerTo(0));
  ExpectText("ffffffff", "%p", PointerTo(0xFFFFFFFF));
}

TEST(UtilSnprintf, PointerPrintsItsLow32BitsAlone) {
  ExpectText("abcdef00", "%p", PointerTo(0x00007FFF'ABCDEF00));
  ExpectText("    1234", "%p", PointerTo(0xFFFFFFFF'00001234));
  ExpectText("       0", "%p", PointerTo(0x00000001'00000000));
}

TEST(UtilSnprintf, PointerIgnoresTheWidth) {
  ExpectText("    1234", "%1p", PointerTo(0x1234));
  ExpectText("    1234", "%12p", PointerTo(0x1234));
  ExpectText("    1234", "%016p", PointerTo(0x1234));
}

TEST(UtilSnprintf, PointerTakesThePrecisionAsSmallestNumberOfDigits) {
  ExpectText("00001234", "%.8p", PointerTo(0x1234));
  ExpectText("  001234", "%.6p", PointerTo(0x1234));
  ExpectText("    1234", "%.2p", PointerTo(0x1234));
}

TEST(UtilSnprintf, PointerHas32BitsWhateverTheLength) {
  ExpectText("abcdef00", "%lp", PointerTo(0x00007FFF'ABCDEF00));
  ExpectText("abcdef00|7", "%llp|%d", PointerTo(0x00007FFF'ABCDEF00), 7);
}

// ---- What is no directive ----

TEST(UtilSnprintf, FlagsAreUnknownConversions) {
  ExpectText("5d", "%-5d", 42);
  ExpectText("d", "%+d", 42);
  ExpectText("d", "% d", 42);
  ExpectText("x", "%#x", 42);
  ExpectText("d", "%'d", 42);
  ExpectText("5d 42", "%-5d %d", 42);  // the argument is left for the next directive
}

TEST(UtilSnprintf, StarIsAnUnknownConversion) {
  ExpectText("d", "%*d", 5, 42);
  ExpectText("d", "%.*d", 5, 42);
  ExpectText("d 5", "%*d %d", 5, 42);
}

TEST(UtilSnprintf, OtherLengthsAreUnknownConversions) {
  ExpectText("d", "%hd", 42);
  ExpectText("hd", "%hhd", 42);
  ExpectText("u", "%zu", 42);
  ExpectText("d", "%jd", 42);
  ExpectText("d", "%td", 42);
  ExpectText("f", "%Lf", 42);
  ExpectText("d 42", "%hd %d", 42);
  ExpectText("u 42", "%zu %d", 42);
}

TEST(UtilSnprintf, FloatingPointLeavesItsArgumentForTheNextDirective) {
  ExpectText("", "%f");
  ExpectText(" 42", "%f %d", 42);
  ExpectText(" 42", "%8.3f %d", 42);
  ExpectText(" 42", "%lf %d", 42);
  ExpectText("|||||||42", "%e|%E|%f|%F|%g|%G|%a%A|%d", 42);
}

TEST(UtilSnprintf, AnyOtherCharacterProducesNothingAndTakesNoArgument) {
  const std::string_view grammar = "%0123456789.ldiuxXcsp";
  for (int code = 1; code <= 255; ++code) {
    const char character = static_cast<char>(code);
    if (grammar.find(character) != std::string_view::npos) continue;
    SCOPED_TRACE(code);
    const char plain[] = {'%', character, '|', '%', 'd', '\0'};
    ExpectText("|42", plain, 42);
    const char full[] = {'%', '1', '2', '.', '3', 'l', 'l', character, '|', '%', 'd', '\0'};
    ExpectText("|42", full, 42);
  }
}

// The format ends directly before a forbidden page, so that one step too far ends the test.
TEST(UtilSnprintf, FormatThatEndsWithinADirectiveEndsThere) {
  const struct {
    const char* format;
    const char* expected;
  } cases[] = {
      {"%", ""},     {"%5", ""},      {"%05", ""},   {"%.", ""},      {"%.3", ""},
      {"%5.3", ""},  {"%l", ""},      {"%ll", ""},   {"%5.3ll", ""},  {"%%%", "%"},
      {"ab%", "ab"}, {"ab%12", "ab"}, {"%d%", "42"}, {"%d%ll", "42"}, {"%5d%.7", "   42"},
  };
  for (const auto& c : cases) {
    GuardedBuffer format(strlen(c.format) + 1);
    memcpy(format.data(), c.format, format.size());
    ExpectText(c.expected, format.data(), 42);
  }
}

// ---- Capacity ----

TEST(UtilSnprintf, CapacityOneStoresTheTerminatorAlone) {
  EXPECT_EQ(Formatted(1, "text"), "");
  EXPECT_EQ(Formatted(1, ""), "");
  EXPECT_EQ(Formatted(1, "%d", -42), "");
  EXPECT_EQ(Formatted(1, "%12.5u", 42U), "");
  EXPECT_EQ(Formatted(1, "%s", "text"), "");
  EXPECT_EQ(Formatted(1, "%c%%", 'A'), "");
  EXPECT_EQ(Formatted(1, "%p", PointerTo(0xABCDEF00)), "");
}

TEST(UtilSnprintf, CapacityOneTakesNumbersOfEveryLength) {
  EXPECT_EQ(Formatted(1, "%u", UINT32_MAX), "");
  EXPECT_EQ(Formatted(1, "%llu", UINT64_MAX), "");
  EXPECT_EQ(Formatted(1, "%lld", -INT64_MAX), "");
  EXPECT_EQ(Formatted(1, "%x", UINT32_MAX), "");
  EXPECT_EQ(Formatted(1, "%llX", UINT64_MAX), "");
}

TEST(UtilSnprintf, CapacityZeroOrLessStoresTheTerminatorAllTheSame) {
  for (const int32_t capacity : {0, -1, -2, -1000, INT32_MIN + 1, INT32_MIN}) {
    SCOPED_TRACE(capacity);
    EXPECT_EQ(Formatted(capacity, "text"), "");
    EXPECT_EQ(Formatted(capacity, ""), "");
    EXPECT_EQ(Formatted(capacity, "%d %s%c%%", -42, "text", 'A'), "");
    EXPECT_EQ(Formatted(capacity, "%30.20llu%llx", UINT64_MAX, UINT64_MAX), "");
  }
}

TEST(UtilSnprintf, LargestCapacityIsTakenAsItIs) {
  GuardedBuffer buffer(26);
  EXPECT_EQ(UTIL_snprintf(buffer.data(), INT32_MAX, "%s %lld %llX", "text", -42LL, UINT64_MAX - 1),
            buffer.data() + 25);
  EXPECT_STREQ(buffer.data(), "text -42 FFFFFFFFFFFFFFFE");
}

TEST(UtilSnprintf, CapacityOfTheTextAndItsTerminatorHoldsAll) {
  EXPECT_EQ(Formatted(7, "%u", 123456U), "123456");
  EXPECT_EQ(Formatted(21, "%llu", UINT64_MAX), "18446744073709551615");
}

TEST(UtilSnprintf, CutsInTheMiddleOfANumber) {
  EXPECT_EQ(Formatted(4, "%u", 123456U), "123");
  EXPECT_EQ(Formatted(6, "%u", 123456U), "12345");
  EXPECT_EQ(Formatted(2, "%u", 123456U), "1");
  EXPECT_EQ(Formatted(4, "%lld", -123456LL), "-12");
  EXPECT_EQ(Formatted(3, "%u", 100000U), "10");
  EXPECT_EQ(Formatted(20, "%llu", UINT64_MAX), "1844674407370955161");
  EXPECT_EQ(Formatted(2, "%llu", UINT64_MAX), "1");
  EXPECT_EQ(Formatted(4, "%x", 0xABCDEFU), "abc");
  EXPECT_EQ(Formatted(2, "%llX", 0xFEDCBA9876543210ULL), "F");
  EXPECT_EQ(Formatted(6, "%p", PointerTo(0x1234)), "    1");
}

TEST(UtilSnprintf, CutsInTheMiddleOfAString) {
  EXPECT_EQ(Formatted(4, "%s", "abcdef"), "abc");
  EXPECT_EQ(Formatted(6, "%s", "abcdef"), "abcde");
  EXPECT_EQ(Formatted(2, "%s%s", "abc", "def"), "a");
  EXPECT_EQ(Formatted(6, "%s%s", "abc", "def"), "abcde");
}

TEST(UtilSnprintf, CutsInTheMiddleOfThePadding) {
  EXPECT_EQ(Formatted(4, "%8d", 42), "   ");
  EXPECT_EQ(Formatted(7, "%8d", 42), "      ");
  EXPECT_EQ(Formatted(8, "%8d", 42), "      4");
  EXPECT_EQ(Formatted(4, "%.8d", 42), "000");
  EXPECT_EQ(Formatted(5, "%8.5d", 42), "   0");
  EXPECT_EQ(Formatted(3, "%p", PointerTo(0x1234)), "  ");
}

TEST(UtilSnprintf, CutsBeforeAndBehindTheSign) {
  EXPECT_EQ(Formatted(4, "abc%d", -42), "abc");
  EXPECT_EQ(Formatted(5, "abc%d", -42), "abc-");
  EXPECT_EQ(Formatted(2, "%8d", -42), "-");
  EXPECT_EQ(Formatted(3, "%8d", -42), "- ");
}

TEST(UtilSnprintf, CutsBeforePercentSignAndCharacter) {
  EXPECT_EQ(Formatted(3, "ab%%"), "ab");
  EXPECT_EQ(Formatted(3, "ab%c", 'c'), "ab");
}

TEST(UtilSnprintf, StoresNothingMoreOnceTheBufferIsFull) {
  EXPECT_EQ(Formatted(4, "%u%s%c%d-%%", 123456U, "text", 'A', 7), "123");
  EXPECT_EQ(Formatted(4, "%s%u%s", "text", 1U, ""), "tex");
  EXPECT_EQ(Formatted(3, "%9d%d%llu", 1, -2, UINT64_MAX), "  ");
}

TEST(UtilSnprintf, LaterArgumentsAreReadFromTheirPlaces) {
  ExpectText("1 5000000000 two 3 four f ffffffffff 5 6", "%d %lld %s %u %s %x %llx %d %d", 1,
             5000000000LL, "two", 3U, "four", 0xFU, 0xFFFFFFFFFFULL, 5, 6);
}

TEST(UtilSnprintf, HugeWidthsAreCutAtTheCapacity) {
  EXPECT_EQ(Formatted(16, "%1000000d", 42), std::string(15, ' '));
  EXPECT_EQ(Formatted(16, "%2147483647u", 42U), std::string(15, ' '));
  EXPECT_EQ(Formatted(16, "%2147483647llx", UINT64_MAX), std::string(15, ' '));
  EXPECT_EQ(Formatted(6, "%2147483647d", -42), "-    ");
  EXPECT_EQ(Formatted(1, "%2147483647d", 42), "");
}

// What they print is not promised; that they stay inside the buffer is.
TEST(UtilSnprintf, PrecisionsBeyondTheSupportedRangeStayInsideTheBuffer) {
  for (const char* const format :
       {"%.11d", "%.21llu", "%.9x", "%.17llX", "%.9p", "%.27llu", "%.28lld", "%.23llx", "%.24llX",
        "%.1000000llu", "%.2147483647lld", "%.2147483648lld", "%.4294967295llu",
        "%4294967295.4294967295llu"}) {
    SCOPED_TRACE(format);
    for (const int32_t capacity : {INT32_MIN, 0, 1, 2, 16, 24, 64}) {
      Formatted(capacity, format, UINT64_MAX);
    }
  }
}

// ---- Result ----

TEST(UtilSnprintf, ReturnsTheAddressOfTheTerminator) {
  GuardedBuffer buffer(8);
  EXPECT_EQ(UTIL_snprintf(buffer.data(), 8, "%d", 42), buffer.data() + 2);
  EXPECT_EQ(UTIL_snprintf(buffer.data(), 8, ""), buffer.data());
  EXPECT_EQ(UTIL_snprintf(buffer.data(), 8, "%s", "1234567"), buffer.data() + 7);
  EXPECT_EQ(UTIL_snprintf(buffer.data(), 8, "%s", "123456789"), buffer.data() + 7);
  EXPECT_EQ(UTIL_snprintf(buffer.data(), 8, "ab%cd", 0), buffer.data() + 4);
  EXPECT_EQ(UTIL_snprintf(buffer.data(), 1, "%d", 42), buffer.data());
  EXPECT_EQ(UTIL_snprintf(buffer.data(), 0, "%d", 42), buffer.data());
  EXPECT_EQ(UTIL_snprintf(buffer.data(), -1, "%d", 42), buffer.data());
}

TEST(UtilSnprintf, CallersGoOnAppendingAtTheResult) {
  GuardedBuffer buffer(9);
  char* const end = buffer.data() + buffer.size();
  char* next = UTIL_snprintf(buffer.data(), 9, "%d", 1);
  next = UTIL_snprintf(next, static_cast<int32_t>(end - next), ",%d", 22);
  next = UTIL_snprintf(next, static_cast<int32_t>(end - next), ",%d", 333);
  next = UTIL_snprintf(next, static_cast<int32_t>(end - next), ",%d", 4444);
  EXPECT_STREQ(buffer.data(), "1,22,333");
  EXPECT_EQ(next, buffer.data() + 8);
}

// ---- Argument lists ----

char* FormatList(char* buffer, int32_t capacity, const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  char* const terminator = UTIL_vsnprintf(buffer, capacity, format, arguments);
  va_end(arguments);
  return terminator;
}

TEST(UtilVsnprintf, FormatsAnArgumentList) {
  GuardedBuffer buffer(40);
  EXPECT_EQ(FormatList(buffer.data(), 40, "%d %s %c %.4X %lld %%", -42, "text", 'A', 0x1A2B,
                       5000000000LL),
            buffer.data() + 28);
  EXPECT_STREQ(buffer.data(), "-42 text A 1A2B 5000000000 %");
}

TEST(UtilVsnprintf, CutsAtTheCapacity) {
  GuardedBuffer buffer(4);
  EXPECT_EQ(FormatList(buffer.data(), 4, "%u", 123456U), buffer.data() + 3);
  EXPECT_STREQ(buffer.data(), "123");
}

TEST(UtilVsnprintf, StoresTheTerminatorAtCapacityZeroAndBelow) {
  for (const int32_t capacity : {1, 0, -1, INT32_MIN}) {
    GuardedBuffer buffer(1);
    EXPECT_EQ(FormatList(buffer.data(), capacity, "%u", 123456U), buffer.data());
    EXPECT_EQ(buffer.data()[0], '\0');
  }
}

// More arguments than travel in registers.
TEST(UtilVsnprintf, ReadsArgumentsThatLieOnTheStack) {
  GuardedBuffer buffer(32);
  FormatList(buffer.data(), 32, "%d%d%d%d%d%d%s%llu%d%c", 1, 2, 3, 4, 5, 6, "seven", 8000000000ULL,
             -9, '!');
  EXPECT_STREQ(buffer.data(), "123456seven8000000000-9!");
}

// ---- Threads ----

void FormatManyTimes(int rounds) {
  GuardedBuffer buffer(32);
  for (int round = 0; round < rounds; ++round) {
    UTIL_snprintf(buffer.data(), 32, "%lld %8.4X %s", -5000000000LL, 0x1AU, "text");
    ASSERT_STREQ(buffer.data(), "-5000000000     001A text");
    UTIL_snprintf(buffer.data(), 32, "%llu|%p|%c", UINT64_MAX, PointerTo(0x1234), 'A');
    ASSERT_STREQ(buffer.data(), "18446744073709551615|    1234|A");
  }
}

TEST(UtilSnprintf, RunsOnSeveralThreadsAtOnce) {
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) threads.emplace_back(FormatManyTimes, 5000);
  for (std::thread& thread : threads) thread.join();
}

// ---- Against the C library ----

using Argument = std::variant<int, long long, const char*>;

// A format of one to four directives that means the same to the C library, with its arguments.
struct SharedCase {
  std::string format;
  std::array<Argument, 4> arguments;
  size_t argument_count = 0;
};

class SharedCaseGenerator {
 public:
  explicit SharedCaseGenerator(uint64_t seed) : random_(seed) {}

  size_t Below(size_t limit) { return static_cast<size_t>(random_() % limit); }

  void Next(SharedCase& shared) {
    shared.format.clear();
    shared.argument_count = 0;
    const size_t directives = 1 + Below(4);
    for (size_t i = 0; i < directives; ++i) {
      AddLiteral(shared);
      AddDirective(shared);
    }
    AddLiteral(shared);
  }

 private:
  static void AddArgument(SharedCase& shared, Argument argument) {
    shared.arguments[shared.argument_count++] = argument;
  }

  void AddLiteral(SharedCase& shared) {
    static constexpr const char* kLiterals[] = {"", "", " ", ", ", "abc", "0x", "\xE4\r\n", "d5.3"};
    shared.format += kLiterals[Below(std::size(kLiterals))];
  }

  void AddDirective(SharedCase& shared) {
    static constexpr const char* kStrings[] = {
        "",     "a",        "text",
        "%d%%", "\x80\xFF", "The quick brown fox jumps over the lazy dog, twice a day."};
    switch (Below(8)) {
      case 0:
        shared.format += "%%";
        return;
      case 1:
        shared.format += "%c";
        return AddArgument(shared, static_cast<int>(random_()));
      case 2:
        shared.format += "%s";
        return AddArgument(shared, kStrings[Below(std::size(kStrings))]);
      default:
        return AddNumber(shared);
    }
  }

  // Numbers of all lengths alike, one in four next to a power of ten or two.
  uint64_t Magnitude(unsigned bits) {
    if (Below(4) != 0) return random_() >> (64 - bits + Below(bits));
    uint64_t power = 1;
    const uint64_t base = Below(2) == 0 ? 10 : 2;
    for (size_t exponent = Below(base == 10 ? 20 : 64); exponent > 0; --exponent) power *= base;
    return (power + Below(3) - 1) & (UINT64_MAX >> (64 - bits));
  }

  void AddNumber(SharedCase& shared) {
    const char conversion = "diuxX"[Below(5)];
    const bool is_signed = conversion == 'd' || conversion == 'i';
    const bool is_hex = conversion == 'x' || conversion == 'X';
    const unsigned bits = Below(2) == 0 ? 32 : 64;
    uint64_t value = Magnitude(bits);
    if (is_signed && Below(2) == 0) value = 0 - value;
    if (bits == 32) value &= UINT32_MAX;
    const bool is_negative = is_signed && (value >> (bits - 1)) != 0;
    // The smallest 64-bit number prints as 0 here.
    if (is_negative && bits == 64 && value << 1 == 0) value = 1;

    shared.format += '%';
    // The C library counts the sign to the width and stands it behind the spaces.
    if (!is_negative && Below(2) == 0) shared.format += std::to_string(1 + Below(30));
    // The C library prints nothing for 0 in precision 0.
    if (value != 0 && Below(2) == 0) {
      const size_t digits = (bits == 32 ? 1 : 2) * (is_hex ? 8 : 10);
      shared.format += "." + (Below(8) == 0 ? "" : std::to_string(Below(digits + 1)));
    }
    if (bits == 64) shared.format += "ll";
    shared.format += conversion;
    if (bits == 64) return AddArgument(shared, static_cast<long long>(value));
    AddArgument(shared, static_cast<int>(static_cast<uint32_t>(value)));
  }

  std::mt19937_64 random_;
};

// The texts end at the end of their buffers, so that the capacity is also the guarded size.
bool PrintsAsTheCLibraryDoes(const SharedCase& shared, size_t capacity, GuardedBuffer& buffer,
                             std::string& expected) {
  memset(buffer.data(), GuardedBuffer::kFill, buffer.size());
  char* const text = buffer.data() + buffer.size() - capacity;
  const auto [full_length, terminator] = std::visit(
      [&](auto... arguments) {
        return std::pair(snprintf(expected.data(), capacity, shared.format.c_str(), arguments...),
                         UTIL_snprintf(text, static_cast<int32_t>(capacity), shared.format.c_str(),
                                       arguments...));
      },
      shared.arguments[0], shared.arguments[1], shared.arguments[2], shared.arguments[3]);
  const size_t length = std::min(static_cast<size_t>(full_length), capacity - 1);
  return terminator == text + length && memcmp(text, expected.data(), length + 1) == 0 &&
         buffer.IsUntouched(0, buffer.size() - capacity);
}

TEST(UtilSnprintf, PrintsWhatTheCLibraryPrintsForSharedDirectives) {
  constexpr size_t kLargestCapacity = 64;
  SharedCaseGenerator generator(20'200'605);
  GuardedBuffer buffer(kLargestCapacity);
  std::string expected(kLargestCapacity, '\0');
  SharedCase shared;
  for (int i = 0; i < 1'000'000; ++i) {
    generator.Next(shared);
    const size_t capacity = 1 + generator.Below(kLargestCapacity);
    ASSERT_TRUE(PrintsAsTheCLibraryDoes(shared, capacity, buffer, expected))
        << "case " << i << ": format \"" << shared.format << "\", capacity " << capacity
        << ", expected \"" << expected.c_str() << "\", got \""
        << buffer.data() + kLargestCapacity - capacity << "\"";
  }
}

}  // namespace
