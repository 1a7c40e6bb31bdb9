// SPDX-License-Identifier: MIT

#include "tests/support/temporary_folder.h"

#include <stdlib.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <system_error>

namespace support {

TemporaryFolder::TemporaryFolder(const std::string& beginning_of_name) {
  std::string name = std::filesystem::temp_directory_path() / (beginning_of_name + " XXXXXX");
  if (mkdtemp(name.data()) == nullptr) abort();
  path_ = std::filesystem::canonical(name);
}

TemporaryFolder::~TemporaryFolder() {
  std::error_code error;
  std::filesystem::remove_all(path_, error);
  if (!error) return;
  std::fprintf(stderr, "%s stays: %s\n", path_.c_str(), error.message().c_str());
  std::abort();
}

}  // namespace support
