// SPDX-License-Identifier: MIT

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "client/client.h"

namespace {

using testing::internal::CaptureStdout;
using testing::internal::GetCapturedStdout;

struct Outcome {
  int32_t result;
  std::string output;
};

// Parses the words behind the program's name, from the state that the program starts the parser in.
Outcome Parse(std::vector<const char*> words) {
  _Port = 0;
  _LocalEchoOn = 1;
  words.insert(words.begin(), "vqxclient");
  CaptureStdout();
  const int32_t result = _ParseCmdLine(static_cast<int32_t>(words.size()), words.data());
  return {result, GetCapturedStdout()};
}

constexpr char kHelp[] =
    "###VQX Client: Available commands:\n"
    "###VQX Client: -VQXTelnetPort <Port> (default: 19021)\n"
    "###VQX Client: -LocalEcho <On/Off> (default: On)\n";

void ExpectAccepted(const Outcome& outcome) {
  EXPECT_EQ(outcome.result, 0);
  EXPECT_EQ(outcome.output, "");
}

// The message stands alone behind the prefix of errors, with no line end after it.
void ExpectRefused(const Outcome& outcome, const std::string& message) {
  EXPECT_EQ(outcome.result, -1);
  EXPECT_EQ(outcome.output, "\n###VQX Client ERROR: " + message);
}

TEST(ClientDigits, DecDigitIsOneForZeroToNineAlone) {
  for (int character = -128; character < 128; ++character) {
    const int expected = character >= 0x30 && character <= 0x39 ? 1 : 0;
    EXPECT_EQ(_IsDecDigit(static_cast<char>(character)), expected) << character;
  }
}

TEST(ClientDigits, HexDigitValueKnowsBothCasesAndGivesMinusOneOtherwise) {
  const struct {
    char character;
    int32_t value;
  } rows[] = {
      {'0', 0},  {'9', 9},   {'a', 10}, {'f', 15}, {'A', 10},    {'F', 15},
      {'g', -1}, {'G', -1},  {'/', -1}, {':', -1}, {'@', -1},    {'`', -1},
      {' ', -1}, {'\0', -1}, {'x', -1}, {'-', -1}, {'\x80', -1}, {'\xFF', -1},
  };
  for (const auto& row : rows) EXPECT_EQ(_HexDigitValue(row.character), row.value) << row.character;
}

TEST(ClientCommandLine, NoArgumentsKeepTheDefaults) {
  ExpectAccepted(Parse({}));
  EXPECT_EQ(_Port, 0);
  EXPECT_EQ(_LocalEchoOn, 1);
}

TEST(ClientCommandLine, BothHelpWordsPrintThreeLinesAndSucceed) {
  for (const char* const word : {"?", "-?"}) {
    const Outcome outcome = Parse({word});
    EXPECT_EQ(outcome.result, 0);
    EXPECT_EQ(outcome.output, kHelp);
  }
}

TEST(ClientCommandLine, ArgumentsAfterHelpAreStillParsed) {
  EXPECT_EQ(Parse({"?", "-VQXTelnetPort", "80", "-?"}).output, std::string(kHelp) + kHelp);
  EXPECT_EQ(_Port, 80);
}

TEST(ClientCommandLine, ErrorAfterHelpFailsAfterTheHelp) {
  const Outcome outcome = Parse({"?", "nonsense"});
  EXPECT_EQ(outcome.result, -1);
  EXPECT_EQ(outcome.output, std::string(kHelp) +
                                "\n###VQX Client ERROR: "
                                "Unknown command line parameter nonsense found.");
}

TEST(ClientCommandLine, OptionWordsMatchInAnyCase) {
  for (const char* const word : {"-VQXTelnetPort", "-vqxtelnetport", "-VQXTELNETPORT"}) {
    ExpectAccepted(Parse({word, "19022"}));
    EXPECT_EQ(_Port, 19022) << word;
  }
  for (const char* const word : {"-LocalEcho", "-localecho", "-LOCALECHO"}) {
    ExpectAccepted(Parse({word, "Off"}));
    EXPECT_EQ(_LocalEchoOn, 0) << word;
  }
}

TEST(ClientCommandLine, OptionWordsMatchOnlyAsWholeWords) {
  for (const char* const word : {"-VQXTelnetPor", "-VQXTelnetPort1", "-LocalEcho=Off", "--?", "??",
                                 "VQXTelnetPort", "", " ?"}) {
    ExpectRefused(Parse({word, "1"}),
                  std::string("Unknown command line parameter ") + word + " found.");
  }
}

TEST(ClientCommandLine, UnknownWordIsShownAsTyped) {
  ExpectRefused(Parse({"-FooBar"}), "Unknown command line parameter -FooBar found.");
}

TEST(ClientCommandLine, PortOptionWithoutValueIsRefused) {
  ExpectRefused(Parse({"-VQXTelnetPort"}),
                "Missing command line parameter after option \"-vqxtelnetport\".\n"
                "VQX Client will close.");
}

TEST(ClientCommandLine, PortValuesAreStored) {
  const struct {
    const char* value;
    uint16_t port;
  } rows[] = {
      {"19021", 19021},     {"1", 1},
      {"65535", 65535},     {"0", 0},  // accepted; the program puts the default port in its place
      {"00080", 80},        {"0x4A4D", 19021},
      {"0x4a4d", 19021},    {"0xFfFf", 65535},
      {"0X1234", 0},  // a capital X is no prefix: the number 0, then text that ends it
      {"19021abc", 19021},  {"80 90", 80},
      {"80.5", 80},         {"0x50g", 80},
      {" 80", 80},          {"\t80", 80},
      {" \t\r\n 0x50", 80}, {"4294967376", 80},  // 2^32 + 80 wraps to 80
      {"4294967296", 0},                         // 2^32 wraps to 0
      {"0x100000050", 80},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.value);
    ExpectAccepted(Parse({"-VQXTelnetPort", row.value}));
    EXPECT_EQ(_Port, row.port);
  }
}

TEST(ClientCommandLine, PortValueAboveTheRangeIsRefusedAsASignedNumber) {
  const struct {
    const char* value;
    const char* shown;
  } rows[] = {
      {"65536", "65536"},   {"99999", "99999"}, {"0x10000", "65536"}, {"2147483648", "-2147483648"},
      {"4294967295", "-1"},
  };
  for (const auto& row : rows) {
    ExpectRefused(
        Parse({"-VQXTelnetPort", row.value}),
        std::string("Given port (") + row.shown + ") is > 65535. \nVQX Client will close.");
    EXPECT_EQ(_Port, 0);
  }
}

TEST(ClientCommandLine, PortValueWithoutADecimalDigitIsRefused) {
  // Vertical tab and form feed are not skipped.
  for (const char* const value : {"-5", "+5", "abc", "", "  ", "x50", "\v80", "\f80", "."}) {
    SCOPED_TRACE(value);
    ExpectRefused(Parse({"-VQXTelnetPort", value}),
                  "Expected an decimal digit (0-9) after option \"-vqxtelnetport\".\n"
                  "VQX Client will close.");
  }
}

TEST(ClientCommandLine, HexPrefixWithoutAHexDigitIsRefused) {
  for (const char* const value : {"0x", "0xG1", "0x 1", " 0x-1"}) {
    SCOPED_TRACE(value);
    ExpectRefused(Parse({"-VQXTelnetPort", value}),
                  "Expected a hexadecimal digit (0-9, A-F) after hex specified \"0x\""
                  " after option \"-vqxtelnetport\".\nVQX Client will close.");
  }
}

TEST(ClientCommandLine, LocalEchoTakesOnAndOffInAnyCase) {
  for (const char* const value : {"Off", "OFF", "off", "oFF"}) {
    ExpectAccepted(Parse({"-LocalEcho", value}));
    EXPECT_EQ(_LocalEchoOn, 0) << value;
  }
  for (const char* const value : {"On", "ON", "on"}) {
    ExpectAccepted(Parse({"-LocalEcho", "Off", "-LocalEcho", value}));
    EXPECT_EQ(_LocalEchoOn, 1) << value;
  }
}

TEST(ClientCommandLine, LocalEchoWithoutValueIsRefusedAndShowsTheOptionAsTyped) {
  ExpectRefused(Parse({"-LOCALecho"}),
                "Command line parameter -LOCALecho must be followed by an option.\n"
                "Valid options are: \"On\", \"Off\".");
}

TEST(ClientCommandLine, LocalEchoWithAnotherWordIsRefused) {
  for (const std::string value : {"yes", "", "Onn", "O", "-VQXTelnetPort"}) {
    ExpectRefused(Parse({"-LocalEcho", value.c_str()}),
                  "Invalid option \"" + value +
                      "\" following command line parameter -LocalEcho.\n"
                      "Valid options are: \"On\", \"Off\".");
    EXPECT_EQ(_LocalEchoOn, 1);
  }
}

TEST(ClientCommandLine, LastOfRepeatedOptionsWins) {
  ExpectAccepted(Parse({"-VQXTelnetPort", "80", "-LocalEcho", "Off", "-VQXTelnetPort", "81"}));
  EXPECT_EQ(_Port, 81);
  EXPECT_EQ(_LocalEchoOn, 0);
}

TEST(ClientCommandLine, WhatStoodBeforeAnErrorStaysSet) {
  ExpectRefused(Parse({"-VQXTelnetPort", "80", "-LocalEcho", "Off", "what"}),
                "Unknown command line parameter what found.");
  EXPECT_EQ(_Port, 80);
  EXPECT_EQ(_LocalEchoOn, 0);
}

TEST(ClientCommandLine, NothingIsLookedAtBehindAnError) {
  ExpectRefused(Parse({"what", "-VQXTelnetPort", "80", "?"}),
                "Unknown command line parameter what found.");
  EXPECT_EQ(_Port, 0);
}

TEST(ClientCommandLine, OverlongWordIsCutWithTheErrorTextAt511Characters) {
  const std::string word(2000, 'w');
  // "Unknown command line parameter " has 31 characters: 480 of the word fit.
  ExpectRefused(Parse({word.c_str()}), "Unknown command line parameter " + std::string(480, 'w'));
}

}  // namespace
