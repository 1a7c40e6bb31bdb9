// SPDX-License-Identifier: MIT

#include "util/strings.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>

#include "tests/support/guarded_bytes.h"

namespace {

using std::string_view_literals::operator""sv;
using support::GuardedBuffer;
using support::GuardedBytes;
using support::GuardedString;

constexpr std::string_view kCapitals = "ABCDEFGHIJKLMNOPQRSTUVWXYZ";
constexpr std::string_view kSmallLetters = "abcdefghijklmnopqrstuvwxyz";

bool IsOneOf(char character, std::string_view set) {
  return set.find(character) != std::string_view::npos;
}

// Every character but zero, in ascending order.
std::string AllCharacters() {
  std::string all;
  for (int code = 1; code < 256; ++code) all += static_cast<char>(code);
  return all;
}

// The string that a function leaves of another.
template <typename Function>
std::string Changed(std::string_view text, Function function) {
  GuardedString string(text);
  function(string.text());
  return string.text();
}

// ---- Trimming ----

std::string Trimmed(std::string_view text, int32_t left, int32_t right) {
  return Changed(text, [=](char* string) { UTIL_Trim(string, left, right); });
}

TEST(UtilTrim, TakesBlanksFromBothEnds) {
  EXPECT_EQ(Trimmed(" a ", 1, 1), "a");
  EXPECT_EQ(Trimmed("  \t ab  c \r\n", 1, 1), "ab  c");
  EXPECT_EQ(Trimmed("abc", 1, 1), "abc");
  EXPECT_EQ(Trimmed("a", 1, 1), "a");
  EXPECT_EQ(Trimmed("", 1, 1), "");
}

TEST(UtilTrim, TakesBlanksFromTheLeftAlone) {
  EXPECT_EQ(Trimmed("  a b ", 1, 0), "a b ");
  EXPECT_EQ(Trimmed("a ", 1, 0), "a ");
  EXPECT_EQ(Trimmed("   ", 1, 0), "");
  EXPECT_EQ(Trimmed("", 1, 0), "");
}

TEST(UtilTrim, TakesBlanksFromTheRightAlone) {
  EXPECT_EQ(Trimmed(" a b  ", 0, 1), " a b");
  EXPECT_EQ(Trimmed(" a", 0, 1), " a");
  EXPECT_EQ(Trimmed("a ", 0, 1), "a");
  EXPECT_EQ(Trimmed("", 0, 1), "");
}

TEST(UtilTrim, WithoutAFlagChangesNothing) { EXPECT_EQ(Trimmed("  a  ", 0, 0), "  a  "); }

TEST(UtilTrim, AnyNonZeroFlagCounts) {
  EXPECT_EQ(Trimmed(" a ", -1, 0), "a ");
  EXPECT_EQ(Trimmed(" a ", 0, 256), " a");
}

TEST(UtilTrim, TheRightEndAloneLeavesTheFirstCharacterOfABlankString) {
  EXPECT_EQ(Trimmed("   ", 0, 1), " ");
  EXPECT_EQ(Trimmed("\t  ", 0, 1), "\t");
  EXPECT_EQ(Trimmed("  ", 0, 1), " ");
  EXPECT_EQ(Trimmed(" ", 0, 1), " ");
}

TEST(UtilTrim, BothEndsMakeABlankStringEmpty) {
  EXPECT_EQ(Trimmed("   ", 1, 1), "");
  EXPECT_EQ(Trimmed(" ", 1, 1), "");
}

TEST(UtilTrim, MovesTheTerminatorWithTheRest) {
  GuardedString string("  ab");
  UTIL_Trim(string.text(), 1, 0);
  EXPECT_EQ(std::string_view(string.text(), 5), "ab\0b\0"sv);
}

TEST(UtilTrim, TakesSpacesAndTheCodes9To13AndNothingElse) {
  for (const char c : AllCharacters()) {
    SCOPED_TRACE(static_cast<uint8_t>(c));
    const std::string text = {c, 'x', c};
    const bool is_taken = IsOneOf(c, "\x09\x0A\x0B\x0C\x0D\x20"sv);
    EXPECT_EQ(Trimmed(text, 1, 0), is_taken ? text.substr(1) : text);
    EXPECT_EQ(Trimmed(text, 0, 1), is_taken ? text.substr(0, 2) : text);
  }
}

// ---- Case ----

TEST(UtilToLower, TurnsCapitalsIntoSmallLetters) {
  EXPECT_EQ(Changed(kCapitals, UTIL_ToLower), kSmallLetters);
  EXPECT_EQ(Changed(kSmallLetters, UTIL_ToLower), kSmallLetters);
  EXPECT_EQ(Changed("MiXed 12 [Z]", UTIL_ToLower), "mixed 12 [z]");
}

TEST(UtilToLower, LeavesEveryOtherCharacter) {
  for (const char c : AllCharacters()) {
    if (IsOneOf(c, kCapitals)) continue;
    const std::string text(1, c);
    EXPECT_EQ(Changed(text, UTIL_ToLower), text) << int{c};
  }
}

TEST(UtilToLower, ReturnsTheTerminator) {
  EXPECT_EQ(UTIL_ToLower(GuardedString("").text()), '\0');
  EXPECT_EQ(UTIL_ToLower(GuardedString("ABC").text()), '\0');
}

TEST(UtilToLower, ConvertsAllOfAStringAndNothingBehindIt) {
  for (size_t length = 0; length <= 70; ++length) {
    EXPECT_EQ(Changed(std::string(length, 'Q'), UTIL_ToLower), std::string(length, 'q'));
  }
  char two_strings[] = "AB\0CD";
  UTIL_ToLower(two_strings);
  EXPECT_EQ(std::string_view(two_strings, 6), "ab\0CD\0"sv);
}

TEST(UtilToUpper, TurnsSmallLettersIntoCapitals) {
  EXPECT_EQ(Changed(kSmallLetters, UTIL_ToUpper), kCapitals);
  EXPECT_EQ(Changed(kCapitals, UTIL_ToUpper), kCapitals);
  EXPECT_EQ(Changed("MiXed 12 {z}", UTIL_ToUpper), "MIXED 12 {Z}");
  EXPECT_EQ(Changed("", UTIL_ToUpper), "");
}

TEST(UtilToUpper, LeavesEveryOtherCharacter) {
  for (const char c : AllCharacters()) {
    if (IsOneOf(c, kSmallLetters)) continue;
    const std::string text(1, c);
    EXPECT_EQ(Changed(text, UTIL_ToUpper), text) << int{c};
  }
}

TEST(UtilToUpper, ConvertsAllOfAStringAndNothingBehindIt) {
  for (size_t length = 0; length <= 70; ++length) {
    EXPECT_EQ(Changed(std::string(length, 'q'), UTIL_ToUpper), std::string(length, 'Q'));
  }
  char two_strings[] = "ab\0cd";
  UTIL_ToUpper(two_strings);
  EXPECT_EQ(std::string_view(two_strings, 6), "AB\0cd\0"sv);
}

TEST(UtilCharToUpper, TurnsSmallLettersIntoCapitalsAndNothingElse) {
  EXPECT_EQ(UTIL_CharToUpper('a'), 0x41);
  EXPECT_EQ(UTIL_CharToUpper('z'), 0x5A);
  EXPECT_EQ(UTIL_CharToUpper('A'), 0x41);
  EXPECT_EQ(UTIL_CharToUpper('`'), 0x60);
  EXPECT_EQ(UTIL_CharToUpper('{'), 0x7B);
  EXPECT_EQ(UTIL_CharToUpper(0), 0);
  for (int code = 0; code < 128; ++code) {
    const bool is_small = code >= 0x61 && code <= 0x7A;
    EXPECT_EQ(UTIL_CharToUpper(code), is_small ? code - 0x20 : code);
  }
}

TEST(UtilCharToLower, TurnsCapitalsIntoSmallLettersAndNothingElse) {
  EXPECT_EQ(UTIL_CharToLower('A'), 0x61);
  EXPECT_EQ(UTIL_CharToLower('Z'), 0x7A);
  EXPECT_EQ(UTIL_CharToLower('a'), 0x61);
  EXPECT_EQ(UTIL_CharToLower('@'), 0x40);
  EXPECT_EQ(UTIL_CharToLower('['), 0x5B);
  EXPECT_EQ(UTIL_CharToLower(0), 0);
  for (int code = 0; code < 128; ++code) {
    const bool is_capital = code >= 0x41 && code <= 0x5A;
    EXPECT_EQ(UTIL_CharToLower(code), is_capital ? code + 0x20 : code);
  }
}

TEST(UtilCharToLower, GivesSignedNumbersFrom128On) {
  for (int code = 128; code < 256; ++code) {
    EXPECT_EQ(UTIL_CharToLower(code), code - 256);
    EXPECT_EQ(UTIL_CharToUpper(code), code - 256);
    EXPECT_EQ(UTIL_CharToLower(code - 256), code - 256);
    EXPECT_EQ(UTIL_CharToUpper(code - 256), code - 256);
  }
}

TEST(UtilCharToLower, CountsByTheLowByte) {
  EXPECT_EQ(UTIL_CharToLower(0x141), 0x61);
  EXPECT_EQ(UTIL_CharToUpper(0x161), 0x41);
}

// ---- Replacing ----

std::string Replaced(std::string_view text, char old_character, char new_character) {
  return Changed(text,
                 [=](char* string) { UTIL_ReplaceChar(string, old_character, new_character); });
}

TEST(UtilReplaceChar, ReplacesEveryOccurrence) {
  EXPECT_EQ(Replaced("/a/b/c/", '/', '\\'), "\\a\\b\\c\\");
  EXPECT_EQ(Replaced("aaaa", 'a', 'b'), "bbbb");
  EXPECT_EQ(Replaced("\xFFq\x7F", '\xFF', 'q'), "qq\x7F");
}

TEST(UtilReplaceChar, LeavesEverythingElse) {
  EXPECT_EQ(Replaced("abc", 'x', 'y'), "abc");
  EXPECT_EQ(Replaced("aAbB", 'a', 'x'), "xAbB");
  EXPECT_EQ(Replaced("", 'a', 'x'), "");
}

TEST(UtilReplaceChar, ReplacesNothingBehindTheTerminator) {
  char two_strings[] = "ab\0ab";
  UTIL_ReplaceChar(two_strings, 'a', 'x');
  EXPECT_EQ(std::string_view(two_strings, 6), "xb\0ab\0"sv);
}

TEST(UtilReplaceChar, TheTerminatorIsNoOccurrenceOfZero) {
  EXPECT_EQ(Replaced("abc", '\0', 'x'), "abc");
}

TEST(UtilReplaceChar, ZeroReplacesEveryOccurrenceToo) {
  GuardedString string("a.b.c");
  UTIL_ReplaceChar(string.text(), '.', '\0');
  EXPECT_EQ(std::string_view(string.text(), 6), "a\0b\0c\0"sv);
}

// ---- Copying and appending ----

TEST(UtilCopyStringEx, CopiesAsUtilCopyStringDoesWhateverTheThirdArgument) {
  for (const uint32_t ignored : {0U, 1U, 3U, 0xFFFFFFFFU}) {
    GuardedBuffer destination(4);
    UTIL_CopyStringEx(destination.data(), "hello", ignored, 4);
    EXPECT_STREQ(destination.data(), "hel");
  }
}

TEST(UtilCopyStringEx, NullAndCapacityZeroTouchNothing) {
  GuardedBuffer destination(4);
  UTIL_CopyStringEx(destination.data(), "hello", 4, 0);
  UTIL_CopyStringEx(destination.data(), nullptr, 4, 4);
  UTIL_CopyStringEx(nullptr, "hello", 4, 4);
  EXPECT_TRUE(destination.IsUntouched(0, 4));
}

// Expects the result in a guarded buffer of exactly the capacity, and nothing behind it.
void ExpectAppended(std::string_view expected, std::string_view text, std::string_view source,
                    uint32_t maximum, uint32_t capacity) {
  SCOPED_TRACE(std::string(expected));
  GuardedString guarded_source(source);
  GuardedBuffer destination(capacity);
  memcpy(destination.data(), text.data(), text.size());
  destination.data()[text.size()] = '\0';
  UTIL_strncat(destination.data(), guarded_source.text(), maximum, capacity);
  EXPECT_STREQ(destination.data(), std::string(expected).c_str());
  EXPECT_TRUE(destination.IsUntouched(expected.size() + 1, capacity));
}

TEST(UtilStrncat, AppendsTheWholeSourceWhenItFits) {
  ExpectAppended("abcdef", "abc", "def", 3, 16);
  ExpectAppended("abcdef", "abc", "def", 100, 7);
  ExpectAppended("def", "", "def", 100, 4);
  ExpectAppended("abc", "abc", "", 100, 16);
}

TEST(UtilStrncat, AppendsAtMostTheMaximum) {
  ExpectAppended("abcd", "abc", "def", 1, 16);
  ExpectAppended("abcde", "abc", "def", 2, 16);
  ExpectAppended("abc", "abc", "def", 0, 16);
}

TEST(UtilStrncat, AppendsNoMoreThanFits) {
  ExpectAppended("abcd", "abc", "def", 3, 5);
  ExpectAppended("abcde", "abc", "def", 0xFFFFFFFF, 6);
  ExpectAppended("abc", "abc", "def", 3, 4);
}

TEST(UtilStrncat, ReadsNoMoreOfTheSourceThanItAppends) {
  GuardedBuffer source(3);
  memcpy(source.data(), "def", 3);  // no terminator
  GuardedBuffer destination(16);
  memcpy(destination.data(), "abc", 4);
  UTIL_strncat(destination.data(), source.data(), 3, 16);
  EXPECT_STREQ(destination.data(), "abcdef");
}

TEST(UtilStrncat, LeavesAStringAloneThatIsTooLongAlready) {
  for (const uint32_t capacity : {0U, 1U, 3U}) {
    GuardedBuffer destination(8);
    memcpy(destination.data(), "abc", 4);
    UTIL_strncat(destination.data(), "def", 3, capacity);
    EXPECT_STREQ(destination.data(), "abc");
    EXPECT_TRUE(destination.IsUntouched(4, 8));
  }
}

// ---- Comparing ----

int32_t Compare(std::string_view first, std::string_view second, uint32_t maximum) {
  return UTIL_strnicmp(GuardedString(first).text(), GuardedString(second).text(), maximum);
}

TEST(UtilStrnicmp, CaseMakesNoDifference) {
  EXPECT_EQ(Compare(kCapitals, kSmallLetters, 26), 0);
  EXPECT_EQ(Compare("/dev/CU.usb", "/DEV/cu.USB", 11), 0);
  EXPECT_EQ(Compare("", "", 5), 0);
}

TEST(UtilStrnicmp, GivesTheDifferenceOfTheFirstDifferingFoldedCharacters) {
  EXPECT_EQ(Compare("abc", "ABD", 3), -1);
  EXPECT_EQ(Compare("B", "a", 1), 1);
  EXPECT_EQ(Compare("ab", "abc", 3), -99);
  EXPECT_EQ(Compare("abc", "ab", 3), 99);
  EXPECT_EQ(Compare("[", "{", 1), -32);
  EXPECT_EQ(Compare("@", "`", 1), -32);
}

TEST(UtilStrnicmp, StopsAfterTheMaximum) {
  EXPECT_EQ(Compare("abcX", "abcY", 3), 0);
  EXPECT_EQ(Compare("abcX", "abcY", 4), -1);
  EXPECT_EQ(Compare("a", "b", 0), 0);
}

TEST(UtilStrnicmp, StopsAtTheEndOfEqualStrings) {
  EXPECT_EQ(Compare("abc", "ABC", 0xFFFFFFFF), 0);
  EXPECT_EQ(Compare("abc\0x"sv, "abc\0y"sv, 5), 0);
}

TEST(UtilStrnicmp, ReadsNothingBehindTheMaximum) {
  GuardedBuffer first(3);
  GuardedBuffer second(3);
  memcpy(first.data(), "abc", 3);
  memcpy(second.data(), "ABC", 3);
  EXPECT_EQ(UTIL_strnicmp(first.data(), second.data(), 3), 0);
}

// So many characters that they are compared in several ways. The buffers have no terminator.
TEST(UtilStrnicmp, ComparesExactlyTheMaximum) {
  for (uint32_t maximum = 0; maximum <= 600; ++maximum) {
    GuardedBytes first(support::Bytes(maximum, 'q'));
    GuardedBytes second(support::Bytes(maximum, 'Q'));
    ASSERT_EQ(UTIL_strnicmp(first.data(), second.data(), maximum), 0) << maximum;
    if (maximum == 0) continue;
    second.bytes()[maximum - 1] = 'P';
    ASSERT_EQ(UTIL_strnicmp(first.data(), second.data(), maximum), 1) << maximum;
    ASSERT_EQ(UTIL_strnicmp(first.data(), second.data(), maximum - 1), 0) << maximum;
  }
}

TEST(UtilStrnicmp, LongStringsMayEndBeforeTheMaximum) {
  for (size_t length = 0; length <= 600; ++length) {
    const std::string text(length, 'q');
    ASSERT_EQ(Compare(text, std::string(length, 'Q'), 1000), 0) << length;
    ASSERT_EQ(Compare(text, text + "a", 1000), -97) << length;
    ASSERT_EQ(Compare(text + "A", text, 1000), 97) << length;
  }
}

TEST(UtilStrnicmp, BytesAbove127AreSignedNumbers) {
  EXPECT_EQ(Compare("\x80", "a", 1), -225);
  EXPECT_EQ(Compare("a", "\x80", 1), 225);
  EXPECT_EQ(Compare("\xFF", "", 1), -1);
  EXPECT_EQ(Compare("\xC1", "\xE1", 1), -32);
}

// ---- Searching ----

TEST(UtilStrchrIndex, GivesTheIndexOfTheFirstOccurrence) {
  EXPECT_EQ(UTIL_strchrIndex(GuardedString("abcabc").text(), 'a'), 0);
  EXPECT_EQ(UTIL_strchrIndex(GuardedString("abcabc").text(), 'c'), 2);
  EXPECT_EQ(UTIL_strchrIndex(GuardedString(std::string(1000, 'x') + "y").text(), 'y'), 1000);
}

TEST(UtilStrchrIndex, GivesMinusOneForACharacterThatIsAbsent) {
  EXPECT_EQ(UTIL_strchrIndex(GuardedString("abc").text(), 'A'), -1);
  EXPECT_EQ(UTIL_strchrIndex(GuardedString("").text(), 'a'), -1);
  EXPECT_EQ(UTIL_strchrIndex("ab\0c", 'c'), -1);
}

TEST(UtilStrchrIndex, NeverFindsAZero) {
  EXPECT_EQ(UTIL_strchrIndex(GuardedString("abc").text(), 0), -1);
  EXPECT_EQ(UTIL_strchrIndex(GuardedString("").text(), 0), -1);
  EXPECT_EQ(UTIL_strchrIndex(GuardedString("abc").text(), 0x100), -1);
}

TEST(UtilStrchrIndex, CountsByTheLowByte) {
  EXPECT_EQ(UTIL_strchrIndex("a\xFF", '\xFF'), 1);
  EXPECT_EQ(UTIL_strchrIndex("a\xFF", 0xFF), 1);
  EXPECT_EQ(UTIL_strchrIndex("ab", 0x162), 1);
}

TEST(UtilStrnlen, GivesTheSmallerOfLengthAndMaximum) {
  EXPECT_EQ(UTIL_strnlen(GuardedString("hello").text(), 4), 4U);
  EXPECT_EQ(UTIL_strnlen(GuardedString("hello").text(), 5), 5U);
  EXPECT_EQ(UTIL_strnlen(GuardedString("hello").text(), 6), 5U);
  EXPECT_EQ(UTIL_strnlen(GuardedString("hello").text(), 0xFFFFFFFF), 5U);
  EXPECT_EQ(UTIL_strnlen(GuardedString("").text(), 5), 0U);
}

TEST(UtilStrnlen, GivesZeroForTheMaximumZero) {
  GuardedBuffer nothing(0);
  EXPECT_EQ(UTIL_strnlen(nothing.data(), 0), 0U);
  EXPECT_EQ(UTIL_strnlen("hello", 0), 0U);
}

TEST(UtilStrnlen, ReadsNothingBehindTheMaximum) {
  for (uint32_t size = 1; size <= 70; ++size) {
    GuardedBuffer buffer(size);  // no terminator
    EXPECT_EQ(UTIL_strnlen(buffer.data(), size), size);
  }
}

TEST(UtilIsPlainText, RefusesDoubleQuotesAndCodesFrom128On) {
  for (const char c : AllCharacters()) {
    SCOPED_TRACE(static_cast<uint8_t>(c));
    const bool is_refused = c == '\x22' || static_cast<uint8_t>(c) >= 0x80;
    EXPECT_EQ(UTIL_IsPlainText(GuardedString(std::string(1, c)).text()), is_refused ? 0 : 1);
    EXPECT_EQ(UTIL_IsPlainTextNonEmpty(GuardedString(std::string(1, c)).text()),
              is_refused ? 0 : 1);
  }
}

TEST(UtilIsPlainText, LooksAtEveryCharacterUpToTheTerminator) {
  for (size_t length = 0; length <= 70; ++length) {
    EXPECT_EQ(UTIL_IsPlainText(GuardedString(std::string(length, 'x')).text()), 1);
    EXPECT_EQ(UTIL_IsPlainText(GuardedString(std::string(length, 'x') + "\"").text()), 0);
    EXPECT_EQ(UTIL_IsPlainText(GuardedString(std::string(length, 'x') + "\x80").text()), 0);
    EXPECT_EQ(UTIL_IsPlainText(GuardedString("\xFF" + std::string(length, 'x')).text()), 0);
  }
  EXPECT_EQ(UTIL_IsPlainText("ab\0\"\xFF"), 1);
}

TEST(UtilIsPlainText, AcceptsTheEmptyString) {
  EXPECT_EQ(UTIL_IsPlainText(GuardedString("").text()), 1);
}

TEST(UtilIsPlainTextNonEmpty, RefusesTheEmptyString) {
  EXPECT_EQ(UTIL_IsPlainTextNonEmpty(GuardedString("").text()), 0);
}

TEST(UtilIsPlainTextNonEmpty, IsAsUtilIsPlainTextOtherwise) {
  EXPECT_EQ(UTIL_IsPlainTextNonEmpty("plain 'text'"), 1);
  EXPECT_EQ(UTIL_IsPlainTextNonEmpty("a \"quoted\" text"), 0);
  EXPECT_EQ(UTIL_IsPlainTextNonEmpty("caf\xC3\xA9"), 0);
}

// ---- Characters ----

TEST(UtilIsPrint, AcceptsTheCodes0x20To0x7EAlone) {
  for (int code = -128; code < 512; ++code) {
    EXPECT_EQ(UTIL_IsPrint(code), code >= 0x20 && code <= 0x7E ? 1 : 0) << code;
  }
  EXPECT_EQ(UTIL_IsPrint(INT_MIN), 0);
  EXPECT_EQ(UTIL_IsPrint(INT_MAX), 0);
}

TEST(UtilHexDigit, GivesTheUpperCaseDigit) {
  std::string digits;
  for (uint32_t value = 0; value < 16; ++value) digits += UTIL_HexDigit(value);
  EXPECT_EQ(digits, "0123456789ABCDEF");
}

TEST(UtilHexDigit, TakesTheValueModulo16) {
  EXPECT_EQ(UTIL_HexDigit(16), '0');
  EXPECT_EQ(UTIL_HexDigit(0xABCD), 'D');
  EXPECT_EQ(UTIL_HexDigit(0xFFFFFFFF), 'F');
}

}  // namespace
