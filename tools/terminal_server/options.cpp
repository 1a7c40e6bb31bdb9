// SPDX-License-Identifier: MIT

#include "tools/terminal_server/options.h"

#include <charconv>

namespace terminal_server {

namespace {

// The whole text as a number, or nothing.
template <typename Number>
std::optional<Number> ParseNumber(std::string_view text, int base = 10) {
  Number number{};
  const char* const end = text.data() + text.size();
  const auto [stop, result] = std::from_chars(text.data(), end, number, base);
  if (result != std::errc{} || stop != end) return std::nullopt;
  return number;
}

// Each takes the value of one option and says whether it is good.
bool TakePort(std::string_view value, Options& options) {
  const auto port = ParseNumber<uint16_t>(value);
  options.port = port.value_or(0);
  return port.has_value();
}

bool TakeWelcome(std::string_view value, Options& options) {
  options.welcome = ExpandEscapes(value);
  return options.welcome.has_value();
}

bool TakeWelcomeDelay(std::string_view value, Options& options) {
  const auto delay_ms = ParseNumber<uint32_t>(value);
  options.welcome_delay_ms = delay_ms.value_or(0);
  return delay_ms.has_value();
}

bool TakeRefusal(std::string_view value, Options& options) {
  options.refusal = value;
  return true;
}

struct ValueOption {
  std::string_view name;
  bool (*take)(std::string_view value, Options& options);
  std::string_view expected;
};

constexpr ValueOption kValueOptions[] = {
    {"--port", TakePort, "a number from 0 to 65535"},
    {"--welcome", TakeWelcome, "a text with the escapes \\r \\n \\t \\\\ \\xNN"},
    {"--welcome-delay", TakeWelcomeDelay, "a number of milliseconds"},
    {"--refuse", TakeRefusal, "a reason"},
};

const ValueOption* FindValueOption(std::string_view name) {
  for (const ValueOption& option : kValueOptions) {
    if (option.name == name) return &option;
  }
  return nullptr;
}

}  // namespace

std::optional<std::string> ExpandEscapes(std::string_view text) {
  std::string expanded;
  while (!text.empty()) {
    const char first = text.front();
    text.remove_prefix(1);
    if (first != '\\') {
      expanded += first;
      continue;
    }
    if (text.empty()) return std::nullopt;
    constexpr std::string_view kLetters = "rnt\\";
    constexpr std::string_view kValues = "\r\n\t\\";
    const size_t index = kLetters.find(text.front());
    if (index != std::string_view::npos) {
      expanded += kValues[index];
      text.remove_prefix(1);
    } else {
      const auto byte = ParseNumber<uint8_t>(text.substr(1, 2), 16);
      if (text.front() != 'x' || text.size() < 3 || !byte) return std::nullopt;
      expanded += static_cast<char>(*byte);
      text.remove_prefix(3);
    }
  }
  return expanded;
}

std::optional<Options> ParseOptions(const std::vector<std::string>& words, std::string& error) {
  Options options;
  for (size_t i = 0; i < words.size(); ++i) {
    const std::string& word = words[i];
    if (word == "--help") {
      options.wants_help = true;
      continue;
    }
    if (word == "--echo") {
      options.echo = true;
      continue;
    }
    const ValueOption* const option = FindValueOption(word);
    if (option == nullptr) {
      error = "unknown option \"" + word + "\"";
      return std::nullopt;
    }
    ++i;
    if (i == words.size() || !option->take(words[i], options)) {
      error = word + " takes " + std::string(option->expected);
      return std::nullopt;
    }
  }
  return options;
}

}  // namespace terminal_server
