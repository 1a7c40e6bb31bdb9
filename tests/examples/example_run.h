// SPDX-License-Identifier: MIT

// The example that a test is about.
#ifndef TARVEN_TESTS_EXAMPLES_EXAMPLE_RUN_H_
#define TARVEN_TESTS_EXAMPLES_EXAMPLE_RUN_H_

#include <string>
#include <vector>

#include "tests/support/program_run.h"

namespace example_test {

using support::Result;

// Runs the example to its end.
inline Result RunExample(std::vector<std::string> arguments = {}) {
  arguments.insert(arguments.begin(), EXAMPLE_PATH);
  return support::Run(arguments);
}

}  // namespace example_test

#endif
