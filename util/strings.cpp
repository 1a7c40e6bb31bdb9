// SPDX-License-Identifier: MIT

#include "util/strings.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

#include "util/character_set.h"
#include "util/text.h"
#include "util/text_compare.h"

namespace {

// What is trimmed; other families have other blanks on purpose.
constexpr character_set::Set kTrimSpace{'\t', '\n', '\v', '\f', '\r', ' '};

// Without a table, so that compilers can convert many characters at once.
constexpr char Lower(char character) {
  return character >= 'A' && character <= 'Z' ? static_cast<char>(character + 0x20) : character;
}

constexpr char Upper(char character) {
  return character >= 'a' && character <= 'z' ? static_cast<char>(character - 0x20) : character;
}

void TrimLeft(char* text) {
  const char* start = text;
  while (kTrimSpace.Contains(*start)) ++start;
  if (start != text) memmove(text, start, strlen(start) + 1);
}

// The first character is not looked at and stays, on purpose.
void TrimRight(char* text) {
  size_t length = strlen(text);
  while (length > 1 && kTrimSpace.Contains(text[length - 1])) --length;
  text[length] = '\0';
}

}  // namespace

void UTIL_Trim(char* text, int32_t trim_left, int32_t trim_right) {
  if (trim_left != 0) TrimLeft(text);
  if (trim_right != 0) TrimRight(text);
}

char UTIL_ToLower(char* text) {
  char* const end = text + strlen(text);
  std::transform(text, end, text, Lower);
  return *end;
}

void UTIL_ToUpper(char* text) { std::transform(text, text + strlen(text), text, Upper); }

void UTIL_ReplaceChar(char* text, char old_character, char new_character) {
  const auto replaced = [=](char c) { return c == old_character ? new_character : c; };
  std::transform(text, text + strlen(text), text, replaced);
}

void UTIL_CopyStringEx(char* destination, const char* source, uint32_t, uint32_t capacity) {
  UTIL_CopyString(destination, source, capacity);
}

void UTIL_strncat(char* destination, const char* source, uint32_t maximum, uint32_t capacity) {
  const size_t length = strlen(destination);
  if (length >= capacity) return;
  const auto room = static_cast<uint32_t>(capacity - 1 - length);
  const uint32_t appended = UTIL_strnlen(source, std::min(maximum, room));
  memcpy(destination + length, source, appended);
  destination[length + appended] = '\0';
}

int32_t UTIL_strnicmp(const char* first, const char* second, uint32_t maximum) {
  return text_compare::WithoutCase(first, second, maximum);
}

int32_t UTIL_strchrIndex(const char* text, int character) {
  if (static_cast<char>(character) == '\0') return -1;
  const char* const found = strchr(text, character);
  return found != nullptr ? static_cast<int32_t>(found - text) : -1;
}

uint32_t UTIL_strnlen(const char* text, uint32_t maximum) {
  const void* const end = memchr(text, '\0', maximum);
  if (end == nullptr) return maximum;
  return static_cast<uint32_t>(static_cast<const char*>(end) - text);
}

int32_t UTIL_IsPlainText(const char* text) {
  // Not left at the first other character, so that compilers can look at many at once.
  uint8_t others = 0;
  for (const char character : std::string_view(text)) {
    others |= static_cast<uint8_t>((character & 0x80) | (character == '"' ? 1 : 0));
  }
  return others == 0 ? 1 : 0;
}

int32_t UTIL_IsPlainTextNonEmpty(const char* text) {
  return *text != '\0' ? UTIL_IsPlainText(text) : 0;
}

int8_t UTIL_CharToUpper(int character) {
  return static_cast<int8_t>(Upper(static_cast<char>(character)));
}

int8_t UTIL_CharToLower(int character) {
  return static_cast<int8_t>(Lower(static_cast<char>(character)));
}

int32_t UTIL_IsPrint(int character) { return character >= 0x20 && character <= 0x7E ? 1 : 0; }

char UTIL_HexDigit(uint32_t value) { return "0123456789ABCDEF"[value % 16]; }
