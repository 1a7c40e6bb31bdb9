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

}  // namespace support
