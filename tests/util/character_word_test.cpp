// SPDX-License-Identifier: MIT

#include "util/character_word.h"

#include <gtest/gtest.h>

#include <cstring>

#include "tests/support/guarded_buffer.h"

namespace {

using support::GuardedBuffer;
using support::GuardedString;

TEST(CharacterWord, LoadsTheFirstCharacterIntoTheLowestByteAndZerosBehindTheLast) {
  const struct {
    const char* text;
    uint64_t word;
  } cases[] = {
      {"1", 0x31},
      {"12", 0x3231},
      {"123", 0x333231},
      {"1234", 0x34333231},
      {"12345", 0x35'34333231},
      {"123456", 0x3635'34333231},
      {"1234567", 0x373635'34333231},
      {"12345678", 0x38373635'34333231},
      {"\xFF\x80", 0x80FF},
  };
  for (const auto& c : cases) {
    // Without a terminator: the last character stands directly before a forbidden page.
    const size_t length = strlen(c.text);
    GuardedBuffer text(length);
    memcpy(text.data(), c.text, length);
    EXPECT_EQ(character_word::Load(text.data(), length), c.word) << c.text;
  }
}

TEST(CharacterWord, StoresTheFirstCharactersAndNothingElse) {
  for (size_t count = 0; count <= 8; ++count) {
    SCOPED_TRACE(count);
    GuardedBuffer buffer(16);
    character_word::Store(buffer.data() + 4, 0x38373635'34333231, count);
    EXPECT_EQ(memcmp(buffer.data() + 4, "12345678", count), 0);
    EXPECT_TRUE(buffer.IsUntouched(0, 4));
    EXPECT_TRUE(buffer.IsUntouched(4 + count, 16));
  }
}

TEST(CharacterWord, FindsEveryCharacterInEveryPlace) {
  for (int code = 0; code <= 0xFF; ++code) {
    const auto character = static_cast<char>(code);
    for (int other = 0; other <= 0xFF; ++other) {
      if (other == code) continue;
      for (size_t place = 0; place < 8; ++place) {
        uint64_t word = character_word::Of(static_cast<char>(other));
        word &= ~(UINT64_C(0xFF) << (8 * place));
        word |= static_cast<uint64_t>(code) << (8 * place);
        ASSERT_EQ(character_word::First(character_word::Matches(word, character)), place)
            << code << " among " << other;
      }
      const uint64_t others = character_word::Of(static_cast<char>(other));
      ASSERT_EQ(character_word::Matches(others, character), 0U) << code << " and " << other;
    }
  }
}

TEST(CharacterWord, FindsTheFirstOfSeveral) {
  EXPECT_EQ(character_word::First(character_word::Matches(0x25252525'25252525, '%')), 0U);
  EXPECT_EQ(character_word::First(character_word::Matches(0x25242525'25246161, '%')), 3U);
  EXPECT_EQ(character_word::First(character_word::Matches(0x25616161'61616161, '%')), 7U);
}

TEST(CharacterWord, HasNoFirstWithoutAMatch) { EXPECT_EQ(character_word::First(0), 8U); }

}  // namespace
