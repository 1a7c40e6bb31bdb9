/* SPDX-License-Identifier: MIT */

/* Calls the probe: opens it, sets its speed, and lets the target run if it stands still.
 *
 *   call_probe [SPEED]
 *
 * It takes no library of the probe to build; running it takes "libmboltarm.dylib" in one of the
 * places that probe/probelib.h lists, such as this program's folder. */
#include <stdint.h>
#include <stdio.h>

#include <tarven/probe/mbolt_api.h>
#include <tarven/probe/probelib.h>
#include <tarven/util/util.h>

int main(int argc, char** argv) {
  uint32_t speed = 4000;
  if (argc > 1 && UTIL_ParseUnsigned(argv[1], &speed) != 0) {
    puts("usage: call_probe [SPEED]");
    return 2;
  }
  /* Without this the first call below would look for the library, and end the process if there is
   * none. */
  if (PROBELIB_Open() != 0) return 1;

  /* Results are as wide as a pointer; a function that gives fewer bits is cut to its own width. */
  printf("Opened: 0x%.8X\n", (uint32_t)MBOLT_Open());
  printf("Serial number: %u\n", (uint32_t)MBOLT_GetSN());
  MBOLT_SetSpeed(speed);
  if ((int8_t)MBOLT_IsHalted() != 0) {
    puts("The target stands still and is let go.");
    MBOLT_Go();
  }
  MBOLT_Close();
  return 0;
}
