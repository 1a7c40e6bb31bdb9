/* SPDX-License-Identifier: MIT
 *
 * A program of somebody else's, in C: calls each layer and shows what comes back. */
#include <stdio.h>

#include <tarven/probe/mbolt_api.h>
#include <tarven/probe/probelib.h>
#include <tarven/settings/registry.h>
#include <tarven/settings/xml.h>
#include <tarven/sys/sys.h>
#include <tarven/util/util.h>

static uint32_t StoreAndReadPort(void) {
  uint32_t port = 19021;
  uint32_t size = sizeof port;
  const SYS_REG_HANDLE key = SYS_REG_OpenKey(HKEY_CURRENT_USER, "Software\\Consumer");
  SYS_REG_SetValue(key, "Port", SYS_REG_TYPE_DWORD, &port, size);
  port = 0;
  SYS_REG_QueryValue(key, "Port", NULL, &port, &size);
  SYS_REG_CloseKey(key);
  return port;
}

int main(void) {
  char text[64];
  UTIL_snprintf(text, sizeof text, "util: %04u|%8X\n", 7u, 0x1A2Bu);
  SYS_ConsoleWrite(text, (uint32_t)UTIL_strlen(text));
  printf("sys: 0x%X\n", SYS_GetOSType());
  printf("settings: %u\n", StoreAndReadPort());
  if (PROBELIB_Open() != 0) return 1;
  printf("probe: 0x%llX\n", (unsigned long long)MBOLT_Open());
  return 0;
}
