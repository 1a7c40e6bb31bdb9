// SPDX-License-Identifier: MIT

// The command line: its result, its settings and its output are those that a plain reading of the
// options gives.
//
// Input: the arguments, each ended by a zero byte.
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <string>
#include <vector>

#include "client/client.h"
#include "fuzz/support/byte_source.h"
#include "fuzz/support/check.h"
#include "fuzz/support/exact_buffer.h"

namespace {

using fuzz::Require;

// ---- What is printed ----

// Standard output for the whole process: a file in memory.
class PrintedText {
 public:
  PrintedText() : file_(memfd_create("stdout", 0)) {
    Require(file_ >= 0 && dup2(file_, STDOUT_FILENO) >= 0, "the output can be caught");
  }

  // What was printed since the last call.
  std::string Take() {
    fflush(stdout);
    const off_t length = lseek(STDOUT_FILENO, 0, SEEK_CUR);
    std::string text(static_cast<size_t>(length), '\0');
    Require(pread(file_, text.data(), text.size(), 0) == length, "the output can be read");
    lseek(STDOUT_FILENO, 0, SEEK_SET);
    return text;
  }

 private:
  int file_;
};

// ---- The plain reading ----

struct Outcome {
  int32_t result = 0;
  uint16_t port = 0;
  uint8_t is_echo_on = 1;
  std::string printed;
};

std::string Lower(std::string text) {
  for (char& character : text) {
    if (character >= 'A' && character <= 'Z') character = static_cast<char>(character + 32);
  }
  return text;
}

constexpr char kHexDigits[] = "0123456789abcdefABCDEF";
constexpr char kDecimalDigits[] = "0123456789";

// The port, or else an error.
std::optional<uint32_t> ReadPort(const std::string& value, std::string* error) {
  std::string digits = value.substr(std::min(value.find_first_not_of(" \t\n\r"), value.size()));
  const bool is_hex = digits.starts_with("0x");
  if (is_hex) digits.erase(0, 2);
  digits.resize(
      std::min(digits.find_first_not_of(is_hex ? kHexDigits : kDecimalDigits), digits.size()));
  if (digits.empty()) {
    *error = is_hex ? "Expected a hexadecimal digit (0-9, A-F) after hex specified \"0x\""
                    : "Expected an decimal digit (0-9)";
    *error += " after option \"-vqxtelnetport\".\nVQX Client will close.";
    return {};
  }
  uint32_t port = 0;
  for (const char digit : digits) {
    const std::string one(1, digit);
    port = port * (is_hex ? 16 : 10) + static_cast<uint32_t>(strtoul(one.c_str(), nullptr, 16));
  }
  if (port < 65536) return port;
  *error = "Given port (" + std::to_string(static_cast<int32_t>(port)) +
           ") is > 65535. \nVQX Client will close.";
  return {};
}

std::string TakePort(const std::string* value, Outcome* outcome) {
  if (value == nullptr) {
    return "Missing command line parameter after option \"-vqxtelnetport\".\n"
           "VQX Client will close.";
  }
  std::string error;
  if (const auto port = ReadPort(*value, &error)) outcome->port = static_cast<uint16_t>(*port);
  return error;
}

std::string TakeEcho(const std::string& option, const std::string* value, Outcome* outcome) {
  if (value == nullptr) {
    return "Command line parameter " + option +
           " must be followed by an option.\nValid options are: \"On\", \"Off\".";
  }
  const std::string word = Lower(*value);
  if (word != "on" && word != "off") {
    return "Invalid option \"" + *value +
           "\" following command line parameter -LocalEcho.\nValid options are: \"On\", \"Off\".";
  }
  outcome->is_echo_on = word == "on" ? 1 : 0;
  return {};
}

Outcome Read(const std::vector<std::string>& arguments) {
  Outcome outcome;
  for (size_t i = 1; i < arguments.size(); ++i) {
    const std::string* const value = i + 1 < arguments.size() ? &arguments[i + 1] : nullptr;
    const std::string option = Lower(arguments[i]);
    std::string error;
    if (option == "-?" || option == "?") {
      outcome.printed +=
          "###VQX Client: Available commands:\n"
          "###VQX Client: -VQXTelnetPort <Port> (default: 19021)\n"
          "###VQX Client: -LocalEcho <On/Off> (default: On)\n";
    } else if (option == "-vqxtelnetport") {
      error = TakePort(value, &outcome);
      ++i;
    } else if (option == "-localecho") {
      error = TakeEcho(arguments[i], value, &outcome);
      ++i;
    } else {
      error = "Unknown command line parameter " + arguments[i] + " found.";
    }
    if (error.empty()) continue;
    error.resize(std::min<size_t>(error.size(), 511));
    outcome.printed += "\n###VQX Client ERROR: " + error;
    outcome.result = -1;
    return outcome;
  }
  return outcome;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static PrintedText printed;
  std::vector<std::string> arguments = {"vqxclient"};
  for (fuzz::ByteSource bytes(data, size); !bytes.is_empty();) arguments.push_back(bytes.Text());

  std::vector<fuzz::ExactText> texts(arguments.begin(), arguments.end());
  std::vector<const char*> argv;
  for (fuzz::ExactText& text : texts) argv.push_back(text.data());

  _Port = 0;
  _LocalEchoOn = 1;
  const int32_t result = _ParseCmdLine(static_cast<int32_t>(argv.size()), argv.data());
  const Outcome expected = Read(arguments);
  Require(result == expected.result, "the result tells whether all arguments are good");
  Require(_Port == expected.port, "the port is the last good one");
  Require(_LocalEchoOn == expected.is_echo_on, "the echo is as the last word about it says");
  Require(printed.Take() == expected.printed, "help and error are printed, and nothing else");
  return 0;
}
