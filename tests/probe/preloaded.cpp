// SPDX-License-Identifier: MIT

// Code that is loaded into a program which offers the entry points: it calls two and ends the process.
#include <unistd.h>

#include <cinttypes>
#include <cstdio>

#include "probe/mbolt_api.h"

namespace {

[[gnu::constructor]] void CallTheProbe() {
  const auto first = static_cast<uintptr_t>(MBOLT_ReadMemU32(0x20000000, 4, 0x1234, 0));
  const auto second = static_cast<uintptr_t>(MBOLTARM_Clock());
  printf("0x%" PRIxPTR " 0x%" PRIxPTR "\n", first, second);
  fflush(stdout);
  _exit(5);
}

}  // namespace
