// SPDX-License-Identifier: MIT

// Programs that run to their end.
#ifndef TARVEN_TESTS_SUPPORT_PROGRAM_RUN_H_
#define TARVEN_TESTS_SUPPORT_PROGRAM_RUN_H_

#include <filesystem>
#include <iosfwd>
#include <string>
#include <vector>

#include "tests/support/child_process.h"

namespace support {

// Copies a file, makes the folders that its new place needs, and returns that place.
std::filesystem::path Place(const std::filesystem::path& file, const std::filesystem::path& place);

// The text of a whole file; empty when there is none.
std::string ReadFile(const std::filesystem::path& file);

struct Result {
  std::string output;
  int exit_status;

  bool operator==(const Result&) const = default;
};
void PrintTo(const Result& result, std::ostream* stream);

// Runs a program to its end and returns all that it wrote to standard output.
Result Run(const std::vector<std::string>& arguments, const ChildOptions& options = {});

}  // namespace support

#endif
