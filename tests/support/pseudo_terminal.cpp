// SPDX-License-Identifier: MIT

#include "tests/support/pseudo_terminal.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>

#include "tests/support/stream_reader.h"

namespace support {

namespace {

void CloseOnce(int& descriptor) {
  if (descriptor >= 0) close(descriptor);
  descriptor = -1;
}

}  // namespace

PseudoTerminal::PseudoTerminal() : controller_(posix_openpt(O_RDWR | O_NOCTTY)) {
  if (controller_ < 0 || grantpt(controller_) != 0 || unlockpt(controller_) != 0) abort();
  fcntl(controller_, F_SETFD, FD_CLOEXEC);
  device_path_ = ptsname(controller_);
  device_ = open(device_path_.c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC);
  if (device_ < 0) abort();
}

PseudoTerminal::~PseudoTerminal() {
  CloseDevice();
  CloseController();
}

void PseudoTerminal::Type(std::string_view keys) { EXPECT_TRUE(WriteAll(controller_, keys)); }

termios PseudoTerminal::Modes() const {
  termios modes{};
  EXPECT_EQ(tcgetattr(device_, &modes), 0);
  return modes;
}

void PseudoTerminal::SetModes(const termios& modes) {
  EXPECT_EQ(tcsetattr(device_, TCSANOW, &modes), 0);
}

void PseudoTerminal::TurnOffOutputProcessing() {
  termios modes = Modes();
  modes.c_oflag &= ~static_cast<tcflag_t>(OPOST);
  SetModes(modes);
}

void PseudoTerminal::CloseController() { CloseOnce(controller_); }

void PseudoTerminal::CloseDevice() { CloseOnce(device_); }

}  // namespace support
