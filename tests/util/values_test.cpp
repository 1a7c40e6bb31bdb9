// SPDX-License-Identifier: MIT

#include "util/values.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "tests/support/comma_locale.h"
#include "tests/support/guarded_buffer.h"
#include "util/format.h"

namespace {

using support::GuardedBuffer;
using support::GuardedString;

constexpr int64_t kKb = 1024;
constexpr int64_t kMb = 1024 * kKb;
constexpr int64_t kGb = 1024 * kMb;
constexpr uint32_t kUnset = 0xA5A5A5A5;

// Formats into a buffer of a size, once the rest is bound.
using Formatter = std::function<void(char* buffer, uint32_t size)>;

// The whole text; what is behind its terminator must not be touched.
std::string TextOf(const Formatter& format) {
  GuardedBuffer buffer(128);
  format(buffer.data(), 128);
  const std::string text = buffer.data();
  EXPECT_TRUE(buffer.IsUntouched(text.size() + 1, 128)) << text;
  return text;
}

// Expects the text in buffers of every size from 0 on, which leaves the buffer alone.
void ExpectCutToEverySize(const std::string& text, const Formatter& format) {
  SCOPED_TRACE(text);
  GuardedBuffer nothing(1);
  format(nothing.data(), 0);
  EXPECT_TRUE(nothing.IsUntouched(0, 1));
  for (uint32_t size = 1; size <= text.size() + 2; ++size) {
    GuardedBuffer buffer(size);
    format(buffer.data(), size);
    EXPECT_EQ(buffer.data(), text.substr(0, size - 1)) << "size " << size;
  }
  for (const uint32_t size : {0x7FFFFFFFU, 0x80000000U, 0xFFFFFFFFU}) {
    GuardedBuffer buffer(text.size() + 1);
    format(buffer.data(), size);
    EXPECT_EQ(buffer.data(), text) << "size " << size;
  }
}

// ---- Sizes ----

Formatter SizeFormatter(int64_t count) {
  return [=](char* buffer, uint32_t size) { UTIL_FormatSize(count, buffer, size); };
}

std::string SizeText(int64_t count) { return TextOf(SizeFormatter(count)); }

TEST(UtilFormatSize, TakesTheGreatestUnitThatNeedsNoRounding) {
  const struct {
    int64_t count;
    const char* text;
  } cases[] = {
      {0, "0 Bytes"},
      {1, "1 Byte"},
      {2, "2 Bytes"},
      {512, "512 Bytes"},
      {1100, "1100 Bytes"},
      {1280, "1280 Bytes"},
      {kKb, "1 KB"},
      {1536, "1.5 KB"},
      {64 * kKb, "64 KB"},
      {1000 * kKb + 512, "1000.5 KB"},
      {kMb, "1 MB"},
      {3 * kMb, "3 MB"},
      {3 * kMb / 2, "1.5 MB"},
      {kMb + kKb, "1025 KB"},
      {kMb + 512, "1024.5 KB"},
      {kGb, "1 GB"},
      {0x60000000, "1.5 GB"},
      {kGb + kMb, "1025 MB"},
      {kGb + kMb / 2, "1024.5 MB"},
      {kGb + kKb, "1048577 KB"},
      {kGb + 512, "1048576.5 KB"},
      {kGb + 1, "1073741825 Bytes"},
      {4 * kGb, "4 GB"},
      {9 * kGb / 2, "4.5 GB"},
  };
  for (const auto& c : cases) EXPECT_EQ(SizeText(c.count), c.text);
}

TEST(UtilFormatSize, UnitsBeginAtTheirFirstMultiple) {
  EXPECT_EQ(SizeText(1023), "1023 Bytes");
  EXPECT_EQ(SizeText(1025), "1025 Bytes");
  EXPECT_EQ(SizeText(1535), "1535 Bytes");
  EXPECT_EQ(SizeText(1537), "1537 Bytes");
  EXPECT_EQ(SizeText(kMb - 1), "1048575 Bytes");
  EXPECT_EQ(SizeText(kMb + 1), "1048577 Bytes");
  EXPECT_EQ(SizeText(kMb - 512), "1023.5 KB");
  EXPECT_EQ(SizeText(kGb - 1), "1073741823 Bytes");
  EXPECT_EQ(SizeText(kGb - kMb / 2), "1023.5 MB");
  EXPECT_EQ(SizeText(3 * kGb / 2 - 1), "1610612735 Bytes");
}

TEST(UtilFormatSize, HalvesOfAUnitBelowOneTakeTheNextUnit) {
  EXPECT_EQ(SizeText(kGb / 2), "512 MB");
  EXPECT_EQ(SizeText(kMb / 2), "512 KB");
  EXPECT_EQ(SizeText(kKb / 2), "512 Bytes");
}

TEST(UtilFormatSize, NegativeCountsHaveWholeUnitsAndBytes) {
  EXPECT_EQ(SizeText(-1), "-1 Byte");
  EXPECT_EQ(SizeText(-2), "-2 Bytes");
  EXPECT_EQ(SizeText(-5), "-5 Bytes");
  EXPECT_EQ(SizeText(-kKb), "-1 KB");
  EXPECT_EQ(SizeText(-3 * kMb), "-3 MB");
  EXPECT_EQ(SizeText(-2 * kGb), "-2 GB");
  EXPECT_EQ(SizeText(-1023), "-1023 Bytes");
  EXPECT_EQ(SizeText(-1025), "-1025 Bytes");
}

TEST(UtilFormatSize, NegativeCountsHaveNoHalves) {
  EXPECT_EQ(SizeText(-512), "-512 Bytes");
  EXPECT_EQ(SizeText(-1536), "-1536 Bytes");
  EXPECT_EQ(SizeText(-3 * kMb / 2), "-1536 KB");
  EXPECT_EQ(SizeText(-3 * kGb / 2), "-1536 MB");
}

TEST(UtilFormatSize, WholeUnitsAndBytesShowTheirLow32Bits) {
  EXPECT_EQ(SizeText((int64_t{1} << 61) - kGb), "2147483647 GB");
  EXPECT_EQ(SizeText(int64_t{1} << 61), "-2147483648 GB");
  EXPECT_EQ(SizeText(int64_t{1} << 62), "0 GB");
  EXPECT_EQ(SizeText(INT64_MIN), "0 GB");
  EXPECT_EQ(SizeText((int64_t{1} << 42) + kKb), "1 KB");
  EXPECT_EQ(SizeText(0xFFFFFFFF), "4294967295 Bytes");
  EXPECT_EQ(SizeText(0x100000001), "1 Bytes");  // of 2^32 + 1 bytes; no singular
  EXPECT_EQ(SizeText(-0x100000001), "-1 Bytes");
  EXPECT_EQ(SizeText(INT64_MAX), "4294967295 Bytes");
}

TEST(UtilFormatSize, HalvesShowAllTheirDigits) {
  EXPECT_EQ(SizeText(INT64_MAX - kGb / 2 + 1), "8589934591.5 GB");
  EXPECT_EQ(SizeText((int64_t{1} << 52) + 512), "4398046511104.5 KB");
}

TEST(UtilFormatSize, PluralNeedsRoomForItsLetter) {
  GuardedBuffer buffer(7);
  UTIL_FormatSize(2, buffer.data(), 7);
  EXPECT_STREQ(buffer.data(), "2 Byte");
}

TEST(UtilFormatSize, IsCutToTheBuffer) {
  for (const auto& [count, text] :
       std::vector<std::pair<int64_t, const char*>>{{0, "0 Bytes"},
                                                    {1, "1 Byte"},
                                                    {-1025, "-1025 Bytes"},
                                                    {3 * kMb, "3 MB"},
                                                    {1536, "1.5 KB"}}) {
    ExpectCutToEverySize(text, SizeFormatter(count));
  }
}

TEST(UtilFormatSize, LocaleMakesNoDifference) {
  const support::CommaLocale locale;
  if (!locale.is_set()) GTEST_SKIP() << "no locale with a decimal comma, nor localedef's sources";
  EXPECT_EQ(SizeText(1536), "1.5 KB");
  EXPECT_EQ(SizeText(0x60000000), "1.5 GB");
}

// ---- Durations ----

// One that returns the address of the terminator.
using TerminatorFormatter = std::function<char*(char* buffer, uint32_t size)>;

std::string TextAndTerminatorOf(const TerminatorFormatter& format) {
  return TextOf([&](char* buffer, uint32_t size) {
    const char* const terminator = format(buffer, size);
    EXPECT_EQ(terminator, buffer + std::string_view(buffer).size());
  });
}

TerminatorFormatter DurationFormatter(uint64_t microseconds) {
  return
      [=](char* buffer, uint32_t size) { return UTIL_FormatDuration(microseconds, buffer, size); };
}

std::string DurationText(uint64_t microseconds) {
  return TextAndTerminatorOf(DurationFormatter(microseconds));
}

TEST(UtilFormatDuration, LeavesOutHoursAndMinutesOfZero) {
  EXPECT_EQ(DurationText(0), "0.000 000");
  EXPECT_EQ(DurationText(5), "0.000 005");
  EXPECT_EQ(DurationText(999), "0.000 999");
  EXPECT_EQ(DurationText(1000), "0.001 000");
  EXPECT_EQ(DurationText(1'000'000), "1.000 000");
  EXPECT_EQ(DurationText(59'999'999), "59.999 999");
  EXPECT_EQ(DurationText(60'000'000), "1:00.000 000");
  EXPECT_EQ(DurationText(61'234'567), "1:01.234 567");
  EXPECT_EQ(DurationText(3'599'999'999), "59:59.999 999");
  EXPECT_EQ(DurationText(3'600'000'000), "1:00:00.000 000");
  EXPECT_EQ(DurationText(45'296'789'012), "12:34:56.789 012");
  EXPECT_EQ(DurationText(360'000'000'001), "100:00:00.000 001");
}

TEST(UtilFormatDuration, HoursAreASigned32BitNumber) {
  constexpr uint64_t kHour = 3'600'000'000;
  EXPECT_EQ(DurationText(0x7FFFFFFF * kHour), "2147483647:00:00.000 000");
  EXPECT_EQ(DurationText(0x80000000 * kHour), "-2147483648:00:00.000 000");
  EXPECT_EQ(DurationText(0x100000000 * kHour + 61'000'000), "1:01.000 000");
  // 2^64 - 1: 5124095576 hours, 829128280 beyond 2^32.
  EXPECT_EQ(DurationText(UINT64_MAX), "829128280:01:49.551 615");
}

TEST(UtilFormatDuration, IsCutToTheBuffer) {
  ExpectCutToEverySize("1:01.234 567", DurationFormatter(61'234'567));
  ExpectCutToEverySize("12:34:56.789 012", DurationFormatter(45'296'789'012));
}

// ---- Lists of blocks ----

using Block = UTIL_SIZE_BLOCK;

struct ListResult {
  std::string text;
  uint32_t total;
};

ListResult FormatLists(const std::vector<const Block*>& lists, uint32_t size = 128) {
  GuardedBuffer buffer(size);
  ListResult result;
  result.total =
      UTIL_FormatSizeList(lists.data(), static_cast<uint32_t>(lists.size()), buffer.data(), size);
  result.text = buffer.data();
  EXPECT_TRUE(buffer.IsUntouched(result.text.size() + 1, size));
  return result;
}

TEST(UtilFormatSizeList, JoinsTheSizesOfTheLists) {
  const Block small[] = {{8, 4096, 0}, {0, 0, 0}};
  const Block large[] = {{3, 65536, 0}, {0, 0, 0}};
  const ListResult both = FormatLists({small, large});
  EXPECT_EQ(both.text, "32 KB + 192 KB");
  EXPECT_EQ(both.total, 229'376U);
  const ListResult one = FormatLists({large});
  EXPECT_EQ(one.text, "192 KB");
  EXPECT_EQ(one.total, 196'608U);
  EXPECT_EQ(FormatLists({small, large, small}).text, "32 KB + 192 KB + 32 KB");
}

TEST(UtilFormatSizeList, AddsTheBlocksOfAListUpToTheFirstCountOfZero) {
  const Block blocks[] = {{4, 16384, 1}, {1, 65536, 2}, {7, 131072, 3}, {0, 5, 4}, {1, 1, 5}};
  const ListResult result = FormatLists({blocks});
  EXPECT_EQ(result.text, "1 MB");
  EXPECT_EQ(result.total, 1'048'576U);
}

TEST(UtilFormatSizeList, EmptyAndNullListsHaveSizeZero) {
  const Block none[] = {{0, 4096, 0}};
  const Block one[] = {{1, 1, 0}, {0, 0, 0}};
  const ListResult result = FormatLists({none, nullptr, one});
  EXPECT_EQ(result.text, "0 Bytes + 0 Bytes + 1 Byte");
  EXPECT_EQ(result.total, 1U);
}

TEST(UtilFormatSizeList, TheTotalIsModulo32BitsTheSizesAreNot) {
  const Block four_gb[] = {{4, 0x40000000, 0}, {0, 0, 0}};
  const Block little[] = {{1, 3, 0}, {0, 0, 0}};
  const ListResult result = FormatLists({four_gb, little});
  EXPECT_EQ(result.text, "4 GB + 3 Bytes");
  EXPECT_EQ(result.total, 3U);
}

TEST(UtilFormatSizeList, NoListsAreADash) {
  EXPECT_EQ(FormatLists({}).text, "-");
  EXPECT_EQ(FormatLists({}).total, 0U);
  EXPECT_EQ(FormatLists({}, 2).text, "-");
  EXPECT_EQ(FormatLists({}, 1).text, "");
  EXPECT_EQ(FormatLists({}, 1).total, 0U);
  GuardedBuffer buffer(1);
  EXPECT_EQ(UTIL_FormatSizeList(nullptr, 0, buffer.data(), 0), 0U);
  EXPECT_TRUE(buffer.IsUntouched(0, 1));
}

TEST(UtilFormatSizeList, IsCutToTheBufferAndCountsOn) {
  const Block small[] = {{8, 4096, 0}, {0, 0, 0}};
  const Block large[] = {{3, 65536, 0}, {0, 0, 0}};
  const Block* const lists[] = {small, large};
  ExpectCutToEverySize("32 KB + 192 KB", [&](char* buffer, uint32_t size) {
    EXPECT_EQ(UTIL_FormatSizeList(lists, 2, buffer, size), 229'376U);
  });
}

// ---- Addresses ----

TerminatorFormatter IPFormatter(uint32_t address) {
  return [=](char* buffer, uint32_t size) { return UTIL_FormatIPAddr(address, buffer, size); };
}

TEST(UtilFormatIPAddr, TheLowestByteStandsFirst) {
  EXPECT_EQ(TextAndTerminatorOf(IPFormatter(0x0100007F)), "127.0.0.1");
  EXPECT_EQ(TextAndTerminatorOf(IPFormatter(0x04030201)), "1.2.3.4");
  EXPECT_EQ(TextAndTerminatorOf(IPFormatter(0)), "0.0.0.0");
  EXPECT_EQ(TextAndTerminatorOf(IPFormatter(0xFFFFFFFF)), "255.255.255.255");
  EXPECT_EQ(TextAndTerminatorOf(IPFormatter(0x8000A8C0)), "192.168.0.128");
}

TEST(UtilFormatIPAddr, IsCutToTheBuffer) {
  ExpectCutToEverySize("255.255.255.255", IPFormatter(0xFFFFFFFF));
}

// Expects the address, in a text that ends before a forbidden page, with and without a place for it.
void ExpectAddress(uint32_t expected, const char* text) {
  SCOPED_TRACE(text);
  GuardedString guarded(text);
  uint32_t address = kUnset;
  EXPECT_EQ(UTIL_ParseIPAddr(guarded.text(), &address), 0);
  EXPECT_EQ(address, expected);
  EXPECT_EQ(UTIL_ParseIPAddr(guarded.text(), nullptr), 0);
}

TEST(UtilParseIPAddr, TheFirstNumberGoesToTheLowestByte) {
  ExpectAddress(0x0100007F, "127.0.0.1");
  ExpectAddress(0x04030201, "1.2.3.4");
  ExpectAddress(0xFFFFFFFF, "255.255.255.255");
  ExpectAddress(0, "0.0.0.0");
}

TEST(UtilParseIPAddr, NumbersAreReadAsNumbersAre) {
  ExpectAddress(0x0100007F, "0x7F.0.0.0x1");
  ExpectAddress(0x04030201, "  1. 2.\t3.\n4");
  ExpectAddress(0x04030201, "001.02.3.0004");
  ExpectAddress(0xFFFFFFFF, "-1.0.0.0");
}

TEST(UtilParseIPAddr, NumbersAbove255SpillIntoTheBytesAbove) {
  ExpectAddress(0x00000100, "256.0.0.0");
  ExpectAddress(0x00000301, "257.2.0.0");  // 0x101 and 0x200
  ExpectAddress(0x00000101, "257.1.0.0");  // both have the bit
  ExpectAddress(0x00000000, "0.0.0.256");
  ExpectAddress(0x01000000, "0.0.0.257");
  ExpectAddress(0x00000001, "4294967297.0.0.0");
}

TEST(UtilParseIPAddr, WhatFollowsTheFourthNumberIsNotLookedAt) {
  ExpectAddress(0x04030201, "1.2.3.4.5");
  ExpectAddress(0x04030201, "1.2.3.4:80");
  ExpectAddress(0x04030201, "1.2.3.4 and so on");
}

TEST(UtilParseIPAddr, MissingNumbersAndDotsAreRefused) {
  for (const char* const text :
       {"", " ", "1", "1.", "1.2", "1.2.3", "1.2.3.", ".1.2.3", "1..2.3", "1 .2.3.4", "1.2.3 .4",
        "1,2.3.4", "1.2,3.4", "1.2.3,4", "a.2.3.4", "1.2.3.x", "+1.2.3.4", "1.2.3.0x"}) {
    SCOPED_TRACE(text);
    GuardedString guarded(text);
    uint32_t address = kUnset;
    EXPECT_EQ(UTIL_ParseIPAddr(guarded.text(), &address), -1);
    EXPECT_EQ(address, kUnset);
    EXPECT_EQ(UTIL_ParseIPAddr(guarded.text(), nullptr), -1);
  }
}

TerminatorFormatter MACFormatter(const uint8_t (&address)[6], char separator) {
  return [&address, separator](char* buffer, uint32_t size) {
    return UTIL_FormatMACAddr(address, separator, buffer, size);
  };
}

TEST(UtilFormatMACAddr, HasTwoUpperCaseDigitsAByte) {
  const uint8_t address[6] = {0x00, 0x1A, 0x2B, 0x3C, 0x4D, 0x5E};
  EXPECT_EQ(TextAndTerminatorOf(MACFormatter(address, ':')), "00:1A:2B:3C:4D:5E");
  EXPECT_EQ(TextAndTerminatorOf(MACFormatter(address, '-')), "00-1A-2B-3C-4D-5E");
  const uint8_t high[6] = {0xFF, 0xFE, 0x01, 0x80, 0x09, 0xAB};
  EXPECT_EQ(TextAndTerminatorOf(MACFormatter(high, ' ')), "FF FE 01 80 09 AB");
}

TEST(UtilFormatMACAddr, IsCutToTheBuffer) {
  const uint8_t address[6] = {0x00, 0x1A, 0x2B, 0x3C, 0x4D, 0x5E};
  ExpectCutToEverySize("00:1A:2B:3C:4D:5E", MACFormatter(address, ':'));
}

// A zero separator is stored like any other character.
TEST(UtilFormatMACAddr, PrintsWhatItsDirectivesPrint) {
  for (int number = 0; number <= 0xFF; ++number) {
    const auto byte = static_cast<uint8_t>(number);
    const uint8_t address[6] = {byte,
                                static_cast<uint8_t>(byte + 1),
                                static_cast<uint8_t>(byte ^ 0xF0),
                                static_cast<uint8_t>(0xFF - byte),
                                static_cast<uint8_t>(byte * 3),
                                static_cast<uint8_t>(byte + 0x80)};
    const auto separator = static_cast<char>(number);
    char expected[18];
    UTIL_snprintf(expected, sizeof expected, "%.2X%c%.2X%c%.2X%c%.2X%c%.2X%c%.2X", address[0],
                  separator, address[1], separator, address[2], separator, address[3], separator,
                  address[4], separator, address[5]);
    char text[18];
    EXPECT_EQ(UTIL_FormatMACAddr(address, separator, text, sizeof text), text + 17);
    EXPECT_EQ(std::string(text, 18), std::string(expected, 18)) << number;
  }
}

TEST(UtilFormatters, GiveTheTerminatorOfACutText) {
  const uint8_t mac[6] = {0, 1, 2, 3, 4, 5};
  GuardedBuffer buffer(4);
  EXPECT_EQ(UTIL_FormatDuration(5, buffer.data(), 4), buffer.data() + 3);
  EXPECT_EQ(UTIL_FormatIPAddr(0, buffer.data(), 4), buffer.data() + 3);
  EXPECT_EQ(UTIL_FormatMACAddr(mac, ':', buffer.data(), 4), buffer.data() + 3);
  EXPECT_EQ(UTIL_FormatDuration(5, buffer.data(), 0), buffer.data());
}

// ---- Names and versions ----

TEST(UtilGetOSName, KnowsTheCodes) {
  const struct {
    uint32_t code;
    const char* name;
  } cases[] = {{0x1000, "Windows"},      {0x1001, "Windows 2000"},  {0x1002, "Windows XP"},
               {0x1003, "Windows XP64"}, {0x1004, "Windows Vista"}, {0x1005, "Windows 7"},
               {0x1006, "Windows 8"},    {0x1007, "Windows 8.1"},   {0x1008, "Windows 10"},
               {0x2000, "Linux"},        {0x3000, "macOS"}};
  for (const auto& c : cases) EXPECT_STREQ(UTIL_GetOSName(c.code), c.name);
}

TEST(UtilGetOSName, OtherCodesAreUnknown) {
  for (const uint32_t code : {0U, 1U, 0xFFFU, 0x1009U, 0x2001U, 0x2FFFU, 0x3001U, 0xFFFFFFFFU}) {
    EXPECT_STREQ(UTIL_GetOSName(code), "Unknown") << code;
  }
}

void ExpectVersion(uint32_t number, uint32_t major, uint32_t minor, const char* revision) {
  SCOPED_TRACE(number);
  GuardedBuffer place(sizeof(UTIL_VERSION));
  auto* const version = reinterpret_cast<UTIL_VERSION*>(place.data());
  UTIL_SplitVersion(version, number);
  EXPECT_EQ(version->major, major);
  EXPECT_EQ(version->minor, minor);
  EXPECT_STREQ(version->revision, revision);
}

TEST(UtilSplitVersion, TakesMajorMinorAndRevisionLetterApart) {
  ExpectVersion(69412, 6, 94, "l");
  ExpectVersion(69400, 6, 94, "");
  ExpectVersion(68200, 6, 82, "");
  ExpectVersion(0, 0, 0, "");
  ExpectVersion(1, 0, 0, "a");
  ExpectVersion(26, 0, 0, "z");
  ExpectVersion(10000, 1, 0, "");
  ExpectVersion(9999, 0, 99, "z73");
  ExpectVersion(1230405, 123, 4, "e");
  ExpectVersion(4294967295, 429496, 72, "z69");
}

TEST(UtilSplitVersion, RevisionsBehindTheLetterZAreNumbered) {
  ExpectVersion(69426, 6, 94, "z");
  ExpectVersion(69427, 6, 94, "z01");
  ExpectVersion(69436, 6, 94, "z10");
  ExpectVersion(69499, 6, 94, "z73");
}

TEST(UtilSplitVersion, NullPlaceIsIgnored) { UTIL_SplitVersion(nullptr, 69412); }

TEST(UtilCompany, NamesTheMakerAndItsAddress) {
  EXPECT_STREQ(UTIL_GetCompanyName(), "TARVEN");
  EXPECT_STREQ(UTIL_GetCompanyURL(), "www.tarven.example");
}

}  // namespace
