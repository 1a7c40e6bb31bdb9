// SPDX-License-Identifier: MIT

// The program that the process tests start: writes down how it was started.
//
// The file's name stands in the environment. The file appears there complete, with its last line.
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>

#include "tests/support/open_descriptors.h"

int main(int argc, char** argv) {
  // First of all, before this program opens anything itself.
  const std::vector<int> descriptors = support::OpenDescriptors();
  const char* const path = getenv("PROCESS_TEST_REPORT");
  const char* const marker = getenv("PROCESS_TEST_MARKER");
  if (path == nullptr) return 1;
  std::ofstream file(path);
  file << "arguments: " << argc << "\n";
  for (int i = 0; i < argc; ++i) file << "argument: " << argv[i] << "\n";
  for (const int descriptor : descriptors) file << "descriptor: " << descriptor << "\n";
  file << "marker: " << (marker == nullptr ? "(none)" : marker) << "\n";
  return 17;
}
