/* SPDX-License-Identifier: MIT */

/* Resolves a name, connects, sends a line and shows the answer.
 *
 *   connect HOST PORT LINE */
#include <stdio.h>

#include <tarven/sys/sys.h>
#include <tarven/util/util.h>

enum { kPatienceMs = 2000, kSending = 1 };

/* A send may take a part. */
static int32_t SendAll(int32_t handle, const char* text) {
  uint32_t missing = (uint32_t)UTIL_strlen(text);
  while (missing > 0) {
    const int32_t sent = SYS_SOCKET_Send(handle, text, missing);
    if (sent < 0) return sent;
    text += sent;
    missing -= (uint32_t)sent;
  }
  return 0;
}

static void ShowAnswer(int32_t handle) {
  char bytes[1024];
  int32_t count = 0;
  while ((count = SYS_SOCKET_Receive(handle, bytes, sizeof bytes)) > 0) {
    SYS_ConsoleWrite(bytes, (uint32_t)count);
  }
}

int main(int argc, char** argv) {
  uint32_t address = 0;
  uint32_t port = 0;
  if (argc != 4 || UTIL_ParseUnsigned(argv[2], &port) != 0 || port > 65535) {
    puts("usage: connect HOST PORT LINE");
    return 2;
  }
  if (SYS_SOCKET_Resolve(argv[1], NULL, &address) != 0) {
    printf("%s has no address.\n", argv[1]);
    return 1;
  }
  uint8_t part[4];
  UTIL_Store32BE(part, address);
  printf("%s is %u.%u.%u.%u.\n", argv[1], part[0], part[1], part[2], part[3]);
  const int32_t handle = SYS_SOCKET_ConnectTimeout(address, (uint16_t)port, kPatienceMs, NULL);
  if (handle < 0) {
    puts("Nobody listens there.");
    return 1;
  }
  if (SendAll(handle, argv[3]) == 0 && SendAll(handle, "\r\n") == 0) {
    SYS_SOCKET_Shutdown(handle, kSending);
    ShowAnswer(handle);
  }
  SYS_SOCKET_Close(handle);
  return 0;
}
