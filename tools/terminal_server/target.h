// A small simulated target: firmware with a line monitor on its terminal channel.
#ifndef TARVEN_TOOLS_TERMINAL_SERVER_TARGET_H_
#define TARVEN_TOOLS_TERMINAL_SERVER_TARGET_H_

#include <cstdint>
#include <string>
#include <string_view>

namespace terminal_server {

// Bytes in, bytes out, and a clock in milliseconds that the caller keeps; nothing else. What the
// target holds (LED, log, time since its start) outlives terminal connections and ends with a
// reboot.
//
// It does not echo what it receives, since the terminal does that. Its lines end in CR LF. A
// received line ends in CR, LF or both.
class Target {
 public:
  explicit Target(uint32_t now_ms) { Boot(now_ms); }

  // A terminal has been connected: forgets a half-typed line and shows the prompt.
  void Connect();

  // Takes what the terminal sends.
  void Receive(std::string_view bytes, uint32_t now_ms);

  // Lets time pass: the periodic log.
  void Tick(uint32_t now_ms);

  // Returns what the target has printed since the last call.
  std::string TakeOutput();

  // True once after a reboot, which drops the terminal's connection.
  bool TakeReboot();

 private:
  struct Command {
    std::string_view name;
    std::string_view arguments;
    std::string_view help;
    void (Target::*run)(std::string_view argument);
  };
  static const Command kCommands[];

  void Boot(uint32_t now_ms);
  void ReceiveByte(char byte);
  void EndLine();
  void RunLine(std::string_view line);
  void Print(std::string_view text) { output_ += text; }
  void PrintLine(std::string_view text);
  void Prompt();
  std::string TemperatureText() const;

  void Help(std::string_view argument);
  void Led(std::string_view argument);
  void Temp(std::string_view argument);
  void Uptime(std::string_view argument);
  void Echo(std::string_view argument);
  void Log(std::string_view argument);
  void Reboot(std::string_view argument);

  // Stores on or off, or says what the command takes.
  bool TakeSwitch(std::string_view argument, std::string_view command, bool& is_on);

  uint32_t boot_ms_ = 0;
  uint32_t now_ms_ = 0;
  uint32_t next_log_ms_ = 0;
  bool is_led_on_ = false;
  bool is_log_on_ = false;
  bool has_rebooted_ = false;
  bool was_carriage_return_ = false;
  std::string line_;
  std::string output_;
};

}  // namespace terminal_server

#endif
