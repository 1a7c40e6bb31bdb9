#include "util/format.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "tests/support/guarded_buffer.h"

namespace {

using support::GuardedBuffer;

// Formats into a guarded buffer of exactly the capacity and returns the stored bytes, after
// checking that the result points at the terminator.
template <typename... Values>
std::string FormatInto(int32_t capacity, const char* format, Values... values) {
  GuardedBuffer buffer(static_cast<size_t>(std::max(capacity, 1)));
  char* const end = UTIL_snprintf(buffer.data(), capacity, format, values...);
  EXPECT_GE(end, buffer.data());
  EXPECT_LT(end, buffer.data() + buffer.size());
  EXPECT_EQ(*end, '\0');
  return std::string(buffer.data(), end);
}

template <typename... Values>
std::string Format(const char* format, Values... values) {
  return FormatInto(256, format, values...);
}

TEST(UtilSnprintf, TextWithoutDirectivesIsCopied) {
  EXPECT_EQ(Format(""), "");
  EXPECT_EQ(Format("plain text, \x80\xFF and \t"), "plain text, \x80\xFF and \t");
}

TEST(UtilSnprintf, DecimalsAreSignedForDAndI) {
  const struct {
    int32_t value;
    const char* expected;
  } rows[] = {
      {0, "0"},
      {7, "7"},
      {-7, "-7"},
      {42, "42"},
      {INT32_MAX, "2147483647"},
      {INT32_MIN, "-2147483648"},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(Format("%d", row.value), row.expected);
    EXPECT_EQ(Format("%i", row.value), row.expected);
  }
}

TEST(UtilSnprintf, UnsignedDecimalsOf32Bits) {
  EXPECT_EQ(Format("%u", 0u), "0");
  EXPECT_EQ(Format("%u", 4294967295u), "4294967295");
  EXPECT_EQ(Format("%u", -1), "4294967295");
}

TEST(UtilSnprintf, HexadecimalsInBothCases) {
  EXPECT_EQ(Format("%x", 0u), "0");
  EXPECT_EQ(Format("%X", 0u), "0");
  EXPECT_EQ(Format("%x", 0x89ABCDEFu), "89abcdef");
  EXPECT_EQ(Format("%X", 0x89ABCDEFu), "89ABCDEF");
  EXPECT_EQ(Format("%x", 0x1A2Bu), "1a2b");
  EXPECT_EQ(Format("%X", -1), "FFFFFFFF");
}

TEST(UtilSnprintf, LongLongsOf64Bits) {
  EXPECT_EQ(Format("%lld", INT64_C(0)), "0");
  EXPECT_EQ(Format("%lld", INT64_C(-1)), "-1");
  EXPECT_EQ(Format("%lli", INT64_C(1234567890123)), "1234567890123");
  EXPECT_EQ(Format("%lld", INT64_C(-1234567890123)), "-1234567890123");
  EXPECT_EQ(Format("%lld", INT64_MAX), "9223372036854775807");
  EXPECT_EQ(Format("%lld", INT64_MIN + 1), "-9223372036854775807");
  EXPECT_EQ(Format("%llu", UINT64_MAX), "18446744073709551615");
  EXPECT_EQ(Format("%llx", UINT64_C(0x0123456789ABCDEF)), "123456789abcdef");
  EXPECT_EQ(Format("%llX", UINT64_MAX), "FFFFFFFFFFFFFFFF");
}

TEST(UtilSnprintf, LongLongsAtTheBordersOf32Bits) {
  const struct {
    int64_t value;
    const char* expected;
  } rows[] = {
      {INT64_C(2147483647), "2147483647"},   {INT64_C(2147483648), "2147483648"},
      {INT64_C(-2147483647), "-2147483647"}, {INT64_C(-2147483648), "-2147483648"},
      {INT64_C(-2147483649), "-2147483649"}, {INT64_C(4294967295), "4294967295"},
      {INT64_C(4294967296), "4294967296"},   {INT64_C(-4294967296), "-4294967296"},
      {INT64_C(-4294967295), "-4294967295"},
  };
  for (const auto& row : rows) EXPECT_EQ(Format("%lld", row.value), row.expected);
  EXPECT_EQ(Format("%llu", UINT64_C(4294967295)), "4294967295");
  EXPECT_EQ(Format("%llu", UINT64_C(4294967296)), "4294967296");
  EXPECT_EQ(Format("%llx", UINT64_C(0x100000000)), "100000000");
}

TEST(UtilSnprintf, SmallestLongLongPrintsAsZeroWithoutASign) {
  EXPECT_EQ(Format("%lld", INT64_MIN), "0");
  EXPECT_EQ(Format("[%5lld]", INT64_MIN), "[    0]");
  EXPECT_EQ(Format("[%5.3lli]", INT64_MIN), "[  000]");
}

TEST(UtilSnprintf, EveryDecimalLengthOf64Bits) {
  const char* const nines = "9999999999999999999";  // 19
  const char* const one_and_zeros = "10000000000000000000";
  uint64_t power = 1;
  for (size_t digits = 1; digits <= 19; ++digits) {
    power *= 10;  // 10^digits
    EXPECT_EQ(Format("%llu", power - 1), std::string(nines, digits));
    EXPECT_EQ(Format("%llu", power), std::string(one_and_zeros, digits + 1));
  }
}

TEST(UtilSnprintf, EveryDecimalLengthOf32Bits) {
  uint32_t power = 1;
  for (size_t digits = 1; digits <= 9; ++digits) {
    power *= 10;
    EXPECT_EQ(Format("%u", power - 1), std::string(digits, '9'));
    EXPECT_EQ(Format("%u", power), "1" + std::string(digits, '0'));
  }
}

TEST(UtilSnprintf, EveryHexadecimalLength) {
  uint64_t power = 1;
  for (size_t digits = 1; digits <= 15; ++digits) {
    power *= 16;
    EXPECT_EQ(Format("%llx", power - 1), std::string(digits, 'f'));
    EXPECT_EQ(Format("%llX", power), "1" + std::string(digits, '0'));
  }
}

TEST(UtilSnprintf, FewerThanTwoLsTake32Bits) {
  // One "l" prints the low half of a 64-bit argument alone.
  EXPECT_EQ(Format("%lx", UINT64_C(0xFEDCBA9876543210)), "76543210");
  EXPECT_EQ(Format("%lu", UINT64_C(0x1FFFFFFFF)), "4294967295");
  EXPECT_EQ(Format("%ld", INT64_C(0x180000000)), "-2147483648");
}

TEST(UtilSnprintf, TwoOrMoreLsTake64Bits) {
  EXPECT_EQ(Format("%llx", UINT64_C(0xFEDCBA9876543210)), "fedcba9876543210");
  EXPECT_EQ(Format("%lllx", UINT64_C(0xFEDCBA9876543210)), "fedcba9876543210");
  EXPECT_EQ(Format("%lllllu", UINT64_MAX), "18446744073709551615");
}

TEST(UtilSnprintf, WidthCountsDigitsOnly) {
  const struct {
    const char* format;
    int32_t value;
    const char* expected;
  } rows[] = {
      {"%5d", 42, "   42"},
      {"%5d", -42, "-   42"},  // the sign stands before the padding: six characters
      {"%4d", -7, "-   7"},
      {"%1d", 42, "42"},
      {"%2d", 42, "42"},
      {"%3d", 42, " 42"},
      {"%2d", -42, "-42"},
      {"%3i", -42, "- 42"},
      {"%0d", 42, "42"},
      {"%5u", 42, "   42"},
      {"%5x", 0x2A, "   2a"},
      {"%8X", 0x1A2B, "    1A2B"},
      {"%08X", 0x1A2B, "    1A2B"},  // a leading zero belongs to the width, it is no flag
      {"%08d", -5, "-       5"},
      {"%012u", 5, "           5"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.format);
    EXPECT_EQ(Format(row.format, row.value), row.expected);
  }
}

TEST(UtilSnprintf, WidthAppliesTo64BitValues) {
  EXPECT_EQ(Format("%12lld", INT64_C(5000000000)), "  5000000000");
  EXPECT_EQ(Format("%12lld", INT64_C(-5000000000)), "-  5000000000");
  EXPECT_EQ(Format("%20llX", UINT64_C(0xABCDEF012)), "           ABCDEF012");
}

TEST(UtilSnprintf, PrecisionIsTheSmallestNumberOfDigits) {
  const struct {
    const char* format;
    int32_t value;
    const char* expected;
  } rows[] = {
      {"%.3d", 7, "007"},
      {"%.3d", -7, "-007"},
      {"%.3d", 1234, "1234"},
      {"%.1d", 0, "0"},
      {"%.0d", 0, "0"},  // a digit is always there
      {"%.d", 0, "0"},   // a lone point means 0
      {"%.d", 12, "12"},
      {"%.8X", 0x1A2B, "00001A2B"},
      {"%.8x", 0x1A2B, "00001a2b"},
      {"%.2X", 0x5, "05"},
      {"%.10u", 42, "0000000042"},
      {"%.10d", INT32_MIN, "-2147483648"},
      {"%.010d", 42, "0000000042"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.format);
    EXPECT_EQ(Format(row.format, row.value), row.expected);
  }
  EXPECT_EQ(Format("%.16llX", UINT64_C(0x1A2B)), "0000000000001A2B");
  EXPECT_EQ(Format("%.20llu", UINT64_C(42)), "00000000000000000042");
}

TEST(UtilSnprintf, WidthAndPrecisionTogether) {
  EXPECT_EQ(Format("%6.3d", 7), "   007");
  EXPECT_EQ(Format("%6.3d", -7), "-   007");
  EXPECT_EQ(Format("%3.6d", 7), "000007");
  EXPECT_EQ(Format("%6.X", 0xAB), "    AB");
}

TEST(UtilSnprintf, CharactersIgnoreWidthAndPrecision) {
  EXPECT_EQ(Format("%c%c", 'a', 'b'), "ab");
  EXPECT_EQ(Format("%5c|%.3c|%lc", 'a', 'b', 'c'), "a|b|c");
  EXPECT_EQ(Format("%c", 0x12341), "A");  // the low byte
  EXPECT_EQ(Format("%c", 0xFF), "\xFF");
}

TEST(UtilSnprintf, ZeroCharacterIsStoredAndCounted) {
  EXPECT_EQ(Format("a%cb", 0), std::string("a\0b", 3));
}

TEST(UtilSnprintf, StringsIgnoreWidthAndPrecision) {
  EXPECT_EQ(Format("<%s>", "text"), "<text>");
  EXPECT_EQ(Format("<%s>", ""), "<>");
  EXPECT_EQ(Format("<%10s|%.2s|%lls>", "one", "two", "three"), "<one|two|three>");
  EXPECT_EQ(Format("%s", "100% %d"), "100% %d");
}

TEST(UtilSnprintf, PointersShowTheirLowHalfInEightColumns) {
  const auto pointer = [](uint64_t value) { return reinterpret_cast<void*>(value); };
  EXPECT_EQ(Format("%p", pointer(0x1234)), "    1234");
  EXPECT_EQ(Format("%p", pointer(0xABCDEF00)), "abcdef00");
  EXPECT_EQ(Format("%p", pointer(0x12345678ABCDEF00)), "abcdef00");
  EXPECT_EQ(Format("%p", pointer(0)), "       0");
  EXPECT_EQ(Format("%20p|%2p", pointer(0x1234), pointer(0x1234)), "    1234|    1234");
  EXPECT_EQ(Format("%.6p", pointer(0x1234)), "  001234");
  EXPECT_EQ(Format("%llp", pointer(0xFFFFFFFF00000001)), "       1");
}

TEST(UtilSnprintf, TwoPercentSignsGiveOne) {
  EXPECT_EQ(Format("100%%"), "100%");
  EXPECT_EQ(Format("%%%%"), "%%");
  EXPECT_EQ(Format("%%d"), "%d");
  EXPECT_EQ(Format("%%%d", 5), "%5");
}

TEST(UtilSnprintf, PercentSignBehindAWidthIsAnUnknownConversion) {
  EXPECT_EQ(Format("<%5%>"), "<>");
  EXPECT_EQ(Format("<%.2%>"), "<>");
  EXPECT_EQ(Format("<%l%>"), "<>");
  EXPECT_EQ(Format("<%5%d>"), "<d>");
}

TEST(UtilSnprintf, UnknownConversionsProduceNothingAndTakeNoArgument) {
  const struct {
    const char* format;
    const char* expected;
  } rows[] = {
      {"%-5d|%d", "5d|11"},  // "-" is the ignored conversion, the rest is text
      {"%+d|%d", "d|11"},      {"% d|%d", "d|11"},  {"%#x|%d", "x|11"},
      {"%*d|%d", "d|11"},      {"%hd|%d", "d|11"},  {"%zu|%d", "u|11"},
      {"%jd|%d", "d|11"},      {"%td|%d", "d|11"},  {"%Lf|%d", "f|11"},
      {"%f|%d", "|11"},        {"%5.2f|%d", "|11"}, {"%e%g%G%a|%d", "|11"},
      {"%o|%d", "|11"},        {"%n|%d", "|11"},    {"%D%U%S%P%C|%d", "|11"},
      {"%l|%d", "11"},  // "|" is the conversion here
      {"%\x01|%d", "|11"},     {"%\xFF|%d", "|11"}, {"%.-3d|%d", "3d|11"},
      {"%5.5.5d|%d", "5d|11"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.format);
    EXPECT_EQ(Format(row.format, 11), row.expected);
  }
}

TEST(UtilSnprintf, FormatThatEndsWithinADirectiveEndsThere) {
  for (const char* const format : {"ab%", "ab%5", "ab%.", "ab%.3", "ab%l", "ab%ll", "ab%5.3ll"}) {
    // The format stands directly before a forbidden page.
    GuardedBuffer text(strlen(format) + 1);
    memcpy(text.data(), format, text.size());
    EXPECT_EQ(Format(text.data(), 5), "ab") << format;
  }
}

TEST(UtilSnprintf, CapacityOneStoresTheTerminatorAlone) {
  GuardedBuffer buffer(1);
  EXPECT_EQ(UTIL_snprintf(buffer.data(), 1, "%d %s", 5, "text"), buffer.data());
  EXPECT_EQ(buffer.data()[0], '\0');
}

TEST(UtilSnprintf, CapacityZeroAndBelowStillTerminate) {
  for (const int32_t capacity : {0, -1, -1000, INT32_MIN}) {
    GuardedBuffer buffer(2);
    EXPECT_EQ(UTIL_snprintf(buffer.data(), capacity, "%d %s %x", 5, "text", 7), buffer.data());
    EXPECT_EQ(buffer.data()[0], '\0');
    EXPECT_TRUE(buffer.IsUntouched(1, 2));
  }
}

TEST(UtilSnprintf, LargestCapacityIsTakenAsItIs) {
  GuardedBuffer buffer(6);
  EXPECT_EQ(UTIL_snprintf(buffer.data(), INT32_MAX, "%d", 12345), buffer.data() + 5);
  EXPECT_STREQ(buffer.data(), "12345");
}

TEST(UtilSnprintf, OutputIsCutExactlyAtTheCapacity) {
  EXPECT_EQ(FormatInto(4, "%u", 123456u), "123");
  // 37 characters, cut at every place: within text, number, padding, zeros, sign and string.
  const std::string whole = "ab-   42|0042|beef|text|12345678901|z";
  for (size_t capacity = 1; capacity <= whole.size() + 2; ++capacity) {
    EXPECT_EQ(FormatInto(static_cast<int32_t>(capacity), "ab%5d|%.4d|%x|%s|%lld|%c", -42, 42,
                         0xBEEF, "text", INT64_C(12345678901), 'z'),
              whole.substr(0, capacity - 1));
  }
}

TEST(UtilSnprintf, ArgumentsBehindTheCutAreStillTakenInOrder) {
  // The full buffer still walks the arguments: an argument out of step would be a crash at "%s".
  EXPECT_EQ(FormatInto(3, "%d%lld%c%p%s%f%s", 1234, INT64_C(-5), 'c', static_cast<void*>(nullptr),
                       "one", "two"),
            "12");
}

TEST(UtilSnprintf, LongestNumbersVanishWholeBehindAFullBuffer) {
  EXPECT_EQ(FormatInto(3, "ab%llx%llu", UINT64_MAX, UINT64_MAX), "ab");
  EXPECT_EQ(FormatInto(1, "%llu%llX", UINT64_MAX, UINT64_MAX), "");
  EXPECT_EQ(FormatInto(3, "a%llx", UINT64_MAX), "af");
  EXPECT_EQ(FormatInto(3, "a%llu", UINT64_MAX), "a1");
}

TEST(UtilSnprintf, HugeWidthsAndPrecisionsAreCutLikeAnyOutput) {
  EXPECT_EQ(FormatInto(8, "%2147483647d", 5), "       ");
  EXPECT_EQ(FormatInto(8, "%1000u|", 5u), "       ");
  EXPECT_EQ(FormatInto(8, "%.1000u|", 5u), "0000000");
  EXPECT_EQ(FormatInto(8, "%1000c%s", 'a', "bcd"), "abcd");
}

TEST(UtilSnprintf, WidthsBeyondTheSignedRangeAreNone) {
  EXPECT_EQ(Format("%4294967295d|", 5), "5|");
  EXPECT_EQ(Format("%4294967301d|", 5), "    5|");  // 2^32 + 5 wraps to 5
}

TEST(UtilSnprintf, HardwareAddressText) {
  EXPECT_EQ(Format("%.2X%c%.2X%c%.2X%c%.2X%c%.2X%c%.2X", 0x00, ':', 0x1A, ':', 0x2B, ':', 0x3C, ':',
                   0x4D, ':', 0x5E),
            "00:1A:2B:3C:4D:5E");
}

TEST(UtilSnprintf, ResultIsWhereAppendingGoesOn) {
  GuardedBuffer buffer(16);
  char* const middle = UTIL_snprintf(buffer.data(), 16, "%s", "one");
  EXPECT_EQ(middle, buffer.data() + 3);
  char* const end = UTIL_snprintf(middle, 13, "+%s", "two");
  EXPECT_EQ(end, buffer.data() + 7);
  EXPECT_STREQ(buffer.data(), "one+two");
}

TEST(UtilSnprintf, NothingBehindTheTerminatorIsTouched) {
  GuardedBuffer buffer(64);
  UTIL_snprintf(buffer.data(), 64, "%s %d", "text", -1);
  EXPECT_STREQ(buffer.data(), "text -1");
  EXPECT_TRUE(buffer.IsUntouched(8, 64));
}

char* FormatList(char* buffer, int32_t capacity, const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  char* const end = UTIL_vsnprintf(buffer, capacity, format, arguments);
  va_end(arguments);
  return end;
}

TEST(UtilVsnprintf, FormatsAListLikeTheArgumentsThemselves) {
  GuardedBuffer buffer(32);
  char* const end =
      FormatList(buffer.data(), 32, "%d %s %llX %c", -5, "text", UINT64_C(0xABCDEF0123), '!');
  EXPECT_STREQ(buffer.data(), "-5 text ABCDEF0123 !");
  EXPECT_EQ(end, buffer.data() + 20);
}

TEST(UtilVsnprintf, TakesMoreArgumentsThanRegistersHold) {
  GuardedBuffer buffer(64);
  FormatList(buffer.data(), 64, "%d %d %d %d %d %d %lld %d %s %u", 1, 2, 3, 4, 5, 6, INT64_C(7), 8,
             "nine", 10u);
  EXPECT_STREQ(buffer.data(), "1 2 3 4 5 6 7 8 nine 10");
}

TEST(UtilSnprintfThreads, ManyThreadsFormatAtOnce) {
  std::vector<std::thread> threads;
  for (int thread = 0; thread < 4; ++thread) {
    threads.emplace_back([thread] {
      for (int i = 0; i < 2000; ++i) {
        char text[32];
        UTIL_snprintf(text, sizeof text, "%d:%.5d", thread, i);
        char expected[32];
        snprintf(expected, sizeof expected, "%d:%05d", thread, i);
        ASSERT_STREQ(text, expected);
      }
    });
  }
  for (auto& thread : threads) thread.join();
}

// ---- Against the C library, where both mean the same ----

// One random directive with its argument, in the form for both. Left out is what differs on
// purpose: padding of negative numbers, zero with precision 0, leading zeros in the width.
struct Piece {
  std::string format;
  enum { kNone, kInt, kLongLong, kString } kind = kNone;
  uint64_t value = 0;
};

Piece RandomPiece(std::mt19937_64& random) {
  static const char* const literals[] = {"", "x", " = ", "%%", "a longer piece of text"};
  if (random() % 4 == 0) return {literals[random() % 5]};
  Piece piece;
  const uint64_t kind = random() % 8;
  if (kind == 0) {
    piece = {"%s", Piece::kString, random() % 5};
  } else if (kind == 1) {
    piece = {"%c", Piece::kInt, 1 + random() % 255};
  } else {
    const bool is_long = random() % 2 == 0;
    uint64_t value = random() >> (random() % 64);
    if (random() % 4 == 0) value = 0 - value;
    if (value == uint64_t{1} << 63) value = 0;  // the one value with a text of its own
    const char conversion = "diuxX"[random() % 5];
    const bool is_signed = conversion == 'd' || conversion == 'i';
    const bool is_negative =
        is_signed && (is_long ? static_cast<int64_t>(value) < 0 : static_cast<int32_t>(value) < 0);
    piece.format = "%";
    if (!is_negative && random() % 2 == 0) piece.format += std::to_string(1 + random() % 30);
    const uint64_t most_digits =
        conversion == 'x' || conversion == 'X' ? (is_long ? 16 : 8) : (is_long ? 20 : 10);
    if (random() % 2 == 0) piece.format += "." + std::to_string(1 + random() % most_digits);
    if (is_long) piece.format += "ll";
    piece.format += conversion;
    piece.kind = is_long ? Piece::kLongLong : Piece::kInt;
    piece.value = value;
  }
  return piece;
}

// Formats one piece with either function and returns what a capacity lets through.
template <typename Function>
std::string FormatPiece(Function function, char* buffer, int32_t capacity, const Piece& piece) {
  static const char* const strings[] = {"", "s", "string", "with blanks in it", "%d"};
  switch (piece.kind) {
    case Piece::kNone:
      function(buffer, capacity, piece.format.c_str());
      break;
    case Piece::kInt:
      function(buffer, capacity, piece.format.c_str(), static_cast<int>(piece.value));
      break;
    case Piece::kLongLong:
      function(buffer, capacity, piece.format.c_str(), static_cast<long long>(piece.value));
      break;
    case Piece::kString:
      function(buffer, capacity, piece.format.c_str(), strings[piece.value]);
      break;
  }
  return buffer;
}

TEST(UtilSnprintfAgainstTheCLibrary, AMillionSeededDirectivesGiveTheSameText) {
  const auto ours = [](char* buffer, int32_t capacity, const char* format, auto... values) {
    char* const end = UTIL_snprintf(buffer, capacity, format, values...);
    ASSERT_EQ(end, buffer + strlen(buffer));
  };
  const auto theirs = [](char* buffer, int32_t capacity, const char* format, auto... values) {
    snprintf(buffer, static_cast<size_t>(capacity), format, values...);
  };
  std::mt19937_64 random(20261121);
  GuardedBuffer buffer(64);
  char expected[64];
  for (int i = 0; i < 1'000'000; ++i) {
    const Piece piece = RandomPiece(random);
    const auto capacity = static_cast<int32_t>(1 + random() % 64);
    char* const end_aligned = buffer.data() + 64 - capacity;
    ASSERT_EQ(FormatPiece(ours, end_aligned, capacity, piece),
              FormatPiece(theirs, expected, capacity, piece))
        << piece.format << " of " << piece.value << " into " << capacity;
  }
}

TEST(UtilSnprintfAgainstTheCLibrary, MixedFormatsGiveTheSameText) {
  std::mt19937_64 random(7);
  for (int i = 0; i < 20'000; ++i) {
    const auto capacity = static_cast<int32_t>(1 + random() % 64);
    const auto small = static_cast<int>(random());
    const auto large = static_cast<unsigned long long>(random());
    GuardedBuffer buffer(static_cast<size_t>(capacity));
    char expected[64];
    const char* const format = "%d,%s %llu%%%c 0x%.8X;%12llx";
    UTIL_snprintf(buffer.data(), capacity, format, small, "name", large, 'q', small, large);
    snprintf(expected, static_cast<size_t>(capacity), format, small, "name", large, 'q', small,
             large);
    ASSERT_STREQ(buffer.data(), expected);
  }
}

}  // namespace
