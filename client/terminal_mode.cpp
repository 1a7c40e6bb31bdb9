// SPDX-License-Identifier: MIT

// The client's one source that speaks to the system itself: the standard streams' descriptors, the
// modes of the terminal on standard input, and how many bytes wait there.
#include <fcntl.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

#include <cstdio>

#include "client/client.h"

uint8_t _ConsoleModeSet = 0;

namespace {

// VMIN stays at its default of 1: with a larger one the system would report no waiting bytes.
void SwitchToSingleKeys() {
  termios modes{};
  if (tcgetattr(STDIN_FILENO, &modes) == 0) {
    modes.c_lflag &= ~static_cast<tcflag_t>(ECHO | ICANON);
    tcsetattr(STDIN_FILENO, TCSANOW, &modes);
  }
  setvbuf(stdin, nullptr, _IONBF, 0);
}

}  // namespace

void _OccupyStandardStreams() {
  int descriptor = 0;
  do {
    descriptor = open("/dev/null", O_RDWR);  // takes the lowest number that is free
  } while (descriptor >= 0 && descriptor <= STDERR_FILENO);
  if (descriptor >= 0) close(descriptor);
}

int32_t _CountWaitingKeys() {
  if (_ConsoleModeSet == 0) {
    SwitchToSingleKeys();
    _ConsoleModeSet = 1;
  }
  int32_t waiting = 0;
  ioctl(STDIN_FILENO, FIONREAD, &waiting);
  return waiting;
}
