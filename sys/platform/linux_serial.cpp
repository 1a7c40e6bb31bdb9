// SPDX-License-Identifier: MIT

// The speed of serial devices on Linux. It stands alone because any speed but the usual ones takes
// the kernel's own record of a terminal's settings, which the C library's <termios.h> declares
// under the same names.
#include <asm/termbits.h>
#include <sys/ioctl.h>

#include "sys/platform/platform.h"

int platform::SetSerialSpeed(int descriptor, uint32_t speed) {
  termios2 settings{};
  if (ioctl(descriptor, TCGETS2, &settings) != 0) return -1;
  // No input speed of its own means that of the output.
  settings.c_cflag &= ~static_cast<tcflag_t>(CBAUD | CIBAUD);
  settings.c_cflag |= BOTHER;
  settings.c_ospeed = speed;
  return ioctl(descriptor, TCSETS2, &settings);
}
