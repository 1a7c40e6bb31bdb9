#include "tools/terminal_server/target.h"

#include <cstdio>
#include <utility>

namespace terminal_server {

namespace {

constexpr std::string_view kPrompt = "> ";
constexpr std::string_view kBlanks = " \t";

constexpr char kInterrupt = 0x03;
constexpr char kBackspace = 0x08;
constexpr char kEscape = 0x1B;
constexpr char kDelete = 0x7F;

bool IsControl(char byte) { return static_cast<uint8_t>(byte) < 0x20 || byte == kDelete; }

bool IsUtf8Continuation(char byte) { return (static_cast<uint8_t>(byte) & 0xC0) == 0x80; }

// The usual notation: 3 is "^C", 26 is "^Z".
std::string CaretForm(char control) { return {'^', static_cast<char>(control ^ 0x40)}; }

char ToLower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c; }

bool IsSameWord(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  for (size_t i = 0; i < a.size(); ++i) {
    if (ToLower(a[i]) != ToLower(b[i])) return false;
  }
  return true;
}

std::string_view WithoutLeadingBlanks(std::string_view text) {
  const size_t first = text.find_first_not_of(kBlanks);
  return first == std::string_view::npos ? std::string_view() : text.substr(first);
}

std::string_view WithoutBlanksAround(std::string_view text) {
  text = WithoutLeadingBlanks(text);
  return text.substr(0, text.find_last_not_of(kBlanks) + 1);
}

// Understands "on" and "off"; false for anything else, which leaves the state alone.
bool ParseSwitch(std::string_view word, bool* is_on) {
  word = WithoutBlanksAround(word);
  if (!IsSameWord(word, "on") && !IsSameWord(word, "off")) return false;
  *is_on = IsSameWord(word, "on");
  return true;
}

template <typename... Arguments>
std::string Format(const char* format, Arguments... arguments) {
  char text[160];
  snprintf(text, sizeof text, format, arguments...);
  return text;
}

std::string OnOrOff(bool is_on) { return is_on ? "on" : "off"; }

// A board that warms up and cools down between 23.0 and 27.0 degrees, 0.1 degrees each second.
std::string TemperatureAt(uint32_t uptime_ms) {
  constexpr uint32_t kSteps = 40;
  const uint32_t step = uptime_ms / 1000 % (2 * kSteps);
  const uint32_t tenths = 230 + (step <= kSteps ? step : 2 * kSteps - step);
  return Format("%u.%u C", tenths / 10, tenths % 10);
}

}  // namespace

const Target::Command Target::kCommands[] = {
    {"help", "", "lists the commands", &Target::Help},
    {"led", "on|off", "switches the LED", &Target::Led},
    {"temp", "", "shows the temperature", &Target::Temperature},
    {"uptime", "", "shows the time since the start", &Target::Uptime},
    {"echo", "TEXT", "shows the text", &Target::Echo},
    {"log", "on|off", "switches a log line every second", &Target::Log},
    {"reboot", "", "starts the target again and drops the connection", &Target::Reboot},
};

// ---- The outside ----

Target::Target(uint32_t now_ms) : now_ms_(now_ms) { PowerUp(); }

std::string Target::Attach() {
  link_is_down_ = false;
  input_ = Input::kText;
  line_.clear();
  ShowPrompt();
  return TakeOutput();
}

std::string Target::Receive(std::string_view bytes, uint32_t now_ms) {
  now_ms_ = now_ms;
  for (const char byte : bytes) {
    if (link_is_down_) break;
    TakeByte(byte);
  }
  return TakeOutput();
}

std::string Target::Poll(uint32_t now_ms) {
  now_ms_ = now_ms;
  const uint32_t late_ms = now_ms_ - log_due_ms_;
  const bool is_due = late_ms <= UINT32_MAX / 2;
  if (!log_is_on_ || link_is_down_ || !is_due) return {};
  log_due_ms_ = now_ms_ + kLogPeriodMs - late_ms % kLogPeriodMs;
  PrintLine("");
  PrintLine(Format("[%5u.%03u] temp %s, led %s", UptimeMs() / 1000, UptimeMs() % 1000,
                   TemperatureAt(UptimeMs()).c_str(), OnOrOff(led_is_on_).c_str()));
  ShowPrompt();
  return TakeOutput();
}

// ---- The line editor ----

void Target::TakeByte(char byte) {
  if (TakeEscapeSequence(byte)) return;
  const bool is_second_half_of_line_end = input_ == Input::kAfterCarriageReturn && byte == '\n';
  input_ = byte == '\r' ? Input::kAfterCarriageReturn : Input::kText;
  if (is_second_half_of_line_end) return;
  if (byte == '\r' || byte == '\n') return EndLine();
  if (byte == kBackspace || byte == kDelete) return EraseLastCharacter(byte);
  if (byte == '\t') return TakeText(' ');
  if (IsControl(byte)) return TakeControl(byte);
  TakeText(byte);
}

// A sequence is ESC and one more byte, or ESC, "[" or "O", and everything up to a byte from "@" to
// "~". A control key in the middle breaks it off and means what it always means.
bool Target::TakeEscapeSequence(char byte) {
  if (byte == kEscape) {
    input_ = Input::kAfterEscape;
    return true;
  }
  const bool is_within = input_ == Input::kAfterEscape || input_ == Input::kInSequence;
  if (!is_within || IsControl(byte)) return false;
  const bool opens = input_ == Input::kAfterEscape && (byte == '[' || byte == 'O');
  const bool goes_on = input_ == Input::kInSequence && (byte < '@' || byte > '~');
  input_ = opens || goes_on ? Input::kInSequence : Input::kText;
  return true;
}

void Target::TakeControl(char byte) {
  if (byte == '\0') return;
  if (byte == kInterrupt) line_.clear();
  Print(CaretForm(byte));
  ShowPromptInNewRow();
}

void Target::TakeText(char byte) {
  if (line_.size() < kLineLimit) line_ += byte;
}

void Target::EndLine() {
  RunLine();
  line_.clear();
  if (!link_is_down_) ShowPrompt();
}

// The terminal has shown the key itself already: a backspace has moved the cursor, a delete has
// not.
void Target::EraseLastCharacter(char key) {
  if (line_.empty()) return;
  while (line_.size() > 1 && IsUtf8Continuation(line_.back())) line_.pop_back();
  line_.pop_back();
  Print(key == kDelete ? "\b \b" : " \b");
}

// ---- Commands ----

void Target::RunLine() {
  const std::string_view text = WithoutLeadingBlanks(line_);
  const std::string_view word = text.substr(0, text.find_first_of(kBlanks));
  if (word.empty()) return;
  for (const Command& command : kCommands) {
    if (IsSameWord(word, command.name)) return RunCommand(command, text.substr(word.size()));
  }
  PrintLine("Unknown command \"" + std::string(word) + "\". Type \"help\" for the commands.");
}

void Target::RunCommand(const Command& command, std::string_view arguments) {
  const bool takes_none = command.arguments.empty();
  const bool has_too_many = takes_none && !WithoutBlanksAround(arguments).empty();
  if (!has_too_many && (this->*command.handler)(arguments)) return;
  Print("Usage: ");
  Print(command.name);
  if (!takes_none) Print(" ");
  PrintLine(command.arguments);
}

bool Target::Help(std::string_view) {
  for (const Command& command : kCommands) {
    const std::string usage = std::string(command.name) + " " + std::string(command.arguments);
    PrintLine(Format("  %-12s  %s", usage.c_str(), command.help.data()));
  }
  return true;
}

bool Target::Led(std::string_view arguments) {
  if (!ParseSwitch(arguments, &led_is_on_)) return false;
  PrintLine("LED is " + OnOrOff(led_is_on_) + ".");
  return true;
}

bool Target::Temperature(std::string_view) {
  PrintLine("Temperature: " + TemperatureAt(UptimeMs()));
  return true;
}

bool Target::Uptime(std::string_view) {
  const uint32_t seconds = UptimeMs() / 1000;
  PrintLine(Format("Up for %u:%02u:%02u.%03u", seconds / 3600, seconds / 60 % 60, seconds % 60,
                   UptimeMs() % 1000));
  return true;
}

// The one blank that parts the word from the text does not belong to the text; further ones do.
bool Target::Echo(std::string_view arguments) {
  if (!arguments.empty()) arguments.remove_prefix(1);
  PrintLine(arguments);
  return true;
}

bool Target::Log(std::string_view arguments) {
  if (!ParseSwitch(arguments, &log_is_on_)) return false;
  log_due_ms_ = now_ms_ + kLogPeriodMs;
  PrintLine("Log is " + OnOrOff(log_is_on_) + ".");
  return true;
}

bool Target::Reboot(std::string_view) {
  PrintLine("Rebooting ...");
  PowerUp();
  link_is_down_ = true;
  return true;
}

// ---- State and output ----

void Target::PowerUp() {
  boot_ms_ = now_ms_;
  led_is_on_ = false;
  log_is_on_ = false;
}

void Target::PrintLine(std::string_view text) {
  Print(text);
  Print("\r\n");
}

// Whatever has been typed of the line is still the line, so it is shown again with the prompt.
void Target::ShowPrompt() {
  Print(kPrompt);
  Print(line_);
}

void Target::ShowPromptInNewRow() {
  PrintLine("");
  ShowPrompt();
}

std::string Target::TakeOutput() { return std::exchange(output_, {}); }

}  // namespace terminal_server
