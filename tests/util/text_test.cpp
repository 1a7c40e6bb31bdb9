#include "util/text.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "tests/support/guarded_buffer.h"

namespace {

using support::GuardedBuffer;

// A text that ends directly before a forbidden page, so that reading on stops the test.
class GuardedText {
 public:
  explicit GuardedText(const char* text) : buffer_(strlen(text) + 1) {
    memcpy(buffer_.data(), text, buffer_.size());
  }
  const char* get() { return buffer_.data(); }

 private:
  GuardedBuffer buffer_;
};

TEST(UtilToLower, FoldsTheLettersAToZAndNothingElse) {
  for (int i = 0; i < 256; ++i) {
    const int expected = i >= 0x41 && i <= 0x5A ? i + 0x20 : i;
    EXPECT_EQ(UTIL_aToLower[i], expected) << i;
  }
}

TEST(UtilCopyString, CutsAtTheCapacityAndTerminates) {
  const struct {
    uint32_t capacity;
    const char* expected;
  } rows[] = {
      {1, ""}, {2, "h"}, {4, "hel"}, {5, "hell"}, {6, "hello"}, {7, "hello"},
  };
  for (const auto& row : rows) {
    GuardedBuffer buffer(row.capacity);
    UTIL_CopyString(buffer.data(), GuardedText("hello").get(), row.capacity);
    EXPECT_STREQ(buffer.data(), row.expected);
  }
}

TEST(UtilCopyString, LeavesWhatStandsBehindTheTerminator) {
  GuardedBuffer buffer(10);
  UTIL_CopyString(buffer.data(), "hello", 10);
  EXPECT_TRUE(buffer.IsUntouched(6, 10));
}

TEST(UtilCopyString, LargestCapacityCopiesTheWholeText) {
  GuardedBuffer buffer(6);
  UTIL_CopyString(buffer.data(), "hello", 0xFFFFFFFF);
  EXPECT_STREQ(buffer.data(), "hello");
}

TEST(UtilCopyString, EmptySourceGivesTheEmptyText) {
  GuardedBuffer buffer(3);
  UTIL_CopyString(buffer.data(), "", 3);
  EXPECT_STREQ(buffer.data(), "");
  EXPECT_TRUE(buffer.IsUntouched(1, 3));
}

TEST(UtilCopyString, NullsAndCapacityZeroTouchNothing) {
  GuardedBuffer buffer(8);
  UTIL_CopyString(buffer.data(), "hello", 0);
  UTIL_CopyString(buffer.data(), nullptr, 8);
  UTIL_CopyString(nullptr, "hello", 8);
  UTIL_CopyString(nullptr, nullptr, 0);
  EXPECT_TRUE(buffer.IsUntouched(0, 8));
}

TEST(UtilStricmp, EqualTextsOfAnyCaseGiveZero) {
  const char* const pairs[][2] = {
      {"", ""}, {"a", "A"}, {"-LocalEcho", "-LOCALECHO"}, {"az AZ 09 @[`{", "AZ az 09 @[`{"}};
  for (const auto& pair : pairs) {
    EXPECT_EQ(UTIL_stricmp(GuardedText(pair[0]).get(), GuardedText(pair[1]).get()), 0) << pair[0];
  }
}

TEST(UtilStricmp, GivesTheRawDifferenceOfTheFirstDifferingCharacters) {
  const struct {
    const char* first;
    const char* second;
    int32_t expected;
  } rows[] = {
      {"abc", "ABD", -1},                                        // c minus d
      {"ab", "abc", -99},                                        // the end minus c
      {"abc", "ab", 99},      {"b", "A", 1},  {"On", "Off", 8},  // n minus f
      {"", "x", -120},        {"x", "", 120}, {"[", "{", -32},   // 0x5B and 0x7B are no letters
      {"@", "`", -32},        {"A", "_", 2},                     // folded to a, 0x61, against 0x5F
      {"Zebra", "apple", 25},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.first);
    EXPECT_EQ(UTIL_stricmp(GuardedText(row.first).get(), GuardedText(row.second).get()),
              row.expected);
  }
}

TEST(UtilStricmp, BytesAbove127AreComparedUnfoldedAsSignedNumbers) {
  EXPECT_EQ(UTIL_stricmp("\xC4", "\xC4"), 0);
  EXPECT_EQ(UTIL_stricmp("\xC4", "\xE4"), -32);  // -60 minus -28
  EXPECT_EQ(UTIL_stricmp("\x80", "\x7F"), -255);
  EXPECT_EQ(UTIL_stricmp("\xFF", ""), -1);
}

TEST(UtilStrlen, CountsUpToTheTerminator) {
  EXPECT_EQ(UTIL_strlen(GuardedText("").get()), 0u);
  EXPECT_EQ(UTIL_strlen(GuardedText("hello").get()), 5u);
  EXPECT_EQ(UTIL_strlen("ab\0cd"), 2u);
  EXPECT_EQ(UTIL_strlen(std::string(100'000, 'x').c_str()), 100'000u);
}

}  // namespace
