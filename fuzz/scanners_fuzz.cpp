// SPDX-License-Identifier: MIT

// The scanners of util/parse.h, and what util/strings.h does with whole texts: results, stored texts
// and cursors are those of the reference, and no cursor passes the end.
//
// Input: a byte for the delimiter, two for the capacity, one for where in the text to start, the text
// up to a zero.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <optional>
#include <string>
#include <string_view>

#include "fuzz/scanner_reference.h"
#include "fuzz/support/byte_source.h"
#include "fuzz/support/check.h"
#include "fuzz/support/exact_buffer.h"
#include "util/parse.h"
#include "util/strings.h"
#include "util/text.h"

namespace {

using fuzz::ExactBuffer;
using fuzz::ExactText;
using fuzz::Require;
using scanner_reference::Cursor;
using scanner_reference::Taken;

// One text, scanned from the same place by the scanner and by the reference.
class Scan {
 public:
  Scan(std::string_view text, size_t start)
      : exact_(text), at_(exact_.begin() + start), expected_{text, start} {}

  const char* at() const { return at_; }
  const char** cursor() { return &at_; }
  Cursor* expected() { return &expected_; }

  void RequireCursor(const char* rule) {
    Require(at_ >= exact_.begin() && at_ <= exact_.end(), "a cursor stays within the text");
    Require(at_ == exact_.begin() + expected_.position, rule);
  }

 private:
  ExactText exact_;
  const char* at_;
  Cursor expected_;
};

struct Input {
  char delimiter;
  int32_t capacity;
  std::string text;
  size_t start;

  Scan NewScan() const { return {text, start}; }
  size_t room() const { return static_cast<size_t>(std::max(capacity, 0)); }
};

Input ReadInput(fuzz::ByteSource bytes) {
  Input input;
  input.delimiter = static_cast<char>(bytes.Byte());
  // From -3 on.
  input.capacity = static_cast<int32_t>(bytes.Number<uint16_t>() % 600) - 3;
  const size_t start = bytes.Byte();
  input.text = bytes.Text();
  input.start = start % (input.text.size() + 1);
  return input;
}

// ---- Numbers ----

void CheckUnsigned(const Input& input) {
  Scan scan = input.NewScan();
  const auto expected = scanner_reference::Unsigned(scan.expected(), false);
  uint32_t value = 0xDEADBEEF;
  const int32_t result = UTIL_ParseUnsigned(scan.at(), &value);
  Require(result == (expected ? 0 : -1), "UTIL_ParseUnsigned tells whether there is a number");
  Require(value == static_cast<uint32_t>(expected.value_or(0xDEADBEEF)),
          "UTIL_ParseUnsigned reads the number, or leaves the value alone");
}

void CheckNumber64(const Input& input, bool is_hex) {
  Scan scan = input.NewScan();
  const auto expected = scanner_reference::Number(scan.expected(), is_hex);
  uint64_t value = 0xDEADBEEF;
  const int32_t result = UTIL_ParseNumber64(scan.cursor(), &value, is_hex ? 2 : 0);
  Require(result == (expected ? 0 : -1), "UTIL_ParseNumber64 tells whether there is a number");
  Require(value == expected.value_or(0xDEADBEEF), "UTIL_ParseNumber64 reads the number");
  scan.RequireCursor("UTIL_ParseNumber64 moves behind the number");
}

void CheckHex64(const Input& input) {
  Scan scan = input.NewScan();
  const auto expected = scanner_reference::Number(scan.expected(), true);
  uint64_t value = 0xDEADBEEF;
  const int32_t result = UTIL_ParseHex64(scan.cursor(), &value);
  Require(result == (expected ? 0 : -1), "UTIL_ParseHex64 tells whether there is a number");
  Require(value == expected.value_or(0xDEADBEEF), "UTIL_ParseHex64 reads the number");
  scan.RequireCursor("UTIL_ParseHex64 moves behind the number");
}

void CheckLow32(const Input& input, bool is_hex) {
  Scan scan = input.NewScan();
  const auto expected = scanner_reference::Number(scan.expected(), is_hex);
  uint32_t value = 0xDEADBEEF;
  const int32_t result =
      is_hex ? UTIL_ParseHex32(scan.cursor(), &value) : UTIL_ReadU32(scan.cursor(), &value);
  Require(result == (expected ? 0 : -1), "a 32-bit scanner tells whether there is a number");
  Require(value == static_cast<uint32_t>(expected.value_or(0)),
          "a 32-bit scanner reads the number, or stores 0");
  scan.RequireCursor("a 32-bit scanner moves behind the number");
}

void CheckDottedQuad(const Input& input) {
  Scan scan = input.NewScan();
  const bool expected = scanner_reference::DottedQuad(scan.expected());
  Require(UTIL_CheckDottedQuad(scan.cursor()) == (expected ? 0 : -1),
          "UTIL_CheckDottedQuad tells whether there are four numbers");
  scan.RequireCursor("UTIL_CheckDottedQuad moves behind what fits");
}

// ---- Words, list items, tokens ----

void RequireStored(const ExactBuffer& buffer, const Taken& expected) {
  if (expected.stored) {
    buffer.RequireText(*expected.stored, "the word is stored, cut and terminated");
  } else {
    buffer.RequireUntouchedFrom(0, "nothing is stored without a capacity");
  }
}

void CheckWord(const Input& input) {
  Scan scan = input.NewScan();
  const Taken expected = Word(scan.expected(), input.capacity, input.delimiter);
  ExactBuffer buffer(input.room());
  Require(UTIL_ParseWord(scan.cursor(), buffer.data(), input.capacity, input.delimiter) ==
              expected.result,
          "UTIL_ParseWord tells whether the word was cut");
  RequireStored(buffer, expected);
  scan.RequireCursor("UTIL_ParseWord moves behind the delimiter");
}

void CheckString(const Input& input) {
  Scan scan = input.NewScan();
  const Taken expected = String(scan.expected(), input.capacity, input.delimiter);
  ExactBuffer buffer(input.room());
  const char* const message =
      UTIL_ParseString(scan.cursor(), buffer.data(), input.capacity, input.delimiter);
  Require((message != nullptr ? message : std::string()) == expected.message,
          "UTIL_ParseString tells by a message what is wrong");
  RequireStored(buffer, expected);
  scan.RequireCursor("UTIL_ParseString moves behind the word");
}

void CheckListItem(const Input& input) {
  Scan scan = input.NewScan();
  const auto capacity = static_cast<uint32_t>(input.room());
  const Taken expected = ListItem(scan.expected(), capacity);
  ExactBuffer buffer(capacity);
  UTIL_ParseListItem(scan.cursor(), buffer.data(), capacity);
  RequireStored(buffer, expected);
  scan.RequireCursor("UTIL_ParseListItem moves behind the comma");
}

void CheckToken(const Input& input) {
  Scan scan = input.NewScan();
  const auto capacity = static_cast<uint32_t>(input.room());
  const Taken expected = Token(scan.expected(), capacity);
  ExactBuffer buffer(capacity);
  const int32_t result = UTIL_ParseToken(scan.cursor(), buffer.data(), capacity);
  Require(result == expected.result, "UTIL_ParseToken tells whether the quote closes");
  // Without the second quote the buffer holds no string.
  if (result == 0) RequireStored(buffer, expected);
  scan.RequireCursor("UTIL_ParseToken moves behind the token");
}

// ---- Single characters ----

void CheckCharacters(const Input& input) {
  Scan scan = input.NewScan();
  const bool is_blank = scan.expected()->is_at_any(scanner_reference::kBlanks);
  Require(UTIL_IsBlank(static_cast<uint8_t>(*scan.at())) == (is_blank ? 1 : 0),
          "UTIL_IsBlank knows the blanks");
  scan.expected()->SkipBlanks();
  UTIL_SkipBlanks(scan.cursor());
  scan.RequireCursor("UTIL_SkipBlanks stops at the first other character");
  // At the end a zero would be stepped over.
  if (input.delimiter == '\0') return;
  const bool is_next = scan.expected()->Accept(input.delimiter);
  Require(UTIL_ExpectChar(scan.cursor(), input.delimiter) == (is_next ? 0 : -1),
          "UTIL_ExpectChar tells whether the character is next");
  scan.RequireCursor("UTIL_ExpectChar steps over one character");
}

// ---- Whole texts ----

void CheckTrim(const Input& input, bool left, bool right) {
  ExactText text(input.text);
  UTIL_Trim(text.data(), left ? 1 : 0, right ? 1 : 0);
  Require(text.data() == scanner_reference::Trimmed(input.text, left, right),
          "UTIL_Trim takes spaces off the ends");
}

void CheckCase(const Input& input) {
  std::string lower = input.text;
  std::string upper = input.text;
  for (char& c : lower) c = c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c;
  for (char& c : upper) c = c >= 'a' && c <= 'z' ? static_cast<char>(c - 32) : c;
  ExactText text(input.text);
  Require(UTIL_stricmp(text.data(), ExactText(upper).data()) == 0, "case does not count");
  UTIL_ToLower(text.data());
  Require(text.data() == lower, "UTIL_ToLower converts A to Z");
  UTIL_ToUpper(text.data());
  Require(text.data() == upper, "UTIL_ToUpper converts a to z");
}

void CheckLengths(const Input& input) {
  const auto maximum = static_cast<uint32_t>(input.room());
  const size_t length = std::min<size_t>(input.text.size(), maximum);
  // A text without a terminator, as far as it may be looked at.
  ExactBuffer part(maximum);
  input.text.copy(part.data(), maximum);
  if (length < maximum) part.data()[length] = '\0';
  Require(UTIL_strnlen(part.data(), maximum) == length, "UTIL_strnlen looks at so many characters");

  ExactText text(input.text);
  Require(UTIL_strlen(text.data()) == input.text.size(), "UTIL_strlen counts all characters");
  const size_t found = input.delimiter != '\0' ? input.text.find(input.delimiter) : input.text.npos;
  Require(UTIL_strchrIndex(text.data(), input.delimiter) ==
              (found != input.text.npos ? static_cast<int32_t>(found) : -1),
          "UTIL_strchrIndex finds the first one");
}

void CheckCopies(const Input& input) {
  const std::string_view kept = std::string_view(input.text).substr(0, input.start);
  const size_t capacity = kept.size() + 1 + input.room();
  ExactBuffer buffer(capacity);
  ExactText text(input.text);
  UTIL_CopyString(buffer.data(), text.data(), static_cast<uint32_t>(kept.size() + 1));
  buffer.RequireText(kept, "UTIL_CopyString cuts to the capacity");
  UTIL_strncat(buffer.data(), text.data(), static_cast<uint8_t>(input.delimiter),
               static_cast<uint32_t>(capacity));
  const size_t most = std::min<size_t>(static_cast<uint8_t>(input.delimiter), input.room());
  buffer.RequireText(std::string(kept) + input.text.substr(0, most), "UTIL_strncat cuts too");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const Input input = ReadInput(fuzz::ByteSource(data, size));
  CheckUnsigned(input);
  CheckHex64(input);
  for (const bool flag : {false, true}) {
    CheckNumber64(input, flag);
    CheckLow32(input, flag);
    CheckTrim(input, flag, false);
    CheckTrim(input, flag, true);
  }
  CheckDottedQuad(input);
  CheckWord(input);
  CheckString(input);
  CheckListItem(input);
  CheckToken(input);
  CheckCharacters(input);
  CheckCase(input);
  CheckLengths(input);
  CheckCopies(input);
  return 0;
}
