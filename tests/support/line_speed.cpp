// SPDX-License-Identifier: MIT

#include "tests/support/line_speed.h"

#include <asm/termbits.h>
#include <gtest/gtest.h>
#include <sys/ioctl.h>

namespace support {

LineSpeed LineSpeedOf(int descriptor) {
  termios2 settings{};
  EXPECT_EQ(ioctl(descriptor, TCGETS2, &settings), 0);
  return {.input = settings.c_ispeed, .output = settings.c_ospeed};
}

void SetLineSpeed(int descriptor, const LineSpeed& speed) {
  termios2 settings{};
  EXPECT_EQ(ioctl(descriptor, TCGETS2, &settings), 0);
  settings.c_cflag &= ~tcflag_t{CBAUD | CIBAUD};
  settings.c_cflag |= tcflag_t{BOTHER | BOTHER << IBSHIFT};
  settings.c_ispeed = speed.input;
  settings.c_ospeed = speed.output;
  EXPECT_EQ(ioctl(descriptor, TCSETS2, &settings), 0);
}

}  // namespace support
