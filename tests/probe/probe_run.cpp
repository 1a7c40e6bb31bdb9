// SPDX-License-Identifier: MIT

#include "tests/probe/probe_run.h"

namespace probe_test {

namespace fs = std::filesystem;

std::string ReadFilesNamed(const fs::path& folder, const std::string& beginning) {
  std::string text;
  for (const auto& entry : fs::directory_iterator(folder)) {
    if (entry.path().filename().native().starts_with(beginning)) text += ReadFile(entry.path());
  }
  return text;
}

}  // namespace probe_test
