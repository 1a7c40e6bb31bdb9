// SPDX-License-Identifier: MIT

// A program that calls the probe, put into a folder of its own with libraries around it.
#ifndef TARVEN_TESTS_PROBE_PROBE_RUN_H_
#define TARVEN_TESTS_PROBE_PROBE_RUN_H_

#include <filesystem>
#include <string>

#include "tests/support/program_run.h"
#include "tests/support/temporary_folder.h"

namespace probe_test {

inline constexpr char kLibraryName[] = "libmboltarm.dylib";
inline constexpr char kCannotOpen[] = "Could not open M-Bolt shared library.\n";
inline constexpr char kCannotOpenExiting[] = "Could not open M-Bolt shared library. Exiting now.\n";

using support::Place;
using support::ReadFile;
using support::Result;
using support::Run;

// The texts of all files in a folder whose names begin so, as the dynamic loader names its logs.
std::string ReadFilesNamed(const std::filesystem::path& folder, const std::string& beginning);

}  // namespace probe_test

#endif
