// SPDX-License-Identifier: MIT

#include "bench/byte_loops.h"

namespace {

int Lower(uint8_t byte) { return byte >= 'A' && byte <= 'Z' ? byte + 0x20 : byte; }

int Lower(char character) { return Lower(static_cast<uint8_t>(character)); }

}  // namespace

int64_t byte_loops::FirstDifference(const uint8_t* first, const uint8_t* second, size_t size) {
  for (size_t i = 0; i < size; ++i) {
    if (first[i] != second[i]) return static_cast<int64_t>(i);
  }
  return -1;
}

int64_t byte_loops::FirstDifferenceWithoutCase(const uint8_t* first, const uint8_t* second,
                                               size_t size) {
  for (size_t i = 0; i < size; ++i) {
    if (Lower(first[i]) != Lower(second[i])) return static_cast<int64_t>(i);
  }
  return -1;
}

int64_t byte_loops::FirstOther(const uint8_t* bytes, uint8_t byte, size_t size) {
  for (size_t i = 0; i < size; ++i) {
    if (bytes[i] != byte) return static_cast<int64_t>(i);
  }
  return -1;
}

int64_t byte_loops::IndexOf(const char* text, char character) {
  for (size_t i = 0; text[i] != '\0'; ++i) {
    if (text[i] == character) return static_cast<int64_t>(i);
  }
  return -1;
}

int byte_loops::CompareWithoutCase(const char* first, const char* second) {
  for (; *first != '\0' && Lower(*first) == Lower(*second); ++second) ++first;
  return Lower(*first) - Lower(*second);
}

int byte_loops::CompareWithoutCase(const char* first, const char* second, size_t maximum) {
  for (size_t i = 0; i < maximum; ++i) {
    const int difference = Lower(first[i]) - Lower(second[i]);
    if (difference != 0 || first[i] == '\0') return difference;
  }
  return 0;
}

void byte_loops::Fill(uint8_t* bytes, uint8_t value, size_t size) {
  for (size_t i = 0; i < size; ++i) bytes[i] = value;
}

void byte_loops::Copy(uint8_t* destination, const uint8_t* source, size_t size) {
  for (size_t i = 0; i < size; ++i) destination[i] = source[i];
}

void byte_loops::CopyString(char* destination, const char* source, size_t capacity) {
  size_t i = 0;
  for (; i + 1 < capacity && source[i] != '\0'; ++i) destination[i] = source[i];
  destination[i] = '\0';
}

void byte_loops::Reverse(uint8_t* bytes, size_t size) {
  if (size == 0) return;
  for (size_t low = 0, high = size - 1; low < high; ++low, --high) {
    const uint8_t byte = bytes[low];
    bytes[low] = bytes[high];
    bytes[high] = byte;
  }
}

size_t byte_loops::Length(const char* text, size_t maximum) {
  size_t length = 0;
  while (length < maximum && text[length] != '\0') ++length;
  return length;
}

void byte_loops::ToLower(char* text) {
  for (; *text != '\0'; ++text) *text = static_cast<char>(Lower(*text));
}

void byte_loops::ToUpper(char* text) {
  for (; *text != '\0'; ++text) {
    if (*text >= 'a' && *text <= 'z') *text = static_cast<char>(*text - 0x20);
  }
}

void byte_loops::ReplaceCharacter(char* text, char old_character, char new_character) {
  for (; *text != '\0'; ++text) {
    if (*text == old_character) *text = new_character;
  }
}

bool byte_loops::IsPlain(const char* text) {
  for (; *text != '\0'; ++text) {
    if (*text == '"' || static_cast<uint8_t>(*text) > 0x7F) return false;
  }
  return true;
}
