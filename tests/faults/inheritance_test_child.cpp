// SPDX-License-Identifier: MIT

// The program that the inheritance test starts: its standard output gets the numbers of the
// descriptors that are open in it.
#include <cstdio>

#include "tests/support/open_descriptors.h"

int main() {
  for (const int descriptor : support::OpenDescriptors()) std::printf("%d\n", descriptor);
  return 0;
}
