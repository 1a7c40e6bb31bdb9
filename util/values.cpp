// SPDX-License-Identifier: MIT

#include "util/values.h"

#include <algorithm>
#include <cstdarg>
#include <cstddef>
#include <cstring>
#include <iterator>
#include <span>

#include "util/byte_order.h"
#include "util/format.h"
#include "util/hexadecimal.h"
#include "util/parse.h"

namespace {

static_assert(sizeof(UTIL_SIZE_BLOCK) == 12);
static_assert(sizeof(UTIL_VERSION) == 12);
static_assert(offsetof(UTIL_VERSION, revision) == 0);
static_assert(offsetof(UTIL_VERSION, major) == 4);
static_assert(offsetof(UTIL_VERSION, minor) == 8);

// UTIL_snprintf for sizes without a sign, of which 0 means that nothing may be stored.
char* Print(char* buffer, uint32_t size, const char* format, ...) {
  if (size == 0) return buffer;
  const auto capacity = static_cast<int32_t>(std::min<uint32_t>(size, INT32_MAX));
  va_list arguments;
  va_start(arguments, format);
  char* const terminator = UTIL_vsnprintf(buffer, capacity, format, arguments);
  va_end(arguments);
  return terminator;
}

// What is left of a buffer behind a text in it.
uint32_t RoomAt(const char* terminator, const char* buffer, uint32_t size) {
  return size - static_cast<uint32_t>(terminator - buffer);
}

// ---- Sizes ----

struct Unit {
  uint32_t shift;
  const char* name;
};

constexpr Unit kUnits[] = {{30, "GB"}, {20, "MB"}, {10, "KB"}};

bool IsMultiple(int64_t count, uint32_t shift) {
  return (count & ((int64_t{1} << shift) - 1)) == 0;
}

// Prints a count that is made of whole units or, from one unit on, of halves. Returns whether it is.
bool PrintInUnits(int64_t count, const Unit& unit, char* buffer, uint32_t size) {
  const int64_t whole_units = count >> unit.shift;
  if (IsMultiple(count, unit.shift)) {
    // The cut to 32 bits is kept: 2^62 bytes are "0 GB".
    Print(buffer, size, "%d %s", static_cast<int32_t>(whole_units), unit.name);
    return true;
  }
  if (whole_units >= 1 && IsMultiple(count, unit.shift - 1)) {
    Print(buffer, size, "%lld.5 %s", static_cast<long long>(whole_units), unit.name);
    return true;
  }
  return false;
}

// The cut to 32 bits is kept here too: 2^32 + 1 bytes are "1 Bytes".
void PrintInBytes(int64_t count, char* buffer, uint32_t size) {
  const auto low_half = static_cast<uint32_t>(count);
  char* const end = count < 0 ? Print(buffer, size, "-%u Byte", 0 - low_half)
                              : Print(buffer, size, "%u Byte", low_half);
  if (count != 1 && count != -1) Print(end, RoomAt(end, buffer, size), "s");
}

uint64_t SizeOf(const UTIL_SIZE_BLOCK* list) {
  if (list == nullptr) return 0;
  uint64_t size = 0;
  for (; list->count != 0; ++list) size += uint64_t{list->count} * list->unit_size;
  return size;
}

// ---- Addresses ----

// Stores the eight hexadecimal digits of four bytes.
void StoreDigits(char* digits, const uint8_t* bytes) {
  const auto number = byte_order::LoadBig<uint32_t>(bytes);
  byte_order::StoreLittle(digits, hexadecimal::EightDigits(number, hexadecimal::kToUpperLetters));
}

// ---- Names of operating systems ----

struct OSName {
  uint32_t code;
  const char* name;
};

constexpr OSName kOSNames[] = {
    {0x1000, "Windows"},      {0x1001, "Windows 2000"},  {0x1002, "Windows XP"},
    {0x1003, "Windows XP64"}, {0x1004, "Windows Vista"}, {0x1005, "Windows 7"},
    {0x1006, "Windows 8"},    {0x1007, "Windows 8.1"},   {0x1008, "Windows 10"},
    {0x2000, "Linux"},        {0x3000, "macOS"},
};

}  // namespace

void UTIL_FormatSize(int64_t count, char* buffer, uint32_t size) {
  const auto fits = [=](const Unit& unit) { return PrintInUnits(count, unit, buffer, size); };
  if (count != 0 && std::ranges::any_of(kUnits, fits)) return;
  PrintInBytes(count, buffer, size);
}

char* UTIL_FormatDuration(uint64_t microseconds, char* buffer, uint32_t size) {
  const auto hours = static_cast<uint32_t>(microseconds / 3'600'000'000);
  const auto minutes = static_cast<uint32_t>(microseconds / 60'000'000 % 60);
  const auto seconds = static_cast<uint32_t>(microseconds / 1'000'000 % 60);
  const auto milliseconds = static_cast<uint32_t>(microseconds / 1000 % 1000);
  const auto rest = static_cast<uint32_t>(microseconds % 1000);
  if (hours != 0) {
    return Print(buffer, size, "%.1d:%.2d:%.2d.%.3d %.3d", hours, minutes, seconds, milliseconds,
                 rest);
  }
  if (minutes != 0) {
    return Print(buffer, size, "%.1d:%.2d.%.3d %.3d", minutes, seconds, milliseconds, rest);
  }
  return Print(buffer, size, "%.1d.%.3d %.3d", seconds, milliseconds, rest);
}

uint32_t UTIL_FormatSizeList(const UTIL_SIZE_BLOCK* const* lists, uint32_t list_count, char* buffer,
                             uint32_t size) {
  uint32_t total = 0;
  char* end = Print(buffer, size, list_count == 0 ? "-" : "");
  const char* separator = "";
  for (const UTIL_SIZE_BLOCK* const list : std::span(lists, list_count)) {
    const uint64_t list_size = SizeOf(list);
    total += static_cast<uint32_t>(list_size);
    char text[64];
    UTIL_FormatSize(static_cast<int64_t>(list_size), text, sizeof text);
    end = Print(end, RoomAt(end, buffer, size), "%s%s", separator, text);
    separator = " + ";
  }
  return total;
}

char* UTIL_FormatIPAddr(uint32_t address, char* buffer, uint32_t size) {
  return Print(buffer, size, "%d.%d.%d.%d", address & 0xFF, (address >> 8) & 0xFF,
               (address >> 16) & 0xFF, address >> 24);
}

int32_t UTIL_ParseIPAddr(const char* text, uint32_t* address) {
  uint32_t parsed = 0;
  for (uint32_t shift = 0; shift < 32; shift += 8) {
    if (shift != 0 && UTIL_ExpectChar(&text, '.') != 0) return -1;
    uint32_t number;
    if (UTIL_ReadU32(&text, &number) != 0) return -1;
    // No number is refused on purpose: what exceeds 255 spills into the bytes above.
    parsed |= number << shift;
  }
  if (address != nullptr) *address = parsed;
  return 0;
}

// Prints "%.2X%c%.2X%c%.2X%c%.2X%c%.2X%c%.2X", without the time of eleven directives.
char* UTIL_FormatMACAddr(const uint8_t* address, char separator, char* buffer, uint32_t size) {
  char digits[12];
  StoreDigits(digits, address);
  StoreDigits(digits + 4, address + 2);
  char text[18];
  for (size_t i = 0; i < 6; ++i) {
    memcpy(text + 3 * i, digits + 2 * i, 2);
    text[3 * i + 2] = separator;
  }
  if (size == 0) return buffer;
  const size_t length = std::min<size_t>(size - 1, 17);
  memcpy(buffer, text, length);
  buffer[length] = '\0';
  return buffer + length;
}

const char* UTIL_GetOSName(uint32_t code) {
  const auto* const entry = std::ranges::find(kOSNames, code, &OSName::code);
  return entry != std::end(kOSNames) ? entry->name : "Unknown";
}

void UTIL_SplitVersion(UTIL_VERSION* version, uint32_t number) {
  if (version == nullptr) return;
  version->major = number / 10'000;
  version->minor = number / 100 % 100;
  const uint32_t revision = number % 100;
  if (revision == 0) {
    version->revision[0] = '\0';
  } else if (revision <= 26) {
    Print(version->revision, sizeof version->revision, "%c", 'a' + revision - 1);
  } else {
    // The letters are used up: "z" stays, and numbers count on. Kept on purpose.
    Print(version->revision, sizeof version->revision, "z%.2d", revision - 26);
  }
}

const char* UTIL_GetCompanyName() { return "TARVEN"; }

const char* UTIL_GetCompanyURL() { return "www.tarven.example"; }
