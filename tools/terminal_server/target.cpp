// SPDX-License-Identifier: MIT

#include "tools/terminal_server/target.h"

#include <cstdio>
#include <iterator>
#include <utility>

namespace terminal_server {

namespace {

constexpr std::string_view kPrompt = "> ";
constexpr std::string_view kBlanks = " \t";

constexpr char kInterrupt = 0x03;
constexpr char kBackspace = 0x08;
constexpr char kKill = 0x15;
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

std::string UsageOf(std::string_view name, std::string_view arguments) {
  return std::string(name) + (arguments.empty() ? "" : " ") + std::string(arguments);
}

std::string OnOrOff(bool is_on) { return is_on ? "on" : "off"; }

// A board that warms up and cools down between 23.0 and 27.0 degrees, 0.1 degrees each second.
uint32_t TenthsOfDegreesAt(uint32_t uptime_ms) {
  constexpr uint32_t kSteps = 40;
  const uint32_t step = uptime_ms / 1000 % (2 * kSteps);
  return 230 + (step <= kSteps ? step : 2 * kSteps - step);
}

std::string TemperatureAt(uint32_t uptime_ms) {
  const uint32_t tenths = TenthsOfDegreesAt(uptime_ms);
  return Format("%u.%u C", tenths / 10, tenths % 10);
}

// From which temperature on a log line is a warning, and an error.
constexpr uint32_t kWarmTenths = 250;
constexpr uint32_t kHotTenths = 265;

// How the lines of a level look, in the order of Target::Level.
struct LevelStyle {
  std::string_view name;
  std::string_view mark;
  std::string_view color;  // ISO/IEC 6429, 8.3.117, Select Graphic Rendition
};

constexpr LevelStyle kLevelStyles[] = {
    {"debug", "debug: ", "\x1B[36m"},
    {"info", "", "\x1B[32m"},
    {"warn", "warn: ", "\x1B[33m"},
    {"error", "error: ", "\x1B[1;31m"},
};
constexpr std::string_view kNoColor = "\x1B[0m";

}  // namespace

// clang-format off
const Target::Command Target::kCommands[] = {
    {"help", "", "lists the commands", &Target::Help},
    {"led", "on|off", "switches the LED", &Target::Led},
    {"temp", "", "shows the temperature", &Target::Temperature},
    {"uptime", "", "shows the time since the start", &Target::Uptime},
    {"count", "", "counts starts, and connections since the last one", &Target::Count},
    {"echo", "TEXT", "shows the text", &Target::Echo},
    {"keyecho", "on|off", "echoes what is typed, for use with -LocalEcho Off", &Target::KeyEcho},
    {"log", "on|off", "switches a log line every second", &Target::Log},
    {"log", "debug|info|warn|error", "switches it on from that level on", &Target::LogFrom},
    {"log", "color on|off", "colours the log by level", &Target::LogColor},
    {"drop", "", "drops the connection and goes on", &Target::Drop},
    {"reboot", "", "starts the target again and drops the connection", &Target::Reboot},
};
// clang-format on

// ---- The outside ----

Target::Target(uint32_t now_ms, bool echo_is_on) : now_ms_(now_ms), echo_is_on_(echo_is_on) {
  PowerUp();
}

std::string Target::Attach() {
  ++connections_;
  link_is_down_ = false;
  input_ = Input::kText;
  line_.clear();
  ShowPrompt();
  return TakeOutput();
}

std::string Target::Greeting() const {
  return "M-Bolt demo target, terminal channel 0\r\n" + (connections_ == 1 ? BootLog() : "") +
         Counts() + "\r\nType \"help\" for the commands.\r\n";
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
  const uint32_t tenths = TenthsOfDegreesAt(UptimeMs());
  const Level level = tenths >= kHotTenths    ? Level::kError
                      : tenths >= kWarmTenths ? Level::kWarn
                                              : Level::kInfo;
  if (!IsLogged(level)) return {};
  PrintLine("");
  Print(LogLine(level, UptimeMs(),
                "temp " + TemperatureAt(UptimeMs()) + ", led " + OnOrOff(led_is_on_)));
  ShowPrompt();
  return TakeOutput();
}

// ---- The line editor ----

void Target::TakeByte(char byte) {
  if (TakeEscapeSequence(byte)) return;
  const bool is_second_half_of_line_end = input_ == Input::kAfterCarriageReturn && byte == '\n';
  input_ = byte == '\r' ? Input::kAfterCarriageReturn : Input::kText;
  if (is_second_half_of_line_end) return;
  if (byte == '\r' || byte == '\n') return EndLine(byte);
  if (byte == kBackspace || byte == kDelete) return EraseLastCharacter(byte);
  if (byte == kKill) return EraseLine();
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
  if (line_.size() >= kLineLimit) return;
  line_ += byte;
  if (echo_is_on_) Print({&byte, 1});
}

// With "log debug" a user sees what the Enter key has become on its way.
void Target::EndLine(char key) {
  if (echo_is_on_) PrintLine("");
  if (IsLogged(Level::kDebug)) {
    Print(
        LogLine(Level::kDebug, UptimeMs(),
                Format("line of %zu bytes, ended by %s", line_.size(), key == '\r' ? "CR" : "LF")));
  }
  RunLine();
  line_.clear();
  if (!link_is_down_) ShowPrompt();
}

// A terminal that shows the keys itself has moved the cursor for a backspace already, and for a
// delete it has not.
void Target::EraseLastCharacter(char key) {
  if (line_.empty()) return;
  while (line_.size() > 1 && IsUtf8Continuation(line_.back())) line_.pop_back();
  line_.pop_back();
  Print(key == kBackspace && !echo_is_on_ ? " \b" : "\b \b");
}

void Target::EraseLine() {
  while (!line_.empty()) EraseLastCharacter(kDelete);
}

// ---- Commands ----

void Target::RunLine() {
  const std::string_view text = WithoutLeadingBlanks(line_);
  const std::string_view word = text.substr(0, text.find_first_of(kBlanks));
  if (word.empty()) return;
  bool is_known = false;
  for (const Command& command : kCommands) {
    if (!IsSameWord(word, command.name)) continue;
    if (RunCommand(command, text.substr(word.size()))) return;
    is_known = true;
  }
  if (is_known) return PrintUsage(word);
  PrintLine("Unknown command \"" + std::string(word) + "\". Type \"help\" for the commands.");
}

// False when the arguments are not those of this form of the command; nothing has happened then.
bool Target::RunCommand(const Command& command, std::string_view arguments) {
  if (command.arguments.empty() && !WithoutBlanksAround(arguments).empty()) return false;
  return (this->*command.handler)(arguments);
}

void Target::PrintUsage(std::string_view name) {
  std::string_view before = "Usage: ";
  for (const Command& command : kCommands) {
    if (!IsSameWord(name, command.name)) continue;
    Print(before);
    PrintLine(UsageOf(command.name, command.arguments));
    before = "       ";
  }
}

bool Target::Help(std::string_view) {
  for (const Command& command : kCommands) {
    PrintLine(Format("  %-25s  %s", UsageOf(command.name, command.arguments).c_str(),
                     command.help.data()));
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

bool Target::Count(std::string_view) {
  PrintLine(Counts());
  return true;
}

// The one blank that parts the word from the text does not belong to the text; further ones do.
bool Target::Echo(std::string_view arguments) {
  if (!arguments.empty()) arguments.remove_prefix(1);
  PrintLine(arguments);
  return true;
}

bool Target::KeyEcho(std::string_view arguments) {
  if (!ParseSwitch(arguments, &echo_is_on_)) return false;
  PrintLine("Key echo is " + OnOrOff(echo_is_on_) + ".");
  return true;
}

bool Target::Log(std::string_view arguments) {
  if (!ParseSwitch(arguments, &log_is_on_)) return false;
  log_due_ms_ = now_ms_ + kLogPeriodMs;
  PrintLine("Log is " + OnOrOff(log_is_on_) + ".");
  return true;
}

bool Target::LogFrom(std::string_view arguments) {
  const std::string_view word = WithoutBlanksAround(arguments);
  for (size_t i = 0; i < std::size(kLevelStyles); ++i) {
    if (!IsSameWord(word, kLevelStyles[i].name)) continue;
    log_is_on_ = true;
    log_level_ = static_cast<Level>(i);
    log_due_ms_ = now_ms_ + kLogPeriodMs;
    PrintLine("Log is on from " + std::string(kLevelStyles[i].name) + " on.");
    return true;
  }
  return false;
}

bool Target::LogColor(std::string_view arguments) {
  const std::string_view text = WithoutLeadingBlanks(arguments);
  const std::string_view word = text.substr(0, text.find_first_of(kBlanks));
  if (!IsSameWord(word, "color")) return false;
  if (!ParseSwitch(text.substr(word.size()), &has_colors_)) return false;
  PrintLine("Log colours are " + OnOrOff(has_colors_) + ".");
  return true;
}

bool Target::Drop(std::string_view) {
  PrintLine("Dropping the connection ...");
  link_is_down_ = true;
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
  ++starts_;
  connections_ = 0;
  led_is_on_ = false;
  log_is_on_ = false;
  log_level_ = Level::kInfo;
}

std::string Target::LogLine(Level level, uint32_t uptime_ms, std::string_view text) const {
  const LevelStyle& style = kLevelStyles[static_cast<size_t>(level)];
  std::string line = Format("[%5u.%03u] ", uptime_ms / 1000, uptime_ms % 1000);
  if (has_colors_) line += style.color;
  line += style.mark;
  line += text;
  if (has_colors_) line += kNoColor;
  return line + "\r\n";
}

std::string Target::BootLog() const {
  return LogLine(Level::kInfo, 0, starts_ == 1 ? "reset: power on" : "reset: reboot command") +
         LogLine(Level::kInfo, 1, "clock: 120 MHz, memory: 192 KB") +
         LogLine(Level::kInfo, 2, "sensor: " + TemperatureAt(0)) +
         LogLine(Level::kWarn, 2, "watchdog is off") +
         LogLine(Level::kInfo, 3, "monitor: ready on channel 0");
}

std::string Target::Counts() const {
  return Format("Start %u, connection %u.", starts_, connections_);
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
