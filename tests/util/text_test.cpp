// SPDX-License-Identifier: MIT

#include "util/text.h"

#include <gtest/gtest.h>
#include <sys/mman.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include "tests/support/guarded_buffer.h"

namespace {

using support::GuardedBuffer;
using support::GuardedString;

// Expects the result in a guarded buffer of exactly the capacity, and nothing behind it.
void ExpectCopy(std::string_view expected, std::string_view source, uint32_t capacity) {
  SCOPED_TRACE(capacity);
  GuardedString guarded_source(source);
  GuardedBuffer destination(capacity);
  UTIL_CopyString(destination.data(), guarded_source.text(), capacity);
  EXPECT_STREQ(destination.data(), std::string(expected).c_str());
  EXPECT_TRUE(destination.IsUntouched(expected.size() + 1, capacity));
}

int32_t Compare(std::string_view first, std::string_view second) {
  return UTIL_stricmp(GuardedString(first).text(), GuardedString(second).text());
}

// ---- The table ----

TEST(UtilToLower, FoldsTheCapitalLettersAndNothingElse) {
  static_assert(sizeof UTIL_aToLower == 256);
  for (uint32_t i = 0; i < 256; ++i) {
    const bool is_capital = i >= 0x41 && i <= 0x5A;
    EXPECT_EQ(UTIL_aToLower[i], is_capital ? i + 0x20 : i) << "entry " << i;
  }
}

TEST(UtilToLower, FoldsAToZToLowerCase) {
  const std::string_view capitals = "ABCDEFGHIJKLMNOPQRSTUVWXYZ";
  std::string folded;
  for (const char c : capitals) folded += static_cast<char>(UTIL_aToLower[static_cast<uint8_t>(c)]);
  EXPECT_EQ(folded, "abcdefghijklmnopqrstuvwxyz");
}

// ---- Copy ----

TEST(UtilCopyString, CutsAtOneLessThanTheCapacity) {
  ExpectCopy("hel", "hello", 4);
  ExpectCopy("hell", "hello", 5);
  ExpectCopy("h", "hello", 2);
}

TEST(UtilCopyString, CopiesAllThatFits) {
  ExpectCopy("hello", "hello", 6);
  ExpectCopy("hello", "hello", 7);
}

TEST(UtilCopyString, CapacityOneGivesTheEmptyString) { ExpectCopy("", "hello", 1); }

TEST(UtilCopyString, EmptySourceGivesTheEmptyString) {
  ExpectCopy("", "", 1);
  ExpectCopy("", "", 2);
  ExpectCopy("", "", 64);
}

TEST(UtilCopyString, StoresNothingBehindTheTerminator) { ExpectCopy("hello", "hello", 64); }

TEST(UtilCopyString, CapacityZeroTouchesNothing) {
  GuardedBuffer destination(8);
  UTIL_CopyString(destination.data(), "hello", 0);
  EXPECT_TRUE(destination.IsUntouched(0, 8));
}

TEST(UtilCopyString, NullSourceTouchesNothing) {
  GuardedBuffer destination(8);
  UTIL_CopyString(destination.data(), nullptr, 8);
  EXPECT_TRUE(destination.IsUntouched(0, 8));
}

TEST(UtilCopyString, NullDestinationIsIgnored) {
  UTIL_CopyString(nullptr, "hello", 6);
  UTIL_CopyString(nullptr, nullptr, 6);
  UTIL_CopyString(nullptr, nullptr, 0);
}

TEST(UtilCopyString, CopiesEveryByteValueUnchanged) {
  std::string all;
  for (int i = 1; i <= 255; ++i) all += static_cast<char>(i);
  ExpectCopy(all, all, 256);
  ExpectCopy(all, all, 300);
}

// The capacity is unsigned: its upper half is no negative number.
TEST(UtilCopyString, LargestCapacityStoresNoMoreThanTheString) {
  for (const uint32_t capacity : {0x7FFFFFFFU, 0x80000000U, 0xFFFFFFFFU}) {
    GuardedString source("hello");
    GuardedBuffer destination(6);
    UTIL_CopyString(destination.data(), source.text(), capacity);
    EXPECT_STREQ(destination.data(), "hello");
  }
}

TEST(UtilCopyString, CopiesLongStringsAsOneBlock) {
  const std::string text(100'000, 'x');
  ExpectCopy(text, text, 100'001);
  ExpectCopy(text.substr(0, 65'535), text, 65'536);
}

// ---- Comparison ----

TEST(UtilStricmp, EqualStringsGiveZero) {
  EXPECT_EQ(Compare("", ""), 0);
  EXPECT_EQ(Compare("abc", "abc"), 0);
  EXPECT_EQ(Compare("12:34 [x]", "12:34 [x]"), 0);
}

TEST(UtilStricmp, CaseMakesNoDifference) {
  EXPECT_EQ(Compare("-LocalEcho", "-LOCALECHO"), 0);
  EXPECT_EQ(Compare("-LOCALECHO", "-localecho"), 0);
  EXPECT_EQ(Compare("ABCDEFGHIJKLMNOPQRSTUVWXYZ", "abcdefghijklmnopqrstuvwxyz"), 0);
  EXPECT_EQ(Compare("abcdefghijklmnopqrstuvwxyz", "ABCDEFGHIJKLMNOPQRSTUVWXYZ"), 0);
}

TEST(UtilStricmp, GivesTheDifferenceOfTheFirstDifferingFoldedCharacters) {
  EXPECT_EQ(Compare("abc", "ABD"), -1);
  EXPECT_EQ(Compare("b", "A"), 1);
  EXPECT_EQ(Compare("B", "a"), 1);
  EXPECT_EQ(Compare("On", "Off"), 8);         // n minus f
  EXPECT_EQ(Compare("a9z", "A1a"), 8);        // what stands behind the difference does not count
  EXPECT_EQ(Compare("Z", "_"), 0x7A - 0x5F);  // folded: "Z" itself stands before "_"
  EXPECT_EQ(Compare("\x01", "\x7F"), -126);
}

TEST(UtilStricmp, EndOfTheFirstStringComparesAsZero) {
  EXPECT_EQ(Compare("ab", "abc"), -99);
  EXPECT_EQ(Compare("ab", "ABC"), -99);
  EXPECT_EQ(Compare("", "x"), -120);
}

TEST(UtilStricmp, EndOfTheSecondStringComparesAsZero) {
  EXPECT_EQ(Compare("abc", "ab"), 99);
  EXPECT_EQ(Compare("ABC", "ab"), 99);
  EXPECT_EQ(Compare("x", ""), 120);
}

TEST(UtilStricmp, OnlyLettersAreFolded) {
  EXPECT_EQ(Compare("[", "{"), -32);
  EXPECT_EQ(Compare("{", "["), 32);
  EXPECT_EQ(Compare("@", "`"), -32);
  EXPECT_EQ(Compare("\\", "|"), -32);
  EXPECT_EQ(Compare("]", "}"), -32);
  EXPECT_EQ(Compare("^", "~"), -32);
  EXPECT_EQ(Compare("0", "P"), 0x30 - 0x70);
}

TEST(UtilStricmp, BytesAbove127AreComparedUnfolded) {
  EXPECT_EQ(Compare("\xE4", "\xE4"), 0);
  EXPECT_EQ(Compare("\xC4", "\xE4"), -32);  // a letter in two cases, in Latin-1
  EXPECT_EQ(Compare("\xC1", "a"), -160);    // 0x41 and the top bit: -63 against 97
}

TEST(UtilStricmp, BytesAbove127AreSignedNumbers) {
  EXPECT_EQ(Compare("\x80", "a"), -225);
  EXPECT_EQ(Compare("a", "\x80"), 225);
  EXPECT_EQ(Compare("\xFF", ""), -1);
  EXPECT_EQ(Compare("", "\xFF"), 1);
  EXPECT_EQ(Compare("\x80", "\x7F"), -255);
  EXPECT_EQ(Compare("\xFF", "\x80"), 127);
}

// Capitals and small letters, so many that the strings are compared in several ways.
constexpr size_t kLong = 600;

TEST(UtilStricmp, FindsADifferenceAtEveryPlaceOfLongStrings) {
  GuardedString first(std::string(kLong, 'q'));
  GuardedString second(std::string(kLong, 'Q'));
  EXPECT_EQ(UTIL_stricmp(first.text(), second.text()), 0);
  for (size_t i = kLong; i-- > 0;) {
    second.text()[i] = 'N';  // those behind it stay different
    ASSERT_EQ(UTIL_stricmp(first.text(), second.text()), 3) << i;
    ASSERT_EQ(UTIL_stricmp(second.text(), first.text()), -3) << i;
  }
}

TEST(UtilStricmp, ReadsNothingBehindTheEndOfLongStrings) {
  const std::string small(kLong, 'q');
  const std::string capital(kLong, 'Q');
  for (size_t length = 0; length <= kLong; ++length) {
    GuardedString cut(small.substr(0, length));
    GuardedString equal(capital.substr(0, length));
    GuardedString longer(capital.substr(0, length) + "a");
    ASSERT_EQ(UTIL_stricmp(cut.text(), equal.text()), 0) << length;
    ASSERT_EQ(UTIL_stricmp(cut.text(), longer.text()), -97) << length;
    ASSERT_EQ(UTIL_stricmp(longer.text(), cut.text()), 97) << length;
  }
}

TEST(UtilStricmp, ReadsNothingBehindTheEndOfTheShorterString) {
  GuardedString whole(std::string(kLong, 'q'));
  for (size_t length = 0; length < kLong; ++length) {
    GuardedString start(std::string(length, 'Q'));
    ASSERT_EQ(UTIL_stricmp(whole.text(), start.text()), 113) << length;
    ASSERT_EQ(UTIL_stricmp(start.text(), whole.text()), -113) << length;
  }
}

TEST(UtilStricmp, OnlyLettersAreFoldedInLongStringsToo) {
  const std::string start(100, 'x');
  for (int a = 1; a < 256; ++a) {
    for (const int b : {a ^ 0x20, a ^ 0x80, a}) {
      if (b == 0) continue;
      const int folded_a = static_cast<int8_t>(UTIL_aToLower[a]);
      const int folded_b = static_cast<int8_t>(UTIL_aToLower[b]);
      ASSERT_EQ(Compare(start + static_cast<char>(a), start + static_cast<char>(b)),
                folded_a - folded_b)
          << a << " and " << b;
    }
  }
}

// ---- Length ----

TEST(UtilStrlen, CountsTheCharactersBeforeTheZero) {
  EXPECT_EQ(UTIL_strlen(""), 0U);
  EXPECT_EQ(UTIL_strlen("a"), 1U);
  EXPECT_EQ(UTIL_strlen("hello"), 5U);
  EXPECT_EQ(UTIL_strlen("ab\0cd"), 2U);
  EXPECT_EQ(UTIL_strlen("\x80\xFF\x01"), 3U);
}

TEST(UtilStrlen, ReadsNothingBehindTheZero) {
  for (size_t length = 0; length <= 64; ++length) {
    GuardedString string(std::string(length, 'x'));
    EXPECT_EQ(UTIL_strlen(string.text()), length);
  }
}

// ---- Strings that 32 bits cannot count ----

// ThreadSanitizer keeps notes of every byte that is read: 16 GiB of them here.
#if defined(__has_feature)
#if __has_feature(thread_sanitizer)
#define TARVEN_NOTES_EVERY_READ
#endif
#elif defined(__SANITIZE_THREAD__)
#define TARVEN_NOTES_EVERY_READ
#endif

#ifndef TARVEN_NOTES_EVERY_READ

// 2^32 + 3 characters: the same 16 MiB of a file mapped again and again, and a page of its own.
class VeryLongString {
 public:
  VeryLongString() {
    FILE* const file = tmpfile();
    if (file == nullptr) abort();
    const std::vector<char> block(kBlock, 'x');
    if (fwrite(block.data(), 1, kBlock, file) != kBlock || fflush(file) != 0) abort();
    text_ = static_cast<char*>(Map(nullptr, kBlock * kBlocks + kTail, -1));
    for (size_t i = 0; i < kBlocks; ++i) Map(text_ + i * kBlock, kBlock, fileno(file));
    memcpy(text_ + kBlock * kBlocks, "end", 4);
    fclose(file);
  }
  ~VeryLongString() { munmap(text_, kBlock * kBlocks + kTail); }
  VeryLongString(const VeryLongString&) = delete;
  VeryLongString& operator=(const VeryLongString&) = delete;

  const char* text() const { return text_; }

 private:
  static constexpr size_t kBlock = 16 << 20;
  static constexpr size_t kBlocks = 256;
  static constexpr size_t kTail = 16384;

  static void* Map(void* place, size_t size, int descriptor) {
    const int kind =
        descriptor < 0 ? MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE : MAP_SHARED | MAP_FIXED;
    void* const mapping = mmap(place, size, PROT_READ | PROT_WRITE, kind, descriptor, 0);
    if (mapping == MAP_FAILED) abort();
    return mapping;
  }

  char* text_;
};

TEST(UtilStrlen, CountsBeyond32Bits) {
  const VeryLongString string;
  EXPECT_EQ(UTIL_strlen(string.text()), 4294967299U);
}

TEST(UtilCopyString, TakesTheLengthOfTheSourceIn32Bits) {
  const VeryLongString string;
  GuardedBuffer destination(16);
  UTIL_CopyString(destination.data(), string.text(), 16);
  EXPECT_STREQ(destination.data(), "xxx");
  EXPECT_TRUE(destination.IsUntouched(4, 16));
}

#endif

}  // namespace
