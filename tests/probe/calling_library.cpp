// SPDX-License-Identifier: MIT

// A probe library with one function that is worth calling: it calls back and writes where it is told.
#include <cstdint>
#include <cstring>

#include "probe/mbolt_api.h"
#include "tests/probe/callback_object.h"

intptr_t MBOLT_SetWaitFunction(uintptr_t function, uintptr_t context) {
  auto* const object = reinterpret_cast<probe_test::CallbackObject*>(context);
  auto* const call = reinterpret_cast<void (*)(probe_test::CallbackObject*)>(function);
  call(object);
  call(object);
  strcpy(object->fill, "after");
  return -7;
}
