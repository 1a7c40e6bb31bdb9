// SPDX-License-Identifier: MIT

// A probe library without any function of the probe, which tells when it is closed.
#include <cstdio>

namespace {

[[gnu::destructor]] void Tell() { puts("The library is closed."); }

}  // namespace
