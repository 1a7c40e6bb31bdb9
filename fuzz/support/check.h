// SPDX-License-Identifier: MIT

// What a fuzz target states about the code under test.
#ifndef TARVEN_FUZZ_SUPPORT_CHECK_H_
#define TARVEN_FUZZ_SUPPORT_CHECK_H_

#include <cstdio>
#include <cstdlib>

namespace fuzz {

// Ends the program, and with it the search, when a rule does not hold.
inline void Require(bool holds, const char* rule) {
  if (holds) return;
  std::fprintf(stderr, "This does not hold: %s\n", rule);
  std::abort();
}

}  // namespace fuzz

#endif
