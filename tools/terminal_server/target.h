// SPDX-License-Identifier: MIT

// The simulated target: a small firmware with a line monitor on its terminal channel.
//
// Bytes go in, bytes come out; the time is handed in with every call, so that nothing in here
// waits, and tests decide how late it is. Times are milliseconds of a counter that may start
// anywhere and may wrap.
//
// The monitor's rules:
//   - It does not echo unless it is told to: the terminal shows what is typed by itself.
//   - CR, LF and CR LF end a line.
//   - Backspace (8) and delete (127) take the last character back, all bytes of a UTF-8 one, and
//     wipe it off the screen.
//   - Ctrl-U (21) wipes the whole line. Ctrl-C (3) drops it and goes on in a new row. Any other
//     control key is shown as "^X" and has no effect; the line then stands in a new row. Zero bytes
//     and escape sequences (arrow and function keys) are ignored.
//   - A line holds kLineLimit bytes; what is typed beyond that is lost.
//   - Command words are the same in upper and lower case; blanks round them do not matter.
//
// What outlives what: a reboot starts everything anew but the echo and the colours, which are the
// terminal's wishes, and the number of starts. The end of a connection loses the half-typed line
// alone.
#ifndef TARVEN_TOOLS_TERMINAL_SERVER_TARGET_H_
#define TARVEN_TOOLS_TERMINAL_SERVER_TARGET_H_

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace terminal_server {

class Target {
 public:
  static constexpr size_t kLineLimit = 120;
  static constexpr uint32_t kLogPeriodMs = 1000;

  // Powers the target up.
  explicit Target(uint32_t now_ms, bool echo_is_on = false);

  // A terminal has been connected. Returns the prompt; a half-typed line is forgotten, everything
  // else stays as it was.
  std::string Attach();

  // What the firmware says to the terminal that was connected last, in front of the prompt: its
  // name and its counts, and to the first one since the start the log of the start.
  std::string Greeting() const;

  // Takes what was typed and returns what the firmware prints. Nothing behind a reboot is looked
  // at.
  std::string Receive(std::string_view bytes, uint32_t now_ms);

  // Returns what the firmware prints by itself: a log line when one is due, else nothing. Lines
  // that nobody called for in time are not made up for.
  std::string Poll(uint32_t now_ms);

  // True from a reboot or a drop until the next Attach: the connection has to be dropped.
  bool link_is_down() const { return link_is_down_; }

 private:
  // What the next byte may belong to.
  enum class Input { kText, kAfterCarriageReturn, kAfterEscape, kInSequence };

  // How much a log line matters, from the least on.
  enum class Level { kDebug, kInfo, kWarn, kError };

  // Carries a command out. False when its arguments make no sense, which prints its usage.
  using Handler = bool (Target::*)(std::string_view arguments);

  // One form of a command; a name may stand in several rows, each with arguments of its own.
  struct Command {
    std::string_view name;
    std::string_view arguments;
    std::string_view help;
    Handler handler;
  };

  static const Command kCommands[];

  void TakeByte(char byte);
  bool TakeEscapeSequence(char byte);
  void TakeControl(char byte);
  void TakeText(char byte);
  void EndLine(char key);
  void EraseLastCharacter(char key);
  void EraseLine();
  void RunLine();
  bool RunCommand(const Command& command, std::string_view arguments);
  void PrintUsage(std::string_view name);

  bool Help(std::string_view arguments);
  bool Led(std::string_view arguments);
  bool Temperature(std::string_view arguments);
  bool Uptime(std::string_view arguments);
  bool Count(std::string_view arguments);
  bool Echo(std::string_view arguments);
  bool KeyEcho(std::string_view arguments);
  bool Log(std::string_view arguments);
  bool LogFrom(std::string_view arguments);
  bool LogColor(std::string_view arguments);
  bool Drop(std::string_view arguments);
  bool Reboot(std::string_view arguments);

  void PowerUp();
  void SwitchLogOn();
  bool IsLogged(Level level) const { return log_is_on_ && level >= log_level_; }
  std::string LogLine(Level level, uint32_t uptime_ms, std::string_view text) const;
  std::string BootLog() const;
  std::string Counts() const;
  void Print(std::string_view text) { output_ += text; }
  void PrintLine(std::string_view text);
  void ShowPrompt();
  void ShowPromptInNewRow();
  std::string TakeOutput();
  uint32_t UptimeMs() const { return now_ms_ - boot_ms_; }

  uint32_t now_ms_;
  uint32_t boot_ms_ = 0;
  uint32_t starts_ = 0;
  uint32_t connections_ = 0;  // since the last start
  bool led_is_on_ = false;
  bool log_is_on_ = false;
  Level log_level_ = Level::kInfo;
  uint32_t log_due_ms_ = 0;
  bool has_colors_ = false;
  bool echo_is_on_;
  bool link_is_down_ = false;
  Input input_ = Input::kText;
  std::string line_;
  std::string output_;
};

}  // namespace terminal_server

#endif
