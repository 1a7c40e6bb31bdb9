/* SPDX-License-Identifier: MIT */

/* Lists the serial ports of USB devices, or watches one of them.
 *
 *   serial_monitor                          lists them
 *   serial_monitor PORT [SPEED [QUIET_MS]]  shows what comes in at a port, until nothing more has
 *                                           come for so long (115200 baud, 10000 ms) */
#include <stdio.h>

#include <tarven/sys/sys.h>
#include <tarven/util/util.h>

enum { kMostPorts = 16 };

static int ListPorts(void) {
  char names[kMostPorts][SYS_COM_NAME_SIZE];
  const uint32_t count = SYS_COM_EnumPorts(names, kMostPorts); /* prints a line for each */
  for (uint32_t i = 0; i < count && i < kMostPorts; ++i) printf("serial_monitor %s\n", names[i]);
  if (count == 0) puts("There are no USB serial ports.");
  return 0;
}

static int WatchPort(const char* name, uint32_t speed, uint32_t quiet_ms) {
  SYS_COM_PORT* const port = SYS_COM_Open(name, speed);
  if (port == NULL) {
    printf("%s does not open.\n", name);
    return 1;
  }
  printf("Watching %s at %u baud.\n", name, speed);
  fflush(stdout);
  char bytes[256];
  int32_t count = 0;
  while ((count = SYS_COM_Read(port, bytes, sizeof bytes, quiet_ms)) > 0) {
    SYS_ConsoleWrite(bytes, (uint32_t)count);
  }
  SYS_COM_Close(port);
  printf("\n%s\n", count < 0 ? "The port has failed." : "Nothing more has come.");
  return count < 0;
}

int main(int argc, char** argv) {
  uint32_t speed = 115200;
  uint32_t quiet_ms = 10000;
  if (argc > 2) UTIL_ParseUnsigned(argv[2], &speed);
  if (argc > 3) UTIL_ParseUnsigned(argv[3], &quiet_ms);
  return argc > 1 ? WatchPort(argv[1], speed, quiet_ms) : ListPorts();
}
