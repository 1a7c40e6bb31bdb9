/* SPDX-License-Identifier: MIT */

/* Shows what 32 bits may mean: a number, a size, an address, a float.
 *
 *   format_values NUMBER...    decimal, or hexadecimal behind "0x" */
#include <stdio.h>

#include <tarven/util/util.h>

static void Show(uint32_t value) {
  char size[32];
  char address[16];
  char number[16];
  char line[96];
  UTIL_FormatSize(value, size, sizeof size);
  UTIL_FormatIPAddr(value, address, sizeof address);
  UTIL_FormatFloatBits(number, sizeof number, value);
  UTIL_snprintf(line, sizeof line, "%10u  0x%.8X  %s  %s  %s", value, value, size, address, number);
  puts(line);
}

int main(int argc, char** argv) {
  int refused = 0;
  for (int i = 1; i < argc; ++i) {
    const char* cursor = argv[i];
    uint32_t value = 0;
    if (UTIL_ReadU32(&cursor, &value) == 0 && *cursor == '\0') {
      Show(value);
    } else {
      printf("\"%s\" is no number.\n", argv[i]);
      ++refused;
    }
  }
  return refused > 0;
}
