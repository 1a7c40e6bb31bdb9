#include "tools/terminal_server/target.h"

#include <cctype>
#include <cstdio>
#include <utility>

namespace terminal_server {

namespace {

constexpr uint32_t kLogPeriodMs = 1000;
constexpr size_t kLongestLine = 128;
constexpr std::string_view kPrompt = "> ";

constexpr char kBackspace = 8;
constexpr char kDelete = 127;
constexpr char kInterrupt = 3;  // Ctrl-C

std::string_view Trimmed(std::string_view text) {
  while (!text.empty() && text.front() == ' ') text.remove_prefix(1);
  while (!text.empty() && text.back() == ' ') text.remove_suffix(1);
  return text;
}

template <typename... Values>
std::string Format(const char* format, Values... values) {
  char text[128];
  snprintf(text, sizeof text, format, values...);
  return text;
}

}  // namespace

const Target::Command Target::kCommands[] = {
    {"help", "", "lists the commands", &Target::Help},
    {"led", "on|off", "switches the LED", &Target::Led},
    {"temp", "", "shows the temperature", &Target::Temp},
    {"uptime", "", "shows the time since the start", &Target::Uptime},
    {"echo", "TEXT", "shows the text", &Target::Echo},
    {"log", "on|off", "switches a log line every second", &Target::Log},
    {"reboot", "", "starts the target again and drops the connection", &Target::Reboot},
};

void Target::Boot(uint32_t now_ms) {
  boot_ms_ = now_ms_ = now_ms;
  is_led_on_ = false;
  is_log_on_ = false;
}

void Target::Connect() {
  line_.clear();
  output_.clear();
  was_carriage_return_ = false;
  Prompt();
}

void Target::Receive(std::string_view bytes, uint32_t now_ms) {
  now_ms_ = now_ms;
  for (const char byte : bytes) {
    if (has_rebooted_) return;  // what came behind the command is lost
    ReceiveByte(byte);
  }
}

void Target::ReceiveByte(char byte) {
  const bool completes_pair = was_carriage_return_ && byte == '\n';
  was_carriage_return_ = byte == '\r';
  if (completes_pair) return;
  switch (byte) {
    case '\r':
    case '\n':
      return EndLine();
    case kBackspace:
    case kDelete:
      if (!line_.empty()) line_.pop_back();
      return;
    case kInterrupt:
      line_.clear();
      PrintLine("^C");
      return Prompt();
    default:
      // Other control characters are not for this monitor, and overlong lines are cut.
      if (!iscntrl(static_cast<unsigned char>(byte)) && line_.size() < kLongestLine) line_ += byte;
  }
}

void Target::EndLine() {
  RunLine(Trimmed(std::exchange(line_, {})));
  if (!has_rebooted_) Prompt();
}

void Target::RunLine(std::string_view line) {
  if (line.empty()) return;
  const size_t end = std::min(line.find(' '), line.size());
  const std::string_view name = line.substr(0, end);
  for (const Command& command : kCommands) {
    if (command.name == name) return (this->*command.run)(Trimmed(line.substr(end)));
  }
  PrintLine("Unknown command \"" + std::string(name) + "\". Type \"help\" for the commands.");
}

// A log line stands on lines of its own, and what was typed so far is shown again.
void Target::Tick(uint32_t now_ms) {
  now_ms_ = now_ms;
  if (!is_log_on_ || static_cast<int32_t>(now_ms - next_log_ms_) < 0) return;
  next_log_ms_ += kLogPeriodMs;
  const uint32_t uptime_ms = now_ms_ - boot_ms_;
  Print("\r\n");
  PrintLine(Format("[%5u.%03u] ", uptime_ms / 1000, uptime_ms % 1000) + "temperature " +
            TemperatureText() + ", LED " + (is_led_on_ ? "on" : "off"));
  Prompt();
  Print(line_);
}

std::string Target::TakeOutput() { return std::exchange(output_, {}); }

bool Target::TakeReboot() { return std::exchange(has_rebooted_, false); }

void Target::PrintLine(std::string_view text) {
  Print(text);
  Print("\r\n");
}

void Target::Prompt() { Print(kPrompt); }

// Rises and falls between 21.0 and 26.9 degrees over two minutes.
std::string Target::TemperatureText() const {
  const uint32_t phase = (now_ms_ - boot_ms_) / 1000 % 120;
  const uint32_t tenths = 210 + (phase < 60 ? phase : 119 - phase);
  return Format("%u.%u C", tenths / 10, tenths % 10);
}

bool Target::TakeSwitch(std::string_view argument, std::string_view command, bool& is_on) {
  if (argument != "on" && argument != "off") {
    PrintLine("Usage: " + std::string(command) + " on|off");
    return false;
  }
  is_on = argument == "on";
  return true;
}

void Target::Help(std::string_view) {
  for (const Command& command : kCommands) {
    const std::string usage = std::string(command.name) + " " + std::string(command.arguments);
    PrintLine(Format("  %-12s  ", usage.c_str()) + std::string(command.help));
  }
}

void Target::Led(std::string_view argument) {
  if (TakeSwitch(argument, "led", is_led_on_)) PrintLine(is_led_on_ ? "LED is on." : "LED is off.");
}

void Target::Temp(std::string_view) { PrintLine(TemperatureText()); }

void Target::Uptime(std::string_view) {
  const uint32_t seconds = (now_ms_ - boot_ms_) / 1000;
  PrintLine(Format("Up %u:%02u:%02u.", seconds / 3600, seconds / 60 % 60, seconds % 60));
}

void Target::Echo(std::string_view argument) { PrintLine(argument); }

void Target::Log(std::string_view argument) {
  if (!TakeSwitch(argument, "log", is_log_on_)) return;
  next_log_ms_ = now_ms_ + kLogPeriodMs;
  PrintLine(is_log_on_ ? "Log is on." : "Log is off.");
}

void Target::Reboot(std::string_view) {
  PrintLine("Rebooting ...");
  Boot(now_ms_);
  has_rebooted_ = true;
}

}  // namespace terminal_server
