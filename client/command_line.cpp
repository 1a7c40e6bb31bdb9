// SPDX-License-Identifier: MIT

#include <cstdio>

#include "client/client.h"
#include "util/format.h"
#include "util/text.h"

uint16_t _Port = 0;
uint8_t _LocalEchoOn = 0;

namespace {

// The parser's error text. A first character that is not zero is the one sign of failure.
struct ErrorText {
  char text[512] = "";
};

constexpr const char* kHelpLines[] = {
    "Available commands:\n",
    "-VQXTelnetPort <Port> (default: 19021)\n",
    "-LocalEcho <On/Off> (default: On)\n",
};

bool IsBlank(char character) {
  return character == ' ' || character == '\t' || character == '\n' || character == '\r';
}

bool IsEqual(const char* first, const char* second) { return UTIL_stricmp(first, second) == 0; }

// Digits are taken as long as they last and what follows them is not looked at. The value wraps at
// 32 bits without complaint, on purpose: 4294967376 is port 80.
uint32_t ReadDigits(const char* text, uint32_t base) {
  uint32_t value = 0;
  for (; _HexDigitValue(*text) >= 0 && (base == 16 || _IsDecDigit(*text)); ++text) {
    value = value * base + static_cast<uint32_t>(_HexDigitValue(*text));
  }
  return value;
}

// On failure fills number_error (of the given capacity) and returns 0.
uint32_t ParseNumber(const char* text, char* number_error, uint32_t capacity) {
  while (IsBlank(*text)) ++text;
  // A capital "0X" is no hexadecimal prefix, on purpose: it reads as the number 0.
  if (text[0] == '0' && text[1] == 'x') {
    text += 2;
    if (_HexDigitValue(*text) >= 0) return ReadDigits(text, 16);
    UTIL_CopyString(number_error,
                    "Expected a hexadecimal digit (0-9, A-F) after hex specified \"0x\"", capacity);
    return 0;
  }
  if (_IsDecDigit(*text)) return ReadDigits(text, 10);
  UTIL_CopyString(number_error, "Expected an decimal digit (0-9)", capacity);
  return 0;
}

void TakeHelp(const char*, const char*, ErrorText&) {
  for (const char* const line : kHelpLines) printf("%s%s", kStatusPrefix, line);
}

void TakePort(const char*, const char* value, ErrorText& error) {
  if (value == nullptr) {
    UTIL_snprintf(error.text, sizeof error.text,
                  "Missing command line parameter after option \"-vqxtelnetport\".\n"
                  "VQX Client will close.");
    return;
  }
  char number_error[256] = "";
  const uint32_t port = ParseNumber(value, number_error, sizeof number_error);
  if (number_error[0] != '\0') {
    UTIL_snprintf(error.text, sizeof error.text,
                  "%s after option \"-vqxtelnetport\".\nVQX Client will close.", number_error);
  } else if (port >= 65536) {
    UTIL_snprintf(error.text, sizeof error.text,
                  "Given port (%d) is > 65535. \nVQX Client will close.", port);
  } else {
    _Port = static_cast<uint16_t>(port);
  }
}

void TakeLocalEcho(const char* option, const char* value, ErrorText& error) {
  if (value == nullptr) {
    UTIL_snprintf(error.text, sizeof error.text,
                  "Command line parameter %s must be followed by an option.\n"
                  "Valid options are: \"On\", \"Off\".",
                  option);
  } else if (IsEqual(value, "On")) {
    _LocalEchoOn = 1;
  } else if (IsEqual(value, "Off")) {
    _LocalEchoOn = 0;
  } else {
    UTIL_snprintf(error.text, sizeof error.text,
                  "Invalid option \"%s\" following command line parameter -LocalEcho.\n"
                  "Valid options are: \"On\", \"Off\".",
                  value);
  }
}

void TakeUnknown(const char* option, const char*, ErrorText& error) {
  UTIL_snprintf(error.text, sizeof error.text, "Unknown command line parameter %s found.", option);
}

struct Option {
  const char* name;
  int32_t words;  // the option's own word and its value's
  // value is null when the command line ends before it.
  void (*take)(const char* option, const char* value, ErrorText& error);
};

constexpr Option kOptions[] = {
    {"-?", 1, TakeHelp},
    {"?", 1, TakeHelp},
    {"-vqxtelnetport", 2, TakePort},
    {"-LocalEcho", 2, TakeLocalEcho},
};
constexpr Option kUnknownOption = {"", 1, TakeUnknown};

const Option& FindOption(const char* word) {
  for (const Option& option : kOptions) {
    if (IsEqual(word, option.name)) return option;
  }
  return kUnknownOption;
}

}  // namespace

int32_t _IsDecDigit(char character) { return character >= '0' && character <= '9' ? 1 : 0; }

int32_t _HexDigitValue(char character) {
  if (_IsDecDigit(character)) return character - '0';
  if (character >= 'a' && character <= 'f') return character - 'a' + 10;
  if (character >= 'A' && character <= 'F') return character - 'A' + 10;
  return -1;
}

int32_t _ParseCmdLine(int32_t argc, const char* const* argv) {
  ErrorText error;
  for (int32_t i = 1; i < argc;) {
    const Option& option = FindOption(argv[i]);
    option.take(argv[i], i + 1 < argc ? argv[i + 1] : nullptr, error);
    if (error.text[0] != '\0') {
      printf("%s%s", kErrorPrefix, error.text);
      return -1;
    }
    i += option.words;
  }
  return 0;
}
