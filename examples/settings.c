/* SPDX-License-Identifier: MIT */

/* Reads a setting, or writes one: a number when the value is one, else a string.
 *
 *   settings NAME          reads it
 *   settings NAME VALUE    writes it
 *
 * The settings of this program stand below "Software\Example" in the user's hive. */
#include <stdio.h>
#include <string.h>

#include <tarven/settings/registry.h>
#include <tarven/util/util.h>

static int32_t ReadSetting(SYS_REG_HANDLE key, const char* name) {
  char value[256] = {0};
  uint32_t size = sizeof value;
  uint32_t type = 0;
  const int32_t result = SYS_REG_QueryValue(key, name, &type, value, &size);
  if (result != SYS_REG_SUCCESS) {
    printf("%s is not set.\n", name);
  } else if (type == SYS_REG_TYPE_DWORD) {
    uint32_t number = 0;
    memcpy(&number, value, sizeof number);
    printf("%s is the number %u.\n", name, number);
  } else {
    printf("%s is the text \"%s\".\n", name, value);
  }
  return result;
}

static int32_t WriteSetting(SYS_REG_HANDLE key, const char* name, const char* value) {
  uint32_t number = 0;
  const char* cursor = value;
  if (UTIL_ReadU32(&cursor, &number) == 0 && *cursor == '\0') {
    return SYS_REG_SetValue(key, name, SYS_REG_TYPE_DWORD, &number, sizeof number);
  }
  return SYS_REG_SetValue(key, name, SYS_REG_TYPE_SZ, value, 0);
}

int main(int argc, char** argv) {
  if (argc != 2 && argc != 3) {
    puts("usage: settings NAME [VALUE]");
    return 2;
  }
  const SYS_REG_HANDLE key = SYS_REG_OpenKey(HKEY_CURRENT_USER, "Software\\Example");
  const int32_t result =
      argc == 2 ? ReadSetting(key, argv[1]) : WriteSetting(key, argv[1], argv[2]);
  SYS_REG_CloseKey(key);
  SYS_REG_Flush(); /* nothing reaches the file before */
  return result != SYS_REG_SUCCESS;
}
