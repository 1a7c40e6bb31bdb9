// SPDX-License-Identifier: MIT

#include <cstdio>

#include "client/client.h"
#include "sys/console.h"
#include "util/format.h"
#include "util/text.h"

void _UnbufferStandardOutput() {
  fflush(stdout);
  setvbuf(stdout, nullptr, _IONBF, 0);
}

void _Print(const char* text) { SYS_ConsoleWrite(text, static_cast<uint32_t>(UTIL_strlen(text))); }

void _PrintStatus(const char* text) {
  char line[256];
  UTIL_snprintf(line, sizeof line, "%s%s", kStatusPrefix, text);
  _Print(line);
}

void _PrintError(const char* text) {
  _Print(kErrorPrefix);
  _Print(text);
}
