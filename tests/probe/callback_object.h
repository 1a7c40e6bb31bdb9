// SPDX-License-Identifier: MIT

// What a caller hands to the library that calls back (calling_library.cpp).
#ifndef TARVEN_TESTS_PROBE_CALLBACK_OBJECT_H_
#define TARVEN_TESTS_PROBE_CALLBACK_OBJECT_H_

namespace probe_test {

struct CallbackObject {
  int calls = 0;
  char fill[16];
};

}  // namespace probe_test

#endif
