// SPDX-License-Identifier: MIT

// The speed of a terminal line, whatever it is.
#ifndef TARVEN_TESTS_SUPPORT_LINE_SPEED_H_
#define TARVEN_TESTS_SUPPORT_LINE_SPEED_H_

#include <cstdint>

namespace support {

// In baud. A header of its own because the system's record of any speed cannot share a source with
// <termios.h>.
struct LineSpeed {
  uint32_t input = 0;
  uint32_t output = 0;

  bool operator==(const LineSpeed&) const = default;
};

// Both fail the test when the descriptor is no terminal.
LineSpeed LineSpeedOf(int descriptor);
void SetLineSpeed(int descriptor, const LineSpeed& speed);

}  // namespace support

#endif
