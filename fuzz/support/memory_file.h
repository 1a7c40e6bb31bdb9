// SPDX-License-Identifier: MIT

// One file in memory, which every path opens.
#ifndef TARVEN_FUZZ_SUPPORT_MEMORY_FILE_H_
#define TARVEN_FUZZ_SUPPORT_MEMORY_FILE_H_

#include <string_view>

namespace fuzz::memory_file {

// A target that links the library memory_file has this file in the place of all that is opened
// through sys/files.h: read, written and truncated, but never missing.
void Put(std::string_view contents);
std::string_view Contents();

}  // namespace fuzz::memory_file

#endif
