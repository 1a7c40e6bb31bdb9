/* Shows 32-bit numbers in several forms.
 *
 *   format_values NUMBER...    decimal, or hexadecimal behind "0x" */
#include <stdio.h>

#include "util/util.h"

/* Appends to a text that ends at the given place, and returns its new end. */
static char* AppendBytes(char* end, const char* limit, const uint8_t* bytes) {
  for (int i = 0; i < 4; ++i) {
    end = UTIL_snprintf(end, (int32_t)(limit - end), " %.2X", bytes[i]);
  }
  return end;
}

static void Show(uint32_t value) {
  char line[96];
  const char* const limit = line + sizeof line;
  uint8_t bytes[4];
  char* end = UTIL_snprintf(line, sizeof line, "%10u  0x%.8X  big-endian", value, value);
  UTIL_Store32BE(bytes, value);
  end = AppendBytes(end, limit, bytes);
  end = UTIL_snprintf(end, (int32_t)(limit - end), "  little-endian");
  UTIL_Store32LE(bytes, value);
  AppendBytes(end, limit, bytes);
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
