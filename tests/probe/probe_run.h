// A program that calls the probe, put into a folder of its own with libraries around it.
#ifndef TARVEN_TESTS_PROBE_PROBE_RUN_H_
#define TARVEN_TESTS_PROBE_PROBE_RUN_H_

#include <filesystem>
#include <iosfwd>
#include <string>
#include <vector>

#include "tests/support/child_process.h"
#include "tests/support/temporary_folder.h"

namespace probe_test {

inline constexpr char kLibraryName[] = "libmboltarm.dylib";
inline constexpr char kCannotOpen[] = "Could not open M-Bolt shared library.\n";
inline constexpr char kCannotOpenExiting[] = "Could not open M-Bolt shared library. Exiting now.\n";

// Copies a file, makes the folders that its new place needs, and returns that place.
std::filesystem::path Place(const std::filesystem::path& file, const std::filesystem::path& place);

struct Result {
  std::string output;
  int exit_status;

  bool operator==(const Result&) const = default;
};
void PrintTo(const Result& result, std::ostream* stream);

// Runs a program to its end and returns all that it wrote to standard output.
Result Run(const std::vector<std::string>& arguments, const support::ChildOptions& options = {});

// The text of a whole file; empty when there is none.
std::string ReadFile(const std::filesystem::path& file);

// The texts of all files in a folder whose names begin so, as the dynamic loader names its logs.
std::string ReadFilesNamed(const std::filesystem::path& folder, const std::string& beginning);

}  // namespace probe_test

#endif
