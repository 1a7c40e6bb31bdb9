// SPDX-License-Identifier: MIT

#include "tests/support/replaced_descriptor.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>

namespace support {

namespace {
// Where originals wait, out of the way of the numbers that tests open.
constexpr int kLowestParked = 200;
}  // namespace

ReplacedDescriptor::ReplacedDescriptor(int number, int replacement)
    : number_(number), original_(fcntl(number, F_DUPFD_CLOEXEC, kLowestParked)) {
  fflush(nullptr);
  if (replacement < 0) {
    close(number);
  } else if (dup2(replacement, number) < 0) {
    abort();
  }
}

ReplacedDescriptor::~ReplacedDescriptor() {
  fflush(stdout);
  fflush(stderr);
  if (original_ < 0) {
    close(number_);
  } else {
    dup2(original_, number_);
    close(original_);
  }
}

}  // namespace support
