// SPDX-License-Identifier: MIT

// The scanners once more: plain loops over a copy of the text, by their descriptions.
#ifndef TARVEN_FUZZ_SCANNER_REFERENCE_H_
#define TARVEN_FUZZ_SCANNER_REFERENCE_H_

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace scanner_reference {

inline constexpr std::string_view kBlanks = "\t\n\r ";

// A text and a place in it, as a position from 0 to its length.
struct Cursor {
  std::string_view text;
  size_t position = 0;

  bool is_at_end() const { return position >= text.size(); }
  // The terminating zero at the end.
  char next() const { return is_at_end() ? '\0' : text[position]; }
  bool is_at_any(std::string_view characters) const {
    return !is_at_end() && characters.find(next()) != std::string_view::npos;
  }

  void SkipBlanks() {
    while (is_at_any(kBlanks)) ++position;
  }
  bool Accept(char character) {
    if (is_at_end() || next() != character) return false;
    ++position;
    return true;
  }
  // Takes all up to the first of these characters, or to the end.
  std::string TakeUntil(std::string_view characters) {
    std::string taken;
    for (; !is_at_end() && !is_at_any(characters); ++position) taken += next();
    return taken;
  }
};

// What is stored in a buffer of this capacity; nothing for 0 or less.
inline std::optional<std::string> Cut(const std::string& text, int64_t capacity) {
  if (capacity <= 0) return {};
  return text.substr(0, static_cast<size_t>(capacity - 1));
}

// ---- Numbers ----

inline uint32_t DigitValue(char digit) {
  if (digit >= '0' && digit <= '9') return static_cast<uint32_t>(digit - '0');
  if (digit >= 'a' && digit <= 'f') return static_cast<uint32_t>(digit - 'a') + 10;
  if (digit >= 'A' && digit <= 'F') return static_cast<uint32_t>(digit - 'A') + 10;
  return 16;
}

inline std::optional<uint64_t> Digits(Cursor* cursor, uint32_t base) {
  const size_t start = cursor->position;
  uint64_t value = 0;
  for (; DigitValue(cursor->next()) < base; ++cursor->position) {
    value = value * base + DigitValue(cursor->next());
  }
  if (cursor->position == start) return {};
  return value;
}

// Without blanks and sign.
inline std::optional<uint64_t> Unsigned(Cursor* cursor, bool is_hex) {
  const std::string_view start = cursor->text.substr(cursor->position, 2);
  if (start == "0x" || start == "0X") {
    cursor->position += 2;
    is_hex = true;
  }
  return Digits(cursor, is_hex ? 16 : 10);
}

// Where there is no number the cursor stays.
inline std::optional<uint64_t> Number(Cursor* cursor, bool is_hex) {
  Cursor ahead = *cursor;
  ahead.SkipBlanks();
  const bool is_negative = ahead.Accept('-');
  const auto value = Unsigned(&ahead, is_hex);
  if (!value) return {};
  *cursor = ahead;
  return is_negative ? 0 - *value : *value;
}

inline bool DottedQuad(Cursor* cursor) {
  bool is_well_formed = true;
  for (int i = 0; i < 4; ++i) {
    if (!Number(cursor, false)) is_well_formed = false;
    if (!cursor->Accept('.')) is_well_formed = false;
  }
  return is_well_formed;
}

struct Version {
  bool is_well_formed = true;
  uint32_t major = 0;
  uint32_t minor = 0;
  uint32_t letter = 0;
};

inline Version ReadVersion(Cursor* cursor) {
  Version version;
  cursor->SkipBlanks();
  cursor->Accept('V');
  const auto major = Number(cursor, false);
  const bool has_dot = cursor->Accept('.');
  const auto minor = Number(cursor, false);
  version.major = static_cast<uint32_t>(major.value_or(0));
  version.minor = static_cast<uint32_t>(minor.value_or(0));
  version.is_well_formed = major && has_dot && minor;
  version.letter = static_cast<uint8_t>(cursor->next());
  if (!version.is_well_formed || cursor->is_at_end()) return version;
  ++cursor->position;
  version.is_well_formed = version.letter >= 'a' && version.letter <= 'z';
  if (version.is_well_formed) version.letter -= 'a' - 1;
  return version;
}

// ---- Words, list items, tokens ----

// What a scanner of words leaves behind.
struct Taken {
  std::optional<std::string> stored;  // none: the buffer holds no string
  int32_t result = 0;
  std::string message;
};

inline Taken Word(Cursor* cursor, int32_t capacity, char delimiter) {
  cursor->SkipBlanks();
  // A zero as delimiter is the end of the text.
  const std::string word =
      cursor->TakeUntil(delimiter != '\0' ? std::string(1, delimiter) : std::string());
  cursor->Accept(delimiter);
  return {Cut(word, capacity), static_cast<int64_t>(word.size()) >= capacity ? 1 : 0, {}};
}

inline Taken String(Cursor* cursor, int32_t capacity, char delimiter) {
  cursor->SkipBlanks();
  Cursor ahead = *cursor;
  const std::string word = ahead.TakeUntil(std::string("\n\r ") + delimiter);
  if (static_cast<int64_t>(word.size()) >= capacity) {
    return {Cut("", capacity), 0, "Maximum string length exceeded"};
  }
  if (word.empty()) return {Cut("", capacity), 0, "Expected a string"};
  *cursor = ahead;
  return {word, 0, {}};
}

inline Taken ListItem(Cursor* cursor, uint32_t capacity) {
  if (capacity == 0) return {};
  cursor->SkipBlanks();
  const std::string_view end = cursor->Accept('"') ? "\n\r\"" : "\n\r \"";
  std::string item;
  while (item.size() < capacity - 1 && !cursor->is_at_end() && !cursor->is_at_any(end)) {
    item += cursor->next();
    ++cursor->position;
  }
  if (item.size() < capacity - 1) cursor->Accept('"');
  cursor->SkipBlanks();
  cursor->Accept(',');
  return {item, 0, {}};
}

inline Taken Token(Cursor* cursor, uint32_t capacity) {
  if (capacity == 0) return {{}, -1, {}};
  Cursor ahead = *cursor;
  ahead.SkipBlanks();
  if (ahead.Accept('"')) {
    const std::string token = ahead.TakeUntil("\"");
    if (!ahead.Accept('"')) return {{}, -1, {}};
    *cursor = ahead;
    return {Cut(token, capacity), 0, {}};
  }
  const std::string token = ahead.TakeUntil("\n\r :");
  if (!token.empty()) *cursor = ahead;
  return {Cut(token, capacity), 0, {}};
}

// ---- Whole texts ----

inline std::string Trimmed(std::string text, bool left, bool right) {
  constexpr std::string_view kSpace = "\t\n\v\f\r ";
  if (left) text.erase(0, std::min(text.find_first_not_of(kSpace), text.size()));
  // Its first character stays.
  while (right && text.size() > 1 && kSpace.find(text.back()) != std::string_view::npos) {
    text.pop_back();
  }
  return text;
}

}  // namespace scanner_reference

#endif
