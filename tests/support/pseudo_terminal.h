// SPDX-License-Identifier: MIT

// A real terminal, seen from both sides.
#ifndef TARVEN_TESTS_SUPPORT_PSEUDO_TERMINAL_H_
#define TARVEN_TESTS_SUPPORT_PSEUDO_TERMINAL_H_

#include <termios.h>

#include <string>
#include <string_view>

namespace support {

// Opens both sides: the controller side is what a terminal emulator holds, the device side is what
// programs get as their standard streams. Both close with the object.
class PseudoTerminal {
 public:
  PseudoTerminal();
  ~PseudoTerminal();
  PseudoTerminal(const PseudoTerminal&) = delete;
  PseudoTerminal& operator=(const PseudoTerminal&) = delete;

  int controller() const { return controller_; }
  int device() const { return device_; }
  const std::string& device_path() const { return device_path_; }

  // What a person at the terminal types.
  void Type(std::string_view keys);

  // The modes as they stand now, and new ones in effect at once.
  termios Modes() const;
  void SetModes(const termios& modes);

  // Without it "\n" from a program arrives as "\r\n" at the controller side.
  void TurnOffOutputProcessing();

  // Closes one side early; closing the controller side hangs the terminal up.
  void CloseController();
  void CloseDevice();

 private:
  int controller_;
  int device_;
  std::string device_path_;
};

}  // namespace support

#endif
