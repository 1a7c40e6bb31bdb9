// SPDX-License-Identifier: MIT

// What every way of marking quotes must do.
#ifndef TARVEN_TESTS_SETTINGS_XML_MARKS_CHECKS_H_
#define TARVEN_TESTS_SETTINGS_XML_MARKS_CHECKS_H_

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

#include "settings/xml_marks.h"
#include "tests/support/guarded_bytes.h"

namespace xml_marks_checks {

// All bytes but the double quote, the neighbours of which in value and in single bits are among them.
inline std::string Others(size_t length) {
  std::string text(length, ' ');
  for (size_t i = 0; i < length; ++i) {
    text[i] = static_cast<char>(i * 7 + length);
    if (text[i] == '"') text[i] = '#';
  }
  return text;
}

// Marks a text that stands, with what may be read behind it, in front of a forbidden page.
class Marked {
 public:
  explicit Marked(std::string_view text) : marks_(xml_marks::Count(text.size()) + 1, kCanary) {
    support::Bytes bytes(text.begin(), text.end());
    bytes.resize(text.size() + xml_marks::kGroup);
    support::GuardedBytes guarded(bytes);
    xml_marks::Mark(guarded.data(), text.size(), marks_.data());
    EXPECT_EQ(marks_.back(), kCanary);
  }

  bool Has(size_t position) const { return (xml_marks::At(marks_.data(), position) & 1) != 0; }
  uint64_t At(size_t position) const { return xml_marks::At(marks_.data(), position); }

 private:
  static constexpr uint64_t kCanary = 0xA5A5A5A5A5A5A5A5;
  std::vector<uint64_t> marks_;
};

inline void ExpectAQuoteFoundAtEveryPlace() {
  for (size_t length = 1; length <= 200; ++length) {
    for (size_t place = 0; place < length; ++place) {
      std::string text = Others(length);
      text[place] = '"';
      const Marked marked(text);
      for (size_t i = 0; i <= length; ++i) {
        ASSERT_EQ(marked.Has(i), i == place) << "byte " << i << " of " << length << ", " << place;
      }
    }
  }
}

inline void ExpectNothingFoundWithoutAQuote() {
  for (size_t length = 0; length <= 300; ++length) {
    const Marked marked(Others(length));
    for (size_t i = 0; i <= length; ++i) ASSERT_EQ(marked.At(i), 0U) << i << " of " << length;
  }
}

inline void ExpectQuotesFoundSideBySide() {
  for (size_t length = 1; length <= 200; ++length) {
    const Marked marked(std::string(length, '"'));
    for (size_t i = 0; i < length; ++i) ASSERT_TRUE(marked.Has(i)) << i << " of " << length;
    EXPECT_EQ(marked.At(length), 0U);
  }
}

// 57 bits are right at any position.
inline void ExpectTheNextMarksInOrder() {
  std::string text(300, 'x');
  for (size_t i = 0; i < text.size(); i += 5) text[i] = '"';
  const Marked marked(text);
  for (size_t position = 0; position <= text.size(); ++position) {
    const uint64_t marks = marked.At(position);
    for (size_t i = 0; i < 57; ++i) {
      const bool expected = position + i < text.size() && (position + i) % 5 == 0;
      ASSERT_EQ((marks >> i & 1) != 0, expected) << i << " behind " << position;
    }
  }
}

}  // namespace xml_marks_checks

#endif
