// SPDX-License-Identifier: MIT

#include "util/parse.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

#include "util/character_set.h"

namespace {

using character_set::Set;

// No two of these are the same, and none may take another's place.
constexpr Set kBlanks{'\t', '\n', '\r', ' '};
constexpr Set kWordEnd{'\0', '\n', '\r', ' '};
constexpr Set kQuotedEnd{'\0', '\n', '\r'};
constexpr Set kTokenEnd{'\0', '\n', '\r', ' ', ':'};

const char* BehindBlanks(const char* text) {
  while (kBlanks.Contains(*text)) ++text;
  return text;
}

// ---- Numbers ----

constexpr uint8_t kNoDigit = 0xFF;

// The value of each hexadecimal digit; decimal ones are among them. One load instead of three
// comparisons, whose outcome changes from digit to digit.
constexpr std::array<uint8_t, 256> kDigitValues = [] {
  std::array<uint8_t, 256> values{};
  values.fill(kNoDigit);
  for (uint8_t i = 0; i < 10; ++i) values['0' + i] = i;
  for (uint8_t i = 0; i < 6; ++i) {
    const auto value = static_cast<uint8_t>(10 + i);
    values['a' + i] = value;
    values['A' + i] = value;
  }
  return values;
}();

struct Number {
  const char* end;  // behind the last digit; null when there is no number
  uint64_t value;
};

inline uint32_t DigitValue(char digit) { return kDigitValues[static_cast<uint8_t>(digit)]; }

// Two digits a step: what they make together need not wait for the value of those before.
template <uint32_t kBase>
inline Number ScanDigits(const char* text) {
  constexpr uint64_t kBaseOfTwo = uint64_t{kBase} * kBase;
  uint32_t first = DigitValue(*text);
  if (first >= kBase) return {nullptr, 0};
  uint64_t value = 0;
  do {
    const uint32_t second = DigitValue(text[1]);
    if (second >= kBase) return {text + 1, value * kBase + first};
    value = value * kBaseOfTwo + (first * kBase + second);
    text += 2;
    first = DigitValue(*text);
  } while (first < kBase);
  return {text, value};
}

// The base is that of a number without the prefix.
template <uint32_t kBase>
inline Number ScanUnsigned(const char* text) {
  const bool has_prefix = text[0] == '0' && (text[1] == 'x' || text[1] == 'X');
  if (has_prefix) text += 2;
  return kBase == 16 || has_prefix ? ScanDigits<16>(text) : ScanDigits<kBase>(text);
}

// With blanks and a sign in front. Inlined, since a number is read in hardly more time than a call
// takes.
template <uint32_t kBase>
[[gnu::always_inline]] inline int32_t ParseNumber(const char** cursor, uint64_t* value) {
  const char* text = BehindBlanks(*cursor);
  // All ones for a negative number: from a branch, as digits must not wait for what is known of a sign.
  const uint64_t sign = *text == '-' ? ~uint64_t{0} : 0;
  if (sign != 0) ++text;
  const Number number = ScanUnsigned<kBase>(text);
  if (number.end == nullptr) return -1;
  *cursor = number.end;
  *value = (number.value ^ sign) - sign;
  return 0;
}

void StoreUnlessNull(uint32_t* place, uint32_t value) {
  if (place != nullptr) *place = value;
}

// ---- Words ----

// Copies at most capacity - 1 characters, 1 being the smallest capacity, and returns how many.
size_t CopyCut(char* destination, int64_t capacity, std::string_view text) {
  const size_t length = std::min(text.size(), static_cast<size_t>(capacity - 1));
  memcpy(destination, text.data(), length);
  return length;
}

// Stores the text, cut to what fits, and terminates it. Both kinds of capacity fit in 64 bits.
void StoreString(char* destination, int64_t capacity, std::string_view text) {
  if (capacity <= 0) return;
  destination[CopyCut(destination, capacity, text)] = '\0';
}

std::string_view Between(const char* start, const char* end) {
  return {start, static_cast<size_t>(end - start)};
}

// The first such character, or the end of the text.
const char* FindOrEnd(const char* text, char character) {
  const char* const found = strchr(text, character);
  return found != nullptr ? found : text + strlen(text);
}

// Reads on behind the first quote.
int32_t ParseQuotedToken(const char** cursor, const char* start, char* destination,
                         uint32_t capacity) {
  const char* const end = FindOrEnd(start, '"');
  if (*end == '\0') {
    // What there is of the token is kept, but not terminated: it is nothing for a caller to use.
    *destination = '\0';
    CopyCut(destination, capacity, Between(start, end));
    return -1;
  }
  StoreString(destination, capacity, Between(start, end));
  *cursor = end + 1;
  return 0;
}

}  // namespace

int32_t UTIL_ParseUnsigned(const char* text, uint32_t* value) {
  const Number number = ScanUnsigned<10>(text);
  if (number.end == nullptr) return -1;
  *value = static_cast<uint32_t>(number.value);
  return 0;
}

int32_t UTIL_ParseNumber64(const char** cursor, uint64_t* value, int32_t force_hex) {
  return force_hex != 0 ? UTIL_ParseHex64(cursor, value) : ParseNumber<10>(cursor, value);
}

int32_t UTIL_ParseHex64(const char** cursor, uint64_t* value) {
  return ParseNumber<16>(cursor, value);
}

int32_t UTIL_ParseHex32(const char** cursor, uint32_t* value) {
  uint64_t number = 0;
  const int32_t result = UTIL_ParseHex64(cursor, &number);
  *value = static_cast<uint32_t>(number);
  return result;
}

int32_t UTIL_ReadU32(const char** cursor, uint32_t* value) {
  uint64_t number = 0;
  const int32_t result = UTIL_ParseNumber64(cursor, &number, 0);
  *value = static_cast<uint32_t>(number);
  return result;
}

int32_t UTIL_CheckDottedQuad(const char** cursor) {
  bool is_well_formed = true;
  // The fourth number needs its "." too, on purpose: addresses as people write them are refused.
  for (int i = 0; i < 4; ++i) {
    uint64_t ignored = 0;
    if (UTIL_ParseNumber64(cursor, &ignored, 0) != 0) is_well_formed = false;
    if (UTIL_ExpectChar(cursor, '.') != 0) is_well_formed = false;
  }
  return is_well_formed ? 0 : -1;
}

int32_t UTIL_ParseVersion(const char** cursor, uint32_t* major, uint32_t* minor, uint32_t* letter) {
  const char* text = BehindBlanks(*cursor);
  if (*text == 'V') ++text;
  uint32_t major_number = 0;
  uint32_t minor_number = 0;
  bool is_well_formed = UTIL_ReadU32(&text, &major_number) == 0;
  if (UTIL_ExpectChar(&text, '.') != 0) is_well_formed = false;
  if (UTIL_ReadU32(&text, &minor_number) != 0) is_well_formed = false;
  uint32_t revision = static_cast<uint8_t>(*text);
  if (is_well_formed && revision != 0) {
    ++text;
    is_well_formed = revision >= 'a' && revision <= 'z';
    if (is_well_formed) revision -= 'a' - 1;
  }
  StoreUnlessNull(major, major_number);
  StoreUnlessNull(minor, minor_number);
  StoreUnlessNull(letter, revision);
  *cursor = text;
  return is_well_formed ? 0 : -1;
}

int32_t UTIL_ParseWord(const char** cursor, char* destination, int32_t capacity, char delimiter) {
  const char* const start = BehindBlanks(*cursor);
  const char* const end = FindOrEnd(start, delimiter);
  StoreString(destination, capacity, Between(start, end));
  *cursor = *end != '\0' ? end + 1 : end;
  return end - start >= capacity ? 1 : 0;
}

const char* UTIL_ParseString(const char** cursor, char* destination, int32_t capacity,
                             char delimiter) {
  const char* const start = BehindBlanks(*cursor);
  *cursor = start;
  StoreString(destination, capacity, "");
  const char* end = start;
  while (!kWordEnd.Contains(*end) && *end != delimiter) ++end;
  if (end - start >= capacity) return "Maximum string length exceeded";
  if (end == start) return "Expected a string";
  StoreString(destination, capacity, Between(start, end));
  *cursor = end;
  return nullptr;
}

void UTIL_ParseListItem(const char** cursor, char* destination, uint32_t capacity) {
  if (destination == nullptr || capacity == 0) return;
  const char* start = BehindBlanks(*cursor);
  const bool is_quoted = *start == '"';
  if (is_quoted) ++start;
  // A "," is in neither set, on purpose: only blanks and quotes part an item from it.
  const Set item_end = (is_quoted ? kQuotedEnd : kWordEnd).With('"');
  const size_t room = capacity - 1;
  size_t length = 0;
  while (length < room && !item_end.Contains(start[length])) ++length;
  StoreString(destination, capacity, {start, length});
  const char* end = start + length;
  // A full destination leaves the rest to the next call, on purpose, and with it a quote that would
  // have been next.
  if (length < room && *end == '"') ++end;
  end = BehindBlanks(end);
  *cursor = *end == ',' ? end + 1 : end;
}

int32_t UTIL_ParseToken(const char** cursor, char* destination, uint32_t capacity) {
  if (destination == nullptr || capacity == 0) return -1;
  const char* const start = BehindBlanks(*cursor);
  if (*start == '"') return ParseQuotedToken(cursor, start + 1, destination, capacity);
  const char* end = start;
  while (!kTokenEnd.Contains(*end)) ++end;
  StoreString(destination, capacity, Between(start, end));
  // Where no token is, the cursor keeps its place in front of the blanks, on purpose.
  if (end != start) *cursor = end;
  return 0;
}

int32_t UTIL_IsBlank(uint32_t code) {
  return code <= ' ' && kBlanks.Contains(static_cast<char>(code)) ? 1 : 0;
}

void UTIL_SkipBlanks(const char** cursor) { *cursor = BehindBlanks(*cursor); }

int32_t UTIL_ExpectChar(const char** cursor, char character) {
  if (**cursor != character) return -1;
  ++*cursor;
  return 0;
}
